// A host of the region quadtree that notes what it is asked.
#pragma once

#include "movane/gamut.h"

#include "reference/quadtree_reference.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

namespace movane_tests {

struct Region {
    std::function<bool(int, int)> is_inside;
    int fails_at;  // the call, from 1, that returns 3
    std::vector<std::pair<int, int>> asked = {};
    std::vector<float> told                = {};

    int operator()(int x, int y, unsigned char* inside) {
        asked.emplace_back(x, y);
        *inside = is_inside(x, y) ? 200 : 0;
        return std::ssize(asked) == fails_at ? 3 : 0;
    }

    static int classify(void* user, const int* x, const int* y, int n, unsigned char* inside) {
        EXPECT_EQ(n, 1);
        return (*static_cast<Region*>(user))(*x, *y, inside);
    }

    static int note(void* user, float percent) {
        static_cast<Region*>(user)->told.push_back(percent);
        return -1;
    }
};

}  // namespace movane_tests
