// What the two resizers share: lines of samples on their way from the input width to the output
// width, and mixed to output lines.
//
// Between the two steps a sample is 16 bits with sign, whatever its bits meant before.
#pragma once

#include "Kernels/resample_kernel.h"
#include "Support/memory.h"

#include <cstddef>
#include <cstdint>

namespace movane {

/// Room for a line of `outputs` samples between the steps.
std::size_t resample_pitch(int outputs) noexcept;

/// The weights of each output in a line, and the step across.
class Columns {
public:
    /// Makes room for rows of up to `taps` weights; they are 0.
    ///
    /// @return  whether there is memory
    bool make(int inputs, int outputs, int taps) noexcept;

    /// Sets the row of an output: `count` weights for the samples from `place` on.
    void set(int output, int place, const std::int32_t* weights_16_16, int count) noexcept;

    /// Writes the upper halves of the sums of sample * weight.
    ///
    /// @param bias  is added to each sum
    /// @param out   resample_pitch() samples
    template <class Sample>
    void scale(const Sample* in, int in_step, std::uint32_t bias, std::int16_t* out) const noexcept;

private:
    int inputs_ = 0, outputs_ = 0, row_ = 0;
    bool has_upper_ = false;
    Block<std::int32_t> places_;
    Block<std::int16_t> lower_, upper_;
    Block<std::uint32_t> sums_;
    Block<std::int16_t> samples_;
};

/// The step down: a line mixed from lines of the step across.
template <class Sample>
void blend(const BlendLines<Sample>& lines) noexcept;

}  // namespace movane
