#include "resizer.h"

#include "deep_samples.h"
#include "failure.h"

#include "movane/imaging.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>
#include <optional>
#include <type_traits>
#include <vector>

namespace host {
namespace {

constexpr int kMaxZoomTaps = 1000;  // lines that one line of the zoom's output may draw on

struct KillZoom {
    void operator()(izat_zoom* z) const { izat_kill(z); }
};

constexpr int taps(int from, int to) { return static_cast<int>(2.0 * from / to + 2); }

// The zoom truncates its weights and sums, so white comes out a little darker, the more so the more
// an image is reduced. What it makes of white, in one direction at a time, tells by how much each
// output sample is to be raised again.
template <class Sample>
class WhiteBalance {
public:
    WhiteBalance(Measures from, Measures to)
        : columns_(gains({from.width, 1}, {to.width, 1})),
          lines_(gains({1, from.height}, {1, to.height})) {}

    /// Corrects the next line, interleaved; rounds deep samples to the steps of the dither, so
    /// that what was flat is flat.
    void operator()(std::vector<Sample>& line) {
        const double gain_y        = lines_[y_++];
        const std::size_t channels = line.size() / columns_.size();
        for (std::size_t i = 0; i < line.size(); ++i) {
            const double steps = line[i] * columns_[i / channels] * gain_y / kStep;
            line[i] = static_cast<Sample>(std::min(static_cast<int>(steps + 0.5), kWhite / kStep) *
                                          kStep);
        }
    }

    /// Whether white was darkened at all.
    bool is_needed() const {
        const auto is_gain = [](double gain) { return gain != 1; };
        return kIsDeep || std::any_of(columns_.begin(), columns_.end(), is_gain) ||
               std::any_of(lines_.begin(), lines_.end(), is_gain);
    }

private:
    static constexpr bool kIsDeep = sizeof(Sample) > 1;
    static constexpr int kWhite   = kIsDeep ? kDeepMax : 255;
    static constexpr int kStep    = kIsDeep ? kCellStep : 1;

    // Of a white image that is a line or a column.
    static std::vector<double> gains(Measures from, Measures to) {
        struct Collector {
            std::vector<Sample> line;
            std::vector<double> gains;
        } collector{std::vector<Sample>(static_cast<std::size_t>(to.width)), {}};
        const auto on_line = [](void* user, int) {
            auto& collected = *static_cast<Collector*>(user);
            for (const Sample white : collected.line)
                collected.gains.push_back(white > 0 ? static_cast<double>(kWhite) / white : 1);
        };
        std::vector<Sample> white(static_cast<std::size_t>(from.width), kWhite);
        const std::unique_ptr<izat_zoom, KillZoom> zoom(izat_new(0));
        if (!zoom || !izat_startwh(zoom.get(), 1, from.height, from.width, to.height, to.width,
                                   &collector, on_line, 1, 1))
            throw std::bad_alloc();
        collector.gains.reserve(static_cast<std::size_t>(to.width) *
                                static_cast<std::size_t>(to.height));
        Sample* out = collector.line.data();
        for (int y = 0; y < from.height; ++y) {
            if constexpr (kIsDeep)
                izat_mono(zoom.get(), white.data(), &out);
            else
                izat_mono_b(zoom.get(), white.data(), &out);
        }
        return collector.gains;
    }

    const std::vector<double> columns_, lines_;
    std::size_t y_ = 0;
};

// The two families, each in the words of the other. `Sample` is a byte or a 16-bit word.
struct Zoom {
    static constexpr bool kTruncatesWhite = true;
    std::unique_ptr<izat_zoom, KillZoom> handle{izat_new(0)};

    bool start(int channels, Measures from, Measures to, izat_line_done line_done) const {
        return izat_start(handle.get(), channels, from.height, from.width, to.height, to.width,
                          line_done, channels, channels) != 0;
    }
    template <class Sample>
    void feed(Sample* in, Sample** out, int channels) const {
        izat_zoom* const z = handle.get();
        if constexpr (std::is_same_v<Sample, unsigned char>) {
            if (channels == 3)
                izat_rgb_b(z, in, in + 1, in + 2, out, out + 1, out + 2);
            else
                izat_cmyk_b(z, in, in + 1, in + 2, in + 3, out, out + 1, out + 2, out + 3);
        } else {
            if (channels == 3)
                izat_rgb(z, in, in + 1, in + 2, out, out + 1, out + 2);
            else
                izat_cmyk(z, in, in + 1, in + 2, in + 3, out, out + 1, out + 2, out + 3);
        }
    }
};

struct Bilinear {
    static constexpr bool kTruncatesWhite = false;
    struct Kill {
        void operator()(ibilin_filter* f) const { ibilin_kill(f); }
    };
    std::unique_ptr<ibilin_filter, Kill> handle{ibilin_new(0)};

    bool start(int channels, Measures from, Measures to, ibilin_line_done line_done) const {
        return ibilin_start(handle.get(), channels, from.height, from.width, to.height, to.width,
                            line_done, channels, channels) != 0;
    }
    template <class Sample>
    void feed(Sample* in, Sample** out, int channels) const {
        ibilin_filter* const f = handle.get();
        if constexpr (std::is_same_v<Sample, unsigned char>) {
            if (channels == 3)
                ibilin_rgb_b(f, in, in + 1, in + 2, out, out + 1, out + 2);
            else
                ibilin_cmyk_b(f, in, in + 1, in + 2, in + 3, out, out + 1, out + 2, out + 3);
        } else {
            if (channels == 3)
                ibilin_rgb(f, in, in + 1, in + 2, out, out + 1, out + 2);
            else
                ibilin_cmyk(f, in, in + 1, in + 2, in + 3, out, out + 1, out + 2, out + 3);
        }
    }
};

template <class Method, class Sample>
class Resizer final : public Stage {
public:
    Resizer(const ImageInfo& from, const Measures& to)
        : channels_(from.has_alpha ? 4 : 3),
          out_(static_cast<std::size_t>(channels_) * static_cast<std::size_t>(to.width)) {
        if (!method_.handle ||
            !method_.start(channels_, {from.width, from.height}, to, on_channel_done))
            throw std::bad_alloc();
        if (Method::kTruncatesWhite) white_balance_.emplace(Measures{from.width, from.height}, to);
        if (white_balance_ && !white_balance_->is_needed()) white_balance_.reset();
    }

    void take(Line& line) override {
        std::array<Sample*, 4> out{};
        for (std::size_t c = 0; c < out.size(); ++c) out[c] = out_.data() + c;
        running = this;
        method_.feed(channels_ == 3 ? colours_of(line).data() : with_alpha(line), out.data(),
                     channels_);
        guard_.rethrow();
    }

private:
    static constexpr bool kIsDeep   = sizeof(Sample) > 1;
    static constexpr int kAlphaStep = kIsDeep ? kDeepStep : 1;  // from bytes to samples

    static std::vector<Sample>& colours_of(Line& line) {
        if constexpr (kIsDeep)
            return line.deep;
        else
            return line.rgb;
    }

    Sample* with_alpha(Line& line) {
        const Sample* colour = colours_of(line).data();
        in_.resize(4 * line.alpha.size());
        Sample* to = in_.data();
        for (const unsigned char alpha : line.alpha) {
            for (int c = 0; c < 3; ++c) *to++ = *colour++;
            *to++ = static_cast<Sample>(alpha * kAlphaStep);
        }
        return in_.data();
    }

    // Several lines may come from one that is fed; all are written to the same place.
    static void on_channel_done(int channel) {
        Resizer& self = *running;
        if (channel == self.channels_ - 1) self.guard_.run([&] { self.deliver(); });
    }

    void deliver() {
        if (white_balance_) (*white_balance_)(out_);
        std::vector<Sample>& colours = colours_of(line_);
        if (channels_ == 3) {
            colours = out_;
        } else {
            const std::size_t width = out_.size() / 4;
            colours.resize(3 * width);
            line_.alpha.resize(width);
            for (std::size_t x = 0; x < width; ++x) {
                for (std::size_t c = 0; c < 3; ++c) colours[3 * x + c] = out_[4 * x + c];
                line_.alpha[x] =
                    static_cast<unsigned char>((out_[4 * x + 3] + kAlphaStep / 2) / kAlphaStep);
            }
        }
        hand_on(line_);
    }

    // process-wide: the callbacks of one family carry no pointer of ours.
    static inline Resizer* running = nullptr;

    const int channels_;
    const Method method_;
    std::vector<Sample> in_, out_;  // interleaved, alpha included
    std::optional<WhiteBalance<Sample>> white_balance_;
    Line line_;
    CallbackGuard guard_;
};

template <class Method>
std::unique_ptr<Stage> make(const ImageInfo& from, const Measures& to) {
    if (from.is_deep) return std::make_unique<Resizer<Method, unsigned short>>(from, to);
    return std::make_unique<Resizer<Method, unsigned char>>(from, to);
}

}  // namespace

std::unique_ptr<Stage> make_resizer(const ImageInfo& from, const Measures& to, ResizeFilter filter,
                                    const std::string& name) {
    if (filter == ResizeFilter::bilinear) return make<Bilinear>(from, to);
    if (taps(from.height, to.height) > kMaxZoomTaps)
        throw Failure(name,
                      "has " + std::to_string(from.height) + " lines, too many to be reduced to " +
                          std::to_string(to.height) + " by the zoom",
                      "choose a larger --size or --filter bilinear");
    return make<Zoom>(from, to);
}

}  // namespace host
