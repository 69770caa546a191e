// A layer becomes a group with its attributes, so that an editor can change them in one place.

#include "picture.h"

#include <cstdarg>
#include <cstdio>

namespace host {
namespace {

#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
void append(std::string& text, const char* format, ...) {
    char piece[400];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(piece, sizeof piece, format, arguments);
    va_end(arguments);
    text += piece;
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '<')
            result += "&lt;";
        else
            result += c;
    }
    return result;
}

void append_line(std::string& svg, const std::vector<Point>& line) {
    const char* before = "<polyline points=\"";
    for (const Point p : line) {
        append(svg, "%s%.6g,%.6g", before, p.x, p.y);
        before = " ";
    }
    svg += "\"/>\n";
}

// All in one group, since there are thousands.
void append_faces(std::string& svg, const Layer& layer) {
    append(svg, "<g id=\"%s, filled\" shape-rendering=\"crispEdges\">\n", layer.name.c_str());
    for (const Face& face : layer.faces) {
        append(svg, "<path fill=\"#%06x\" d=\"", face.colour);
        char command = 'M';
        for (const Point p : face.corners) {
            append(svg, "%c%.5g,%.5g", command, p.x, p.y);
            command = 'L';
        }
        svg += "z\"/>\n";
    }
    svg += "</g>\n";
}

void append_layer(std::string& svg, const Layer& layer) {
    if (!layer.faces.empty()) append_faces(svg, layer);
    append(svg, "<g id=\"%s\" fill=\"none\" stroke=\"#%06x\" stroke-width=\"%g\"",
           layer.name.c_str(), layer.colour, layer.line_width);
    if (layer.is_dashed) append(svg, " stroke-dasharray=\"%g\"", kDashLength);
    svg += ">\n";
    for (const auto& line : layer.lines) append_line(svg, line);
    for (const ControlPoints& c : layer.cubics)
        append(svg, "<path d=\"M%.6g,%.6g C%.6g,%.6g %.6g,%.6g %.6g,%.6g\"/>\n", c[0].x, c[0].y,
               c[1].x, c[1].y, c[2].x, c[2].y, c[3].x, c[3].y);
    svg += "</g>\n";

    append(svg, "<g fill=\"#%06x\"", layer.colour);
    if (layer.has_halo)
        append(svg, " stroke=\"#ffffff\" stroke-width=\"%g\" paint-order=\"stroke\"", kHaloWidth);
    svg += ">\n";
    for (const Point p : layer.dots) {
        append(svg, "<circle cx=\"%.6g\" cy=\"%.6g\" r=\"%g\"", p.x, p.y, layer.dot_radius);
        if (layer.has_halo) append(svg, " stroke-width=\"%g\"", halo_of_dots(layer));
        svg += "/>\n";
    }
    for (const Label& label : layer.labels) {
        const char* const anchor = label.align == 0 ? "start" : label.align == 1 ? "end" : "middle";
        append(svg, "<text x=\"%.6g\" y=\"%.6g\" text-anchor=\"%s\">", label.at.x, label.at.y,
               anchor);
        svg += escaped(label.text) + "</text>\n";
    }
    svg += "</g>\n";
}

}  // namespace

std::string to_svg(const Picture& picture) {
    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    append(svg,
           "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" "
           "viewBox=\"0 0 %d %d\" font-family=\"sans-serif\" font-size=\"%g\">\n",
           picture.width, picture.height, picture.width, picture.height, kFontSize);
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    for (const Layer& layer : picture.layers) append_layer(svg, layer);
    return svg + "</svg>\n";
}

}  // namespace host
