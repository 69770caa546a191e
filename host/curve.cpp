// movane curve: measured points become a Bezier curve, in numbers and as a picture.

#include "atomic_output.h"
#include "chart.h"
#include "cubic_chain.h"
#include "failure.h"
#include "picture.h"
#include "png_writer.h"
#include "point_list.h"
#include "subcommands.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>

namespace host {
namespace {

constexpr double kSmallestBound = 0.001, kLargestBound = 100;  // pixels
constexpr std::size_t kFewestTangented = 4;                    // points

struct Options {
    std::string points, output, png;
    std::vector<std::string> tangents;
    std::optional<double> bound, error;
};

Tangents parse_tangents(const std::vector<std::string>& words) {
    Tangents tangents;
    for (const std::string& word : words) {
        std::string_view text = word;
        const bool is_start   = text.starts_with("start=");
        auto& tangent         = is_start ? tangents.start : tangents.end;
        Point direction       = {0, 0};
        text.remove_prefix(std::min(text.size(), text.find('=') + 1));
        bool is_read = (is_start || word.starts_with("end=")) && !tangent;
        is_read      = is_read && take_number(text, direction.x) && text.starts_with(',');
        if (is_read) text.remove_prefix(1);
        is_read = is_read && take_number(text, direction.y) && text.empty();
        if (!is_read || (direction.x == 0 && direction.y == 0))
            throw UsageError("--tangents: " + word +
                             " is not start=DX,DY or end=DX,DY, once each "
                             "and not 0,0");
        tangent = direction;
    }
    return tangents;
}

void check(const Options& options) {
    if (options.error && !(*options.error >= 0))
        throw UsageError("--error: is to be 0 or more, in units of the coordinates");
    if (options.bound && !(*options.bound >= kSmallestBound && *options.bound <= kLargestBound))
        throw UsageError("--bound: is to be 0.001 to 100 pixels");
    for (const std::string& output : {options.output, options.png})
        if (!output.empty()) refuse_overwriting(output, options.points);
    if (!options.png.empty()) refuse_overwriting(options.png, options.output);
}

// The error of all cubics together.
Cubic total_of(const std::vector<Cubic>& chain) {
    double squares = 0, points = 0;
    Cubic total{{}, 0, chain.back().last, 0, 0};
    for (const Cubic& cubic : chain) {
        const auto inner = static_cast<double>(cubic.last - cubic.first - 1);
        squares += inner * cubic.rms * cubic.rms;
        points += inner;
        total.largest = std::max(total.largest, cubic.largest);
    }
    if (points > 0) total.rms = std::sqrt(squares / points);
    return total;
}

void print(const Options& options, const PointList& list, const std::vector<Cubic>& chain,
           const Chart& chart) {
    std::printf("%s -> %s\n", options.points.c_str(), options.output.c_str());
    if (!options.png.empty()) std::printf("  preview  %s\n", options.png.c_str());
    std::printf("  points   %zu\n", list.points.size());
    std::printf("  cubics   %zu", chain.size());
    if (options.bound)
        std::printf(", drawn as %d sections within %g pixels", chart.sections, *options.bound);
    const Cubic total = total_of(chain);
    std::printf("\n  error    root mean square %.6g, maximum %.6g", total.rms, total.largest);
    if (options.error) std::printf(" (limit %g)", *options.error);
    std::printf("\n");
    std::size_t number = 0;
    for (const Cubic& cubic : chain) {
        std::printf("  cubic %zu  points %zu to %zu, root mean square %.6g, maximum %.6g\n",
                    ++number, cubic.first + 1, cubic.last + 1, cubic.rms, cubic.largest);
        for (const Point p : cubic.control) std::printf("    %.10g %.10g\n", p.x, p.y);
    }
}

int run(const Options& options, const Tangents& tangents) {
    const PointList list = read_points(options.points);
    if ((tangents.start || tangents.end) && list.points.size() < kFewestTangented)
        throw Failure(options.points, "has too few points for tangents",
                      "give four at least or leave --tangents out");
    AtomicOutput svg(options.output);
    const double error = options.error.value_or(std::numeric_limits<double>::infinity());
    const std::vector<Cubic> chain = fit_chain(list.points, tangents, error);
    const Chart chart              = draw_chart(list, chain, options.bound);
    svg.write(to_svg(chart.picture));
    if (!options.png.empty()) {
        ImageInfo measures;
        measures.width  = chart.picture.width;
        measures.height = chart.picture.height;
        PngWriter png(options.png, measures);
        draw(chart.picture, png);
        png.complete();
        png.commit();
    }
    svg.commit();  // last: where the SVG is, all is
    print(options, list, chain, chart);
    return kDone;
}

}  // namespace

Action add_curve(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("POINTS", options->points,
                   "text file, one pair of numbers per line with a blank, tab, comma or semicolon "
                   "between; \"#\" starts a comment, a first line may name the columns")
        ->required();
    app.add_option("-o,--output", options->output, "SVG to write: points, polygon and curve")
        ->required();
    app.add_option("--png", options->png, "the same picture as a PNG to write");
    app.add_option("--tangents", options->tangents,
                   "directions of the curve at its ends, start=DX,DY or end=DX,DY or both; their "
                   "lengths and senses do not matter")
        ->expected(1, 2);
    app.add_option("--error", options->error,
                   "largest distance of a point from the curve, in units of the coordinates; "
                   "where one cubic misses by more, it is split at its farthest point, and both "
                   "halves follow the tangent there of the parabola through that point and its "
                   "neighbours");
    app.add_option("--bound", options->bound,
                   "draws the curve as straight sections at most so many pixels away from it "
                   "(0.001 to 100)");
    return [options] {
        const Tangents tangents = parse_tangents(options->tangents);
        check(*options);
        return run(*options, tangents);
    };
}

}  // namespace host
