// The weights of resized lines, in the shape in which the kernels read them.

#include "resample.h"

#include "Kernels/resample_variants.h"

#include <limits>

namespace movane {
namespace {

constexpr int kMaxOutputs = std::numeric_limits<int>::max() - kResampleBlock;

int row_of(int taps) {
    if (taps <= kShortRow) return kShortRow;
    return (taps + kLongRow - 1) / kLongRow * kLongRow;
}

}  // namespace

std::size_t resample_pitch(int outputs) noexcept {
    constexpr std::size_t kBlock = kResampleBlock;
    return (static_cast<std::size_t>(outputs) + kBlock - 1) / kBlock * kBlock;
}

bool Columns::make(int inputs, int outputs, int taps) noexcept {
    if (outputs > kMaxOutputs || taps > std::numeric_limits<int>::max() - kLongRow) return false;
    const std::size_t pitch = resample_pitch(outputs);
    inputs_                 = inputs;
    outputs_                = outputs;
    row_                    = row_of(taps);
    has_upper_              = false;
    const auto row          = static_cast<std::size_t>(row_);
    places_                 = make_zeroed_block<std::int32_t>(pitch);
    lower_                  = make_zeroed_block<std::int16_t>(pitch, row);
    upper_                  = make_zeroed_block<std::int16_t>(pitch, row);
    sums_                   = make_zeroed_block<std::uint32_t>(pitch);
    // A row may reach beyond the last sample, with weights of 0.
    samples_ = make_zeroed_block<std::int16_t>(static_cast<std::size_t>(inputs) + row);
    return places_ && lower_ && upper_ && sums_ && samples_;
}

void Columns::set(int output, int place, const std::int32_t* weights_16_16, int count) noexcept {
    const auto x      = static_cast<std::size_t>(output);
    std::size_t at    = x * static_cast<std::size_t>(row_);
    std::uint32_t sum = 0;
    for (int k = 0; k < count; ++k, ++at) {
        const auto weight = static_cast<std::uint32_t>(weights_16_16[k]);
        lower_[at]        = static_cast<std::int16_t>(weight);
        // Half a unit makes up for the sign of the lower half.
        upper_[at] = static_cast<std::int16_t>((weight + 0x8000) >> 16);
        has_upper_ = has_upper_ || upper_[at] != 0;
        sum += weight;
    }
    places_[x] = place;
    sums_[x]   = sum * 32768;
}

template <class Sample>
void Columns::scale(const Sample* in, int in_step, std::uint32_t bias,
                    std::int16_t* out) const noexcept {
    const ScaleLine<Sample> line{.in       = in,
                                 .in_step  = in_step,
                                 .in_count = inputs_,
                                 .samples  = samples_.get(),
                                 .table    = {.places = places_.get(),
                                              .lower  = lower_.get(),
                                              .upper  = has_upper_ ? upper_.get() : nullptr,
                                              .sums   = sums_.get(),
                                              .taps   = row_,
                                              .count  = outputs_},
                                 .bias     = bias,
                                 .out      = out};
    if constexpr (sizeof(Sample) == 1) {
        resample_kernels().scale_8(line);
    } else {
        resample_kernels().scale_16(line);
    }
}

template <class Sample>
void blend(const BlendLines<Sample>& lines) noexcept {
    if constexpr (sizeof(Sample) == 1) {
        resample_kernels().blend_8(lines);
    } else {
        resample_kernels().blend_16(lines);
    }
}

template void Columns::scale(const unsigned char*, int, std::uint32_t,
                             std::int16_t*) const noexcept;
template void Columns::scale(const unsigned short*, int, std::uint32_t,
                             std::int16_t*) const noexcept;
template void blend(const BlendLines<unsigned char>&) noexcept;
template void blend(const BlendLines<unsigned short>&) noexcept;

}  // namespace movane
