// Floating-point numbers in files: the reverse of the order in which the processor keeps their
// bytes. A number in file order is never loaded as a number, which could change its bits.

#include "movane/services.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

// `from` and `to` may be the same.
template <std::size_t kSize>
void reverse(const void* from, void* to) {
    unsigned char bytes[kSize];
    std::memcpy(bytes, from, kSize);
    std::reverse(std::begin(bytes), std::end(bytes));
    std::memcpy(to, bytes, kSize);
}

}  // namespace

void ffltofl(const void* file_bytes, float* value) { reverse<sizeof(float)>(file_bytes, value); }

void fltoffl(const float* value, void* file_bytes) { reverse<sizeof(float)>(value, file_bytes); }

void fdbltodbl(const void* file_bytes, double* value) {
    reverse<sizeof(double)>(file_bytes, value);
}

void dbltofdbl(const double* value, void* file_bytes) {
    reverse<sizeof(double)>(value, file_bytes);
}
