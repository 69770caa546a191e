// Straight-line fit, and the incomplete gamma function that judges it.
//
// The fit is the one of Press et al., Numerical Recipes, section 15.2: abscissas are taken relative
// to their weighted mean, which keeps the sums well conditioned. The gamma function follows section
// 6.2: a series for the lower part, a continued fraction for the upper one, each where it converges
// quickly.

#include "Source/special_functions.h"

#include "movane/numerics.h"

#include "Support/report.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/special_functions"};

constexpr double kRelativeAccuracy = 1e-16;
constexpr double kTiny             = 1e-300;        // stands in for a vanishing denominator
constexpr double kLargestShape     = 1073741824.0;  // half of the largest point count

// Both searches need about 9 * sqrt(a) steps where they meet, near x = a.
int iteration_limit(double a) {
    return static_cast<int>(1000.0 + 30.0 * std::sqrt(std::min(std::max(0.0, a), kLargestShape)));
}

double gamma_density(double a, double x) { return std::exp(-x + a * std::log(x) - std::lgamma(a)); }

// P(a, x), for x < a + 1.
double lower_series(double a, double x) {
    if (x < 0.0) report("x less than 0 in routine gser");
    if (x <= 0.0) return 0.0;
    const int limit = iteration_limit(a);
    double term     = 1.0 / a;
    double sum      = term;
    for (int i = 1; i <= limit; ++i) {
        term *= x / (a + i);
        sum += term;
        if (std::fabs(term) < std::fabs(sum) * kRelativeAccuracy) return sum * gamma_density(a, x);
    }
    report("a too large, ITMAX too small in routine gser");
    return sum * gamma_density(a, x);
}

double away_from_zero(double x) { return std::fabs(x) < kTiny ? kTiny : x; }

// Q(a, x), for x >= a + 1, by Lentz's method. Both of its recurrences are kept as denominators:
// they run into the same value and then agree to the last bit, so that the ratio becomes exactly 1.
double upper_fraction(double a, double x) {
    const int limit    = iteration_limit(a);
    double b           = x + 1.0 - a;
    double numerator   = 1.0 / kTiny;
    double denominator = away_from_zero(b);
    double fraction    = 1.0 / denominator;
    for (int i = 1; i <= limit; ++i) {
        const double partial = -i * (i - a);
        b += 2.0;
        denominator        = away_from_zero(b + partial / denominator);
        numerator          = away_from_zero(b + partial / numerator);
        const double ratio = numerator / denominator;
        fraction *= ratio;
        if (std::fabs(ratio - 1.0) < kRelativeAccuracy) return fraction * gamma_density(a, x);
    }
    report("a too large, ITMAX too small in gcf");
    return fraction * gamma_density(a, x);
}

double square(double x) { return x * x; }

}  // namespace

double movane::incomplete_gamma_q(double a, double x) {
    if (x < 0.0 || a <= 0.0) report("Invalid arguments in routine gammq");
    if (a == 0.0) return 1.0;  // no degree of freedom: what deviation there is, is rounding
    return x < a + 1.0 ? 1.0 - lower_series(a, x) : upper_fraction(a, x);
}

int least_square_fit(const double* x, const double* y, int n, const double* sig, int weighted,
                     double* a, double* b, double* siga, double* sigb, double* chi2, double* q) {
    // Unit deviations leave every sum as it is, to the last bit.
    const auto deviation = [&](int i) { return weighted ? sig[i] : 1.0; };

    double weight_sum = 0.0, x_sum = 0.0, y_sum = 0.0;
    for (int i = 0; i < n; ++i) {
        const double weight = 1.0 / square(deviation(i));
        weight_sum += weight;
        x_sum += x[i] * weight;
        y_sum += y[i] * weight;
    }

    const double mean   = x_sum / weight_sum;
    double t_square_sum = 0.0, ty_sum = 0.0;
    for (int i = 0; i < n; ++i) {
        const double t = (x[i] - mean) / deviation(i);
        t_square_sum += t * t;
        ty_sum += t * y[i] / deviation(i);
    }
    *b    = ty_sum / t_square_sum;
    *a    = (y_sum - x_sum * *b) / weight_sum;
    *siga = std::sqrt((1.0 + x_sum * x_sum / (weight_sum * t_square_sum)) / weight_sum);
    *sigb = std::sqrt(1.0 / t_square_sum);

    *chi2 = 0.0;
    for (int i = 0; i < n; ++i) *chi2 += square((y[i] - *a - *b * x[i]) / deviation(i));

    const double degrees_of_freedom = n - 2.0;
    if (weighted) {
        *q = movane::incomplete_gamma_q(0.5 * degrees_of_freedom, 0.5 * *chi2);
    } else {
        const double scatter = std::sqrt(*chi2 / degrees_of_freedom);
        *siga *= scatter;
        *sigb *= scatter;
        *q = 1.0;
    }
    return 0;
}
