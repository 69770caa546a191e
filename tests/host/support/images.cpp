#include "support/images.h"

#include <cstdio>

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <bit>

namespace host_tests {
namespace {

// Component c of a colour: 3 bits of red and green, 2 of blue.
std::uint8_t component(int colour, int c) {
    return static_cast<std::uint8_t>(c < 2 ? (colour >> 3 * c & 7) * 36 : (colour >> 6) * 85);
}

int colour_of(const std::uint8_t* rgb) { return rgb[0] / 36 | rgb[1] / 36 << 3 | rgb[2] / 85 << 6; }

// Samples as a file of the kind stores them, the upper byte of 16 bits first or last: of all
// channels or of one plane, with zeros around the image up to the width and height.
std::vector<std::uint8_t> stored(const Image& image, const Kind& kind, int width, int height,
                                 bool is_lower_first, int plane = -1) {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < width * height; ++i) {
        const int x = i % width, y = i / width;
        for (int c = 0; c < (kind.has_palette ? 1 : image.channels); ++c) {
            if (plane >= 0 && c != plane) continue;
            int value = 0;
            if (x < image.width && y < image.height)
                value = kind.has_palette ? colour_of(image.at(x, y)) : image.at(x, y)[c];
            if (kind.is_inverted) value = 255 - value;
            const int low = kind.low_byte < 0 ? value : kind.low_byte;  // else 257 times the value
            if (kind.bits == 16)
                bytes.push_back(static_cast<std::uint8_t>(is_lower_first ? low : value));
            bytes.push_back(
                static_cast<std::uint8_t>(kind.bits == 16 && !is_lower_first ? low : value));
        }
    }
    return bytes;
}

}  // namespace

Image flat(int width, int height, const std::vector<std::uint8_t>& pixel) {
    Image image{width, height, static_cast<int>(pixel.size()), {}};
    for (int i = 0; i < width * height; ++i)
        image.samples.insert(image.samples.end(), pixel.begin(), pixel.end());
    return image;
}

Image patches(int width, int height, int channels) {
    Image image{width, height, channels, {}};
    for (int i = 0; i < width * height; ++i) {
        const int colour = (i % width / 8 * 37 + i / width / 8 * 91) % 256;
        for (int c = 0; c < channels; ++c) {
            const bool is_alpha = channels % 2 == 0 && c == channels - 1;
            const int value     = is_alpha ? 255 : channels < 3 ? colour : component(colour, c);
            image.samples.push_back(static_cast<std::uint8_t>(value));
        }
    }
    return image;
}

void write_png(const std::string& path, const Image& image, const Kind& kind) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop head  = png_create_info_struct(png);
    constexpr int kTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                              PNG_COLOR_TYPE_RGB_ALPHA};
    png_init_io(png, file);
    png_set_compression_level(png, 1);
    png_set_IHDR(png, head, image.width, image.height, kind.bits,
                 kind.has_palette ? PNG_COLOR_TYPE_PALETTE : kTypes[image.channels - 1],
                 kind.is_whole ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_color palette[256];
    for (int i = 0; i < 256; ++i) palette[i] = {component(i, 0), component(i, 1), component(i, 2)};
    if (kind.has_palette) png_set_PLTE(png, head, palette, 256);
    const auto per_metre = static_cast<png_uint_32>(kind.dpi / 0.0254 + 0.5);
    if (per_metre) png_set_pHYs(png, head, per_metre, per_metre, PNG_RESOLUTION_METER);
    png_set_benign_errors(png, 1);
    if (!kind.profile.empty())
        png_set_iCCP(png, head, "profile", 0,
                     reinterpret_cast<png_const_bytep>(kind.profile.data()),
                     static_cast<png_uint_32>(kind.profile.size()));
    png_write_info(png, head);
    std::vector<std::uint8_t> bytes = stored(image, kind, image.width, image.height, false);
    std::vector<png_bytep> lines;
    for (int y = 0; y < image.height; ++y) lines.push_back(&bytes[bytes.size() / image.height * y]);
    png_write_image(png, lines.data());
    png_write_end(png, head);
    png_destroy_write_struct(&png, &head);
    std::fclose(file);
}

void write_jpeg(const std::string& path, const Image& image, const Kind& kind) {
    std::FILE* const file     = std::fopen(path.c_str(), "wb");
    jpeg_compress_struct jpeg = {};
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, file);
    jpeg.image_width                  = image.width;
    jpeg.image_height                 = image.height;
    jpeg.input_components             = image.channels;
    constexpr J_COLOR_SPACE kSpaces[] = {JCS_GRAYSCALE, JCS_UNKNOWN, JCS_RGB, JCS_CMYK};
    jpeg.in_color_space               = kSpaces[image.channels - 1];
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 100, TRUE);
    jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
    if (kind.is_whole) jpeg_simple_progression(&jpeg);
    jpeg.density_unit = kind.dpi > 0;
    jpeg.X_density = jpeg.Y_density = static_cast<UINT16>(std::max(kind.dpi, 1.0));
    jpeg_start_compress(&jpeg, TRUE);
    if (!kind.profile.empty())
        jpeg_write_icc_profile(&jpeg, reinterpret_cast<const JOCTET*>(kind.profile.data()),
                               static_cast<unsigned>(kind.profile.size()));
    for (int y = 0; y < image.height; ++y) {
        auto* line = const_cast<JSAMPROW>(image.at(0, y));
        jpeg_write_scanlines(&jpeg, &line, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::fclose(file);
}

void write_tiff(const std::string& path, const Image& image, const Kind& kind) {
    TIFF* const tiff   = TIFFOpen(path.c_str(), "w");
    const int channels = kind.has_palette ? 1 : image.channels;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 kind.has_palette     ? PHOTOMETRIC_PALETTE
                 : kind.is_inverted   ? PHOTOMETRIC_MINISWHITE
                 : image.channels < 3 ? PHOTOMETRIC_MINISBLACK
                                      : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
                 kind.is_planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    const std::uint16_t alpha =
        kind.is_premultiplied ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
    if (channels % 2 == 0) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    std::uint16_t map[3][256];
    for (int i = 0; i < 3 * 256; ++i)
        map[i / 256][i % 256] = static_cast<std::uint16_t>(component(i % 256, i / 256) * 257);
    if (kind.has_palette) TIFFSetField(tiff, TIFFTAG_COLORMAP, map[0], map[1], map[2]);
    if (kind.dpi > 0) {
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, kind.dpi);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, kind.dpi);
    }
    if (!kind.profile.empty())
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(kind.profile.size()),
                     kind.profile.data());
    // All in one strip, or tile, whose sides must be multiples of 16; or in one strip per plane.
    const int side   = std::max(image.width, image.height) / 16 * 16 + 16;
    const auto write = kind.is_tiled ? TIFFWriteEncodedTile : TIFFWriteEncodedStrip;
    TIFFSetField(tiff, kind.is_tiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP,
                 kind.is_tiled ? side : image.height);
    if (kind.is_tiled) TIFFSetField(tiff, TIFFTAG_TILEWIDTH, side);
    for (int plane = 0; plane < (kind.is_planar ? channels : 1); ++plane) {
        auto bytes = stored(
            image, kind, kind.is_tiled ? side : image.width, kind.is_tiled ? side : image.height,
            std::endian::native == std::endian::little, kind.is_planar ? plane : -1);
        write(tiff, plane, bytes.data(), std::ssize(bytes));
    }
    TIFFClose(tiff);
}

Image read_cmyk_tiff(const std::string& path) {
    Image image;
    TIFF* const tiff = TIFFOpen(path.c_str(), "r");
    if (!tiff) return image;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &image.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &image.height);
    image.channels = 4;
    image.samples.resize(TIFFScanlineSize(tiff) * image.height);
    for (int y = 0; y < image.height; ++y) TIFFReadScanline(tiff, image.at(0, y), y, 0);
    TIFFClose(tiff);
    return image;
}

Inks read_inks(const std::string& path) {
    Inks inks;
    TIFF* const tiff = TIFFOpen(path.c_str(), "r");
    if (!tiff) return inks;
    std::uint16_t bits = 0, channels = 0, photometric = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &inks.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &inks.height);
    TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &channels);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
    inks.bits        = bits;
    inks.channels    = channels;
    inks.photometric = photometric;
    std::vector<std::uint8_t> line(TIFFScanlineSize(tiff));
    for (int y = 0; y < inks.height; ++y) {
        TIFFReadScanline(tiff, line.data(), y, 0);
        for (int at = 0; at < inks.width * channels * bits; at += bits)
            inks.samples.push_back(
                static_cast<std::uint8_t>(line[at / 8] >> (8 - bits - at % 8) & ((1 << bits) - 1)));
    }
    TIFFClose(tiff);
    return inks;
}

Image read_rgb_png(const std::string& path) {
    png_image file = {};
    file.version   = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&file, path.c_str())) return {};
    file.format = PNG_FORMAT_RGB;
    Image image = flat(file.width, file.height, {0, 0, 0});
    png_image_finish_read(&file, nullptr, image.samples.data(), 0, nullptr);
    return image;
}

}  // namespace host_tests
