#include "halftone.h"

#include <algorithm>

namespace host {
namespace {

constexpr unsigned levels_of(int bits) { return (1u << bits) - 1; }

// Where each ink's cell begins. With the same cells, dots of one ink would hide behind those of
// another and colours would be other than the profile foresees for dots that lie as it comes: brown
// would lose its cyan behind black. Of all ways to shift the cells these come nearest to that.
struct Shift {
    int x, y;
};
constexpr Shift kShifts[] = {{0, 0}, {1, 1}, {2, 0}, {3, 1}};

}  // namespace

Halftone::Halftone(int bits)
    : step_(static_cast<int>(255 / levels_of(bits))), dither_(make_dither(255, levels_of(bits))) {}

void Halftone::take(Line& line) {
    levels_.resize(line.ink.size());
    const auto pixels = static_cast<int>(line.ink.size() / 4);
    for (std::size_t c = 0; c < 4; ++c)
        rdither_line_b(dither_.get(), line.ink.data() + c, 4, levels_.data() + c, 4, kShifts[c].x,
                       y_ + kShifts[c].y, pixels);
    ++y_;
    std::transform(levels_.begin(), levels_.end(), line.ink.begin(), [this](unsigned char level) {
        return static_cast<unsigned char>(level * step_);
    });
    hand_on(line);
}

}  // namespace host
