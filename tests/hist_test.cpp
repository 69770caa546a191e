// The histogram against counts in a map.

#include "movane/imaging.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

namespace {

using namespace movane_tests;

// v is counted at lo - 1 when it is below, at hi + 1 when it is above; without room for both,
// below.
long long held(long long v, int lo, int hi) {
    if (v < lo) return lo - 1LL;
    return v > hi ? hi + 1LL : v;
}

TEST(Hist, CountsAndReportsWhatAMapDoes) {
    std::mt19937 random(1);
    const auto within = [&](int lo, int hi) {
        return static_cast<int>(lo + static_cast<long long>(random() % (hi - lo + 1LL)));
    };
    for (int round = 0; round < 2000; ++round) {
        const bool at_end = round % 10 == 0;
        const int lo      = at_end ? INT_MIN + within(0, 2) : within(-40, 40),
                  hi      = lo + within(at_end ? 0 : -2, 60);
        const Handle h(hist_new(lo, hi), hist_kill);
        std::map<long long, long long> counts;
        int fed = 0;
        for (int part = within(0, 3); part > 0; --part) {
            std::vector<int> values(static_cast<std::size_t>(within(0, 50)));
            for (int& v : values) {
                v = at_end ? static_cast<int>(random()) : within(-70, 130);
                ++counts[held(v, lo, hi)];
            }
            hist_point(h, values.data(), static_cast<int>(values.size()));
            fed += static_cast<int>(values.size());
        }
        int total             = -1;
        const int* const bins = hist_get(h, &total);
        ASSERT_EQ(total, fed);
        for (long long v = lo - 1LL; v <= hi + 1LL; ++v) ASSERT_EQ(bins[v - lo + 1], counts[v]);

        if (round % 3 == 0) {
            total = within(-5, 100);
            ASSERT_EQ(hist_set(h, total), total);
        }
        double sum = 0.0, squares = 0.0, mean = -1.0, sdev = -1.0;
        for (long long v = lo; v <= hi; ++v)
            sum += static_cast<std::int32_t>(static_cast<std::uint32_t>(v * counts[v]));
        if (total != 0) sum /= total;
        for (long long v = lo; v <= hi; ++v) {
            const double d = static_cast<double>(v) - sum;
            squares += d * d * static_cast<double>(counts[v]);
        }
        hist_med(h, &mean, &sdev);
        ASSERT_EQ(mean, sum);
        const double expected = total != 0 ? std::sqrt(squares / total) : squares;
        ASSERT_TRUE(sdev == expected || (std::isnan(sdev) && std::isnan(expected)));

        for (const double percent : {-10.0, 0.0, 3.0, 50.0, 99.9, 100.0, 150.0}) {
            const double target = std::trunc(total * percent / 100.0);
            long long v = lo - 1LL, reached = 0;
            if (target >= 1)
                while (v <= hi && static_cast<double>(reached) < target) reached += counts[v++];
            ASSERT_EQ(hist_percentile(h, percent), static_cast<int>(v)) << percent;
        }
    }
}

TEST(Hist, TakesCountsBelow1AndSumsThatWrap) {
    const Handle h(hist_new(0, 10), hist_kill);
    const int values[] = {5, -3, 99};
    int total          = 0;
    hist_point(h, values, 0);
    hist_point(h, nullptr, -2);
    hist_point(h, values, 3);
    EXPECT_EQ(hist_get(h, &total)[6], 1);
    EXPECT_EQ(total, 1);

    hist_set(h, INT_MAX);
    hist_get(h, &total)[10] = INT_MAX;  // of value 9
    hist_point(h, values, 1);
    hist_get(h, &total);
    EXPECT_EQ(total, INT_MIN);
    double mean = 0.0, sdev = 0.0;
    hist_set(h, 1);
    hist_med(h, &mean, &sdev);
    EXPECT_EQ(mean, 2147483639.0 + 10);  // 9 * INT_MAX wraps
    EXPECT_EQ(hist_percentile(h, 1e300), 10);
    EXPECT_EQ(hist_percentile(h, std::nan("")), -1);
}

TEST(Hist, RefusesBoundsWithoutBins) {
    const MessageCapture capture;
    expect_failed(Handle(hist_new(5, 2), hist_kill), nullptr, "hist_new: illegal bounds");
    expect_failed(Handle(hist_new(0, INT_MAX - 2), hist_kill), nullptr, "hist_new: illegal bounds");
    expect_failed(Handle(hist_new(INT_MIN, INT_MAX), hist_kill), nullptr,
                  "hist_new: illegal bounds");
    EXPECT_NE(Handle(hist_new(INT_MAX, INT_MAX), hist_kill), nullptr);
}

}  // namespace
