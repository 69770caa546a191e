// Small images, files of them in every kind that the program reads, and profiles to go with them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host_tests {

/// Interleaved samples: 1 channel is gray, 2 gray and alpha, 3 RGB, 4 RGB and alpha or CMYK.
struct Image {
    int width = 0, height = 0, channels = 0;
    std::vector<std::uint8_t> samples;

    std::uint8_t* at(int x, int y) { return &samples[(y * width + x) * channels]; }
    const std::uint8_t* at(int x, int y) const { return &samples[(y * width + x) * channels]; }
};

Image flat(int width, int height, const std::vector<std::uint8_t>& pixel);

/// Patches of 8 x 8 pixels in at most 256 colours (or grays), so that a palette holds them and
/// JPEG hardly changes them; opaque.
Image patches(int width, int height, int channels);

struct Kind {
    int bits         = 8;
    int low_byte     = -1;     // of 16 bits: the lower half; -1 for a copy of the upper one
    bool is_whole    = false;  // interlaced PNG, progressive JPEG
    bool is_tiled    = false;  // TIFF
    bool is_planar   = false;  // TIFF
    bool has_palette = false, is_inverted = false, is_premultiplied = false;
    double dpi          = 0;
    std::string profile = {};
};

void write_png(const std::string& path, const Image& image, const Kind& kind = {});
void write_jpeg(const std::string& path, const Image& image, const Kind& kind = {});
void write_tiff(const std::string& path, const Image& image, const Kind& kind = {});

Image read_cmyk_tiff(const std::string& path);

/// An ink file of any depth, each sample in a byte of its own.
struct Inks : Image {
    int bits = 0, photometric = 0;
};
Inks read_inks(const std::string& path);

Image read_rgb_png(const std::string& path);

/// Profiles: a CMYK output profile whose paper is slightly yellow, sRGB, an RGB with a larger
/// gamut and another gamma, and Lab.
std::string press_profile();
std::string srgb_profile();
std::string wide_rgb_profile();
std::string lab_profile();

/// L*, a* and b* of each pixel of inks on white paper, by lcms alone.
std::vector<double> lab_of(const Image& inks, const std::string& profile);

/// The image through two profiles, by lcms alone.
///
/// @param intent  as numbered in ICC profiles
Image convert(const Image& image, const std::string& from, const std::string& to, int intent,
              bool has_black_point_compensation);

}  // namespace host_tests
