// Drawings of a gamut.
#pragma once

#include "gamut_plot.h"
#include "gamut_shape.h"
#include "patch_file.h"
#include "picture.h"

namespace host {

struct Shown {
    const GamutShape& shape;
    const GamutShape* other;    // to compare with, or null
    const PatchFile* measured;  // or null

    /// A part of a plane that holds everything.
    Range range_of(PlaneType type) const;
};

/// The light side, seen from above.
Picture draw_top(const Shown& shown);

/// Six planes through the lightness axis: twelve hues, 30 degrees apart.
Picture draw_hues(const Shown& shown);

Picture draw_section(const Shown& shown, Section section);

}  // namespace host
