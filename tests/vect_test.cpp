// Vectors against plain models from the standard library, and lobes against a recursive search.

#include "movane/gamut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using Values = std::vector<double>;
using Ints   = std::vector<int>;

TEST(Vect, MeasuresAndMultiplies) {
    const double a[] = {3, 0, -4}, b[] = {1, 2, 2};
    EXPECT_EQ(vect_calc_norm(a, 3), 5);
    EXPECT_EQ(vect_scalar_product(a, b, 3), -5);
    EXPECT_EQ(vect_square_distance(a, b, 3), 44);
    EXPECT_EQ(vect_distance(a, b, 3), std::sqrt(44));
    EXPECT_EQ(vect_Min(a, 3), -4);
    EXPECT_EQ(vect_Max(a, 3), 3);
    EXPECT_EQ(vect_Min(b, 0) + vect_Max(b, -1), 2);
    const auto normalised = [](Values v) {
        EXPECT_EQ(vect_normalise(v.data(), 2), 0);
        return v;
    };
    EXPECT_EQ(normalised({3, -4}), (Values{0.6, -0.8}));
    EXPECT_EQ(normalised({1e-20, 0}), (Values{1e-20, 0}));
    EXPECT_EQ(normalised({0, -2e-20}), (Values{0, -1}));
    const auto expect_product = [](const Values& in, const Values& product) {
        Values out(product.size());
        EXPECT_EQ(vect_vector_product(in.data(), out.data()), 0);
        for (std::size_t i = 0; i < out.size(); ++i) EXPECT_NEAR(out[i], product[i], 1e-14);
    };
    expect_product({2.9, 3, 4}, {4, -3});  // the dimension is cut to an integer
    expect_product({3, 1, 2, 3, 4, 5, 6}, {-3, 6, -3});
    expect_product({4, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, {0, 0, 0, -1});
}

template <class Value, class Index>
void check_sorted_arrays(int (*locate)(const Value*, Value, int, Index*),
                         int (*insert)(Value*, Value, int)) {
    std::mt19937 random(2);
    std::vector<Value> model, array(40);
    for (int n = 0; n < 40; ++n) {
        for (Value x = -1; x <= 12; ++x) {
            Index position = 7;
            EXPECT_EQ(locate(model.data(), x, n, &position), 0);
            ASSERT_EQ(position, std::lower_bound(model.begin(), model.end(), x) - model.begin());
            EXPECT_EQ(locate(model.data(), x, -1, &position) + position, 0);
        }
        const auto x = static_cast<Value>(random() % 12);
        model.insert(std::lower_bound(model.begin(), model.end(), x), x);
        if (!insert) continue;
        EXPECT_EQ(insert(array.data(), x, n + 1), 0);
        EXPECT_EQ(insert(array.data(), x, 0), 0);  // does nothing
        ASSERT_TRUE(std::equal(model.begin(), model.end(), array.begin()));
        ASSERT_EQ(std::count(array.begin() + n + 1, array.end(), Value{}), 39 - n);
    }
}

TEST(Vect, SortedArraysBehaveLikeTheStandardOnes) {
    check_sorted_arrays<int, int>(vect_locate_in_array, vect_insert_in_array);
    check_sorted_arrays<short, short>(vect_locate_in_sh_array, vect_insert_in_sh_array);
    check_sorted_arrays<double, int>(vect_locate_in_double_array, nullptr);
}

TEST(Vect, ShiftsRightAndFillsUpWithZeros) {
    for (int places = -1; places < 7; ++places) {
        Ints a{1, 2, 3, 4}, expected = a;
        expected.insert(expected.begin(), std::max(places, 0), 0);
        expected.resize(4);
        EXPECT_EQ(vect_shift_right_0(a.data(), 4, places), 0);
        EXPECT_EQ(a, expected) << places;
    }
}

TEST(Vect, WalksAllSubsetsInOrder) {
    for (int n = 0; n <= 7; ++n) {
        for (int k = 0; k <= n; ++k) {
            Ints chosen(k), flags(n), mask(n);
            std::fill_n(mask.begin(), k, 1);
            int first = 1;
            do {
                Ints expected;
                for (int i = 0; i < n; ++i)
                    if (mask[i]) expected.push_back(i);
                ASSERT_EQ(vect_next_point_selection(k, n, first, chosen.data(), flags.data()), 0);
                ASSERT_EQ(chosen, expected);
                ASSERT_EQ(flags, mask);
                first = 0;
            } while (std::prev_permutation(mask.begin(), mask.end()));
            EXPECT_EQ(vect_next_point_selection(k, n, 0, chosen.data(), flags.data()), -2);
        }
    }
    Ints chosen{7, 7}, flags{1, 0, 1, 1};
    EXPECT_EQ(vect_next_point_selection(1, 4, 0, chosen.data(), flags.data()), -1);
    EXPECT_EQ(flags, (Ints{1, 0, 1, 0}));
    EXPECT_EQ(chosen, (Ints{7, 7}));
    // A surplus that the scan does not reach stays; only k indices are handed out.
    EXPECT_EQ(vect_next_point_selection(1, 4, 0, chosen.data(), flags.data()), 0);
    EXPECT_EQ(flags, (Ints{1, 0, 0, 1}));
    EXPECT_EQ(chosen, (Ints{0, 7}));
}

// --- lobes --------------------------------------------------------------------------------------

struct Found {
    bool found = false;
    int left = 0, peak = 0, right = 0;
    double height = 0;
};

// Each lobe is compared with the best of the rest, as the definition has it.
Found find_lobe(const Values& y, int begin, double threshold) {
    const int n      = static_cast<int>(y.size());
    const auto rises = [&](int from, int to) { return y[to] > y[from] + threshold; };
    Found lobe{false, begin, begin, n - 1};
    double rise = 0, fall = 0;
    for (int i = begin + 1; n - begin >= 3 && i < n && !lobe.found; ++i) {
        rise       = std::max(rise, y[i] - y[i - 1]);
        fall       = std::min(fall, y[i] - y[i - 1]);
        lobe.found = fall < -threshold && rise > threshold;
        lobe.peak  = i - 1;
    }
    if (!lobe.found) return lobe;
    for (int j = begin + 1; j <= lobe.peak; ++j)
        if (rises(j, j - 1)) lobe.left = j;
    for (int k = n - 1; k > lobe.peak; --k)
        if (rises(k - 1, k)) lobe.right = k - 1;
    lobe.height       = y[lobe.peak] - std::max(y[lobe.left], y[lobe.right]);
    const Found later = find_lobe(y, lobe.right + 1, threshold);
    return later.found && later.height > lobe.height ? later : lobe;
}

TEST(VectLobe, StretchesTheHighestLobe) {
    std::mt19937 random(3);
    for (int round = 0; round < 5000; ++round) {
        Values y(round % 25);
        for (double& value : y) value = static_cast<double>(random() % 8);
        const double threshold = static_cast<double>(random() % 5) - 1, amount = round % 3 - 1.5;
        const int n = round % 25, clip_max = round % 2, clip_min = round / 2 % 2;
        const Found lobe    = find_lobe(y, 0, threshold);
        const auto expected = [&](double height) {
            Values out = y;
            for (int i = lobe.left; lobe.found && i < std::max(lobe.right, lobe.peak + 1); ++i) {
                const int edge = i <= lobe.peak ? lobe.left : lobe.right;
                if (edge == lobe.peak) continue;
                out[i] += (i - edge) * height / (lobe.peak - edge);
                if (clip_max) out[i] = std::min(out[i], 6.0);
                if (clip_min) out[i] = std::max(out[i], 1.0);
            }
            return out;
        };
        vect_lobe* const found = vect_lobe_new(y.data(), n, clip_max, clip_min, 6, 1, threshold);
        Values out(n);
        EXPECT_EQ(vect_lobe_stretch(found, amount, out.data()), 0);
        ASSERT_EQ(out, expected(amount)) << "round " << round;
        EXPECT_EQ(vect_lobe_stretch_rel(found, 0.5, out.data()), 0);
        ASSERT_EQ(out, expected(0.5 * lobe.height)) << "round " << round;
        EXPECT_EQ(vect_lobe_kill(found), nullptr);
    }
    EXPECT_EQ(vect_lobe_kill(nullptr), nullptr);
}

}  // namespace
