// Dynamic array: grows when an index beyond its end is touched.
//
// Its users write through the returned address without a check, so there is no failure value for
// a growth that finds no memory: the process ends.

#include "movane/foundation.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <climits>
#include <cstdint>
#include <cstring>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/dynar"};

constexpr int kDefaultGrowth = 10;

}  // namespace

// Invariants: highest_index < capacity; elements is null while capacity is 0 and holds
// capacity * element_size bytes, zero until written, afterwards.
struct movane_dynar {
    int growth_step;
    int element_size;
    int capacity;
    int highest_index;
    movane::Block<unsigned char> elements;

    unsigned char* slot(int index) const {
        return elements.get() +
               static_cast<std::size_t>(index) * static_cast<std::size_t>(element_size);
    }
};

namespace {

void grow_to(movane_dynar& dynar, std::int64_t slots) {
    movane::Block<unsigned char> larger;
    if (slots <= INT_MAX) {
        larger = movane::make_zeroed_block<unsigned char>(
            static_cast<std::size_t>(slots), static_cast<std::size_t>(dynar.element_size));
    }
    if (!larger) error_exit("dynar_ptr: memory allocation failed");

    const int used = dynar_nr_items(&dynar);
    if (used > 0) {
        std::memcpy(larger.get(), dynar.elements.get(),
                    static_cast<std::size_t>(dynar.slot(used) - dynar.slot(0)));
    }
    dynar.elements = std::move(larger);
    dynar.capacity = static_cast<int>(slots);
}

}  // namespace

movane_dynar* dynar_new(int element_size, int growth) {
    if (element_size >= 1) {
        if (auto dynar = movane::create<movane_dynar>()) {
            dynar->growth_step   = growth < 1 ? kDefaultGrowth : growth;
            dynar->element_size  = element_size;
            dynar->highest_index = -1;
            return dynar.release();
        }
    }
    report("dynar_new: Unable to create new dynar");
    return nullptr;
}

movane_dynar* dynar_kill(movane_dynar* dynar) {
    movane::destroy(dynar);
    return nullptr;
}

int dynar_nr_items(const movane_dynar* dynar) { return dynar->highest_index + 1; }

void* dynar_ptr(movane_dynar* dynar, int index) {
    if (index < 0) {
        report("dynar_ptr: illegal index");
        return nullptr;
    }
    if (index >= dynar->capacity) grow_to(*dynar, std::int64_t{dynar->growth_step} + index);
    if (index > dynar->highest_index) dynar->highest_index = index;
    return dynar->slot(index);
}
