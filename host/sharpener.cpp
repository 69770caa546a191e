#include "sharpener.h"

#include "failure.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <new>

namespace host {
namespace {

constexpr std::size_t kMaxSide = 21;

// Sums of 255 times the weights have to stay within 16.16 fixed point.
constexpr double kMaxWeightSum = 128;

struct Preset {
    const char* name;
    double strength;
};
constexpr Preset kPresets[] = {{"soft", 0.25}, {"medium", 0.5}, {"strong", 1}};

// The image plus `strength` times what a 3 x 3 binomial blur takes away from it.
Kernel unsharp(double strength) {
    Kernel kernel{1, {1, 2, 1, 2, 4, 2, 1, 2, 1}};
    for (double& weight : kernel.weights) weight *= -strength / 16;
    kernel.weights[4] += 1 + strength;
    return kernel;
}

[[noreturn]] void refuse(const std::string& why) {
    throw UsageError("--sharpen-kernel: " + why +
                     "; give soft, medium, strong, or 9, 25, 49 ... weights with commas between");
}

// process-wide: the filter's callback carries no pointer of ours.
Sharpener* running = nullptr;

}  // namespace

Kernel parse_kernel(const std::string& text) {
    for (const Preset& preset : kPresets)
        if (text == preset.name) return unsharp(preset.strength);

    Kernel kernel;
    double sum = 0;
    for (const char *at = text.data(), *end = at + text.size();;) {
        while (at != end && *at == ' ') ++at;
        double weight     = 0;
        const auto parsed = std::from_chars(at, end, weight);
        if (parsed.ec != std::errc() || !std::isfinite(weight))
            refuse("weight " + std::to_string(kernel.weights.size() + 1) + " is not a number");
        kernel.weights.push_back(weight);
        sum += std::abs(weight);
        at = parsed.ptr;
        if (at == end) break;
        if (*at++ != ',')
            refuse("weight " + std::to_string(kernel.weights.size()) + " is not a number");
    }
    const std::size_t count = kernel.weights.size();
    std::size_t side        = 1;
    while (side * side < count) side += 2;
    if (side * side != count || side > kMaxSide)
        refuse(std::to_string(count) + " weights do not make a square of odd size up to 21");
    kernel.radius = static_cast<int>(side / 2);
    if (sum > kMaxWeightSum) refuse("the weights are too large");
    return kernel;
}

Sharpener::Sharpener(const Kernel& kernel, int width, int height)
    : height_(height), radius_(kernel.radius), filter_(fir_new(kernel.radius, 255)) {
    if (!filter_) throw std::bad_alloc();
    fir_set_kernel(filter_.get(), kernel.weights.data());
    fir_start(filter_.get(), 4, height, width, on_channel_done, 4, 4);

    const auto radius = static_cast<std::size_t>(radius_);
    inputs_.resize(2 * radius + 2);
    alphas_.resize(2 * radius + 2);
    outputs_.resize(radius + 1);
    for (Line& output : outputs_) output.ink.resize(4 * static_cast<std::size_t>(width));
}

void Sharpener::take(Line& line) {
    // An image that the kernel's height does not fit into has no line to sharpen.
    if (height_ < 2 * radius_ + 1) {
        hand_on(line);
        return;
    }

    auto& input                    = inputs_[fed_ % inputs_.size()];
    input                          = line.ink;
    alphas_[fed_ % alphas_.size()] = line.alpha;
    ++fed_;

    running   = this;
    finished_ = 0;
    point_to_next_output();
    fir_cmyk_b(filter_.get(), &input[0], &input[1], &input[2], &input[3], &next_output_[0],
               &next_output_[1], &next_output_[2], &next_output_[3]);
    for (std::size_t i = 0; i < finished_; ++i) deliver(i);
}

void Sharpener::on_channel_done(int channel) {
    if (channel != 3) return;
    ++running->finished_;
    running->point_to_next_output();
}

void Sharpener::point_to_next_output() {
    if (finished_ == outputs_.size()) return;
    for (std::size_t c = 0; c < 4; ++c) next_output_[c] = &outputs_[finished_].ink[c];
}

void Sharpener::deliver(std::size_t output) {
    Line& line = outputs_[output];
    line.alpha = alphas_[delivered_++ % alphas_.size()];
    for (std::size_t x = 0; x < line.alpha.size(); ++x)
        if (line.alpha[x] == 0) std::fill_n(&line.ink[4 * x], 4, static_cast<unsigned char>(0));
    hand_on(line);
}

}  // namespace host
