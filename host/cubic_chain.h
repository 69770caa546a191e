// Cubic Bezier curves through sequences of points.
#pragma once

#include "point_list.h"

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace host {

using ControlPoints = std::array<Point, 4>;

/// Directions of the ends in any length; a direction and its reverse mean the same line.
struct Tangents {
    std::optional<Point> start, end;
};

/// A cubic and how well it meets its points, in units of the coordinates.
struct Cubic {
    ControlPoints control;
    std::size_t first, last;  // indices of the points where it starts and ends
    double rms, largest;      // of the distances of the points between these
};

/// Fits one cubic, or, where that misses a point by more than `error`, a chain of them.
///
/// A cubic that misses is split at the point farthest from it. Where the halves meet, both follow
/// one tangent: that of the parabola through the joint and its two neighbours. Only a joint where
/// the points turn straight back has none. Pieces of two points take arms of a third of their
/// length, so every error can be held.
///
/// @param tangents  hold for four points or more
/// @param error     in units of the coordinates; infinite for one cubic
std::vector<Cubic> fit_chain(std::span<const Point> points, const Tangents& tangents, double error);

/// Turns a cubic into a polyline that lies within `bound` of it.
std::vector<Point> flatten(const ControlPoints& control, double bound);

}  // namespace host
