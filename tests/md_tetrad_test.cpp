// Double simplex tables against a plain reference, bit for bit, and the corners of their
// interface.

#include "movane/interpolation.h"

#include "reference/simplex.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace {

using movane_tests::message_of;

struct Kill {
    void operator()(md_tetrad_table* table) const { EXPECT_EQ(md_tetrad_kill(table), nullptr); }
};
using DoubleTable = std::unique_ptr<md_tetrad_table, Kill>;

TEST(DoubleSimplex, InterpolatesLikeTheReference) {
    struct Row {
        int dims, outputs, grid;
        double lo, hi;
    };
    std::mt19937 random(1);
    const auto uniform = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (const Row& row : {Row{1, 1, 2, 0, 1}, Row{1, 3, 14, -5, 7}, Row{2, 2, 9, 0, 255},
                           Row{3, 4, 7, 0.25, 0.75}, Row{3, 1, 33, 0, 100}, Row{4, 3, 5, -1, 1},
                           Row{5, 2, 3, 0, 1}, Row{6, 3, 2, 10, -10}, Row{8, 1, 2, 0, 1}}) {
        const DoubleTable table(md_tetrad_new(row.dims, row.outputs, row.grid, row.lo, row.hi));
        int count                  = 0;
        double* const data         = md_tetrad_dataptr(table.get(), &count);
        const reference::Grid grid = {row.dims, row.outputs, row.grid, 1};
        ASSERT_EQ(static_cast<std::uint64_t>(count), grid.size());
        EXPECT_EQ(std::count(data, data + count, 0.0), count);
        for (int i = 0; i < count; ++i) data[i] = uniform(-3, 3);
        const reference::DoubleTable expected = {grid, row.lo, row.hi, {data, data + count}};

        // Interleaved inputs with a gap, planar outputs, the last of several not wanted. Few
        // distinct inputs: grid lines, both ends and equal fractions come often.
        constexpr int kSamples = 200;
        const int in_stride    = row.dims + 1;
        std::vector<double> inputs(static_cast<std::size_t>(kSamples * in_stride));
        for (double& input : inputs) {
            const double steps = static_cast<double>(random() % 7) / 6.0;
            input = row.lo + (row.hi - row.lo) * (random() % 2 ? steps : uniform(0, 1));
        }
        std::vector<double> outputs(static_cast<std::size_t>(kSamples * row.outputs), 99.0);
        std::vector<double*> in, out;
        for (int d = 0; d < row.dims; ++d) in.push_back(inputs.data() + d);
        for (int c = 0; c < row.outputs; ++c) out.push_back(outputs.data() + c * kSamples);
        if (row.outputs > 1) out.back() = nullptr;
        md_tetrad_interp(table.get(), in.data(), in_stride, out.data(), 1, kSamples);

        for (int d = 0; d < row.dims; ++d) {
            EXPECT_EQ(in[static_cast<std::size_t>(d)],
                      inputs.data() + d + (row.dims >= 5 ? kSamples * in_stride : 0));
        }
        for (int c = 0; c < row.outputs; ++c) {
            const bool is_wanted = row.outputs == 1 || c < row.outputs - 1;
            EXPECT_EQ(out[static_cast<std::size_t>(c)],
                      is_wanted ? outputs.data() + (c + 1) * kSamples : nullptr);
            for (int i = 0; i < kSamples; ++i) {
                const double* sample = inputs.data() + i * in_stride;
                const double value =
                    expected.at({sample, sample + row.dims})[static_cast<std::size_t>(c)];
                ASSERT_EQ(outputs[static_cast<std::size_t>(c * kSamples + i)],
                          is_wanted ? value : 99.0);
            }
        }
    }
}

// The quotient of the top input may fall to either side of the last grid point.
TEST(DoubleSimplex, GivesTheTopValueOnEveryGrid) {
    for (const double top : {1.0, 255.0, 0.1}) {
        for (int grid = 2; grid <= 100; ++grid) {
            const DoubleTable table(md_tetrad_new(1, 1, grid, 0.0, top));
            int count;
            double* const data = md_tetrad_dataptr(table.get(), &count);
            data[grid - 1]     = 7.0;
            double at = top, result = 0.0;
            double *in = &at, *out = &result;
            md_tetrad_interp(table.get(), &in, 1, &out, 1, 1);
            ASSERT_EQ(result, 7.0) << "grid " << grid << " to " << top;
        }
    }
}

TEST(DoubleSimplex, WalksItsPointsAndGivesThemBack) {
    const DoubleTable table(md_tetrad_new(3, 2, 5, -2.0, 2.0));
    EXPECT_EQ(md_tetrad_get_nrpoints(table.get()), 125);
    int count          = 0;
    double* const data = md_tetrad_dataptr(table.get(), &count);
    int index[3] = {0, 0, 0}, left = 125;
    double inputs[3];
    do {
        double* const point = md_tetrad_vertex_get(table.get(), index, inputs);
        EXPECT_EQ(point, data + 72 * index[0] + 12 * index[1] + 2 * index[2]);
        for (int d = 0; d < 3; ++d) EXPECT_EQ(inputs[d], index[d] - 2.0);
        point[0] = 100.0 - left;
        EXPECT_EQ(md_tetrad_scan_vertex(table.get(), index), --left);
    } while (left > 0);
    EXPECT_EQ(index[0] + index[1] + index[2], 0);

    double low = -2.0, high = 2.0, value = 0.0;
    double *in[3] = {&high, &high, &high}, *out[2] = {&value, nullptr};
    md_tetrad_interp(table.get(), in, 1, out, 1, 1);
    EXPECT_EQ(value, 99.0);
    in[0] = in[1] = in[2] = &low;
    out[0]                = &value;
    md_tetrad_interp(table.get(), in, 1, out, 1, 1);
    EXPECT_EQ(value, -25.0);
}

TEST(DoubleSimplex, SurvivesWhatIsNotANumber) {
    for (int dims = 1; dims <= 6; ++dims) {
        const DoubleTable table(md_tetrad_new(dims, 1, 3, 0.0, 1.0));
        double nan = std::numeric_limits<double>::quiet_NaN(), half = 0.5, value = 0.0;
        std::vector<double*> in(static_cast<std::size_t>(dims), &half);
        in.back()   = &nan;
        double* out = &value;
        md_tetrad_interp(table.get(), in.data(), 1, &out, 1, 1);
        EXPECT_TRUE(std::isnan(value));
    }
}

TEST(DoubleSimplex, RefusesIllegalTables) {
    struct Row {
        int dims, outputs, grid;
    };
    for (const Row& row : {Row{0, 1, 2}, Row{1, 0, 2}, Row{1, 1, 1}, Row{6, 4, 33}, Row{4, 1, 255},
                           Row{1, 268435456, 2}, Row{1, 1, 2147483647}, Row{99999, 1, 2}}) {
        EXPECT_EQ(message_of([&] {
                      EXPECT_EQ(md_tetrad_new(row.dims, row.outputs, row.grid, 0, 1), nullptr);
                  }),
                  "md_tetra_new: illegal dimension");
    }
    EXPECT_EQ(md_tetrad_kill(nullptr), nullptr);
}

}  // namespace
