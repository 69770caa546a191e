// One line of an image on its way from the photo to the press.
#pragma once

#include <cstdint>
#include <vector>

namespace host {

/// Each stage of the way fills in what it makes. A photo of 8 bits a sample has its colours in
/// `rgb`; one of 16 bits has them in `deep` until they are brought to 8 bits.
struct Line {
    std::vector<std::uint16_t> deep;   // interleaved R, G, B
    std::vector<unsigned char> rgb;    // interleaved R, G, B
    std::vector<unsigned char> alpha;  // one byte per pixel, 0 is bare paper; empty when opaque
    std::vector<unsigned char> ink;    // interleaved C, M, Y, K; 255 is full ink
};

}  // namespace host
