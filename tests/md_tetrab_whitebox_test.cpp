// Byte simplex tables: every variant of the kernel against the definition, and the messages of
// every allocation.

#include "movane/interpolation.h"

#include "Kernels/md_tetrab_variants.h"
#include "support/allocation_failures.h"
#include "support/simplex_lines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using movane_tests::check_every_allocation_failure;
using movane_tests::Line;
using movane_tests::MessageCapture;
using movane_tests::Random;
using movane_tests::random_table;
using movane_tests::TablePair;

TEST(ByteSimplexKernels, VariantsEqualTheDefinition) {
    auto& kernels = movane::md_tetrab_kernels;
    Random random(3);
    for (int round = 0; round < 800; ++round) {
        const TablePair tables = random_table(random, random.among({1, 2, 3, 3, 3, 4, 4, 4, 5}));
        const Line line(random, tables.expected.grid);
        const auto result_of = [&](const movane::MdTetrabKernels* kernel) {
            kernels.use(kernel);
            return line.run(
                [&](auto... arguments) { md_tetrab_interp(tables.table.get(), arguments...); });
        };
        const auto expected = result_of(&movane::md_tetrab_scalar);
        for (const auto& variant : kernels.variants()) {
            if (!movane::cpu_offers(variant.needs)) continue;
            ASSERT_TRUE(result_of(variant.kernels) == expected)
                << variant.kernels->name << ", round " << round << ": " << tables.expected.grid.dims
                << " dimensions, " << tables.expected.grid.outputs << " outputs, count "
                << line.count;
        }
    }
    kernels.use(nullptr);
}

// Cell offsets of up to 24 bits are packed beside the weights; 4-D grids of 62 and 64 lie on
// either side of that.
TEST(ByteSimplexKernels, VariantsAgreeOnLargeGrids) {
    auto& kernels = movane::md_tetrab_kernels;
    Random random(4);
    for (const int grid : {62, 64}) {
        const movane_tests::ByteTable table(md_tetrab_new(4, 1, grid));
        int size                  = 0;
        unsigned char* const data = md_tetrab_dataptr(table.get(), &size);
        for (int i = 0; i < size; ++i) data[i] = static_cast<unsigned char>(i * 2654435761u >> 24);
        std::vector<unsigned char> codes(4 * 200);
        for (unsigned char& code : codes) code = random.one_in(3) ? 255 : random.byte();
        std::vector<unsigned char> expected;
        for (auto variant = kernels.variants().rbegin(); variant != kernels.variants().rend();
             ++variant) {
            if (!movane::cpu_offers(variant->needs)) continue;
            kernels.use(variant->kernels);
            std::vector<unsigned char> values(200);
            unsigned char *in[4] = {&codes[0], &codes[1], &codes[2], &codes[3]}, *out = &values[0];
            md_tetrab_interp(table.get(), in, 4, &out, 1, 200, nullptr, 0);
            if (expected.empty()) expected = values;
            EXPECT_EQ(values, expected) << variant->kernels->name << ", grid " << grid;
        }
    }
    kernels.use(nullptr);
}

TEST(ByteSimplexWithoutMemory, EachAllocationHasItsMessage) {
    const std::string plain = "md_tetra_new: insufficient memory",
                      grid = "md_tetrab_new: malloc failure", own = "md_tetrab_new: insuff. mem.";
    struct Row {
        int w_hi;
        std::vector<std::string> messages;
    };
    // The record; values, array of cell tables and two of them; arrays of LUTs and three LUTs;
    // the products of a range of its own; strides and five scratch arrays.
    std::vector<std::string> common = {plain, grid,  grid,  grid,  grid,
                                       plain, plain, plain, plain, plain};
    Row rows[]                      = {{255, common}, {100, common}};
    rows[1].messages.push_back(own);
    for (Row& row : rows) {
        row.messages.insert(row.messages.end(), 6, plain);
        std::size_t next = 0;
        check_every_allocation_failure("md_tetrab_new_special", "", [&] {
            md_tetrab_table* table = md_tetrab_new_special(2, 1, 3, 0, row.w_hi, 1);
            const bool succeeded   = table != nullptr;
            md_tetrab_kill(table);
            if (succeeded) {
                EXPECT_EQ(next, row.messages.size());
                next = 0;
            } else {
                EXPECT_EQ(MessageCapture::take(),
                          next < row.messages.size() ? row.messages[next] : "");
                ++next;
            }
            return succeeded;
        });
    }
}

TEST(ByteSimplexWithoutMemory, ExpandingReportsAndLeavesNothing) {
    md_tetrab_table* table = md_tetrab_new(3, 2, 3);
    check_every_allocation_failure("md_tetrab_expand", "md_tetrab_expand: error in md_tetrab_new",
                                   [&] {
                                       md_tetrab_table* expanded = md_tetrab_expand(table, 5);
                                       md_tetrab_kill(expanded);
                                       return expanded != nullptr;
                                   });
    md_tetrab_kill(table);
}

}  // namespace
