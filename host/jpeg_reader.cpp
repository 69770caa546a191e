// JPEG: gray and YCbCr become RGB in libjpeg.

#include "file.h"
#include "image_reader.h"
#include "jump_guard.h"

#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

#include <cstdlib>

namespace host {
namespace {

constexpr double kCentimetresPerInch = 2.54;

JumpGuard& guard_of(j_common_ptr jpeg) { return *static_cast<JumpGuard*>(jpeg->client_data); }

[[noreturn]] void on_error(j_common_ptr jpeg) {
    char message[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, message);
    guard_of(jpeg).jump(message);
}

// libjpeg goes on with gray after these; a photo with a gray part is worse than none. Other
// warnings stand for slips of other programs that leave the picture whole.
void on_message(j_common_ptr jpeg, int level) {
    if (level >= 0) return;
    switch (jpeg->err->msg_code) {
        case JWRN_JPEG_EOF:
        case JWRN_HIT_MARKER:
        case JWRN_HUFF_BAD_CODE:
        case JWRN_MUST_RESYNC:
            on_error(jpeg);
    }
}

class JpegReader final : public ImageReader {
public:
    explicit JpegReader(const std::string& path)
        : ImageReader(path, "JPEG"), file_(open_input(path)) {
        jpeg_.err            = jpeg_std_error(&errors_);
        errors_.error_exit   = on_error;
        errors_.emit_message = on_message;
        jpeg_.client_data    = &guard_;
        try {
            read_head();
        } catch (...) {
            jpeg_destroy_decompress(&jpeg_);
            throw;
        }
    }

    ~JpegReader() override { jpeg_destroy_decompress(&jpeg_); }

private:
    template <class Calls>
    void call(Calls calls) {
        if (!guard_.run(calls)) fail_damaged(guard_.message());
    }

    void read_head() {
        call([&] {
            jpeg_create_decompress(&jpeg_);
            jpeg_stdio_src(&jpeg_, file_.get());
            jpeg_save_markers(&jpeg_, JPEG_APP0 + 2, 0xffff);
            jpeg_read_header(&jpeg_, TRUE);
        });
        info_.width  = static_cast<int>(jpeg_.image_width);
        info_.height = static_cast<int>(jpeg_.image_height);
        check_measures();
        if (jpeg_.num_components > 3) fail_unsupported("is a CMYK image already");
        if (jpeg_has_multiple_scans(&jpeg_)) {
            info_.whole_frame = "progressively";
            check_frame(std::uint64_t{jpeg_.image_width} * jpeg_.image_height *
                        static_cast<unsigned>(jpeg_.num_components) * sizeof(JCOEF));
        }
        const double per_inch = jpeg_.density_unit == 1   ? 1
                                : jpeg_.density_unit == 2 ? kCentimetresPerInch
                                                          : 0;
        set_resolution(jpeg_.X_density * per_inch, jpeg_.Y_density * per_inch);
        read_profile();
    }

    void read_profile() {
        JOCTET* bytes   = nullptr;
        unsigned length = 0;
        boolean found   = FALSE;
        call([&] { found = jpeg_read_icc_profile(&jpeg_, &bytes, &length); });
        const std::unique_ptr<JOCTET, decltype(&std::free)> owned(bytes, std::free);
        if (found) info_.profile.assign(bytes, bytes + length);
    }

    void decode(unsigned char* samples) override {
        call([&] {
            if (line_ == 0) {
                jpeg_.out_color_space = JCS_RGB;
                jpeg_start_decompress(&jpeg_);
            }
            jpeg_read_scanlines(&jpeg_, &samples, 1);
            if (++line_ == info_.height) jpeg_finish_decompress(&jpeg_);
        });
    }

    const File file_;
    JumpGuard guard_;
    jpeg_error_mgr errors_       = {};
    jpeg_decompress_struct jpeg_ = {};
    int line_                    = 0;
};

}  // namespace

std::unique_ptr<ImageReader> open_jpeg(const std::string& path) {
    return std::make_unique<JpegReader>(path);
}

}  // namespace host
