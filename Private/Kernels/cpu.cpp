#include "Kernels/cpu.h"

namespace movane {

bool cpu_offers(Cpu level) noexcept {
#if defined(__x86_64__) || defined(__i386__)
    switch (level) {
        case Cpu::baseline:
            return true;
        case Cpu::sse41:
            return __builtin_cpu_supports("sse4.1") != 0;
        case Cpu::avx2:
            return __builtin_cpu_supports("avx2") != 0;
    }
    return false;
#else
    return level == Cpu::baseline;
#endif
}

}  // namespace movane
