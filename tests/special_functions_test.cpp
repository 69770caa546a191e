// The straight-line fit against the normal equations in extended precision, and its edge cases.

#include "movane/numerics.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using movane_tests::message_of;
using Values = std::vector<double>;

struct Line {
    double a, b, siga, sigb, chi2, q;
};

Line fit(const Values& x, const Values& y, const Values& sig = {}) {
    Line line{};
    EXPECT_EQ(
        least_square_fit(x.data(), y.data(), static_cast<int>(x.size()), sig.data(), !sig.empty(),
                         &line.a, &line.b, &line.siga, &line.sigb, &line.chi2, &line.q),
        0);
    return line;
}

// Solves the two normal equations as they stand; the probability is left to its own tests.
Line reference(const Values& x, const Values& y, const Values& sig) {
    long double s = 0, sx = 0, sy = 0, sxx = 0, sxy = 0, chi2 = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const long double w = sig.empty() ? 1 : 1 / (static_cast<long double>(sig[i]) * sig[i]);
        s += w;
        sx += w * x[i];
        sy += w * y[i];
        sxx += w * x[i] * x[i];
        sxy += w * x[i] * y[i];
    }
    const long double delta = s * sxx - sx * sx;
    const long double a = (sxx * sy - sx * sxy) / delta, b = (s * sxy - sx * sy) / delta;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const long double residual = (y[i] - a - b * x[i]) / (sig.empty() ? 1 : sig[i]);
        chi2 += residual * residual;
    }
    const long double variance = sig.empty() ? chi2 / static_cast<long double>(x.size() - 2) : 1;
    const auto narrow          = [](long double value) { return static_cast<double>(value); };
    return {narrow(a),
            narrow(b),
            narrow(std::sqrt(variance * sxx / delta)),
            narrow(std::sqrt(variance * s / delta)),
            narrow(chi2),
            1.0};
}

TEST(LeastSquareFit, SolvesTheNormalEquations) {
    std::mt19937 random(1);
    const auto uniform = [&] { return std::ldexp(static_cast<double>(random()), -32); };
    for (int round = 0; round < 400; ++round) {
        Values x, y, sig;
        for (int i = 0; i < 3 + round % 30; ++i) {
            x.push_back(10 * uniform());
            y.push_back(3 - 0.7 * x.back() + uniform());
            if (round % 2) sig.push_back(0.2 + uniform());
        }
        const Line line = fit(x, y, sig), expected = reference(x, y, sig);
        // Points of three can lie close together: up to a thousand ulp of the larger terms.
        EXPECT_NEAR(line.a, expected.a, 1e-11);
        EXPECT_NEAR(line.b, expected.b, 1e-11);
        EXPECT_NEAR(line.siga, expected.siga, 1e-9 * expected.siga);
        EXPECT_NEAR(line.sigb, expected.sigb, 1e-9 * expected.sigb);
        EXPECT_NEAR(line.chi2, expected.chi2, 1e-11 * (1 + expected.chi2));
        if (!sig.empty()) {
            // For two degrees of freedom the probability is elementary.
            if (x.size() == 4) {
                EXPECT_NEAR(line.q, std::exp(-0.5 * line.chi2), 1e-14);
            }
        } else {
            EXPECT_EQ(line.q, 1.0);
        }
    }
}

TEST(LeastSquareFit, TellsWhatItCannotJudge) {
    const Line exact = fit({0, 1, 2}, {1, 3, 5});
    EXPECT_EQ(exact.a, 1.0);
    EXPECT_EQ(exact.b, 2.0);
    EXPECT_EQ(exact.chi2 + exact.siga + exact.sigb, 0.0);

    const Values x{0, 1, 2, 3}, y{1, 3, 4, 8}, unit(4, 1.0);
    const Line plain = fit(x, y), weighted = fit(x, y, unit);
    EXPECT_EQ(plain.a, weighted.a);
    EXPECT_EQ(plain.b, weighted.b);
    EXPECT_EQ(plain.chi2, weighted.chi2);

    Line two{};
    EXPECT_EQ(message_of([&] { two = fit({0, 1}, {1, 3}); }), "");
    EXPECT_TRUE(std::isnan(two.siga) && std::isnan(two.sigb));  // 0 over 0 degrees of freedom
    EXPECT_EQ(message_of([&] {
                  two = fit({0, 1}, {1, 3}, {1, 2});
              }),
              "Invalid arguments in routine gammq");
    EXPECT_EQ(two.q, 1.0);
    EXPECT_EQ(message_of([&] {
                  two = fit({0, 1e9}, {0, 1e9 / 3}, {1e-9, 1e-9});
              }),
              "Invalid arguments in routine gammq");
    EXPECT_EQ(two.q, 1.0);  // also when rounding leaves a large chi-square
    EXPECT_EQ(message_of([&] {
                  two = fit({1, 1, 1}, {0, 1, 2}, {1, 1, 1});
              }),
              "a too large, ITMAX too small in gcf");
    EXPECT_TRUE(std::isnan(two.q));
}

}  // namespace
