// Unsharp masking of one line, in plain loops that a compiler turns into lanes.
//
// The look-up of a correction is the one step that has no lanes; the loops before and after it work
// on strips, small enough to stay in the nearest cache, in which samples of any step lie side by
// side.

constexpr int kStrip = 512;  // samples

template <int kRadius, class Sample, class Response>
Response response_at(const Sample* const* rows, std::ptrdiff_t i, std::ptrdiff_t d) {
    constexpr int kCentre = kRadius == 0 ? 1 : 2;
    const Sample* const c = rows[kCentre] + i;
    const Sample* const n = rows[kCentre - 1] + i;  // the lines next to it
    const Sample* const s = rows[kCentre + 1] + i;
    const int next        = n[0] + s[0] + c[-d] + c[d];
    if constexpr (kRadius == 0) {
        return static_cast<Response>(4 * c[0] - next);
    } else {
        const Sample* const nn = rows[0] + i;
        const Sample* const ss = rows[4] + i;
        const int far          = nn[0] + ss[0] + c[-2 * d] + c[2 * d];
        if constexpr (kRadius == 1) return static_cast<Response>(12 * c[0] - 2 * next - far);
        const int knights = n[-2 * d] + n[2 * d] + s[-2 * d] + s[2 * d] +  //
                            nn[-d] + nn[d] + ss[-d] + ss[d];
        return static_cast<Response>(8 * c[0] + 2 * next - 2 * far - knights);
    }
}

template <int kRadius, class Sample>
void high_pass(const FusmWindow<Sample>& w) {
    using Response                 = typename FusmResponse<Sample>::Type;
    Response* __restrict const out = w.out;
    const std::ptrdiff_t count = w.count, step = w.step, stride = w.stride;
    if (stride == 1) {
        for (std::ptrdiff_t i = 0; i < count; ++i)
            out[i] = response_at<kRadius, Sample, Response>(w.rows, i, step);
    } else {
        for (std::ptrdiff_t i = 0; i < count; ++i)
            out[i] = response_at<kRadius, Sample, Response>(w.rows, i * stride, step);
    }
}

// Samples that lie side by side: where they are, or brought together in a tile.
template <class T>
const T* side_by_side(const T* samples, std::ptrdiff_t step, int count, T* tile) {
    if (step == 1) return samples;
    for (int x = 0; x < count; ++x) tile[x] = samples[x * step];
    return tile;
}

// The response of samples v to a factor each.
template <class Sample, class Response>
void scale(const FusmLine<Sample>& l, const Sample* v, const Response* r, int count, int* scaled) {
    for (int x = 0; x < count; ++x) {
        const int level = v[x] < l.maxval ? v[x] : l.maxval;
        scaled[x]       = static_cast<int>((std::int64_t{l.levels[level]} * r[x]) >> 8);
    }
}

template <class Response>
void look_up(const std::uint16_t* gains, int maxval, const Response* r, int count,
             int* signed_gain) {
    int index[kStrip];
    for (int x = 0; x < count; ++x) {
        const int magnitude = r[x] < 0 ? -r[x] : r[x];
        index[x]            = magnitude < maxval ? magnitude : maxval;
    }
    for (int x = 0; x < count; ++x) signed_gain[x] = gains[index[x]];
    for (int x = 0; x < count; ++x) signed_gain[x] = r[x] < 0 ? -signed_gain[x] : signed_gain[x];
}

template <class Sample>
void correct(const FusmLine<Sample>& l) {
    using Response = typename FusmResponse<Sample>::Type;
    Sample in_tile[kStrip], limit_tile[kStrip], out_tile[kStrip];
    Response response_tile[kStrip];
    int scaled[kStrip], gain[kStrip];
    for (std::ptrdiff_t first = 0; first < l.count; first += kStrip) {
        const int count = static_cast<int>(l.count - first < kStrip ? l.count - first : kStrip);
        const Sample* const v   = side_by_side(l.in + first * l.in_step, l.in_step, count, in_tile);
        const Response* const r = side_by_side(l.response + first * l.response_step,
                                               l.response_step, count, response_tile);
        if (l.levels) {
            scale(l, v, r, count, scaled);
            look_up(l.gains, l.maxval, scaled, count, gain);
        } else {
            look_up(l.gains, l.maxval, r, count, gain);
        }

        Sample* const start         = l.out + first * l.out_step;
        Sample* __restrict const to = l.out_step == 1 ? start : out_tile;
        if (l.limit) {
            const Sample* const limit =
                side_by_side(l.limit + first * l.limit_step, l.limit_step, count, limit_tile);
            for (int x = 0; x < count; ++x) {
                const int sum    = v[x] + gain[x];
                const int raised = sum < 0 ? 0 : sum;
                to[x]            = static_cast<Sample>(raised < limit[x] ? raised : limit[x]);
            }
        } else {
            for (int x = 0; x < count; ++x) {
                const int sum    = v[x] + gain[x];
                const int raised = sum < 0 ? 0 : sum;
                to[x]            = static_cast<Sample>(raised < l.maxval ? raised : l.maxval);
            }
        }
        if (l.out_step == 1) continue;
        for (int x = 0; x < count; ++x) start[x * l.out_step] = out_tile[x];
    }
}

constexpr FusmKernels kernels(const char* name) {
    return {name,
            {high_pass<0, std::uint8_t>, high_pass<1, std::uint8_t>, high_pass<2, std::uint8_t>},
            {high_pass<0, std::uint16_t>, high_pass<1, std::uint16_t>, high_pass<2, std::uint16_t>},
            correct<std::uint8_t>,
            correct<std::uint16_t>};
}
