// The library fills the hull of points with tetrahedra, whose outer faces are the hull's: they give
// curves, distances and the volume. Questions for inside go to its class for hulls, which is made
// of the corners of these faces.

#include "gamut_hull.h"

#include "failure.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace host {
namespace {

// Points for which there are tetrahedra at once: about six each, and a container holds 65535.
constexpr std::size_t kBatch = 4000;

// TConvexHull takes a point for part of a face when it makes less than half a cubic unit with it.
// Near the rim of a smooth body thousands of points do so in units of CIELAB, and it tears; in
// these units a tetrahedron as large as that is a ten-millionth of a cubic unit. The rounding of
// its determinants stays a hundred times below its tolerance.
constexpr double kScale = 256;

struct KillList {
    void operator()(movane_list* list) const { list_kill(list); }
};
using PointList = std::unique_ptr<movane_list, KillList>;

PointList list_of(std::span<const Colour> colours) {
    PointList list(list_new(static_cast<int>(colours.size()), sizeof(volume_point), nullptr));
    double number = 0;
    for (const Colour& c : colours) {
        const volume_point point = {c[0], c[1], c[2], number++};
        if (!list || list_insert(list.get(), &point) < 0) throw std::bad_alloc();
    }
    return list;
}

std::vector<Triangle> faces_of(const tetra_volume& solid) {
    std::vector<Triangle> faces;
    for (int i = 0; i < list_num(solid.planes); ++i) {
        const auto* const plane =
            *static_cast<volume_plane* const*>(list_get_element(solid.planes, i));
        if (!plane) throw std::bad_alloc();
        const auto colour = [](const volume_point& p) { return Colour{p.x, p.y, p.z}; };
        faces.push_back(
            {colour(plane->corner_a), colour(plane->corner_b), colour(plane->corner_c)});
    }
    return faces;
}

std::vector<Colour> corners_of(const std::vector<Triangle>& faces) {
    std::vector<Colour> corners;
    for (const Triangle& face : faces) corners.insert(corners.end(), face.begin(), face.end());
    std::sort(corners.begin(), corners.end());
    corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
    return corners;
}

double determinant(const Triangle& t) {
    const auto& [a, b, c] = t;
    return a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) +
           a[2] * (b[0] * c[1] - b[1] * c[0]);
}

double square_area(const Triangle& t) {
    double u[2][3], normal[3];
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t i = 0; i < 2; ++i) u[i][k] = t[i + 1][k] - t[0][k];
    for (std::size_t k = 0; k < 3; ++k)
        normal[k] = u[0][(k + 1) % 3] * u[1][(k + 2) % 3] - u[0][(k + 2) % 3] * u[1][(k + 1) % 3];
    return normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2];
}

}  // namespace

GamutHull::GamutHull(std::span<const Colour> colours, const std::string& file) {
    // Corners of the hull so far go along with the next ones; the first ones may be flat.
    std::vector<Colour> batch;
    while (!colours.empty()) {
        const std::size_t count = std::min(kBatch, colours.size());
        batch.insert(batch.end(), colours.begin(), colours.begin() + static_cast<long>(count));
        colours = colours.subspan(count);
        solid_.reset(tetra_volume_new(list_of(batch).get()));
        if (!solid_) throw Failure(file, "has too many different colours", "use fewer --steps");
        faces_ = faces_of(*solid_);
        if (!faces_.empty()) batch = corners_of(faces_);
    }
    if (faces_.empty())
        throw Failure(file, "has colours in one plane only", "name a device with a gamut");
    // The first three points make the first face, from which a fourth has to stand out: tints of
    // one ink, which lie nearly in a line, would not do.
    const auto add = [this](const Colour& c) {
        hull_.AddPoint(kScale * c[0], kScale * c[1], kScale * c[2]);
    };
    const auto largest = std::max_element(
        faces_.begin(), faces_.end(),
        [](const Triangle& a, const Triangle& b) { return square_area(a) < square_area(b); });
    for (const Colour& corner : *largest) add(corner);
    for (const Colour& corner : corners_of(faces_))
        if (std::find(largest->begin(), largest->end(), corner) == largest->end()) add(corner);
    if (hull_.Construct() != 0) throw Failure(file, "has too flat a gamut", "name another device");
    for (const Triangle& face : faces_) volume_ += determinant(face) / 6;
}

bool GamutHull::contains(const Colour& c) const {
    return hull_.InsideHull(kScale * c[0], kScale * c[1], kScale * c[2]) != 0;
}

double GamutHull::distance(const Colour& colour) const {
    if (contains(colour)) return 0;
    double nearest = HUGE_VAL;
    for (const auto& [a, b, c] : faces_)
        nearest = std::min(nearest, proj_point_triangle(colour.data(), a.data(), b.data(), c.data(),
                                                        nullptr, nullptr));
    return std::sqrt(nearest);
}

bool GamutHull::write_scene(const std::string& path) const {
    return writeVRML(solid_.get(), path.c_str()) == 0;
}

}  // namespace host
