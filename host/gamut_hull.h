// The convex hull of the colours of a device.
#pragma once

#include "colour.h"

#include <movane/gamut.h>

#include <memory>
#include <string>

namespace host {

class GamutHull {
public:
    /// Throws Failure, which names the file, when the colours span no volume.
    GamutHull(std::span<const Colour> colours, const std::string& file);

    /// Whether a colour lies inside or on the border.
    bool contains(const Colour& colour) const;

    /// The distance of a colour from the hull, 0 inside.
    double distance(const Colour& colour) const;

    double volume() const { return volume_; }  // in cubic units of CIELAB
    const std::vector<Triangle>& faces() const { return faces_; }

    /// Writes the faces as a VRML scene; false when the file cannot be written.
    bool write_scene(const std::string& path) const;

private:
    struct KillVolume {
        void operator()(tetra_volume* volume) const { tetra_volume_kill(volume); }
    };

    std::unique_ptr<tetra_volume, KillVolume> solid_;
    std::vector<Triangle> faces_;  // seen counter-clockwise from outside
    double volume_ = 0;
    TConvexHull hull_;
};

}  // namespace host
