// Vectors against plain models from the standard library, and lobes against a recursive search.

#include "movane/gamut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace {

using Values = std::vector<double>;

double random_value(std::mt19937& random) {
    return std::ldexp(static_cast<double>(random()), -31) - 1.0;
}

TEST(Vect, MeasuresAndMultiplies) {
    const Values a{3, 0, -4}, b{1, 2, 2};
    EXPECT_EQ(vect_calc_norm(a.data(), 3), 5.0);
    EXPECT_EQ(vect_scalar_product(a.data(), b.data(), 3), -5.0);
    EXPECT_EQ(vect_square_distance(a.data(), b.data(), 3), 44.0);
    EXPECT_EQ(vect_distance(a.data(), b.data(), 3), std::sqrt(44.0));
    EXPECT_EQ(vect_calc_norm(a.data(), 0) + vect_distance(a.data(), b.data(), 0), 0.0);
    EXPECT_EQ(vect_Min(a.data(), 3), -4.0);
    EXPECT_EQ(vect_Max(a.data(), 3), 3.0);
    EXPECT_EQ(vect_Min(b.data(), 0) + vect_Max(b.data(), -1), 2.0);

    Values v = a, tiny{1e-20, 0}, longer{0, -2e-20};
    EXPECT_EQ(vect_normalise(v.data(), 3), 0);
    EXPECT_EQ(v, (Values{0.6, 0, -0.8}));
    EXPECT_EQ(vect_normalise(tiny.data(), 2), 0);
    EXPECT_EQ(tiny, (Values{1e-20, 0}));
    EXPECT_EQ(vect_normalise(longer.data(), 2), 0);
    EXPECT_EQ(longer, (Values{0, -1}));
}

TEST(Vect, TheVectorProductIsPerpendicular) {
    Values cross(3, 7.0);
    EXPECT_EQ(vect_vector_product(Values{3, 1, 0, 0, 0, 1, 0}.data(), cross.data()), 0);
    EXPECT_NEAR(cross[0], 0.0, 1e-19);  // a replaced pivot
    EXPECT_NEAR(cross[1], 0.0, 1e-19);
    EXPECT_EQ(cross[2], 1.0);

    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        const int n     = 1 + round % 6;
        const auto size = static_cast<std::size_t>(n);
        Values in{n + 0.9};  // the dimension is cut to an integer
        for (std::size_t i = 0; i < size * (size - 1); ++i) in.push_back(random_value(random));
        Values out(size);
        ASSERT_EQ(vect_vector_product(in.data(), out.data()), 0);
        for (std::size_t i = 1; i < size; ++i)
            EXPECT_NEAR(vect_scalar_product(&in[1 + (i - 1) * size], out.data(), n), 0.0, 1e-14);
        if (n == 1) {
            EXPECT_EQ(out[0], 1.0);
        }
        if (n == 2) {
            EXPECT_EQ(out, (Values{in[2], -in[1]}));
        }
        if (n == 3) {
            EXPECT_NEAR(out[1], in[3] * in[4] - in[1] * in[6], 1e-15);
        }
    }
}

template <class Value, class Index>
void check_sorted_arrays(int (*locate)(const Value*, Value, int, Index*),
                         int (*insert)(Value*, Value, int)) {
    std::mt19937 random(2);
    std::vector<Value> model, array(40, Value{99});
    for (int n = 0; n < 40; ++n) {
        for (int x = -1; x <= 12; ++x) {
            const auto value    = static_cast<Value>(x);
            const auto expected = std::lower_bound(model.begin(), model.end(), value);
            Index position      = 7;
            EXPECT_EQ(locate(model.data(), value, n, &position), 0);
            ASSERT_EQ(position, expected - model.begin());
        }
        const auto value = static_cast<Value>(random() % 12);
        model.insert(std::lower_bound(model.begin(), model.end(), value), value);
        if (!insert) continue;
        EXPECT_EQ(insert(array.data(), value, n + 1), 0);
        ASSERT_EQ(std::vector<Value>(array.begin(), array.begin() + n + 1), model);
        ASSERT_EQ(std::count(array.begin(), array.end(), Value{99}), 39 - n);
    }
    if (insert) insert(array.data(), Value{5}, 0);
    EXPECT_EQ(std::equal(model.begin(), model.end(), array.begin()), insert != nullptr);
}

TEST(Vect, SortedArraysBehaveLikeTheStandardOnes) {
    check_sorted_arrays<int, int>(vect_locate_in_array, vect_insert_in_array);
    check_sorted_arrays<short, short>(vect_locate_in_sh_array, vect_insert_in_sh_array);
    check_sorted_arrays<double, int>(vect_locate_in_double_array, nullptr);
}

TEST(Vect, ShiftsRightAndFillsUpWithZeros) {
    using Ints = std::vector<int>;
    for (const auto& [places, expected] : std::vector<std::pair<int, Ints>>{
             {-1, {1, 2, 3, 4}},
             {0, {1, 2, 3, 4}},
             {1, {0, 1, 2, 3}},
             {3, {0, 0, 0, 1}},
             {4, {0, 0, 0, 0}},
             {9, {0, 0, 0, 0}},
         }) {
        Ints a{1, 2, 3, 4};
        EXPECT_EQ(vect_shift_right_0(a.data(), 4, places), 0);
        EXPECT_EQ(a, expected) << places;
    }
}

TEST(Vect, WalksAllSubsetsInOrder) {
    for (int n = 0; n <= 7; ++n) {
        for (int k = 0; k <= n; ++k) {
            std::vector<int> chosen(static_cast<std::size_t>(k), -1);
            std::vector<int> flags(static_cast<std::size_t>(n), -1);
            std::vector<int> mask(flags.size());
            std::fill_n(mask.begin(), k, 1);
            int first = 1;
            do {
                std::vector<int> expected;
                for (int i = 0; i < n; ++i)
                    if (mask[static_cast<std::size_t>(i)]) expected.push_back(i);
                ASSERT_EQ(vect_next_point_selection(k, n, first, chosen.data(), flags.data()), 0);
                ASSERT_EQ(chosen, expected);
                ASSERT_EQ(flags, mask);
                first = 0;
            } while (std::prev_permutation(mask.begin(), mask.end()));
            EXPECT_EQ(vect_next_point_selection(k, n, 0, chosen.data(), flags.data()), -2);
            EXPECT_EQ(std::accumulate(flags.begin(), flags.end(), 0), 0);
        }
    }
    int chosen[] = {7, 7, 7}, flags[] = {1, 0, 1, 1};
    EXPECT_EQ(vect_next_point_selection(1, 4, 0, chosen, flags), -1);
    EXPECT_EQ(std::vector<int>(flags, flags + 4), (std::vector<int>{1, 0, 1, 0}));
    EXPECT_EQ(chosen[0], 7);
    // A surplus that the scan does not reach stays; only k indices are handed out.
    EXPECT_EQ(vect_next_point_selection(1, 4, 0, chosen, flags), 0);
    EXPECT_EQ(std::vector<int>(flags, flags + 4), (std::vector<int>{1, 0, 0, 1}));
    EXPECT_EQ(chosen[0] + chosen[1], 7);
}

// --- lobes --------------------------------------------------------------------------------------

struct Kill {
    void operator()(vect_lobe* lobe) const { EXPECT_EQ(vect_lobe_kill(lobe), nullptr); }
};
using Lobe = std::unique_ptr<vect_lobe, Kill>;

Lobe lobe_of(const Values& y, double threshold) {
    return Lobe(vect_lobe_new(y.data(), static_cast<int>(y.size()), 0, 0, 0, 0, threshold));
}

Values stretched(const Lobe& lobe, const Values& y, double amount) {
    Values out(y.size(), 7.0);
    EXPECT_EQ(vect_lobe_stretch(lobe.get(), amount, out.data()), 0);
    return out;
}

struct Found {
    bool found = false;
    int peak = 0, left = 0, right = 0;
    double height = 0.0;
};

// Each lobe is compared with the best of the rest, as the definition has it.
Found find_lobe(const Values& y, double threshold) {
    Found lobe;
    const int n   = static_cast<int>(y.size());
    const auto at = [&](int i) { return y[static_cast<std::size_t>(i)]; };
    double rise = 0.0, fall = 0.0;
    for (int i = 1; n >= 3 && i < n && !lobe.found; ++i) {
        const double step = at(i) - at(i - 1);
        rise              = std::max(rise, step);
        fall              = std::min(fall, step);
        if (fall < -threshold && rise > threshold) lobe.found = true, lobe.peak = i - 1;
    }
    if (!lobe.found) return lobe;
    for (int j = lobe.peak - 1; j >= 0 && lobe.left == 0; --j)
        if (at(j) > at(j + 1) + threshold) lobe.left = j + 1;
    lobe.right = n - 1;
    for (int k = n - 1; k > lobe.peak; --k)
        if (at(k) > at(k - 1) + threshold) lobe.right = k - 1;
    lobe.height = at(lobe.peak) - std::max(at(lobe.left), at(lobe.right));

    Found later = find_lobe(Values(y.begin() + lobe.right + 1, y.end()), threshold);
    if (!later.found || later.height <= lobe.height) return lobe;
    for (int* index : {&later.peak, &later.left, &later.right}) *index += lobe.right + 1;
    return later;
}

TEST(VectLobe, StretchesTheHighestLobe) {
    std::mt19937 random(3);
    int lobes_found = 0;
    for (int round = 0; round < 3000; ++round) {
        Values y(static_cast<std::size_t>(round % 25));
        for (double& value : y) value = static_cast<double>(random() % 8);
        const double threshold = static_cast<double>(random() % 4);
        const Found lobe       = find_lobe(y, threshold);
        lobes_found += lobe.found;

        const double amount = 5.0;
        const auto expected = [&](double height) {
            Values out = y;
            for (int i = lobe.left; lobe.found && i <= lobe.right; ++i) {
                double& value = out[static_cast<std::size_t>(i)];
                if (i <= lobe.peak && lobe.left < lobe.peak)
                    value += (i - lobe.left) * height / (lobe.peak - lobe.left);
                if (i > lobe.peak) value += (i - lobe.right) * height / (lobe.peak - lobe.right);
            }
            return out;
        };
        const Lobe found = lobe_of(y, threshold);
        ASSERT_EQ(stretched(found, y, amount), expected(amount)) << "round " << round;
        Values out(y.size());
        ASSERT_EQ(vect_lobe_stretch_rel(found.get(), 0.5, out.data()), 0);
        ASSERT_EQ(out, expected(0.5 * lobe.height));
    }
    EXPECT_GT(lobes_found, 1000);
}

TEST(VectLobe, KnowsItsCorners) {
    struct Case {
        const char* name;
        double threshold;
        Values y, out;
    };
    for (const Case& c : {
             Case{"one hill", 1, {0, 0, 5, 0, 0}, {0, 3, 11, 3, 0}},
             {"the first of two equal ones", 1, {0, 4, 0, 2, 6, 2}, {0, 10, 0, 2, 6, 2}},
             {"a higher one later", 1, {0, 4, 0, 2, 7, 2}, {0, 4, 0, 2, 13, 2}},
             {"the step that ends a lobe does not begin one", 1, {0, 4, 0, 9, 0}, {0, 10, 0, 9, 0}},
             {"a valley is a lobe without width", 1, {5, 0, 5}, {5, 0, 5}},
             {"nothing is added to a peak that is the left edge",
              -1,
              {5, 3, 1, 0.5},
              {5, 6, 1, 0.5}},
             {"steps of the threshold do not count", 1, {0, 1, 2, 1, 0}, {0, 1, 2, 1, 0}},
             {"too few samples", 1, {0, 9}, {0, 9}},
             {"none", 1, {}, {}},
         })
        EXPECT_EQ(stretched(lobe_of(c.y, c.threshold), c.y, 6.0), c.out) << c.name;

    // Samples are clipped where something was added, and only on the sides asked for.
    const Values y{20, 21, 25, 21, 20, -9};
    const auto clipped = [&](int at_max, int at_min, double amount) {
        const Lobe lobe(vect_lobe_new(y.data(), 6, at_max, at_min, 24.0, 15.0, 3.0));
        return stretched(lobe, y, amount);
    };
    EXPECT_EQ(clipped(0, 0, 4.0), (Values{20, 23, 29, 21 + 8.0 / 3, 20 + 4.0 / 3, -9}));
    EXPECT_EQ(clipped(1, 0, 4.0), (Values{20, 23, 24, 21 + 8.0 / 3, 20 + 4.0 / 3, -9}));
    EXPECT_EQ(clipped(1, 0, -90.0), (Values{20, -24, -65, -39, -10, -9}));
    EXPECT_EQ(clipped(0, 1, -90.0), (Values{20, 15, 15, 15, 15, -9}));
    EXPECT_EQ(vect_lobe_kill(nullptr), nullptr);
}

}  // namespace
