// The axis plane, against integer arithmetic where nothing is rounded.

#include "movane/gamut.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

using Lab = std::vector<double>;

// n / d to the nearest integer, halves away from zero; d is positive.
std::int64_t rounded_quotient(std::int64_t n, std::int64_t d) {
    return n >= 0 ? (2 * n + d) / (2 * d) : -((-2 * n + d) / (2 * d));
}

// Axes as long as a power of two, coordinates in sixteenths: positions are exact.
TEST(Plane, RoundsPositionsExactly) {
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round) {
        const auto draw = [&](int least, int greatest) {
            return std::uniform_int_distribution<int>(least, greatest)(random);
        };
        const int W = draw(1, 700), H = draw(1, 700), width = 1 << draw(0, 9),
                  height = 1 << draw(0, 9);
        const int xmin = draw(-200, 200), ymin = draw(-200, 200);
        const TPlane plane(W, H, plane_type_lightness, 40, xmin, xmin + width, ymin, ymin + height);
        const int a_16 = draw(-6000, 6000), b_16 = draw(-6000, 6000);
        const double lab[] = {40, a_16 / 16.0, b_16 / 16.0};
        int column = -99, row = -99;
        plane.GetXY(lab, &column, &row, true);
        ASSERT_EQ(column, rounded_quotient(std::int64_t{a_16 - 16 * xmin} * (W - 1), 16 * width));
        ASSERT_EQ(row, rounded_quotient(std::int64_t{16 * (ymin + height) - b_16} * (H - 1),
                                        16 * height));

        double back[3] = {};
        plane.GetLab(column, row, back, false);
        if (W > 1 && H > 1) {
            ASSERT_LE(std::fabs(back[1] - lab[1]), 0.5000001 * width / (W - 1));
            ASSERT_LE(std::fabs(back[2] - lab[2]), 0.5000001 * height / (H - 1));
        }
        plane.GetXY(lab, &column, &row, false);
        ASSERT_TRUE(column >= 0 && column <= W && row >= 0 && row <= H);

        int count = 0, x_marker = 0, y_marker = 0;
        const int* const x = plane.GetXGridPoints(&count, &x_marker);
        const int* const y = plane.GetYGridPoints(&count, &y_marker);
        ASSERT_EQ(count * 100 + x_marker * 10 + y_marker, 1155);
        for (int k = 0; k < 11; ++k) {
            ASSERT_EQ(x[k], rounded_quotient(std::int64_t{-125 + 25 * k - xmin} * (W - 1), width));
            ASSERT_EQ(y[k], rounded_quotient(std::int64_t{-125 + 25 * k - ymin} * (H - 1), height));
        }
        ASSERT_EQ(plane.GetXGridPoints(&count, &x_marker), x);
    }
}

TEST(Plane, PutsEachTypeOnItsAxes) {
    // Of 101 columns for -100 to 100 and 51 rows for 0 to 100: column 60 is 20, row 10 is 80.
    const double kDegree = std::acos(-1.0) / 180;
    const double c = std::cos(30 * kDegree), s = std::sin(30 * kDegree);
    const std::pair<PlaneType, Lab> rows[] = {{plane_type_lightness, {30, 20, 80}},
                                              {plane_type_a, {80, 30, 20}},
                                              {plane_type_b, {80, 20, 30}},
                                              {plane_type_hue, {80, 20 * c, 20 * s}},
                                              {static_cast<PlaneType>(9), {7, 8, 9}}};
    for (const auto& [type, expected] : rows) {
        TPlane plane(101, 51, type, 30, -100, 100, 0, 100);
        Lab lab = {7, 8, 9};
        plane.GetLab(60, 10, lab.data(), true);
        for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(lab[k], expected[k], 1e-13);
        int column = 60, row = 10, count = 0, x_marker = 0, y_marker = 0;
        const int* const x = plane.GetXGridPoints(&count, &x_marker);
        const int* const y = plane.GetYGridPoints(&count, &y_marker);
        if (type > plane_type_hue) {
            EXPECT_EQ(std::vector(x, x + 11), std::vector(11, 0));
            EXPECT_EQ(std::vector(y, y + 11), std::vector(11, 0));
            EXPECT_EQ(x_marker + y_marker, 0);
        } else {
            column = row = -99;
            EXPECT_EQ(x[10], 113) << "62.5 * 1.8 = 112.5";
            EXPECT_EQ(y[10], type == plane_type_lightness ? 63 : 50);
            EXPECT_EQ(y_marker, type == plane_type_lightness ? 5 : 10);
        }
        plane.GetXY(expected.data(), &column, &row, false);
        EXPECT_EQ(column, 60);
        EXPECT_EQ(row, 10);
    }
    // What points away from the hue lies on the negative side; what is at right angles, in the
    // middle.
    const TPlane hue(101, 51, plane_type_hue, 90, -100, 100, 0, 100);
    const double green[] = {50, 0.25, -40}, red[] = {50, 80, 0};
    int column = 0, row = 0;
    hue.GetXY(green, &column, &row, true);
    EXPECT_EQ(column, 30);
    hue.GetXY(red, &column, &row, true);
    EXPECT_EQ(column, 50);
}

TEST(Plane, ClipsToOnePixelMoreThanThereIs) {
    const TPlane plane(101, 51, plane_type_lightness, 50, -100, 100, 0, 100);
    Lab lab(3);
    plane.GetLab(500, 500, lab.data(), true);
    EXPECT_EQ(lab, (Lab{50, 102, -2}));
    plane.GetLab(-5, -5, lab.data(), true);
    EXPECT_EQ(lab, (Lab{50, -100, 100}));
    plane.GetLab(150, -5, lab.data(), false);
    EXPECT_EQ(lab, (Lab{50, 200, 110}));
    int column = 0, row = 0;
    constexpr double kNan                        = std::numeric_limits<double>::quiet_NaN();
    const std::tuple<Lab, bool, int, int> rows[] = {{{0, 900, -900}, false, 101, 51},
                                                    {{0, -900, 900}, false, 0, 0},
                                                    {{0, -101.2, 0}, true, -1, 50},
                                                    {{0, -100.6, 0}, true, 0, 50},
                                                    {{0, 1e300, 1e300}, true, INT_MAX, INT_MIN},
                                                    {{0, -INFINITY, kNan}, true, INT_MIN, 0}};
    for (const auto& [at, no_clip, expected_column, expected_row] : rows) {
        plane.GetXY(at.data(), &column, &row, no_clip);
        EXPECT_EQ(column, expected_column) << at[1];
        EXPECT_EQ(row, expected_row) << at[2];
    }
}

TEST(Plane, MayHaveOnePixelOrNoExtent) {
    const TPlane pixel(1, 1, plane_type_lightness, 50, -100, 100, -90, 90);
    EXPECT_EQ(pixel.X(0) + pixel.X(7), -200);
    EXPECT_EQ(pixel.Y(0) + pixel.Y(-7), 180);
    const double lab[] = {1, 2e9, 3};
    int column = 9, row = 9, count = 0, marker = 0;
    pixel.GetXY(lab, &column, &row, true);
    EXPECT_EQ(column + row, 0);
    EXPECT_EQ(pixel.GetXGridPoints(&count, &marker)[10], 0);

    const TPlane flat(5, 5, plane_type_lightness, 50, 4, 4, 3, 3);
    flat.GetXY(lab, &column, &row, true);
    EXPECT_EQ(column, INT_MAX);
    EXPECT_EQ(row, 0);
    EXPECT_NEAR(TPlane(2, INT_MIN, plane_type_a, 0, 0, 1, 0, 1).Y(INT_MAX), 2, 1e-8);
}

TEST(Plane, ComparesEveryField) {
    TPlane plane(5, 6, plane_type_a, 1, 2, 3, 4, 5), copy(plane),
        assigned(1, 1, plane_type_hue, 0, 0, 0, 0, 0);
    assigned = plane;
    EXPECT_TRUE(plane == copy && plane == assigned && !(plane != copy));
    EXPECT_EQ(plane.W() + 10 * plane.H() + 100 * plane.Type(), 165);
    EXPECT_EQ((Lab{plane.Value(), plane.XMin(), plane.XMax(), plane.YMin(), plane.YMax()}),
              (Lab{1, 2, 3, 4, 5}));
    for (int field = 0; field < 8; ++field) {
        const auto changed = [&](int k) { return field == k ? 1 : 0; };
        TPlane other(5 + changed(0), 6 + changed(1), field == 2 ? plane_type_b : plane_type_a,
                     1 + changed(3), 2 + changed(4), 3 + changed(5), 4 + changed(6),
                     5 + changed(7));
        EXPECT_TRUE(plane != other && !(plane == other)) << field;
    }
}

}  // namespace
