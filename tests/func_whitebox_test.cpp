// Functions, interpolators and gradation tables without memory.

#include "movane/interpolation.h"

#include "movane/foundation.h"

#include "support/allocation_failures.h"
#include "support/handle.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;

const std::string kNoRoom    = "list_insert : Unable to extend list, insufficient resources",
                  kNoFunc    = "func_new : unable to create new instance of function",
                  kNoCurve   = "lin_interp : Cannot create new instance of double interpolator",
                  kNoInverse = "lin_interp_double : cannot create inverted object";

TEST(FuncWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure("func_new", kNoFunc,
                                   [] { return made(func_new(3, 8, 8, xsort_int), func_kill); });
    check_every_allocation_failure("lin_interp_double_new", kNoCurve, [] {
        return made(lin_interp_double_new(3, nullptr), lin_interp_double_kill);
    });
    const Handle curve(lin_interp_double_new(2, nullptr), lin_interp_double_kill);
    const Handle f(func_new(2, sizeof(double), sizeof(double), xsort_int), func_kill);
    for (double x = 0; x < 5; ++x) {
        lin_interp_double_insert(curve, x, 5 - x);
        func_insert(f, &x, &x);
    }
    check_every_allocation_failure("lin_interp_double_invert", kNoInverse, [&] {
        return made(lin_interp_double_invert(curve, nullptr), lin_interp_double_kill);
    });
    std::vector<std::string> messages(5, kNoFunc);
    messages.insert(messages.end(), 4, kNoRoom);
    check_every_allocation_failure("func_invert", messages,
                                   [&] { return made(func_invert(f, xsort_int), func_kill); });
}

// Room for two points: both lists have to grow for the third and the fifth.
TEST(FuncWithoutMemory, GrowthFailsAsAWhole) {
    std::vector<std::string> messages(6, kNoCurve);
    messages.insert(messages.end(), 4, kNoRoom);
    check_every_allocation_failure("lin_interp_double_insert", messages, [] {
        const Handle curve(lin_interp_double_new(2, nullptr), lin_interp_double_kill);
        int added = 0;
        while (curve && added < 5 && lin_interp_double_insert(curve, -added, added) == 0) ++added;
        EXPECT_EQ(lin_interp_double_num(curve), added);
        double x, y;
        for (int i = 0; i < added; ++i) {
            EXPECT_EQ(lin_interp_double_getp(curve, i, &x, &y), 0);
            EXPECT_TRUE(y == -x && y == added - 1 - i);
            if (added < 2) continue;
            EXPECT_EQ(lin_interp_double_inter(curve, x - 0.5, &y), 0);
            EXPECT_EQ(y, 0.5 - x);
        }
        return added == 5;
    });
}

TEST(FuncWithoutMemory, GradationTablesSayWhichPartFailed) {
    const TemporaryDirectory directory;
    const std::string path = directory / "curve";
    std::string text       = "[patches]\n";
    for (int i = 0; i < 30; ++i) text += "p = " + std::to_string(i) + " 0\n";
    write_file(path, text);
    std::set<std::string> messages;
    check_every_allocation_failure("grad_tab_new", "", [&] {
        const bool succeeded = made(grad_tab_new(path.c_str(), 0, 1, 0), grad_tab_kill);
        if (!succeeded) messages.insert(MessageCapture::take());
        return succeeded;
    });
    EXPECT_EQ(messages, (std::set<std::string>{"", "file_double_new: Not enough resources",
                                               "file_double_new: Unable to open record file",
                                               kNoCurve, kNoRoom, kNoInverse}));
}

}  // namespace
