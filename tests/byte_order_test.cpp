// Numbers in file order: the bytes of some, and all bits of any.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace {

TEST(ByteOrder, IsBigEndianInFiles) {
    const unsigned char file_float[]  = {0xC0, 0x49, 0x0F, 0xDB};
    const unsigned char file_double[] = {0x40, 0x09, 0x21, 0xFB, 0x54, 0x44, 0x2D, 0x18};
    float f                           = 0;
    double d                          = 0;
    ffltofl(file_float, &f);
    fdbltodbl(file_double, &d);
    EXPECT_EQ(f, -3.14159274F);
    EXPECT_EQ(d, 3.141592653589793);

    unsigned char bytes[9];
    fltoffl(&f, bytes + 1);  // at an odd address
    EXPECT_EQ(std::memcmp(bytes + 1, file_float, 4), 0);
    dbltofdbl(&d, bytes + 1);
    EXPECT_EQ(std::memcmp(bytes + 1, file_double, 8), 0);
}

// Patterns of signalling "not a number" are among them.
TEST(ByteOrder, KeepsEveryBit) {
    std::mt19937 random(62);
    for (int i = 0; i < 1000; ++i) {
        unsigned char file[8], again[8], reversed[8];
        for (unsigned char& byte : file) byte = static_cast<unsigned char>(random());
        if (i % 2) file[0] = 0x7F, file[1] = i % 4 == 1 ? 0xF0 : 0xA0;
        double d;
        fdbltodbl(file, &d);
        dbltofdbl(&d, again);
        EXPECT_EQ(std::memcmp(file, again, 8), 0);
        float f;
        ffltofl(file, &f);
        fltoffl(&f, again);
        EXPECT_EQ(std::memcmp(file, again, 4), 0);

        std::reverse_copy(file, file + 8, reversed);
        std::memcpy(&d, file, 8);
        fdbltodbl(&d, &d);
        EXPECT_EQ(std::memcmp(&d, reversed, 8), 0);
    }
}

}  // namespace
