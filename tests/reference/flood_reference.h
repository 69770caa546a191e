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
    bool keeps_calls         = true;
    std::vector<char> pixels = std::vector<char>(width * height);
    std::vector<Call> calls  = {};
    int strays               = 0;  // filled pixels that were not to be filled

    /// Null outside.
    char* at(long long x, long long y) {
        const long long column = x - left, row = y - top;
        const bool is_outside = column < 0 || column >= width || row < 0 || row >= height;
        return is_outside ? nullptr : &pixels[static_cast<std::size_t>(row * width + column)];
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
            char* const pixel = raster.at(x, y);
            if (!pixel || std::exchange(*pixel, 2) != 1) ++raster.strays;
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
        cast(x, x, y, y);
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
        auto taken = std::exchange(pending_, {});
        taken.remove_if([](const Shadow& s) { return !s.ok; });
        if (!taken.empty()) line_ = taken.front().y;
        for (const Shadow& s : taken) {
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
        if (lft <= rgt) pending_.push_front({lft, rgt, y, parent_y, true});
    }

    void scan(const Shadow& s) {
        for (int x = s.lft; x <= s.rgt; ++x) {
            if (!is_inside(x)) continue;
            int x1 = x;
            if (x == s.lft)
                while (is_inside(x1 - 1)) --x1;
            while (is_inside(x)) ++x;
            const int x2 = x - 1, onward = line_ < s.parent_y ? -1 : 1;
            FloodRaster::fill(&raster_, x1, x2, line_);
            cast(x1, x2, line_ + onward, line_);
            if (line_ == s.parent_y) {
                cast(x1, x2, line_ - 1, line_);
            } else {
                cast(x1, s.lft - 2, line_ - onward, line_);
                cast(s.rgt + 2, x2, line_ - onward, line_);
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
            cast(u->lft, t.lft - 2, u->y, t.y);
            cast(std::max(u->lft, t.rgt + 2), u->rgt, u->y, t.y);
            u->ok = false;
            t.ok  = t.rgt > u->rgt + 1;
            t.lft = u->rgt + 2;
        }
    }

    FloodRaster& raster_;
    std::list<Shadow> pending_, active_;
    int line_ = 0;
};

}  // namespace movane_tests
