// Gradation tables and their files.

#include "movane/interpolation.h"

#include "support/handle.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace movane_tests;

using Table = Handle<grad_tab, int>;

std::string listed(grad_tab* t) {
    std::ostringstream text;
    double pair[2] = {};
    for (int state = 7; grad_tab_list(t, &state, pair) == 1;) {
        EXPECT_EQ(state, 1);
        text << pair[0] << ':' << pair[1] << ' ';
    }
    return text.str();
}

TEST(GradTab, KeepsRelativePairsAndReadsThemBack) {
    const TemporaryDirectory directory;
    const std::string path = directory / "curve";
    {
        const Table t(grad_tab_new(path.c_str(), 1, 300, 100), grad_tab_kill);
        for (const std::vector<double>& point :
             {std::vector<double>{100, 300}, {200, 150}, {300, 100}, {200.4, 200}, {101, 290}})
            EXPECT_EQ(grad_tab_add_point(t, point.data()), 0);
        const std::string points = "100:300 200:150 300:100 200.4:200 101:290 ";
        EXPECT_EQ(listed(t), points);
        EXPECT_EQ(grad_tab_save(t), 0);
        EXPECT_EQ(read_file(path),
                  "[patches]\np100 = 0.000  1.000\np50 = 0.500  0.250\n"
                  "p0 = 1.000  0.000\np50 = 0.502  0.500\np100 = 0.005  0.950\n");
        // Its inverse is from the beginning.
        double sample = 150;
        EXPECT_EQ(outcome_of([&] { return grad_tab_do_inv(t, &sample, 1, &sample, 1, 1); }),
                  "-1 lin_interp : too little function points");
    }
    write_file(path, "[patches]\na = 0 1\nb = 1 0.25\nc = 0.5 0.5\n");
    const Table t(grad_tab_new(path.c_str(), 0, 10, -6), grad_tab_kill);
    EXPECT_EQ(listed(t), "-6:10 10:-2 2:2 ");

    // Every other sample into every third place; the new point is in the forward curve alone.
    const double added[] = {-2, 4}, in[] = {-6, 9, -2, 9, 2, 9, 22};
    EXPECT_EQ(grad_tab_add_point(t, added), 0);
    std::vector<double> out(10, 99);
    EXPECT_EQ(grad_tab_do(t, in, 2, out.data(), 3, 4), 0);
    EXPECT_EQ(out, (std::vector<double>{10, 99, 99, 4, 99, 99, 2, 99, 99, -8}));
    EXPECT_EQ(grad_tab_do_inv(t, in, 2, out.data(), 3, 4), 0);
    EXPECT_EQ(out, (std::vector<double>{18, 99, 99, 10, 99, 99, 2, 99, 99, -18}));
    for (const int count : {0, -1}) EXPECT_EQ(grad_tab_do(t, nullptr, 1, nullptr, 1, count), 0);

    // The first sample that fails ends the call.
    const double top[] = {10, 0};
    EXPECT_EQ(grad_tab_add_point(t, top), 0);
    double row[] = {0, 20, 0};
    EXPECT_EQ(outcome_of([&] { return grad_tab_do(t, row, 1, row, 1, 3); }),
              "-1 lin_interp : not a function !!");
    EXPECT_EQ(std::vector(row, row + 3), (std::vector<double>{3, 20, 0}));
}

TEST(GradTab, RefusesWhatItCannotKeep) {
    const TemporaryDirectory directory;
    const std::string none = directory / "none", path = directory / "curve";
    EXPECT_EQ(message_of([&] { EXPECT_EQ(grad_tab_new(none.c_str(), 0, 1, 0), nullptr); }),
              "file_double_new: Unable to open record file");
    const auto added = [&](double max, double min, double x, double y) {
        const Table t(grad_tab_new(path.c_str(), 1, max, min), grad_tab_kill);
        const double point[] = {x, y};
        std::string result   = outcome_of([&] { return grad_tab_add_point(t, point); });
        return result + "; " + listed(t);
    };
    EXPECT_EQ(added(5, 5, 5, 5), "-1; ");
    EXPECT_EQ(added(1, 0, 0.5, NAN), "-1 Error bad formatted item string from doubles, ier -1 ; ");
    EXPECT_EQ(added(1, 0, 1e300, 0), "-1 file_double_add_item: illegal name; ");
    EXPECT_EQ(grad_tab_save(nullptr), -1);
}

}  // namespace
