// Containers of tetrahedra and border planes: life cycle, and what is asked of all tetrahedra or
// all corners.

#include "tetra_volume.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>

namespace {

using movane::plane_at;
using movane::tetra_at;

constexpr int kFirstSlots = 10;

movane_list* new_list_of_pointers() { return list_new(kFirstSlots, sizeof(void*), nullptr); }

// Appends a record that may be null, and counts it.
template <class Record>
int append(movane_list* list, Record* record, int& counter) {
    if (list_insert(list, &record) < 0) {
        movane::destroy(record);
        return -1;
    }
    ++counter;
    return 0;
}

// --- equal coordinates -------------------------------------------------------------------------

// Orders all points, also those that are not numbers; both zeros are one.
auto key_of(const volume_point& p) {
    const auto bits = [](double x) { return std::bit_cast<std::uint64_t>(x + 0.0); };
    return std::tuple(bits(p.x), bits(p.y), bits(p.z));
}

bool number_by_coordinates(movane::NumberedCorners& corners) {
    const auto count = static_cast<std::size_t>(corners.count);
    auto sorted      = movane::make_block<int>(count);
    corners.numbers  = movane::make_block<int>(count);
    if (!sorted || !corners.numbers) return false;
    const volume_point* const points = corners.points.get();
    int* const order                 = sorted.get();
    int* const numbers               = corners.numbers.get();
    for (int i = 0; i < corners.count; ++i) order[i] = i;
    std::sort(order, order + corners.count, [&](int i, int j) {
        return std::tuple(key_of(points[i]), i) < std::tuple(key_of(points[j]), j);
    });

    // First the place of the first equal one, then its number.
    for (int k = 0; k < corners.count; ++k) {
        const bool is_equal = k > 0 && key_of(points[order[k]]) == key_of(points[order[k - 1]]);
        numbers[order[k]]   = is_equal ? numbers[order[k - 1]] : order[k];
    }
    corners.numbers_used = 0;
    for (int i = 0; i < corners.count; ++i)
        numbers[i] = numbers[i] == i ? corners.numbers_used++ : numbers[numbers[i]];
    return true;
}

}  // namespace

namespace movane {

Block<volume_point> NumberedCorners::distinct() const {
    auto result = make_block<volume_point>(static_cast<std::size_t>(numbers_used));
    if (!result) return nullptr;
    for (int i = 0, known = 0; i < count; ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (numbers[k] == known) result[static_cast<std::size_t>(known++)] = points[k];
    }
    return result;
}

bool number_corners(const tetra_volume& v, bool with_tetrahedrae, NumberedCorners& corners) {
    const int planes = list_num(v.planes), tetrahedrae = list_num(v.tetrahedrae);
    const int most = 3 * planes + (with_tetrahedrae ? 4 * tetrahedrae : 0);
    corners.points = make_block<volume_point>(static_cast<std::size_t>(most));
    if (!corners.points) return false;
    volume_point* const begin = corners.points.get();
    volume_point* end         = begin;
    for (int i = 0; i < planes; ++i) {
        const volume_plane* const plane = plane_at(v, i);
        if (!plane) continue;
        *end++ = plane->corner_a;
        *end++ = plane->corner_b;
        *end++ = plane->corner_c;
    }
    corners.plane_points = static_cast<int>(end - begin);
    for (int i = 0; with_tetrahedrae && i < tetrahedrae; ++i) {
        if (const volume_tetra* const tetra = tetra_at(v, i)) end = std::copy_n(tetra->p, 4, end);
    }
    corners.count = static_cast<int>(end - begin);
    return number_by_coordinates(corners);
}

BorderPoints border_points(const tetra_volume& v) {
    NumberedCorners corners;
    if (!number_corners(v, false, corners)) return {};
    return {corners.distinct(), corners.numbers_used};
}

}  // namespace movane

// --- life cycle --------------------------------------------------------------------------------

tetra_volume* tetra_volume_new0(void) {
    auto v = movane::create<tetra_volume>();
    if (!v) return nullptr;
    v->planes      = new_list_of_pointers();
    v->tetrahedrae = v->planes ? new_list_of_pointers() : nullptr;
    if (v->tetrahedrae) return v.release();
    list_kill(v->planes);
    return nullptr;
}

int tetra_volume_kill(tetra_volume* v) {
    if (!v) return 0;
    for (int i = list_num(v->planes); i-- > 0;) movane::destroy(plane_at(*v, i));
    for (int i = list_num(v->tetrahedrae); i-- > 0;) movane::destroy(tetra_at(*v, i));
    list_kill(v->planes);
    list_kill(v->tetrahedrae);
    movane::destroy(v);
    return 0;
}

int tetra_volume_add_plane(tetra_volume* v, const volume_point* a, const volume_point* b,
                           const volume_point* c) {
    return v ? append(v->planes, plane_new2(a, b, c), v->nr_of_planes) : -1;
}

int tetra_volume_add_plane2(tetra_volume* v, const volume_plane* plane) {
    return v ? append(v->planes, plane_new(plane), v->nr_of_planes) : -1;
}

int tetra_volume_add_tetra(tetra_volume* v, const volume_point* p0, const volume_point* p1,
                           const volume_point* p2, const volume_point* p3) {
    volume_tetra* const tetra = v ? tetra_new(p0, p1, p2, p3) : nullptr;
    return tetra ? append(v->tetrahedrae, tetra, v->nr_of_tetrahedrae) : -1;
}

// --- tetrahedra --------------------------------------------------------------------------------

int tetra_volume_get_nr_of_tetrahedrae(const tetra_volume* v) {
    return v ? v->nr_of_tetrahedrae : -1;
}

int tetra_volume_get_tetra(const tetra_volume* v, const double* q, volume_tetra** out) {
    if (!v || !q || !out) return -1;
    for (int i = 0; i < list_num(v->tetrahedrae); ++i) {
        volume_tetra* const tetra = tetra_at(*v, i);
        if (!tetra_point_inside(tetra, q, nullptr)) continue;
        *out = tetra;
        return 0;
    }
    return -1;
}

int tetra_volume_get_tetra2(const tetra_volume* v, int index, volume_tetra** out) {
    if (!v || !out || index < 0 || index >= list_num(v->tetrahedrae)) return -1;
    *out = tetra_at(*v, index);
    return 0;
}

double tetra_volume_get_volume(const tetra_volume* v) {
    if (!v) return -1.0;
    double sum = 0.0;
    for (int i = 0; i < list_num(v->tetrahedrae); ++i) {
        if (const volume_tetra* const tetra = tetra_at(*v, i)) sum += tetra_get_volume(tetra);
    }
    return sum;
}

// --- border ------------------------------------------------------------------------------------

int tetra_volume_get_border_points(const tetra_volume* v, void* list) {
    auto* const target = static_cast<movane_list*>(list);
    if (!v || !target || list_get_el_size(target) != sizeof(volume_point)) return -1;
    const movane::BorderPoints border = movane::border_points(*v);
    if (!border.points || list_alloc(target, list_num(target) + border.count) != 0) return -1;
    for (int i = 0; i < border.count; ++i)
        list_insert_index(target, &border.points[static_cast<std::size_t>(i)], list_num(target), 0);
    return 0;
}
