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

/// What is drawn alike; coordinates are pixels, y pointing down.
struct Layer {
    const char* name;
    unsigned colour;  // 0xRRGGBB of lines, dots and text
    double line_width = 1, dot_radius = 0;
    bool is_dashed = false;

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

/// The picture as the text of an SVG file.
std::string to_svg(const Picture& picture);

/// Draws the picture into a PNG file of its width and height.
void draw(const Picture& picture, PngWriter& png);

}  // namespace host
