// Numbers in file order: the bytes of two, and all bits of any.

#include "movane/services.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

TEST(ByteOrder, IsBigEndianInFilesAndKeepsEveryBit) {
    float f  = 0;
    double d = 0;
    ffltofl("\xC0\x49\x0F\xDB", &f);
    fdbltodbl("\x40\x09\x21\xFB\x54\x44\x2D\x18", &d);
    EXPECT_EQ(f, -3.14159274F);
    EXPECT_EQ(d, 3.141592653589793);

    std::mt19937 random(62);
    for (int i = 0; i < 1000; ++i) {
        unsigned char file[8], again[9];
        for (unsigned char& byte : file) byte = static_cast<unsigned char>(random());
        if (i % 2) file[0] = 0x7F, file[1] = i % 4 == 1 ? 0xF0 : 0xA0;  // signalling, not a number
        ffltofl(file, &f);
        fltoffl(&f, again + 1);  // at an odd address
        EXPECT_EQ(std::memcmp(file, again + 1, sizeof f), 0);
        std::memcpy(&d, file, sizeof d);
        fdbltodbl(&d, &d);
        dbltofdbl(&d, again + 1);
        EXPECT_EQ(std::memcmp(file, again + 1, sizeof d), 0);
    }
}

}  // namespace
