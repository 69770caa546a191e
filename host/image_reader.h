// Photos from PNG, JPEG and TIFF files, line by line, as RGB on white paper.
#pragma once

#include "line.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace host {

inline constexpr int kMaxSide = 1'000'000;  // pixels, of every image that is read or made

struct ImageInfo {
    std::string format;  // "PNG", "JPEG" or "TIFF"
    int width = 0, height = 0;
    bool is_deep          = false;  // 16 bits a sample, delivered as such
    bool has_alpha        = false;
    bool is_premultiplied = false;  // the file's colours are multiplied by their alpha
    std::string whole_frame;        // why it must be held in memory as a whole; "" for line by line
    double dpi_x = 0, dpi_y = 0;    // 0 when the file does not say
    int orientation = 1;            // as in TIFF: how the lines are to be turned for viewing
    std::vector<unsigned char> profile;  // embedded ICC profile, unchecked; empty for none
};

/// An open image file. Every call throws Failure when the file is damaged.
class ImageReader {
public:
    virtual ~ImageReader()                     = default;
    ImageReader(const ImageReader&)            = delete;
    ImageReader& operator=(const ImageReader&) = delete;

    const ImageInfo& info() const { return info_; }

    /// Reads the next line, from the top: its colours into `deep` or `rgb`, the other stays as it
    /// is. A partly transparent pixel has been laid over white.
    void read(Line& line);

protected:
    explicit ImageReader(const std::string& path, const char* format);

    /// Writes the next line as interleaved RGB, or RGBA when the image has alpha: bytes, or words
    /// in the order of this machine when it is deep.
    virtual void decode(unsigned char* samples) = 0;

    /// To be called when info_ holds the measures.
    void check_measures() const;

    /// Keeps a resolution that may be true; 0 or nonsense stand for none.
    void set_resolution(double dpi_x, double dpi_y);

    /// Memory for a frame that cannot be had line by line; refuses what no photo needs.
    std::unique_ptr<unsigned char[]> make_frame(std::uint64_t bytes) const;
    void check_frame(std::uint64_t bytes) const;

    [[noreturn]] void fail_damaged(const std::string& detail) const;
    [[noreturn]] void fail_unsupported(const std::string& detail) const;

    const std::string path_;
    ImageInfo info_;

private:
    template <class Sample>
    void read_samples(std::vector<Sample>& rgb, std::vector<unsigned char>& alpha);

    std::vector<std::uint16_t> rgba_;  // room for either kind of sample
};

/// Opens an image; its first bytes tell the format.
std::unique_ptr<ImageReader> open_image(const std::string& path);

std::unique_ptr<ImageReader> open_png(const std::string& path);
std::unique_ptr<ImageReader> open_jpeg(const std::string& path);
std::unique_ptr<ImageReader> open_tiff(const std::string& path);

}  // namespace host
