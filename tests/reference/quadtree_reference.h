// A region quadtree with a map for its cache, which notes what it asks.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace reference {

struct Quadtree {
    using Point = std::pair<int, int>;
    struct Node {
        int x, y, size, edges;
        bool is_unit, is_inside;
        std::array<bool, 4> corners;
        std::array<std::unique_ptr<Node>, 4> children;
    };

    std::function<int(int, int, unsigned char*)> classify;
    std::map<Point, bool> cache;
    std::vector<Point> asked;
    std::vector<float> told;
    int error = 0;
    Node root;

    Quadtree(int x, int y, int size, std::function<int(int, int, unsigned char*)> classify_)
        : classify(std::move(classify_)), root{x, y, size, 15, false, false, {}, {}} {
        split(root, 0, 100);
    }

    bool sample(int x, int y) {
        if (error != 0) return false;
        if (const auto found = cache.find({x, y}); found != cache.end()) return found->second;
        unsigned char value = 0;
        error               = classify(x, y, &value);
        asked.emplace_back(x, y);
        return cache[{x, y}] = value != 0;
    }

    void build(Node& n, float start, float span) {
        const int x = n.x, y = n.y, s = n.size;
        if (s == 1) {
            n.is_unit = true;
            for (int k = 0; k < 4; ++k)
                n.corners[static_cast<std::size_t>(k)] = sample(x + k % 2, y - k / 2);
        } else {
            const bool first = sample(x, y);
            bool agrees      = true;
            for (int i = 0; i <= s && agrees; ++i) agrees = sample(x + i, y) == first;
            for (int i = 0; i <= s && agrees; ++i) agrees = sample(x, y - i) == first;
            for (int i = 0; i <= s && agrees; ++i) agrees = sample(x + s, y - i) == first;
            for (int i = 0; i <= s && agrees; ++i) agrees = sample(x + i, y - s) == first;
            if (!agrees) return split(n, start, span);
            n.is_inside = first;
        }
        for (int i = 0; i < s; ++i) {
            if (n.edges & 4) cache.erase({x + i, y});
            if ((n.edges & 8) && i > 0) cache.erase({x, y - i});
            if (n.edges & 2) cache.erase({x + s, y - i});
            if (n.edges & 1) cache.erase({x + i, y - s});
        }
    }

    void split(Node& n, float start, float span) {
        const int h = n.size / 2, kept[] = {0xFC, 0xFE, 0xFD, 0xFF};
        for (int k = 0; k < 4; ++k) {
            auto& child = n.children[static_cast<std::size_t>(k)];
            child       = std::make_unique<Node>(
                Node{n.x + k % 2 * h, n.y - k / 2 * h, h, n.edges & kept[k], false, false, {}, {}});
            build(*child, start + static_cast<float>(k) * span / 4, span / 4);
            told.push_back(start + static_cast<float>(k + 1) * span / 4);
        }
    }

    static bool has(const Node& n, int x, int y) {
        return x >= n.x && x <= n.x + n.size && y <= n.y && y >= n.y - n.size;
    }

    int is_inside(int x, int y) const {
        const Node* n = &root;
        if (error != 0 || !has(*n, x, y)) return 0;
        while (n->children[0]) {
            const Node* next = nullptr;
            for (const auto& child : n->children)
                if (!next && has(*child, x, y)) next = child.get();
            if (!next) return 0;
            n = next;
        }
        return n->is_unit ? n->corners[static_cast<std::size_t>(2 * (n->y - y) + x - n->x)]
                          : n->is_inside;
    }
};

}  // namespace reference
