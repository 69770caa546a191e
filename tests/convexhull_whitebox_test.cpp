// The convex hull from inside: its lists against a plain reference, what it prints, and its memory.

#include "movane/gamut.h"

#include "Source/convexhull.h"
#include "reference/convexhull_reference.h"
#include "support/allocation_failures.h"
#include "support/hull_points.h"
#include "support/printed.h"
#include "support/private_member.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;
using movane::for_each;

using VertexList = tVertexStructure* TConvexHull::*;
using EdgeList   = tEdgeStructure* TConvexHull::*;
using FaceList   = tFaceStructure* TConvexHull::*;
using Walk       = void (TConvexHull::*)() const;
using OfVertex   = void (TConvexHull::*)(const tVertexStructure*) const;
using Volume     = double (TConvexHull::*)(const tFaceStructure*, const tVertexStructure*) const;

OPEN_MEMBER(VertexList, vertex_list, &TConvexHull::vertices_);
OPEN_MEMBER(EdgeList, edge_list, &TConvexHull::edges_);
OPEN_MEMBER(FaceList, face_list, &TConvexHull::faces_);
OPEN_MEMBER(Walk, hull_print, &TConvexHull::Print);
OPEN_MEMBER(OfVertex, hull_print_out, &TConvexHull::PrintOut);
OPEN_MEMBER(OfVertex, hull_print_point, &TConvexHull::PrintPoint);
OPEN_MEMBER(Volume, hull_volumei, &TConvexHull::Volumei);
OPEN_MEMBER(Walk, hull_consistency, &TConvexHull::Consistency);
OPEN_MEMBER(Walk, hull_convexity, &TConvexHull::Convexity);

// A hull as numbers: vertices, then faces by their corners, then edges by ends and faces.
using Lists = std::vector<std::vector<long>>;

Lists lists_of(const TConvexHull& hull) {
    Lists lists;
    std::map<const void*, long> face_number = {{nullptr, -1}};
    lists.emplace_back();
    for_each(hull.*vertex_list(),
             [&](const tVertexStructure* v) { lists.back().push_back(v->vnum); });
    for_each(hull.*face_list(), [&](const tFaceStructure* f) {
        face_number.emplace(f, std::ssize(face_number) - 1);
        lists.push_back({f->vertex[0]->vnum, f->vertex[1]->vnum, f->vertex[2]->vnum});
    });
    for_each(hull.*edge_list(), [&](const tEdgeStructure* e) {
        lists.push_back({e->endpts[0]->vnum, e->endpts[1]->vnum, face_number.at(e->adjface[0]),
                         face_number.at(e->adjface[1])});
    });
    return lists;
}

Lists lists_of(const reference::Hull& hull) {
    Lists lists;
    std::map<const void*, long> face_number = {{nullptr, -1}};
    lists.emplace_back();
    for (const auto* v : hull.vertices) lists.back().push_back(v->number);
    for (const auto* f : hull.faces) {
        face_number.emplace(f, std::ssize(face_number) - 1);
        lists.push_back({f->corners[0]->number, f->corners[1]->number, f->corners[2]->number});
    }
    for (const auto* e : hull.edges)
        lists.push_back({e->ends[0]->number, e->ends[1]->number, face_number.at(e->faces[0]),
                         face_number.at(e->faces[1])});
    return lists;
}

void expect_like_reference(const HullPoints& points) {
    TConvexHull hull;
    reference::Hull expected;
    for (const HullPoint& p : points) {
        hull.AddPoint(p[0], p[1], p[2]);
        expected.add(p[0], p[1], p[2]);
    }
    const bool is_solid = expected.construct();
    EXPECT_EQ(hull.Construct() == 0, is_solid);
    ASSERT_EQ(lists_of(hull), lists_of(expected));
    for_each(hull.*face_list(), [&](const tFaceStructure* f) {
        for (int i = 0; is_solid && i < 3; ++i) {
            const auto* const ends = f->edge[i]->endpts;
            const std::set joined  = {ends[0], ends[1]};
            EXPECT_EQ(joined, (std::set{f->vertex[i], f->vertex[(i + 1) % 3]}));
        }
    });
    (hull.*hull_consistency())();
    (hull.*hull_convexity())();
    for (std::size_t i = 0; i < points.size(); ++i) {
        HullPoint p = points[i];
        for (std::size_t k = 0; k < 3; ++k)
            p[k] = 1.02 * p[k] + 0.3 * points[(i * i) % points.size()][k];
        EXPECT_EQ(hull.InsideHull(p[0], p[1], p[2]), expected.is_inside(p));
    }
}

TEST(ConvexHullLists, AreThoseOfTheReference) {
    for (const auto& [name, points, is_solid] : awkward_points()) {
        SCOPED_TRACE(name);
        expect_like_reference(points);
        if (!is_solid) continue;
        const auto hull = constructed(points);
        ASSERT_EQ(hull.has_value(), *is_solid);
        for (const HullPoint& p : points) {
            EXPECT_TRUE(!hull || hull->InsideHull(p[0], p[1], p[2]));
        }
    }
    std::mt19937 random(2);
    std::normal_distribution<double> normal;
    for (const double scale : {0.4, 1.0, 60.0, 1e4, 1e7}) {
        for (const bool is_sphere : {false, true}) {
            HullPoints points(300);
            for (HullPoint& p : points) {
                p                   = {normal(random), normal(random), normal(random)};
                const double length = is_sphere ? std::hypot(p[0], p[1], p[2]) : 1;
                for (double& x : p) x *= scale / length;
                p[1] += 5 * scale;
            }
            SCOPED_TRACE(scale);
            expect_like_reference(points);
        }
    }
}

TEST(ConvexHullPrint, DrawsInPostScript) {
    const auto hull = constructed({{0, 0, 0}, {8, 0, 0}, {0, 8.25, 0}, {1, 1, 1}, {-1.5, 1, 9}});
    expect_printed(
        "%!PS\n"
        "%%BoundingBox: -2 0 8 9\n"
        "%%HiResBoundingBox: -2 0 8 9\n"
        "0 setlinewidth\n"
        "73.500000 72.000000 translate\n"
        "\n%% Vertices:\tV = 4\n"
        "%% index:\tx\ty\tz\n"
        "%%     4:\t-1.500\t1.000\t9.000\n"
        "%%     0:\t0.000\t0.000\t0.000\n"
        "%%     1:\t8.000\t0.000\t0.000\n"
        "%%     2:\t0.000\t8.250\t0.000\n"
        "\n%% Faces:\tF = 4\n"
        "%% Visible faces only: \n"
        "%% vnums:  0  1  4\n"
        "newpath\n"
        "0.000\t0.000\tmoveto\n"
        "8.000\t0.000\tlineto\n"
        "-1.500\t1.000\tlineto\n"
        "closepath stroke\n\n"
        "%% vnums:  1  2  4\n"
        "newpath\n"
        "8.000\t0.000\tmoveto\n"
        "0.000\t8.250\tlineto\n"
        "-1.500\t1.000\tlineto\n"
        "closepath stroke\n\n"
        "%% List of all faces: \n"
        "%%\tv0\tv1\tv2\t(vertex indices)\n"
        "%%\t2\t1\t0\n"
        "%%\t2\t0\t4\n"
        "%%\t0\t1\t4\n"
        "%%\t1\t2\t4\n"
        "\n%% Edges:\tE = 6\n"
        "\nshowpage\n\n",
        [&] { (*hull.*hull_print())(); });
}

TEST(ConvexHullPrint, SurvivesWithoutPoints) {
    const TConvexHull hull;
    testing::internal::CaptureStdout();
    (hull.*hull_print())();
    EXPECT_NE(testing::internal::GetCapturedStdout().find("V = 0\n"), std::string::npos);
}

std::string hexadecimal(const void* address, int width) {
    char text[20];
    std::snprintf(text, sizeof text, "%*x", width,
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address)));
    return text;
}

TEST(ConvexHullPrint, ShowsListsAndPoints) {
    const auto hull = constructed({{0, 0, 0}, {8, 0, 0}, {0, 8, 0}, {-1.5, 1, 9}});
    const tVertexStructure* const head = *hull.*vertex_list();
    testing::internal::CaptureStderr();
    (*hull.*hull_print_out())(head);
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(
        printed.starts_with("\nHead vertex 3 = " + hexadecimal(head, 6) + " :\nVertex List\n"));

    // An edge between vertices 1 and 2, a face, and what surrounds them.
    const tFaceStructure* const face = *hull.*face_list();
    const tEdgeStructure* const edge = (*hull.*edge_list())->next->next;
    EXPECT_NE(printed.find("Edge List\n  addr: " + hexadecimal(*hull.*edge_list(), 6) + "\tadj: "),
              std::string::npos);
    EXPECT_NE(printed.find("  addr: " + hexadecimal(edge, 6) +
                           "\tadj: " + hexadecimal(edge->adjface[0], 6) +
                           hexadecimal(edge->adjface[1], 6) + "  endpts:   2   1  del:  0\n"),
              std::string::npos)
        << printed;
    EXPECT_NE(printed.find("  endpts:   1      del:  0\n"), std::string::npos)
        << "vertex 0 is blank";
    EXPECT_NE(printed.find("Face List\n  addr: " + hexadecimal(face, 10) + "    edges:" +
                           hexadecimal(face->edge[0], 10) + " " + hexadecimal(face->edge[1], 10) +
                           " " + hexadecimal(face->edge[2], 10) + "   vert:   2   1   0  vis: 0\n"),
              std::string::npos)
        << printed;

    testing::internal::CaptureStdout();
    (*hull.*hull_print_point())(head);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\t-1.500\t1.000\t9.000\n");
}

// Below a face of twice the area 64.
TEST(ConvexHullVolume, RoundsHalvesAwayFromZero) {
    const auto hull                  = constructed({{0, 0, 0}, {8, 0, 0}, {0, 8, 0}, {-1.5, 1, 9}});
    const tFaceStructure* const face = *hull.*face_list();
    for (const auto& [z, expected] : {std::pair{-0.5, -64}, {-0.49, 0}, {0.5, 64}, {2.4, 128}}) {
        tVertexStructure p{};
        p.v[2] = z;
        EXPECT_EQ((*hull.*hull_volumei())(face, &p), expected);
    }
}

TEST(ConvexHullWithoutMemory, FailsAndKeepsNothing) {
    check_every_allocation_failure("TConvexHull", "", [] {
        std::mt19937 random(1);
        TConvexHull hull;
        for (const HullPoint& p : integer_points(random, 150, 1000))
            EXPECT_EQ(hull.AddPoint(p[0], p[1], p[2]), 0);
        const int result = hull.Construct();
        hull.InsideHull(0, 0, 0);
        return result == 0;
    });
}

}  // namespace
