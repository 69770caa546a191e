// How kernels put results, which they make side by side, where the host wants them.

template <class Sample>
void store_strip(const std::uint16_t* results, int count, Sample* out, std::ptrdiff_t step) {
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
