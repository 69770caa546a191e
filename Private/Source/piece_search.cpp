// What a piece of the top surface answers along the ray of a hue.
//
// Searches probe the sheet at radii of the ray. Where a probe falls through a hole of the sheet the
// stretches of the ray on its triangles tell what there is: they are straight, so that angle and
// lightness have closed forms on each.

#include "Source/piece_search.h"

#include "Support/report.h"

#include <algorithm>
#include <cmath>

namespace movane {
namespace {

constexpr Reporter report{"MOVANE/Private/Source/ttriangulartopsurface"};

constexpr int kEdgeRounds       = 1001;
constexpr int kEdgeProbes       = 100;  // through a bracket that both ends of miss the sheet
constexpr double kNarrow        = 1e-5;
constexpr double kBeyond        = 1.005;
constexpr double kRestartInside = 0.995;  // of the outermost crossing
constexpr int kBisections       = 1000;
constexpr double kBoundSlack    = 1e-5;
constexpr double kSegmentSlack  = 1e-9;

ChromaPoint on_ray(double phi, double radius) {
    return {std::cos(phi) * radius, std::sin(phi) * radius};
}

// --- the edge ------------------------------------------------------------------------------------

// A search for the outermost radius inside the sheet.
class EdgeSearch {
public:
    EdgeSearch(top_surface_piece& piece, double phi) : piece_(piece), phi_(phi) {}

    bool run(double inner, double outer) {
        lo_     = inner;
        hi_     = outer;
        lo_in_  = is_inside(lo_);
        hi_in_  = is_inside(hi_);
        probed_ = 0;
        for (int round = 0; round < kEdgeRounds; ++round) {
            const Step step = advance();
            if (step == Step::gave_up) return false;
            if (step == Step::ended) return true;
        }
        return false;
    }

    double radius    = 0;
    double lightness = 0;

private:
    enum class Step { going_on, gave_up, ended };

    bool is_inside(double r) {
        return project(piece_, on_ray(phi_, r), &lightness_here_) == Answer::found;
    }

    void remember(double r) {
        radius    = r;
        lightness = lightness_here_;
    }

    Step advance() {
        bool last_in = false;
        if (hi_in_) {
            const double mid = hi_ + (lo_in_ ? 2.0 : 0.1) * (hi_ - lo_);
            lo_              = hi_;
            lo_in_           = true;
            hi_              = mid;
            hi_in_ = last_in = is_inside(mid);
            if (last_in) remember(mid);
        } else if (lo_in_) {
            const double mid = hi_ - 0.05 * (hi_ - lo_);
            last_in          = is_inside(mid);
            if (last_in) remember(mid);
            (last_in ? lo_ : hi_) = mid;
        } else {
            const double mid =
                probed_ == 0 ? 0.5 * (lo_ + hi_) : lo_ + probed_ * (hi_ - lo_) / kEdgeProbes;
            if (++probed_ > kEdgeProbes + 1) return Step::gave_up;
            last_in = is_inside(mid);
            if (last_in) {
                remember(mid);
                lo_    = mid;
                lo_in_ = true;
            }
        }
        if (!(std::fabs(hi_ - lo_) < kNarrow) || !last_in) return Step::going_on;
        const double beyond = kBeyond * hi_;
        if (!is_inside(beyond)) return Step::ended;
        remember(beyond);
        lo_    = hi_;
        lo_in_ = hi_in_;
        hi_    = beyond;
        hi_in_ = true;
        return Step::going_on;
    }

    top_surface_piece& piece_;
    double phi_, lo_ = 0, hi_ = 0;
    bool lo_in_ = false, hi_in_ = false;
    int probed_            = 0;
    double lightness_here_ = 0;
};

// --- angle and lightness along the ray -----------------------------------------------------------

// The outermost solution of f(lightness, radius) = 0 for a linear f.
template <class Linear>
bool solve_segments(const RadialProfile& profile, Linear f, double* radius, double* lightness) {
    bool is_found = false;
    for (int i = 0; i < profile.count; ++i) {
        const RaySegment& s = profile.segments[i];
        const double from = f(s.inner_lightness, s.inner), to = f(s.outer_lightness, s.outer);
        double t = from == to ? (from == 0 ? 1.0 : -1.0) : from / (from - to);
        if (!(t >= -kSegmentSlack && t <= 1 + kSegmentSlack)) continue;
        t              = std::clamp(t, 0.0, 1.0);
        const double r = s.inner + t * (s.outer - s.inner);
        if (is_found && r <= *radius) continue;
        *radius    = r;
        *lightness = s.inner_lightness + t * (s.outer_lightness - s.inner_lightness);
        is_found   = true;
    }
    return is_found;
}

// Bisects between the bounds of the outermost run for measure(lightness, radius) == wanted.
template <class Measure, class Linear>
bool search(top_surface_piece& piece, double phi, double wanted, Measure measure, Linear linear,
            double* radius, double* lightness) {
    if (!find_hue_span(piece) || !has_hue(piece, phi)) return false;
    const RadialProfile& profile = radial_profile(*piece.sheet, phi);
    if (profile.count == 0) return false;
    const double at_first = measure(profile.first_lightness, profile.first);
    const double at_last  = measure(profile.last_lightness, profile.last);
    if (!(wanted >= std::min(at_first, at_last) - kBoundSlack &&
          wanted <= std::max(at_first, at_last) + kBoundSlack))
        return false;
    const bool is_rising = at_last >= at_first;
    double lo = profile.first, hi = profile.last;
    for (int i = 0; i <= kBisections; ++i) {
        *radius = 0.5 * (lo + hi);
        if (project(piece, on_ray(phi, *radius), lightness) != Answer::found) {
            if (solve_segments(profile, linear, radius, lightness)) return true;
            report("Double Concave Surfaces not supported");
            return false;
        }
        const double here = measure(*lightness, *radius);
        if (here == wanted || hi - lo < kNarrow) return true;
        ((here < wanted) == is_rising ? lo : hi) = *radius;
    }
    report("algo sucks");
    return false;
}

}  // namespace

Answer project(top_surface_piece& piece, ChromaPoint at, double* lightness) {
    *lightness = -1.0;
    if (!evaluate(piece)) return Answer::failed;
    return hit_sheet(*piece.sheet, at, lightness) ? Answer::found : Answer::none;
}

bool edge_at(top_surface_piece& piece, double phi, double* teta, double* lightness) {
    if (!find_hue_span(piece) || !has_hue(piece, phi)) return false;
    EdgeSearch search(piece, phi);
    if (!search.run(piece.smallest_chroma, piece.largest_chroma)) {
        const RadialProfile& profile = radial_profile(*piece.sheet, phi);
        if (profile.count == 0 || !search.run(kRestartInside * profile.last, profile.last)) {
            report("Algorithm does not converge");
            return false;
        }
    }
    *lightness = search.lightness;
    *teta      = angle_of(search.lightness, search.radius);
    return true;
}

bool height_at(top_surface_piece& piece, double phi, double teta, double* lightness) {
    double radius       = 0;
    const double cosine = std::cos(teta), sine = std::sin(teta);
    return search(
        piece, phi, teta, [](double l, double r) { return angle_of(l, r); },
        [&](double l, double r) { return r * cosine - l * sine; }, &radius, lightness);
}

bool teta_at(top_surface_piece& piece, double phi, double lightness, double* teta) {
    double radius = 0, found = 0;
    if (!search(
            piece, phi, lightness, [](double l, double) { return l; },
            [&](double l, double) { return l - lightness; }, &radius, &found))
        return false;
    *teta = angle_of(found, radius);
    return true;
}

}  // namespace movane
