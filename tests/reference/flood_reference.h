// The span order of the flood fill, told with lists that are walked: what the family does without
// walking. And rasters to fill.
#pragma once

#include "movane/imaging.h"

#include <algorithm>
#include <list>
#include <utility>
#include <vector>

namespace movane_tests {

/// A raster anywhere in the plane that writes down every call. 1 is to be filled, 2 was filled.
struct FloodRaster {
    struct Call {
        char what;  // 'i'nside or 'f'ill
        int x1, x2, y;
        bool operator==(const Call&) const = default;
    };

    int left, top, width, height;
    std::vector<char> pixels;
    std::vector<Call> calls;
    bool keeps_calls = true;
    int strays       = 0;  // filled pixels that were not to be filled

    FloodRaster(int left_, int top_, int width_, int height_)
        : left(left_), top(top_), width(width_), height(height_) {
        pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    }

    /// Null outside.
    char* at(int x, int y) {
        const long long column = static_cast<long long>(x) - left,
                        row    = static_cast<long long>(y) - top;
        if (column < 0 || column >= width || row < 0 || row >= height) return nullptr;
        return &pixels[static_cast<std::size_t>(row * width + column)];
    }

    static int inside(void* user, int x, int y) {
        auto& raster = *static_cast<FloodRaster*>(user);
        if (raster.keeps_calls) raster.calls.push_back({'i', x, x, y});
        const char* const pixel = raster.at(x, y);
        return pixel && *pixel == 1 ? -1 : 0;
    }

    static void fill(void* user, int x1, int x2, int y) {
        auto& raster = *static_cast<FloodRaster*>(user);
        if (raster.keeps_calls) raster.calls.push_back({'f', x1, x2, y});
        for (long long x = x1; x <= x2; ++x) {
            char* const pixel = raster.at(static_cast<int>(x), y);
            if (!pixel || *pixel != 1) {
                ++raster.strays;
            } else {
                *pixel = 2;
            }
        }
    }
};

/// Fills pixel by pixel.
inline void fill_plainly(FloodRaster& raster, int x, int y) {
    std::vector<std::pair<int, int>> open{{x, y}};
    while (!open.empty()) {
        const auto [px, py] = open.back();
        open.pop_back();
        char* const pixel = raster.at(px, py);
        if (!pixel || *pixel != 1) continue;
        *pixel = 2;
        for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}})
            open.emplace_back(px + dx, py + dy);
    }
}

/// Fills a raster away from the ends of int with the calls that flood_do() is to make.
class FloodModel {
public:
    explicit FloodModel(FloodRaster& raster) : raster_(raster) {}

    void run(int x, int y) {
        pending_.push_front({x, x, y, y, true});
        while (!pending_.empty()) {
            make_line();
            while (!active_.empty()) {
                const Shadow s = active_.front();
                active_.pop_front();
                if (s.ok) scan(s);
            }
        }
    }

private:
    struct Shadow {
        int lft, rgt, y, parent_y;
        bool ok;
    };

    void make_line() {
        const auto taken = std::exchange(pending_, {});
        bool has_line    = false;
        for (const Shadow& s : taken) {
            if (!s.ok) continue;
            if (!std::exchange(has_line, true)) line_ = s.y;
            if (s.y != line_) {
                pending_.push_front(s);
                continue;
            }
            const auto behind = std::find_if(active_.begin(), active_.end(),
                                             [&](const Shadow& a) { return a.lft >= s.lft; });
            active_.insert(behind, s);
        }
    }

    bool is_inside(int x) { return FloodRaster::inside(&raster_, x, line_) != 0; }

    void cast(int lft, int rgt, int y, int parent_y) {
        pending_.push_front({lft, rgt, y, parent_y, true});
    }

    void scan(const Shadow& s) {
        for (int x = s.lft; x <= s.rgt; ++x) {
            if (!is_inside(x)) continue;
            int x1 = x;
            if (x == s.lft)
                while (is_inside(x1 - 1)) --x1;
            while (is_inside(x)) ++x;
            const int x2 = x - 1;
            FloodRaster::fill(&raster_, x1, x2, line_);
            if (line_ == s.parent_y) {
                cast(x1, x2, line_ + 1, line_);
                cast(x1, x2, line_ - 1, line_);
            } else {
                const int onward = line_ < s.parent_y ? -1 : 1;
                cast(x1, x2, line_ + onward, line_);
                if (x1 < s.lft - 1) cast(x1, s.lft - 2, line_ - onward, line_);
                if (x2 > s.rgt + 1) cast(s.rgt + 2, x2, line_ - onward, line_);
            }
            remove_overlaps(x2);
        }
    }

    void remove_overlaps(int x2) {
        for (Shadow& t : active_) {
            if (t.lft > x2 || !t.ok) continue;
            const auto u = std::find_if(pending_.begin(), pending_.end(),
                                        [&](const Shadow& p) { return p.y == t.parent_y; });
            if (u == pending_.end()) continue;
            if (u->lft < t.lft - 1) cast(u->lft, t.lft - 2, u->y, t.y);
            if (u->rgt > t.rgt + 1) cast(std::max(u->lft, t.rgt + 2), u->rgt, u->y, t.y);
            u->ok = false;
            if (t.rgt <= u->rgt + 1) {
                t.ok = false;
            } else {
                t.lft = u->rgt + 2;
            }
        }
    }

    FloodRaster& raster_;
    std::list<Shadow> pending_, active_;
    int line_ = 0;
};

}  // namespace movane_tests
