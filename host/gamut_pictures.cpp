#include "gamut_pictures.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace host {
namespace {

// Pixels.
constexpr double kLeft = 64, kTop = 58, kRight = 24, kBottom = 16;
constexpr double kFrame = 700, kPanel = 430, kPanelGap = 74;
constexpr double kLabelAway = 12, kLegendBelow = 58;

// Units of CIELAB.
constexpr double kMargin = 8, kNameRoom = 24, kDarkest = 0, kLightest = 105;
constexpr double kNear = 2;  // of a plane, where patches are shown with it

constexpr double kEdgeShown = 1.4;  // how far the umbrella's edge may widen a picture

constexpr int kPlanes    = 6;   // of the hues
constexpr int kRampSteps = 40;  // of a curve of tints

// The curves of one gamut.
struct Style {
    unsigned surface, hull;
    bool is_dashed;
};
constexpr Style kFirst = {0x1a1a1a, 0x1f6fb2, false}, kSecond = {0x8e2a8e, 0xd2691e, true};

Layer hull_layer(const char* name, const Style& style) {
    return {.name = name, .colour = style.hull, .line_width = 1.6, .is_dashed = style.is_dashed};
}
Layer surface_layer(const char* name, const Style& style) {
    return {.name = name, .colour = style.surface, .line_width = 2, .is_dashed = style.is_dashed};
}

// "top surface", or whose it is where there are two.
std::string text_of(const Shown& shown, const char* curve, const GamutShape& shape) {
    return shown.other ? std::string(curve) + " of " + shape.name() : curve;
}

// A turned umbrella has gaps, where its edge lies anywhere.
std::string edge_text(const Shown& shown) {
    const std::string text = text_of(shown, "umbrella edge", shown.shape);
    return shown.shape.axis() == 0 ? text + ", a tenth beyond the top surface" : text;
}

// Its height is told by the legend, which comes last.
Picture sheet(double right, const std::string& title) {
    Picture picture{static_cast<int>(std::lround(right + kRight)), 0, {}};
    Layer layer{.name = "title", .colour = 0x222222};
    layer.labels.push_back({{kLeft, 24}, 0, title});
    picture.layers.push_back(std::move(layer));
    return picture;
}

std::string title_of(const Shown& shown, const std::string& what) {
    std::string title = shown.shape.name();
    if (shown.other) title += " and " + shown.other->name();
    return title + ": " + what;
}

void append(Picture& picture, std::vector<Layer> layers) {
    for (Layer& layer : layers) picture.layers.push_back(std::move(layer));
}

// Below everything; it makes the picture as high as needed.
void append_legend(Picture& picture, const std::vector<LegendEntry>& entries, Point at,
                   double right) {
    Legend legend  = draw_legend(entries, at, right);
    picture.height = static_cast<int>(std::lround(legend.bottom + kBottom));
    append(picture, std::move(legend.layers));
}

template <class T>
void extend(std::vector<T>& to, const std::vector<T>& from) {
    to.insert(to.end(), from.begin(), from.end());
}

std::vector<Triangle> triangles_of(const GamutShape& shape) {
    std::vector<Triangle> all;
    for (const Combination& combination : shape.combinations()) extend(all, combination.triangles);
    return all;
}

// --- from above ----------------------------------------------------------------------------------

// The curve along which one ink grows from none to full while the others stay.
std::vector<Point> ramp(const GamutShape& shape, const Plot& plot, std::vector<double> device,
                        std::size_t channel) {
    std::vector<Point> points;
    for (int i = 0; i <= kRampSteps; ++i) {
        device[channel] = 1 - i / static_cast<double>(kRampSteps);
        points.push_back(plot.at(shape.model().colour_of(device.data())));
    }
    return points;
}

// The channels of a pair, and the device with both in full.
struct Pair {
    std::size_t first, second;
    std::vector<double> device;
};

std::optional<Pair> full_pair_of(const Combination& combination) {
    Pair pair{0, 0, combination.device};
    std::vector<std::size_t> channels;
    for (std::size_t c = 0; c < pair.device.size(); ++c) {
        if (pair.device[c] != -1) continue;
        channels.push_back(c);
        pair.device[c] = 0;
    }
    if (channels.size() != 2) return std::nullopt;
    pair.first  = channels[0];
    pair.second = channels[1];
    return pair;
}

// Seen from above, what is higher hides what is lower.
std::vector<Face> faces_from_above(const GamutShape& shape, const Plot& plot) {
    const auto axis                 = static_cast<std::size_t>(shape.axis());
    std::vector<Triangle> triangles = triangles_of(shape);
    const auto height = [axis](const Triangle& t) { return t[0][axis] + t[1][axis] + t[2][axis]; };
    std::stable_sort(triangles.begin(), triangles.end(),
                     [&](const Triangle& a, const Triangle& b) { return height(a) < height(b); });
    std::vector<Colour> means;
    for (const Triangle& t : triangles) {
        Colour mean;
        for (std::size_t k = 0; k < 3; ++k) mean[k] = (t[0][k] + t[1][k] + t[2][k]) / 3;
        means.push_back(mean);
    }
    const std::vector<unsigned> screen = to_screen(means);
    std::vector<Face> faces;
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        Face face{{}, screen[i]};
        for (const Colour& corner : triangles[i]) face.corners.push_back(plot.at(corner));
        faces.push_back(std::move(face));
    }
    return faces;
}

void add_rim(Layer& layer, const GamutShape& shape, const Plot& plot) {
    for (const Combination& combination : shape.combinations()) {
        const auto full = full_pair_of(combination);
        if (!full) continue;
        for (const std::size_t channel : {full->first, full->second})
            layer.lines.push_back(ramp(shape, plot, full->device, channel));
    }
}

std::vector<Point> outline_from_above(const GamutShape& shape, const Plot& plot) {
    std::vector<Point> corners;
    for (const Triangle& face : shape.hull().faces())
        for (const Colour& corner : face) corners.push_back(plot.at(corner));
    return Plot::outline(std::move(corners));
}

// A dot and its name, beside it on the side away from the paper.
void name_place(Layer& layer, Point at, Point paper, const std::string& name) {
    const double x = at.x - paper.x, y = at.y - paper.y, away = std::hypot(x, y);
    const double along = away > 0 ? x / away : 0, down = away > 0 ? y / away : 1;
    const double align = along > 0.35 ? 0 : along < -0.35 ? 1 : 0.5;
    layer.dots.push_back(at);
    layer.labels.push_back(
        {{at.x + kLabelAway * along, at.y + (kLabelAway + 4) * down + 4}, align, name});
}

// The curve of each ink alone, and the names of inks and of pairs in full.
void add_inks(Layer& tints, Layer& names, const GamutShape& shape, const Plot& plot) {
    const Point paper = plot.at(shape.paper());
    const std::vector<double> bare(shape.model().inks.size(), 1.0);
    for (const Primary& primary : shape.primaries()) {
        name_place(names, plot.at(primary.colour), paper,
                   primary.name + (primary.is_darkening ? " (darkening)" : ""));
        if (!primary.is_darkening) tints.lines.push_back(ramp(shape, plot, bare, primary.channel));
    }
    for (const Combination& combination : shape.combinations())
        if (const auto full = full_pair_of(combination))
            name_place(names, plot.at(shape.model().colour_of(full->device.data())), paper,
                       combination.inks[0] + " + " + combination.inks[1]);
}

// The umbrella's end at all hues, in the plane of the other two coordinates.
std::vector<std::vector<Point>> edge_lines(const GamutShape& shape, const Plot& plot) {
    std::vector<std::vector<Point>> lines;
    double before = -1000;
    for (const Edge& edge : shape.edge()) {
        if (edge.is_open) continue;
        if (edge.hue - before > GamutShape::kHueStep) lines.emplace_back();
        before = edge.hue;
        lines.back().push_back(plot.at(edge.colour));
    }
    if (lines.size() == 1 && lines[0].size() == 360 / GamutShape::kHueStep)
        lines[0].push_back(lines[0][0]);
    return lines;
}

// --- planes --------------------------------------------------------------------------------------

struct SectionLayers {
    Layer fill, hull, surface, other_hull, other_surface, edge, measured;
};

SectionLayers make_layers() {
    return {{.name = "colours", .colour = 0},
            hull_layer("convex hull", kFirst),
            surface_layer("top surface", kFirst),
            hull_layer("other convex hull", kSecond),
            surface_layer("other top surface", kSecond),
            {.name = "umbrella edge", .colour = 0x00805a, .dot_radius = 4, .has_halo = true},
            {.name = "measured", .colour = 0x333333, .dot_radius = 1.8, .has_halo = true}};
}

std::vector<Point> outline_in_plane(const GamutShape& shape, const Plot& plot) {
    std::vector<Point> points;
    for (const auto& [from, to] : plot.section().cut(shape.hull().faces())) {
        points.push_back(plot.at(from));
        points.push_back(plot.at(to));
    }
    return Plot::outline(std::move(points));
}

void draw_plane(const Shown& shown, const Plot& plot, SectionLayers& layers) {
    const std::vector<Point> ring = outline_in_plane(shown.shape, plot);
    extend(layers.fill.faces, plot.filled(ring));
    layers.hull.lines.push_back(ring);
    const auto surface = [&](const GamutShape& shape) {
        return plot.chained(plot.section().cut(triangles_of(shape)));
    };
    extend(layers.surface.lines, surface(shown.shape));
    if (shown.other) {
        layers.other_hull.lines.push_back(outline_in_plane(*shown.other, plot));
        extend(layers.other_surface.lines, surface(*shown.other));
    }
    const auto dot = [&](Layer& layer, const Colour& colour) {
        if (const Point at = plot.at(colour); plot.shows(at)) layer.dots.push_back(at);
    };
    if (plot.section().type == plane_type_hue && shown.shape.axis() == 0)
        for (const Edge& edge : shown.shape.edge())
            if (!edge.is_open && std::fmod(edge.hue, 180) == std::fmod(plot.section().value, 180))
                dot(layers.edge, edge.colour);
    if (shown.measured)
        for (const Patch& patch : shown.measured->patches)
            if (std::fabs(plot.section().side(patch.lab)) <= kNear) dot(layers.measured, patch.lab);
}

// Those that hold anything, with their names.
void append(Picture& picture, const Shown& shown, SectionLayers layers, Point legend_at,
            double right) {
    std::vector<LegendEntry> entries;
    const auto name = [&](const Layer& layer, const std::string& text) {
        if (!layer.lines.empty() || !layer.dots.empty()) entries.push_back({&layer, text});
    };
    name(layers.surface, text_of(shown, "top surface", shown.shape));
    name(layers.hull, text_of(shown, "convex hull", shown.shape));
    if (shown.other) {
        name(layers.other_surface, text_of(shown, "top surface", *shown.other));
        name(layers.other_hull, text_of(shown, "convex hull", *shown.other));
    }
    name(layers.edge, edge_text(shown));
    name(layers.measured, "measured, within 2 units of the plane");
    append(picture, {layers.measured, layers.hull, layers.other_hull, layers.surface,
                     layers.other_surface, layers.edge});
    append_legend(picture, entries, legend_at, right);
}

}  // namespace

Range Shown::range_of(PlaneType type) const {
    double widest = 0;
    for (const GamutShape* const gamut : {&shape, other}) {
        if (!gamut) continue;
        for (const Triangle& face : gamut->hull().faces())
            for (const Colour& c : face)
                widest = std::max(widest, type == plane_type_hue
                                              ? std::hypot(c[1], c[2])
                                              : std::max(std::fabs(c[1]), std::fabs(c[2])));
    }
    double farthest = 0;
    if (shape.axis() == 0)
        for (const Edge& edge : shape.edge())
            if (!edge.is_open) farthest = std::max(farthest, edge.chroma);
    widest = std::max(widest, std::min(farthest, kEdgeShown * widest)) + kMargin;
    if (type == plane_type_lightness) return {-widest, widest, -widest, widest};
    return {-widest, widest, kDarkest, kLightest};
}

Picture draw_top(const Shown& shown) {
    const GamutShape& shape = shown.shape;
    const auto type         = static_cast<PlaneType>(shape.axis());  // numbered alike
    Range range             = shown.range_of(type);
    if (type != plane_type_lightness) {  // no umbrella's edge makes room for names
        range.x_least -= kNameRoom;
        range.x_most += kNameRoom;
    }
    const Plot plot({type, 0}, range, kLeft, kTop, kFrame / (range.x_most - range.x_least));

    Layer pieces{.name = "pieces", .colour = 0};
    pieces.faces = faces_from_above(shape, plot);
    Layer tints{.name = "tints", .colour = 0x555555};
    Layer names{.name = "names", .colour = 0x222222, .dot_radius = 4, .has_halo = true};
    add_inks(tints, names, shape, plot);
    Layer rim = surface_layer("top surface", kFirst), hull = hull_layer("convex hull", kFirst);
    add_rim(rim, shape, plot);
    hull.lines.push_back(outline_from_above(shape, plot));
    Layer edge{.name = "umbrella edge", .colour = 0x00805a, .line_width = 1.4, .is_dashed = true};
    edge.lines       = plot.clipped(edge_lines(shape, plot));
    Layer other_rim  = surface_layer("other top surface", kSecond);
    Layer other_hull = hull_layer("other convex hull", kSecond);

    std::vector<LegendEntry> entries = {{&rim, text_of(shown, "top surface", shape)},
                                        {&hull, text_of(shown, "convex hull", shape)},
                                        {&tints, "tints of one ink"}};
    if (!edge.lines.empty()) entries.push_back({&edge, edge_text(shown)});
    if (shown.other) {
        add_rim(other_rim, *shown.other, plot);
        other_hull.lines.push_back(outline_from_above(*shown.other, plot));
        entries.push_back({&other_rim, text_of(shown, "top surface", *shown.other)});
        entries.push_back({&other_hull, text_of(shown, "convex hull", *shown.other)});
    }
    Picture picture = sheet(plot.right(), title_of(shown, "the light side, seen from above"));
    append(picture, {plot.grid(), pieces, plot.axes("")});
    append(picture, {tints, hull, edge, rim, other_hull, other_rim, names});
    append_legend(picture, entries, {kLeft, plot.bottom() + kLegendBelow}, plot.right());
    return picture;
}

Picture draw_hues(const Shown& shown) {
    const Range range    = shown.range_of(plane_type_hue);
    const double scale   = kPanel / (range.x_most - range.x_least);
    const double high    = scale * (range.y_most - range.y_least);
    SectionLayers layers = make_layers();
    std::vector<Layer> grids, axes;
    for (int i = 0; i < kPlanes; ++i) {
        const Plot plot({plane_type_hue, 180.0 / kPlanes * i}, range,
                        kLeft + (i % 2) * (kPanel + kPanelGap), kTop + (i / 2) * (high + kPanelGap),
                        scale);
        draw_plane(shown, plot, layers);
        grids.push_back(plot.grid());
        axes.push_back(plot.axes(plot.section().title()));
    }
    const double right = kLeft + 2 * kPanel + kPanelGap;
    const double below = kTop + kPlanes / 2 * (high + kPanelGap);
    Picture picture    = sheet(right, title_of(shown, "planes of constant hue"));
    append(picture, std::move(grids));
    picture.layers.push_back(layers.fill);
    append(picture, std::move(axes));
    append(picture, shown, std::move(layers), {kLeft, below - 8}, right);
    return picture;
}

Picture draw_section(const Shown& shown, Section section) {
    const Range range = shown.range_of(section.type);
    const Plot plot(section, range, kLeft, kTop, kFrame / (range.x_most - range.x_least));
    SectionLayers layers = make_layers();
    draw_plane(shown, plot, layers);
    Picture picture = sheet(plot.right(), title_of(shown, "section"));
    append(picture, {plot.grid(), layers.fill, plot.axes(section.title())});
    append(picture, shown, std::move(layers), {kLeft, plot.bottom() + kLegendBelow}, plot.right());
    return picture;
}

}  // namespace host
