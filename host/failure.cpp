#include "failure.h"

#include <algorithm>
#include <cstdio>

namespace host {

// One line, whatever a file name or a library has put into it.
int fail(std::string message, int code) {
    std::replace_if(
        message.begin(), message.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
    std::fprintf(stderr, "movane: %s\n", message.c_str());
    return code;
}

}  // namespace host
