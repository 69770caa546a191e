// Matrices without memory: every allocation refused once.

#include "movane/numerics.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using movane_tests::check_every_allocation_failure;
using movane_tests::MessageCapture;

constexpr double kValues[] = {0, 2, 1, 3};

void expect_structured_message() {
    const std::string posted = MessageCapture::take();
    EXPECT_EQ(posted.find("nr: 1, kind: 0, sys: 12, file: MOVANE/Private/Source/mat, line: "), 0u);
    EXPECT_NE(posted.find(", info: No resources available"), std::string::npos);
}

TEST(MatWithoutMemory, ReportsAndStaysUsable) {
    using Call         = bool (*)(movane_mat*);
    const Call calls[] = {
        [](movane_mat*) { return true; },
        [](movane_mat* a) { return mat_get_col(a, 1) != nullptr; },
        [](movane_mat* a) {
            int status        = 7;
            const bool solved = mat_ludcmp(a, &status) == 0;
            EXPECT_EQ(status, 0);
            return solved;
        },
        [](movane_mat* a) {
            double b[2] = {4, 7};
            int status  = 7;
            return mat_solve_set(a, b, &status) == 0 && b[0] == 1.0 && b[1] == 2.0;
        },
        [](movane_mat* a) {
            double det = 7.0;
            return mat_det_det(a, &det) == 0 && det == -2.0;
        },
        [](movane_mat* a) {
            int status          = 7;
            movane_mat* inverse = mat_invert(a, &status);
            EXPECT_EQ(status, 0);
            mat_kill(inverse);
            return inverse != nullptr;
        },
    };
    for (const Call call : calls) {
        check_every_allocation_failure("mat", "", [&] {
            movane_mat* a = mat_new(kValues, 2);
            const bool ok = a && call(a);
            if (!ok) expect_structured_message();
            if (a && !ok) {
                movane::testing::end_refusals();
                EXPECT_TRUE(call(a)) << "with memory again";
            }
            mat_kill(a);
            return ok;
        });
    }
}

}  // namespace
