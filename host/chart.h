// Points and the curve through them, on axes.
#pragma once

#include "cubic_chain.h"
#include "picture.h"
#include "point_list.h"

#include <optional>
#include <vector>

namespace host {

struct Chart {
    Picture picture;
    int sections = 0;  // of the polylines that stand for the cubics
};

/// Draws the points, the control polygons and the cubics to scales of their own in x and y.
///
/// @param bound  draws the cubics as polylines at most so many pixels away from them
Chart draw_chart(const PointList& list, const std::vector<Cubic>& chain,
                 std::optional<double> bound);

}  // namespace host
