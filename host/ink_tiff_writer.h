// Inks as TIFF files that prepress programs expect, written line by line: all four in one file, or
// a plate each.
#pragma once

#include "atomic_output.h"
#include "image_reader.h"
#include "tiff_file.h"

#include <string>
#include <vector>

namespace host {

enum class Ink : std::size_t { cyan, magenta, yellow, black };

inline constexpr Ink kInks[] = {Ink::cyan, Ink::magenta, Ink::yellow, Ink::black};

class InkTiffWriter {
public:
    /// A CMYK file.
    ///
    /// @param image    measures, resolution and orientation
    /// @param bits     of each sample: 1, 2, 4 or 8
    /// @param profile  the device's ICC profile, embedded
    InkTiffWriter(const std::string& path, const ImageInfo& image, int bits,
                  const std::vector<unsigned char>& profile);

    /// A plate: one ink as a gray image in which full ink is black.
    InkTiffWriter(const std::string& path, const ImageInfo& image, int bits, Ink ink);

    /// Appends a line of interleaved C, M, Y, K; 255 is full ink. Of fewer bits than 8 the upper
    /// ones are stored.
    void write(const unsigned char* ink);

    /// Completes the file under its temporary name: what can go wrong goes wrong here.
    void complete();

    /// Gives the complete file its name.
    void commit() { output_.commit(); }

private:
    InkTiffWriter(const std::string& path, const ImageInfo& image, int bits, std::size_t first_ink,
                  std::size_t inks);

    [[noreturn]] void fail() const;
    template <class Value>
    void set(std::uint32_t tag, Value value);
    void set_measures(const ImageInfo& image);
    void pack(const unsigned char* ink);

    const int bits_;
    const std::size_t first_ink_, inks_, pixels_;
    AtomicOutput output_;
    TiffFile file_;
    std::vector<unsigned char> line_;  // as stored; the predictor works in place
    std::uint32_t lines_ = 0;
};

/// The name of a plate beside the separation: "out(Cyan).tif" for "out.tif".
std::string plate_name(const std::string& output, Ink ink);

}  // namespace host
