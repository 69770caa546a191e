// The CLUT class against a plain reference, bit for bit, and its required quirks.

#include "movane/interpolation.h"

#include "reference/clut_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
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
    int values = channels;
    for (const int n : points) values *= n;
    std::uniform_real_distribution<float> value(-0.5F, 1.5F);
    while (values-- > 0) r.data.push_back(value(generator));
    return r;
}

// Few distinct coordinates at times: grid lines, ends, what lies outside, and equal fractions.
double coordinate(int points) {
    const double odd[]     = {NAN, INFINITY, -INFINITY},
                 on_grid   = static_cast<double>(generator() % 300) / (points - 1),
                 special[] = {0.25,   0.75,   0.5, 0.5, 0, 1, -0.2, 1.7, -0.0, 0x1.fffffffffffffp-1,
                              1e-300, on_grid};
    if (generator() % 64 == 0) return odd[generator() % 3];
    if (generator() % 3 == 0) return special[generator() % std::size(special)];
    return std::uniform_real_distribution<double>(0, 1)(generator);
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
            const auto dims = static_cast<int>(points.size());
            const int count = dims == 16 ? 2 : dims > 6 ? 20 : 100;
            std::vector<double> in, line(count * channels + 1, 99);
            for (int i = 0; i < count; ++i)
                for (const int n : points) in.push_back(coordinate(n));
            clipping.InterpolateLine(line.data(), in.data(), count);
            // Others may interpolate at the same time.
            std::atomic<bool> is_over = false;
            std::thread other_user([&, again = line]() mutable {
                while (!is_over) {
                    clipping.InterpolateLine(again.data(), in.data(), count);
                    EXPECT_TRUE(std::ranges::equal(again, line, same));
                }
            });
            int wrong = 0;
            for (int i = 0; i < count; ++i) {
                const std::vector<double> at(&in[i * dims], &in[i * dims] + dims);
                std::vector<double> out(channels + 1, 99), unclipped = out, other = out;
                clipping.Interpolate(out.data(), at.data());
                plain.Interpolate(unclipped.data(), at.data());
                const bool has_other = dims >= 3 && dims <= 6;
                if (dims == 3 && i % 2)
                    plain.Interp3d(other.data(), at.data());
                else if (has_other)
                    plain.InterpND(other.data(), at.data());
                for (int c = 0; c < channels; ++c) {
                    const float value = expected.at(at, c);
                    wrong += !same(out[c], clipped(value)) || !same(unclipped[c], value) ||
                             !same(line[i * channels + c], clipped(value)) ||
                             (has_other && !same(other[c], expected.multilinear(at, c)));
                }
                wrong += out.back() + unclipped.back() + other.back() != 3 * 99;
            }
            is_over = true;
            other_user.join();
            EXPECT_EQ(wrong, 0) << dims << " dimensions, " << channels << " channels";
            EXPECT_EQ(line.back(), 99);
        }
    }
}

TEST(Clut, CopiesShareWhatTheirSourcesHad) {
    const reference::Clut r = random_table({4, 3, 2, 2}, 3);
    const double in[]       = {1, 0, 1, 0};
    double out[]            = {0, 0, 0};
    Table other(random_table({2}, 1), nullptr);
    {
        Table source(r, as_it_is);
        const Table copy(source);
        EXPECT_EQ(copy.tag_, 77);
        other = copy;
        EXPECT_EQ(source.GetData(114), other.GetData(114));
        source[114] = 0.125F;  // the point (3, 0, 1, 0)
    }
    other.Interpolate(out, in);
    EXPECT_EQ(std::vector(out, out + 3), (std::vector<double>{0.125, r.data[115], r.data[116]}));
    EXPECT_EQ(other.NumPoints(), 48U);
    EXPECT_EQ(other.GridPoints(), 4);
    EXPECT_EQ(other.GridPoint(3) * 10 + other.GridPoint(4), 20);
    EXPECT_EQ(other.GetDimSize(1) * 10 + other.GetDimSize(4), 120U);
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

}  // namespace
