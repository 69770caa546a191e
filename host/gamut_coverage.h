// How much of a plane lies inside a hull, from few questions.
#pragma once

#include "gamut_plot.h"
#include "gamut_shape.h"

namespace host {

struct Coverage {
    double area;         // inside, in square units of CIELAB
    long calls, points;  // questions asked, points of the grid
};

/// Samples "inside the hull" over the part of a plane by the library's region quadtree.
Coverage measure_coverage(const GamutHull& hull, Section section, Range range);

}  // namespace host
