// A host of the FIR filter.
#pragma once

#include "movane/imaging.h"
#include "reference/fir_reference.h"
#include "support/scanline_host.h"

namespace movane_tests {

/// Sends an image through a filter with its weights. Input lines live no longer than they must.
template <int kChannels, class Sample>
std::vector<Delivery<Sample>> filter_image(fir_filter* f, const FirImage<Sample>& image,
                                           int in_step, int out_step) {
    return send_lines<Sample>(
        image, {kChannels, image.width, in_step}, {kChannels, image.width, out_step},
        2 * image.radius + 2, Output::moves,
        [&] { fir_start(f, kChannels, image.height, image.width, line_done, in_step, out_step); },
        [&](Sample** in, Sample** out, int) {
            feed_line(f, in, out, std::make_index_sequence<kChannels>(), fir_mono, fir_mono_b,
                      fir_rgb, fir_rgb_b, fir_cmyk, fir_cmyk_b);
        });
}

}  // namespace movane_tests
