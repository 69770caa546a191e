// What stands behind the curves: the pool, the terminal texts, the root finders; and the curves
// without memory.

#include "movane/foundation.h"
#include "movane/numerics.h"

#include "Engine/runtime.h"
#include "Engine/zone.h"
#include "Source/bezierd_roots.h"
#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace movane_tests;
using movane::testing::end_refusals;
using movane::testing::refuse_allocations_after;
using movane::testing::Shortage;
using Values = std::vector<double>;

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
    refuse_allocations_after(0, Shortage::passing);
    EXPECT_EQ(cdl_zcreate(66, 8192), nullptr);
    refuse_allocations_after(2, Shortage::lasting);  // the pool and one chunk
    static cdl_zone* const zone = cdl_zcreate(66, 8192);
    for (int round = 0; round < 2; ++round) {
        std::vector<unsigned char*> blocks;
        while (void* const block = cdl_zalloc(zone))
            blocks.push_back(static_cast<unsigned char*>(std::memset(block, 0xFF, 264)));
        EXPECT_GE(blocks.size(), 30u);  // 264 bytes take 272 where types align to 16
        std::sort(blocks.begin(), blocks.end());
        for (std::size_t i = 1; i < blocks.size(); ++i) EXPECT_GE(blocks[i] - blocks[i - 1], 264);
        for (unsigned char* block : blocks) cdl_zfree(zone, block);
        EXPECT_EQ(cdl_zalloc(zone), blocks.back());  // the one returned last
        cdl_zfree(zone, blocks.back());
    }
    end_refusals();
    for (const auto& [words, bytes] : {std::pair{0, 8192}, {66, 0}, {66, 263}})
        EXPECT_EQ(cdl_zcreate(words, bytes), nullptr);
}

// --- roots -------------------------------------------------------------------------------------

// The coefficients of the product of (t - root), ascending, in long double until the end.
Values polynomial(const Values& roots) {
    std::vector<long double> c{1};
    for (const double root : roots) {
        c.insert(c.begin(), 0);
        for (std::size_t k = 0; k + 1 < c.size(); ++k) c[k] -= root * c[k + 1];
    }
    return {c.begin(), c.end()};
}

// A cubic goes to the closed form.
void expect_roots(const Values& c, Values expected, double tolerance) {
    double found[8];
    const int degree = static_cast<int>(c.size()) - 1;
    const int count  = degree == 3 ? movane::cubic_roots(c.data(), found)
                                   : movane::roots_between(c.data(), degree, -0.5, 1.5, found);
    std::sort(expected.begin(), expected.end());
    ASSERT_EQ(count, static_cast<int>(expected.size())) << testing::PrintToString(expected);
    for (int i = 0; i < count; ++i)
        ASSERT_NEAR(found[i], expected[i], tolerance * std::max(1.0, std::fabs(expected[i])));
}

TEST(Roots, CubicHasItsKnownRoots) {
    const auto expect_product = [](const Values& factors, const Values& roots, double tolerance) {
        expect_roots(polynomial(factors), roots, tolerance);
    };
    std::mt19937 random(1);
    std::uniform_real_distribution<double> unit(0, 1);
    // The third root from near to so far away that the cubic is a quadratic for two of them.
    for (double far = 1; far < 1e14; far *= -10) {
        for (int round = 0; round < 100; ++round) {
            const double lower = unit(random) - 0.3, upper = lower + 0.01 + unit(random);
            const double third = (far > 0 ? upper : lower) + far * (0.01 + unit(random));
            expect_product({lower, upper, third}, {lower, upper, third}, 1e-12);
        }
    }
    for (int a = 1; a < 64; ++a) {
        const double pair = a / 64.0, triple = a / 97.0;
        for (double c = -1; c < 1; c += 1.0 / 64) {  // sixty-fourths keep the coefficients exact
            const Values roots = c == pair ? Values{c} : Values{c, pair};
            expect_product({pair, pair, c}, roots, 1e-11);
        }
        expect_product({triple, triple, triple}, {triple}, 1e-5);  // ninety-sevenths are rounded
    }
    for (double far = 3; far < 1e13; far *= -3) expect_product({0.5, 0.5, far}, {0.5, far}, 1e-15);
    expect_product({0.5, 0.5 + 1e-5, 0.25}, {0.5, 0.5 + 1e-5, 0.25}, 1e-10);
    expect_roots({-0.25, 1, -0.25, 1}, {0.25}, 1e-15);             // (t - 0.25) (t^2 + 1)
    expect_roots({-0.125 - 1e-9, 0.75, -1.5, 1}, {0.501}, 1e-10);  // a triple root come apart
    expect_roots({1, 1e300, -1e300, 1}, {}, 0);
}

TEST(Roots, NoRootOfAnotherDegreeIsMissed) {
    std::mt19937 random(2);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int round = 0; round < 800; ++round) {
        Values roots;
        for (double place = -0.5; place < 1.45; place += 0.05)
            roots.push_back(place + 0.02 * unit(random));
        std::shuffle(roots.begin(), roots.end(), random);
        roots.resize(1 + round % 8);
        expect_roots(polynomial(roots), roots, round % 8 == 2 ? 1e-11 : 1e-7);
    }
    const std::pair<Values, Values> cases[] = {
        {{0.25, 0.25, 0.75, 0.75}, {0.25, 0.75}},
        {{0.5, 0.5, 0.5, 0.5}, {0.5}},
        {{0.5, 0.5, 0.5, 1}, {0.5, 1}},
        {{-0.5, 0.25, 1.5, 3}, {-0.5, 0.25, 1.5}},  // the bounds belong to the interval
        {{-0.6, 1.6, 2, 3}, {}},
        {{0.3, 0.30001, 0.9, 0.9001}, {0.3, 0.30001, 0.9, 0.9001}},
    };
    for (const auto& [factors, roots] : cases) expect_roots(polynomial(factors), roots, 1e-7);
}

// --- curves without memory -----------------------------------------------------------------------

TEST(BezierWithoutMemoryDeathTest, TheFirstCurveReportsThatThereIsNoPool) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process that has no curve yet
    const MessageCapture capture;
    const auto fails_after = [](int passes) {
        refuse_allocations_after(passes, Shortage::lasting);
        const bool fails = !bezier_new(3, 0, 0, 1, 1);
        end_refusals();
        return fails && MessageCapture::take() == "Bezier_new : allocation of Bezier failed";
    };
    // The pool, its first chunk.
    EXPECT_EXIT(std::exit(fails_after(0) && fails_after(1) && !fails_after(2) ? 0 : 1),
                testing::ExitedWithCode(0), "");
}

TEST(BezierWithoutMemory, CurvesMakeDoWithThePlacesLeft) {
    const auto small_curve = [] { return bezier_new(2, 0, 0, 0, 0); };
    const char kRefusal[]  = "Bezier subdivide: unable to create new Bezier";
    const double x[] = {0, 0, 100, 100}, y[] = {0, 100, 100, 0};
    Bezier* const b = bezier_new(3, 0, 0, 0, 0);
    bezier_set_control_poly(b, x, y);
    movane_dynar* points = nullptr;
    const int all        = bezier_vector(b, 0.5, &points);

    const MessageCapture capture;
    refuse_allocations_after(0, Shortage::lasting);
    std::vector<Bezier*> taken;
    while (Bezier* const curve = small_curve()) taken.push_back(curve);
    for (int places = 0; places < 4; ++places) {
        Bezier *left = b, *right = b;
        MessageCapture::take();
        EXPECT_EQ(bezier_subdivide(b, 0.5, &left, &right), places >= 2);
        EXPECT_EQ(MessageCapture::take(), places >= 2 ? "" : kRefusal);
        EXPECT_TRUE((left && right) == (places >= 2) && !left == !right);
        bezier_kill(left);
        bezier_kill(right);
        // A piece that cannot be split is taken as it is. The halves of the whole need two places
        // and return one while the other is split further.
        const int sections = bezier_vector(b, 0.5, &points), least[] = {1, 1, 2, 4};
        EXPECT_EQ(MessageCapture::take(), kRefusal);
        EXPECT_TRUE(sections >= least[places] && sections < all);
        const double* const end = static_cast<const double*>(dynar_ptr(points, sections));
        EXPECT_TRUE(end[0] == 100 && end[1] == 0);
        for (int i = 0; i < places; ++i) taken.push_back(small_curve());
        EXPECT_TRUE(taken.back() && !small_curve()) << places << " places were not free again";
        for (int i = 0; i <= places; ++i, taken.pop_back()) bezier_kill(taken.back());
    }
    end_refusals();
    for (Bezier* const curve : taken) bezier_kill(curve);
    bezier_kill(b);
    dynar_kill(points);
}

TEST(BezierWithoutMemory, EveryOtherAllocationReports) {
    const double x[] = {0, 0, 100, 100, 50}, y[] = {0, 100, 100, 0, 30};
    Bezier* const b      = bezier_new(3, 0, 0, 0, 0);
    movane_dynar* points = nullptr;
    refuse_allocations_after(0, Shortage::passing);
    const auto posted = message_of([&] { EXPECT_EQ(bezier_vector(b, 1, &points), 0); });
    end_refusals();
    EXPECT_EQ(posted, "Bezier_vector: Unable to create vertex array");
    EXPECT_EQ(points, nullptr);

    const std::string no_vertices = "Bezier_fvector: allocation of vertex array failed";
    check_every_allocation_failure("bezier_fvector", no_vertices, [&] {
        double* vertices   = nullptr;
        const int sections = bezier_fvector(b, 1, &vertices);
        std::free(vertices);
        return sections > 0 && vertices;
    });
    check_every_allocation_failure("bezier_cpoly_det", "bezier_cpoly_det: malloc failure", [&] {
        double x1, y1;
        bezier_set_control_poly(b, x, y);
        const bool succeeded = bezier_cpoly_det(b, x, y) == 1;
        bezier_get_controlp(b, 0, &x1, &y1);
        EXPECT_EQ(y1 == 100, !succeeded);
        return succeeded;
    });
    check_every_allocation_failure("bezier_fit", "Bezier_fit : allocation of s failed", [&] {
        double lse, max_err;
        return bezier_fit(b, 5, x, y, 0, 0, 0, 0, 0, 0, &lse, &max_err, 0) == 1;
    });
    bezier_kill(b);
}

}  // namespace
