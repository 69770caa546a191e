// What the references of the scanline filters share.
#pragma once

#include <vector>

namespace movane_tests {

inline unsigned mixed(unsigned seed, int channel, int y, int x) {
    for (const int part : {channel, y, x}) {
        seed = (seed ^ static_cast<unsigned>(part)) * 0x9E3779B1U;
        seed ^= seed >> 15;
    }
    return seed;
}

/// A sample of an image of noise, made anew wherever it is looked at. With an odd seed samples lie
/// around the ends and the middle of the range only.
inline unsigned noise(unsigned seed, int channel, int y, int x) {
    constexpr unsigned kExtremes[] = {0, 127, 128, 255, 32767, 32768, 65535};
    const unsigned any             = mixed(seed, channel, y, x);
    return seed % 2 ? kExtremes[any % 7] : any;
}

template <class Sample>
struct Delivery {
    int call, channel;  // the line call within which it happened, from 0
    std::vector<Sample> line;
    bool operator==(const Delivery&) const = default;
};

}  // namespace movane_tests
