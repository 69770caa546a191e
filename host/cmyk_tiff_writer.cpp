#include "cmyk_tiff_writer.h"

#include "failure.h"

#include <algorithm>

namespace host {
namespace {

constexpr std::uint64_t kClassicTiffBytes = 3'900'000'000;  // offsets of 32 bits, with a margin
constexpr std::uint64_t kStripBytes       = 256 * 1024;
constexpr char kInkNames[]                = "Cyan\0Magenta\0Yellow\0Black";  // each with its zero

std::uint64_t line_bytes(const ImageInfo& image) {
    return 4 * static_cast<std::uint64_t>(image.width);
}

const char* mode_for(const ImageInfo& image) {
    const std::uint64_t bytes = line_bytes(image) * static_cast<std::uint64_t>(image.height);
    return bytes < kClassicTiffBytes ? "w" : "w8";
}

}  // namespace

CmykTiffWriter::CmykTiffWriter(const std::string& path, const ImageInfo& source,
                               const std::vector<unsigned char>& profile)
    : output_(path),
      file_(output_.temporary(), mode_for(source)),
      line_(static_cast<std::size_t>(line_bytes(source))) {
    if (!file_.is_open()) fail();
    const auto strip_lines    = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(
        kStripBytes / line_bytes(source), 1, static_cast<std::uint64_t>(source.height)));
    TIFF* const tiff          = file_.get();
    const bool has_resolution = source.dpi_x > 0 && source.dpi_y > 0;
    const bool is_tagged =
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, source.width) &&
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, source.height) &&
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8) &&
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4) &&
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_SEPARATED) &&
        TIFFSetField(tiff, TIFFTAG_INKSET, INKSET_CMYK) &&
        TIFFSetField(tiff, TIFFTAG_NUMBEROFINKS, 4) &&
        TIFFSetField(tiff, TIFFTAG_INKNAMES, static_cast<int>(sizeof kInkNames), kInkNames) &&
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, source.orientation) &&
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, strip_lines) &&
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW) &&
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL) &&
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, has_resolution ? RESUNIT_INCH : RESUNIT_NONE) &&
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, has_resolution ? source.dpi_x : 1.0) &&
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, has_resolution ? source.dpi_y : 1.0) &&
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()),
                     profile.data()) &&
        TIFFSetField(tiff, TIFFTAG_SOFTWARE, "movane " MOVANE_VERSION);
    if (!is_tagged) fail();
}

void CmykTiffWriter::write(const unsigned char* ink) {
    std::copy_n(ink, line_.size(), line_.data());
    if (TIFFWriteScanline(file_.get(), line_.data(), lines_++, 0) < 0) fail();
}

void CmykTiffWriter::commit() {
    if (!TIFFFlush(file_.get())) fail();
    output_.commit();
}

void CmykTiffWriter::fail() const {
    throw Failure(output_.target(), std::string("cannot be written: ") + file_.message(),
                  "check the space on the disk");
}

}  // namespace host
