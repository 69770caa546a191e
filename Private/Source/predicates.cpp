// Signs of determinants, after the idea of J. R. Shewchuk, "Adaptive precision floating-point
// arithmetic and fast robust geometric predicates", Discrete & Computational Geometry 18, 1997.
//
// Each determinant is one text over a number type. With Estimate it gives the rounded value and a
// bound of its error; when the value does not exceed the bound, Wide, an integer of any
// length that a determinant of doubles can have, gives the exact sign.

#include "predicates.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace movane {
namespace {

// --- rounded numbers -------------------------------------------------------------------------

// `magnitude` is what the value would be if nothing had cancelled: the error of a value that came
// about by k roundings in a row is at most about k * 2^-53 of it.
struct Estimate {
    double value;
    double magnitude;

    Estimate operator+(const Estimate& b) const {
        return {value + b.value, magnitude + b.magnitude};
    }
    Estimate operator-(const Estimate& b) const {
        return {value - b.value, magnitude + b.magnitude};
    }
    Estimate operator*(const Estimate& b) const {
        return {value * b.value, magnitude * b.magnitude};
    }
};

constexpr double kRoundings    = 32;  // no number below passes as many, that of its bound included
constexpr double kErrorPerUnit = kRoundings * std::numeric_limits<double>::epsilon() / 2;

// With differences up to kLargest a product of five stays finite, and what underflow loses of
// it, 2^-1075 times three factors at most, stays far below kLeast.
constexpr double kLargest = 0x1p+100;
constexpr double kLeast   = 0x1p-700;

bool is_certain(const Estimate& e) {
    return std::fabs(e.value) > kErrorPerUnit * e.magnitude + kLeast;
}

int sign_of(double value) { return (value > 0) - (value < 0); }

// --- exact numbers ---------------------------------------------------------------------------

// Invariants: sign is -1, 0 or 1; limbs [0, size) hold the magnitude, lowest first, the highest is
// not 0; size is 0 exactly when sign is.
class Wide {
public:
    Wide() : sign_(0), size_(0) {}
    Wide(const Wide& other) { *this = other; }
    Wide& operator=(const Wide& other) {
        sign_ = other.sign_;
        size_ = other.size_;
        std::copy_n(other.limbs_, size_, limbs_);
        return *this;
    }

    // magnitude * 2^shift
    Wide(std::uint64_t magnitude, int shift, int sign) : sign_(magnitude != 0 ? sign : 0) {
        const int whole = shift / kBits, rest = shift % kBits;
        std::fill_n(limbs_, whole + 3, 0U);
        limbs_[whole]     = static_cast<std::uint32_t>(magnitude << rest);
        limbs_[whole + 1] = static_cast<std::uint32_t>(magnitude >> (kBits - rest));
        if (rest > 0)
            limbs_[whole + 2] = static_cast<std::uint32_t>(magnitude >> (2 * kBits - rest));
        trim(whole + 3);
    }

    [[nodiscard]] int sign() const { return sign_; }

    Wide operator+(const Wide& b) const { return sum(b, b.sign_); }
    Wide operator-(const Wide& b) const { return sum(b, -b.sign_); }

    Wide operator*(const Wide& b) const {
        Wide product;
        product.sign_ = sign_ * b.sign_;
        if (product.sign_ == 0) return product;
        std::fill_n(product.limbs_, size_ + b.size_, 0U);
        for (int i = 0; i < size_; ++i) {
            std::uint64_t carry = 0;
            for (int j = 0; j < b.size_; ++j) {
                carry += std::uint64_t{limbs_[i]} * b.limbs_[j] + product.limbs_[i + j];
                product.limbs_[i + j] = static_cast<std::uint32_t>(carry);
                carry >>= kBits;
            }
            product.limbs_[i + b.size_] = static_cast<std::uint32_t>(carry);
        }
        product.trim(size_ + b.size_);
        return product;
    }

private:
    // A difference of doubles, counted in units of the least one, has 2099 bits; a determinant
    // sums products of five.
    static constexpr int kBits  = 32;
    static constexpr int kLimbs = 5 * 2100 / kBits + 4;

    void trim(int size) {
        while (size > 0 && limbs_[size - 1] == 0) --size;
        size_ = size;
        if (size == 0) sign_ = 0;
    }

    [[nodiscard]] bool is_below(const Wide& b) const {
        if (size_ != b.size_) return size_ < b.size_;
        int i = size_ - 1;
        while (i > 0 && limbs_[i] == b.limbs_[i]) --i;
        return i >= 0 && limbs_[i] < b.limbs_[i];
    }

    // This number plus the magnitude of b with the given sign.
    [[nodiscard]] Wide sum(const Wide& b, int sign) const {
        const Wide& large = is_below(b) ? b : *this;
        const Wide& small = is_below(b) ? *this : b;
        Wide result;
        result.sign_        = &large == this ? sign_ : sign;
        const bool is_added = sign_ * sign >= 0;
        std::int64_t carry  = 0;
        for (int i = 0; i < large.size_; ++i) {
            const std::int64_t term = i < small.size_ ? small.limbs_[i] : 0;
            carry += large.limbs_[i] + (is_added ? term : -term);
            result.limbs_[i] = static_cast<std::uint32_t>(carry);
            carry >>= kBits;
        }
        result.limbs_[large.size_] = static_cast<std::uint32_t>(carry);
        result.trim(large.size_ + 1);
        return result;
    }

    int sign_, size_;
    std::uint32_t limbs_[kLimbs];
};

// A finite double as an odd integer times a power of two; 0 has the exponent of no other.
struct Binary {
    std::uint64_t magnitude;
    int exponent;
    int sign;

    explicit Binary(double value) : magnitude(0), exponent(INT32_MAX), sign(sign_of(value)) {
        if (sign == 0) return;
        constexpr int kDigits = std::numeric_limits<double>::digits;
        int power             = 0;
        magnitude =
            static_cast<std::uint64_t>(std::ldexp(std::frexp(std::fabs(value), &power), kDigits));
        const int zeros = std::countr_zero(magnitude);
        magnitude >>= zeros;
        exponent = power - kDigits + zeros;
    }
};

// --- determinants, over either number ----------------------------------------------------------

template <class Number>
Number det_2(const Number& ax, const Number& ay, const Number& bx, const Number& by) {
    return ax * by - bx * ay;
}

template <class Number>
Number det_orient_2d(const std::array<Number, 4>& d) {
    return det_2(d[0], d[1], d[2], d[3]);
}

template <class Number>
Number det_orient_3d(const std::array<Number, 9>& d) {
    return d[2] * det_2(d[3], d[4], d[6], d[7]) - d[5] * det_2(d[0], d[1], d[6], d[7]) +
           d[8] * det_2(d[0], d[1], d[3], d[4]);
}

// The rows are the corners relative to the point; each is followed by its square in the
// determinant.
template <class Number>
Number det_in_sphere(const std::array<Number, 12>& d) {
    const auto minor = [&](int i, int j) {
        return det_2(d[3 * i], d[3 * i + 1], d[3 * j], d[3 * j + 1]);
    };
    const auto z      = [&](int i) -> const Number& { return d[3 * i + 2]; };
    const auto square = [&](int i) {
        return d[3 * i] * d[3 * i] + d[3 * i + 1] * d[3 * i + 1] + z(i) * z(i);
    };
    const Number ab = minor(0, 1), bc = minor(1, 2), cd = minor(2, 3), da = minor(3, 0),
                 ac = minor(0, 2), bd = minor(1, 3);
    const Number abc = z(0) * bc - z(1) * ac + z(2) * ab, bcd = z(1) * cd - z(2) * bd + z(3) * bc,
                 cda = z(2) * da + z(3) * ac + z(0) * cd, dab = z(3) * ab + z(0) * bd + z(1) * da;
    return (square(2) * dab - square(3) * abc) + (square(0) * bcd - square(1) * cda);
}

// Whether a determinant of differences that are whole numbers of units, none above `largest`, comes
// out without any rounding. Its terms, of which it has less than 100, are products of `degree`.
bool is_exact(double largest, int degree) {
    double bound = 100;
    for (int k = 0; k < degree; ++k) bound *= largest;
    return bound < 0x1p+53;
}

// The sign of a determinant of the differences between points and the last of them: by estimate
// where that is certain or, as on grids, exact; otherwise with numbers that are.
template <int kPoints, int kDimensions, class Determinant>
int sign_of_determinant(const double* const (&points)[kPoints], Determinant determinant) {
    constexpr int kRows   = kPoints - 1;
    constexpr int kDegree = kPoints == kDimensions + 2 ? kRows + 1 : kRows;
    const auto row        = [](int i) { return i / kDimensions; };
    const auto column     = [](int i) { return i % kDimensions; };

    std::array<Estimate, kRows * kDimensions> estimates;
    double largest = 0;
    for (int i = 0; i < kRows * kDimensions; ++i) {
        const double difference = points[row(i)][column(i)] - points[kRows][column(i)];
        estimates[i]            = {difference, std::fabs(difference)};
        largest                 = std::max(largest, estimates[i].magnitude);
    }
    const Estimate estimate = determinant(estimates);
    if (largest <= kLargest && is_certain(estimate)) return sign_of(estimate.value);

    int unit = INT32_MAX;
    for (const double* point : points) {
        for (int k = 0; k < kDimensions; ++k) unit = std::min(unit, Binary(point[k]).exponent);
    }
    if (unit == INT32_MAX) return 0;  // all in the origin
    if (is_exact(std::ldexp(largest, -unit), kDegree)) return sign_of(estimate.value);

    const auto exact = [&](double coordinate) {
        const Binary b(coordinate);
        return b.sign == 0 ? Wide() : Wide(b.magnitude, b.exponent - unit, b.sign);
    };
    std::array<Wide, kRows * kDimensions> differences;
    for (int i = 0; i < kRows * kDimensions; ++i)
        differences[i] = exact(points[row(i)][column(i)]) - exact(points[kRows][column(i)]);
    return determinant(differences).sign();
}

}  // namespace

int orient_2d(double ax, double ay, double bx, double by, double cx, double cy) noexcept {
    const double a[] = {ax, ay}, b[] = {bx, by}, c[] = {cx, cy};
    return sign_of_determinant<3, 2>({a, b, c},
                                     [](const auto& rows) { return det_orient_2d(rows); });
}

int orient_3d(const double* a, const double* b, const double* c, const double* d) noexcept {
    // Relative to the last point the determinant is positive below the plane.
    return -sign_of_determinant<4, 3>({a, b, c, d},
                                      [](const auto& rows) { return det_orient_3d(rows); });
}

bool are_collinear(const double* a, const double* b, const double* c) noexcept {
    return orient_2d(a[0], a[1], b[0], b[1], c[0], c[1]) == 0 &&
           orient_2d(a[1], a[2], b[1], b[2], c[1], c[2]) == 0 &&
           orient_2d(a[2], a[0], b[2], b[0], c[2], c[0]) == 0;
}

int in_sphere(const double* a, const double* b, const double* c, const double* d,
              const double* e) noexcept {
    return sign_of_determinant<5, 3>({a, b, c, d, e},
                                     [](const auto& rows) { return det_in_sphere(rows); });
}

}  // namespace movane
