// Points and differences of points in space.
#pragma once

#include <cmath>

namespace movane {

struct Point3 {
    double x, y, z;

    Point3(double px, double py, double pz) : x(px), y(py), z(pz) {}
    explicit Point3(const double* p) : x(p[0]), y(p[1]), z(p[2]) {}

    Point3 operator+(const Point3& b) const { return {x + b.x, y + b.y, z + b.z}; }
    Point3 operator-(const Point3& b) const { return {x - b.x, y - b.y, z - b.z}; }
    Point3 operator*(double f) const { return {x * f, y * f, z * f}; }
    Point3 operator/(double f) const { return {x / f, y / f, z / f}; }

    /// Writes the point to three doubles; null is accepted.
    void store(double* out) const {
        if (!out) return;
        out[0] = x;
        out[1] = y;
        out[2] = z;
    }

    [[nodiscard]] bool is_finite() const {
        return std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
    }
};

inline double dot(const Point3& a, const Point3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

inline Point3 cross(const Point3& a, const Point3& b) {
    return {a.y * b.z - b.y * a.z, a.z * b.x - b.z * a.x, a.x * b.y - b.x * a.y};
}

/// Whether two points differ by less than the given amount in every coordinate.
inline bool is_near(const Point3& a, const Point3& b, double amount) {
    const Point3 d = a - b;
    return std::fabs(d.x) < amount && std::fabs(d.y) < amount && std::fabs(d.z) < amount;
}

inline bool are_finite(const double* p) { return Point3(p).is_finite(); }

template <class... Points>
bool are_finite(const double* p, Points... others) {
    return are_finite(p) && are_finite(others...);
}

}  // namespace movane
