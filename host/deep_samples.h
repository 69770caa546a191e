// How deep samples are counted between the photo and the table.
//
// Resizing and sharpening work on 15 bits: the sums of the library's zoom are exact up to 32767
// only. The range ends at 128 times 255, so that a colour that 8 bits hold exactly is exact here,
// too: such a photo is separated alike whether it was saved with 8 or with 16 bits.
#pragma once

#include <cstdint>
#include <vector>

namespace host {

inline constexpr int kDeepStep = 128;              // from one 8-bit level to the next
inline constexpr int kDeepMax  = 255 * kDeepStep;  // white

// The dither that brings them to 8 bits has cells of 16 pixels, so 16 steps between two levels are
// what it can show. Finer ones would all lift its most sensitive pixel: one unit that a filter has
// truncated from white would put a dot into every cell of bare paper.
inline constexpr int kCellSteps = 16;
inline constexpr int kCellStep  = kDeepStep / kCellSteps;

/// Brings samples of 16 bits to 0 to kDeepMax, rounded.
inline void to_deep_range(std::vector<std::uint16_t>& samples) {
    for (std::uint16_t& sample : samples)
        sample = static_cast<std::uint16_t>((std::uint32_t{sample} * kDeepMax + 32767) / 65535);
}

}  // namespace host
