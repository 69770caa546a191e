// What the tests of separations share: a photo, a press, and runs of the program with them.
#pragma once

#include "support/images.h"
#include "support/program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace host_tests {

constexpr int kWidth = 83, kHeight = 41;  // odd: neither whole patches nor whole vectors

class Separate : public ::testing::Test {
protected:
    Separate() {
        shop.write("press.icc", press_profile());
        write_png(shop.path("photo.png"), photo);
    }

    /// Separates to "out.tif" and expects success.
    Result separate(const std::string& arguments) {
        Result result = shop.run("movane separate -o out.tif -p press.icc " + arguments);
        EXPECT_EQ(result.exit_code, 0) << arguments << ": " << result.err;
        return result;
    }
    Image ink_of(const std::string& arguments) {
        separate(arguments);
        return read_cmyk_tiff(shop.path("out.tif"));
    }

    const Workshop shop;
    const Image photo = patches(kWidth, kHeight, 3);
};

/// The largest difference of samples; 256 for images of different sizes.
inline int largest_difference(const Image& a, const Image& b) {
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.samples.size(), b.samples.size());
    if (a.samples.size() != b.samples.size()) return 256;
    int largest = 0;
    for (std::size_t i = 0; i < a.samples.size(); ++i)
        largest = std::max(largest, std::abs(a.samples[i] - b.samples[i]));
    return largest;
}

}  // namespace host_tests
