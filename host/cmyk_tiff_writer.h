// CMYK TIFF files as prepress programs expect them, written line by line.
#pragma once

#include "atomic_output.h"
#include "image_reader.h"
#include "tiff_file.h"

#include <string>
#include <vector>

namespace host {

class CmykTiffWriter {
public:
    /// @param source   measures, resolution and orientation are carried over
    /// @param profile  the device's ICC profile, embedded
    CmykTiffWriter(const std::string& path, const ImageInfo& source,
                   const std::vector<unsigned char>& profile);

    /// Appends a line of interleaved C, M, Y, K; 255 is full ink.
    void write(const unsigned char* ink);

    /// Completes the file and gives it its name.
    void commit();

private:
    [[noreturn]] void fail() const;

    AtomicOutput output_;
    TiffFile file_;
    std::vector<unsigned char> line_;  // a copy: the predictor works in place
    std::uint32_t lines_ = 0;
};

}  // namespace host
