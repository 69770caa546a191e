#include "png_writer.h"

#include "failure.h"

#include <cmath>
#include <new>

namespace host {
namespace {

constexpr double kInchesPerMetre = 1 / 0.0254;
constexpr int kQuick             = 1;  // of zlib's levels; with one filter, several times faster

[[noreturn]] void on_error(png_structp png, png_const_charp message) {
    static_cast<JumpGuard*>(png_get_error_ptr(png))->jump(message);
}
void on_warning(png_structp, png_const_charp) {}

}  // namespace

template <class Calls>
void PngWriter::call(Calls calls) {
    if (!guard_.run(calls))
        throw Failure(output_.target(), std::string("cannot be written: ") + guard_.message(),
                      "check the space on the disk");
}

PngWriter::PngWriter(const std::string& path, const ImageInfo& source)
    : output_(path), file_(std::fopen(output_.temporary().c_str(), "wb")) {
    if (!file_)
        throw Failure(path, "cannot be written",
                      "name a file in a directory that you may write to");
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &guard_, on_error, on_warning);
    if (!png_ || !(head_ = png_create_info_struct(png_))) {
        png_destroy_write_struct(&png_, &head_);
        throw std::bad_alloc();
    }
    try {
        write_head(source);
    } catch (...) {
        png_destroy_write_struct(&png_, &head_);
        throw;
    }
}

PngWriter::~PngWriter() { png_destroy_write_struct(&png_, &head_); }

void PngWriter::write_head(const ImageInfo& source) {
    call([&] {
        png_init_io(png_, file_.get());
        png_set_compression_level(png_, kQuick);
        png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
        png_set_IHDR(png_, head_, static_cast<png_uint_32>(source.width),
                     static_cast<png_uint_32>(source.height), 8, PNG_COLOR_TYPE_RGB,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_sRGB(png_, head_, PNG_sRGB_INTENT_RELATIVE);
        if (source.dpi_x > 0 && source.dpi_y > 0)
            png_set_pHYs(png_, head_,
                         static_cast<png_uint_32>(std::lround(source.dpi_x * kInchesPerMetre)),
                         static_cast<png_uint_32>(std::lround(source.dpi_y * kInchesPerMetre)),
                         PNG_RESOLUTION_METER);
        png_write_info(png_, head_);
    });
}

void PngWriter::write(const unsigned char* rgb) {
    call([&] { png_write_row(png_, rgb); });
}

void PngWriter::complete() {
    call([&] { png_write_end(png_, nullptr); });
    if (std::fflush(file_.get()) != 0)
        throw Failure(output_.target(), "cannot be written", "check the space on the disk");
}

}  // namespace host
