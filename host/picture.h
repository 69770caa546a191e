// A line drawing, independent of the kind of file it ends up in.
#pragma once

#include "cubic_chain.h"
#include "png_writer.h"

#include <string>
#include <vector>

namespace host {

struct Label {
    Point at;      // on the base line of the text
    double align;  // the part of the text to the left of it: 0, 0.5 or 1
    std::string text;
};

/// A filled polygon. Its border is not smoothed, so that neighbours meet without a seam.
struct Face {
    std::vector<Point> corners;
    unsigned colour;  // 0xRRGGBB
};

/// What is drawn alike; coordinates are pixels, y pointing down.
struct Layer {
    std::string name;
    unsigned colour;  // 0xRRGGBB of lines, dots and text
    double line_width = 1, dot_radius = 0;
    bool is_dashed = false;
    bool has_halo  = false;  // a white rim around texts and dots, seen on any colour

    std::vector<Face> faces = {};  // below the lines

    std::vector<std::vector<Point>> lines = {};
    std::vector<ControlPoints> cubics     = {};
    std::vector<Point> dots               = {};
    std::vector<Label> labels             = {};
};

struct Picture {
    int width, height;
    std::vector<Layer> layers;  // from the bottom up, on white
};

constexpr double kFontSize   = 12;
constexpr double kDashLength = 4;
constexpr double kHaloWidth  = 3;

/// Of a rim; half of it is visible.
inline double halo_of_dots(const Layer& layer) {
    return layer.dot_radius < kHaloWidth ? layer.dot_radius : kHaloWidth;
}

/// The picture as the text of an SVG file.
std::string to_svg(const Picture& picture);

/// Draws the picture into a PNG file of its width and height.
void draw(const Picture& picture, PngWriter& png);

}  // namespace host
