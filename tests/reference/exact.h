// Signs of determinants of doubles by exact integers, for checking predicates.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace movane_tests::reference {

// An integer in digits of 24 bits that may have either sign each; the highest that is not 0
// decides.
class Exact {
public:
    Exact(int value = 0) : digits_{value} {}

    // A double counted in units of 2^unit, which must divide it: degree 1 of a homogeneous form.
    static Exact scaled(double value, int unit) {
        int exponent    = 0;
        auto mantissa   = static_cast<std::int64_t>(std::ldexp(std::frexp(value, &exponent), 53));
        const int shift = exponent - 53 - unit;
        const std::size_t i = static_cast<std::size_t>(shift / 24);
        Exact result(0);
        result.digits_.assign(i + 4, 0);
        for (std::size_t k = 0; k < 3; ++k, mantissa /= kBase) {
            const std::int64_t part = mantissa % kBase * (1 << shift % 24);
            result.digits_[i + k] += part % kBase;
            result.digits_[i + k + 1] += part / kBase;
        }
        return result.normalised();
    }

    Exact operator+(const Exact& b) const {
        Exact sum         = digits_.size() < b.digits_.size() ? b : *this;
        const auto& other = digits_.size() < b.digits_.size() ? digits_ : b.digits_;
        for (std::size_t i = 0; i < other.size(); ++i) sum.digits_[i] += other[i];
        return sum.normalised();
    }

    Exact operator*(const Exact& b) const {
        Exact product(0);
        product.digits_.assign(digits_.size() + b.digits_.size(), 0);
        for (std::size_t i = 0; i < digits_.size(); ++i) {
            if (digits_[i] == 0) continue;
            for (std::size_t j = 0; j < b.digits_.size(); ++j)
                product.digits_[i + j] += digits_[i] * b.digits_[j];
        }
        return product.normalised();
    }

    int sign() const {
        for (std::size_t i = digits_.size(); i-- > 0;)
            if (digits_[i] != 0) return digits_[i] > 0 ? 1 : -1;
        return 0;
    }

private:
    static constexpr std::int64_t kBase = 1 << 24;

    Exact normalised() const {
        Exact result = *this;
        for (std::size_t i = 0; i < result.digits_.size(); ++i) {
            const std::int64_t carry = result.digits_[i] / kBase;
            if (carry == 0) continue;
            if (i + 1 == result.digits_.size()) result.digits_.push_back(0);
            result.digits_[i] -= carry * kBase;
            result.digits_[i + 1] += carry;
        }
        return result;
    }

    std::vector<std::int64_t> digits_;
};

template <class Number, std::size_t kSize>
using Matrix = std::array<std::array<Number, kSize>, kSize>;

/// Expansion along the first row.
template <class Number, std::size_t kSize>
Number determinant(const Matrix<Number, kSize>& m) {
    if constexpr (kSize == 1) {
        return m[0][0];
    } else {
        Number sum = 0;
        for (std::size_t k = 0; k < kSize; ++k) {
            Matrix<Number, kSize - 1> minor;
            for (std::size_t i = 1; i < kSize; ++i)
                for (std::size_t j = 1; j < kSize; ++j)
                    minor[i - 1][j - 1] = m[i][j <= k ? j - 1 : j];
            sum = sum + m[0][k] * determinant<Number, kSize - 1>(minor) * (k % 2 ? -1 : 1);
        }
        return sum;
    }
}

/// A point as (1, x, y, ..., and the sum of the squares), as far as there is room.
template <std::size_t kDimensions, std::size_t kSize, class Number>
std::array<Number, kSize> lifted(const std::array<Number, 3>& point) {
    std::array<Number, kDimensions + 2> row;
    row.front() = 1;
    row.back()  = 0;
    for (std::size_t k = 0; k < kDimensions; ++k) {
        row[k + 1] = point[k];
        row.back() = row.back() + point[k] * point[k];
    }
    std::array<Number, kSize> result;
    std::copy_n(row.begin(), kSize, result.begin());
    return result;
}

/// How points lie to kSize - 1 given ones, as a linear form of their lifted coordinates: the
/// determinant in which the point is the last row.
template <std::size_t kDimensions, std::size_t kSize, class Number>
std::array<Number, kSize> form_of(const std::array<Number, 3>* given) {
    Matrix<Number, kSize> rows;
    for (std::size_t i = 0; i + 1 < kSize; ++i) rows[i] = lifted<kDimensions, kSize>(given[i]);
    std::array<Number, kSize> form;
    for (std::size_t k = 0; k < kSize; ++k) {
        rows.back().fill(0);
        rows.back()[k] = 1;
        form[k]        = determinant<Number, kSize>(rows);
    }
    return form;
}

/// The determinant of rows (1, x, y, ...), which tells how the last of kDimensions + 1 points lies
/// to the others; of one point more, rows end with the sum of the squares: it is below 0 when the
/// last one lies inside the sphere of positively oriented others.
template <std::size_t kDimensions, class Number, std::size_t kPoints>
Number orientation(const std::array<std::array<Number, 3>, kPoints>& points) {
    Matrix<Number, kPoints> rows;
    for (std::size_t i = 0; i < kPoints; ++i) rows[i] = lifted<kDimensions, kPoints>(points[i]);
    return determinant<Number, kPoints>(rows);
}

}  // namespace movane_tests::reference
