// The subtractive generator as the linear recurrence behind it, with no ring and no indices.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace movane_tests {

/// x(n) = x(n-55) - x(n-24) modulo 10^9. The first 55 terms are one more difference sequence,
/// v(i+1) = v(i-1) - v(i) from v(0) = |161803398 - |seed|| and v(1) = 1, scattered so that term
/// 21 * i modulo 55 is v(i); the next 220 terms are warm-up.
inline std::vector<std::int64_t> subtractive_reference(std::uint64_t seed_magnitude,
                                                       std::size_t count) {
    constexpr std::int64_t kModulus = 1000000000;
    constexpr std::uint64_t kOrigin = 161803398;
    constexpr std::size_t kSkipped  = 5 * 55;
    const auto minus = [](std::int64_t a, std::int64_t b) { return (a - b + kModulus) % kModulus; };

    const std::uint64_t distance =
        seed_magnitude < kOrigin ? kOrigin - seed_magnitude : seed_magnitude - kOrigin;
    std::vector<std::int64_t> v{static_cast<std::int64_t>(distance % kModulus), 1};
    while (v.size() < 55) v.push_back(minus(v[v.size() - 2], v[v.size() - 1]));

    std::vector<std::int64_t> x(55);
    for (std::size_t i = 0; i < 55; ++i) x[(21 * i + 54) % 55] = v[i];
    while (x.size() < kSkipped + count) x.push_back(minus(x[x.size() - 55], x[x.size() - 24]));
    return {x.begin() + kSkipped, x.end()};
}

/// A term as a float, by integer arithmetic: m rounded to 24 bits, times 1e-9 of 24 bits, rounded
/// to 24 bits, each time to nearest with ties to even. 1 becomes the float below.
inline float scaled_reference(std::int64_t m) {
    constexpr std::uint64_t kScale = 0x89705f;  // times 2^-53: the float nearest 1e-9
    constexpr std::uint64_t kTop   = 1 << 24;
    const auto to_24_bits          = [](std::uint64_t value, int& exponent) {
        std::uint64_t unit = 1;
        while (value / unit >= kTop) unit *= 2, ++exponent;
        const std::uint64_t floor = value / unit, rest = value % unit;
        const bool up = 2 * rest > unit || (2 * rest == unit && floor % 2 == 1);
        return floor + (up ? 1 : 0);
    };
    int exponent           = -53;
    std::uint64_t mantissa = to_24_bits(static_cast<std::uint64_t>(m), exponent);
    mantissa               = to_24_bits(mantissa * kScale, exponent);
    double value           = static_cast<double>(mantissa);
    for (; exponent < 0; ++exponent) value /= 2;
    return value < 1 ? static_cast<float>(value) : 1 - 1.0F / static_cast<float>(kTop);
}

}  // namespace movane_tests
