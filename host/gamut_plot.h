// A drawing over a plane of CIELAB: axes, ticks, curves and a legend that names them.
#pragma once

#include "colour.h"
#include "picture.h"

#include <movane/gamut.h>

#include <string>
#include <utility>
#include <vector>

namespace host {

using Segment = std::pair<Colour, Colour>;

/// A plane through CIELAB: L*, a*, b* or the hue is constant.
struct Section {
    PlaneType type;
    double value;  // degrees for a hue

    /// On which side of the plane a colour lies: its distance, with a sign.
    double side(const Colour& colour) const;

    /// Where the plane cuts triangles.
    std::vector<Segment> cut(const std::vector<Triangle>& triangles) const;

    std::string title() const;      // "L* = 50"
    std::string file_name() const;  // "L50"
};

/// The part of a plane that is shown.
struct Range {
    double x_least, x_most, y_least, y_most;
};

class Plot {
public:
    /// @param left,top,scale  of the frame on the picture, in pixels and pixels per unit
    Plot(Section section, Range range, double left, double top, double scale);

    double left() const { return left_; }
    double right() const { return left_ + width_; }
    double top() const { return top_; }
    double bottom() const { return top_ + height_; }

    /// The place of a colour on the picture, projected onto the plane.
    Point at(const Colour& colour) const;

    /// A colour that lies on the plane.
    Colour colour_at(double x, double y) const;

    /// What of lines lies within the frame.
    std::vector<std::vector<Point>> clipped(const std::vector<std::vector<Point>>& lines) const;

    bool shows(Point at) const {
        return at.x >= left() && at.x <= right() && at.y >= top() && at.y <= bottom();
    }

    /// Joins segments to lines.
    std::vector<std::vector<Point>> chained(const std::vector<Segment>& segments) const;

    /// The convex outline of points on the picture, closed.
    static std::vector<Point> outline(std::vector<Point> points);

    /// Fills an outline with the colours of the plane.
    std::vector<Face> filled(const std::vector<Point>& outline) const;

    Layer grid() const;
    Layer axes(const std::string& title) const;

    const Range& range() const { return range_; }
    const Section& section() const { return section_; }

private:
    Section section_;
    Range range_;
    double left_, top_, width_, height_;
    TPlane plane_;
};

/// How a layer is named below a picture.
struct LegendEntry {
    const Layer* layer;
    std::string text;
};

struct Legend {
    std::vector<Layer> layers;
    double bottom;
};

/// Names layers, from a place on to the right, in as many lines as needed.
Legend draw_legend(const std::vector<LegendEntry>& entries, Point at, double right);

}  // namespace host
