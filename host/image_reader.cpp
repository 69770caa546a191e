#include "image_reader.h"

#include "failure.h"
#include "file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

namespace host {
namespace {

constexpr double kMaxDpi               = 1e6;
constexpr std::uint64_t kMaxFrameBytes = std::uint64_t{2} << 30;

// Of a product of two samples, the largest one standing for 1; rounded.
std::uint32_t by_largest(std::uint32_t product, int bits) {
    const std::uint32_t rounded = product + (1u << (bits - 1));
    return (rounded + (rounded >> bits)) >> bits;
}

std::uint8_t to_8_bits(std::uint8_t sample) { return sample; }
std::uint8_t to_8_bits(std::uint16_t sample) {
    return static_cast<std::uint8_t>((sample * 255u + 32767) / 65535);
}

// Lays colours over white and takes the alpha apart.
template <class Sample>
void composite(const Sample* rgba, bool is_premultiplied, Sample* rgb,
               std::vector<unsigned char>& alphas) {
    constexpr int kBits              = std::numeric_limits<Sample>::digits;
    constexpr std::uint32_t kLargest = std::numeric_limits<Sample>::max();
    for (unsigned char& alpha_byte : alphas) {
        const std::uint32_t alpha = rgba[3];
        alpha_byte                = to_8_bits(rgba[3]);
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint32_t colour =
                is_premultiplied ? rgba[c] : by_largest(rgba[c] * alpha, kBits);
            rgb[c] = static_cast<Sample>(std::min(colour + kLargest - alpha, kLargest));
        }
        rgba += 4;
        rgb += 3;
    }
}

}  // namespace

ImageReader::ImageReader(const std::string& path, const char* format) : path_(path) {
    info_.format = format;
}

void ImageReader::read(Line& line) {
    if (info_.is_deep)
        read_samples(line.deep, line.alpha);
    else
        read_samples(line.rgb, line.alpha);
}

template <class Sample>
void ImageReader::read_samples(std::vector<Sample>& rgb, std::vector<unsigned char>& alpha) {
    const auto width = static_cast<std::size_t>(info_.width);
    rgb.resize(3 * width);
    if (!info_.has_alpha) {
        decode(reinterpret_cast<unsigned char*>(rgb.data()));
        return;
    }
    alpha.resize(width);
    rgba_.resize(4 * width);
    auto* const samples = reinterpret_cast<unsigned char*>(rgba_.data());
    decode(samples);
    if constexpr (sizeof(Sample) == 1)
        composite(samples, info_.is_premultiplied, rgb.data(), alpha);
    else
        composite(rgba_.data(), info_.is_premultiplied, rgb.data(), alpha);
}

void ImageReader::check_measures() const {
    const std::string measures = std::to_string(info_.width) + " x " + std::to_string(info_.height);
    if (info_.width < 1 || info_.height < 1) fail_damaged("it is " + measures + " pixels large");
    if (info_.width > kMaxSide || info_.height > kMaxSide)
        throw Failure(path_, "of " + measures + " pixels is too large",
                      "cut it into images of at most 1000000 pixels each way");
}

void ImageReader::set_resolution(double dpi_x, double dpi_y) {
    const auto is_plausible = [](double dpi) { return dpi >= 1 && dpi <= kMaxDpi; };
    if (!is_plausible(dpi_x) || !is_plausible(dpi_y)) return;
    // 300 dpi are stored as 11811 pixels per metre, which are 299.9994: nobody means the rest.
    info_.dpi_x = std::round(dpi_x * 100) / 100;
    info_.dpi_y = std::round(dpi_y * 100) / 100;
}

void ImageReader::check_frame(std::uint64_t bytes) const {
    if (bytes > kMaxFrameBytes)
        throw Failure(path_,
                      "is stored " + info_.whole_frame + " and would take " +
                          std::to_string(bytes >> 20) + " MiB of memory",
                      "save it line by line (not " + info_.whole_frame + ")");
}

std::unique_ptr<unsigned char[]> ImageReader::make_frame(std::uint64_t bytes) const {
    check_frame(bytes);
    return std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(bytes));
}

void ImageReader::fail_damaged(const std::string& detail) const {
    throw Failure(path_, "is damaged or cut short (" + detail + ")",
                  "fetch or export the " + info_.format + " file again");
}

void ImageReader::fail_unsupported(const std::string& detail) const {
    throw Failure(path_, detail, "convert it to an RGB image first");
}

std::unique_ptr<ImageReader> open_image(const std::string& path) {
    std::array<unsigned char, 4> magic{};
    const std::size_t length = std::fread(magic.data(), 1, magic.size(), open_input(path).get());
    const auto begins_with   = [&](const char* bytes, std::size_t count) {
        return length >= count && std::memcmp(magic.data(), bytes, count) == 0;
    };
    if (begins_with("\x89PNG", 4)) return open_png(path);
    if (begins_with("\xff\xd8\xff", 3)) return open_jpeg(path);
    if (begins_with("II*\0", 4) || begins_with("MM\0*", 4) || begins_with("II+\0", 4) ||
        begins_with("MM\0+", 4))
        return open_tiff(path);
    throw Failure(path, length == 0 ? "is empty" : "is not a PNG, JPEG or TIFF image",
                  "name a photo in one of these formats");
}

}  // namespace host
