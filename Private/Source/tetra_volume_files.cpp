// Containers as files to look at: a cloud of points, and a VRML 2.0 scene.
//
// Both are written with the engine's file call, in binary mode, and with numbers that do not depend
// on the locale, so that the bytes are the same on every target.

#include "movane/gamut.h"

#include "Engine/utf8_files.h"
#include "Support/memory.h"
#include "Support/point3.h"
#include "tetra_volume.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string_view>

namespace {

using movane::NumberedCorners;
using movane::Point3;

// Writes as "%<width>.<precision>f" does, without its locale.
struct Fixed {
    double value;
    int width;
    int precision;
};

class TextFile {
public:
    explicit TextFile(const char* name) : file_(fopen_utf8(name, "wb")) {}
    ~TextFile() { close(); }
    TextFile(const TextFile&)            = delete;
    TextFile& operator=(const TextFile&) = delete;

    [[nodiscard]] bool is_open() const { return file_ != nullptr; }

    TextFile& operator<<(std::string_view text) {
        if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) has_failed_ = true;
        return *this;
    }

    TextFile& operator<<(int number) {
        char digits[16];
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return *this << std::string_view(digits, end);
    }

    TextFile& operator<<(const Fixed& number) {
        constexpr int kLongest = 330;  // characters of a double with 6 decimals
        char digits[kLongest];
        const auto end = std::to_chars(digits, digits + kLongest, number.value,
                                       std::chars_format::fixed, number.precision)
                             .ptr;
        for (auto length = end - digits; length < number.width; ++length) *this << " ";
        return *this << std::string_view(digits, end);
    }

    // Whether all has been written.
    bool close() {
        if (file_ && std::fclose(file_) != 0) has_failed_ = true;
        file_ = nullptr;
        return !has_failed_;
    }

private:
    std::FILE* file_;
    bool has_failed_ = false;
};

// --- cloud of points ---------------------------------------------------------------------------

constexpr int kPointsOnBorderEdge = 100;
constexpr int kPointsOnOtherEdge  = 10;

void write_axes(TextFile& file) {
    constexpr int kLightness = 80, kSecond = 89, kFirst = 69;
    const auto coordinate = [](int k) { return Fixed{static_cast<double>(k), 7, 1}; };
    for (int k = 0; k <= kLightness; ++k) file << "     0 " << coordinate(k) << "       0\n";
    for (int k = 0; k <= kSecond; ++k) file << "     0      0  " << coordinate(k) << "\n";
    for (int k = 0; k <= kFirst; ++k) file << coordinate(k) << "      0       0\n";
}

void write_edge(TextFile& file, const Point3& from, const Point3& to, int points) {
    for (int k = 0; k < points; ++k) {
        const Point3 p = from + (to - from) * k / (points - 1);
        file << Fixed{p.x, 7, 1} << " " << Fixed{p.y, 7, 1} << " " << Fixed{p.z, 7, 1} << "\n";
    }
}

// Corners of planes have the first numbers; `corners` are those of one tetrahedron.
void write_edges(TextFile& file, const volume_point* corners, const int* numbers,
                 int border_numbers) {
    for (int i = 0; i < 4; ++i) {
        for (int j = i + 1; j < 4; ++j) {
            const bool is_border = numbers[i] < border_numbers && numbers[j] < border_numbers;
            write_edge(file, Point3(&corners[i].x), Point3(&corners[j].x),
                       is_border ? kPointsOnBorderEdge : kPointsOnOtherEdge);
        }
    }
}

int count_border_numbers(const NumberedCorners& corners) {
    const int* const begin = corners.numbers.get();
    const int* const end   = begin + corners.plane_points;
    return begin == end ? 0 : *std::max_element(begin, end) + 1;
}

// --- scene -------------------------------------------------------------------------------------

void write_head(TextFile& file) {
    file << "#VRML V2.0 utf8 \n"
         << "Shape{geometry Box{size 100 1 1}}\n"
         << "Shape{geometry Box{size 1 200 1}}\n"
         << "Shape{geometry Box{size 1 1 200}}\n";
}

void write_points(TextFile& file, const volume_point* points, int count) {
    for (const volume_point* p = points; p < points + count; ++p)
        file << Fixed{p->x, 10, 2} << " " << Fixed{p->y, 10, 2} << " " << Fixed{p->z, 10, 2}
             << " ,\n";
}

void write_cloud(TextFile& file, const volume_point* points, int count) {
    file << "Shape { appearance Appearance { material Material { emissiveColor 1 1 0 } } \n"
         << "geometry PointSet { coord Coordinate { point [ \n";
    write_points(file, points, count);
    file << "] }}}\n";
}

// The box around all points.
struct Box {
    Point3 low{0, 0, 0}, high{0, 0, 0};

    Box(const volume_point* points, int count) {
        if (count > 0) low = high = Point3(&points[0].x);
        for (const volume_point* p = points; p < points + count; ++p) {
            low  = {std::min(low.x, p->x), std::min(low.y, p->y), std::min(low.z, p->z)};
            high = {std::max(high.x, p->x), std::max(high.y, p->y), std::max(high.z, p->z)};
        }
    }

    // 0 to 1 along each side; 0 along a side without length.
    [[nodiscard]] Point3 place_of(const Point3& p) const {
        return {place(p.x, low.x, high.x), place(p.y, low.y, high.y), place(p.z, low.z, high.z)};
    }

private:
    static double place(double x, double from, double to) {
        const double share = (x - from) / (to - from);
        return share > 0 ? std::min(share, 1.0) : 0.0;  // 0 also for what is not a number
    }
};

void write_faces(TextFile& file, const tetra_volume& v, const NumberedCorners& corners,
                 const volume_point* points) {
    const int faces          = corners.plane_points / 3;
    const int* const numbers = corners.numbers.get();
    file << "Shape { appearance Appearance { material Material { } } \n"
         << "geometry IndexedFaceSet { coord Coordinate { point [ \n";
    write_points(file, points, corners.numbers_used);
    file << "] } coordIndex [ \n";
    for (int k = 0; k < faces; ++k)
        file << numbers[3 * k] << " " << numbers[3 * k + 1] << " " << numbers[3 * k + 2]
             << " -1, \n";
    file << "] "
         << "color Color{ color[\n";
    const Box box(points, corners.numbers_used);
    for (int i = 0; i < list_num(v.planes); ++i) {
        const volume_plane* const plane = movane::plane_at(v, i);
        if (!plane) continue;
        const Point3 colour = box.place_of(Point3(plane->centroid));
        file << Fixed{colour.x, 0, 6} << " " << Fixed{colour.y, 0, 6} << " "
             << Fixed{colour.z, 0, 6} << ", \n";
    }
    file << "]}\n"
         << "colorIndex[\n";
    for (int k = 0; k < faces; ++k) file << k << "\n";
    file << "] colorPerVertex FALSE solid FALSE\n"
         << " } }";
}

}  // namespace

int tetra_volume_dump_to_file(const tetra_volume* v, const char* name) {
    NumberedCorners corners;
    if (!v || !name || !movane::number_corners(*v, true, corners)) return -1;
    const int border_numbers = count_border_numbers(corners);
    TextFile file(name);
    if (!file.is_open()) return -1;
    write_axes(file);
    for (int i = corners.plane_points; i < corners.count; i += 4)
        write_edges(file, corners.points.get() + i, corners.numbers.get() + i, border_numbers);
    return file.close() ? 0 : -1;
}

int tetra_volume_view(const tetra_volume* v, const char* name) { return writeVRML(v, name); }

int writeVRML(const tetra_volume* v, const char* name) {
    NumberedCorners corners;
    if (!v || !name || !movane::number_corners(*v, v->nr_of_planes == 0, corners)) return -1;
    const auto points = corners.distinct();
    if (!points) return -1;
    TextFile file(name);
    if (!file.is_open()) return -1;
    write_head(file);
    if (v->nr_of_planes == 0) {
        write_cloud(file, points.get(), corners.numbers_used);
    } else {
        write_faces(file, *v, corners, points.get());
    }
    return file.close() ? 0 : -1;
}
