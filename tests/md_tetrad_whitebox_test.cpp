// Double simplex tables without memory.

#include "movane/interpolation.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using movane_tests::check_every_allocation_failure;
using movane_tests::MessageCapture;

TEST(DoubleSimplexWithoutMemory, EachAllocationHasItsMessage) {
    const std::string plain = "md_tetra_new: insufficient memory",
                      cells = "md_tetrab_new: malloc failure", rest = "md_tetrad_new: insuff. mem.";
    // The record, the strides and three scratch arrays; the array of cell tables; two cell tables
    // and the values.
    const std::vector<std::string> messages = {plain, plain, plain, plain, plain,
                                               cells, rest,  rest,  rest};
    std::size_t next                        = 0;
    check_every_allocation_failure("md_tetrad_new", "", [&] {
        md_tetrad_table* table = md_tetrad_new(2, 1, 3, 0.0, 1.0);
        const bool succeeded   = table != nullptr;
        md_tetrad_kill(table);
        if (succeeded) {
            EXPECT_EQ(next, messages.size());
            next = 0;
        } else {
            EXPECT_EQ(MessageCapture::take(), next < messages.size() ? messages[next] : "");
            ++next;
        }
        return succeeded;
    });
}

}  // namespace
