#include "Support/memory.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>

namespace movane {
namespace {

constexpr int kNoShortage = -1;

// process-wide: the count of live blocks and the state of the test rig. Atomic, because hosts
// may build different objects on different threads.
constinit std::atomic<long> live{0};
constinit std::atomic<int> passes_left{kNoShortage};
constinit std::atomic<int> refused{0};
constinit std::atomic<testing::Shortage> current_shortage{testing::Shortage::passing};

bool is_refused() noexcept {
    const int left = passes_left.load(std::memory_order_relaxed);
    if (left == kNoShortage) [[likely]]
        return false;
    if (left > 0) {
        passes_left = left - 1;
        return false;
    }
    if (refused++ == 0) return true;
    return current_shortage == testing::Shortage::lasting;
}

template <class Obtain>
void* obtain(std::size_t count, std::size_t size, Obtain from_heap) noexcept {
    if (size != 0 && count > SIZE_MAX / size) return nullptr;
    if (is_refused()) return nullptr;
    const std::size_t bytes = count * size;
    void* block             = from_heap(bytes != 0 ? bytes : 1);
    if (block) live.fetch_add(1, std::memory_order_relaxed);
    return block;
}

}  // namespace

void* allocate(std::size_t count, std::size_t size) noexcept {
    return obtain(count, size, [](std::size_t bytes) { return std::malloc(bytes); });
}

void* allocate_zeroed(std::size_t count, std::size_t size) noexcept {
    return obtain(count, size, [](std::size_t bytes) { return std::calloc(bytes, 1); });
}

void* hand_over(void* block) noexcept {
    if (block) live.fetch_sub(1, std::memory_order_relaxed);
    return block;
}

void release(void* block) noexcept { std::free(hand_over(block)); }

namespace testing {

void refuse_allocations_after(int passes, Shortage shortage) noexcept {
    current_shortage = shortage;
    refused          = 0;
    passes_left      = passes;
}

int end_refusals() noexcept {
    passes_left = kNoShortage;
    return refused;
}

long live_blocks() noexcept { return live; }

}  // namespace testing
}  // namespace movane
