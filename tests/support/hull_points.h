// Points for convex hulls, and what they must give.
#pragma once

#include "movane/gamut.h"

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace movane_tests {

using HullPoint  = std::array<double, 3>;
using HullPoints = std::vector<HullPoint>;
using Triple     = std::array<std::size_t, 3>;

/// The determinant of three points less a fourth; exact for small integers.
inline double volume(const HullPoint& a, const HullPoint& b, const HullPoint& c,
                     const HullPoint& p) {
    double r[3][3];
    for (std::size_t k = 0; k < 3; ++k) {
        r[0][k] = a[k] - p[k];
        r[1][k] = b[k] - p[k];
        r[2][k] = c[k] - p[k];
    }
    return r[0][0] * (r[1][1] * r[2][2] - r[1][2] * r[2][1]) -
           r[0][1] * (r[1][0] * r[2][2] - r[1][2] * r[2][0]) +
           r[0][2] * (r[1][0] * r[2][1] - r[1][1] * r[2][0]);
}

inline double volume(const HullPoints& points, const Triple& t, const HullPoint& p) {
    return volume(points[t[0]], points[t[1]], points[t[2]], p);
}

/// Every triple, oriented outward, that has all points on one side or in its plane and some off it.
inline std::vector<Triple> supporting_sides(const HullPoints& points) {
    std::vector<Triple> sides;
    for (std::size_t a = 0; a < points.size(); ++a) {
        for (std::size_t b = a + 1; b < points.size(); ++b) {
            for (std::size_t c = b + 1; c < points.size(); ++c) {
                double least = 0, greatest = 0;
                for (const HullPoint& p : points) {
                    least    = std::min(least, volume(points, {a, b, c}, p));
                    greatest = std::max(greatest, volume(points, {a, b, c}, p));
                }
                if (least == 0 && greatest > 0) sides.push_back({a, b, c});
                if (least < 0 && greatest == 0) sides.push_back({a, c, b});
            }
        }
    }
    return sides;
}

inline HullPoints integer_points(std::mt19937& random, int count, int reach) {
    std::uniform_int_distribution<int> coordinate(-reach, reach);
    HullPoints points;
    for (int i = 0; i < count; ++i)
        points.push_back(
            {coordinate(random) * 1.0, coordinate(random) * 1.0, coordinate(random) * 1.0});
    return points;
}

inline std::optional<TConvexHull> constructed(const HullPoints& points) {
    TConvexHull hull;
    for (const HullPoint& p : points) hull.AddPoint(p[0], p[1], p[2]);
    if (hull.Construct() != 0) return std::nullopt;
    return hull;
}

/// Points that are hard on a hull, by name, and whether they have one; nothing where that is a
/// matter of rounding.
inline std::vector<std::tuple<std::string, HullPoints, std::optional<bool>>> awkward_points() {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinity = INFINITY;
    std::vector<std::tuple<std::string, HullPoints, std::optional<bool>>> rows = {
        {"nothing", {}, false},
        {"one point", {{1, 2, 3}}, false},
        {"two points", {{1, 2, 3}, {4, 5, 6}}, false},
        {"three points", {{0, 0, 0}, {9, 0, 0}, {0, 9, 0}}, false},
        {"one that is not a number", {{kNan, kNan, kNan}}, false},
        {"two that are not", {{kNan, 0, 0}, {0, kNan, 0}}, false},
        {"not a number first", {{kNan, 0, 0}, {9, 0, 0}, {0, 9, 0}, {0, 0, 9}, {9, 9, 9}}, false},
        {"smaller than the tolerance", {{0, 0, 0}, {0.5, 0, 0}, {0, 0.5, 0}, {0, 0, 0.5}}, false},
        {"infinite",
         {{0, 0, 0},
          {9, 0, 0},
          {0, 9, 0},
          {0, 0, 9},
          {kInfinity, 0, 0},
          {0, -kInfinity, 1},
          {9, 9, 9}},
         std::nullopt},
        {"infinite first",
         {{kInfinity, 0, 0}, {9, 0, 0}, {0, -kInfinity, 0}, {0, 0, 9}, {1, 1, 1}},
         std::nullopt},
    };
    const auto add = [&](const char* name, std::optional<bool> is_solid, int count, auto point) {
        HullPoints points;
        for (int i = 0; i < count; ++i) points.push_back(point(i));
        rows.emplace_back(name, points, is_solid);
    };
    add("the same point", false, 500, [](int) { return HullPoint{5, 6, 7}; });
    add("a line", false, 500, [](int i) { return HullPoint{i * 1.0, i * 2.0, -i * 4.0}; });
    add("a plane", false, 900, [](int i) { return HullPoint{i % 30 * 1.0, i / 30 * 1.0, 4}; });
    add("a plane and one more", true, 901, [](int i) {
        return i == 900 ? HullPoint{3, 3, 90} : HullPoint{i % 30 * 1.0, i / 30 * 1.0, 4};
    });
    add("a line and two more", true, 302, [](int i) {
        return i < 300 ? HullPoint{i * 1.0, 0, 0}
                       : HullPoint{0, i == 300 ? 9.0 : 0, i == 301 ? 9.0 : 0};
    });
    add("a cube grid", true, 1000, [](int i) {
        return HullPoint{i % 10 * 8.0, i / 10 % 10 * 8.0, i / 100 * 8.0};
    });
    add("a cube grid of fractions", std::nullopt, 1000, [](int i) {
        return HullPoint{i % 10 / 3.0, i / 10 % 10 / 3.0, i / 100 / 3.0};
    });
    add("a cube grid turned", std::nullopt, 1000, [](int i) {
        const double x = i % 10 * 8.1, y = i / 10 % 10 * 8.1, z = i / 100 * 8.1;
        return HullPoint{0.6 * x - 0.8 * y, 0.8 * x + 0.6 * y + 0.1 * z, z - 0.3 * x};
    });
    const auto scattered = [](int k) {
        return HullPoint{k * 7 % 50 * 1.0, k * 11 % 49 * 1.0, k * 13 % 47 * 1.0};
    };
    add("every point ten times", true, 500, [&](int i) { return scattered(i % 50); });
    add("no three in a row that differ", false, 500, [&](int i) { return scattered(i / 10); });
    add("three in a row at the end and twice the beginning", true, 99,
        [&](int i) { return scattered((i + 1) / 2); });
    add("three in a row at the end and the beginning", true, 97,
        [&](int i) { return scattered(i / 2); });
    add("a needle", std::nullopt, 300, [](int i) {
        return HullPoint{i * 1e5, std::sin(i * 7.0) * 1e-3, std::cos(i * 5.0) * 1e-3};
    });
    add("flat but for rounding", std::nullopt, 400, [](int i) {
        const double x = i % 20 * 1e5 / 3, y = i / 20 * 1e5 / 7;
        return HullPoint{x, y, 0.1 * x + 0.7 * y};
    });
    const double scales[] = {1e139, 1e-322, 1, -1e100, 1e103, 1e-139, 1e305, 0};
    add("huge beside tiny", std::nullopt, 512, [&](int i) {
        return HullPoint{scales[i % 8], scales[i / 8 % 8], scales[i / 64]};
    });
    std::mt19937 random(3);
    add("huge beside tiny, at random", std::nullopt, 400, [&](int) {
        const auto draw = [&] {
            return scales[random() % 8] * (static_cast<double>(random() % 9) - 4);
        };
        return HullPoint{draw(), draw(), draw()};
    });
    add("numbers and others", std::nullopt, 400, [&](int) {
        const auto draw = [&] {
            const auto k = random() % 60;
            return k == 0   ? kNan
                   : k == 1 ? kInfinity
                   : k == 2 ? -kInfinity
                            : static_cast<double>(k);
        };
        return HullPoint{draw(), draw(), draw()};
    });
    return rows;
}

}  // namespace movane_tests
