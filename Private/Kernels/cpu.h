// What this processor can do.
#pragma once

namespace movane {

/// What a kernel variant needs; the baseline is what the whole build is compiled for.
enum class Cpu { baseline, sse41, avx2 };

/// Whether processor and operating system (which saves the wide registers) both offer it.
bool cpu_offers(Cpu level) noexcept;

}  // namespace movane
