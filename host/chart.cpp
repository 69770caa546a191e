#include "chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace host {
namespace {

// Pixels.
constexpr int kWidth = 800, kHeight = 600;
constexpr double kLeft = 80, kRight = 780, kTop = 40, kBottom = 545;
constexpr double kTickGap = 6, kTextHeight = 14, kLegendGap = 65;

constexpr int kMostIntervals   = 10;
constexpr double kLeastExtent  = 1e-7;  // of an axis, to its largest number: labels have 10 digits
constexpr double kRoundingSlop = 1e-6;  // of a tick

// One coordinate's way to pixels, with ticks at multiples of a round step.
class Axis {
public:
    Axis(std::pair<double, double> range, double from, double to) : from_(from), to_(to) {
        auto [low, high]     = range;
        const double largest = std::max(std::fabs(low), std::fabs(high));
        if (!(high - low > kLeastExtent * largest)) {
            const double margin = largest > 0 ? largest / 10 : 1;
            low -= margin;
            high += margin;
        }
        step_  = round_step((high - low) / kMostIntervals);
        first_ = std::floor(low / step_ + kRoundingSlop);
        last_  = std::ceil(high / step_ - kRoundingSlop);
    }

    double at(double value) const {
        return from_ + (value / step_ - first_) / (last_ - first_) * (to_ - from_);
    }
    int ticks() const { return static_cast<int>(last_ - first_) + 1; }
    double tick(int i) const { return (first_ + i) * step_; }

private:
    // The least of 1, 2, 5 and 10 times a power of ten that is not below.
    static double round_step(double least) {
        const double power = std::pow(10, std::floor(std::log10(least)));
        for (const double digit : {1.0, 2.0, 5.0})
            if (digit * power >= least * (1 - kRoundingSlop)) return digit * power;
        return 10 * power;
    }

    double from_, to_, step_, first_, last_;
};

std::pair<double, double> range_of(const PointList& list, const std::vector<Cubic>& chain,
                                   double Point::*coordinate) {
    std::pair range{list.points[0].*coordinate, list.points[0].*coordinate};
    const auto take = [&](Point p) {
        range.first  = std::min(range.first, p.*coordinate);
        range.second = std::max(range.second, p.*coordinate);
    };
    for (const Point p : list.points) take(p);
    for (const Cubic& cubic : chain)
        for (const Point p : cubic.control) take(p);
    return range;
}

std::string tick_text(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

}  // namespace

Chart draw_chart(const PointList& list, const std::vector<Cubic>& chain,
                 std::optional<double> bound) {
    const Axis x(range_of(list, chain, &Point::x), kLeft, kRight);
    const Axis y(range_of(list, chain, &Point::y), kBottom, kTop);
    const auto pixel = [&](Point p) { return Point{x.at(p.x), y.at(p.y)}; };

    Layer grid{.name = "grid", .colour = 0xdddddd};
    Layer axes{.name = "axes", .colour = 0x444444};
    for (int i = 0; i < x.ticks(); ++i) {
        const double at = x.at(x.tick(i));
        grid.lines.push_back({{at, kTop}, {at, kBottom}});
        axes.labels.push_back({{at, kBottom + kTickGap + kTextHeight}, 0.5, tick_text(x.tick(i))});
    }
    for (int i = 0; i < y.ticks(); ++i) {
        const double at = y.at(y.tick(i));
        grid.lines.push_back({{kLeft, at}, {kRight, at}});
        axes.labels.push_back({{kLeft - kTickGap, at + kTickGap / 2}, 1, tick_text(y.tick(i))});
    }
    axes.lines.push_back({{kLeft, kTop}, {kLeft, kBottom}, {kRight, kBottom}});
    axes.labels.push_back({{kLeft, kTop - kTextHeight}, 0, list.y_name});
    axes.labels.push_back({{kRight, kHeight - kTextHeight}, 1, list.x_name});

    Layer polygon{.name = "polygon", .colour = 0xd2691e, .dot_radius = 3, .is_dashed = true};
    Layer curve{.name = "curve", .colour = 0x1f6fb2, .line_width = 2};
    Layer points{.name = "points", .colour = 0x222222, .dot_radius = 2.5};
    Chart chart{{kWidth, kHeight, {}}, 0};
    for (const Cubic& cubic : chain) {
        ControlPoints control;
        std::transform(cubic.control.begin(), cubic.control.end(), control.begin(), pixel);
        polygon.lines.emplace_back(control.begin(), control.end());
        polygon.dots.insert(polygon.dots.end(), control.begin(), control.end());
        if (!bound) {
            curve.cubics.push_back(control);
            continue;
        }
        curve.lines.push_back(flatten(control, *bound));
        chart.sections += static_cast<int>(curve.lines.back().size()) - 1;
    }
    for (const Point p : list.points) points.dots.push_back(pixel(p));

    double right = kRight;
    for (Layer* const layer : {&curve, &polygon, &points}) {
        layer->labels.push_back({{right, kTop - kTextHeight}, 1, layer->name});
        right -= kLegendGap;
    }
    chart.picture.layers = {grid, axes, polygon, curve, points};
    return chart;
}

}  // namespace host
