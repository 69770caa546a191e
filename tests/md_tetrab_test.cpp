// Byte simplex tables against a plain reference, and the corners of their interface.

#include "movane/interpolation.h"

#include "reference/simplex.h"
#include "support/messages.h"
#include "support/simplex_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <numeric>
#include <vector>

namespace {

using namespace movane_tests;

TEST(ByteSimplex, InterpolatesLikeTheReference) {
    Random random(1);
    for (int round = 0; round < 600; ++round) {
        const TablePair tables = random_table(random, 1 + round % 6);
        const Line line(random, tables.expected.grid);
        const auto ours =
            line.run([&](auto... arguments) { md_tetrab_interp(tables.table, arguments...); });
        const auto expected =
            line.run([&](auto... arguments) { tables.expected.interpolate(arguments...); });
        ASSERT_TRUE(ours == expected)
            << "round " << round << ": " << tables.expected.grid.dims << " dimensions, "
            << tables.expected.grid.outputs << " outputs, count " << line.count;
    }
}

TEST(ByteSimplex, RefusesIllegalTables) {
    const MessageCapture posted;
    const struct {
        int dims, outputs, grid, w_lo, w_hi, pad;
    } rows[] = {{0, 1, 2, 0, 255, 1},
                {1, 0, 2, 0, 255, 1},
                {1, 1, 1, 0, 255, 1},
                {-1, 1, 2, 0, 255, 1},
                {1, 1, 2, -1, 255, 1},
                {1, 1, 2, 0, 256, 1},
                {1, 1, 2, 9, 9, 1},
                {1, 1, 2, 0, 255, -1},
                {6, 4, 33, 0, 255, 1},
                {5, 6, 51, 0, 255, 1},
                {4, 1, 255, 0, 255, 1},
                {31, 1, 2, 0, 255, 0},
                {1, 1, INT_MAX, 0, 255, INT_MAX},
                {1000000, INT_MAX, INT_MAX, 0, 255, 1}};
    for (const auto& [dims, outputs, grid, w_lo, w_hi, pad] : rows)
        expect_failed(md_tetrab_new_special(dims, outputs, grid, w_lo, w_hi, pad), nullptr,
                      "md_tetra_new: illegal dimension");
    expect_failed(ByteTable(md_tetrab_new(0, 1, 2), md_tetrab_kill), nullptr,
                  "md_tetra_new: illegal dimension");
}

TEST(ByteSimplex, WalksItsPointsAndStoresThemInterleaved) {
    for (const int w_lo : {0, 16}) {
        const ByteTable table(md_tetrab_new_special(2, 3, 5, w_lo, 255, 1), md_tetrab_kill);
        int size = 0, index[2] = {}, left = md_tetrab_get_nrpoints(table);
        unsigned char codes[2], *const data = md_tetrab_dataptr(table, &size);
        EXPECT_EQ(size, 6 * 6 * 3);
        EXPECT_EQ(std::count(data, data + size, w_lo), size);
        EXPECT_EQ(left, 25);
        do {
            const int i = (25 - left) % 5, j = (25 - left) / 5;
            EXPECT_EQ(md_tetrab_vertex_get(table, index, codes), data + i * 18 + j * 3);
            EXPECT_EQ(codes[0], (i * 255 + 2) / 4);  // halves are rounded up
            EXPECT_EQ(codes[1], (j * 255 + 2) / 4);
            EXPECT_EQ(md_tetrab_scan_vertex(table, index), --left);
        } while (left > 0);
        EXPECT_EQ(index[0] + index[1], 0);
    }
}

TEST(ByteSimplex, ShowsItsLuts) {
    const ByteTable table(md_tetrab_new(1, 2, 2), md_tetrab_kill);
    unsigned char *const in = md_tetrab_ilutptr(table, 0), *const out = md_tetrab_olutptr(table, 1);
    unsigned char* olut[] = {nullptr, out};  // a table's own LUT stays as it is
    in[9] = out[9] = 99;
    EXPECT_EQ(md_tetrab_LUT(table, &olut[0], olut), 1);
    EXPECT_EQ(in[9], 9);
    EXPECT_EQ(out[9], 99);
    EXPECT_EQ(md_tetrab_LUT(table, nullptr, nullptr), 1);
    EXPECT_EQ(out[9], 9);
    for (const int outside : {-1, 2}) {
        EXPECT_EQ(md_tetrab_ilutptr(table, outside), nullptr);
        EXPECT_EQ(md_tetrab_olutptr(table, outside), nullptr);
    }
}

// What the points of a larger grid get: of a cell that is divided exactly, weights come from the
// parts, and old points keep their values, also those outside the range.
std::vector<std::uint8_t> expanded_at(const reference::ByteTable& old, int ratio,
                                      std::vector<int> index) {
    std::vector<std::uint8_t> weights, values;
    bool is_old_point = true;
    for (int& i : index) {
        weights.push_back(old.weight(i % ratio / static_cast<double>(ratio)));
        is_old_point = is_old_point && i % ratio == 0;
        i /= ratio;
    }
    if (!is_old_point) return old.in_cell(index, weights);
    for (std::size_t c = 0; c < old.output_luts.size(); ++c)
        values.push_back(old.output_luts[c][old.data[old.grid.position(index) + c]]);
    return values;
}

TEST(ByteSimplex, ExpandsToAnotherGrid) {
    const struct {
        int dims, grid, new_grid, ratio;  // 0: not an exact division
    } rows[] = {{1, 2, 300, 299}, {1, 33, 65, 2}, {2, 3, 9, 4}, {3, 5, 9, 2},
                {4, 3, 7, 3},     {5, 2, 4, 3},   {3, 5, 5, 1}, {1, 5, 4, 0},
                {2, 3, 6, 0},     {3, 4, 6, 0},   {5, 3, 4, 0}, {2, 9, 5, 0}};
    Random random(2);
    for (const auto& [dims, grid, new_grid, ratio] : rows) {
        for (int round = 0; round < 6; ++round) {
            const bool is_plain = round < 4;
            TablePair old = random_table(random, {dims, 3, grid, is_plain ? 1 : round % 2 * 2},
                                         is_plain ? 0 : 16, is_plain ? 255 : 235);
            auto& luts    = old.expected.input_luts;
            for (int d = 0; d < dims && round % 2 == 0; ++d) {  // output LUTs only
                std::iota(md_tetrab_ilutptr(old.table, d), md_tetrab_ilutptr(old.table, d) + 256,
                          std::uint8_t{0});
                luts[static_cast<std::size_t>(d)] = reference::identity();
            }
            const bool is_exact =
                ratio > 0 && std::count(luts.begin(), luts.end(), reference::identity()) == dims;

            const ByteTable larger(md_tetrab_expand(old.table, new_grid), md_tetrab_kill);
            std::vector<int> index(luts.size());
            std::vector<std::uint8_t> codes(luts.size());
            do {
                const auto* const values = md_tetrab_vertex_get(larger, index.data(), codes.data());
                ASSERT_EQ(
                    std::vector(values, values + 3),
                    is_exact ? expanded_at(old.expected, ratio, index) : old.expected.at(codes));
            } while (md_tetrab_scan_vertex(larger, index.data()));
        }
    }
    const MessageCapture posted;
    const ByteTable old(md_tetrab_new(1, 1, 2), md_tetrab_kill);
    expect_failed(md_tetrab_expand(old, 1), nullptr, "md_tetrab_expand: error in md_tetrab_new");
}

}  // namespace
