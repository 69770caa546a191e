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

using namespace movane_tests;

void expect_variants_to_agree(Random& random, const TablePair& tables) {
    auto& kernels               = movane::md_tetrab_kernels;
    const reference::Grid& grid = tables.expected.grid;
    const Line line(random, grid);
    const auto result_of = [&](const movane::MdTetrabKernels* kernel) {
        kernels.use(kernel);
        return line.run([&](auto... arguments) { md_tetrab_interp(tables.table, arguments...); });
    };
    const auto expected = result_of(&movane::md_tetrab_scalar);
    for (const auto& variant : kernels.variants()) {
        if (!movane::cpu_offers(variant.needs)) continue;
        EXPECT_TRUE(result_of(variant.kernels) == expected)
            << variant.kernels->name << ": " << grid.dims << " dimensions, " << grid.outputs
            << " outputs, grid " << grid.grid << ", count " << line.count;
    }
    kernels.use(nullptr);
}

TEST(ByteSimplexKernels, VariantsEqualTheDefinition) {
    Random random(3);
    for (int round = 0; round < 800; ++round)
        expect_variants_to_agree(random, random_table(random, random.among({1, 2, 3, 3, 4, 4, 5})));
    // Cell offsets of up to 24 bits are packed beside the weights: 62 and 64 lie on either side.
    for (const int grid : {62, 64}) {
        const TablePair tables = random_table(random, {4, 1, grid, 1}, 0, 255);
        for (int round = 0; round < 10; ++round) expect_variants_to_agree(random, tables);
    }
}

TEST(ByteSimplexWithoutMemory, EachAllocationHasItsMessage) {
    const std::string plain = "md_tetra_new: insufficient memory",
                      grid = "md_tetrab_new: malloc failure", own = "md_tetrab_new: insuff. mem.";
    // The record; values, array of cell tables and two of them; arrays of LUTs and three LUTs; the
    // products of a range of its own; strides and five scratch arrays.
    std::vector<std::string> messages = {plain, grid,  grid,  grid,  grid,  plain, plain, plain,
                                         plain, plain, plain, plain, plain, plain, plain, plain};
    for (const int w_hi : {255, 100}) {
        check_every_allocation_failure("md_tetrab_new_special", messages, [&] {
            return made(md_tetrab_new_special(2, 1, 3, 0, w_hi, 1), md_tetrab_kill);
        });
        messages.insert(messages.begin() + 10, own);
    }
    const ByteTable table(md_tetrab_new(3, 2, 3), md_tetrab_kill);
    check_every_allocation_failure(
        "md_tetrab_expand", "md_tetrab_expand: error in md_tetrab_new",
        [&] { return made(md_tetrab_expand(table, 5), md_tetrab_kill); });
}

}  // namespace
