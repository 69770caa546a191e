// Matrices against Crout's method written out, exact determinants, and the link between a matrix
// and its inverse.

#include "movane/numerics.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace {

using movane_tests::message_of;
using Values = std::vector<double>;

struct Kill {
    void operator()(movane_mat* a) const { EXPECT_EQ(mat_kill(a), nullptr); }
};
using Matrix = std::unique_ptr<movane_mat, Kill>;

Matrix matrix(const Values& values, int rows, int cols) {
    return Matrix(mat_gen_new(values.data(), rows, cols));
}
Matrix square(const Values& values) {
    return Matrix(mat_new(values.data(), static_cast<int>(std::lround(std::sqrt(values.size())))));
}

Values contents(movane_mat* a, int rows, int cols) {
    const double* first = mat_get_row(a, 0);
    return {first, first + rows * cols};
}

// Crout's method column by column, with rows that really move; the order of every sum, the pivot
// rule and the replaced pivots are those that the library promises.
struct Crout {
    Crout(const Values& values, int size) : n(size), lu(values), perm(values.size()) {
        Values scale;
        for (int i = 0; i < n; ++i) {
            double big = 0.0;
            for (int j = 0; j < n; ++j) big = std::max(big, std::fabs(at(i, j)));
            scale.push_back(1.0 / big);
            if (big == 0.0) status = -1;
        }
        if (status != 0) return;
        for (int j = 0; j < n; ++j) {
            for (int i = 0; i < n; ++i)
                for (int k = 0; k < std::min(i, j); ++k) at(i, j) -= at(i, k) * at(k, j);
            int pivot   = j;
            double best = -1.0;
            for (int i = j; i < n; ++i) {
                const double candidate = scale[index(i)] * std::fabs(at(i, j));
                if (candidate > best) best = candidate, pivot = i;
            }
            if (pivot != j) {
                for (int k = 0; k < n; ++k) std::swap(at(pivot, k), at(j, k));
                scale[index(pivot)] = scale[index(j)];
                parity              = -parity;
            }
            perm[index(j)] = pivot;
            if (std::fabs(at(j, j)) < 1e-20) at(j, j) = 1e-20, status = -2;
            for (int i = j + 1; i < n; ++i) at(i, j) /= at(j, j);
        }
    }

    double determinant() {
        double det = parity;
        for (int i = 0; i < n; ++i) det *= at(i, i);
        return det;
    }

    Values solve(Values b) {
        int start = -1;
        for (int i = 0; i < n; ++i) {
            std::swap(b[index(i)], b[index(perm[index(i)])]);
            for (int j = start; start >= 0 && j < i; ++j) b[index(i)] -= at(i, j) * b[index(j)];
            if (start < 0 && b[index(i)] != 0.0) start = i;
        }
        for (int i = n - 1; i >= 0; --i) {
            for (int j = i + 1; j < n; ++j) b[index(i)] -= at(i, j) * b[index(j)];
            b[index(i)] /= at(i, i);
        }
        return b;
    }

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }
    double& at(int i, int j) { return lu[index(i * n + j)]; }

    int n;
    Values lu;
    std::vector<int> perm;
    double parity = 1.0;
    int status    = 0;
};

// Small integers make ties between pivots and exact zeros; scales spread over many decades.
Values random_values(std::mt19937& random, std::size_t count, int kind) {
    Values values(count);
    for (double& value : values) {
        const double integer = static_cast<double>(random() % 7) - 3.0;
        const double real    = std::ldexp(static_cast<double>(random()), -31) - 1.0;
        value                = kind == 0   ? integer
                               : kind == 1 ? real
                                           : std::ldexp(real, static_cast<int>(random() % 80) - 40);
    }
    return values;
}

TEST(Mat, DecomposesSolvesAndInvertsLikeCrout) {
    std::mt19937 random(1);
    for (int round = 0; round < 1500; ++round) {
        const int n             = 1 + round % 19;
        const auto size         = static_cast<std::size_t>(n);
        const Values values     = random_values(random, size * size, round % 3);
        const Values right      = random_values(random, size, round % 2);
        const Values other_side = random_values(random, size, 1);
        SCOPED_TRACE(testing::Message() << "round " << round << ", n " << n);
        Crout expected(values, n);
        const Matrix a = square(values);

        int status = 7;
        Values b   = right;
        ASSERT_EQ(mat_solve_set(a.get(), b.data(), &status), 0);
        ASSERT_EQ(status, expected.status);
        ASSERT_EQ(b, status == 0 ? expected.solve(right) : right);

        double det = 0.0;
        ASSERT_EQ(mat_det_det(a.get(), &det), 0);
        ASSERT_EQ(det, status == -1 ? 0.0 : expected.determinant());

        // The second call goes by the factors at hand, whatever they are worth.
        b = other_side;
        ASSERT_EQ(mat_solve_set(a.get(), b.data(), &status), 0);
        ASSERT_EQ(status, 0);
        if (expected.status != -1) {
            ASSERT_EQ(b, expected.solve(other_side));
        }

        const Matrix inverse(mat_invert(a.get(), &status));
        ASSERT_EQ(status, expected.status);
        ASSERT_EQ(inverse == nullptr, status != 0);
        for (int j = 0; inverse && j < n; ++j) {
            Values unit(size);
            unit[static_cast<std::size_t>(j)] = 1.0;
            const double* column              = mat_get_col(inverse.get(), j);
            ASSERT_EQ(Values(column, column + n), expected.solve(unit));
        }
    }
}

// By expansion along the first row, in integers.
std::int64_t exact_determinant(const std::vector<std::int64_t>& a, std::size_t n) {
    if (n == 0) return 1;
    std::int64_t sum = 0;
    for (std::size_t column = 0; column < n; ++column) {
        std::vector<std::int64_t> minor;
        for (std::size_t i = n; i < n * n; ++i)
            if (i % n != column) minor.push_back(a[i]);
        sum += (column % 2 == 0 ? 1 : -1) * a[column] * exact_determinant(minor, n - 1);
    }
    return sum;
}

TEST(Mat, IsAccurateOnIntegers) {
    std::mt19937 random(2);
    for (int round = 0; round < 500; ++round) {
        const auto n        = static_cast<std::size_t>(1 + round % 6);
        const Values values = random_values(random, n * n, 0);
        const std::vector<std::int64_t> integers(values.begin(), values.end());
        const auto exact = static_cast<double>(exact_determinant(integers, n));
        const Matrix a   = square(values);
        double det       = 0.0;
        ASSERT_EQ(mat_det_det(a.get(), &det), 0);
        ASSERT_NEAR(det, exact, 1e-11);  // products up to 18^6, some tens of roundings
        if (exact == 0.0) continue;

        int status     = 0;
        const Values x = random_values(random, n, 0);
        Values b(n), back(n);
        mat_mulvec(a.get(), x.data(), b.data());
        Values solved = b;
        mat_solve_set(a.get(), solved.data(), &status);
        const Matrix inverse(mat_invert(a.get(), &status));
        ASSERT_NE(inverse, nullptr);
        mat_mulvec(inverse.get(), b.data(), back.data());
        for (std::size_t i = 0; i < n; ++i) {
            EXPECT_NEAR(solved[i], x[i], 1e-10);  // condition numbers reach some ten thousands
            EXPECT_NEAR(back[i], x[i], 1e-10);
        }
    }
}

TEST(Mat, TellsItsTroubles) {
    struct Case {
        const char* name;
        Values values;
        int status;
        double determinant;
    };
    const Case cases[] = {
        {"identity", {1, 0, 0, 1}, 0, 1.0},
        {"exchanged", {0, 1, 1, 0}, 0, -1.0},
        {"a row is zero", {1, 2, 0, 0}, -1, 0.0},
        {"no pivot left", {1, 1, 1, 1}, -2, 1e-20},
        {"a negative pivot is replaced by a positive one", {1, 1, 1, 1 - 1e-21}, -2, 1e-20},
        {"a small pivot stays", {1e-20}, 0, 1e-20},
        {"a smaller one does not", {-9e-21}, -2, 1e-20},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto n = static_cast<std::size_t>(std::lround(std::sqrt(c.values.size())));
        Values b(n, 3.0);
        int status = 7;
        double det = 7.0;
        EXPECT_EQ(message_of([&] {
                      const Matrix a = square(c.values);
                      EXPECT_EQ(mat_solve_set(a.get(), b.data(), &status), 0);
                      EXPECT_EQ(status, c.status);
                      EXPECT_EQ(b == Values(n, 3.0), c.determinant != 1e-20 || status != 0);
                      EXPECT_EQ(mat_det_det(a.get(), &det), 0);
                      EXPECT_EQ(det, c.determinant);
                      EXPECT_EQ(mat_ludcmp(a.get(), &status), 0);
                      EXPECT_EQ(status, 0);
                      const Matrix inverse(mat_invert(a.get(), &status));
                      EXPECT_EQ(status, c.status);
                      EXPECT_EQ(inverse != nullptr, c.status == 0);
                  }),
                  "");
    }
}

TEST(Mat, RefusesWhatIsNotSquare) {
    const Matrix a = matrix({1, 2, 3, 4, 5, 6}, 2, 3);
    Values b{1, 2};
    int status = 7;
    double det = 7.0;
    EXPECT_EQ(message_of([&] {
                  EXPECT_EQ(mat_ludcmp(a.get(), &status), -1);
                  EXPECT_EQ(status, -1);
                  EXPECT_EQ(mat_solve_set(a.get(), b.data(), &status), -1);
                  EXPECT_EQ(mat_det_det(a.get(), &det), -1);
                  EXPECT_EQ(mat_invert(a.get(), &(status = 7)), nullptr);
              }),
              "");
    EXPECT_EQ(status, -1);
    EXPECT_EQ(det, 7.0);
    EXPECT_EQ(b, (Values{1, 2}));
}

TEST(Mat, ReadsAndWritesElements) {
    const Matrix wide = matrix({1, 2, 3, 4, 5, 6}, 2, 3);
    const Matrix tall = matrix({1, 2, 3, 4, 5, 6}, 3, 2);
    struct Read {
        const movane_mat* a;
        int i, j;
        double value;
        int status;
    };
    for (const Read& read : {
             Read{wide.get(), 1, 1, 5.0, 0},
             {wide.get(), 0, 2, 0.0, -1},  // against the row count
             {wide.get(), 2, 0, 0.0, -1},
             {wide.get(), -1, 1, 0.0, -1},
             {wide.get(), 1, -1, 0.0, -1},
             {tall.get(), 2, 1, 6.0, 0},
             {tall.get(), 0, 2, 3.0, 0},
             {tall.get(), 2, 2, 0.0, -1},  // behind the data
         }) {
        int status = 7;
        EXPECT_EQ(mat_get_element(read.a, read.i, read.j, &status), read.value);
        EXPECT_EQ(status, read.status) << read.i << ", " << read.j;
    }

    const Values row{7, 8, 9}, column{-1, -2};
    EXPECT_EQ(mat_set_row(wide.get(), 1, row.data()), 0);
    EXPECT_EQ(mat_set_col(wide.get(), 1, column.data()), 0);
    EXPECT_EQ(mat_set_element(wide.get(), 0, 2, 0.5), 0);
    EXPECT_EQ(contents(wide.get(), 2, 3), (Values{1, -1, 0.5, 7, -2, 9}));
    const double* copied = mat_get_col(wide.get(), 2);
    EXPECT_EQ(Values(copied, copied + 2), (Values{0.5, 9}));
    EXPECT_EQ(mat_get_row(wide.get(), 1), mat_get_row(wide.get(), 0) + 3);
    for (const int outside : {-1, 3}) {
        EXPECT_EQ(mat_get_col(wide.get(), outside), nullptr);
        EXPECT_EQ(mat_get_row(wide.get(), outside), nullptr);
    }
    Values product(2);
    EXPECT_EQ(mat_mulvec(wide.get(), Values{1, 2, 4}.data(), product.data()), 0);
    EXPECT_EQ(product, (Values{1, 39}));
    EXPECT_EQ(mat_set_mat(wide.get(), Values{6, 5, 4, 3, 2, 1}.data()), 0);
    EXPECT_EQ(contents(wide.get(), 2, 3), (Values{6, 5, 4, 3, 2, 1}));
}

TEST(Mat, EverySetterForgetsTheResults) {
    const Values five{5.0};
    using Setter           = void (*)(movane_mat*, const double*);
    const Setter setters[] = {
        [](movane_mat* a, const double* v) { mat_set_mat(a, v); },
        [](movane_mat* a, const double* v) { mat_set_row(a, 0, v); },
        [](movane_mat* a, const double* v) { mat_set_col(a, 0, v); },
        [](movane_mat* a, const double* v) { mat_set_element(a, 0, 0, *v); },
    };
    for (const Setter set : setters) {
        const Matrix a = square({2.0});
        int status     = 0;
        const Matrix inverse(mat_invert(a.get(), &status));
        EXPECT_EQ(mat_invert(a.get(), &status), inverse.get());
        set(a.get(), five.data());
        double det = 0.0, b = 1.0;
        EXPECT_EQ(contents(inverse.get(), 1, 1), Values{0.5});  // until it is asked for again
        EXPECT_EQ(mat_solve_set(a.get(), &b, &status), 0);
        EXPECT_EQ(b, 0.2);
        EXPECT_EQ(mat_det_det(a.get(), &det), 0);
        EXPECT_EQ(det, 5.0);
        EXPECT_EQ(mat_invert(a.get(), &status), inverse.get());
        EXPECT_EQ(contents(inverse.get(), 1, 1), Values{0.2});
    }
}

TEST(Mat, InverseAndSourceLiveAndDieApart) {
    int status = 0;
    Matrix a   = square({4.0});
    Matrix inverse(mat_invert(a.get(), &status));
    inverse.reset();
    EXPECT_EQ(mat_invert(a.get(), &(status = 7)), nullptr);  // killed by its owner
    EXPECT_EQ(status, 0);
    mat_set_element(a.get(), 0, 0, 8.0);
    inverse.reset(mat_invert(a.get(), &status));
    ASSERT_NE(inverse, nullptr);

    // An inverse that is inverted becomes a source of its own; its former source makes another.
    const Matrix back(mat_invert(inverse.get(), &status));
    EXPECT_EQ(contents(back.get(), 1, 1), Values{8.0});
    EXPECT_NE(back.get(), a.get());
    const Matrix second(mat_invert(a.get(), &status));
    EXPECT_NE(second.get(), inverse.get());
    mat_set_element(a.get(), 0, 0, 2.0);
    EXPECT_EQ(mat_invert(a.get(), &status), second.get());
    EXPECT_EQ(contents(inverse.get(), 1, 1), Values{0.125});
    EXPECT_EQ(contents(second.get(), 1, 1), Values{0.5});

    a.reset();
    const Matrix third(mat_invert(second.get(), &status));
    EXPECT_EQ(contents(third.get(), 1, 1), Values{2.0});
    EXPECT_EQ(mat_kill(nullptr), nullptr);
}

TEST(Mat, HasSizesWithoutElements) {
    for (const int n : {0, -1}) {
        const Values none;
        const Matrix a(mat_new(none.data(), n));
        int status = 7;
        double det = 7.0;
        EXPECT_EQ(mat_det_det(a.get(), &det), 0);
        EXPECT_EQ(det, 1.0);
        const Matrix inverse(mat_invert(a.get(), &status));
        EXPECT_NE(inverse, nullptr);
        EXPECT_EQ(mat_get_row(a.get(), 0), nullptr);
    }
    const std::string posted =
        message_of([] { EXPECT_EQ(mat_gen_new(nullptr, INT_MAX, INT_MAX), nullptr); });
    EXPECT_EQ(posted.find("nr: 1, kind: 0, sys: 12, file: MOVANE/Private/Source/mat, line: "), 0u);
    EXPECT_NE(posted.find(", info: No resources available"), std::string::npos);
}

}  // namespace
