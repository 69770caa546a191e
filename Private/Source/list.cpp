// Dynamic list: a contiguous array of equal-sized records that can be kept sorted.
//
// Elements are bytes to the list; only the ordering predicate knows what they are. A sorted list
// is partitioned for every key: first the elements for which the ordering is 0, then those for
// which it is not. Bisection finds the border between the two.

#include "movane/foundation.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/list"};

constexpr int kDefaultSlots     = 10;
constexpr std::int64_t kMaximum = UINT16_MAX;  // of every counter in the record

}  // namespace

// Invariants: count <= capacity; elements holds capacity * element_size bytes, those of slots
// never written are zero.
struct movane_list {
    std::uint16_t count;
    std::uint16_t growth_step;
    std::uint16_t capacity;
    std::uint16_t element_size;
    movane::Block<unsigned char> elements;
    list_predicate ordering;

    unsigned char* slot(int index) const {
        return elements.get() + static_cast<std::size_t>(index) * element_size;
    }
    std::size_t bytes(int slots) const { return static_cast<std::size_t>(slots) * element_size; }
};

namespace {

bool reallocate(movane_list& list, std::int64_t slots) {
    movane::Block<unsigned char> larger;
    if (slots <= kMaximum)
        larger = movane::make_zeroed_block<unsigned char>(list.bytes(static_cast<int>(slots)));
    if (!larger) {
        report("list_insert : Unable to extend list, insufficient resources");
        return false;
    }
    std::memcpy(larger.get(), list.elements.get(), list.bytes(list.count));
    list.elements = std::move(larger);
    list.capacity = static_cast<std::uint16_t>(slots);
    return true;
}

// Grows to one step beyond `base` slots; the step is cut short where the counters end.
bool grow(movane_list& list, std::int64_t base) {
    const std::int64_t wanted = base + list.growth_step;
    const bool has_room       = list.capacity < kMaximum && base <= kMaximum;
    return reallocate(list, has_room ? std::min(wanted, kMaximum) : wanted);
}

void move_slots(movane_list& list, int to, int from, int slots) {
    if (slots > 0) std::memmove(list.slot(to), list.slot(from), list.bytes(slots));
}

}  // namespace

// --- life cycle ----------------------------------------------------------------------------

movane_list* list_new(int initial, unsigned int element_size, list_predicate ordering) {
    const int slots = initial < 1 ? kDefaultSlots : initial;
    if (slots <= kMaximum && element_size <= kMaximum) {
        if (auto list = movane::create<movane_list>()) {
            list->growth_step  = static_cast<std::uint16_t>(slots);
            list->capacity     = static_cast<std::uint16_t>(slots);
            list->element_size = static_cast<std::uint16_t>(element_size);
            list->elements     = movane::make_zeroed_block<unsigned char>(list->bytes(slots));
            list->ordering     = ordering;
            if (list->elements) return list.release();
        }
    }
    report("list_new : Not enough resources to create list");
    return nullptr;
}

movane_list* list_kill(movane_list* list) {
    movane::destroy(list);
    return nullptr;
}

// --- insertion and removal -----------------------------------------------------------------

int list_insert(movane_list* list, const void* element) {
    if (list->count == list->capacity && !grow(*list, list->capacity)) return -1;

    const int position = list_pos(list, element);
    move_slots(*list, position + 1, position, list->count - position);
    std::memcpy(list->slot(position), element, list->element_size);
    ++list->count;
    return position;
}

int list_insert_index(movane_list* list, const void* element, int index, int mode) {
    if (index < 0) return -1;
    if (list->count == list->capacity || index >= list->capacity) {
        const std::int64_t touched = std::int64_t{index} + 1;
        if (!grow(*list, std::max<std::int64_t>(list->capacity, touched))) return -1;
    }
    if (mode > 0) move_slots(*list, index + 1, index, list->count - index);
    if (mode < 0) move_slots(*list, 0, 1, index);
    std::memcpy(list->slot(index), element, list->element_size);
    ++list->count;
    return index;
}

int list_changep(movane_list* list, int index, const void* element) {
    if (index < 0 || index >= list->count) {
        report("list_changep : index out of bound");
        return -1;
    }
    std::memcpy(list->slot(index), element, list->element_size);
    return index;
}

int list_rem_element(movane_list* list, int index) {
    if (index < 0 || index >= list->count) return 0;
    move_slots(*list, index, index + 1, list->count - index - 1);
    --list->count;
    return 0;
}

// --- search --------------------------------------------------------------------------------

void* list_get_element(const movane_list* list, int index) {
    return index >= 0 && index < list->count ? list->slot(index) : nullptr;
}

int list_pos(const movane_list* list, const void* key) {
    return list_pos_range(list, key, 0, list->count - 1, list->ordering);
}

int list_pos_range(const movane_list* list, const void* key, int low, int high,
                   list_predicate ordering) {
    if (!ordering) return list->count;
    if (list->count == 0) return 0;
    if (low > high) return low;

    const auto belongs_after_key = [&](int i) noexcept {
        return ordering(list->slot(i), key) != 0;
    };

    // Keys at the ends are common (appending in order), so the ends are probed first.
    if (belongs_after_key(low)) return low;
    if (!belongs_after_key(high)) return high + 1;
    if (!belongs_after_key(high - 1)) return high;

    int middle;
    do {
        middle = (low + high) / 2;
        if (!belongs_after_key(middle)) {
            low = middle;
        } else if (!belongs_after_key(middle - 1)) {
            return middle;
        } else {
            high = middle;
        }
    } while (high - low > 1);
    return middle;
}

int list_search_el(const movane_list* list, const void* key, list_predicate equal) {
    const auto is_match = [&](int i) noexcept { return equal(list->slot(i), key) == 0; };
    if (list->ordering) {
        const int position = list_pos(list, key);
        return position < list->count && is_match(position) ? position : -1;
    }
    for (int i = 0; i < list->count; ++i) {
        if (is_match(i)) return i;
    }
    return -1;
}

// --- room and counters -----------------------------------------------------------------------

int list_alloc(movane_list* list, int slots) {
    if (list->capacity > slots) return 0;
    return reallocate(*list, slots) ? 0 : -1;
}

int list_num(const movane_list* list) { return list ? list->count : 0; }

int list_get_num(const movane_list* list) { return list->count; }

int list_get_ext(const movane_list* list) { return list->growth_step; }

int list_get_el_size(const movane_list* list) { return list->element_size; }

int xsort_int(const void* a, const void* b) {
    return *static_cast<const double*>(a) > *static_cast<const double*>(b) ? 1 : 0;
}
