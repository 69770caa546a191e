#include "halftone.h"

#include <algorithm>

namespace host {
namespace {

constexpr unsigned levels_of(int bits) { return (1u << bits) - 1; }

}  // namespace

Halftone::Halftone(int bits)
    : step_(static_cast<int>(255 / levels_of(bits))), dither_(make_dither(255, levels_of(bits))) {}

void Halftone::take(Line& line) {
    levels_.resize(line.ink.size());
    const auto pixels = static_cast<int>(line.ink.size() / 4);
    for (std::size_t c = 0; c < 4; ++c)
        rdither_line_b(dither_.get(), line.ink.data() + c, 4, levels_.data() + c, 4, 0, y_, pixels);
    ++y_;
    std::transform(levels_.begin(), levels_.end(), line.ink.begin(), [this](unsigned char level) {
        return static_cast<unsigned char>(level * step_);
    });
    hand_on(line);
}

}  // namespace host
