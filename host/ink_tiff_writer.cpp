#include "ink_tiff_writer.h"

#include "failure.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace host {
namespace {

// Offsets have 32 bits there. The margin is for noise, which compression makes larger by more than
// a quarter, and for the profile.
constexpr std::uint64_t kClassicTiffBytes = 2'800'000'000;
constexpr std::uint64_t kStripBytes       = 256 * 1024;
constexpr std::size_t kAllInks            = 4;
constexpr char kInkNames[]                = "Cyan\0Magenta\0Yellow\0Black";  // each with its zero
constexpr std::array<const char*, kAllInks> kPlateNames = {"Cyan", "Magenta", "Yellow", "Black"};

std::size_t line_bytes(std::size_t pixels, std::size_t inks, int bits) {
    return (pixels * inks * static_cast<std::size_t>(bits) + 7) / 8;
}

const char* mode_for(const ImageInfo& image, std::size_t inks, int bits) {
    const std::uint64_t bytes =
        std::uint64_t{line_bytes(static_cast<std::size_t>(image.width), inks, bits)} *
        static_cast<std::uint64_t>(image.height);
    return bytes < kClassicTiffBytes ? "w" : "w8";
}

}  // namespace

InkTiffWriter::InkTiffWriter(const std::string& path, const ImageInfo& image, int bits,
                             std::size_t first_ink, std::size_t inks)
    : bits_(bits),
      first_ink_(first_ink),
      inks_(inks),
      pixels_(static_cast<std::size_t>(image.width)),
      output_(path),
      file_(output_.temporary(), mode_for(image, inks, bits)),
      line_(line_bytes(pixels_, inks, bits)) {
    if (!file_.is_open()) fail();
    set_measures(image);
}

InkTiffWriter::InkTiffWriter(const std::string& path, const ImageInfo& image, int bits,
                             const std::vector<unsigned char>& profile)
    : InkTiffWriter(path, image, bits, 0, kAllInks) {
    set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_SEPARATED);
    set(TIFFTAG_INKSET, INKSET_CMYK);
    set(TIFFTAG_NUMBEROFINKS, static_cast<int>(kAllInks));
    if (!TIFFSetField(file_.get(), TIFFTAG_INKNAMES, static_cast<int>(sizeof kInkNames),
                      kInkNames) ||
        !TIFFSetField(file_.get(), TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()),
                      profile.data()))
        fail();
}

InkTiffWriter::InkTiffWriter(const std::string& path, const ImageInfo& image, int bits, Ink ink)
    : InkTiffWriter(path, image, bits, static_cast<std::size_t>(ink), 1) {
    set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
}

template <class Value>
void InkTiffWriter::set(std::uint32_t tag, Value value) {
    if (!TIFFSetField(file_.get(), tag, value)) fail();
}

void InkTiffWriter::set_measures(const ImageInfo& image) {
    const bool has_resolution = image.dpi_x > 0 && image.dpi_y > 0;
    const auto strip_lines    = std::clamp<std::uint64_t>(kStripBytes / line_.size(), 1,
                                                       static_cast<std::uint64_t>(image.height));
    set(TIFFTAG_IMAGEWIDTH, image.width);
    set(TIFFTAG_IMAGELENGTH, image.height);
    set(TIFFTAG_BITSPERSAMPLE, bits_);
    set(TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(inks_));
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(TIFFTAG_ORIENTATION, image.orientation);
    set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(strip_lines));
    set(TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    // Differences of neighbours are of use, and possible, between whole bytes only.
    if (bits_ == 8) set(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    set(TIFFTAG_RESOLUTIONUNIT, has_resolution ? RESUNIT_INCH : RESUNIT_NONE);
    set(TIFFTAG_XRESOLUTION, has_resolution ? image.dpi_x : 1.0);
    set(TIFFTAG_YRESOLUTION, has_resolution ? image.dpi_y : 1.0);
    set(TIFFTAG_SOFTWARE, "movane " MOVANE_VERSION);
}

void InkTiffWriter::write(const unsigned char* ink) {
    if (bits_ == 8 && inks_ == kAllInks)
        std::copy_n(ink, line_.size(), line_.data());
    else
        pack(ink);
    if (TIFFWriteScanline(file_.get(), line_.data(), lines_++, 0) < 0) fail();
}

void InkTiffWriter::pack(const unsigned char* ink) {
    std::fill(line_.begin(), line_.end(), static_cast<unsigned char>(0));
    std::size_t at = 0;  // in bits, the highest of a byte first
    for (std::size_t x = 0; x < pixels_; ++x, ink += kAllInks) {
        for (std::size_t c = first_ink_; c < first_ink_ + inks_; ++c) {
            const int level = ink[c] >> (8 - bits_);
            const int shift = 8 - bits_ - static_cast<int>(at % 8);
            line_[at / 8]   = static_cast<unsigned char>(line_[at / 8] | level << shift);
            at += static_cast<std::size_t>(bits_);
        }
    }
}

void InkTiffWriter::complete() {
    if (!TIFFFlush(file_.get())) fail();
}

void InkTiffWriter::fail() const {
    throw Failure(output_.target(), std::string("cannot be written: ") + file_.message(),
                  "check the space on the disk");
}

std::string plate_name(const std::string& output, Ink ink) {
    const std::filesystem::path path = output;
    std::string name                 = path.stem().string();
    name += std::string("(") + kPlateNames[static_cast<std::size_t>(ink)] + ")";
    name += path.extension().string();
    return (path.parent_path() / name).string();
}

}  // namespace host
