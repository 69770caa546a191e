// Double simplex tables without memory.

#include "movane/interpolation.h"

#include "support/allocation_failures.h"

using namespace movane_tests;

TEST(DoubleSimplexWithoutMemory, EachAllocationHasItsMessage) {
    const std::string plain = "md_tetra_new: insufficient memory",
                      cells = "md_tetrab_new: malloc failure", rest = "md_tetrad_new: insuff. mem.";
    // The record, the strides and three scratch arrays; the array of cell tables; two cell tables
    // and the values.
    const std::vector<std::string> messages = {plain, plain, plain, plain, plain,
                                               cells, rest,  rest,  rest};
    check_every_allocation_failure("md_tetrad_new", messages, [] {
        return made(md_tetrad_new(2, 1, 3, 0.0, 1.0), md_tetrad_kill);
    });
}
