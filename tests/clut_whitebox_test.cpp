// The CLUT class without memory.

#include "movane/interpolation.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace movane_tests;

// Gives back what the class keeps.
struct Table : CLUT {
    using CLUT::CLUT;
    ~Table() override {
        for (void* block : {static_cast<void*>(data_), static_cast<void*>(corner_table_),
                            static_cast<void*>(top_coordinates_)})
            movane::release(block);
    }
};

TEST(ClutWithoutMemory, HasNoPointsAndGivesZeros) {
    for (const int dims : {1, 3, 4, 5, 7}) {
        const auto inputs = static_cast<unsigned char>(dims);
        check_every_allocation_failure("CLUT", "", [inputs] {
            std::vector<unsigned char> points(inputs, 2);
            std::vector<float> ones(256, 1);
            Table table(inputs, points.data(), 2, 0, ones.data());
            const std::vector<double> in(inputs, 0.5);
            double out[] = {9, 9, 9};
            table.Interpolate(out, in.data());
            const bool has_points = table.NumPoints() != 0;
            const double value    = has_points;
            EXPECT_EQ(std::vector(out, out + 3), (std::vector<double>{value, value, 9}));
            EXPECT_EQ(table.GetData(0) != nullptr, has_points);
            return has_points;
        });
    }
}

}  // namespace
