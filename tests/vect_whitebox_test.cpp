// Vectors without memory.

#include "movane/gamut.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

namespace {

using namespace movane_tests;

TEST(VectWithoutMemory, ReportsAndLeavesNothing) {
    const auto expect_message_of = [](const char* module) {
        EXPECT_NE(MessageCapture::take().find(module), std::string::npos);
    };
    check_every_allocation_failure("vect_lobe_new", "", [&] {
        const double y[]      = {0, 0, 5, 0, 0};
        vect_lobe* const lobe = vect_lobe_new(y, 5, 0, 0, 0.0, 0.0, 1.0);
        if (!lobe) expect_message_of("file: MOVANE/Private/Source/vect_lobe, line: ");
        vect_lobe_kill(lobe);
        return lobe != nullptr;
    });
    check_every_allocation_failure("vect_vector_product", "", [&] {
        const double in[] = {3, 1, 0, 0, 0, 1, 0};
        double out[3];
        const bool succeeded = vect_vector_product(in, out) == 0;
        if (!succeeded) expect_message_of("file: MOVANE/Private/Source/mat, line: ");
        return succeeded;
    });
}

}  // namespace
