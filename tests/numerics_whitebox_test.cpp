// The numerics without memory: every allocation refused, one at a time.

#include "movane/numerics.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

using namespace movane_tests;

// The structured message of a module, wherever in it the call failed.
void expect_no_resources(const std::string& module) {
    const std::string posted = MessageCapture::take();
    const std::string place  = "file: MOVANE/Private/Source/" + module + ", line: ";
    EXPECT_EQ(posted.find("nr: 1, kind: 0, sys: 12, " + place), 0u) << posted;
    EXPECT_TRUE(posted.ends_with(", info: No resources available")) << posted;
}

TEST(NumericsWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure("random_new", "Random_new : allocation failed", [] {
        int* const state = random_new(1);
        random_kill(state);
        return state != nullptr;
    });
    check_every_allocation_failure("dhsm_new", "", [] {
        dhsm* const h = dhsm_new(nullptr, nullptr, 3);
        if (!h) expect_no_resources("dhsm");
        dhsm_kill(h);
        return h != nullptr;
    });
    const MessageCapture capture;
    EXPECT_EQ(dhsm_new(nullptr, nullptr, INT_MAX), nullptr);
    expect_no_resources("dhsm");
    EXPECT_EQ(mat_gen_new(nullptr, INT_MAX, INT_MAX), nullptr);
    expect_no_resources("mat");
}

TEST(NumericsWithoutMemory, MatricesReportAndStayUsable) {
    const double values[] = {0, 2, 1, 3};
    const auto use        = [](movane_mat* a) {
        double b[] = {4, 7}, det = 0;
        int status = 7;
        if (!mat_get_col(a, 1) || mat_det_det(a, &det) != 0) return false;
        if (mat_solve_set(a, b, &status) != 0) return false;
        movane_mat* const inverse = mat_invert(a, &status);
        mat_kill(inverse);
        EXPECT_TRUE(status == 0 && det == -2 && b[0] == 1 && b[1] == 2);
        return inverse != nullptr;
    };
    check_every_allocation_failure("mat", "", [&] {
        movane_mat* const a  = mat_new(values, 2);
        const bool succeeded = a && use(a);
        if (!succeeded) expect_no_resources("mat");
        if (!succeeded) movane::testing::end_refusals();
        EXPECT_TRUE(!a || succeeded || use(a)) << "with memory again";
        mat_kill(a);
        return succeeded;
    });
}

TEST(NumericsWithoutMemory, PowerTablesAnswerZeroForTheRowsConcerned) {
    check_every_allocation_failure("TFastPow", "", [] {
        TFastPow table(2, 3);
        int rows = 0;
        for (const int x : {0x0000, 0x4000, 0x8000, 0xC000}) {
            // Anything to the power 0 is 1.
            const int power = table.Calculate(static_cast<unsigned short>(x), 0);
            EXPECT_TRUE(power == 0 || power == 65535);
            rows += power == 65535;
        }
        return rows == 4;
    });
}

}  // namespace
