#include "depth_reducer.h"

#include "deep_samples.h"

#include <algorithm>
#include <new>

namespace host {
Dither make_dither(unsigned in_max, unsigned out_max) {
    Dither dither(rdither_new(in_max, out_max));
    if (!dither) throw std::bad_alloc();
    return dither;
}

DepthReducer::DepthReducer() : dither_(make_dither(255 * kCellSteps, 255)) {}

void DepthReducer::take(Line& line) {
    levels_.resize(line.deep.size());
    std::transform(line.deep.begin(), line.deep.end(), levels_.begin(), [](std::uint16_t sample) {
        return static_cast<std::uint16_t>((sample + kCellStep / 2) / kCellStep);
    });
    line.rgb.resize(line.deep.size());
    const auto pixels = static_cast<int>(line.rgb.size() / 3);
    for (std::size_t c = 0; c < 3; ++c)
        rdither_line(dither_.get(), levels_.data() + c, 3, line.rgb.data() + c, 3, 0, y_, pixels);
    ++y_;
    hand_on(line);
}

}  // namespace host
