// A host of the scanline filters that keeps what it is given.
#pragma once

#include "reference/scanlines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <type_traits>
#include <utility>
#include <vector>

namespace movane_tests {

/// Where the channels of a line lie: side by side when the step has room for them, else one after
/// the other.
struct LineLayout {
    int channels, width, step;

    int start(int channel) const { return step >= channels ? channel : channel * width * step; }
    int samples() const { return start(channels - 1) + std::max(width - 1, 0) * step + 1; }
};

/// Input lines that have no sample too many, of which the `kept` newest live.
template <class Sample>
class InputLines {
public:
    InputLines(const LineLayout& layout, int kept)
        : layout_(layout), lines_(kept), channels_(layout.channels) {}

    template <class Value>
    Sample** line(int y, Value value_at) {
        std::vector<Sample>& line = lines_[y % lines_.size()];
        line                      = std::vector<Sample>(layout_.samples());
        for (int ch = 0; ch < layout_.channels; ++ch) {
            channels_[ch] = &line[layout_.start(ch)];
            for (int x = 0; x < layout_.width; ++x)
                channels_[ch][x * layout_.step] = static_cast<Sample>(value_at(ch, x));
        }
        return channels_.data();
    }

private:
    LineLayout layout_;
    std::vector<std::vector<Sample>> lines_;
    std::vector<Sample*> channels_;
};

inline std::function<void(int)> on_line_done;
inline void line_done(int channel) { on_line_done(channel); }

/// Whether the callback moves the host's output pointers on, between two buffers.
enum class Output { stays, moves };

/// Sends the lines of an image, `image.fed` of them, through a filter. Of the output buffers all
/// that the filter does not have to write must keep its value.
///
/// @param kept   input lines that live during a line call
/// @param start  begins the image with line_done
/// @param feed   feeds a line: feed(in, out, y), pointers to the channels
template <class Sample, class Image, class Start, class Feed>
std::vector<Delivery<Sample>> send_lines(const Image& image, const LineLayout& in,
                                         const LineLayout& out, int kept, Output output,
                                         Start start, Feed feed) {
    constexpr Sample kFill = 0x5A;
    std::vector<Sample> buffers(2 * out.samples() + 70, kFill);
    std::vector<Sample*> targets;
    for (int ch = 0; ch < out.channels; ++ch) targets.push_back(&buffers[out.start(ch)]);
    std::vector<Delivery<Sample>> deliveries;
    int call     = 0;
    on_line_done = [&](int ch) {
        std::vector<Sample> line;
        for (int x = 0; x < out.width; ++x)
            line.push_back(std::exchange(targets[ch][x * out.step], kFill));
        deliveries.push_back({call, ch, line});
        if (output == Output::stays) return;
        const bool is_first = targets[ch] < &buffers[out.samples()];
        targets[ch] += is_first ? out.samples() : -out.samples();
    };
    start();
    InputLines<Sample> lines(in, kept);
    for (; call < image.fed; ++call)
        feed(lines.line(call, [&](int ch, int x) { return image(ch, call, x); }), targets.data(),
             call);
    EXPECT_EQ(std::count(buffers.begin(), buffers.end(), kFill), std::ssize(buffers))
        << "stray writes";
    return deliveries;
}

/// Calls the one of some line functions that takes such samples and so many channels.
template <class Record, class Sample, std::size_t... I, class... Functions>
void feed_line(const Record& record, Sample** in, Sample** out, std::index_sequence<I...>,
               Functions... functions) {
    const auto try_it = [&](auto function) {
        if constexpr (std::is_invocable_v<decltype(function), const Record&, decltype(in[I])...,
                                          decltype(out + I)...>)
            function(record, in[I]..., out + I...);
    };
    (try_it(functions), ...);
}

}  // namespace movane_tests
