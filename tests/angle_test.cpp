// Angles with the library's own digits of pi.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

void expect_angle(double x, double y, double angle, int undefined = 0) {
    int error = 7, error_in_degrees = 7;
    EXPECT_EQ(real_atan2PI(x, y, &error), angle) << x << ", " << y;
    EXPECT_EQ(real_atan(x, y, &error_in_degrees), angle * 180.0 / 3.1415926535);
    EXPECT_TRUE(error == undefined && error_in_degrees == undefined) << x << ", " << y;
}

TEST(Angle, CoversTheCircle) {
    expect_angle(1, 0, 0);
    expect_angle(1, 1, std::atan(1.0));
    expect_angle(-1, 2, std::atan(-2.0) + 3.1415926535);
    expect_angle(-1, 0, 3.1415926535);
    expect_angle(-2, -1, std::atan(0.5) + 3.1415926535);
    expect_angle(1, -1, std::atan(-1.0) + 6.283185307);
    expect_angle(0, -2, 4.71238898025);
    expect_angle(0, 0.0010000000000000002, 1.57079632675);
    expect_angle(0, 0.001, 0, -1);
    expect_angle(-0.0, -0.001, 0, -1);
    expect_angle(1e-300, -1e-300, std::atan(-1.0) + 6.283185307);  // however short: x is not 0
}

}  // namespace
