// sRGB previews as PNG files, written line by line.
#pragma once

#include "atomic_output.h"
#include "file.h"
#include "image_reader.h"
#include "jump_guard.h"

#include <png.h>

#include <string>

namespace host {

class PngWriter {
public:
    /// @param source  measures and resolution are carried over
    PngWriter(const std::string& path, const ImageInfo& source);
    ~PngWriter();
    PngWriter(const PngWriter&)            = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    /// Appends a line of interleaved R, G, B.
    void write(const unsigned char* rgb);

    /// Completes the file under its temporary name: what can go wrong goes wrong here.
    void complete();

    /// Gives the complete file its name.
    void commit() { output_.commit(); }

private:
    template <class Calls>
    void call(Calls calls);
    void write_head(const ImageInfo& source);

    AtomicOutput output_;
    File file_;
    JumpGuard guard_;
    png_structp png_ = nullptr;
    png_infop head_  = nullptr;
};

}  // namespace host
