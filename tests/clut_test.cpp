// The CLUT class against a plain reference, bit for bit, and its required quirks.

#include "movane/interpolation.h"

#include "reference/clut_reference.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace {

double as_it_is(float value) { return value; }

// Opens what derived classes see.
struct Table : CLUT {
    Table(const reference::Clut& r, clut_output output)
        : CLUT(static_cast<unsigned char>(r.points.size()),
               std::vector<unsigned char>(r.points.begin(), r.points.end()).data(),
               static_cast<unsigned char>(r.channels), 77, std::vector(r.data).data()) {
        if (output) output_ = output;
    }
    using CLUT::Interp3d;
    using CLUT::InterpND;
    using CLUT::tag_;
};

// Equal bit by bit; of values that are not numbers one is as good as another.
bool same(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

double clipped(float value) { return value < 0 ? 0 : value > 1 ? 1 : value; }

std::mt19937 generator(1);

reference::Clut random_table(const std::vector<int>& points, int channels) {
    reference::Clut r{points, channels, {}};
    std::size_t values = static_cast<std::size_t>(channels);
    for (const int n : points) values *= static_cast<std::size_t>(n);
    std::uniform_real_distribution<float> value(-0.5F, 1.5F);
    while (r.data.size() < values) r.data.push_back(value(generator));
    return r;
}

// Few distinct coordinates at times: grid lines, ends, what lies outside, and equal fractions.
double coordinate(int points) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinity = INFINITY;
    const double special[] = {0, 1, -0.2, 1.7, -0.0, 0x1.fffffffffffffp-1, 1e-300, 0.5, 0.5};
    switch (generator() % 16) {
        case 0:
            return generator() % 8 ? 0.25 : kNan;
        case 1:
            return generator() % 8 ? 0.75 : generator() % 2 ? kInfinity : -kInfinity;
        case 2:
        case 3:
            return special[generator() % std::size(special)];
        case 4:
            return static_cast<double>(generator() % 300) / (points - 1);
        default:
            return std::uniform_real_distribution<double>(0, 1)(generator);
    }
}

TEST(Clut, InterpolatesLikeTheReference) {
    const std::pair<std::vector<int>, std::vector<int>> rows[] = {
        {{3, 4, 5}, {1, 2, 3, 4, 5, 6, 7, 8, 255}},
        {{255, 2, 3}, {3}},
        {{5}, {1, 3}},
        {{2, 7}, {4}},
        {{3, 2, 5, 4}, {1, 2, 3, 4, 7, 255}},
        {{2, 3, 4, 2, 3}, {3, 4}},
        {{3, 2, 2, 4, 2, 2}, {3, 5}},
        {{2, 2, 3, 2, 2, 2, 3}, {4}},
        {{2, 2, 2, 3, 2, 2, 2, 2}, {1}},
        {{2, 3, 2, 2, 2, 2, 2, 2, 2}, {6}},
        {{2, 2, 2, 2, 2, 2, 2, 2, 3, 2, 2}, {3}},
        {std::vector<int>(16, 2), {1}}};
    for (const auto& [points, all_channels] : rows) {
        for (const int channels : all_channels) {
            const reference::Clut expected = random_table(points, channels);
            Table clipping(expected, nullptr), plain(expected, as_it_is);
            const std::size_t dims        = points.size(),
                              nr_channels = static_cast<std::size_t>(channels);
            const int count               = dims == 16 ? 2 : dims > 6 ? 30 : 400;
            std::vector<double> in, line(static_cast<std::size_t>(count + 1) * nr_channels, 99);
            for (int i = 0; i < count; ++i)
                for (const int n : points) in.push_back(coordinate(n));
            clipping.InterpolateLine(line.data(), in.data(), count);
            int wrong = 0;
            for (std::size_t i = 0; i < in.size() / dims; ++i) {
                const std::vector<double> at(&in[i * dims], &in[i * dims] + dims);
                std::vector<double> out(nr_channels + 1, 99), unclipped = out, other = out;
                clipping.Interpolate(out.data(), at.data());
                plain.Interpolate(unclipped.data(), at.data());
                const bool has_other = dims >= 3 && dims <= 6;
                if (dims == 3 && i % 2)
                    plain.Interp3d(other.data(), at.data());
                else if (has_other)
                    plain.InterpND(other.data(), at.data());
                for (std::size_t c = 0; c < nr_channels; ++c) {
                    const float value = expected.at(at, static_cast<int>(c));
                    wrong += !same(out[c], clipped(value));
                    wrong += !same(line[i * nr_channels + c], clipped(value));
                    wrong += !same(unclipped[c], value);
                    wrong +=
                        has_other && !same(other[c], expected.multilinear(at, static_cast<int>(c)));
                }
                EXPECT_EQ(out.back() + unclipped.back() + other.back(), 3 * 99);
            }
            EXPECT_EQ(wrong, 0) << dims << " dimensions, " << channels << " channels";
            EXPECT_EQ(line[static_cast<std::size_t>(count) * nr_channels], 99);
        }
    }
}

// Numbers of few digits, so that nothing is rounded.
TEST(Clut, IsExactForLinearDataAndExchangesTwoTetrahedra) {
    reference::Clut linear{{5, 5, 5}, 1, {}}, cell{{2, 2, 2}, 8, std::vector<float>(64)};
    for (int i = 0; i < 125; ++i)
        linear.data.push_back(static_cast<float>(i / 25 + 8 * (i / 5 % 5) - 3 * (i % 5)));
    for (std::size_t corner = 0; corner < 8; ++corner) cell.data[9 * corner] = 1;
    Table table(linear, as_it_is), corners(cell, as_it_is);
    for (int i = 0; i < 17 * 17 * 17; ++i) {
        const double in[] = {i % 17 / 16.0, i / 17 % 17 / 16.0, i / 289 / 16.0};
        double out        = 0, weights[8];
        table.Interpolate(&out, in);
        EXPECT_EQ(out, 4 * in[0] + 32 * in[1] - 12 * in[2]);

        // Which corners weigh: 4 in c[x][y][z] is x.
        corners.Interpolate(weights, in);
        const bool by_yz = in[2] > in[0] && in[0] > in[1], by_xz = in[2] > in[1] && in[1] > in[0];
        if (!by_yz && !by_xz) continue;
        EXPECT_EQ(weights[by_yz ? 3 : 5], by_yz ? in[1] - in[0] : in[0] - in[1]);
        EXPECT_EQ(weights[by_yz ? 5 : 3], 0);
    }
}

TEST(Clut, CopiesShareWhatTheirSourcesHad) {
    const reference::Clut r = random_table({4, 3, 2, 2}, 3);
    const double in[]       = {1, 0, 1, 0};
    double out[]            = {0, 0, 0, 99};
    Table other(random_table({2}, 1), nullptr);
    {
        Table source(r, as_it_is);
        const Table copy(source);
        EXPECT_EQ(copy.tag_, 77);
        other = copy;
        // The point (3, 0, 1, 0).
        float* const value = source.GetData(3 * 36 + 6);
        EXPECT_EQ(value, &source[114]);
        EXPECT_EQ(value, other.GetData(114));
        *value = 0.125F;
    }
    other.Interpolate(out, in);
    EXPECT_EQ(std::vector(out, out + 4),
              (std::vector<double>{0.125, r.data[115], r.data[116], 99}));
    EXPECT_EQ(other.NumPoints(), 48U);
    EXPECT_EQ(other.GridPoints(), 4);
    const int points[] = {4, 3, 2, 2, 0}, sizes[] = {36, 12, 6, 3, 0};
    for (const int d : {0, 1, 2, 3, 4}) {
        EXPECT_EQ(other.GridPoint(d), points[d]);
        EXPECT_EQ(other.GetDimSize(static_cast<unsigned char>(d)), static_cast<unsigned>(sizes[d]));
    }
    EXPECT_EQ(other.GetInputDim() * 10 + other.GetOutputChannels(), 43);
}

TEST(Clut, HasNoPointsWhenTheGridIsTooLarge) {
    std::vector<unsigned char> points(16, 255);
    for (const auto& [dims, channels] : {std::pair{4, 1}, {16, 255}, {16, 0}, {5, 0}}) {
        CLUT table(static_cast<unsigned char>(dims), points.data(),
                   static_cast<unsigned char>(channels), 0, nullptr);
        EXPECT_EQ(table.NumPoints(), 0U);
        EXPECT_EQ(table.GetData(0), nullptr);
        const std::vector<double> in(2 * 16, 0.5);
        std::vector<double> out(3 * 255, 99), expected = out;
        std::fill_n(expected.begin(), 2 * channels, 0.0);
        table.InterpolateLine(out.data(), in.data(), 2);
        EXPECT_EQ(out, expected);
    }
}

TEST(Clut, ServesSeveralThreadsAtOnce) {
    for (const auto& points : {std::vector{5, 5, 5},
                               {4, 4, 4, 4},
                               {3, 3, 3, 3, 3},
                               {2, 2, 2, 2, 2, 2},
                               {5},
                               std::vector<int>(9, 2)}) {
        const reference::Clut r = random_table(points, 4);
        Table table(r, nullptr);
        constexpr int kPoints = 500;
        std::vector<double> in, expected(4 * kPoints);
        for (std::size_t i = 0; i < kPoints * points.size(); ++i)
            in.push_back(static_cast<double>(generator()) * 0x1p-32);
        table.InterpolateLine(expected.data(), in.data(), kPoints);
        std::vector<std::thread> threads;
        std::atomic<int> wrong = 0;
        for (int k = 0; k < 4; ++k) {
            threads.emplace_back([&] {
                std::vector<double> out(4 * kPoints);
                for (std::size_t i = 0; i < kPoints; ++i)
                    table.Interpolate(&out[4 * i], &in[i * points.size()]);
                wrong += out != expected;
                table.InterpolateLine(out.data(), in.data(), kPoints);
                wrong += out != expected;
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(wrong, 0);
    }
}

}  // namespace
