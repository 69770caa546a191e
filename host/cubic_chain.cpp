#include "cubic_chain.h"

#include <movane/numerics.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>

namespace host {
namespace {

constexpr int kSearchSections = 64;  // of the polyline that stands for a cubic in a search

Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
Point operator*(double s, Point a) { return {s * a.x, s * a.y}; }
double dot(Point a, Point b) { return a.x * b.x + a.y * b.y; }
double length(Point a) { return std::hypot(a.x, a.y); }

std::optional<Point> direction_of(Point a) {
    const double l = length(a);
    if (l > 0) return 1 / l * a;
    return std::nullopt;
}

// --- the library's curves ---------------------------------------------------------------------

struct KillBezier {
    void operator()(Bezier* b) const { bezier_kill(b); }
};
using Curve = std::unique_ptr<Bezier, KillBezier>;

Curve make_curve() {
    Curve curve(bezier_new(3, 0, 0, 0, 0));
    if (!curve) throw std::bad_alloc();
    return curve;
}

Curve make_curve(const ControlPoints& control) {
    Curve curve = make_curve();
    double x[4], y[4];
    for (std::size_t i = 0; i < 4; ++i) {
        x[i] = control[i].x;
        y[i] = control[i].y;
    }
    bezier_set_control_poly(curve.get(), x, y);
    return curve;
}

ControlPoints control_points(const Curve& curve) {
    double x[4], y[4];
    bezier_get_control_poly(curve.get(), x, y);
    return {Point{x[0], y[0]}, Point{x[1], y[1]}, Point{x[2], y[2]}, Point{x[3], y[3]}};
}

// --- one piece --------------------------------------------------------------------------------

struct Piece {
    std::size_t first, last;
    std::optional<Point> start, end;  // tangents of length 1
};

Cubic fit_least_squares(std::span<const Point> points, const Piece& piece) {
    const std::span<const Point> own = points.subspan(piece.first, piece.last - piece.first + 1);
    std::vector<double> x, y;
    for (const Point p : own) {
        x.push_back(p.x);
        y.push_back(p.y);
    }
    const Point start = piece.start.value_or(Point{0, 0}), end = piece.end.value_or(Point{0, 0});
    const Curve curve = make_curve();
    Cubic cubic{{}, piece.first, piece.last, 0, 0};
    if (!bezier_fit(curve.get(), static_cast<int>(own.size()), x.data(), y.data(),
                    piece.start.has_value(), start.x, start.y, piece.end.has_value(), end.x, end.y,
                    &cubic.rms, &cubic.largest, 0))
        throw std::bad_alloc();
    cubic.control = control_points(curve);
    return cubic;
}

Cubic join_two_points(std::span<const Point> points, const Piece& piece) {
    const Point from = points[piece.first], to = points[piece.last], chord = to - from;
    const double arm = length(chord) / 3;
    // A joint's tangent has a sense; that of the chain's ends follows the points.
    const auto along = [&](const std::optional<Point>& tangent, bool is_joint) {
        if (!tangent) return 1.0 / 3 * chord;
        return (is_joint || dot(*tangent, chord) >= 0 ? arm : -arm) * *tangent;
    };
    const Point inner1 = from + along(piece.start, piece.first > 0);
    const Point inner2 = to - along(piece.end, piece.last + 1 < points.size());
    return {{from, inner1, inner2, to}, piece.first, piece.last, 0, 0};
}

// --- splitting --------------------------------------------------------------------------------

// Least squares may lay an inner control point behind its end: there the chain would turn back.
bool runs_on_at_joints(const Cubic& cubic, const Piece& piece, std::size_t points) {
    const auto& c          = cubic.control;
    const bool start_joint = piece.first > 0 && piece.start;
    const bool end_joint   = piece.last + 1 < points && piece.end;
    return !(start_joint && !(dot(c[1] - c[0], *piece.start) > 0)) &&
           !(end_joint && !(dot(c[3] - c[2], *piece.end) > 0));
}

double distance_to_section(Point p, Point from, Point to) {
    const Point section = to - from;
    const double square = dot(section, section);
    const double t      = square > 0 ? std::clamp(dot(p - from, section) / square, 0.0, 1.0) : 0.0;
    return length(p - (from + t * section));
}

std::size_t farthest_inner_point(std::span<const Point> points, const Cubic& cubic) {
    Point curve[kSearchSections + 1];
    bezier_vector_fd(make_curve(cubic.control).get(), curve, kSearchSections, sizeof(Point));
    std::size_t farthest = cubic.first + 1;
    double largest       = -1;
    for (std::size_t i = cubic.first + 1; i < cubic.last; ++i) {
        double distance = distance_to_section(points[i], curve[0], curve[1]);
        for (int k = 1; k < kSearchSections; ++k)
            distance = std::min(distance, distance_to_section(points[i], curve[k], curve[k + 1]));
        if (distance <= largest) continue;
        largest  = distance;
        farthest = i;
    }
    return farthest;
}

// The tangent at the joint of the parabola through it and its neighbours, repeated points left
// out; its parameter is the length of the chords.
std::optional<Point> joint_tangent(std::span<const Point> points, std::size_t joint) {
    std::size_t before = joint, behind = joint;
    const auto repeats = [&](std::size_t i) { return length(points[i] - points[joint]) == 0; };
    while (before > 0 && repeats(before)) --before;
    while (behind + 1 < points.size() && repeats(behind)) ++behind;
    const auto arriving = direction_of(points[joint] - points[before]);
    const auto leaving  = direction_of(points[behind] - points[joint]);
    if (!arriving || !leaving) return arriving ? arriving : leaving;
    const double length_before = length(points[joint] - points[before]);
    const double length_behind = length(points[behind] - points[joint]);
    const double share         = length_behind / (length_before + length_behind);
    return direction_of(share * *arriving + (1 - share) * *leaving);
}

}  // namespace

std::vector<Cubic> fit_chain(std::span<const Point> points, const Tangents& tangents,
                             double error) {
    std::vector<Cubic> chain;
    const auto unit = [](const std::optional<Point>& t) { return t ? direction_of(*t) : t; };
    std::vector<Piece> waiting{{0, points.size() - 1, unit(tangents.start), unit(tangents.end)}};
    while (!waiting.empty()) {
        const Piece piece = waiting.back();
        waiting.pop_back();
        const std::size_t sections = piece.last - piece.first;
        const bool has_tangent     = piece.start || piece.end;
        if (sections == 1 && has_tangent) {
            chain.push_back(join_two_points(points, piece));
            continue;
        }
        std::size_t joint = piece.first + 1;
        if (sections != 2 || !has_tangent) {  // the library fits three points without tangents
            const Cubic cubic  = fit_least_squares(points, piece);
            const bool is_held = cubic.largest <= error;
            if (sections == 1 || (is_held && runs_on_at_joints(cubic, piece, points.size()))) {
                chain.push_back(cubic);
                continue;
            }
            joint = farthest_inner_point(points, cubic);
        }
        const std::optional<Point> tangent = joint_tangent(points, joint);
        waiting.push_back({joint, piece.last, tangent, piece.end});
        waiting.push_back({piece.first, joint, piece.start, tangent});
    }
    return chain;
}

std::vector<Point> flatten(const ControlPoints& control, double bound) {
    double* raw        = nullptr;
    const int sections = bezier_fvector(make_curve(control).get(), bound, &raw);
    const std::unique_ptr<double, decltype(&std::free)> owner(raw, &std::free);
    if (!raw) throw std::bad_alloc();
    std::vector<Point> points;
    for (int i = 0; i <= sections; ++i) points.push_back({raw[2 * i], raw[2 * i + 1]});
    return points;
}

}  // namespace host
