// An open TIFF file that keeps libtiff's words to itself until somebody asks.
#pragma once

#include <tiffio.h>

#include <memory>
#include <string>

namespace host {

class TiffFile {
public:
    /// @param mode  as TIFFOpen() takes it; is_open() tells whether it worked
    TiffFile(const std::string& path, const char* mode);

    bool is_open() const { return tiff_ != nullptr; }
    TIFF* get() const { return tiff_.get(); }

    /// The first error since the file was opened.
    const char* message() const { return message_; }

    /// A tag of one value, or what stands in for it.
    template <class Value>
    Value tag(std::uint32_t number, Value otherwise) const {
        Value value;
        return TIFFGetFieldDefaulted(get(), number, &value) ? value : otherwise;
    }

private:
    static int on_error(TIFF*, void* self, const char* module, const char* format, va_list values);
    static int on_warning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

    char message_[256] = "";
    std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff_;  // closed before the message goes
};

}  // namespace host
