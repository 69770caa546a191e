// TIFF: RGB, gray and palette images in lines are read line by line; everything else that libtiff
// knows how to show (tiles, planes, fewer bits, YCbCr, Lab) goes through its whole-frame reader,
// which gives 8 bits a sample whatever the file holds.

#include "image_reader.h"
#include "tiff_file.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <limits>

namespace host {
namespace {

constexpr double kCentimetresPerInch = 2.54;
constexpr char kReadUnmapped[]       = "rm";  // a mapped file would stay in memory as a whole

unsigned char from_16_bits(unsigned value) {
    return static_cast<unsigned char>((value * 255 + 32767) / 65535);
}

class TiffReader final : public ImageReader {
public:
    explicit TiffReader(const std::string& path)
        : ImageReader(path, "TIFF"), file_(path, kReadUnmapped) {
        if (!file_.is_open()) fail_damaged(file_.message());
        info_.width  = to_side(file_.tag<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0));
        info_.height = to_side(file_.tag<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0));
        check_measures();

        photometric_ = file_.tag<std::uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        bits_        = file_.tag<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
        samples_     = file_.tag<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
        if (photometric_ == PHOTOMETRIC_SEPARATED) fail_unsupported("is a CMYK image already");
        read_alpha();
        read_resolution();
        read_profile();
        const int orientation = file_.tag<std::uint16_t>(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        if (orientation >= ORIENTATION_TOPLEFT && orientation <= ORIENTATION_LEFTBOT)
            info_.orientation = orientation;

        if (TIFFIsTiled(file_.get()))
            info_.whole_frame = "in tiles";
        else if (!is_simple())
            info_.whole_frame = samples_ > 1 && planes() != PLANARCONFIG_CONTIG
                                    ? "in planes"
                                    : "in an unusual pixel format";
        else
            prepare_lines();
    }

private:
    static int to_side(std::uint32_t pixels) {
        return static_cast<int>(std::min<std::uint32_t>(pixels, INT_MAX));
    }

    int planes() const {
        return file_.tag<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    }

    bool is_gray() const {
        return photometric_ == PHOTOMETRIC_MINISBLACK || photometric_ == PHOTOMETRIC_MINISWHITE;
    }

    unsigned colours() const { return photometric_ == PHOTOMETRIC_RGB ? 3 : 1; }

    // Whether a line is bytes or words, pixel after pixel, of RGB, gray or palette.
    bool is_simple() const {
        const bool has_whole_samples =
            (bits_ == 8 || (bits_ == 16 && photometric_ != PHOTOMETRIC_PALETTE)) &&
            file_.tag<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT) == SAMPLEFORMAT_UINT;
        const bool has_known_colours = (photometric_ == PHOTOMETRIC_RGB && samples_ >= 3) ||
                                       (is_gray() && samples_ >= 1) ||
                                       (photometric_ == PHOTOMETRIC_PALETTE && samples_ == 1);
        return has_whole_samples && has_known_colours &&
               (samples_ == 1 || planes() == PLANARCONFIG_CONTIG);
    }

    void read_alpha() {
        std::uint16_t count  = 0;
        std::uint16_t* kinds = nullptr;
        if (!TIFFGetField(file_.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds) || count == 0) return;
        const bool is_alpha =
            kinds[0] == EXTRASAMPLE_ASSOCALPHA || kinds[0] == EXTRASAMPLE_UNASSALPHA;
        info_.has_alpha        = is_alpha && samples_ > colours();
        info_.is_premultiplied = kinds[0] == EXTRASAMPLE_ASSOCALPHA;
    }

    void read_resolution() {
        const auto unit       = file_.tag<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        const double per_inch = unit == RESUNIT_INCH         ? 1
                                : unit == RESUNIT_CENTIMETER ? kCentimetresPerInch
                                                             : 0;
        set_resolution(file_.tag<float>(TIFFTAG_XRESOLUTION, 0) * per_inch,
                       file_.tag<float>(TIFFTAG_YRESOLUTION, 0) * per_inch);
    }

    void read_profile() {
        std::uint32_t length = 0;
        unsigned char* bytes = nullptr;
        if (TIFFGetField(file_.get(), TIFFTAG_ICCPROFILE, &length, &bytes))
            info_.profile.assign(bytes, bytes + length);
    }

    void prepare_lines() {
        if (photometric_ == PHOTOMETRIC_PALETTE &&
            !TIFFGetField(file_.get(), TIFFTAG_COLORMAP, &palette_[0], &palette_[1], &palette_[2]))
            fail_damaged("its palette is missing");
        const auto needed = static_cast<std::uint64_t>(info_.width) * samples_ * (bits_ / 8u);
        const tmsize_t line_bytes = TIFFScanlineSize(file_.get());
        if (line_bytes < 0 || static_cast<std::uint64_t>(line_bytes) < needed)
            fail_damaged("its lines are too short");
        check_frame(needed);
        line_bytes_.resize(static_cast<std::size_t>(line_bytes));
        info_.is_deep = bits_ == 16;
    }

    void decode(unsigned char* out) override {
        if (info_.whole_frame.empty()) {
            if (TIFFReadScanline(file_.get(), line_bytes_.data(), static_cast<std::uint32_t>(line_),
                                 0) < 0)
                fail_damaged(file_.message());
            for (std::size_t x = 0; x < static_cast<std::size_t>(info_.width); ++x)
                out =
                    info_.is_deep ? convert<std::uint16_t>(x, out) : convert<std::uint8_t>(x, out);
        } else {
            if (line_ == 0) read_frame();
            copy_frame_line(out);
        }
        ++line_;
    }

    // Pixel x of the line; samples are in the order of this machine's bytes: libtiff has swapped
    // them. The buffers are bytes, hence the copies.
    template <class Sample>
    unsigned char* convert(std::size_t x, unsigned char* out) const {
        const auto sample = [&](std::size_t c) {
            Sample value;
            std::memcpy(&value, &line_bytes_[(x * samples_ + c) * sizeof value], sizeof value);
            return value;
        };
        const auto put = [&](unsigned value) {
            const auto stored = static_cast<Sample>(value);
            std::memcpy(out, &stored, sizeof stored);
            out += sizeof stored;
        };
        for (std::size_t c = 0; c < 3; ++c) {
            if (photometric_ == PHOTOMETRIC_RGB)
                put(sample(c));
            else if (photometric_ == PHOTOMETRIC_PALETTE)
                put(from_16_bits(palette_[c][sample(0)]));
            else if (photometric_ == PHOTOMETRIC_MINISWHITE)
                put(std::numeric_limits<Sample>::max() - unsigned{sample(0)});
            else
                put(sample(0));
        }
        if (info_.has_alpha) put(sample(colours()));
        return out;
    }

    void read_frame() {
        char reason[1024];
        if (!TIFFRGBAImageOK(file_.get(), reason))
            fail_unsupported(std::string("is a TIFF image of a rare kind (") + reason + ")");
        const auto width  = static_cast<std::uint32_t>(info_.width);
        const auto height = static_cast<std::uint32_t>(info_.height);
        frame_            = make_frame(std::uint64_t{width} * height * sizeof(std::uint32_t));
        // Lines in the order of the file: the orientation is passed on, not applied.
        // The whole-frame reader multiplies colours by a separate alpha, but not gray.
        if (photometric_ == PHOTOMETRIC_RGB) info_.is_premultiplied = true;
        if (!TIFFReadRGBAImageOriented(file_.get(), width, height,
                                       reinterpret_cast<std::uint32_t*>(frame_.get()),
                                       info_.orientation, 1))
            fail_damaged(file_.message());
    }

    void copy_frame_line(unsigned char* out) const {
        const auto width   = static_cast<std::size_t>(info_.width);
        const auto* pixels = reinterpret_cast<const std::uint32_t*>(frame_.get()) +
                             width * static_cast<std::size_t>(line_);
        for (std::size_t x = 0; x < width; ++x) {
            *out++ = static_cast<unsigned char>(TIFFGetR(pixels[x]));
            *out++ = static_cast<unsigned char>(TIFFGetG(pixels[x]));
            *out++ = static_cast<unsigned char>(TIFFGetB(pixels[x]));
            if (info_.has_alpha) *out++ = static_cast<unsigned char>(TIFFGetA(pixels[x]));
        }
    }

    const TiffFile file_;
    std::uint16_t photometric_ = 0, bits_ = 0, samples_ = 0;
    std::uint16_t* palette_[3] = {};  // libtiff's
    std::vector<unsigned char> line_bytes_;
    std::unique_ptr<unsigned char[]> frame_;
    int line_ = 0;
};

}  // namespace

std::unique_ptr<ImageReader> open_tiff(const std::string& path) {
    return std::make_unique<TiffReader>(path);
}

}  // namespace host
