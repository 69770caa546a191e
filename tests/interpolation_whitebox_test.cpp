// Functions, interpolators, gradation tables and the CLUT class without memory.

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

// So many of the first message, then so many of the second.
std::vector<std::string> messages(int n, const std::string& first, int m,
                                  const std::string& second) {
    std::vector<std::string> all(n, first);
    all.insert(all.end(), m, second);
    return all;
}

// Room for two points: both lists have to grow for the third and the fifth, as a whole.
TEST(InterpolationWithoutMemory, FunctionsReportAndStayAsTheyAre) {
    check_every_allocation_failure(
        "lin_interp_double_insert", messages(6, kNoCurve, 4, kNoRoom), [] {
            const Handle curve(lin_interp_double_new(2, nullptr), lin_interp_double_kill);
            int added = 0;
            while (curve && added < 5 && lin_interp_double_insert(curve, -added, added) == 0)
                ++added;
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
    const Handle curve(lin_interp_double_new(2, nullptr), lin_interp_double_kill);
    const Handle f(func_new(2, sizeof(double), sizeof(double), xsort_int), func_kill);
    for (double x = 0; x < 5; ++x) {
        lin_interp_double_insert(curve, x, 5 - x);
        func_insert(f, &x, &x);
    }
    check_every_allocation_failure("lin_interp_double_invert", kNoInverse, [&] {
        return made(lin_interp_double_invert(curve, nullptr), lin_interp_double_kill);
    });
    check_every_allocation_failure("func_invert", messages(5, kNoFunc, 4, kNoRoom),
                                   [&] { return made(func_invert(f, xsort_int), func_kill); });
}

TEST(InterpolationWithoutMemory, GradationTablesSayWhichPartFailed) {
    const TemporaryDirectory directory;
    const std::string path = directory / "curve";
    std::string text       = "[patches]\n";
    for (int i = 0; i < 30; ++i) text += "p = " + std::to_string(i) + " 0\n";
    write_file(path, text);
    std::set<std::string> posted;
    check_every_allocation_failure("grad_tab_new", "", [&] {
        const bool succeeded = made(grad_tab_new(path.c_str(), 0, 1, 0), grad_tab_kill);
        if (!succeeded) posted.insert(MessageCapture::take());
        return succeeded;
    });
    EXPECT_EQ(posted, (std::set<std::string>{"", "file_double_new: Not enough resources",
                                             "file_double_new: Unable to open record file",
                                             kNoCurve, kNoRoom, kNoInverse}));
}

// Gives back what the class keeps.
struct Table : CLUT {
    using CLUT::CLUT;
    ~Table() override {
        for (void* block : {static_cast<void*>(data_), static_cast<void*>(corner_table_),
                            static_cast<void*>(top_coordinates_)})
            movane::release(block);
    }
};

TEST(InterpolationWithoutMemory, ClutsHaveNoPointsAndGiveZeros) {
    for (const int dims : {1, 3, 4, 5, 7}) {
        const auto inputs = static_cast<unsigned char>(dims);
        check_every_allocation_failure("CLUT", "", [inputs] {
            std::vector<unsigned char> points(inputs, 2);
            std::vector<float> ones(256, 1);
            Table table(inputs, points.data(), 2, 0, ones.data());
            const std::vector<double> in(inputs, 0.5);
            double out[] = {9, 9, 9};
            table.Interpolate(out, in.data());
            const bool has_points = table.NumPoints() != 0;
            EXPECT_TRUE(out[0] == has_points && out[1] == has_points && out[2] == 9);
            EXPECT_EQ(table.GetData(0) != nullptr, has_points);
            return has_points;
        });
    }
}

}  // namespace
