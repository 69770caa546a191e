// Delaunay tetrahedra of points with small integer coordinates, for which every property is a sign
// of a determinant of integers; and the containers made of them, without memory.

#include "Source/delaunay.h"

#include "movane/foundation.h"
#include "movane/gamut.h"

#include "reference/exact.h"
#include "support/allocation_failures.h"
#include "support/handle.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;
using Number = std::int64_t;
using Point  = std::array<Number, 3>;
using Points = std::vector<Point>;

template <class... Corners>
Number six_fold_volume(const Corners&... corners) {
    return reference::orientation<3>(std::array<Point, 4>{corners...});
}

movane::DelaunayCells cells_of(const Points& points) {
    std::vector<volume_point> records;
    for (const Point& p : points)
        records.push_back(
            {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2]), 0});
    movane::DelaunayCells cells;
    EXPECT_TRUE(
        movane::find_delaunay_cells(records.data(), static_cast<int>(records.size()), cells));
    return cells;
}

// The least value that points give a form.
template <std::size_t kSize>
Number least_value(const std::array<Number, kSize>& form, const Points& points) {
    Number least = INT64_MAX;
    for (const Point& p : points) {
        const auto row = reference::lifted<3, kSize>(p);
        least =
            std::min(least, std::inner_product(row.begin(), row.end(), form.begin(), Number{0}));
    }
    return least;
}

// Returns the number of cells, which differs between the solutions for points on a common sphere.
int expect_delaunay(const Points& points) {
    const movane::DelaunayCells result = cells_of(points);
    std::vector<bool> is_used(points.size());
    Number volume = 0, volume_of_hull = 0;
    for (int k = 0; k < result.count; ++k) {
        const movane::DelaunayCell& cell = result.cells[k];
        std::array<Point, 4> p;
        for (int i = 0; i < 4; ++i) {
            p[i]                    = points[cell.corner[i]];
            is_used[cell.corner[i]] = true;
        }
        EXPECT_GT(six_fold_volume(p[0], p[1], p[2], p[3]), 0);
        volume += six_fold_volume(p[0], p[1], p[2], p[3]);
        EXPECT_EQ(least_value(reference::form_of<3, 5>(p.data()), points), 0) << "sphere of " << k;
        for (int i = 0; i < 4; ++i) {
            const auto& on   = movane::kFaceCorners[i];
            const int beyond = cell.neighbour[i];
            std::set<int> face;
            for (const int j : on) face.insert(cell.corner[j]);
            if (beyond != movane::kNoCell) {
                std::set<int> shared;
                for (const int corner : result.cells[beyond].corner)
                    if (face.contains(corner)) shared.insert(corner);
                EXPECT_EQ(shared, face);
                continue;
            }
            // Turned, so that what lies on the side of the cell is positive.
            const Point turned[] = {p[on[0]], p[on[2]], p[on[1]]};
            volume_of_hull += six_fold_volume(turned[0], turned[1], turned[2], Point{0, 0, 0});
            EXPECT_EQ(least_value(reference::form_of<3, 4>(turned), points), 0) << "a hull's face";
        }
    }
    EXPECT_EQ(volume, volume_of_hull);
    EXPECT_EQ(std::count(is_used.begin(), is_used.end(), false), 0);
    return result.count;
}

Points grid(int n) {
    Points points;
    for (int k = 0; k < n * n * n; ++k) points.push_back({k % n, k / n % n, k / n / n});
    return points;
}

TEST(Delaunay, FindsTetrahedraWithEmptySpheresThatFillTheHull) {
    std::mt19937 random(1);
    const auto below = [&](int n) {
        return static_cast<Number>(random() % static_cast<unsigned>(n));
    };
    for (int round = 0; round < 16; ++round) {
        SCOPED_TRACE(round);
        const int range = round % 3 == 0 ? 4 : round % 3 == 1 ? 12 : 900;
        std::set<Point> distinct{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
        for (int i = 0; i < 4 + 3 * round; ++i)
            distinct.insert({below(range), below(range), round % 5 ? below(range) : below(2)});
        Points points(distinct.begin(), distinct.end());
        std::shuffle(points.begin(), points.end(), random);
        expect_delaunay(points);
    }
    EXPECT_GE(expect_delaunay(grid(3)), 8 * 5);

    Points sphere;
    for (int x = -5; x <= 5; ++x)
        for (int y = -5; y <= 5; ++y)
            for (int z = -5; z <= 5; ++z)
                if (x * x + y * y + z * z == 25) sphere.push_back({x, y, z});
    EXPECT_EQ(sphere.size(), 30U);
    expect_delaunay(sphere);
    sphere.push_back({1, 2, 3});
    expect_delaunay(sphere);
}

TEST(Delaunay, FindsNothingInAPlane) {
    Points points;
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(cells_of(points).count, 0) << points.size();
        points.push_back({k, 2 * k, 3 * k});
    }
    for (int k = 0; k < 9; ++k) points.push_back({k * k, 5 * k, 7 * k - k * k});
    for (Point& p : points) p[2] = p[0] - p[1];
    EXPECT_EQ(cells_of(points).count, 0);
}

TEST(VolumesWithoutMemory, AreNotMadeAndLeaveNothing) {
    const Handle points(list_new(64, sizeof(volume_point), nullptr), list_kill);
    for (const Point& p : grid(3)) {
        const volume_point record{static_cast<double>(p[0]), static_cast<double>(p[1]),
                                  static_cast<double>(p[2]), 0};
        list_insert(points, &record);
    }
    const TemporaryDirectory directory;
    const std::string file = directory / "file";
    const auto check       = [](const char* call, auto attempt) {
        check_every_allocation_failure(call, "", [&] {
            const bool succeeded = attempt();
            MessageCapture::take();  // only the lists post one
            return succeeded;
        });
    };
    check("tetra_volume_new0", [] { return made(tetra_volume_new0(), tetra_volume_kill); });
    check("tetra_volume_new", [&] { return made(tetra_volume_new(points), tetra_volume_kill); });
    check("tetra_volume_new2", [&] { return made(tetra_volume_new2(points), tetra_volume_kill); });

    const Handle v(tetra_volume_new(points), tetra_volume_kill);
    const double from[] = {-1, 1.5, 1.25}, to[] = {5, 1.5, 1.25};
    double crossings[6];
    check("tetra_volume_line_intersect2",
          [&] { return tetra_volume_line_intersect2(v, from, to, crossings, 2) == 2; });
    check("tetra_volume_get_border_points", [&] {
        const Handle border(list_new(64, sizeof(volume_point), nullptr), list_kill);
        return border && tetra_volume_get_border_points(v, border) == 0;
    });
    check("writeVRML", [&] { return writeVRML(v, file.c_str()) == 0; });
    check("tetra_volume_dump_to_file",
          [&] { return tetra_volume_dump_to_file(v, file.c_str()) == 0; });

    const volume_point corners[4] = {{0, 0, 0, 1}, {1, 0, 0, 2}, {0, 1, 0, 3}, {0, 0, 1, 4}};
    check("tetra_new", [&] {
        volume_tetra* tetra = tetra_new(&corners[0], &corners[1], &corners[2], &corners[3]);
        movane::release(tetra);
        return tetra != nullptr;
    });
    check("plane_new2",
          [&] { return made(plane_new2(&corners[0], &corners[1], &corners[2]), plane_kill); });
    check("tetra_volume_add_tetra", [&] {
        const Handle one(tetra_volume_new0(), tetra_volume_kill);
        return tetra_volume_add_tetra(one, corners, corners + 1, corners + 2, corners + 3) == 0;
    });
}

TEST(VolumesWithoutMemory, CountPlanesThatCouldNotBeMade) {
    const Handle v(tetra_volume_new0(), tetra_volume_kill);
    const volume_point a{0, 0, 0, 1}, b{1, 0, 0, 2}, c{0, 1, 0, 3};
    const volume_plane plane{};
    movane::testing::refuse_allocations_after(0, movane::testing::Shortage::lasting);
    EXPECT_EQ(tetra_volume_add_plane(v, &a, &b, &c), 0);
    EXPECT_EQ(tetra_volume_add_plane2(v, &plane), 0);
    EXPECT_EQ(movane::testing::end_refusals(), 2);
    EXPECT_EQ(static_cast<tetra_volume*>(v)->nr_of_planes, 2);
    // They are passed over.
    const double q[] = {0.1, 0.1, 0.1};
    EXPECT_EQ(tetra_volume_point_inside(v, q), 0);
    const Handle border(list_new(1, sizeof(volume_point), nullptr), list_kill);
    EXPECT_EQ(tetra_volume_get_border_points(v, border), 0);
    EXPECT_EQ(list_num(border), 0);
}

}  // namespace
