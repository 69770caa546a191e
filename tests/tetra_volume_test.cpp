// Tetrahedra, containers of them, and the files they are written to.

#include "movane/gamut.h"

#include "movane/foundation.h"

#include "reference/exact.h"
#include "support/handle.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;
using Volume = Handle<tetra_volume, int>;
using Point  = std::array<double, 3>;
using Points = std::vector<Point>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

const Points kTetrahedron = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 10}};

Handle<movane_list, movane_list*> list_of(const Points& points) {
    Handle list(list_new(static_cast<int>(points.size()), sizeof(volume_point), nullptr),
                list_kill);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const volume_point p{points[i][0], points[i][1], points[i][2], static_cast<double>(i)};
        list_insert(list, &p);
    }
    return list;
}

Volume volume_of(const Points& points, tetra_volume* (*make)(void*) = tetra_volume_new) {
    return {make(list_of(points)), tetra_volume_kill};
}

volume_tetra* tetra_at(tetra_volume* v, int index) {
    volume_tetra* tetra = nullptr;
    EXPECT_EQ(tetra_volume_get_tetra2(v, index, &tetra), 0);
    return tetra;
}

std::vector<volume_plane*> planes_of(tetra_volume* v) {
    std::vector<volume_plane*> planes;
    for (int i = 0; i < v->nr_of_planes; ++i)
        planes.push_back(*static_cast<volume_plane**>(list_get_element(v->planes, i)));
    return planes;
}

Points border_of(const tetra_volume* v) {
    const Handle list(list_new(1, sizeof(volume_point), nullptr), list_kill);
    EXPECT_EQ(tetra_volume_get_border_points(v, list), 0);
    Points points;
    for (int i = 0; i < list_num(list); ++i) {
        const auto* p = static_cast<const volume_point*>(list_get_element(list, i));
        points.push_back({p->x, p->y, p->z});
    }
    return points;
}

double true_volume(tetra_volume* v) {
    double sum = 0;
    for (int i = 0; i < v->nr_of_tetrahedrae; ++i) {
        const auto corner = [p = tetra_at(v, i)->p](int k) {
            return Point{p[k].x, p[k].y, p[k].z};
        };
        sum += reference::orientation<3>(std::array{corner(0), corner(1), corner(2), corner(3)});
    }
    return sum / 6;
}

Points random_points(std::mt19937& random, int count) {
    std::uniform_real_distribution<double> any(-100, 100);
    Points points;
    for (int i = 0; i < count; ++i) points.push_back({any(random), any(random), any(random)});
    return points;
}

Points grid(int n, double step) {
    Points points;
    for (int k = 0; k < n * n * n; ++k)
        points.push_back({k % n * step, k / n % n * step, k / n / n * step});
    return points;
}

TEST(Tetra, GivesBarycentricCoordinatesAndItsOwnMeasure) {
    const volume_point p[] = {{1, 1, 1, 3.9}, {3, 1, 1, -2.9}, {1, 5, 1, 1e300}, {1, 1, 9, kNan}};
    volume_tetra* tetra    = tetra_new(&p[0], &p[1], &p[2], &p[3]);
    EXPECT_EQ(std::vector(tetra->m, tetra->m + 9),
              (std::vector<double>{0.5, 0, 0, 0, 0.25, 0, 0, 0, 0.125}));
    EXPECT_EQ(std::vector(tetra->centroid, tetra->centroid + 3), (std::vector<double>{1.5, 2, 3}));
    struct Row {
        Point q, weights;
        int inside;
    };
    for (const Row& row : {Row{{1.5, 2, 3}, {0.25, 0.25, 0.25}, 1}, Row{{1, 1, 1}, {0, 0, 0}, 1},
                           Row{{2, 3, 1}, {0.5, 0.5, 0}, 1}, Row{{2, 3, 2}, {0.5, 0.5, 0.125}, 0},
                           Row{{0, 1, 1}, {-0.5, 0, 0}, 0}, Row{{1, 6, 1}, {0, 1.25, 0}, 0}}) {
        Point weights{};
        EXPECT_EQ(tetra_point_inside(tetra, row.q.data(), weights.data()), row.inside);
        EXPECT_EQ(weights, row.weights);
    }
    const int numbers[] = {-1, 3, -2, -1, -1, -1};
    for (int k = -1; k <= 4; ++k) EXPECT_EQ(tetra_get_pointnr(tetra, k), numbers[k + 1]) << k;
    EXPECT_EQ(tetra_get_volume(tetra), (2 * 16 * 0.5) * 64 / 3);
    std::free(tetra);

    EXPECT_EQ(tetra_new(&p[0], nullptr, &p[2], &p[3]), nullptr);
    EXPECT_EQ(tetra_get_pointnr(nullptr, 0), -1);
    EXPECT_EQ(tetra_get_volume(nullptr), -1.0);
    EXPECT_EQ(tetra_point_inside(nullptr, kTetrahedron[0].data(), nullptr), 0);
}

TEST(Tetra, HasAGuardedDeterminant) {
    const double heights[][2] = {{0, 1e6}, {-0.0, 1e6}, {1e-7, 1e6}, {-1e-7, -1e6}, {2e-6, 5e5}};
    for (const auto& [height, scale] : heights) {
        const volume_point p[] = {{0, 0, 0, 0}, {1, 0, 0, 1}, {0, 1, 0, 2}, {0, 0, height, 3}};
        volume_tetra* tetra    = tetra_new(&p[0], &p[1], &p[2], &p[3]);
        EXPECT_NEAR(tetra->m[8], scale, 1e-3) << height;
        std::free(tetra);
    }
}

TEST(TetraVolume, IsFilledByHand) {
    const Volume v(tetra_volume_new0(), tetra_volume_kill);
    const volume_point a{0, 0, 0, 1}, b{10, 0, 0, 2}, c{0, 10, 0, 3}, d{0, 0, 10, 4},
        e{0, 0, -10, 5};
    EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(v), 0);
    EXPECT_EQ(tetra_volume_get_volume(v), 0);
    EXPECT_EQ(tetra_volume_add_tetra(v, &a, &b, &c, &d), 0);
    EXPECT_EQ(tetra_volume_add_tetra(v, &a, &b, &c, &e), 0);
    EXPECT_EQ(tetra_volume_add_tetra(v, &a, &b, &c, nullptr), -1);
    EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(v), 2);
    EXPECT_EQ(tetra_volume_get_volume(v), 2 * ((10 * 100 * 0.5) * 100 / 3));

    volume_tetra* found   = nullptr;
    const double shared[] = {1, 1, 0}, below[] = {1, 1, -1}, outside[] = {6, 6, 0};
    EXPECT_EQ(tetra_volume_get_tetra(v, shared, &found), 0);
    EXPECT_EQ(found, tetra_at(v, 0));
    EXPECT_EQ(tetra_volume_get_tetra(v, below, &found), 0);
    EXPECT_EQ(found, tetra_at(v, 1));
    EXPECT_EQ(tetra_volume_get_tetra(v, outside, &found), -1);
    for (const int index : {-1, 2}) EXPECT_EQ(tetra_volume_get_tetra2(v, index, &found), -1);
    EXPECT_EQ(found, tetra_at(v, 1));

    EXPECT_EQ(tetra_volume_add_plane(v, &a, &b, &c), 0);
    planes_of(v)[0]->flag = 3;
    EXPECT_EQ(tetra_volume_add_plane2(v, planes_of(v)[0]), 0);
    EXPECT_EQ(planes_of(v)[1]->a, planes_of(v)[0]->a);
    EXPECT_EQ(planes_of(v)[1]->flag, 0);
    EXPECT_EQ(border_of(v), (Points{{0, 0, 0}, {10, 0, 0}, {0, 10, 0}}));
}

TEST(TetraVolume, AnswersNullWithFailureValues) {
    const double q[] = {0, 0, 0};
    const volume_point p{};
    volume_tetra* tetra = nullptr;
    const Handle bytes(list_new(1, 1, nullptr), list_kill);
    const Volume v = volume_of(kTetrahedron);
    EXPECT_EQ(tetra_volume_new(nullptr), nullptr);
    EXPECT_EQ(tetra_volume_new2(nullptr), nullptr);
    EXPECT_EQ(tetra_volume_new(bytes), nullptr);
    EXPECT_EQ(tetra_volume_kill(nullptr), 0);
    EXPECT_EQ(tetra_volume_add_plane(nullptr, &p, &p, &p), -1);
    EXPECT_EQ(tetra_volume_add_plane2(nullptr, nullptr), -1);
    EXPECT_EQ(tetra_volume_add_tetra(nullptr, &p, &p, &p, &p), -1);
    EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(nullptr), -1);
    EXPECT_EQ(tetra_volume_get_tetra(nullptr, q, &tetra), -1);
    EXPECT_EQ(tetra_volume_get_tetra2(nullptr, 0, &tetra), -1);
    EXPECT_EQ(tetra_volume_point_inside(nullptr, q), 0);
    EXPECT_EQ(tetra_volume_line_intersect(nullptr, q, q, nullptr, 0), -1);
    EXPECT_EQ(tetra_volume_line_intersect2(nullptr, q, q, nullptr, 0), -1);
    EXPECT_EQ(tetra_volume_line_intersect(v, q, q, nullptr, 1), -1);
    EXPECT_EQ(tetra_volume_line_hasintersects(nullptr, q, q), 0);
    EXPECT_EQ(tetra_volume_get_border_points(v, nullptr), -1);
    EXPECT_EQ(tetra_volume_get_border_points(v, bytes), -1);
    EXPECT_EQ(tetra_volume_get_volume(nullptr), -1.0);
    EXPECT_EQ(writeVRML(nullptr, "none"), -1);
    EXPECT_EQ(tetra_volume_dump_to_file(nullptr, "none"), -1);
    EXPECT_EQ(tetra_volume_view(v, nullptr), -1);
}

TEST(TetraVolume, LeavesOutWhatIsNoPointOfItsOwn) {
    Points points = {{0, 0, 0}, {0.0099, -0.0099, 0.0099}, {10, 0, 0}, {kNan, 0, 0}};
    points.insert(points.end(),
                  {{0, 10, 0}, {0, HUGE_VAL, 0}, {0.01, 0, 0}, {0, 0, 10}, {0, 0, 10}});
    const Volume v = volume_of(points);
    EXPECT_EQ(border_of(v).size(), 5U);
    EXPECT_NEAR(true_volume(v), 1000 / 6.0, 1e-9);

    for (const Points& flat : {Points{}, Points{{1, 2, 3}}, Points(7, {1, 2, 3}),
                               Points{{0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {1, 1, 1}, {5, 7, 1}}}) {
        for (auto* const make : {tetra_volume_new, tetra_volume_new2}) {
            const Volume empty = volume_of(flat, make);
            EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(empty), 0);
            EXPECT_TRUE(planes_of(empty).empty());
        }
    }
    // Slivers are dropped; the order of magnitude of the others does not matter.
    EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(
                  volume_of({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.3, 0.3, 0.9e-6}})),
              0);
    EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(
                  volume_of({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.3, 0.3, 1.1e-6}})),
              1);
    EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(
                  volume_of({{0, 0, 0}, {1e139, 0, 0}, {0, 1e139, 0}, {0, 1e-322, 1e139}})),
              1);
}

// Each step along one line and each along another that crosses over it make a tetrahedron.
Points crossing_lines(int along_x, int along_y) {
    Points points;
    for (int i = 0; i < along_x; ++i) points.push_back({i * 1.0, 0, 0});
    for (int j = 0; j < along_y; ++j) points.push_back({0, j * 1.0, 50});
    return points;
}

TEST(TetraVolume, IsNotMadeWithMoreRecordsThanAListHolds) {
    const MessageCapture quiet;
    EXPECT_EQ(tetra_volume_get_nr_of_tetrahedrae(volume_of(crossing_lines(256, 258))), 65535);
    EXPECT_EQ(volume_of(crossing_lines(257, 257)), nullptr);
    EXPECT_EQ(MessageCapture::take(), "");
}

// A convex solid: inside is what lies behind all planes.
TEST(TetraVolume, TellsInsideFromOutside) {
    std::mt19937 random(1);
    for (const Points& points : {kTetrahedron, grid(4, 10), random_points(random, 40)}) {
        for (auto* const make : {tetra_volume_new, tetra_volume_new2}) {
            const Volume v    = volume_of(points, make);
            const auto planes = planes_of(v);
            double closed     = 0;  // the volume within the planes
            for (const volume_plane* p : planes) closed -= p->d / 6;
            EXPECT_NEAR(true_volume(v), closed, 1e-9 * closed);
            // Also many that lie level with corners and edges.
            Points queries = random_points(random, 300);
            for (int i = 0; i < 300; ++i)
                queries.push_back({static_cast<double>(random() % 9) * 5 - 5,
                                   static_cast<double>(random() % 9) * 5 - 5,
                                   static_cast<double>(random() % 9) * 5 - 5});
            for (const Point& q : queries) {
                double highest = -1e300;
                for (const volume_plane* p : planes) {
                    const double length = std::hypot(p->a, p->b, p->c);
                    highest             = std::max(highest,
                                                   (p->a * q[0] + p->b * q[1] + p->c * q[2] + p->d) / length);
                }
                if (std::fabs(highest) < 1e-9) continue;
                EXPECT_EQ(tetra_volume_point_inside(v, q.data()), highest < 0)
                    << q[0] << " " << q[1] << " " << q[2];
                volume_tetra* tetra = nullptr;
                const int found     = tetra_volume_get_tetra(v, q.data(), &tetra);
                if (highest > 1e-6) {
                    EXPECT_EQ(found, -1);
                }
                if (found == 0) {
                    EXPECT_EQ(tetra_point_inside(tetra, q.data(), nullptr), 1);
                }
            }
        }
    }
}

TEST(TetraVolume, PutsBorderPointsFirstInItsSecondForm) {
    Points points = grid(3, 10);
    points.push_back({10.005, 10, 10});  // the same as the middle
    const Volume v = volume_of(points, tetra_volume_new2);
    EXPECT_EQ(border_of(v).size(), 26U);
    EXPECT_NEAR(true_volume(v), 8000, 1e-9);
    std::vector<bool> seen(points.size());
    for (int i = 0; i < tetra_volume_get_nr_of_tetrahedrae(v); ++i)
        for (int k = 0; k < 4; ++k) seen[tetra_get_pointnr(tetra_at(v, i), k)] = true;
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), 27);
    EXPECT_FALSE(seen.back());
}

TEST(TetraVolume, IsCrossedOncePerWayInOrOut) {
    const Volume v = volume_of(grid(3, 10));
    struct Row {
        const char* name;
        Point s, e;
        std::vector<double> z;  // of the crossings, in their order
    };
    for (const Row& row : {
             Row{"through edges of many planes", {10, 10, -5}, {10, 10, 25}, {0, 20}},
             Row{"backward", {10, 10, 25}, {10, 10, -5}, {20, 0}},
             Row{"from inside", {10, 10, 10}, {10, 10, 25}, {20}},
             Row{"through corners, slanting", {-5, -5, -5}, {25, 25, 25}, {0, 20}},
             Row{"within", {5, 5, 5}, {5, 5, 15}, {}},
             Row{"past it", {21, 5, -5}, {21, 5, 25}, {}},
             Row{"nowhere", {10, 10, -5}, {10, 10, kNan}, {}},
         }) {
        double points[12] = {}, sorted[12] = {};
        const int count = static_cast<int>(row.z.size());
        EXPECT_EQ(tetra_volume_line_intersect(v, row.s.data(), row.e.data(), points, 4), count)
            << row.name;
        EXPECT_EQ(tetra_volume_line_intersect2(v, row.s.data(), row.e.data(), sorted, 4), count);
        EXPECT_EQ(tetra_volume_line_hasintersects(v, row.s.data(), row.e.data()), count > 0);
        for (int i = 0; i < count; ++i) EXPECT_NEAR(sorted[3 * i + 2], row.z[i], 1e-9) << row.name;
        std::vector<double> unsorted, expected = row.z;
        for (int i = 0; i < count; ++i) unsorted.push_back(points[3 * i + 2]);
        std::sort(unsorted.begin(), unsorted.end());
        std::sort(expected.begin(), expected.end());
        for (int i = 0; i < count; ++i) EXPECT_NEAR(unsorted[i], expected[i], 1e-9);
    }
    // Only as many points as there is room for; two solids that touch, as one crossing.
    const Point s{1, 1, -5}, e{1, 1, 25};
    double first[4] = {0, 0, 0, -7};
    EXPECT_EQ(tetra_volume_line_intersect2(v, s.data(), e.data(), first, 1), 2);
    EXPECT_NEAR(first[2], 0, 1e-9);
    EXPECT_EQ(first[3], -7);
    for (const volume_plane* plane : planes_of(v)) tetra_volume_add_plane2(v, plane);
    EXPECT_EQ(tetra_volume_line_intersect(v, s.data(), e.data(), nullptr, 0), 4);
    EXPECT_EQ(tetra_volume_line_intersect2(v, s.data(), e.data(), nullptr, 0), 2);
}

// The text that the C library's own formatting gives.
std::string printed(const char* format, double x, double y, double z) {
    char line[256];
    std::snprintf(line, sizeof line, format, x, y, z);
    return line;
}

TEST(TetraVolumeFiles, AreWrittenToTheLetter) {
    const TemporaryDirectory directory;
    const std::string scene = directory / "scène.wrl", dump = directory / "cloud.txt";
    const std::string head =
        "#VRML V2.0 utf8 \n"
        "Shape{geometry Box{size 100 1 1}}\n"
        "Shape{geometry Box{size 1 200 1}}\n"
        "Shape{geometry Box{size 1 1 200}}\n";
    const Volume v(tetra_volume_new0(), tetra_volume_kill);
    const volume_point a{0, 0, 0, 0}, b{10, 0, 0, 1}, c{0, -12.345, 0, 2}, d{0, 0, 1234567.891, 3};
    tetra_volume_add_tetra(v, &a, &b, &c, &d);
    EXPECT_EQ(writeVRML(v, scene.c_str()), 0);
    EXPECT_EQ(read_file(scene),
              head +
                  "Shape { appearance Appearance { material Material { emissiveColor 1 1 0 } } \n"
                  "geometry PointSet { coord Coordinate { point [ \n"
                  "      0.00       0.00       0.00 ,\n"
                  "     10.00       0.00       0.00 ,\n"
                  "      0.00     -12.35       0.00 ,\n"
                  "      0.00       0.00 1234567.89 ,\n"
                  "] }}}\n");

    tetra_volume_add_plane(v, &a, &b, &c);
    tetra_volume_add_plane(v, &b, &c, &d);
    EXPECT_EQ(tetra_volume_view(v, scene.c_str()), 0);
    EXPECT_EQ(read_file(scene), head +
                                    "Shape { appearance Appearance { material Material { } } \n"
                                    "geometry IndexedFaceSet { coord Coordinate { point [ \n"
                                    "      0.00       0.00       0.00 ,\n"
                                    "     10.00       0.00       0.00 ,\n"
                                    "      0.00     -12.35       0.00 ,\n"
                                    "      0.00       0.00 1234567.89 ,\n"
                                    "] } coordIndex [ \n"
                                    "0 1 2 -1, \n"
                                    "1 2 3 -1, \n"
                                    "] color Color{ color[\n"
                                    "0.333333 0.666667 0.000000, \n"
                                    "0.333333 0.666667 0.333333, \n"
                                    "]}\n"
                                    "colorIndex[\n"
                                    "0\n"
                                    "1\n"
                                    "] colorPerVertex FALSE solid FALSE\n"
                                    " } }");

    const Volume one(tetra_volume_new0(), tetra_volume_kill);
    const volume_point e{0, 0, 30, 4};
    tetra_volume_add_tetra(one, &a, &b, &c, &e);
    tetra_volume_add_plane(one, &a, &b, &c);
    std::string expected;
    for (int k = 0; k <= 80; ++k) expected += printed("     0 %7.1lf       0\n", k, 0, 0);
    for (int k = 0; k <= 89; ++k) expected += printed("     0      0  %7.1lf\n", k, 0, 0);
    for (int k = 0; k <= 69; ++k) expected += printed("%7.1lf      0       0\n", k, 0, 0);
    const auto edge = [&](const volume_point& p, const volume_point& q, int n) {
        for (int k = 0; k < n; ++k)
            expected += printed("%7.1lf %7.1lf %7.1lf\n", p.x + (q.x - p.x) * k / (n - 1),
                                p.y + (q.y - p.y) * k / (n - 1), p.z + (q.z - p.z) * k / (n - 1));
    };
    edge(a, b, 100);
    edge(a, c, 100);
    edge(a, e, 10);
    edge(b, c, 100);
    edge(b, e, 10);
    edge(c, e, 10);
    EXPECT_EQ(tetra_volume_dump_to_file(one, dump.c_str()), 0);
    EXPECT_EQ(read_file(dump), expected);

    const std::string missing = directory / "missing/file";
    EXPECT_EQ(writeVRML(v, missing.c_str()), -1);
    EXPECT_EQ(tetra_volume_dump_to_file(v, missing.c_str()), -1);
}

}  // namespace
