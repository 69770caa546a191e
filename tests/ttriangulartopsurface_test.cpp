// The top surface against closed forms: a device whose surface is made of parallelograms.

#include "movane/gamut.h"
#include "movane/interpolation.h"

#include "reference/linear_press.h"
#include "support/messages.h"
#include "support/printed.h"
#include "support/temporary_directory.h"
#include "support/top_surface_host.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace movane_tests;
using reference::HueLine;
using reference::LinearPress;

constexpr double kTwoPi   = 6.283185307;
constexpr double kCeiling = 1.57078632675;
constexpr int kSteps      = 25;
const std::string kNoDarkening =
    "Not yet supported, for every part of the umbrella we need to find darkening inks first";
const std::string kNoVertex = "Check code, has to be an error somewhere!";

std::vector<double> comb(TTriangularTopSurface& surface, int index, int channels) {
    std::vector<double> device(static_cast<std::size_t>(channels), 9);
    if (surface.GetPrimComb(index, device.data()) != 0) device.clear();
    return device;
}

std::vector<std::vector<double>> combs(TTriangularTopSurface& surface, int channels) {
    std::vector<std::vector<double>> all;
    for (int i = 0; i < surface.GetNrDifferentPrimCombs(); ++i)
        all.push_back(comb(surface, i, channels));
    return all;
}

// Quiet, and sound.
struct Press {
    Press(const LinearPress& press_, int samples, int steps)
        : press(press_),
          channels(static_cast<int>(press.steps.size())),
          device(device_of(press)),
          surface(device, channels, Samples(channels, samples), press.axis, steps) {
        EXPECT_EQ(surface.ErrNo(), 0);
    }

    MessageCapture quiet;
    LinearPress press;
    int channels;
    Device device;
    Surface surface;
};

// --- construction --------------------------------------------------------------------------------

TEST(TopSurface, ChecksItsParameters) {
    Device device          = device_of(reference::three_inks(0));
    const double step[]    = {0, 1};
    const double* values[] = {step, step, step};
    struct Row {
        int channels, counts[3];
        bool has_data, has_forward;
        int axis, phi_steps, teta_steps;
        const char* message;
        int error;
    };
    const char* const invalid =
        "Invalid Parameters, nrphisteps and nrtetasteps still need to be the same";
    const Row rows[] = {
        {3, {2, 2, 2}, true, true, 0, 20, 20, kNoDarkening.c_str(), 0},
        {3, {2, 2, 2}, true, true, 0, 20, 21, invalid, 2},
        {0, {2, 2, 2}, true, true, 0, 20, 20, invalid, 2},
        {3, {2, 2, 2}, false, true, 0, 20, 20, invalid, 2},
        {3, {2, 2, 2}, true, false, 0, 20, 20, invalid, 2},
        {3, {2, 2, 2}, true, true, 3, 20, 20, invalid, 2},
        {3, {2, 2, 2}, true, true, -1, 20, 20, invalid, 2},
        {3, {2, 2, 1}, true, true, 0, 20, 20, "Invalid Parameters", 2},
    };
    for (const Row& row : rows) {
        const MessageCapture capture;
        TTriangularTopSurface surface(
            row.channels, values, row.counts, row.has_data ? &device : nullptr, row.axis,
            row.has_forward ? Device::forward : nullptr, row.phi_steps, row.teta_steps);
        EXPECT_EQ(MessageCapture::take(), row.message);
        EXPECT_EQ(surface.ErrNo(), row.error);
        EXPECT_EQ(surface.GetNrDifferentPrimCombs(), row.error == 0 ? 3 : 0);
    }
}

void expect_no_surface(TTriangularTopSurface& surface) {
    double triple[3] = {50, 1, 2}, out[3], excess[1], triangle[2][3][3];
    EXPECT_EQ(surface.GetNrDifferentPrimCombs(), 0);
    EXPECT_EQ(surface.GetNrVarCoordPrimComb(0), -1);
    EXPECT_EQ(surface.GetPrimComb(0, out), -1);
    EXPECT_EQ(surface.ScanDifferentPrimCombs(1, out), 0);
    EXPECT_EQ(surface.DetermineNormCoord(triple, out, excess, 1), -1);
    EXPECT_EQ(surface.DetermineNormCoordMinGam(triple, out, excess, 1), -1);
    EXPECT_EQ(surface.DetermineXYZ(triple, out, excess, 1), -1);
    EXPECT_EQ(surface.DetermineXYZMinGam(triple, out, excess, 1), -1);
    EXPECT_EQ(surface.UmbrellaEdge(1, out, excess), -1);
    EXPECT_EQ(surface.ScanTriangles(1, triangle[0], triangle[1]), -1);
    EXPECT_EQ(surface.ScanMaskedTriangles(1, triangle[0]), -1);
    EXPECT_EQ(surface.DumpGrid(stdout, 0), 0);
    EXPECT_EQ(surface.DumpFP(stdout, 0), 0);
    EXPECT_EQ(surface.DumpFirstDer(stdout, 0), 0);
    EXPECT_EQ(surface.DumpSecDer(stdout, 0), 0);
    EXPECT_EQ(outcome_of([&] { return surface.GetDevCoord(0, triple, out); }),
              "-1 No such umbrella surface");
    std::ostringstream script;
    surface.ForBinaryStream(script);
    EXPECT_EQ(script.str(), "");
}

TEST(TopSurface, WithoutPiecesAnswersNothing) {
    const MessageCapture quiet;
    Device device = device_of(reference::three_inks(0));
    Surface refused(device, 3, Samples(3, 2), 7, 20);
    expect_no_surface(refused);
    Surface copy(refused);
    expect_no_surface(copy);
    EXPECT_EQ(copy.ErrNo(), 2);
    Device one_ink = device_of({100, {{-40, -30, -40}}, 0});
    Surface single(one_ink, 1, Samples(1, 4), 0, 20);
    EXPECT_EQ(single.ErrNo(), 0);
    expect_no_surface(single);
    EXPECT_EQ(single.sortedPrimaries->Count(), 1);
}

TEST(TopSurface, SortsPrimariesByLightness) {
    const MessageCapture quiet;
    const double lightness[] = {40, 70, 40, 90, 70};
    Device device{[&](const double* d, double* colour) {
        for (int k = 0; k < 5; ++k)
            if (d[k] == 0) colour[2] = lightness[k];
    }};
    Surface surface(device, 5, Samples(5, 2), 2, 3);
    std::vector<int> channels;
    for (TElement* e = surface.sortedPrimaries->First(); e; e = e->Next())
        channels.push_back(static_cast<TPrimary*>(e)->channel);
    EXPECT_EQ(channels, (std::vector<int>{3, 1, 4, 0, 2}));
    const int calls = device.calls;
    EXPECT_EQ(surface.MakeSortedPrimList(), 0);
    EXPECT_EQ(device.calls, calls);
}

// --- enumeration ---------------------------------------------------------------------------------

TEST(TopSurface, EnumeratesThePairsAroundWhite) {
    using Combs = std::vector<std::vector<double>>;
    Press three(reference::three_inks(0), 3, kSteps), four(reference::four_inks(0), 3, kSteps),
        first(reference::black_first(0), 3, kSteps);
    EXPECT_EQ(combs(three.surface, 3), (Combs{{-1, 1, -1}, {1, -1, -1}, {-1, -1, 1}}));
    EXPECT_EQ(three.surface.GetNrVarCoordPrimComb(0), 2);
    EXPECT_EQ(combs(four.surface, 4), (Combs{{-1, 1, -1, -2}, {1, -1, -1, -2}, {-1, -1, 1, -2}}));
    EXPECT_EQ(four.surface.GetNrVarCoordPrimComb(2), 3);
    EXPECT_EQ(four.surface.GetNrVarCoordPrimComb(3), -1);
    EXPECT_EQ(four.surface.GetNrVarCoordPrimComb(-1), -1);
    EXPECT_EQ(four.surface.darkeningPrimaries->Count(), 1);
    auto* const black = static_cast<TPrimary*>(four.surface.sortedPrimaries->Last());
    EXPECT_EQ(black->darkening, 1);
    EXPECT_EQ(four.surface.PrimaryUnderneathTopUmbrella(black), 1);
    // Channel 0 varies, and is not marked.
    EXPECT_EQ(combs(first.surface, 4), (Combs{{1, -1, 1, -1}, {1, 1, -1, -1}, {1, -1, -1, 1}}));
    EXPECT_EQ(first.surface.GetNrVarCoordPrimComb(0), 3);
}

// The second ink is the lightest; the third reaches out beyond the mix of the other two.
TEST(TopSurface, SplitsWhereAFurtherInkReachesOut) {
    Press p({100, {{-30, 60, -30}, {-10, 60, 30}, {-30, 20, 40}}, 0}, 4, kSteps);
    EXPECT_EQ(combs(p.surface, 3),
              (std::vector<std::vector<double>>{{-1, -1, 1}, {1, -1, -1}, {-1, 0, -1}}));
}

TEST(TopSurface, RemovesTheEntryBehindThatOfADarkeningPrimary) {
    struct Row {
        LinearPress press;
        int black, a, b;
        std::vector<double> base;
    };
    const Row rows[] = {
        {reference::four_inks(0), 3, 0, 1, {10, 11, 13, 13}},
        {reference::four_inks(0), 3, -1, -1, {10, 11, 12, 13}},  // beyond the end
        {reference::black_first(0), 0, 1, 2, {10, 12, 13, 13}},
    };
    for (const Row& row : rows) {
        Press p(row.press, 3, kSteps);
        auto& black = *static_cast<TPrimary*>(p.surface.sortedPrimaries->Last());
        EXPECT_EQ(black.channel, row.black);
        black.darkening = 0;
        std::vector<double> device(4, 7), base{10, 11, 12, 13};
        int in_play = 4;
        EXPECT_EQ(p.surface.ThrowOutRedundantPrimaries(device.data(), base.data(), row.a, row.b,
                                                       &in_play),
                  0);
        EXPECT_EQ(base, row.base);
        EXPECT_EQ(device[static_cast<std::size_t>(row.black)], 1);
        EXPECT_EQ(in_play, 3);
        EXPECT_EQ(black.darkening, 1);
        EXPECT_EQ(p.surface.GetNrDifferentPrimCombs(), 3);
    }
}

TEST(TopSurface, ScansCombinationsWithTheResultReversed) {
    Press press(reference::three_inks(0), 2, kSteps);
    std::array<double, 3> device{};
    EXPECT_EQ(press.surface.ScanDifferentPrimCombs(1, device.data()), -1);
    EXPECT_EQ(press.surface.ScanDifferentPrimCombs(0, device.data()), -1);
    EXPECT_EQ(device, (std::array<double, 3>{-1, 1, -1}));
}

TEST(TopSurface, CompletesDeviceVectors) {
    Press press(reference::four_inks(0), 3, kSteps);
    std::array<double, 4> device{};
    const auto ask = [&](int index, std::vector<double> params) {
        return outcome_of(
            [&] { return press.surface.GetDevCoord(index, params.data(), device.data()); });
    };
    EXPECT_EQ(ask(0, {0.25, 0.5, 0.75}), "0");
    EXPECT_EQ(device, (std::array<double, 4>{0.25, 1, 0.5, 0.75}));
    EXPECT_EQ(ask(1, {0, 1, 7}), "0");  // the darkening value is not checked
    EXPECT_EQ(device, (std::array<double, 4>{1, 0, 1, 7}));
    EXPECT_EQ(ask(2, {1.01, 0.5, 0}), "-1");
    EXPECT_EQ(device, (std::array<double, 4>{1.01, 0.5, 1, 0}));
    EXPECT_EQ(ask(2, {0.5, -0.01, 0}), "-1");
    EXPECT_EQ(ask(3, {0, 0, 0}), "-1 No such umbrella surface");
    EXPECT_EQ(ask(-1, {0, 0, 0}), "-1 No such umbrella surface");
}

// --- tables --------------------------------------------------------------------------------------

struct PressCase {
    const char* name;
    LinearPress (*make)(int axis);
    int axis, samples;
};

class OnPress : public ::testing::TestWithParam<PressCase> {};

INSTANTIATE_TEST_SUITE_P(TopSurface, OnPress,
                         ::testing::Values(PressCase{"three_0", reference::three_inks, 0, 5},
                                           PressCase{"three_1", reference::three_inks, 1, 2},
                                           PressCase{"three_2", reference::three_inks, 2, 6},
                                           PressCase{"four_0", reference::four_inks, 0, 4},
                                           PressCase{"four_1", reference::four_inks, 1, 5},
                                           PressCase{"four_2", reference::four_inks, 2, 3},
                                           PressCase{"black_first", reference::black_first, 0, 4}),
                         [](const auto& row) { return row.param.name; });

// The edge is found within 1e-5 of its radius, the height within 1e-5 of its own.
TEST_P(OnPress, HasTheTablesOfTheClosedForm) {
    Press p(GetParam().make(GetParam().axis), GetParam().samples, kSteps);
    ASSERT_EQ(p.surface.DeterminePhirTetarVTMax(), 0);
    EXPECT_EQ(MessageCapture::take(), kNoVertex);  // beyond the edge
    ASSERT_EQ(p.surface.DeterminePhirVTrTetar(), 0);
    EXPECT_EQ(MessageCapture::take(), "");
    EXPECT_EQ(p.surface.VTMax, 100);
    EXPECT_EQ(p.surface.PosPhiMin, 0);
    EXPECT_EQ(p.surface.PosDeltaPhi, kTwoPi);
    for (int i = 0; i < kSteps; ++i) {
        const double phir  = i / (kSteps - 1.0);
        const HueLine line = p.press.at(kTwoPi * phir);
        double teta_max = 0, vt_min = 0;
        ASSERT_EQ(p.surface.UmbrellaEdge(kTwoPi * phir, &teta_max, &vt_min), 0);
        EXPECT_NEAR(teta_max, std::min(1.1 * line.edge_teta(), kCeiling), 1e-6) << phir;
        EXPECT_NEAR(vt_min, line.edge_lightness() + 0.1 * (100 - line.edge_lightness()), 1e-4);
        for (int j = 0; j < kSteps; ++j) {
            const double share = j / (kSteps - 1.0), teta = share * teta_max;
            const double vt = 100 - (100 - vt_min) * share;
            int index[]     = {i, j};
            double at[2];
            const double height = *md_tetrad_vertex_get(p.surface.VTMaxGrid, index, at);
            if (std::fabs(teta - line.edge_teta()) > 1e-4) {
                EXPECT_NEAR(height, teta < line.edge_teta() ? line.height(teta) : 0, 1e-4)
                    << phir << " " << share;
            }
            EXPECT_NEAR(*md_tetrad_vertex_get(p.surface.TetarGrid, index, at),
                        line.teta(vt) / teta_max, 1e-5)
                << phir << " " << share;
        }
    }
}

TEST_P(OnPress, ConvertsThereAndBack) {
    Press p(GetParam().make(GetParam().axis), GetParam().samples, kSteps);
    std::mt19937 random(1);
    std::uniform_real_distribution<double> uniform(0, 1);
    for (int i = 0; i < 500; ++i) {
        const double phi = kTwoPi * uniform(random);
        double teta_max = 0, vt_min = 0;
        ASSERT_EQ(p.surface.UmbrellaEdge(phi, &teta_max, &vt_min), 0);
        const double teta      = teta_max * uniform(random);
        const double lightness = vt_min * 0.8 * uniform(random);
        const double chroma    = lightness * std::tan(teta);
        double colour[3], norm[3], back[3], excess = 9;
        reference::arrange(p.press.axis,
                           {lightness, chroma * std::cos(phi), chroma * std::sin(phi)}, colour);
        for (const bool is_min_gam : {false, true}) {
            TTriangularTopSurface& s = p.surface;
            EXPECT_EQ(is_min_gam ? s.DetermineNormCoordMinGam(colour, norm, &excess, 1)
                                 : s.DetermineNormCoord(colour, norm, &excess, 1),
                      0);
            if (is_min_gam && (norm[0] > 0.85 || norm[2] == 1)) continue;  // beyond the edge
            EXPECT_EQ(excess, 0);
            EXPECT_NEAR(norm[0], teta / teta_max, 1e-9);
            EXPECT_NEAR(norm[1], phi / kTwoPi, 1e-9);
            EXPECT_EQ(is_min_gam ? s.DetermineXYZMinGam(norm, back, &excess, 1)
                                 : s.DetermineXYZ(norm, back, &excess, 1),
                      0);
            // The library's pi has ten digits, which a hue in the third quadrant shows.
            for (int k = 0; k < 3; ++k) EXPECT_NEAR(back[k], colour[k], 1e-9 * chroma + 1e-12);
        }
    }
}

// Points on the surface have VTr 1 in the tables, up to what linear interpolation over the hue and
// the angle misses.
TEST_P(OnPress, FindsItsOwnSurface) {
    Press p(GetParam().make(GetParam().axis), GetParam().samples, 40);
    std::mt19937 random(2);
    std::uniform_real_distribution<double> uniform(0.2, 0.8);
    for (int i = 0; i < 100; ++i) {
        double device[4], colour[3], norm[3], excess = 0;
        const double params[] = {uniform(random), uniform(random), 1};
        ASSERT_EQ(p.surface.GetDevCoord(i % 3, params, device), 0);
        p.press.colour(device, colour);
        ASSERT_EQ(p.surface.DetermineNormCoordMinGam(colour, norm, &excess, 1), 0);
        EXPECT_NEAR(norm[2], 1, 0.01);
        EXPECT_NEAR(excess, 0, 1.0);
    }
}

// A dark ink that spans no piece, farther from the lightness axis than the edge: the edge is lifted
// around its hue, the less the farther away.
TEST(TopSurface, ReachesOutToADarkPrimary) {
    LinearPress press = reference::three_inks(0);
    std::vector<double> edge;
    for (int i = 0; i < kSteps; ++i)
        edge.push_back(1.1 * press.at(kTwoPi * i / (kSteps - 1.0)).edge_teta());
    press.steps.push_back({-98, 10, 5});
    Press p(press, 3, kSteps);
    EXPECT_EQ(p.surface.darkeningPrimaries->Count(), 1);
    const double hue = std::atan2(5, 10) / kTwoPi, at = hue * (kSteps - 1);
    const auto below   = static_cast<std::size_t>(at);
    const double there = edge[below] + (at - std::floor(at)) * (edge[below + 1] - edge[below]);
    const double teta  = std::atan2(std::hypot(10, 5), 2);
    const double lifted =
        std::min(0.1 * (1.57079632675 - teta) + teta - there, 1.57079632675 - there - 1e-5);
    ASSERT_GT(lifted, 0.1);
    for (int i = 0; i < kSteps; ++i) {
        const double x = i / (kSteps - 1.0), d = std::fabs(x - hue);
        const double distance = d > 0.5 ? 1 - d : d;
        double teta_max = 0, vt_min = 0;
        ASSERT_EQ(p.surface.UmbrellaEdge(kTwoPi * x, &teta_max, &vt_min), 0);
        EXPECT_NEAR(
            teta_max,
            std::min(edge[static_cast<std::size_t>(i)] + (1 - 2 * distance) * lifted, kCeiling),
            1e-6);
    }
}

// --- borders of the coordinates ------------------------------------------------------------------

TEST(TopSurface, ClipsWhatLiesOutside) {
    Press p(reference::three_inks(0), 3, 13);
    double norm[3], excess = 0;
    const auto convert = [&](bool is_min_gam, std::array<double, 3> colour) {
        return is_min_gam ? p.surface.DetermineNormCoordMinGam(colour.data(), norm, &excess, 1)
                          : p.surface.DetermineNormCoord(colour.data(), norm, &excess, 1);
    };
    EXPECT_EQ(convert(true, {40, 0, 0}), 0);  // on the axis
    EXPECT_EQ(norm[1], 0);
    EXPECT_NEAR(norm[2], 0.4, 1e-6);
    EXPECT_EQ(convert(true, {120, 0, 0}), 0);  // above the lightest point
    EXPECT_NEAR(excess, 20, 1e-4);
    EXPECT_EQ(norm[2], 1);
    EXPECT_EQ(convert(false, {120, 0, 0}), 0);
    EXPECT_EQ(excess, 0);
    EXPECT_EQ(norm[2], 1);
    EXPECT_EQ(convert(false, {1, 90, 0}), 0);  // beyond the edge
    EXPECT_EQ(norm[0], 1);
    EXPECT_LT(excess, 0);
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    for (const std::array<double, 3>& colour :
         {std::array{nan, nan, nan}, {inf, inf, -inf}, {0.0, 0.0, 0.0}, {-5.0, 1e300, -1e300}}) {
        for (const bool is_min_gam : {false, true}) {
            EXPECT_EQ(convert(is_min_gam, colour), 0);
            EXPECT_TRUE(std::isfinite(norm[0] + norm[1] + norm[2] + excess));
        }
    }
}

// Two inks cover less than a full turn.
TEST(TopSurface, WidensANarrowSpanOfHues) {
    const LinearPress press{100, {{-20, 60, 10}, {-30, 20, 60}}, 0};
    Press p(press, 4, 11);
    ASSERT_EQ(p.surface.DeterminePosPhiMinPosDeltaPhi(), 0);
    const double start = std::atan2(10, 60), width = std::atan2(60, 20) - start;
    EXPECT_NEAR(p.surface.PosPhiMin, 0.9 * start, 1e-9);
    EXPECT_NEAR(p.surface.PosDeltaPhi, 1.1 * width, 1e-9);

    double phi = 0, phir = 0, norm[3], excess = 0, colour[] = {30, 0, 0};
    for (const double turned : {1.0, 1.0 + kTwoPi, 1.0 - 2 * kTwoPi}) {
        EXPECT_EQ(p.surface.PhiToPhir(turned, &phir), 0);
        EXPECT_NEAR(phir, (1.0 - 0.9 * start) / (1.1 * width), 1e-8);
    }
    EXPECT_EQ(p.surface.PhirToPhi(phir, &phi), 0);
    EXPECT_NEAR(phi, 1.0, 1e-8);

    const std::pair<double, double> outside[] = {{3.0, 1.0}, {0.0, 0.0}};  // hue, clipped phir
    for (const auto& [hue, clipped] : outside) {
        colour[1] = 5 * std::cos(hue);
        colour[2] = 5 * std::sin(hue);
        EXPECT_EQ(p.surface.DetermineNormCoord(colour, norm, &excess, 1), 0);
        EXPECT_EQ(norm[1], clipped);
        const double over = (hue - 0.9 * start) / (1.1 * width);
        EXPECT_NEAR(excess, over > 1 ? 1 - over : over, 1e-8);
    }
    // Hues without a piece leave the table of angles unfinished, each time.
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(outcome_of(
                      [&] { return p.surface.DetermineNormCoordMinGam(colour, norm, &excess, 1); }),
                  "-1 " + kNoVertex);
        EXPECT_EQ(p.surface.TetarGrid, nullptr);
    }
    EXPECT_EQ(p.surface.DetermineXYZMinGam(norm, colour, &excess, 1), 0);
}

// --- copies --------------------------------------------------------------------------------------

TEST(TopSurface, CopiesAreDeep) {
    double norm[2][3], excess = 0;
    const double colour[] = {30, 12, -7};
    const MessageCapture quiet;
    Device other_device = device_of(reference::three_inks(1));
    Surface assigned(other_device, 3, Samples(3, 2), 1, 5);
    {
        Press source(reference::four_inks(0), 3, 8);
        EXPECT_EQ(source.surface.DetermineNormCoordMinGam(colour, norm[0], &excess, 1), 0);
        assigned            = source.surface;
        const Surface& self = assigned;
        assigned            = self;
        EXPECT_EQ(combs(assigned, 4), combs(source.surface, 4));
        const int measured = source.device.calls;
        EXPECT_EQ(assigned.DetermineNormCoordMinGam(colour, norm[1], &excess, 1), 0);
        EXPECT_EQ(source.device.calls, measured);
    }
    EXPECT_EQ(assigned.DetermineNormCoordMinGam(colour, norm[1], &excess, 1), 0);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(norm[1][k], norm[0][k]);
}

// --- triangles, dumps, script --------------------------------------------------------------------

TEST(TopSurface, ScansTheCellsOfAllPieces) {
    Press p(reference::three_inks(0), 3, kSteps);
    using Points = std::array<std::array<double, 3>, 3>;
    Points first{}, second{};
    const auto scan = [&](int restart) {
        return p.surface.ScanTriangles(restart, reinterpret_cast<double(*)[3]>(first.data()),
                                       reinterpret_cast<double(*)[3]>(second.data()));
    };
    for (int round = 0; round < 2; ++round) {
        for (int cell = 0; cell < 12; ++cell) {
            EXPECT_EQ(scan(cell == 0), cell == 4 || cell == 8) << cell;
            // The two share the diagonal, and together they are the cell's parallelogram.
            EXPECT_EQ(first[1], second[0]);
            EXPECT_EQ(first[2], second[1]);
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_NEAR(first[0][c] + second[2][c], first[1][c] + first[2][c], 1e-12);
        }
        EXPECT_EQ(scan(0), -1);
        EXPECT_EQ(scan(0), -1);
    }
    EXPECT_EQ(scan(1), 0);
    double first_ink[3];
    const double full[] = {0, 1, 0};  // first piece: inks 2 and 0, both in full at the first node
    p.press.colour(full, first_ink);
    for (std::size_t c = 0; c < 3; ++c) EXPECT_DOUBLE_EQ(first[0][c], first_ink[c]);
    EXPECT_EQ(p.surface.ScanMaskedTriangles(1, reinterpret_cast<double(*)[3]>(first.data())), -1);
}

template <class Dump>
std::string dumped(Dump dump) {
    const TemporaryDirectory directory;
    const std::string path = directory / "dump";
    FILE* const f          = std::fopen(path.c_str(), "wb");
    if (!f) return "no file";
    EXPECT_EQ(dump(f), 0);
    std::fclose(f);
    return read_file(path);
}

// Two inks with 2 and 3 samples: every number can be checked by eye.
struct TinyPress {
    TinyPress()
        : device{[](const double* d, double* colour) {
              const double x = 1 - d[0], y = 1 - d[1];
              colour[0] = 100 - 20 * x - 30 * y;
              colour[1] = 40 * x;
              colour[2] = 50 * y * y;
          }},
          surface(2, std::array<const double*, 2>{two, three}.data(),
                  std::array<int, 2>{2, 3}.data(), &device, 0, Device::forward, 5, 5) {}

    const double two[2] = {0, 1}, three[3] = {0, 0.5, 1};
    MessageCapture quiet;
    Device device;
    TTriangularTopSurface surface;
};

TEST(TopSurface, DumpsItsPieces) {
    TinyPress tiny;
    TTriangularTopSurface& s = tiny.surface;
    ASSERT_EQ(s.GetNrDifferentPrimCombs(), 1);
    EXPECT_EQ(dumped([&](FILE* f) { return s.DumpGrid(f, 0); }),
              "50.000000 40.000000 50.000000 0.000000 0.000000 \n"
              "70.000000 0.000000 50.000000 0.000000 0.500000 \n"
              "65.000000 40.000000 12.500000 0.000000 1.000000 \n"
              "85.000000 0.000000 12.500000 1.000000 0.000000 \n"
              "80.000000 40.000000 0.000000 1.000000 0.500000 \n"
              "100.000000 0.000000 0.000000 1.000000 1.000000 \n");
    EXPECT_EQ(dumped([&](FILE* f) { return s.DumpFP(f, 0); }),
              "0.000000 0.000000 -1.000000 \n1.000000 0.000000 -1.000000 \n\n\n"
              "0.000000 0.500000 -1.000000 \n1.000000 0.500000 -1.000000 \n\n\n"
              "0.000000 1.000000 -1.000000 \n1.000000 1.000000 -1.000000 \n\n\n");
    const std::string by_first = "20.000000 -40.000000 0.000000 30.000000 0.000000 ";
    std::string first, second;
    const char* const samples[] = {"0.000000", "0.500000", "1.000000"};
    const char* const slopes[]  = {"-100.000000", "-50.000000", "0.000000"};
    for (int i = 0; i < 3; ++i) {
        for (const char* const s0 : {"0.000000 ", "1.000000 "}) {
            const std::string at = std::string(s0) + samples[i] + " ";
            first += at + by_first + slopes[i] + " \n";
            second += at + "0.000000 0.000000 0.000000 0.000000 0.000000 100.000000 \n";
        }
        first += "\n\n";
        second += "\n\n";
    }
    EXPECT_EQ(dumped([&](FILE* f) { return s.DumpFirstDer(f, 0); }), first);
    EXPECT_EQ(dumped([&](FILE* f) { return s.DumpSecDer(f, 0); }), second);
    EXPECT_EQ(dumped([&](FILE* f) { return s.DumpGrid(f, 1); }), "");
    EXPECT_EQ(dumped([&](FILE* f) { return s.DumpFP(f, -1); }), "");
}

std::string trace(const std::string& name, double from, double to) {
    std::ostringstream out;
    out << name << " = [";
    for (int i = 0; i <= 100; ++i) out << from + (to - from) * i / 100 << " ";
    out << "]\n";
    return out.str();
}

TEST(TopSurface, WritesAPlottingScript) {
    TinyPress tiny;
    const std::string vertical = "vertical line, x,y-pairs\n";
    const std::string script =
        "x0_0 = [40  0  ]\ny0_0 = [50  50  ]\n"
        "x0_1 = [40  0  ]\ny0_1 = [12.5  12.5  ]\n"
        "x0_2 = [40  0  ]\ny0_2 = [0  0  ]\n" +
        trace("xs0", 0, 40) + trace("ys0_0", 50, 50) + trace("ys0_1", 0, 0) + vertical +
        trace("xs0_2", 40, 40) + trace("ys0_2", 0, 50) + vertical + trace("xs0_3", 0, 0) +
        trace("ys0_3", 0, 50) +
        "plot(x0_0,y0_0,'y',x0_1,y0_1,'y',x0_2,y0_2,'y',xs0,ys0_0,'r',xs0,ys0_1,'r',"
        "xs0_2,ys0_2,'r',xs0_3,ys0_3,'r')\n";
    std::ostringstream out;
    EXPECT_EQ(&tiny.surface.ForBinaryStream(out), &out);
    EXPECT_EQ(out.str(), script);

    const TemporaryDirectory directory;
    const std::string path = directory / "top.m";
    write_file(path, "something longer than what follows");
    EXPECT_EQ(outcome_of([&] { return tiny.surface.Export(path.c_str()); }), "0");
    std::string written = read_file(path);
    std::erase(written, '\r');  // lines end as the system's texts do
    EXPECT_EQ(written, script);
    const std::string nowhere = directory / "none/top.m";
    EXPECT_EQ(outcome_of([&] { return tiny.surface.Export(nowhere.c_str()); }),
              "-1 cannot open export file " + nowhere);

    Device device = device_of(reference::three_inks(0));
    const MessageCapture quiet;
    Surface refused(device, 3, Samples(3, 2), 3, 9);
    EXPECT_EQ(outcome_of([&] { return refused.Export(path.c_str()); }), "0 Cannot export process");
    EXPECT_EQ(refused.ErrNo(), 0);
    EXPECT_EQ(read_file(path), "");
}

}  // namespace
