// The gamut of a device: its top surface, its hull, and figures of both.
#pragma once

#include "forward_model.h"
#include "gamut_hull.h"

#include <memory>
#include <string>
#include <vector>

namespace host {

struct Primary {
    std::string name;
    std::size_t channel;
    Colour colour;
    bool is_darkening;  // below the surface
};

/// Two inks that mix on the surface.
struct Combination {
    std::vector<std::string> inks;       // the pair
    std::vector<std::string> darkening;  // inks that darken what the pair makes
    std::vector<double> device;          // -1 at the pair, the value of the surface elsewhere
    std::vector<Triangle> triangles;
};

/// The end of the umbrella at a hue: the library leaves a margin of a tenth beyond the surface.
/// Where that reaches a right angle, as it may when a* or b* is up, the umbrella has no end.
struct Edge {
    double hue, teta;       // degrees around the paper, and from the axis through it
    double chroma, height;  // units of CIELAB: the distance from the axis, and the place along it
    bool is_open;           // without an end: chroma and colour mean nothing
    Colour colour;
};

/// Built once, then only read.
class GamutShape {
public:
    /// @param axis   which coordinate is the height: 0 L*, 1 a*, 2 b*
    /// @param steps  samples of each ink, 2 at least
    GamutShape(const std::string& path, int axis, int steps);
    ~GamutShape();

    const ForwardModel& model() const { return *model_; }
    std::string name() const;  // of the file, without directories and what cannot be shown
    int axis() const { return axis_; }

    const Colour& paper() const { return paper_; }
    const std::vector<Primary>& primaries() const { return primaries_; }  // lightest first
    const std::vector<Combination>& combinations() const { return combinations_; }
    double largest_height() const { return largest_height_; }        // of the surface
    double hue_start() const { return hue_start_; }                  // degrees
    double hue_width() const { return hue_width_; }                  // 0 without a surface
    const std::vector<Edge>& edge() const { return edge_; }          // every kHueStep within
    const std::string& surface_message() const { return message_; }  // why there is none, or ""
    const GamutHull& hull() const { return *hull_; }
    std::size_t samples() const { return samples_; }  // of which the hull is made

    /// Gives the chroma and the height where the surface ends at a hue, in degrees; false when it
    /// does not reach that hue.
    bool reach(double hue, double& chroma, double& height) const;

    /// The coordinates that are not up.
    std::size_t first_across() const { return axis_ == 0 ? 1 : 0; }
    std::size_t second_across() const { return axis_ == 2 ? 1 : 2; }

    /// Writes the library's plotting script of the surface; false when that cannot be done.
    bool write_script(const std::string& path) const;

    static constexpr int kHueStep = 5;  // degrees

private:
    class Surface;
    void take_surface();
    void take_combinations();
    void take_hull(int steps);

    std::unique_ptr<ForwardModel> model_;
    int axis_;
    Colour paper_{};
    std::unique_ptr<Surface> surface_;
    std::vector<Primary> primaries_;
    std::vector<Combination> combinations_;
    double largest_height_ = 0, hue_start_ = 0, hue_width_ = 0;
    std::vector<Edge> edge_;
    std::string message_;
    std::unique_ptr<GamutHull> hull_;
    std::size_t samples_ = 0;
};

}  // namespace host
