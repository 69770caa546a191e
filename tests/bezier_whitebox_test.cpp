// What stands behind the curves: the pool, the terminal texts, the root finders; and the curves
// without memory.

#include "movane/foundation.h"
#include "movane/numerics.h"

#include "Engine/runtime.h"
#include "Engine/zone.h"
#include "Source/bezierd_roots.h"
#include "reference/bezier_reference.h"
#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>

namespace {

using namespace movane_tests;
using movane::testing::refuse_allocations_after;
using movane::testing::Shortage;

// --- engine calls ------------------------------------------------------------------------------

TEST(Runtime, TypesTextsWithNumbers) {
    testing::internal::CaptureStdout();
    typefl("'# % %", "n", -3, 0.1, 1e-300);
    typefl("\n%", 1234567.0);
    typefl("'", std::string(600, 'x').c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "n-3 0.1 1e-300\n1.23457e+06" + std::string(511, 'x'));
}

TEST(Zone, HandsOutEveryBlockOfAChunkAndTakesThemBack) {
    constexpr int kWords = 66, kChunk = 8192;
    constexpr std::size_t kBlocks = 30;  // 264 bytes take 272 where types align to 16
    refuse_allocations_after(0, Shortage::passing);
    EXPECT_EQ(cdl_zcreate(kWords, kChunk), nullptr);

    refuse_allocations_after(2, Shortage::lasting);  // the pool and one chunk
    static cdl_zone* const zone = cdl_zcreate(kWords, kChunk);
    for (int round = 0; round < 2; ++round) {
        std::set<unsigned char*> blocks;
        while (auto* block = static_cast<unsigned char*>(cdl_zalloc(zone))) {
            std::memset(block, 0xFF, kWords * 4);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u);
            blocks.insert(block);
        }
        EXPECT_GE(blocks.size(), kBlocks);
        for (auto next = blocks.begin(), block = next++; next != blocks.end(); block = next++)
            EXPECT_GE(*next - *block, kWords * 4);
        for (unsigned char* block : blocks) cdl_zfree(zone, block);
    }
    movane::testing::end_refusals();
    void* const block = cdl_zalloc(zone);
    cdl_zfree(zone, block);
    EXPECT_EQ(cdl_zalloc(zone), block);  // the one returned last
    cdl_zfree(zone, block);

    EXPECT_EQ(cdl_zcreate(0, kChunk), nullptr);
    EXPECT_EQ(cdl_zcreate(kWords, 0), nullptr);
    EXPECT_EQ(cdl_zcreate(kWords, 4 * kWords - 1), nullptr);
}

// --- roots -------------------------------------------------------------------------------------

using Roots = std::vector<double>;

// The coefficients of the product of (t - root), ascending, in long double until the end.
Roots polynomial(const std::vector<long double>& roots) {
    std::vector<long double> c{1};
    for (const long double root : roots) {
        c.insert(c.begin(), 0);
        for (std::size_t k = 0; k + 1 < c.size(); ++k) c[k] -= root * c[k + 1];
    }
    return {c.begin(), c.end()};
}

Roots cubic_roots(const std::vector<long double>& roots) {
    double found[3];
    const int count = movane::cubic_roots(polynomial(roots).data(), found);
    return {found, found + count};
}

Roots roots_between(const Roots& c, double low = -0.5, double high = 1.5) {
    double found[movane::kHighestDegree];
    const int count =
        movane::roots_between(c.data(), static_cast<int>(c.size()) - 1, low, high, found);
    return {found, found + count};
}

TEST(Roots, CubicHasItsKnownRoots) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> unit(0, 1);
    // The third root from near to so far away that the cubic is a quadratic for two of them.
    for (double far = 1; far < 1e14; far *= 100) {
        for (int round = 0; round < 200; ++round) {
            const double lower = unit(random) - 0.3;
            std::vector<long double> known{lower, lower + 0.01 + unit(random),
                                           lower - far * (0.1 + unit(random))};
            if (round % 2) known[2] = lower + 1.02 + far * unit(random);
            const Roots found = cubic_roots(known);
            std::sort(known.begin(), known.end());
            ASSERT_EQ(found.size(), 3u);
            for (std::size_t i = 0; i < 3; ++i) {
                const double expected = static_cast<double>(known[i]);
                ASSERT_NEAR(found[i], expected, 1e-12 * std::max(1.0, std::fabs(expected)));
            }
        }
    }
}

TEST(Roots, CubicCountsCoincidingRootsOnce) {
    for (int a = 0; a < 64; ++a) {
        for (int c = -64; c < 64; ++c) {  // sixty-fourths keep the coefficients exact
            const double pair = a / 64.0, lone = c / 64.0;
            const Roots expected =
                a == c ? Roots{pair} : Roots{std::min(pair, lone), std::max(pair, lone)};
            const Roots found = cubic_roots({pair, pair, lone});
            ASSERT_EQ(found.size(), expected.size()) << a << ' ' << c;
            for (std::size_t i = 0; i < found.size(); ++i)
                ASSERT_NEAR(found[i], expected[i], 1e-11);
        }
    }
    for (int i = 1; i < 97; ++i) {  // ninety-sevenths are rounded
        const long double triple = i / 97.0;
        EXPECT_EQ(cubic_roots({triple, triple, triple}).size(), 1u) << i;
    }
    for (double far = 3; far < 1e13; far *= -3) {
        const Roots found = cubic_roots({0.5, 0.5, far});
        ASSERT_EQ(found.size(), 2u) << far;
        EXPECT_NEAR(found[far < 0], 0.5, 1e-15);
        EXPECT_DOUBLE_EQ(found[far > 0], far);
    }
    EXPECT_EQ(cubic_roots({0.5, 0.5 + 1e-5, 0.25}).size(), 3u);
    // One real root: (t - 0.25) (t^2 + 1), and a triple root that has just come apart.
    const double single[] = {-0.25, 1, -0.25, 1}, apart[] = {-0.125 - 1e-9, 0.75, -1.5, 1};
    double found[3];
    ASSERT_EQ(movane::cubic_roots(single, found), 1);
    EXPECT_NEAR(found[0], 0.25, 1e-15);
    ASSERT_EQ(movane::cubic_roots(apart, found), 1);
    EXPECT_NEAR(found[0], 0.501, 1e-10);
    const double huge[] = {1, 1e300, -1e300, 1};
    EXPECT_EQ(movane::cubic_roots(huge, found), 0);
}

TEST(Roots, NoRootOfAHigherDegreeIsMissed) {
    std::mt19937 random(2);
    std::uniform_real_distribution<double> inside(-0.5, 1.5);
    for (int degree = 1; degree <= 8; ++degree) {
        for (int round = 0; round < 100; ++round) {
            std::vector<long double> known;
            while (static_cast<int>(known.size()) < degree) {
                const double root = inside(random);
                const bool clear  = std::all_of(known.begin(), known.end(), [&](long double other) {
                    return std::fabs(root - static_cast<double>(other)) > 0.03;
                });
                if (clear) known.push_back(root);
            }
            const Roots found = roots_between(polynomial(known));
            std::sort(known.begin(), known.end());
            ASSERT_EQ(found.size(), known.size()) << degree << ' ' << round;
            for (std::size_t i = 0; i < found.size(); ++i)
                ASSERT_NEAR(found[i], static_cast<double>(known[i]), 1e-7);
        }
    }
    // The Chebyshev polynomial of degree 20 has its roots at cos((2k+1)/40 pi).
    std::vector<Roots> chebyshev{{1}, {0, 1}};
    for (std::size_t n = 2; n <= 20; ++n) {
        Roots next(n + 1);
        for (std::size_t k = 0; k < n; ++k) next[k + 1] += 2 * chebyshev[n - 1][k];
        for (std::size_t k = 0; k + 1 < n; ++k) next[k] -= chebyshev[n - 2][k];
        chebyshev.push_back(next);
    }
    const Roots found = roots_between(chebyshev[20], -1, 1);
    ASSERT_EQ(found.size(), 20u);
    for (std::size_t k = 0; k < 20; ++k)
        EXPECT_NEAR(found[19 - k],
                    std::cos((2 * static_cast<double>(k) + 1) / 40 * std::acos(-1.0)), 1e-7);
}

TEST(Roots, HigherDegreesCountCoincidingRootsOnce) {
    struct Case {
        std::vector<long double> factors;
        Roots expected;
    };
    const Case cases[] = {
        {{0.25, 0.25, 0.75, 0.75}, {0.25, 0.75}},
        {{0.5, 0.5, 0.5, 0.5}, {0.5}},
        {{0.5, 0.5, 0.5, 1}, {0.5, 1}},
        {{-0.5, 0.25, 1.5, 3}, {-0.5, 0.25, 1.5}},  // the bounds belong to the interval
        {{-0.6, 1.6, 2, 3}, {}},
        {{0.3, 0.30001, 0.9, 0.9001}, {0.3, 0.30001, 0.9, 0.9001}},
    };
    for (const Case& c : cases) {
        const Roots found = roots_between(polynomial(c.factors));
        ASSERT_EQ(found.size(), c.expected.size());
        for (std::size_t i = 0; i < found.size(); ++i) EXPECT_NEAR(found[i], c.expected[i], 1e-7);
    }
}

// --- curves without memory -----------------------------------------------------------------------

TEST(BezierWithoutMemoryDeathTest, TheFirstCurveReportsThatThereIsNoPool) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process that has no curve yet
    EXPECT_EXIT(
        {
            const MessageCapture capture;
            bool as_expected = true;
            for (const int passes : {0, 1}) {  // the pool, its first chunk
                refuse_allocations_after(passes, Shortage::lasting);
                as_expected = as_expected && !bezier_new(3, 0, 0, 1, 1) &&
                              MessageCapture::take() == "Bezier_new : allocation of Bezier failed";
            }
            movane::testing::end_refusals();
            Bezier* const b = bezier_new(3, 0, 0, 1, 1);
            std::exit(as_expected && b ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

// A pool that has exactly so many free places, while it lives.
class ScarcePool {
public:
    explicit ScarcePool(std::size_t places) {
        take_all();
        for (; places > 0; --places) {
            bezier_kill(taken_.back());
            taken_.pop_back();
        }
    }
    ~ScarcePool() {
        movane::testing::end_refusals();
        for (Bezier* b : taken_) bezier_kill(b);
    }
    ScarcePool(const ScarcePool&)            = delete;
    ScarcePool& operator=(const ScarcePool&) = delete;

    // How many are still free; takes them.
    std::size_t free_places() {
        const std::size_t before = taken_.size();
        take_all();
        return taken_.size() - before;
    }

private:
    void take_all() {
        const MessageCapture capture;
        bezier_kill(bezier_new(2, 0, 0, 0, 0));  // the pool itself exists
        refuse_allocations_after(0, Shortage::lasting);
        while (Bezier* b = bezier_new(2, 0, 0, 0, 0)) taken_.push_back(b);
    }
    std::vector<Bezier*> taken_;
};

TEST(BezierWithoutMemory, ASplitNeedsBothHalves) {
    const Curve b(bezier_new(3, 0, 0, 1, 1));
    for (const std::size_t places : {0u, 1u}) {
        ScarcePool pool(places);
        Bezier *left = b.get(), *right = b.get();
        EXPECT_EQ(message_of([&] { EXPECT_EQ(bezier_subdivide(b.get(), 0.5, &left, &right), 0); }),
                  "Bezier subdivide: unable to create new Bezier");
        EXPECT_EQ(left, nullptr);
        EXPECT_EQ(right, nullptr);
        EXPECT_EQ(pool.free_places(), places);
    }
}

TEST(BezierWithoutMemory, APieceThatCannotBeSplitIsTakenAsItIs) {
    const Curve b        = curve_of(Polygon({0, 0, 100, 100}, {0, 100, 100, 0}));
    movane_dynar* points = nullptr;
    const int all        = bezier_vector(b.get(), 0.5, &points);
    // The halves of the whole need two places and return one while the other is split further.
    for (const auto& [places, least] : {std::pair{0u, 1}, {1u, 1}, {2u, 2}, {3u, 4}}) {
        ScarcePool pool(places);
        int sections = 0;
        EXPECT_EQ(message_of([&] { sections = bezier_vector(b.get(), 0.5, &points); }),
                  "Bezier subdivide: unable to create new Bezier");
        EXPECT_GE(sections, least);
        EXPECT_LT(sections, all);
        const double* end = static_cast<const double*>(dynar_ptr(points, sections));
        EXPECT_EQ(end[0], 100);
        EXPECT_EQ(end[1], 0);
        EXPECT_EQ(pool.free_places(), places);
    }
    dynar_kill(points);
}

TEST(BezierWithoutMemory, EveryOtherAllocationReports) {
    const Curve b    = curve_of(Polygon({0, 0, 100, 100}, {0, 100, 100, 0}));
    const double x[] = {0, 30, 60, 90, 100}, y[] = {0, 40, 50, 30, 0};
    check_every_allocation_failure("bezier_fvector",
                                   "Bezier_fvector: allocation of vertex array failed", [&] {
                                       double* points     = nullptr;
                                       const int sections = bezier_fvector(b.get(), 1, &points);
                                       EXPECT_EQ(points != nullptr, sections > 0);
                                       std::free(points);
                                       return sections > 0;
                                   });
    check_every_allocation_failure("bezier_fit", "Bezier_fit : allocation of s failed", [&] {
        double lse, max_err;
        return bezier_fit(b.get(), 5, x, y, 0, 0, 0, 0, 0, 0, &lse, &max_err, 0) == 1;
    });
    check_every_allocation_failure("bezier_cpoly_det", "bezier_cpoly_det: malloc failure", [&] {
        const Polygon before({1, 2, 3, 4}, {5, 6, 7, 8});
        bezier_set_control_poly(b.get(), before.x.data(), before.y.data());
        const bool succeeded = bezier_cpoly_det(b.get(), x, y) == 1;
        EXPECT_EQ(polygon_of(b.get(), 3) == before, !succeeded);
        return succeeded;
    });
    const MessageCapture capture;
    refuse_allocations_after(0, Shortage::passing);
    movane_dynar* points = nullptr;
    EXPECT_EQ(bezier_vector(b.get(), 1, &points), 0);
    movane::testing::end_refusals();
    EXPECT_EQ(MessageCapture::take(), "Bezier_vector: Unable to create vertex array");
    EXPECT_EQ(points, nullptr);
}

}  // namespace
