// PNG: every kind becomes RGB or RGBA of 8 or 16 bits in libpng's own transformations.

#include "file.h"
#include "image_reader.h"
#include "jump_guard.h"

#include <png.h>

#include <bit>
#include <cstring>

namespace host {
namespace {

constexpr double kMetresPerInch = 0.0254;

[[noreturn]] void on_error(png_structp png, png_const_charp message) {
    static_cast<JumpGuard*>(png_get_error_ptr(png))->jump(message);
}
void on_warning(png_structp, png_const_charp) {}

class PngReader final : public ImageReader {
public:
    explicit PngReader(const std::string& path)
        : ImageReader(path, "PNG"), file_(open_input(path)) {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &guard_, on_error, on_warning);
        if (!png_ || !(head_ = png_create_info_struct(png_))) {
            png_destroy_read_struct(&png_, &head_, nullptr);
            throw std::bad_alloc();
        }
        try {
            read_head();
        } catch (...) {
            png_destroy_read_struct(&png_, &head_, nullptr);
            throw;
        }
    }

    ~PngReader() override { png_destroy_read_struct(&png_, &head_, nullptr); }

private:
    template <class Calls>
    void call(Calls calls) {
        if (!guard_.run(calls)) fail_damaged(guard_.message());
    }

    void read_head() {
        int is_interlaced = 0;
        call([&] {
            png_init_io(png_, file_.get());
            png_read_info(png_, head_);
            png_set_expand(png_);
            png_set_gray_to_rgb(png_);
            info_.is_deep = png_get_bit_depth(png_, head_) == 16;
            if (info_.is_deep && std::endian::native == std::endian::little) png_set_swap(png_);
            is_interlaced = png_set_interlace_handling(png_) > 1;
            png_read_update_info(png_, head_);
            info_.width     = static_cast<int>(png_get_image_width(png_, head_));
            info_.height    = static_cast<int>(png_get_image_height(png_, head_));
            info_.has_alpha = png_get_channels(png_, head_) == 4;
            set_resolution(png_get_x_pixels_per_meter(png_, head_) * kMetresPerInch,
                           png_get_y_pixels_per_meter(png_, head_) * kMetresPerInch);
        });
        check_measures();
        if (is_interlaced) info_.whole_frame = "interlaced";
        read_profile();
    }

    void read_profile() {
        png_charp name        = nullptr;
        png_bytep bytes       = nullptr;
        png_uint_32 length    = 0;
        int compression       = 0;
        png_uint_32 available = 0;
        call([&] { available = png_get_iCCP(png_, head_, &name, &compression, &bytes, &length); });
        if (available) info_.profile.assign(bytes, bytes + length);
    }

    void decode(unsigned char* samples) override {
        if (info_.whole_frame.empty()) {
            call([&] { png_read_row(png_, samples, nullptr); });
        } else {
            if (line_ == 0) read_frame();
            std::memcpy(samples, frame_line(line_), line_bytes());
        }
        // What stands behind the last line must be whole, too.
        if (++line_ == info_.height) call([&] { png_read_end(png_, nullptr); });
    }

    void read_frame() {
        frame_ = make_frame(std::uint64_t{line_bytes()} * static_cast<unsigned>(info_.height));
        std::vector<png_bytep> lines(static_cast<std::size_t>(info_.height));
        for (int y = 0; y < info_.height; ++y) lines[static_cast<std::size_t>(y)] = frame_line(y);
        call([&] { png_read_image(png_, lines.data()); });
    }

    std::size_t line_bytes() const {
        return static_cast<std::size_t>(info_.width) * (info_.has_alpha ? 4 : 3) *
               (info_.is_deep ? 2 : 1);
    }
    unsigned char* frame_line(int y) const {
        return frame_.get() + line_bytes() * static_cast<std::size_t>(y);
    }

    const File file_;
    JumpGuard guard_;
    png_structp png_ = nullptr;
    png_infop head_  = nullptr;
    std::unique_ptr<unsigned char[]> frame_;
    int line_ = 0;
};

}  // namespace

std::unique_ptr<ImageReader> open_png(const std::string& path) {
    return std::make_unique<PngReader>(path);
}

}  // namespace host
