// The histogram against counts in a map.

#include "movane/imaging.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

namespace {

using namespace movane_tests;

// Of a distribution with bins lo - 1 to hi + 1. Products wrap at 32 bits.
void expect_statistics(hist* h, std::map<std::int64_t, std::int64_t>& counts, int lo, int hi,
                       int total) {
    double sum = 0.0, squares = 0.0, mean = -1.0, sdev = -1.0;
    for (std::int64_t v = lo; v <= hi; ++v) sum += static_cast<std::int32_t>(v * counts[v]);
    if (total != 0) sum /= total;
    for (std::int64_t v = lo; v <= hi; ++v) {
        const double distance = static_cast<double>(v) - sum;
        squares += distance * distance * static_cast<double>(counts[v]);
    }
    const double expected = total != 0 ? std::sqrt(squares / total) : squares;
    hist_med(h, &mean, &sdev);
    ASSERT_EQ(mean, sum);
    ASSERT_TRUE(sdev == expected || (std::isnan(sdev) && std::isnan(expected)));

    for (const double percent : {-10.0, 0.0, 3.0, 50.0, 99.9, 100.0, 150.0, 1e300}) {
        const double target = std::min(std::trunc(total * percent / 100.0), 2147483647.0);
        std::int64_t v = lo - 1LL, reached = 0;
        while (target >= 1 && v <= hi && static_cast<double>(reached) < target)
            reached += counts[v++];
        ASSERT_EQ(hist_percentile(h, percent), static_cast<int>(v)) << percent;
    }
    ASSERT_EQ(hist_percentile(h, std::nan("")), static_cast<int>(lo - 1LL));
}

TEST(Hist, CountsAndReportsWhatAMapDoes) {
    std::mt19937 random(1);
    const auto within = [&](int lo, int hi) {
        return static_cast<int>(lo + static_cast<std::int64_t>(random() % (hi - lo + 1LL)));
    };
    for (int round = 0; round < 1000; ++round) {
        const bool at_top = round % 10 == 5, at_end = at_top || round % 10 == 0;
        const int lo = at_top   ? INT_MAX - within(0, 60)
                       : at_end ? INT_MIN + within(0, 2)
                                : within(-40, 40),
                  hi = at_top ? INT_MAX : lo + within(at_end ? 0 : -2, 60);
        const Handle h(hist_new(lo, hi), hist_kill);
        std::map<std::int64_t, std::int64_t> counts;
        int fed = 0, total = -1;
        for (int part = within(0, 3); part > 0; --part) {
            std::vector<int> values(within(0, 50));
            for (int& v : values) {
                v = at_end ? static_cast<int>(random()) : within(-70, 130);
                // Without room for both, what is above counts as below.
                ++counts[v < lo ? lo - 1LL : std::min<std::int64_t>(v, hi + 1LL)];
            }
            const int none = within(-2, 0);
            hist_point(h, nullptr, none);
            hist_point(h, values.data(), static_cast<int>(values.size()));
            fed += none + static_cast<int>(values.size());
        }
        int* const bins = hist_get(h, &total);
        ASSERT_EQ(total, fed);
        for (std::int64_t v = lo - 1LL; v <= hi + 1LL; ++v) ASSERT_EQ(bins[v - lo + 1], counts[v]);
        if (round % 3 == 0) {
            total = within(-5, 100);
            ASSERT_EQ(hist_set(h, total), total);
            const int bin          = within(0, std::max(hi - lo + 1, 0));
            counts[lo - 1LL + bin] = bins[bin] = INT_MAX;  // by the host
        }
        ASSERT_NO_FATAL_FAILURE(expect_statistics(h, counts, lo, hi, total));
        hist_set(h, INT_MAX);
        hist_point(h, &round, 1);
        hist_get(h, &total);
        ASSERT_EQ(total, INT_MIN);
    }
}

TEST(Hist, RefusesBoundsWithoutBins) {
    const MessageCapture capture;
    for (const auto& [lo, hi] : {std::pair{5, 2}, {0, INT_MAX - 2}, {INT_MIN, INT_MAX}})
        expect_failed(Handle(hist_new(lo, hi), hist_kill), nullptr, "hist_new: illegal bounds");
    EXPECT_NE(Handle(hist_new(INT_MAX, INT_MAX), hist_kill), nullptr);
}

}  // namespace
