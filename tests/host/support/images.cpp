#include "support/images.h"

#include <cstdio>

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace host_tests {
namespace {

// 3 bits of red and green, 2 of blue.
std::array<std::uint8_t, 3> colour_of(unsigned index) {
    return {static_cast<std::uint8_t>((index & 7) * 36),
            static_cast<std::uint8_t>((index >> 3 & 7) * 36),
            static_cast<std::uint8_t>((index >> 6) * 85)};
}

std::uint8_t index_of(const std::uint8_t* rgb) {
    return static_cast<std::uint8_t>(rgb[0] / 36 | rgb[1] / 36 << 3 | rgb[2] / 85 << 6);
}

// One line as a file of the kind stores it, in this machine's order of bytes.
std::vector<std::uint8_t> stored_line(const Image& image, int y, const Kind& kind) {
    std::vector<std::uint8_t> line;
    for (int x = 0; x < image.width; ++x) {
        const std::uint8_t* pixel = image.at(x, y);
        if (kind.has_palette) line.push_back(index_of(pixel));
        for (int c = 0; !kind.has_palette && c < image.channels; ++c) {
            const int value = kind.is_inverted ? 255 - pixel[c] : pixel[c];
            line.insert(line.end(), static_cast<std::size_t>(kind.bits / 8),
                        static_cast<std::uint8_t>(value));  // 257 times the value in 16 bits
        }
    }
    return line;
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
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto index  = static_cast<unsigned>(x / 8 * 37 + y / 8 * 91) % 256;
            const auto colour = colour_of(index);
            for (int c = 0; c < channels; ++c) {
                const bool is_alpha = channels % 2 == 0 && c == channels - 1;
                const unsigned gray =
                    channels < 3 ? index : colour[static_cast<std::size_t>(c % 3)];
                image.samples.push_back(static_cast<std::uint8_t>(is_alpha ? 255 : gray));
            }
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
    png_set_IHDR(png, head, static_cast<png_uint_32>(image.width),
                 static_cast<png_uint_32>(image.height), kind.bits,
                 kind.has_palette ? PNG_COLOR_TYPE_PALETTE : kTypes[image.channels - 1],
                 kind.is_whole ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (kind.has_palette) {
        png_color palette[256];
        for (unsigned i = 0; i < 256; ++i) {
            const auto [red, green, blue] = colour_of(i);
            palette[i]                    = {red, green, blue};
        }
        png_set_PLTE(png, head, palette, 256);
    }
    const auto per_metre = static_cast<png_uint_32>(kind.dpi / 0.0254 + 0.5);
    if (per_metre) png_set_pHYs(png, head, per_metre, per_metre, PNG_RESOLUTION_METER);
    if (!kind.profile.empty()) {
        png_set_benign_errors(png, 1);
        png_set_iCCP(png, head, "profile", 0,
                     reinterpret_cast<png_const_bytep>(kind.profile.data()),
                     static_cast<png_uint_32>(kind.profile.size()));
    }
    png_write_info(png, head);
    std::vector<std::uint8_t> lines;
    for (int y = 0; y < image.height; ++y) {
        const auto line = stored_line(image, y, kind);
        lines.insert(lines.end(), line.begin(), line.end());
    }
    std::vector<png_bytep> starts;
    for (int y = 0; y < image.height; ++y)
        starts.push_back(&lines[lines.size() / static_cast<std::size_t>(image.height) *
                                static_cast<std::size_t>(y)]);
    png_write_image(png, starts.data());
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
    jpeg.image_width      = static_cast<JDIMENSION>(image.width);
    jpeg.image_height     = static_cast<JDIMENSION>(image.height);
    jpeg.input_components = image.channels;
    jpeg.in_color_space   = image.channels == 1   ? JCS_GRAYSCALE
                            : image.channels == 3 ? JCS_RGB
                                                  : JCS_CMYK;
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
    TIFF* const tiff     = TIFFOpen(path.c_str(), "w");
    const bool is_gray   = image.channels < 3;
    const int channels   = kind.has_palette ? 1 : image.channels;
    const bool has_alpha = channels % 2 == 0;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 kind.has_palette   ? PHOTOMETRIC_PALETTE
                 : kind.is_inverted ? PHOTOMETRIC_MINISWHITE
                 : is_gray          ? PHOTOMETRIC_MINISBLACK
                                    : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
                 kind.is_planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (has_alpha) {
        const std::uint16_t alpha =
            kind.is_premultiplied ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    if (kind.has_palette) {
        std::uint16_t map[3][256];
        for (unsigned i = 0; i < 256; ++i)
            for (std::size_t c = 0; c < 3; ++c)
                map[c][i] = static_cast<std::uint16_t>(colour_of(i)[c] * 257);
        TIFFSetField(tiff, TIFFTAG_COLORMAP, map[0], map[1], map[2]);
    }
    if (kind.dpi > 0) {
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, kind.dpi);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, kind.dpi);
    }
    if (!kind.profile.empty())
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(kind.profile.size()),
                     kind.profile.data());
    if (kind.is_tiled) {
        // One tile holds the whole image; its sides must be multiples of 16.
        const int side = std::max(image.width, image.height) / 16 * 16 + 16;
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, side);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, side);
        std::vector<std::uint8_t> tile(static_cast<std::size_t>(TIFFTileSize(tiff)));
        for (int y = 0; y < image.height; ++y) {
            const auto line = stored_line(image, y, kind);
            std::copy(line.begin(), line.end(), tile.begin() + y * TIFFTileRowSize(tiff));
        }
        TIFFWriteTile(tiff, tile.data(), 0, 0, 0, 0);
    }
    for (int plane = 0; !kind.is_tiled && plane < (kind.is_planar ? channels : 1); ++plane) {
        for (int y = 0; y < image.height; ++y) {
            auto line = stored_line(image, y, kind);
            if (kind.is_planar)
                for (int x = 0; x < image.width; ++x)
                    line[static_cast<std::size_t>(x)] =
                        line[static_cast<std::size_t>(x * channels + plane)];
            TIFFWriteScanline(tiff, line.data(), static_cast<std::uint32_t>(y),
                              static_cast<std::uint16_t>(plane));
        }
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
    image.samples.resize(static_cast<std::size_t>(TIFFScanlineSize(tiff) * image.height));
    for (int y = 0; y < image.height; ++y)
        TIFFReadScanline(tiff, image.at(0, y), static_cast<std::uint32_t>(y), 0);
    TIFFClose(tiff);
    return image;
}

Image read_rgb_png(const std::string& path) {
    Image image;
    png_image file = {};
    file.version   = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&file, path.c_str())) return image;
    file.format    = PNG_FORMAT_RGB;
    image.width    = static_cast<int>(file.width);
    image.height   = static_cast<int>(file.height);
    image.channels = 3;
    image.samples.resize(PNG_IMAGE_SIZE(file));
    png_image_finish_read(&file, nullptr, image.samples.data(), 0, nullptr);
    return image;
}

}  // namespace host_tests
