// The top surface without memory, on devices that are none, and its pieces one by one.

#include "movane/gamut.h"

#include "Source/piece_overlap.h"
#include "Source/piece_search.h"
#include "Source/prim_comb.h"
#include "reference/linear_press.h"
#include "support/allocation_failures.h"
#include "support/printed.h"
#include "support/top_surface_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;
using movane::Answer;
using movane::ChromaPoint;
using Piece = top_surface_piece;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// --- pieces from a function of the two samples ---------------------------------------------------

using Sheet = std::function<void(double s, double t, double* colour)>;

// A piece of channels 0 and 1 of three; lightness is coordinate 0.
struct Patch {
    Patch(Sheet sheet, int nr0, int nr1, double third = 1.0, int tag = -1)
        : device{[sheet](const double* d, double* colour) { sheet(d[0], d[1], colour); }} {
        const double none[3] = {};
        const TPrimary first(none, 0, 0), second(none, 1, 0);
        const double fixed[] = {-1, -1, third};
        const Samples s(2, std::max(nr0, 2)), t(2, std::max(nr1, 2));
        comb = std::make_unique<TPrimComb>(&first, &second, s.values.data(), t.values.data(), nr0,
                                           nr1, fixed, 3, &device, Device::forward, tag);
        EXPECT_EQ(comb->ErrNo(), 0);
    }
    Piece& operator*() const { return Piece::of(*comb); }
    Piece* operator->() const { return &Piece::of(*comb); }

    Device device;
    std::unique_ptr<TPrimComb> comb;
};

// A flat parallelogram from a corner along two edges, at a level.
Sheet flat(double a, double b, double width, double height, double level) {
    return [=](double s, double t, double* colour) {
        colour[0] = level;
        colour[1] = a + s * width;
        colour[2] = b + t * height;
    };
}

TEST(TopSurfacePiece, ChecksItsData) {
    const double none[3] = {}, sample[] = {0, 1}, fixed[] = {-1, -1};
    const TPrimary primary(none, 0, 0), other(none, 1, 0);
    Device device;
    struct Row {
        int nr0, nr1;
        bool has_data, has_forward;
        const char* message;
        int error;
    };
    const Row rows[] = {
        {2, 2, true, true, "", 0},
        {0, 0, true, true, "", 0},
        {2, 2, false, true, "Bad Initialisation of PrimComb", 3},
        {2, 2, true, false, "Bad Initialisation of PrimComb", 3},
        {-1, 2, true, true, "TPrimCoord: Invalid data", 2},
        {2, 100001, true, true, "TPrimCoord: Invalid data", 2},
        {100000, 100000, true, true, "No Memory", 1},
    };
    for (const Row& row : rows) {
        const MessageCapture capture;
        const TPrimComb comb(&primary, &other, sample, sample, row.nr0, row.nr1, fixed, 2,
                             row.has_data ? &device : nullptr,
                             row.has_forward ? Device::forward : nullptr, -1);
        EXPECT_EQ(MessageCapture::take(), row.message);
        EXPECT_EQ(comb.ErrNo(), row.error);
        EXPECT_EQ(TPrimComb(comb).ErrNo(), row.error);
    }
}

// Hits of a bent, folded grid against asking every triangle, and profiles against hits.
TEST(TopSurfacePiece, FindsWhatIsAboveAPlace) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> noise(-1, 1);
    for (int round = 0; round < 40; ++round) {
        const double bend = round % 4, wild = round % 5 == 4 ? 20 : 0.3;
        const Patch patch(
            [&](double s, double t, double* colour) {
                colour[0] = 100 - 20 * s - 30 * t * t;
                colour[1] = 40 * s * std::cos(bend * t) + wild * noise(random);
                colour[2] = 30 * t + 10 * s * std::sin(bend * t) + wild * noise(random);
            },
            3 + round % 9, 2 + round % 7);
        ASSERT_TRUE(movane::evaluate(*patch));
        movane::Sheet& sheet = *patch->sheet;
        const auto every     = [&](ChromaPoint p, double* lowest, double* highest) {
            bool is_hit = false;
            for (int t = 0; t < 2 * sheet.nodes; ++t) {
                if (!sheet.is_kept[static_cast<std::size_t>(t)]) continue;
                int n[3];
                movane::triangle_nodes(sheet, t, n);
                const auto at = [&](int k) { return sheet.points[static_cast<std::size_t>(n[k])]; };
                const double ux = at(1).a - at(0).a, uy = at(1).b - at(0).b;
                const double vx = at(2).a - at(0).a, vy = at(2).b - at(0).b;
                const double area = ux * vy - uy * vx;
                const double x    = ((p.a - at(0).a) * vy - (p.b - at(0).b) * vx) / area;
                const double y    = ((p.b - at(0).b) * ux - (p.a - at(0).a) * uy) / area;
                if (!(x >= 0 && y >= 0 && x + y <= 1)) continue;
                const auto l = [&](int k) {
                    return sheet.lightness[static_cast<std::size_t>(n[k])];
                };
                const double here = l(0) + x * (l(1) - l(0)) + y * (l(2) - l(0));
                *lowest           = is_hit ? std::min(*lowest, here) : here;
                *highest          = is_hit ? std::max(*highest, here) : here;
                is_hit            = true;
            }
            return is_hit;
        };
        for (int i = 0; i < 200; ++i) {
            const ChromaPoint p{30 + 40 * noise(random), 20 + 30 * noise(random)};
            double lowest = 0, highest = 0, lightness = 0;
            const bool is_hit = every(p, &lowest, &highest);
            EXPECT_EQ(movane::covers(sheet, p), is_hit);
            ASSERT_EQ(movane::project(*patch, p, &lightness) == Answer::found, is_hit);
            if (!is_hit) {
                EXPECT_EQ(lightness, -1.0);
            } else {
                EXPECT_GE(lightness, lowest - 1e-9);
                EXPECT_LE(lightness, highest + 1e-9);
            }
        }
        for (int i = 0; i < 20; ++i) {
            const double phi                     = 0.3 * i;
            const movane::RadialProfile& profile = movane::radial_profile(sheet, phi);
            double lightness                     = 0;
            const auto is_on                     = [&](double r) {
                return movane::covers(sheet, {std::cos(phi) * r, std::sin(phi) * r});
            };
            for (int k = 0; k < profile.count; ++k) {
                const movane::RaySegment& s = profile.segments[k];
                EXPECT_TRUE(is_on(0.5 * (s.inner + s.outer)));
                EXPECT_LE(s.inner, s.outer);
                EXPECT_LE(s.outer, profile.last + 1e-9);
            }
            for (double r = 0.25; r < 80; r += 0.5)
                EXPECT_TRUE(!is_on(r) || (profile.count > 0 && r <= profile.last + 1e-6));
            if (profile.count == 0) continue;
            const double r = profile.last * (1 - 1e-12);
            EXPECT_EQ(movane::project(*patch, {std::cos(phi) * r, std::sin(phi) * r}, &lightness),
                      Answer::found);
        }
    }
}

// --- hues ----------------------------------------------------------------------------------------

TEST(TopSurfacePiece, SpansTheHuesOfItsQuadrants) {
    struct Row {
        std::vector<double> hues;  // of its nodes
        bool is_found;
        double start, width;
        std::vector<double> inside, outside;
    };
    const double full = 6.283185307;
    const Row rows[]  = {
         {{0.2, 1.0}, true, 0.2, 0.8, {0.2, 0.5, 1.0, 1.0 + full}, {0.19, 1.01, 4}},
         {{1.0, 2.0}, true, 1.0, 1.0, {1.5}, {2.1, 0.5}},
         {{6.0, 0.5}, true, 6.0, 0.5 + full - 6.0, {6.1, 0, 0.5, full}, {0.6, 5.9, 3}},
         {{0.5, 4.0}, true, 0.5, 3.5, {2, 4}, {5, 0.4}},
         {{2.0, 4.0, 5.0}, true, 2.0, 3.0, {3}, {1, 5.5}},                    // none in quadrant 0
         {{1.0, 4.0, 5.0}, true, 4.0, 1.0 + full - 4.0, {6, 0}, {2, 3.9}},    // 1
         {{1.0, 2.0, 5.0}, true, 5.0, 2.0 + full - 5.0, {6, 1.5}, {3, 4.9}},  // 2
         {{1.0, 2.0, 4.0}, true, 2.0, -2.0, {}, {1, 2, 3, 4}},                // 3: never answers
         {{1.0, 2.0, 4.0, 5.0}, false, 0, 0, {}, {}},
         {{}, false, 0, 0, {}, {}},
    };
    for (const Row& row : rows) {
        int node = 0;
        const Patch patch(
            [&](double, double, double* colour) {
                const int count = static_cast<int>(row.hues.size());
                colour[0]       = 50;
                if (count == 0) return;
                const double hue = row.hues[static_cast<std::size_t>(node++ % count)];
                colour[1]        = 10 * std::cos(hue);
                colour[2]        = 10 * std::sin(hue);
            },
            2, 2);
        const MessageCapture capture;
        EXPECT_EQ(movane::find_hue_span(*patch), row.is_found);
        EXPECT_EQ(MessageCapture::take(),
                  row.is_found ? "" : "Such a small or big gamut is just not possible");
        if (!row.is_found) continue;
        EXPECT_NEAR(patch->hue_start, row.start, 1e-9);
        EXPECT_NEAR(patch->hue_width, row.width, 1e-8);
        for (const double hue : row.inside) EXPECT_TRUE(movane::has_hue(*patch, hue)) << hue;
        for (const double hue : row.outside) EXPECT_FALSE(movane::has_hue(*patch, hue)) << hue;
    }
}

// --- searches ------------------------------------------------------------------------------------

// A cone around the axis with a slit across it: probes fall through, the stretches of the ray do
// not.
TEST(TopSurfacePiece, AnswersBesideAHole) {
    const auto cone = [](bool has_hole) -> Sheet {
        return [has_hole](double s, double t, double* colour) {
            const double r = 40 * s, phi = 0.3 + t;
            colour[0] = has_hole && s > 0.4 && s < 0.6 ? kNan : 100 - r;
            colour[1] = r * std::cos(phi);
            colour[2] = r * std::sin(phi);
        };
    };
    for (const bool has_hole : {false, true}) {
        const MessageCapture capture;
        const Patch patch(cone(has_hole), 21, 40);
        double teta = 0, lightness = 0;
        const double wanted = std::atan2(30, 70);
        EXPECT_TRUE(movane::height_at(*patch, 0.8, wanted, &lightness));
        EXPECT_NEAR(lightness, 70, 0.02);  // the chords of 39 arcs
        EXPECT_TRUE(movane::teta_at(*patch, 0.8, 70, &teta));
        EXPECT_NEAR(teta, wanted, 1e-3);
        EXPECT_TRUE(movane::edge_at(*patch, 0.8, &teta, &lightness));
        EXPECT_NEAR(lightness, 60, 0.02);
        EXPECT_FALSE(movane::edge_at(*patch, 2.5, &teta, &lightness));  // not its hue
        EXPECT_EQ(MessageCapture::take(), "");
        // Within the hole, or inside of the outermost run: no answer.
        EXPECT_EQ(movane::height_at(*patch, 0.8, std::atan2(10, 90), &lightness), !has_hole);
        EXPECT_EQ(MessageCapture::take(), "");
    }
    // A sheet too large for a bracket of 1e-5 to exist.
    const Patch huge(
        [](double s, double t, double* colour) {
            colour[0] = 1e30 * (0.5 - s);
            colour[1] = 1e30 * s;
            colour[2] = 1e30 * s * t;
        },
        3, 3);
    double teta = 0;
    EXPECT_EQ(message_of([&] { movane::teta_at(*huge, 0.3, 1.0, &teta); }), "algo sucks");
    // A gap so narrow that its two sides make one run, of lightnesses far apart.
    const Patch torn(
        [](double s, double t, double* colour) {
            const double a[] = {0, 99, 100 - 5e-8, kNan, 100 + 5e-8, 101, 200};
            colour[0]        = s < 0.5 ? 100 : 20;
            colour[1]        = a[std::lround(6 * s)];
            colour[2]        = 2 * t - 1;
        },
        7, 2);
    EXPECT_EQ(message_of([&] { EXPECT_FALSE(movane::teta_at(*torn, 0, 70, &teta)); }),
              "Double Concave Surfaces not supported");
    // A ring without its middle hues, which lie within its span.
    const Patch fan(
        [](double s, double t, double* colour) {
            colour[0] = t > 0.4 && t < 0.6 ? kNan : 50;
            colour[1] = (10 + 30 * s) * std::cos(t);
            colour[2] = (10 + 30 * s) * std::sin(t);
        },
        3, 21);
    double lightness = 0;
    EXPECT_EQ(message_of([&] { EXPECT_FALSE(movane::edge_at(*fan, 0.5, &teta, &lightness)); }),
              "Algorithm does not converge");
}

// --- discarding ----------------------------------------------------------------------------------

TEST(TopSurfacePiece, DiscardsAlongTheSaturatedEdge) {
    const auto record = [](int tag) {
        const Patch patch(flat(0, 0, 30, 30, 50), 3, 3, 1.0, tag);
        EXPECT_TRUE(movane::evaluate(*patch));
        std::string text;
        for (int n = 0; n < 9; ++n) {
            text += static_cast<char>('0' + patch->discards[static_cast<std::size_t>(2 * n)]);
            text += static_cast<char>('0' + patch->discards[static_cast<std::size_t>(2 * n + 1)]);
            text += movane::is_valid_node(*patch, n) ? " " : "! ";
        }
        return text;
    };
    EXPECT_EQ(record(-1), "00 00 00 00 00 00 00 00 00 ");
    EXPECT_EQ(record(2), "00 00 00 00 00 00 00 00 00 ");
    EXPECT_EQ(record(0), "00 55 50! 00 55 50! 00 00 50! ");
    EXPECT_EQ(record(1), "00 00 00 55 55 00 50! 50! 50! ");
    for (const auto& [nr0, nr1, tag] : {std::array{0, 3, 0}, {3, 0, 1}}) {
        const Patch empty(flat(0, 0, 30, 30, 50), nr0, nr1, 1.0, tag);
        EXPECT_EQ(empty.comb->InsideBoundingPlane(0, 0, 0), 1);
    }
}

// --- comparison ----------------------------------------------------------------------------------

TEST(TopSurfacePiece, ComparesOneWithAnother) {
    const Sheet low = flat(0, 0, 40, 40, 50), high = flat(0, 0, 40, 40, 60);
    const auto tilted = [](double s, double t, double* colour) {
        flat(0, 0, 40, 40, 30 + 45 * s)(s, t, colour);
    };
    struct Row {
        const char* name;
        Sheet old_sheet, new_sheet;
        double third;
        int nr, result;
    };
    const Row rows[] = {
        {"the same pair", low, high, 1, 4, movane::kSame},
        {"coincident", low, low, 0, 4, movane::kSame},
        {"above", low, high, 0, 4, movane::kAbove},
        {"below", high, low, 0, 4, movane::kBelow},
        {"interwoven", low, tilted, 0, 4, movane::kInterwoven},
        {"apart", low, flat(50, 0, 40, 40, 60), 0, 4, movane::kApart},
        {"touching", low, flat(40, 0, 40, 40, 60), 0, 4, movane::kApart},
        {"around the old one", flat(10, 10, 2, 2, 50), flat(0, 0, 40, 40, 60), 0, 2,
         movane::kAbove},
        {"around, below", flat(10, 10, 2, 2, 60), flat(0, 0, 40, 40, 50), 0, 2, movane::kBelow},
        {"crossing, no node inside", flat(-20, 10, 80, 2, 50), flat(10, -20, 2, 80, 60), 0, 2,
         movane::kApart},
        {"without nodes", low, high, 0, 0, movane::kNoNodes},
    };
    for (const Row& row : rows) {
        const Patch old_patch(row.old_sheet, 4, 4),
            new_patch(row.new_sheet, row.nr, row.nr, row.third);
        EXPECT_EQ(movane::compare_pieces(*old_patch, *new_patch), row.result) << row.name;
    }
}

// Two pieces that share channel 0, one on each side of its ramp or both on the same.
TEST(TopSurfacePiece, ComparesAlongACommonBound) {
    struct Row {
        double b[2];  // where the second channel of each leads
        double level;
        bool is_missing[2];
        int result;
        const char* message;
    };
    const Row rows[] = {
        {{40, -40}, 0, {false, false}, movane::kApart, ""},
        {{40, 30}, 10, {false, false}, movane::kAbove, ""},
        {{40, 30}, -10, {false, false}, movane::kBelow, ""},
        {{40, 30}, 0, {true, true}, movane::kFailed, "No Common Bounds!"},
        {{40, 30}, 0, {false, true}, movane::kFailed, "Inconsistent common bound algorithm"},
    };
    for (const Row& row : rows) {
        // Channel 0 leads along A; the other channel of the piece, 1 or 2, to the side.
        const auto leading = [&](std::size_t which) -> Device {
            return {[&row, which](const double* d, double* colour) {
                const double x = 1 - d[0], y = 1 - d[which + 1];
                colour[0] = row.is_missing[which] ? kNan : 80 + (which == 1 ? row.level * y : 0);
                colour[1] = 60 * x + 5 * y;
                colour[2] = 3 * x * x + row.b[which] * y;
            }};
        };
        Device devices[]     = {leading(0), leading(1)};
        const double none[3] = {}, samples[] = {0, 0.25, 0.5, 0.75, 1};
        const TPrimary shared(none, 0, 0), one(none, 1, 0), other(none, 2, 0);
        const double fixed[2][3] = {{-1, -1, 1}, {-1, 1, -1}};
        const TPrimComb first(&shared, &one, samples, samples, 5, 5, fixed[0], 3, &devices[0],
                              Device::forward, -1);
        const TPrimComb second(&other, &shared, samples, samples, 5, 5, fixed[1], 3, &devices[1],
                               Device::forward, -1);
        const MessageCapture capture;
        EXPECT_EQ(movane::compare_pieces(Piece::of(first), Piece::of(second)), row.result)
            << row.b[1] << " " << row.level;
        EXPECT_EQ(MessageCapture::take(), row.message);
    }
}

// --- steps that fail -----------------------------------------------------------------------------

TEST(TopSurfaceWithoutMemory, FindsTheLightestPointOnceAllPiecesAreMeasured) {
    const MessageCapture quiet;
    Device device = device_of(reference::three_inks(0));
    Surface surface(device, 3, Samples(3, 2), 0, 5);
    surface.umbrella->Destroy();
    for (const double level : {50, 60}) {
        const Patch patch(flat(0, 0, 30, 30, level), 2, 2);
        surface.umbrella->Add(new TPrimComb(*patch.comb));
        ASSERT_TRUE(
            movane::evaluate(Piece::of(*static_cast<TPrimComb*>(surface.umbrella->Last()))));
    }
    check_every_allocation_failure("DetermineVTMax", "", [&] {
        Surface copy(surface);
        const bool is_done = copy.DetermineVTMax() == 0;
        if (copy.GetNrDifferentPrimCombs() == 2) {
            EXPECT_EQ(copy.VTMax, is_done ? 60 : 0);
        }
        MessageCapture::take();
        return is_done && copy.ErrNo() == 0;
    });
}

// --- masked triangles ----------------------------------------------------------------------------

struct Masked : TMaskedTriangle {
    Masked(int first, const std::vector<int>& others) : TMaskedTriangle(first) {
        if (others.empty()) return;
        more = dynar_new(sizeof(int), 4);
        for (std::size_t i = 0; i < others.size(); ++i)
            *static_cast<int*>(dynar_ptr(more, static_cast<int>(i))) = others[i];
    }
};

TEST(TopSurface, ScansMaskedTriangles) {
    const MessageCapture quiet;
    Device device = device_of(reference::three_inks(0));
    Surface surface(device, 3, Samples(3, 3), 0, 5);
    TElement* const last = surface.umbrella->Last();
    TList& masked        = *Piece::of(*static_cast<TPrimComb*>(last)).masked;
    masked.Add(new Masked(2, {1, 0, 17, 4, 9}));  // 4 and 17 belong to no cell
    masked.Add(new Masked(3, {}));
    const Surface copied(surface);
    for (Surface* const s : {&surface, const_cast<Surface*>(&copied)}) {
        const Piece& piece = Piece::of(*static_cast<TPrimComb*>(s->umbrella->Last()));
        double triangle[3][3];
        for (int round = 0; round < 2; ++round) {
            const std::pair<int, int> expected[] = {// node, half
                                                    {1, 1},
                                                    {0, 0},
                                                    {0, 0},
                                                    {4, 0},
                                                    {1, 1}};
            for (int i = 0; i < 5; ++i) {
                EXPECT_EQ(s->ScanMaskedTriangles(i == 0, triangle), 0);
                const auto [node, half] = expected[i];
                const int corners[] = {node + half, half ? node + 3 : node + 1, node + 3 + half};
                for (int k = 0; k < 3; ++k)
                    EXPECT_EQ(std::vector(triangle[k], triangle[k] + 3),
                              std::vector(piece.colour(corners[k]), piece.colour(corners[k]) + 3));
            }
            EXPECT_EQ(s->ScanMaskedTriangles(0, triangle), -1);
        }
    }
}

TEST(TopSurfaceWithoutMemory, CopiesTrianglesWithoutTheirNumbers) {
    const Masked triangles(4, {7, 9});
    movane::testing::refuse_allocations_after(0, movane::testing::Shortage::passing);
    const std::string posted = message_of([&] {
        const TMaskedTriangle copy(triangles);
        EXPECT_EQ(copy.id, 4);
        EXPECT_EQ(copy.more, nullptr);
    });
    movane::testing::end_refusals();
    EXPECT_EQ(posted, "No Mem");
    const TMaskedTriangle copy(triangles);
    EXPECT_EQ(dynar_nr_items(copy.more), 2);
    EXPECT_EQ(*static_cast<int*>(dynar_ptr(copy.more, 1)), 9);
}

TEST(TopSurface, PrintsWhatIsDiscarded) {
    expect_printed(
        "Discard Triangles -1.0 1: \n 30.00 0.00 \n 0.00 30.00 \n 30.00 30.00 \n\n"
        "Discard Triangles -1.0 2 3: \n 30.00 0.00 \n 60.00, 0.00 \n 30.00 30.00 \n\n,"
        " 60.00 0.00 \n 30.00, 30.00 \n 60.00 30.00 \n\n",
        [] {
            const MessageCapture quiet;
            Device device = device_of(reference::three_inks(0));
            Surface surface(device, 3, Samples(3, 2), 0, 5);
            surface.umbrella->Destroy();
            const Patch patch(flat(0, 0, 60, 30, 50), 3, 2);
            auto* const comb = new TPrimComb(*patch.comb);
            surface.umbrella->Add(comb);
            EXPECT_TRUE(movane::evaluate(Piece::of(*comb)));
            Piece::of(*comb).discards[1]     = Piece::of(*comb).discards[2] =
                Piece::of(*comb).discards[3] = 5;
            double first[3][3], second[3][3];
            EXPECT_EQ(surface.ScanTriangles(1, first, second), 0);
            EXPECT_EQ(first[1][1], 30);
            EXPECT_EQ(second[1][1], 30);
            EXPECT_EQ(surface.ScanTriangles(0, first, second), -1);
            std::fflush(stdout);
        });
}

TEST(TopSurfacePiece, LiesBetweenItsBoundingPlanes) {
    const Patch patch(flat(10, 20, 40, 30, 50), 3, 4);
    const auto sides = [&](double a, double b) {
        std::string text;
        for (int side = 0; side < 4; ++side)
            text += std::to_string(patch.comb->InsideBoundingPlane(side, a, b));
        return text;
    };
    EXPECT_EQ(sides(20, 30), "1111");
    EXPECT_EQ(sides(10, 20), "1111");
    EXPECT_EQ(sides(9, 19), "0101");
    EXPECT_EQ(sides(51, 51), "1010");
    for (const int side : {-1, 4})
        EXPECT_EQ(outcome_of([&] { return patch.comb->InsideBoundingPlane(side, 0, 0); }),
                  "-1 Wrong input");
}

// --- devices that are none -----------------------------------------------------------------------

Device strange_device(int kind, unsigned seed, int channels) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(-1, 1);
    std::vector<double> w;
    for (int i = 0; i < 12 * channels; ++i) w.push_back(uniform(random));
    return {[=, noise = std::mt19937(seed)](const double* d, double* colour) mutable {
        for (int c = 0; c < 3; ++c) {
            double sum = c == 0 ? 100 : 0;
            for (int k = 0; k < channels; ++k) {
                const auto at  = static_cast<std::size_t>(k * 3 + c);
                const double x = kind == 2 && k == 1 ? 0 : 1 - d[k];
                const double v = kind == 3 ? w[static_cast<std::size_t>(c)] : w[at];
                sum += 60 * v * (kind == 4 ? std::sin(9 * x) : kind == 5 ? std::round(3 * x) : x);
            }
            colour[c] = sum;
        }
        if (kind == 6) colour[noise() % 3] = kNan;
        if (kind == 7 && noise() % 9 == 0) colour[0] = kNan;
        if (kind == 8) colour[noise() % 3] = std::numeric_limits<double>::infinity();
        if (kind == 9) colour[0] = colour[1] = colour[2] = kNan;
        if (kind == 10) colour[0] = colour[1] = colour[2] = 7;
        if (kind == 11)
            for (int c = 0; c < 3; ++c) colour[c] = static_cast<double>(noise()) * 1e-8;
        if (kind == 12)
            for (int c = 0; c < 3; ++c) colour[c] *= seed % 2 ? 1e150 : 1e-150;
        if (kind == 13)
            for (int c = 0; c < 3; ++c) colour[c] = -colour[c];
        if (kind == 14) colour[1] = 0;
    }};
}
constexpr int kKinds = 15;

void expect_orderly(Surface& surface, int channels) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> uniform(-120, 120);
    double colours[30], norm[30], excess[10], device[8], first[3][3], second[3][3];
    for (double& value : colours) value = uniform(random);
    const auto expect_finite = [&](const double* values, int count) {
        for (int i = 0; i < count; ++i) EXPECT_TRUE(std::isfinite(values[i]));
    };
    if (surface.DetermineNormCoord(colours, norm, excess, 10) == 0) {
        expect_finite(norm, 30);
        EXPECT_EQ(surface.DetermineXYZ(norm, colours, excess, 10), 0);
        expect_finite(colours, 30);
    }
    for (double& value : colours) value = uniform(random);
    if (surface.DetermineNormCoordMinGam(colours, norm, excess, 10) == 0) expect_finite(norm, 30);
    if (surface.DetermineXYZMinGam(norm, colours, excess, 10) == 0) expect_finite(colours, 30);
    double teta = 0, lightness = 0;
    if (surface.UmbrellaEdge(1, &teta, &lightness) == 0) {
        EXPECT_LE(teta, 1.57078632675);
        expect_finite(&lightness, 1);
    }
    std::fill(std::begin(colours), std::end(colours), 0.5);
    for (int i = 0; i < surface.GetNrDifferentPrimCombs(); ++i) {
        EXPECT_EQ(surface.GetPrimComb(i, device), 0);
        EXPECT_LE(surface.GetNrVarCoordPrimComb(i), channels);
        surface.GetDevCoord(i, colours, device);
    }
    int cells = 0;
    testing::internal::CaptureStdout();  // what is discarded
    for (int r = surface.ScanTriangles(1, first, second); r >= 0 && cells < 100000; ++cells)
        r = surface.ScanTriangles(0, first, second);
    testing::internal::GetCapturedStdout();
    EXPECT_LT(cells, 100000);
    EXPECT_EQ(surface.ScanMaskedTriangles(1, first), -1);
    std::ostringstream script;
    surface.ForBinaryStream(script);
    if (FILE* const f = std::tmpfile()) {
        surface.DumpFP(f, 0);
        surface.DumpSecDer(f, 0);
        std::fclose(f);
    }
}

TEST(TopSurface, SurvivesStrangeDevices) {
    const MessageCapture quiet;
    const long live_before = movane::testing::live_blocks();
    for (unsigned seed = 0; seed < 20; ++seed) {
        for (int kind = 0; kind < kKinds; ++kind) {
            SCOPED_TRACE(::testing::Message() << "kind " << kind << ", seed " << seed);
            const int channels = 1 + static_cast<int>(seed % 5), axis = static_cast<int>(seed % 3);
            Device device   = strange_device(kind, seed, channels);
            const int count = 2 + static_cast<int>(seed % 4);
            Samples samples(channels, count);
            if (seed % 7 == 6) std::fill(samples.values.begin(), samples.values.end(), 0.5);
            Surface surface(device, channels, samples, axis, static_cast<int>(seed % 6) * 3);
            EXPECT_EQ(surface.ErrNo(), 0);
            expect_orderly(surface, channels);
            // Each piece is measured once: all pairs, and two parts of each by each primary, for
            // which two corners are asked.
            const int pairs = channels * (channels - 1) / 2, nodes = count * count;
            const int calls = device.calls;
            EXPECT_LE(calls, channels + pairs * (nodes + channels * 2 * (nodes + 1)));
            Surface copy(surface);
            expect_orderly(copy, channels);
            EXPECT_EQ(device.calls, calls);
        }
    }
    EXPECT_EQ(movane::testing::live_blocks(), live_before);
}

// --- without memory ------------------------------------------------------------------------------

TEST(TopSurfaceWithoutMemory, ReportsAndLeavesNothing) {
    const MessageCapture quiet;
    for (const auto& press : {reference::four_inks(0), reference::three_inks(0)}) {
        const int channels  = static_cast<int>(press.steps.size());
        const int black     = channels - 3;
        Device device       = device_of(press);
        const auto is_whole = [&](Surface& surface) {
            return surface.ErrNo() == 0 && surface.GetNrDifferentPrimCombs() == 3 &&
                   surface.GetNrVarCoordPrimComb(0) == 2 + black &&
                   surface.GetNrVarCoordPrimComb(2) == 2 + black;
        };
        // A refusal may leave a part out, or only delay it: the message tells. Without a darkening
        // primary the last one always does.
        if (black == 1) {
            check_every_allocation_failure("TTriangularTopSurface", "", [&] {
                Surface surface(device, channels, Samples(channels, 2), 0, 3);
                const bool has_posted = MessageCapture::take() != "";
                EXPECT_TRUE(has_posted || is_whole(surface));
                return !has_posted;
            });
        }
        Surface source(device, channels, Samples(channels, 2), 0, 3);
        const double colour[] = {20, 3, 4};
        double norm[3], excess = 0;
        check_every_allocation_failure("copy, conversion", "", [&] {
            Surface copy(source);
            const bool is_copied = is_whole(copy);
            EXPECT_EQ(copy.ErrNo(), is_copied ? 0 : 1);
            const bool is_converted = copy.DetermineNormCoordMinGam(colour, norm, &excess, 1) == 0;
            EXPECT_EQ(MessageCapture::take() == "Check code, has to be an error somewhere!",
                      is_converted);
            return is_copied && is_converted;
        });
    }
}

}  // namespace
