// The same picture in pixels, by cairo.

#include "picture.h"

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <new>
#include <numbers>

namespace host {
namespace {

struct DestroyContext {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
struct DestroySurface {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Context = std::unique_ptr<cairo_t, DestroyContext>;
using Surface = std::unique_ptr<cairo_surface_t, DestroySurface>;

void set_colour(cairo_t* c, unsigned colour) {
    cairo_set_source_rgb(c, (colour >> 16 & 255) / 255.0, (colour >> 8 & 255) / 255.0,
                         (colour & 255) / 255.0);
}

void draw_label(cairo_t* c, const Label& label) {
    cairo_text_extents_t extents;
    cairo_text_extents(c, label.text.c_str(), &extents);
    cairo_move_to(c, label.at.x - label.align * extents.x_advance, label.at.y);
    cairo_text_path(c, label.text.c_str());
}

void draw_faces(cairo_t* c, const Layer& layer) {
    cairo_set_antialias(c, CAIRO_ANTIALIAS_NONE);
    for (const Face& face : layer.faces) {
        set_colour(c, face.colour);
        cairo_new_path(c);
        for (const Point p : face.corners) cairo_line_to(c, p.x, p.y);
        cairo_fill(c);
    }
    cairo_set_antialias(c, CAIRO_ANTIALIAS_DEFAULT);
}

// Fills the path, on a white rim where the layer wants one.
void fill(cairo_t* c, const Layer& layer) {
    if (layer.has_halo) {
        set_colour(c, 0xffffff);
        cairo_stroke_preserve(c);
        set_colour(c, layer.colour);
    }
    cairo_fill(c);
}

void draw_layer(cairo_t* c, const Layer& layer) {
    draw_faces(c, layer);
    set_colour(c, layer.colour);
    cairo_set_line_width(c, layer.line_width);
    cairo_set_dash(c, &kDashLength, layer.is_dashed, 0);
    for (const auto& line : layer.lines) {
        cairo_new_path(c);  // a text leaves a point behind
        for (const Point p : line) cairo_line_to(c, p.x, p.y);
        cairo_stroke(c);
    }
    for (const ControlPoints& p : layer.cubics) {
        cairo_move_to(c, p[0].x, p[0].y);
        cairo_curve_to(c, p[1].x, p[1].y, p[2].x, p[2].y, p[3].x, p[3].y);
        cairo_stroke(c);
    }
    cairo_set_line_width(c, halo_of_dots(layer));
    cairo_set_dash(c, nullptr, 0, 0);
    cairo_set_line_join(c, CAIRO_LINE_JOIN_ROUND);
    for (const Point p : layer.dots) {
        cairo_new_path(c);
        cairo_arc(c, p.x, p.y, layer.dot_radius, 0, 2 * std::numbers::pi);
        fill(c, layer);
    }
    cairo_set_line_width(c, kHaloWidth);
    for (const Label& label : layer.labels) {
        draw_label(c, label);
        fill(c, layer);
    }
    cairo_set_line_join(c, CAIRO_LINE_JOIN_MITER);
}

}  // namespace

void draw(const Picture& picture, PngWriter& png) {
    const Surface surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.width, picture.height));
    const Context context(cairo_create(surface.get()));
    cairo_t* const c = context.get();
    set_colour(c, 0xffffff);
    cairo_paint(c);
    cairo_select_font_face(c, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(c, kFontSize);
    for (const Layer& layer : picture.layers) draw_layer(c, layer);
    cairo_surface_flush(surface.get());
    if (cairo_status(c) != CAIRO_STATUS_SUCCESS) throw std::bad_alloc();

    const unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
    const int line_bytes              = cairo_image_surface_get_stride(surface.get());
    std::vector<unsigned char> rgb;
    for (int y = 0; y < picture.height; ++y) {
        const auto* const line = reinterpret_cast<const std::uint32_t*>(pixels + y * line_bytes);
        rgb.clear();
        for (int x = 0; x < picture.width; ++x)
            for (const int shift : {16, 8, 0})
                rgb.push_back(static_cast<unsigned char>(line[x] >> shift));
        png.write(rgb.data());
    }
}

}  // namespace host
