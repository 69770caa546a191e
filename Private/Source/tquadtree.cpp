// Region quadtree: a region of an integer grid from samples along the boundaries of squares.
//
// Samples stay in a cache for the squares to come that share an edge, and leave it with the last
// of them: the edge flags of a node tell which of its edges nobody else will need. Coordinates wrap
// around at the ends of the range of int.

#include "movane/gamut.h"

#include "Support/memory.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <utility>

struct TQuadTree::Sample {
    int x;
    int y;
    unsigned char value;
};

struct TQuadTree::Node {
    int x;     // left
    int y;     // top, the greater coordinate
    int size;  // length of an edge
    unsigned char result;
    unsigned char edges;
    Node* child[4];
    float start;  // of the progress, in percent
    float span;
};

struct TQuadTree::Progress {
    void* user;
    quadtree_progress call;

    void operator()(float percent) const noexcept {
        if (call) call(user, percent);
    }
};

namespace {

// Of a node's result.
constexpr unsigned char kAllInside = 0x0F;
constexpr unsigned char kResolved  = 0xF0;

// Of the corners (x, y), (x + 1, y), (x, y - 1), (x + 1, y - 1) of a unit square.
constexpr unsigned char kCornerBits[4] = {0x08, 0x04, 0x02, 0x01};

// Edges whose samples are dropped with the node.
constexpr unsigned char kTop = 4, kLeft = 8, kRight = 2, kBottom = 1;
constexpr unsigned char kAllEdges = kTop | kLeft | kRight | kBottom;

constexpr unsigned char kEdgesOfChild[4] = {0xFC, 0xFE, 0xFD, 0xFF};

constexpr int kFirstCapacity = 256;

int plus(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
int minus(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}

bool is_in_square(int x, int y, int left, int top, int size) {
    return x >= left && y <= top && std::int64_t{x} - left <= size && std::int64_t{top} - y <= size;
}

}  // namespace

// --- samples -----------------------------------------------------------------------------------

// The place of the first sample that does not lie before the point.
int TQuadTree::FindSample(int x, int y) const {
    const auto precedes = [](const Sample* sample, const std::pair<int, int>& point) {
        return std::pair(sample->x, sample->y) < point;
    };
    Sample** const end = samples_.items + samples_.count;
    return static_cast<int>(std::lower_bound(samples_.items, end, std::pair(x, y), precedes) -
                            samples_.items);
}

// Without memory the sample is not kept, and will be taken again.
void TQuadTree::KeepSample(int place, int x, int y, unsigned char value) {
    if (samples_.count == samples_.capacity) {
        if (samples_.capacity > INT_MAX / 2) return;
        const int capacity = std::max(kFirstCapacity, 2 * samples_.capacity);
        auto items         = movane::make_block<Sample*>(static_cast<std::size_t>(capacity));
        if (!items) return;
        std::copy_n(samples_.items, samples_.count, items.get());
        movane::release(samples_.items);
        samples_.items    = items.release();
        samples_.capacity = capacity;
    }
    auto sample = movane::create<Sample>();
    if (!sample) return;
    *sample                 = {x, y, value};
    Sample** const position = samples_.items + place;
    std::copy_backward(position, samples_.items + samples_.count,
                       samples_.items + samples_.count + 1);
    *position = sample.release();
    ++samples_.count;
}

void TQuadTree::DropSample(int x, int y) {
    const int place = FindSample(x, y);
    if (place == samples_.count) return;
    Sample** const position = samples_.items + place;
    if ((*position)->x != x || (*position)->y != y) return;
    movane::destroy(*position);
    std::copy(position + 1, samples_.items + samples_.count, position);
    --samples_.count;
}

bool TQuadTree::SamplePoint(int x, int y) {
    if (error_ != 0) return false;
    const int place = FindSample(x, y);
    if (place < samples_.count) {
        const Sample& sample = *samples_.items[place];
        if (sample.x == x && sample.y == y) return sample.value != 0;
    }
    unsigned char value = 0;
    const auto ask      = [&]() noexcept { return classify_(user_, &x, &y, 1, &value); };
    error_              = ask();
    KeepSample(place, x, y, value);
    return value != 0;
}

void TQuadTree::DropSamples(const Node* node) {
    const int x = node->x, y = node->y, size = node->size;
    for (int i = 0; (node->edges & kTop) && i < size; ++i) DropSample(plus(x, i), y);
    for (int i = 1; (node->edges & kLeft) && i < size; ++i) DropSample(x, minus(y, i));
    for (int i = 0; (node->edges & kRight) && i < size; ++i) DropSample(plus(x, size), minus(y, i));
    for (int i = 0; (node->edges & kBottom) && i < size; ++i)
        DropSample(plus(x, i), minus(y, size));
}

// --- nodes -------------------------------------------------------------------------------------

TQuadTree::Node* TQuadTree::MakeNode(int x, int y, int size, unsigned char edges, float start,
                                     float span) {
    Node* const node = movane::create<Node>().release();
    if (!node) return nullptr;
    *node = {.x      = x,
             .y      = y,
             .size   = size,
             .result = 0,
             .edges  = edges,
             .child  = {},
             .start  = start,
             .span   = span};
    ++node_count_;
    return node;
}

void TQuadTree::FreeNode(Node* node) {
    if (!node) return;
    for (Node* child : node->child) FreeNode(child);
    movane::destroy(node);
    --node_count_;
}

bool TQuadTree::BoundaryAgrees(const Node* node, bool inside) {
    const int x = node->x, y = node->y, size = node->size;
    const auto edge_agrees = [&](auto point_x, auto point_y) {
        for (std::int64_t i = 0; i <= size; ++i) {
            const int step = static_cast<int>(i);
            if (SamplePoint(point_x(step), point_y(step)) != inside) return false;
        }
        return true;
    };
    const auto at         = [](int fixed) { return [fixed](int) { return fixed; }; };
    const auto right_of_x = [x](int i) { return plus(x, i); };
    const auto below_y    = [y](int i) { return minus(y, i); };
    return edge_agrees(right_of_x, at(y)) && edge_agrees(at(x), below_y) &&
           edge_agrees(at(plus(x, size)), below_y) && edge_agrees(right_of_x, at(minus(y, size)));
}

void TQuadTree::Build(Node* node, const Progress& progress) {
    const int x = node->x, y = node->y;
    if (node->size == 1) {
        const bool inside[4] = {SamplePoint(x, y), SamplePoint(plus(x, 1), y),
                                SamplePoint(x, minus(y, 1)), SamplePoint(plus(x, 1), minus(y, 1))};
        node->result         = kResolved;
        for (int k = 0; k < 4; ++k) node->result |= inside[k] ? kCornerBits[k] : 0;
        return DropSamples(node);
    }
    const bool inside = SamplePoint(x, y);
    if (!BoundaryAgrees(node, inside)) return Split(node, progress);
    node->result = inside ? kResolved | kAllInside : kResolved;
    DropSamples(node);
}

void TQuadTree::Split(Node* node, const Progress& progress) {
    const int half      = node->size / 2;
    const float quarter = node->span * 0.25F;
    for (int k = 0; k < 4; ++k) {
        const auto edges  = static_cast<unsigned char>(node->edges & kEdgesOfChild[k]);
        const float start = node->start + static_cast<float>(k) * quarter;
        node->child[k] =
            MakeNode(k & 1 ? plus(node->x, half) : node->x, k & 2 ? minus(node->y, half) : node->y,
                     half, edges, start, quarter);
    }
    for (int k = 0; k < 4; ++k) {
        if (node->child[k]) Build(node->child[k], progress);
        progress(node->start + static_cast<float>(k) * quarter + quarter);
    }
}

// --- life cycle and queries ----------------------------------------------------------------------

TQuadTree::TQuadTree(int x, int y, int size, void* user, quadtree_classify classify,
                     void* progress_user, quadtree_progress progress)
    : root_(nullptr), samples_(), node_count_(0), error_(0), user_(user), classify_(classify) {
    root_ = MakeNode(x, y, size, kAllEdges, 0.0F, 100.0F);
    if (root_) Split(root_, Progress{progress_user, progress});
}

TQuadTree::~TQuadTree() {
    for (int i = 0; i < samples_.count; ++i) movane::destroy(samples_.items[i]);
    FreeNode(root_);
    movane::release(samples_.items);
}

int TQuadTree::ErrNo() const { return error_; }

int TQuadTree::IsInside(int x, int y) const {
    const Node* node = root_;
    if (error_ != 0 || !node || !is_in_square(x, y, node->x, node->y, node->size)) return 0;

    // A child that is missing has its place all the same.
    while (std::any_of(node->child, node->child + 4, [](const Node* n) { return n != nullptr; })) {
        const int half = node->size / 2;
        int k          = 0;
        while (k < 4 && !is_in_square(x, y, k & 1 ? plus(node->x, half) : node->x,
                                      k & 2 ? minus(node->y, half) : node->y, half))
            ++k;
        node = k < 4 ? node->child[k] : nullptr;
        if (!node) return 0;
    }
    const int inside = node->result & kAllInside;
    if (inside == kAllInside) return 1;
    if (inside == 0) return 0;
    return (inside & kCornerBits[2 * (node->y - y) + (x - node->x)]) != 0;
}
