// The FIR filter: every entry point against the whole-image reference.

#include "movane/imaging.h"

#include "reference/fir_reference.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace {

using movane_tests::Delivery;
using movane_tests::fir_reference;
using movane_tests::FirSetting;
using movane_tests::message_of;
using movane_tests::Plane;

struct Kill {
    void operator()(fir_filter* f) const { EXPECT_EQ(fir_kill(f), 0); }
};
using Filter = std::unique_ptr<fir_filter, Kill>;

template <class T, std::size_t... I>
void feed(fir_filter* f, T* const* in, T** out, std::index_sequence<I...>) {
    constexpr bool is_byte = sizeof(T) == 1;
    if constexpr (sizeof...(I) == 1 && is_byte) fir_mono_b(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 1 && !is_byte) fir_mono(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 3 && is_byte) fir_rgb_b(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 3 && !is_byte) fir_rgb(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 4 && is_byte) fir_cmyk_b(f, in[I]..., out + I...);
    if constexpr (sizeof...(I) == 4 && !is_byte) fir_cmyk(f, in[I]..., out + I...);
}

// Where the channels of a line lie: side by side when the step has room for them, else one after
// the other.
struct Layout {
    std::size_t channels, width, step;

    std::size_t place(std::size_t channel, std::size_t x) const {
        return (step >= channels ? channel : channel * width * step) + x * step;
    }
    std::size_t samples() const { return channels * width * step + step; }
};

// A host that keeps what it is given, in two buffers used in turn. All that the filter does not
// have to write must keep the fill value.
template <class Sample, int kChannels>
class Host {
public:
    Host(const Layout& in, const Layout& out) : in_(in), out_(out) {
        for (auto& buffer : buffers_) buffer.assign(out.samples(), kFill);
        for (std::size_t ch = 0; ch < kChannels; ++ch) target_[ch] = &buffers_[0][out.place(ch, 0)];
    }

    std::vector<Delivery<Sample>> run(fir_filter* f, const std::vector<Plane<Sample>>& planes,
                                      const FirSetting& setting) {
        current_ = this;
        deliveries_.clear();
        fir_start(f, kChannels, setting.height, static_cast<int>(in_.width), line_done,
                  static_cast<int>(in_.step), static_cast<int>(out_.step));
        std::vector<std::vector<Sample>> lines;
        for (std::size_t y = 0; y < planes[0].size(); ++y) {
            lines.emplace_back(in_.samples());
            Sample* in[kChannels];
            for (std::size_t ch = 0; ch < kChannels; ++ch) {
                for (std::size_t x = 0; x < in_.width; ++x)
                    lines[y][in_.place(ch, x)] = planes[ch][y][x];
                in[ch] = &lines[y][in_.place(ch, 0)];
            }
            call_ = static_cast<int>(y);
            feed(f, in, target_.data(), std::make_index_sequence<kChannels>());
            // From here on the oldest line is the host's again.
            const auto kept = static_cast<std::size_t>(2 * setting.radius + 1);
            if (y >= kept) lines[y - kept].clear(), lines[y - kept].shrink_to_fit();
        }
        for (const auto& buffer : buffers_)
            EXPECT_EQ(buffer, std::vector<Sample>(out_.samples(), kFill)) << "stray writes";
        return deliveries_;
    }

private:
    static constexpr Sample kFill = 0x5A;

    static void line_done(int channel) { current_->take(static_cast<std::size_t>(channel)); }

    void take(std::size_t ch) {
        auto& buffer = buffers_[turn_[ch]];
        Delivery<Sample> delivery{call_, static_cast<int>(ch), {}};
        for (std::size_t x = 0; x < out_.width; ++x)
            delivery.line.push_back(std::exchange(buffer[out_.place(ch, x)], kFill));
        deliveries_.push_back(delivery);
        turn_[ch] ^= 1;
        target_[ch] = &buffers_[turn_[ch]][out_.place(ch, 0)];
    }

    static inline Host* current_;
    Layout in_, out_;
    std::vector<Sample> buffers_[2];
    std::array<std::size_t, kChannels> turn_{};
    std::array<Sample*, kChannels> target_{};
    int call_ = 0;
    std::vector<Delivery<Sample>> deliveries_;
};

template <class Sample>
std::vector<Plane<Sample>> noise(int channels, int height, int width, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Plane<Sample>> planes(static_cast<std::size_t>(channels));
    for (auto& plane : planes) {
        plane.resize(static_cast<std::size_t>(height));
        for (auto& line : plane) {
            line.resize(static_cast<std::size_t>(width));
            for (auto& sample : line) sample = static_cast<Sample>(random());
        }
    }
    return planes;
}

// A weight at random; index and centre tell where it stands.
using Weight = double (*)(std::mt19937& random, int index, int centre);

double smooth(std::mt19937& random, int, int centre) {
    return static_cast<double>(random() % 1000) * 0.002 / (2 * centre + 1);
}
double sharpen(std::mt19937& random, int index, int centre) {
    return index == centre ? 2.75 : -smooth(random, index, centre);
}
double identity(std::mt19937&, int index, int centre) { return index == centre ? 1.0 : 0.0; }
double none(std::mt19937&, int, int) { return 0.0; }
double wrapping(std::mt19937& random, int, int) {
    return static_cast<double>(static_cast<std::int32_t>(random())) / 65536.0;
}
double wild(std::mt19937&, int index, int) {
    constexpr double kInfinity   = std::numeric_limits<double>::infinity();
    constexpr double kOddities[] = {std::numeric_limits<double>::quiet_NaN(),
                                    kInfinity,
                                    -kInfinity,
                                    1e300,
                                    -1e300,
                                    32768.0,
                                    -32768.0,
                                    32767.999999,
                                    -32768.1,
                                    0.5,
                                    -0.5,
                                    1.0 / 65536,
                                    -0.9 / 65536,
                                    0.9 / 65536,
                                    0.49999,
                                    -1.99999 / 65536};
    return kOddities[static_cast<std::size_t>(index) % std::size(kOddities)];
}

struct Case {
    const char* name;
    int radius, width, height;
    std::size_t in_step, out_step;
    int max_value;
    Weight weight;
};

constexpr Case kCases[] = {
    {"planar", 1, 37, 9, 1, 1, 255, smooth},
    {"interleaved RGB", 2, 41, 12, 3, 3, 255, sharpen},
    {"interleaved CMYK", 3, 301, 8, 4, 4, 65535, sharpen},
    {"from wide to narrow steps", 2, 30, 8, 7, 2, 255, smooth},
    {"a strip and one pixel", 1, 259, 4, 1, 3, 65535, sharpen},
    {"two strips", 2, 516, 6, 2, 1, 65535, sharpen},
    {"largest kernel", 10, 60, 24, 1, 4, 255, sharpen},
    {"radius 0", 0, 33, 5, 3, 3, 255, sharpen},
    {"fresh kernel", 2, 20, 7, 1, 1, 255, none},
    {"identity, lost from 32768 on", 1, 70, 6, 1, 1, 65535, identity},
    {"sums that wrap", 2, 90, 7, 1, 1, 65535, wrapping},
    {"weights at and beyond the ends", 2, 90, 7, 3, 1, 65535, wild},
    {"low cap", 1, 40, 6, 3, 3, 100, smooth},
    {"cap above 32767", 1, 40, 6, 1, 1, 40000, wrapping},
    {"largest cap", 1, 40, 6, 1, 1, std::numeric_limits<int>::max(), wrapping},
    {"cap 0", 1, 40, 6, 1, 1, 0, smooth},
    {"negative cap", 1, 40, 6, 1, 1, -3, smooth},
    {"cap that keeps its lower bits only", 1, 40, 6, 1, 1, -40000, smooth},
    {"smallest cap", 1, 40, 6, 1, 1, std::numeric_limits<int>::min(), smooth},
    {"one filtered column", 3, 7, 9, 1, 1, 255, smooth},
    {"narrower than the kernel", 3, 6, 9, 3, 3, 255, smooth},
    {"narrower than the radius", 3, 2, 9, 1, 1, 255, smooth},
    {"no columns", 1, 0, 4, 1, 1, 255, smooth},
    {"one filtered line", 2, 20, 5, 1, 1, 255, smooth},
    {"twice the radius high", 3, 20, 6, 1, 1, 255, smooth},
    {"lower than twice the radius", 4, 20, 6, 3, 3, 255, smooth},
    {"as high as the radius", 4, 20, 4, 1, 1, 255, smooth},
    {"lower than the radius", 4, 20, 2, 4, 4, 255, smooth},
    {"one line", 1, 20, 1, 1, 1, 255, smooth},
    {"no lines", 2, 20, 0, 1, 1, 255, smooth},
    {"no lines, radius 0", 0, 20, 0, 1, 1, 255, smooth},
};

template <class Sample, int kChannels>
void check(const Case& c) {
    SCOPED_TRACE(::testing::Message() << c.name << ", " << kChannels << " channels of "
                                      << 8 * sizeof(Sample) << " bits");
    constexpr int kBeyond = 3;  // lines fed after the last one
    const int size        = 2 * c.radius + 1;
    std::mt19937 random(7);
    FirSetting setting{c.radius, c.max_value, {}, c.height};
    for (int i = 0; i < size * size; ++i)
        setting.weights.push_back(c.weight(random, i, size * size / 2));

    const auto width = static_cast<std::size_t>(c.width);
    Host<Sample, kChannels> host({kChannels, width, c.in_step}, {kChannels, width, c.out_step});
    const Filter f(fir_new(c.radius, c.max_value));
    if (c.weight != none) {
        EXPECT_EQ(fir_set_kernel(f.get(), setting.weights.data()), 1);
    }

    // An image that is abandoned, a complete one, and another with the same filter.
    host.run(f.get(), noise<Sample>(kChannels, c.height / 2, c.width, 1), setting);
    for (const unsigned seed : {2U, 3U}) {
        const auto planes = noise<Sample>(kChannels, c.height + kBeyond, c.width, seed);
        EXPECT_TRUE(host.run(f.get(), planes, setting) == fir_reference(planes, setting));
    }
}

TEST(Fir, DeliversWhatTheWholeImageReferenceDoes) {
    for (const Case& c : kCases) {
        check<unsigned char, 1>(c);
        check<unsigned char, 3>(c);
        check<unsigned char, 4>(c);
        check<unsigned short, 1>(c);
        check<unsigned short, 3>(c);
        check<unsigned short, 4>(c);
    }
}

TEST(Fir, TakesRadius0To10) {
    for (const int radius : {-1, 0, 10, 11}) {
        const bool legal = radius >= 0 && radius <= 10;
        EXPECT_EQ(message_of([&] { EXPECT_EQ(Filter(fir_new(radius, 255)) != nullptr, legal); }),
                  legal ? "" : "fir_new: illegal radius");
    }
}

TEST(Fir, AcceptsNullWhereTheHeaderSaysSo) {
    const Filter f(fir_new(0, 255));
    const double weight = 0.5;
    EXPECT_EQ(fir_set_kernel(f.get(), &weight), 1);
    EXPECT_EQ(fir_set_kernel(nullptr, &weight), 0);
    EXPECT_EQ(fir_set_kernel(f.get(), nullptr), 0);
    EXPECT_EQ(fir_kill(nullptr), 0);

    EXPECT_EQ(fir_start(f.get(), 1, 1, 3, nullptr, 1, 1), f.get());
    unsigned char in[] = {10, 20, 255}, line[3] = {};
    unsigned char* out = line;
    fir_mono_b(f.get(), in, &out);
    EXPECT_EQ(std::vector<int>(line, line + 3), (std::vector<int>{5, 10, 127}));
}

}  // namespace
