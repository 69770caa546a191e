// Angles with the library's own digits of pi.

#include "movane/numerics.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(Angle, CoversTheCircle) {
    struct Case {
        double x, y, angle;
        int error;
    };
    const double pi = 3.1415926535, two_pi = 6.283185307;
    for (const Case& c : {
             Case{1, 0, 0, 0},
             {1, 1, std::atan(1.0), 0},
             {-1, 1, std::atan(-1.0) + pi, 0},
             {-1, 0, pi, 0},
             {-1, -1, std::atan(1.0) + pi, 0},
             {1, -1, std::atan(-1.0) + two_pi, 0},
             {0, 2, 1.57079632675, 0},
             {0, -2, 4.71238898025, 0},
             {0, 0.001, 0, -1},
             {0, -0.001, 0, -1},
             {-0.0, 0, 0, -1},
             {0, 0.0010000000000000002, 1.57079632675, 0},
             {1e-300, 0, 0, 0},  // x is not 0: an angle however short the vector
             {1e-300, -1e-300, std::atan(-1.0) + two_pi, 0},
             {1e-300, 1e300, std::atan(HUGE_VAL), 0},
             {-1e300, -1e-300, pi, 0},
         }) {
        int error = 7;
        EXPECT_EQ(real_atan2PI(c.x, c.y, &error), c.angle) << c.x << ", " << c.y;
        EXPECT_EQ(error, c.error);
        EXPECT_EQ(real_atan(c.x, c.y, &(error = 7)), c.angle * 180.0 / pi);
        EXPECT_EQ(error, c.error);
    }
}

TEST(Angle, FollowsTheVectorAround) {
    for (int degrees = 0; degrees < 360; ++degrees) {
        const double radians = degrees * std::acos(-1.0) / 180.0;
        int error            = 7;
        // The digits of pi end after the tenth: 9e-11 per half circle, in degrees 60 times that.
        EXPECT_NEAR(real_atan(3 * std::cos(radians), 3 * std::sin(radians), &error), degrees, 2e-8);
        EXPECT_EQ(error, 0);
    }
}

}  // namespace
