// Matrices against elimination written out, and the link between a matrix and its inverse.

#include "movane/numerics.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <valarray>
#include <vector>

namespace {

using Values = std::vector<double>;
using Matrix = std::shared_ptr<movane_mat>;

Matrix matrix(const Values& values, int rows, int cols) {
    return {mat_gen_new(values.data(), rows, cols), mat_kill};
}

// Elimination with rows that really move, each followed by its element of the right side and those
// of all unit vectors. The order of sums, the pivot rule and the replaced pivots are the library's.
struct Elimination {
    int n, status = 0;
    double det = 1;
    std::vector<std::valarray<double>> rows;

    Elimination(const Values& a, const Values& right) : n(static_cast<int>(right.size())) {
        Values scale;
        for (int i = 0; i < n; ++i) {
            rows.emplace_back(2 * n + 1);
            std::copy_n(&a[i * n], n, &rows[i][0]);
            scale.push_back(1 / std::abs(rows[i]).max());
            if (scale[i] > DBL_MAX) status = -1;
            rows[i][n]         = right[i];
            rows[i][n + 1 + i] = 1;
        }
        if (status == -1) det = 0;
        for (int k = 0; status != -1 && k < n; ++k) {
            int pivot        = k;
            const auto merit = [&](int i) { return scale[i] * std::fabs(rows[i][k]); };
            for (int i = k; i < n; ++i) pivot = merit(i) > merit(pivot) ? i : pivot;
            std::swap(rows[k], rows[pivot]);
            std::swap(scale[k], scale[pivot]);
            if (std::fabs(rows[k][k]) < 1e-20) {
                rows[k][k] = 1e-20;
                status     = -2;
            }
            det *= pivot == k ? rows[k][k] : -rows[k][k];
            for (int i = k + 1; i < n; ++i) rows[i] -= rows[i][k] / rows[k][k] * rows[k];
        }
    }

    Values solution(int right_side) const {
        Values x(n);
        for (int i = n - 1; i >= 0; --i) {
            x[i] = rows[i][n + right_side];
            for (int j = i + 1; j < n; ++j) x[i] -= rows[i][j] * x[j];
            x[i] /= rows[i][i];
        }
        return x;
    }
};

void check_solutions(const Values& values, const Values& right) {
    const int n    = static_cast<int>(right.size());
    const Matrix a = matrix(values, n, n);
    const Elimination expected(values, right);
    int status = 7;
    double det = 7;
    for (const int own_status : {expected.status, 0}) {  // the second time by the factors at hand
        Values b = right;
        ASSERT_EQ(mat_solve_set(a.get(), b.data(), &status), 0);
        ASSERT_EQ(status, own_status);
        ASSERT_TRUE(expected.status == -1 || status != 0 || b == expected.solution(0));
        ASSERT_TRUE(status == 0 || b == right);
    }
    ASSERT_EQ(mat_det_det(a.get(), &det), 0);
    ASSERT_EQ(det, expected.det);
    const Matrix inverse(mat_invert(a.get(), &status), mat_kill);
    ASSERT_EQ(status, expected.status);
    ASSERT_EQ(inverse != nullptr, status == 0);
    for (int j = 0; inverse && j < n; ++j) {
        const double* const column = mat_get_col(inverse.get(), j);
        ASSERT_EQ(Values(column, column + n), expected.solution(1 + j));
    }
}

TEST(Mat, DecomposesSolvesAndInvertsAsEliminationDoes) {
    const movane_tests::MessageCapture capture;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> real(-1, 1);
    for (int round = 0; round < 1000; ++round) {
        // Small integers make ties between pivots; powers spread over many decades.
        const auto number = [&] {
            return round % 3 == 0 ? std::floor(4 * real(random)) : std::pow(real(random), 9);
        };
        const int n = 1 + round % 19;
        Values values(n * n), right(n);
        std::generate(values.begin(), values.end(), number);
        std::generate(right.begin(), right.end(), number);
        check_solutions(values, right);
        ASSERT_FALSE(HasFatalFailure()) << "round " << round;
    }
    check_solutions({}, {});
    check_solutions({1, 2, 0, 0}, {3, 3});          // a row is zero
    check_solutions({1, 1, 1, 1 - 1e-21}, {3, 3});  // a negative pivot becomes a positive one
    check_solutions({1e-20}, {3});                  // small, but it stays
    check_solutions({-9e-21}, {3});
    EXPECT_EQ(movane_tests::MessageCapture::take(), "");
}

TEST(Mat, FactorsThatOverflowSpoilOnlyTheColumnsThatNeedThem) {
    int status     = 7;
    const Matrix a = matrix({1e-15, 1e-15, 1e300, 1e305}, 2, 2);
    const Matrix inverse(mat_invert(a.get(), &status), mat_kill);
    const double* const column = mat_get_col(inverse.get(), 1);
    EXPECT_TRUE(column[0] == 0 && column[1] == 0);
}

TEST(Mat, LooksAtItsRowCount) {
    const Matrix wide = matrix({1, 2, 3, 4, 5, 6}, 2, 3), tall = matrix({1, 2, 3, 4, 5, 6}, 3, 2);
    int status = 7;
    // All of (-1, -1) to (3, 3), row by row.
    const auto elements = [&](const Matrix& a) {
        std::string all;
        for (int k = 0; k < 25; ++k) {
            const double value = mat_get_element(a.get(), k / 5 - 1, k % 5 - 1, &status);
            EXPECT_TRUE(status == 0 || (status == -1 && value == 0));
            all += status == 0 ? static_cast<char>('0' + value) : '-';
        }
        return all;
    };
    EXPECT_EQ(elements(wide), "------12---45------------");
    EXPECT_EQ(elements(tall), "------123--345--56-------");
    EXPECT_EQ(mat_get_row(wide.get(), 1), mat_get_row(wide.get(), 0) + 3);
    EXPECT_TRUE(!mat_get_col(wide.get(), -1) && !mat_get_col(wide.get(), 3));
    EXPECT_TRUE(!mat_get_row(wide.get(), -1) && !mat_get_row(wide.get(), 2));
    double v[] = {1, 2, 4}, product[2] = {};
    EXPECT_EQ(mat_mulvec(wide.get(), v, product), 0);
    EXPECT_TRUE(product[0] == 17 && product[1] == 38);
    // What is not square is refused without a message.
    EXPECT_EQ(mat_ludcmp(wide.get(), &(status = 7)), -1);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(mat_solve_set(wide.get(), v, &status), -1);
    EXPECT_EQ(mat_det_det(wide.get(), v), -1);
    EXPECT_EQ(v[0], 1);
    EXPECT_EQ(mat_invert(tall.get(), &(status = 7)), nullptr);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(mat_det_det(matrix({}, -1, -1).get(), v), 0);
}

TEST(Mat, EverySetterForgetsTheResults) {
    using Setter                              = int (*)(movane_mat*, const double*);
    const std::pair<Setter, Values> setters[] = {
        {[](movane_mat* a, const double* v) { return mat_set_mat(a, v); }, {5, 6, 7, 9}},
        {[](movane_mat* a, const double* v) { return mat_set_row(a, 1, v); }, {2, 0, 5, 6}},
        {[](movane_mat* a, const double* v) { return mat_set_col(a, 1, v); }, {2, 5, 0, 6}},
        {[](movane_mat* a, const double* v) { return mat_set_element(a, 1, 1, *v); }, {2, 0, 0, 5}},
    };
    for (const auto& [set, values] : setters) {
        int status = 7;
        double det = 7, inverse_det = 7;
        const Matrix a = matrix({2, 0, 0, 4}, 2, 2);
        const Matrix inverse(mat_invert(a.get(), &status), mat_kill);
        const double* const inverted = mat_get_row(inverse.get(), 0);
        EXPECT_EQ(mat_invert(a.get(), &status), inverse.get());
        EXPECT_EQ(set(a.get(), Values{5, 6, 7, 9}.data()), 0);
        EXPECT_EQ(Values(mat_get_row(a.get(), 0), mat_get_row(a.get(), 1) + 2), values);
        EXPECT_EQ(inverted[3], 0.25);  // until it is asked for again
        mat_det_det(inverse.get(), &det);
        mat_det_det(a.get(), &det);
        EXPECT_EQ(det, Elimination(values, {0, 0}).det);
        EXPECT_EQ(mat_invert(a.get(), &status), inverse.get());
        EXPECT_NEAR(inverted[3], values[0] / det, 1e-15);
        mat_det_det(inverse.get(), &inverse_det);
        EXPECT_NEAR(det * inverse_det, 1, 1e-14);
    }
}

TEST(Mat, InverseAndSourceLiveAndDieApart) {
    int status            = 7;
    const auto inverse_of = [&](const Matrix& a) {
        return Matrix(mat_invert(a.get(), &status), mat_kill);
    };
    const auto value = [](const Matrix& a) { return *mat_get_row(a.get(), 0); };
    Matrix a         = matrix({0}, 1, 1);
    EXPECT_EQ(inverse_of(a), nullptr);
    EXPECT_EQ(status, -1);
    mat_set_element(a.get(), 0, 0, 4);
    EXPECT_EQ(value(inverse_of(a)), 0.25);
    EXPECT_EQ(inverse_of(a), nullptr);  // killed by its owner
    mat_set_element(a.get(), 0, 0, 8);
    const Matrix inverse = inverse_of(a);
    // An inverse that is inverted becomes a source of its own; its former source makes another.
    const Matrix back = inverse_of(inverse), second = inverse_of(a);
    mat_set_element(a.get(), 0, 0, 2);
    EXPECT_EQ(mat_invert(a.get(), &status), second.get());
    EXPECT_TRUE(value(back) == 8 && value(inverse) == 0.125 && value(second) == 0.5);
    // The attempt parts them already.
    mat_set_element(second.get(), 0, 0, 0);
    EXPECT_EQ(inverse_of(second), nullptr);
    const Matrix third = inverse_of(a);
    EXPECT_NE(third, second);
    a.reset();
    EXPECT_EQ(value(inverse_of(third)), 2);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(mat_kill(nullptr), nullptr);
    // It does so also when it cannot be inverted.
    const Matrix source = matrix({2}, 1, 1), singular = inverse_of(source);
    mat_set_element(singular.get(), 0, 0, 0);
    EXPECT_EQ(inverse_of(singular), nullptr);
    EXPECT_EQ(value(inverse_of(source)), 0.5);
}

}  // namespace
