// Plain C streams with UTF-8 paths.

#include "movane/services.h"

#include "Engine/runtime.h"
#include "Engine/utf8_files.h"
#include "Platform/files.h"

namespace files = movane::files;

FILE* movane_cdlopen_file(const char* path, const char* mode) { return fopen_utf8(path, mode); }

int movane_cdlclose_file(FILE* file) { return file ? fclosx(file) : 0; }

// Asked through the stream: its buffer may hold bytes that the system has not seen.
long long movane_cdlget_file_size(FILE* file) {
    const std::int64_t position = files::tell(file);
    if (position < 0 || !files::seek(file, 0, files::Origin::end)) return -1;
    const std::int64_t size = files::tell(file);
    return files::seek(file, position, files::Origin::begin) ? size : -1;
}
