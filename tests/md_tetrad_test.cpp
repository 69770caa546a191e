// Double simplex tables against a plain reference, bit for bit, and the corners of their
// interface.

#include "movane/interpolation.h"

#include "reference/simplex.h"
#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace movane_tests;

using DoubleTable = Handle<md_tetrad_table, md_tetrad_table*>;

DoubleTable make_table(int dims, int outputs, int grid, double lo, double hi) {
    return {md_tetrad_new(dims, outputs, grid, lo, hi), md_tetrad_kill};
}

TEST(DoubleSimplex, InterpolatesLikeTheReference) {
    struct Row {
        int dims, outputs, grid;
        double lo, hi;
    };
    std::vector<Row> rows = {{1, 3, 14, -5, 7},  {2, 2, 9, 0, 255}, {3, 4, 7, 0.25, 0.75},
                             {3, 1, 33, 0, 100}, {4, 3, 5, -1, 1},  {5, 2, 3, 0, 1},
                             {6, 3, 2, 10, -10}, {8, 1, 2, 0, 1}};
    // The quotient of the top input may fall to either side of the last grid point.
    for (int grid = 2; grid <= 100; ++grid) rows.push_back({1, 1, grid, 0, grid % 2 ? 0.1 : 255});
    std::mt19937 random(1);
    std::uniform_real_distribution<double> uniform(0, 1);
    for (const auto& [dims, outputs, grid, lo, hi] : rows) {
        SCOPED_TRACE(::testing::Message() << dims << " dimensions, grid " << grid);
        const DoubleTable table = make_table(dims, outputs, grid, lo, hi);
        int count               = 0;
        double* const data      = md_tetrad_dataptr(table, &count);
        EXPECT_EQ(std::count(data, data + count, 0.0), count);
        for (int i = 0; i < count; ++i) data[i] = uniform(random) * 6 - 3;
        const reference::DoubleTable expected = {
            {dims, outputs, grid, 1}, lo, hi, {data, data + count}};
        ASSERT_EQ(static_cast<std::uint64_t>(count), expected.grid.size());

        // Interleaved inputs with a gap, planar outputs with a gap, the last of several not wanted.
        // Few distinct inputs: grid lines, both ends and equal fractions come often.
        constexpr int kSamples = 100;
        const int in_stride    = dims + 1;
        std::vector<double> inputs, values(2 * kSamples * outputs, 99.0), expected_values = values;
        for (int i = 0; i < kSamples * in_stride; ++i) {
            const double steps = static_cast<int>(random() % 7) / 6.0;
            inputs.push_back(lo + (hi - lo) * (random() % 2 ? steps : uniform(random)));
        }
        std::vector<double*> in, out;
        for (int d = 0; d < dims; ++d) in.push_back(&inputs[d]);
        for (int c = 0; c < outputs; ++c) {
            const bool is_wanted = c == 0 || c < outputs - 1;
            out.push_back(is_wanted ? &values[2 * c * kSamples] : nullptr);
            for (int i = 0; i < kSamples && is_wanted; ++i) {
                const double* const sample              = &inputs[i * in_stride];
                expected_values[2 * (c * kSamples + i)] = expected.at({sample, sample + dims})[c];
            }
        }
        md_tetrad_interp(table, in.data(), in_stride, out.data(), 2, kSamples);
        EXPECT_TRUE(values == expected_values);
        for (int d = 0; d < dims; ++d)
            EXPECT_EQ(in[d], &inputs[d] + (dims >= 5 ? kSamples * in_stride : 0));
        for (int c = 0; c < outputs; ++c)
            EXPECT_TRUE(!out[c] || out[c] == values.data() + 2 * (c + 1) * kSamples);
    }
}

TEST(DoubleSimplex, SurvivesWhatIsNotANumber) {
    for (int dims = 1; dims <= 6; ++dims) {
        double nan = std::numeric_limits<double>::quiet_NaN(), value = 0.0, *out = &value;
        std::vector<double*> in(dims, &nan);
        md_tetrad_interp(make_table(dims, 1, 3, 0.0, 1.0), in.data(), 1, &out, 1, 1);
        EXPECT_TRUE(std::isnan(value));
    }
}

TEST(DoubleSimplex, WalksItsPointsAndGivesThemBack) {
    const DoubleTable table = make_table(3, 1, 5, -2.0, 2.0);
    int count = 0, left = md_tetrad_get_nrpoints(table), index[3] = {};
    double inputs[3], *const data = md_tetrad_dataptr(table, &count);
    // Both families share the head of their records, and the walk.
    auto* const as_bytes =
        reinterpret_cast<const md_tetrab_table*>(static_cast<md_tetrad_table*>(table));
    EXPECT_EQ(left, 125);
    EXPECT_EQ(md_tetrab_get_nrpoints(as_bytes), 125);
    do {
        EXPECT_EQ(md_tetrad_vertex_get(table, index, inputs),
                  data + 36 * index[0] + 6 * index[1] + index[2]);
        for (int d = 0; d < 3; ++d) EXPECT_EQ(inputs[d], index[d] - 2.0);
        --left;
        EXPECT_EQ(
            left % 2 ? md_tetrab_scan_vertex(as_bytes, index) : md_tetrad_scan_vertex(table, index),
            left);
        EXPECT_EQ(index[0] + 5 * index[1] + 25 * index[2], (125 - left) % 125);
    } while (left > 0);
}

TEST(DoubleSimplex, RefusesIllegalTables) {
    const MessageCapture posted;
    const int rows[][3] = {{0, 1, 2},   {1, 0, 2},         {1, 1, 1},       {6, 4, 33},
                           {4, 1, 255}, {1, 268435456, 2}, {1, 1, INT_MAX}, {99999, 1, 2}};
    for (const auto& [dims, outputs, grid] : rows)
        expect_failed(make_table(dims, outputs, grid, 0, 1), nullptr,
                      "md_tetra_new: illegal dimension");
}

}  // namespace
