// Vectors without memory.

#include "movane/gamut.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

namespace {

using movane_tests::check_every_allocation_failure;
using movane_tests::MessageCapture;

void expect_message_of(const std::string& module) {
    EXPECT_NE(MessageCapture::take().find("file: MOVANE/Private/Source/" + module + ", line: "),
              std::string::npos);
}

TEST(VectWithoutMemory, ReportsAndLeavesNothing) {
    check_every_allocation_failure("vect_lobe_new", "", [] {
        const double y[] = {0, 0, 5, 0, 0};
        vect_lobe* lobe  = vect_lobe_new(y, 5, 0, 0, 0.0, 0.0, 1.0);
        if (!lobe) expect_message_of("vect_lobe");
        vect_lobe_kill(lobe);
        return lobe != nullptr;
    });
    check_every_allocation_failure("vect_vector_product", "", [] {
        const double in[] = {3, 1, 0, 0, 0, 1, 0};
        double out[3];
        const int result = vect_vector_product(in, out);
        if (result != 0) expect_message_of("mat");
        return result == 0;
    });
}

}  // namespace
