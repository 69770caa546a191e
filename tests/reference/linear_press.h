// A device whose colours are sums: white, and for each channel its amount times a step. Every piece
// of its top surface is a parallelogram, and along a hue the surface is a straight line.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace reference {

struct Step {
    double lightness, a, b;
};

/// What the surface is at a hue: lightness(r) = white - fall * r, for radii up to the edge's.
struct HueLine {
    double white, fall, edge_radius;

    [[nodiscard]] double edge_lightness() const { return white - fall * edge_radius; }
    [[nodiscard]] double edge_teta() const { return std::atan2(edge_radius, edge_lightness()); }
    /// Where teta is the angle from the lightness axis.
    [[nodiscard]] double height(double teta) const { return white / (1 + fall * std::tan(teta)); }
    [[nodiscard]] double teta(double lightness) const {
        return std::atan2((white - lightness) / fall, lightness);
    }
};

/// A vector (lightness, A, B) as a colour whose lightness is the coordinate `axis`.
inline void arrange(int axis, const double (&lab)[3], double* colour) {
    const int a = axis == 0 ? 1 : 0, b = axis == 2 ? 1 : 2;
    colour[axis] = lab[0];
    colour[a]    = lab[1];
    colour[b]    = lab[2];
}

struct LinearPress {
    double white;
    std::vector<Step> steps;  // per channel, at its full amount
    int axis;

    void colour(const double* device, double* out) const {
        double lab[3] = {white, 0, 0};
        for (std::size_t k = 0; k < steps.size(); ++k) {
            lab[0] += (1 - device[k]) * steps[k].lightness;
            lab[1] += (1 - device[k]) * steps[k].a;
            lab[2] += (1 - device[k]) * steps[k].b;
        }
        arrange(axis, lab, out);
    }

    /// The line of the pair of steps that encloses the hue: the one that reaches out the farthest.
    [[nodiscard]] HueLine at(double phi) const {
        HueLine best{white, 0, 0};
        for (const Step& s : steps) {
            for (const Step& t : steps) {
                const double area = s.a * t.b - s.b * t.a;
                if (!(area > 1e-9)) continue;
                const double x = (std::cos(phi) * t.b - std::sin(phi) * t.a) / area;
                const double y = (std::sin(phi) * s.a - std::cos(phi) * s.b) / area;
                if (x < -1e-9 || y < -1e-9) continue;
                const double reach = 1 / std::max(x, y);
                if (reach > best.edge_radius)
                    best = {white, -(x * s.lightness + y * t.lightness), reach};
            }
        }
        return best;
    }
};

/// Three chromatic inks around white, and a black one behind them or in front of them.
inline LinearPress three_inks(int axis) {
    return {100, {{-40, -30, -40}, {-50, 60, -5}, {-8, -6, 70}}, axis};
}
inline LinearPress four_inks(int axis) {
    LinearPress press = three_inks(axis);
    press.steps.push_back({-85, 0, 0});
    return press;
}
inline LinearPress black_first(int axis) {
    LinearPress press = three_inks(axis);
    press.steps.insert(press.steps.begin(), {-85, 0, 0});
    return press;
}

}  // namespace reference
