#include "gamut_coverage.h"

#include <movane/gamut.h>

#include <new>

namespace host {
namespace {

constexpr int kSize = 512;  // of the square; a power of two leaves nothing out

struct Question {
    const GamutHull& hull;
    const TPlane& plane;
    long calls;
};

int is_inside(void* user, const int* x, const int* y, int n, unsigned char* inside) {
    auto& [hull, plane, calls] = *static_cast<Question*>(user);
    for (int i = 0; i < n; ++i) {
        Colour colour{};
        plane.GetLab(x[i], y[i], colour.data(), false);
        inside[i] = hull.contains(colour);
        ++calls;
    }
    return 0;
}

}  // namespace

Coverage measure_coverage(const GamutHull& hull, Section section, Range range) {
    // The points are pixels of a plane, its corners included: rows count downward from 0, and the
    // tree's square reaches from its greatest y down.
    const TPlane plane(kSize + 1, kSize + 1, section.type, section.value, range.x_least,
                       range.x_most, range.y_least, range.y_most);
    Question question{hull, plane, 0};
    const TQuadTree tree(0, kSize, kSize, &question, is_inside, nullptr, nullptr);
    if (tree.ErrNo() != 0) throw std::bad_alloc();
    long inside = 0;
    for (int y = 0; y <= kSize; ++y)
        for (int x = 0; x <= kSize; ++x) inside += tree.IsInside(x, y) != 0;
    const double unit =
        (range.x_most - range.x_least) / kSize * ((range.y_most - range.y_least) / kSize);
    return {static_cast<double>(inside) * unit, question.calls,
            static_cast<long>(kSize + 1) * (kSize + 1)};
}

}  // namespace host
