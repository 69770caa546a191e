#include "tiff_file.h"

#include <cstdarg>
#include <cstdio>

namespace host {
namespace {

constexpr tmsize_t kMaxAllocation = tmsize_t{2} << 30;  // a damaged file may ask for anything

}  // namespace

TiffFile::TiffFile(const std::string& path, const char* mode) : tiff_(nullptr, TIFFClose) {
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
        TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), on_error, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), on_warning, this);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxAllocation);
    tiff_.reset(TIFFOpenExt(path.c_str(), mode, options.get()));
}

int TiffFile::on_error(TIFF*, void* self, const char*, const char* format, va_list values) {
    auto& message = static_cast<TiffFile*>(self)->message_;
    if (message[0] == '\0') std::vsnprintf(message, sizeof message, format, values);
    return 1;  // handled: nothing is printed
}

}  // namespace host
