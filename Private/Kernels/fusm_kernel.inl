// Unsharp masking of one line, in plain loops that a compiler turns into lanes.
//
// Both steps work on strips that stay in the nearest cache. In a strip the samples of one channel
// lie side by side, or those of all channels as they are interleaved; then a neighbour is as many
// samples away as there are channels. Lines above and below the centre count alike, so they are
// added up first.
//
// The look-up of a correction has no lanes; it stands alone between a loop that finds all indices
// and one that applies all corrections.

#include "Kernels/strip.inl"

constexpr int kStrip  = 512;  // samples
constexpr int kMargin = 2 * kFusmMaxInterleaved;

// The sum of two lines.
template <class Sample, class Sum>
void gather_sum(const Sample* a, const Sample* b, std::ptrdiff_t step, int count, Sum* to) {
    if (step == 1) {
        for (int x = 0; x < count; ++x) to[x] = static_cast<Sum>(a[x] + b[x]);
    } else {
        for (int x = 0; x < count; ++x) to[x] = static_cast<Sum>(a[x * step] + b[x * step]);
    }
}

// c, n and f are the centre line, the sum of the lines next to it and of those farther away, at the
// first output; d is the distance of neighbours.
template <int kRadius, class Response>
void respond(const Response* c, const Response* n, const Response* f, int d, int count,
             Response* __restrict out) {
    for (int x = 0; x < count; ++x) {
        const int next = n[x] + c[x - d] + c[x + d];
        if constexpr (kRadius == 0) {
            out[x] = static_cast<Response>(4 * c[x] - next);
            continue;
        }
        const int far = f[x] + c[x - 2 * d] + c[x + 2 * d];
        if constexpr (kRadius == 1) {
            out[x] = static_cast<Response>(12 * c[x] - 2 * next - far);
        } else {
            const int knights = n[x - 2 * d] + n[x + 2 * d] + f[x - d] + f[x + d];
            out[x]            = static_cast<Response>(8 * c[x] + 2 * next - 2 * far - knights);
        }
    }
}

template <int kRadius, class Sample>
void high_pass(const FusmWindow<Sample>& w) {
    using Response      = typename FusmResponse<Sample>::Type;
    constexpr int kHalf = kRadius == 0 ? 1 : 2;
    const int d         = w.channels;
    // The step within the line, of which the tiles are made.
    const std::ptrdiff_t step = d > 1 ? 1 : w.step;
    const int margin          = kHalf * d;
    Response centre[kStrip + 2 * kMargin], next[kStrip + 2 * kMargin], far[kStrip + 2 * kMargin];
    for (std::ptrdiff_t first = 0; first < w.count; first += kStrip) {
        const int count  = static_cast<int>(w.count - first < kStrip ? w.count - first : kStrip);
        const int loaded = count + 2 * margin;
        const std::ptrdiff_t offset = (first - margin) * step;
        gather<0>(w.rows[kHalf] + offset, step, loaded, centre);
        gather_sum(w.rows[kHalf - 1] + offset, w.rows[kHalf + 1] + offset, step, loaded, next);
        if constexpr (kRadius != 0)
            gather_sum(w.rows[0] + offset, w.rows[4] + offset, step, loaded, far);
        respond<kRadius>(centre + margin, next + margin, far + margin, d, count, w.out + first);
    }
}

// Samples that lie side by side: where they are, or brought together in a tile.
template <class T>
const T* side_by_side(const T* samples, std::ptrdiff_t step, int count, T* tile) {
    if (step == 1) return samples;
    gather<0>(samples, step, count, tile);
    return tile;
}

// The responses to samples v, each times the factor of its level.
template <class Sample, class Response>
void scale(const FusmLine<Sample>& l, const Sample* v, const Response* r, int count, int* scaled) {
    for (int x = 0; x < count; ++x) {
        const int level = v[x] < l.maxval ? v[x] : l.maxval;
        scaled[x]       = static_cast<int>((std::int64_t{l.levels[level]} * r[x]) >> 8);
    }
}

// Signed corrections, of `most` at most.
template <class Work, class Response>
void look_up(const std::uint16_t* gains, int maxval, int most, const Response* r, int count,
             Work* __restrict gain) {
    Work index[kStrip];
    std::uint16_t found[kStrip];
    for (int x = 0; x < count; ++x) {
        const int magnitude = r[x] < 0 ? -r[x] : r[x];
        index[x]            = static_cast<Work>(magnitude < maxval ? magnitude : maxval);
    }
    for (int x = 0; x < count; ++x) found[x] = gains[index[x]];
    for (int x = 0; x < count; ++x) {
        const int held = found[x] < most ? found[x] : most;
        gain[x]        = static_cast<Work>(r[x] < 0 ? -held : held);
    }
}

template <class Work, class Sample>
void apply(const Sample* v, const Work* gain, const Sample* limit, int maxval, int count,
           Sample* __restrict out) {
    for (int x = 0; x < count; ++x) {
        const Work sum    = static_cast<Work>(v[x] + gain[x]);
        const Work raised = sum < 0 ? Work{0} : sum;
        const Work cap    = static_cast<Work>(limit ? limit[x] : maxval);
        out[x]            = static_cast<Sample>(raised < cap ? raised : cap);
    }
}

// Work holds all sums of a sample and a correction, and maxval.
template <class Work, class Sample>
void correct_line(const FusmLine<Sample>& l) {
    using Response      = typename FusmResponse<Sample>::Type;
    constexpr int kMost = sizeof(Work) == 2 ? kFusmNarrow : 65535;
    Sample in_tile[kStrip], limit_tile[kStrip], out_tile[kStrip];
    Response response_tile[kStrip];
    int scaled[kStrip];
    Work gain[kStrip];
    for (std::ptrdiff_t first = 0; first < l.count; first += kStrip) {
        const int count = static_cast<int>(l.count - first < kStrip ? l.count - first : kStrip);
        const Sample* const v   = side_by_side(l.in + first * l.in_step, l.in_step, count, in_tile);
        const Response* const r = side_by_side(l.response + first * l.response_step,
                                               l.response_step, count, response_tile);
        if (l.levels) {
            scale(l, v, r, count, scaled);
            look_up(l.gains, l.maxval, kMost, scaled, count, gain);
        } else {
            look_up(l.gains, l.maxval, kMost, r, count, gain);
        }
        Sample* const out = l.out + first * l.out_step;
        Sample* const to  = l.out_step == 1 ? out : out_tile;
        if (l.limit) {
            const Sample* const limit =
                side_by_side(l.limit + first * l.limit_step, l.limit_step, count, limit_tile);
            apply(v, gain, limit, l.maxval, count, to);
        } else {
            apply<Work, Sample>(v, gain, nullptr, l.maxval, count, to);
        }
        if (to == out_tile) store_strip(out_tile, count, out, l.out_step);
    }
}

template <class Sample>
void correct(const FusmLine<Sample>& l) {
    if constexpr (sizeof(Sample) == 1) {
        if (l.maxval <= kFusmNarrow) return correct_line<std::int16_t>(l);
    }
    correct_line<std::int32_t>(l);
}

constexpr FusmKernels kernels(const char* name) {
    return {name,
            {high_pass<0, std::uint8_t>, high_pass<1, std::uint8_t>, high_pass<2, std::uint8_t>},
            {high_pass<0, std::uint16_t>, high_pass<1, std::uint16_t>, high_pass<2, std::uint16_t>},
            correct<std::uint8_t>,
            correct<std::uint16_t>};
}
