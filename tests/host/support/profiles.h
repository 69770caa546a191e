// Profiles made on the spot: a small model of a press, and what is not a press.
#pragma once

#include "support/images.h"

#include <string>

namespace host_tests {

/// A CMYK output profile whose paper is slightly yellow.
std::string press_profile();

std::string srgb_profile();
std::string wide_rgb_profile();  // a larger gamut and another gamma
std::string lab_profile();

/// The image through two profiles, by lcms alone. Both sides are bytes per channel.
///
/// @param intent  as numbered in ICC profiles
Image convert(const Image& image, const std::string& from, const std::string& to, int intent,
              bool has_black_point_compensation);

}  // namespace host_tests
