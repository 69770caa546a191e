// Path notation: logical names, and the small cuts and joins that hosts make in paths.

#include "movane/services.h"

#include "Engine/runtime.h"
#include "Support/report.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/fport"};

constexpr std::size_t kWorkSize = 256;  // bytes of a path, terminator included

// process-wide: the switch of fport_setres().
constinit bool resolution_switch = false;

bool contains(std::string_view set, char c) { return set.find(c) != set.npos; }

// Returns the result of a path that is not translated.
int copy_unchanged(char* out, std::size_t size, const char* path) {
    std::snprintf(out, size, "%s", path);
    return -1;
}

// Brackets and the dots between them become separators, up to the first closing one.
void separate_levels(char* directory) {
    if (!std::strchr(directory, '[')) return;
    for (char* c = directory; *c; ++c) {
        const bool is_last = *c == ']';
        if (contains("[.]", *c)) *c = '\\';
        if (is_last) break;
    }
}

}  // namespace

int fport(char* out, int out_size, const char* path) {
    if (out_size < 1) return -1;
    const auto size = static_cast<std::size_t>(out_size);

    char work[kWorkSize];  // `path` may be `out`
    const std::size_t length = std::strlen(path);
    const bool fits          = length < sizeof work;
    if (fits) std::memcpy(work, path, length + 1);
    out[0] = '\0';
    if (!fits) return -1;

    char* const colon = std::strchr(work, ':');
    if (!colon || colon[1] == '\\') return copy_unchanged(out, size, work);
    *colon = '\0';
    char translation[kWorkSize];
    const bool is_known = lognam(work, translation, sizeof translation) == 0;
    *colon              = ':';
    if (!is_known) return copy_unchanged(out, size, work);
    std::size_t translation_length = std::strlen(translation);
    if (translation_length > 0 && translation[translation_length - 1] == '\\')
        translation[--translation_length] = '\0';

    *colon     = '\\';
    char* rest = colon[1] == '[' ? colon + 1 : colon;
    separate_levels(colon + 1);
    if (translation_length + std::strlen(rest) >= size - 1) return -1;
    std::snprintf(out, size, "%s%s", translation, rest);
    return 0;
}

int fport_setres(int on) { return std::exchange(resolution_switch, on != 0); }

char* fport_StripPath(const char* path, const char* directory) {
    const std::string_view prefix(directory);
    const bool ends_with_separator = !prefix.empty() && contains("/\\]:", prefix.back());
    return const_cast<char*>(path) + prefix.size() + (ends_with_separator ? 0 : 1);
}

int fport_StripExtension(char* name) {
    char* const dot = std::strrchr(name, '.');
    if (!dot) return -1;
    *dot = '\0';
    return 0;
}

int fport_MakeFullPath(const char* directory, const char* name, char* out, int out_size) {
    const std::size_t needed = std::strlen(directory) + std::strlen(name) + 2;
    if (out_size < 0 || needed > static_cast<std::size_t>(out_size)) {
        report("fport_MakeFullPah: string not long enough");  // sic: hosts match on this text
        if (out_size > 0) out[0] = '\0';
        return -1;
    }
    std::snprintf(out, needed, "%s\\%s", directory, name);
    return 0;
}
