// Colours in CIELAB, and what they look like on a screen.
#pragma once

#include <array>
#include <span>
#include <vector>

namespace host {

using Colour   = std::array<double, 3>;  // L*, a*, b*
using Triangle = std::array<Colour, 3>;

/// The nearest sRGB colours as 0xRRGGBB, white being L* 100.
std::vector<unsigned> to_screen(std::span<const Colour> colours);

}  // namespace host
