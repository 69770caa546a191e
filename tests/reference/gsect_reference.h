// Golden-section search over a sliding window of four samples; remembers where it looked.
#pragma once

#include <cmath>
#include <deque>
#include <vector>

namespace movane_tests {

struct LineSearch {
    std::vector<double> visited;
    double x, value;
};

template <class Function>
LineSearch gsect_reference(double xa, double xb, double xc, double tol, Function f) {
    constexpr double kRatio = 0.61803399, kRest = 0.38196601;
    struct Sample {
        double x, y;
    };
    LineSearch search{};
    const auto look = [&](double x) {
        search.visited.push_back(x);
        return Sample{x, f(x)};
    };

    std::deque<Sample> window{{xa, 0}, {xc, 0}};  // the values of the ends are never asked for
    const bool right_is_larger = std::fabs(xc - xb) > std::fabs(xb - xa);
    const double left          = right_is_larger ? xb : xb - kRest * (xb - xa);
    const double right         = right_is_larger ? xb + kRest * (xc - xb) : xb;
    window.insert(window.begin() + 1, look(left));
    window.insert(window.begin() + 2, look(right));

    while (std::fabs(window.back().x - window.front().x) > tol) {
        const bool go_right = window[2].y < window[1].y;
        go_right ? window.pop_front() : window.pop_back();
        // Three are left; the new one lies between the middle one and the far end.
        const Sample& end = go_right ? window.back() : window.front();
        const Sample next = look(kRatio * window[1].x + kRest * end.x);
        window.insert(window.begin() + (go_right ? 2 : 1), next);
    }

    const Sample& best = window[1].y < window[2].y ? window[1] : window[2];
    search.x           = best.x;
    search.value       = best.y;
    return search;
}

}  // namespace movane_tests
