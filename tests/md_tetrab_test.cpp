// Byte simplex tables against a plain reference, and the corners of their interface.

#include "movane/interpolation.h"

#include "reference/simplex.h"
#include "support/messages.h"
#include "support/simplex_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

namespace {

using movane_tests::ByteTable;
using movane_tests::Line;
using movane_tests::message_of;
using movane_tests::Random;
using movane_tests::random_table;
using movane_tests::TablePair;

constexpr char kIllegal[] = "md_tetra_new: illegal dimension";

// All codes through a table with one input and one output.
std::vector<int> curve_of(const md_tetrab_table* table) {
    std::vector<unsigned char> codes(256), values(256);
    std::iota(codes.begin(), codes.end(), std::uint8_t{0});
    unsigned char *in = codes.data(), *out = values.data();
    md_tetrab_interp(table, &in, 1, &out, 1, 256, nullptr, 0);
    return {values.begin(), values.end()};
}

TEST(ByteSimplex, InterpolatesLikeTheReference) {
    Random random(1);
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE(::testing::Message() << "round " << round);
        const TablePair tables = random_table(random, 1 + round % 6);
        const Line line(random, tables.expected.grid);
        const auto ours = line.run(
            [&](auto... arguments) { md_tetrab_interp(tables.table.get(), arguments...); });
        const auto expected =
            line.run([&](auto... arguments) { tables.expected.interpolate(arguments...); });
        ASSERT_TRUE(ours == expected)
            << tables.expected.grid.dims << " dimensions, " << tables.expected.grid.outputs
            << " outputs, grid " << tables.expected.grid.grid << ", count " << line.count;
    }
}

TEST(ByteSimplex, LocatesEveryCodeOnEveryGrid) {
    for (int grid = 2; grid <= 300; grid += grid < 60 ? 1 : 49) {
        // Only one grid point differs from zero, so the curve shows its cells and its weights.
        const ByteTable table(md_tetrab_new(1, 1, grid));
        int size                  = 0;
        unsigned char* const data = md_tetrab_dataptr(table.get(), &size);
        ASSERT_EQ(size, grid + 1);
        reference::ByteTable expected{{1, 1, grid, 1}, 0, 255, {}, {{}}, {{}}};
        std::iota(expected.input_luts[0].begin(), expected.input_luts[0].end(), std::uint8_t{0});
        expected.output_luts = expected.input_luts;
        for (const int point : {grid - 1, grid / 2, 0}) {
            std::fill(data, data + size, std::uint8_t{0});
            data[point] = 255;
            expected.data.assign(data, data + size);
            std::vector<int> curve;
            for (int v = 0; v < 256; ++v)
                curve.push_back(expected.at({static_cast<std::uint8_t>(v)})[0]);
            ASSERT_EQ(curve_of(table.get()), curve) << "grid " << grid << ", point " << point;
            EXPECT_EQ(curve[255], point == grid - 1 ? 255 : 0);
        }
    }
    // Between two grid points the weight of a code is the code itself.
    const ByteTable ramp(md_tetrab_new(1, 1, 2));
    int size;
    md_tetrab_dataptr(ramp.get(), &size)[1] = 255;
    std::vector<int> codes(256);
    std::iota(codes.begin(), codes.end(), 0);
    EXPECT_EQ(curve_of(ramp.get()), codes);
}

TEST(ByteSimplex, RefusesIllegalTables) {
    struct Row {
        int dims, outputs, grid, w_lo, w_hi, pad;
    };
    for (const Row& row :
         {Row{0, 1, 2, 0, 255, 1}, Row{1, 0, 2, 0, 255, 1}, Row{1, 1, 1, 0, 255, 1},
          Row{-1, 1, 2, 0, 255, 1}, Row{1, 1, 2, -1, 255, 1}, Row{1, 1, 2, 0, 256, 1},
          Row{1, 1, 2, 9, 9, 1}, Row{1, 1, 2, 0, 255, -1}, Row{6, 4, 33, 0, 255, 1},
          Row{5, 6, 51, 0, 255, 1}, Row{4, 1, 255, 0, 255, 1}, Row{31, 1, 2, 0, 255, 0},
          Row{1, 1, 2147483647, 0, 255, 2147483647},
          Row{1000000, 2147483647, 2147483647, 0, 255, 1}}) {
        EXPECT_EQ(message_of([&] {
                      EXPECT_EQ(md_tetrab_new_special(row.dims, row.outputs, row.grid, row.w_lo,
                                                      row.w_hi, row.pad),
                                nullptr);
                  }),
                  kIllegal);
    }
    EXPECT_EQ(message_of([] { EXPECT_EQ(md_tetrab_new(0, 1, 2), nullptr); }), kIllegal);
    EXPECT_EQ(md_tetrab_kill(nullptr), nullptr);
}

TEST(ByteSimplex, WalksItsPointsAndStoresThemInterleaved) {
    const ByteTable table(md_tetrab_new(2, 3, 4));
    int size                  = 0;
    unsigned char* const data = md_tetrab_dataptr(table.get(), &size);
    EXPECT_EQ(size, 5 * 5 * 3);
    EXPECT_EQ(std::count(data, data + size, 0), size);
    EXPECT_EQ(md_tetrab_get_nrpoints(table.get()), 16);

    int index[2] = {0, 0};
    unsigned char codes[2];
    int left = 16;
    do {
        const int number = 16 - left;
        EXPECT_EQ(index[0], number % 4);
        EXPECT_EQ(index[1], number / 4);
        EXPECT_EQ(md_tetrab_vertex_get(table.get(), index, codes),
                  data + index[0] * 15 + index[1] * 3);
        EXPECT_EQ(codes[0], index[0] * 85);
        EXPECT_EQ(codes[1], index[1] * 85);
        EXPECT_EQ(md_tetrab_scan_vertex(table.get(), index), --left);
    } while (left > 0);
    EXPECT_EQ(index[0] + index[1], 0);

    const ByteTable video(md_tetrab_new_special(2, 3, 4, 16, 235, 1));
    const unsigned char* const low = md_tetrab_dataptr(video.get(), &size);
    EXPECT_EQ(std::count(low, low + size, 16), size);

    const ByteTable halves(md_tetrab_new(1, 1, 3));
    int middle = 1;
    md_tetrab_vertex_get(halves.get(), &middle, codes);
    EXPECT_EQ(codes[0], 128);  // 127.5 is rounded up
}

TEST(ByteSimplex, TakesAndShowsLuts) {
    const ByteTable table(md_tetrab_new(2, 2, 2));
    reference::Lut falling, identity;
    for (int v = 0; v < 256; ++v) {
        identity[static_cast<std::size_t>(v)] = static_cast<std::uint8_t>(v);
        falling[static_cast<std::size_t>(v)]  = static_cast<std::uint8_t>(255 - v);
    }
    const auto shown = [&](const unsigned char* lut) {
        reference::Lut copy;
        std::copy_n(lut, 256, copy.begin());
        return copy;
    };
    const auto expect = [&](const reference::Lut& in1, const reference::Lut& out0) {
        EXPECT_EQ(shown(md_tetrab_ilutptr(table.get(), 0)), identity);
        EXPECT_EQ(shown(md_tetrab_ilutptr(table.get(), 1)), in1);
        EXPECT_EQ(shown(md_tetrab_olutptr(table.get(), 0)), out0);
        EXPECT_EQ(shown(md_tetrab_olutptr(table.get(), 1)), identity);
    };
    expect(identity, identity);
    unsigned char *ilut[2] = {nullptr, falling.data()}, *olut[2] = {falling.data(), nullptr};
    EXPECT_EQ(md_tetrab_LUT(table.get(), ilut, olut), 1);
    expect(falling, falling);
    ilut[1] = md_tetrab_ilutptr(table.get(), 1);  // a table's own LUT stays as it is
    md_tetrab_LUT(table.get(), ilut, nullptr);
    expect(falling, identity);
    md_tetrab_LUT(table.get(), nullptr, olut);
    expect(identity, falling);

    for (const int outside : {-1, 2}) {
        EXPECT_EQ(md_tetrab_ilutptr(table.get(), outside), nullptr);
        EXPECT_EQ(md_tetrab_olutptr(table.get(), outside), nullptr);
    }
}

// What a grid point has whose cell is divided exactly: weights come from the parts, not from
// input codes.
std::vector<std::uint8_t> in_divided_cell(const reference::ByteTable& old, int ratio,
                                          const std::vector<int>& index) {
    reference::Coordinates cell;
    std::vector<std::uint8_t> weights;
    for (const int i : index) {
        cell.push_back(i / ratio);
        weights.push_back(static_cast<std::uint8_t>(
            static_cast<double>(i % ratio) / ratio * (old.w_hi - old.w_lo) + old.w_lo));
    }
    return old.of(reference::simplex(cell, weights, static_cast<std::uint8_t>(old.w_hi)));
}

// Old points keep their values, also those outside the range.
std::vector<std::uint8_t> at_old_point(const reference::ByteTable& old, int ratio,
                                       std::vector<int> index) {
    for (int& i : index) i /= ratio;
    std::vector<std::uint8_t> values;
    for (std::size_t c = 0; c < old.output_luts.size(); ++c)
        values.push_back(old.output_luts[c][old.data[old.grid.position(index) + c]]);
    return values;
}

TEST(ByteSimplex, ExpandsToAnotherGrid) {
    struct Row {
        int dims, grid, new_grid;
        bool divides;
    };
    Random random(2);
    for (const Row& row :
         {Row{1, 2, 300, true}, Row{1, 33, 65, true}, Row{2, 3, 9, true}, Row{3, 5, 9, true},
          Row{4, 3, 7, true}, Row{5, 2, 4, true}, Row{3, 5, 5, true}, Row{1, 5, 4, false},
          Row{2, 3, 6, false}, Row{3, 4, 6, false}, Row{5, 3, 4, false}, Row{2, 9, 5, false}}) {
        for (int round = 0; round < 6; ++round) {
            const bool is_plain = round < 4;
            const TablePair old =
                random_table(random, {row.dims, 3, row.grid, is_plain ? 1 : round % 2 * 2},
                             is_plain ? 0 : 16, is_plain ? 255 : 235);
            reference::Lut identity;
            std::iota(identity.begin(), identity.end(), std::uint8_t{0});
            if (round % 2 == 0) {  // output LUTs only
                for (int d = 0; d < row.dims; ++d)
                    std::copy_n(identity.begin(), 256, md_tetrab_ilutptr(old.table.get(), d));
            }
            reference::ByteTable expected = old.expected;
            if (round % 2 == 0)
                std::fill(expected.input_luts.begin(), expected.input_luts.end(), identity);
            const bool is_exact =
                row.divides && std::count(expected.input_luts.begin(), expected.input_luts.end(),
                                          identity) == row.dims;

            const ByteTable larger(md_tetrab_expand(old.table.get(), row.new_grid));
            ASSERT_EQ(md_tetrab_get_nrpoints(larger.get()),
                      static_cast<int>(std::pow(row.new_grid, row.dims)));
            std::vector<int> index(static_cast<std::size_t>(row.dims));
            std::vector<std::uint8_t> codes(index.size());
            do {
                const unsigned char* point =
                    md_tetrab_vertex_get(larger.get(), index.data(), codes.data());
                const std::vector<std::uint8_t> values(point, point + 3);
                if (is_exact) {
                    const int ratio         = (row.new_grid - 1) / (row.grid - 1);
                    const bool is_old_point = std::all_of(index.begin(), index.end(),
                                                          [&](int i) { return i % ratio == 0; });
                    ASSERT_EQ(values, is_old_point ? at_old_point(expected, ratio, index)
                                                   : in_divided_cell(expected, ratio, index));
                } else {
                    ASSERT_EQ(values, expected.at(codes));
                }
            } while (md_tetrab_scan_vertex(larger.get(), index.data()));
        }
    }
    const ByteTable old(md_tetrab_new(1, 1, 2));
    EXPECT_EQ(message_of([&] { EXPECT_EQ(md_tetrab_expand(old.get(), 1), nullptr); }),
              "md_tetrab_expand: error in md_tetrab_new");
}

}  // namespace
