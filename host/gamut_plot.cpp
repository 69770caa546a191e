#include "gamut_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <numbers>

namespace host {
namespace {

constexpr double kFine    = 10;  // positions of the plane per pixel: it rounds to whole ones
constexpr double kCell    = 6;   // pixels, of the colours that fill an outline
constexpr double kTickGap = 6, kTextHeight = 14;
constexpr double kLetter = 6.6;  // mean width of a letter
constexpr double kSample = 26, kSampleGap = 6, kEntryGap = 22, kLegendLine = 18;
constexpr double kDegree = std::numbers::pi / 180;
constexpr double kJoint  = 1e-3;  // pixels between ends that meet

double part_of(double from, double to) { return from / (from - to); }

Point between(Point p, Point q, double part) {
    return {p.x + part * (q.x - p.x), p.y + part * (q.y - p.y)};
}

// Twice the area of a triangle; positive when c lies to the left of the way from a to b.
double turn(Point a, Point b, Point c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// What of a polygon lies to the left of the way from a to b.
std::vector<Point> left_of(const std::vector<Point>& polygon, Point a, Point b) {
    std::vector<Point> kept;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Point p = polygon[i], q = polygon[(i + 1) % polygon.size()];
        const double from = turn(a, b, p), to = turn(a, b, q);
        if (from >= 0) kept.push_back(p);
        if ((from < 0) != (to < 0)) kept.push_back(between(p, q, part_of(from, to)));
    }
    return kept;
}

std::string number_text(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

}  // namespace

double Section::side(const Colour& c) const {
    if (type != plane_type_hue) return c[static_cast<std::size_t>(type)] - value;
    return c[2] * std::cos(value * kDegree) - c[1] * std::sin(value * kDegree);
}

std::vector<Segment> Section::cut(const std::vector<Triangle>& triangles) const {
    std::vector<Segment> segments;
    for (const Triangle& triangle : triangles) {
        Colour ends[3];
        std::size_t count = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const Colour &p = triangle[i], &q = triangle[(i + 1) % 3];
            const double from = side(p), to = side(q);
            if ((from < 0) == (to < 0)) continue;
            for (std::size_t k = 0; k < 3; ++k)
                ends[count][k] = p[k] + part_of(from, to) * (q[k] - p[k]);
            ++count;
        }
        if (count == 2) segments.emplace_back(ends[0], ends[1]);
    }
    return segments;
}

std::string Section::title() const {
    if (type == plane_type_hue)
        return "hue " + number_text(value) + "\u00b0, and " +
               number_text(std::fmod(value + 180, 360)) + "\u00b0 to the left";
    constexpr const char* kNames[] = {"L* = ", "a* = ", "b* = "};
    return kNames[type] + number_text(value);
}

std::string Section::file_name() const {
    constexpr const char* kNames[] = {"L", "a", "b", "hue"};
    return kNames[type] + number_text(value);
}

Plot::Plot(Section section, Range range, double left, double top, double scale)
    : section_(section),
      range_(range),
      left_(left),
      top_(top),
      width_(scale * (range.x_most - range.x_least)),
      height_(scale * (range.y_most - range.y_least)),
      plane_(static_cast<int>(std::lround(kFine * width_)) + 1,
             static_cast<int>(std::lround(kFine * height_)) + 1, section.type, section.value,
             range.x_least, range.x_most, range.y_least, range.y_most) {}

Point Plot::at(const Colour& colour) const {
    int column, row;
    plane_.GetXY(colour.data(), &column, &row, true);
    return {left_ + column / kFine, top_ + row / kFine};
}

Colour Plot::colour_at(double x, double y) const {
    Colour colour{};
    plane_.GetLab(static_cast<int>(std::lround(kFine * (x - left_))),
                  static_cast<int>(std::lround(kFine * (y - top_))), colour.data(), false);
    return colour;
}

std::vector<std::vector<Point>> Plot::clipped(const std::vector<std::vector<Point>>& lines) const {
    std::vector<std::vector<Point>> kept;
    for (const std::vector<Point>& line : lines) {
        bool is_joined = false;  // to the line that is being kept
        for (std::size_t i = 0; i + 1 < line.size(); ++i) {
            const Point p = line[i], q = line[i + 1];
            double from = 0, to = 1;                            // of the way from p to q
            const auto limit = [&](double start, double end) {  // at least 0
                const double part = start == end ? 0 : part_of(start, end);
                if (start < 0 && end < 0) to = -1;
                if (start < 0 && end >= 0) from = std::max(from, part);
                if (start >= 0 && end < 0) to = std::min(to, part);
            };
            limit(p.x - left(), q.x - left());
            limit(right() - p.x, right() - q.x);
            limit(p.y - top(), q.y - top());
            limit(bottom() - p.y, bottom() - q.y);
            if (from >= to) {
                is_joined = false;
                continue;
            }
            if (!is_joined || from > 0) kept.push_back({between(p, q, from)});
            kept.back().push_back(between(p, q, to));
            is_joined = to == 1;
        }
    }
    return kept;
}

// Segments become lines by their common ends; a crossing of more than two starts anew.
std::vector<std::vector<Point>> Plot::chained(const std::vector<Segment>& segments) const {
    using Key      = std::pair<long long, long long>;
    const auto key = [](Point p) {
        return Key{std::llround(p.x / kJoint), std::llround(p.y / kJoint)};
    };
    std::multimap<Key, std::size_t> ends;
    std::vector<std::pair<Point, Point>> lines;
    for (const auto& [from, to] : segments) {
        const Point p = at(from), q = at(to);
        if (key(p) == key(q)) continue;
        ends.emplace(key(p), lines.size());
        ends.emplace(key(q), lines.size());
        lines.emplace_back(p, q);
    }
    std::vector<bool> is_used(lines.size());
    const auto grow = [&](std::vector<Point>& chain) {
        for (bool has_grown = true; has_grown;) {
            has_grown               = false;
            const auto [begin, end] = ends.equal_range(key(chain.back()));
            for (auto it = begin; it != end && !has_grown; ++it) {
                if (is_used[it->second]) continue;
                const auto& [p, q]  = lines[it->second];
                is_used[it->second] = has_grown = true;
                chain.push_back(key(p) == key(chain.back()) ? q : p);
            }
        }
    };
    std::vector<std::vector<Point>> chains;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (is_used[i]) continue;
        is_used[i]               = true;
        std::vector<Point> chain = {lines[i].first, lines[i].second};
        grow(chain);
        std::reverse(chain.begin(), chain.end());
        grow(chain);
        chains.push_back(std::move(chain));
    }
    return chains;
}

std::vector<Point> Plot::outline(std::vector<Point> points) {
    const auto less = [](Point p, Point q) { return p.x != q.x ? p.x < q.x : p.y < q.y; };
    std::sort(points.begin(), points.end(), less);
    std::vector<Point> ring;
    for (int half = 0; half < 2; ++half) {
        const std::size_t base = ring.size();
        for (const Point p : points) {
            while (ring.size() >= base + 2 && turn(ring[ring.size() - 2], ring.back(), p) <= 0)
                ring.pop_back();
            ring.push_back(p);
        }
        std::reverse(points.begin(), points.end());
        if (half == 0 && !ring.empty()) ring.pop_back();
    }
    return ring;  // its last point is the first
}

std::vector<Face> Plot::filled(const std::vector<Point>& ring) const {
    if (ring.size() < 4) return {};
    std::vector<Face> faces;
    std::vector<Colour> colours;
    for (double y = top_; y < bottom(); y += kCell) {
        for (double x = left_; x < right(); x += kCell) {
            const double x_end      = std::min(x + kCell, right()),
                         y_end      = std::min(y + kCell, bottom());
            std::vector<Point> cell = {{x, y}, {x_end, y}, {x_end, y_end}, {x, y_end}};
            for (std::size_t i = 0; i + 1 < ring.size() && !cell.empty(); ++i)
                cell = left_of(cell, ring[i], ring[i + 1]);
            if (cell.size() < 3) continue;
            faces.push_back({std::move(cell), 0});
            colours.push_back(colour_at((x + x_end) / 2, (y + y_end) / 2));
        }
    }
    const std::vector<unsigned> screen = to_screen(colours);
    for (std::size_t i = 0; i < faces.size(); ++i) faces[i].colour = screen[i];
    return faces;
}

Layer Plot::grid() const {
    Layer layer{.name = "grid", .colour = 0xe4e4e4};
    int count, marker;
    const int* tick = plane_.GetXGridPoints(&count, &marker);
    for (int i = 0; i < count; ++i) {
        const double x = left_ + tick[i] / kFine;
        if (x >= left_ && x <= right()) layer.lines.push_back({{x, top_}, {x, bottom()}});
    }
    tick = plane_.GetYGridPoints(&count, &marker);  // upward from the least
    for (int i = 0; i < count; ++i) {
        const double y = bottom() - tick[i] / kFine;
        if (y >= top_ && y <= bottom()) layer.lines.push_back({{left_, y}, {right(), y}});
    }
    return layer;
}

Layer Plot::axes(const std::string& title) const {
    const bool is_flat              = section_.type == plane_type_lightness;
    constexpr const char* kXNames[] = {"a*", "b*", "a*", "C*"};
    Layer layer{.name = "axes", .colour = 0x444444};
    layer.lines.push_back(
        {{left_, top_}, {right(), top_}, {right(), bottom()}, {left_, bottom()}, {left_, top_}});
    int count, marker;
    const int* tick = plane_.GetXGridPoints(&count, &marker);
    for (int i = 0; i < count; ++i) {
        const double x = left_ + tick[i] / kFine;
        if (x < left_ || x > right()) continue;
        const double value = 25 * (i - 5);
        layer.labels.push_back(
            {{x, bottom() + kTickGap + kTextHeight - 4},
             0.5,
             number_text(section_.type == plane_type_hue ? std::fabs(value) : value)});
        if (i == marker) layer.lines.push_back({{x, top_}, {x, bottom()}});
    }
    tick = plane_.GetYGridPoints(&count, &marker);
    for (int i = 0; i < count; ++i) {
        const double y = bottom() - tick[i] / kFine;
        if (y < top_ || y > bottom()) continue;
        if (is_flat || i % 2 == 0)
            layer.labels.push_back(
                {{left_ - kTickGap, y + 4}, 1, number_text(is_flat ? 25 * (i - 5) : 10 * i)});
        if (i == marker) layer.lines.push_back({{left_, y}, {right(), y}});
    }
    layer.labels.push_back({{left_, top_ - 8}, 0, title});
    layer.labels.push_back({{right(), bottom() + 2 * kTextHeight + 3}, 1, kXNames[section_.type]});
    layer.labels.push_back({{left_ - 40, top_ + 4}, 0.5, is_flat ? "b*" : "L*"});
    return layer;
}

Legend draw_legend(const std::vector<LegendEntry>& entries, Point at, double right) {
    std::vector<Layer> layers;
    const double left = at.x;
    for (const auto& [shown, text] : entries) {
        const double width = kSample + kSampleGap + kLetter * static_cast<double>(text.size());
        if (at.x > left && at.x + width > right) at = {left, at.y + kLegendLine};
        Layer sample = *shown;
        sample.name += ", in the legend";
        sample.faces.clear();
        sample.cubics.clear();
        const bool is_line = !sample.lines.empty();
        sample.lines.clear();
        sample.dots.clear();
        if (is_line) sample.lines.push_back({{at.x, at.y - 4}, {at.x + kSample, at.y - 4}});
        if (sample.dot_radius > 0) sample.dots.push_back({at.x + kSample / 2, at.y - 4});
        sample.labels = {};
        Layer name{.name = sample.name + ", named", .colour = 0x222222};
        name.labels.push_back({{at.x + kSample + kSampleGap, at.y}, 0, text});
        layers.push_back(std::move(sample));
        layers.push_back(std::move(name));
        at.x += width + kEntryGap;
    }
    return {std::move(layers), at.y};
}

}  // namespace host
