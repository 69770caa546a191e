// Hash table: open addressing over one flat slot area that never grows.
//
// A slot is a key field followed by a data field. A field holds either the value itself or, for
// strings, the offset of the value in a growing byte store; both kinds are reached through one
// view, Field, so that no operation knows which it has. Deleted slots keep their key bytes under a
// tombstone, because probe chains of other keys pass through them.

#include "movane/foundation.h"

#include "Engine/runtime.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/hash_tab"};

constexpr int kString16         = -1;  // sizes that ask for a store and an offset field
constexpr int kString32         = -2;
constexpr int kStoreGrowth      = 4096;
constexpr int kHeadroomPercent  = 120;
constexpr int kStepAtZero       = 13;  // chains step by their start, those from slot 0 by this,
constexpr int kStepAtZeroFor13  = 17;  // which in a table of 13 slots would stand still
constexpr std::uint32_t kNoSign = 0x7fffffff;

struct KillStore {
    void operator()(movane_dynar* store) const noexcept { dynar_kill(store); }
};
using Store = std::unique_ptr<movane_dynar, KillStore>;

}  // namespace

// Invariants: slots holds size * slot_size bytes and slot_size is the sum of the field sizes; a
// store exists exactly when its field holds offsets; byte 0 of a store exists; a store's bytes
// end with a zero, be it at its count or behind its imported image.
struct movane_hash_tab {
    void* context;
    int size;
    int slot_size;
    int key_field_size;
    int data_field_size;
    movane::Block<unsigned char> tombstones;
    Store key_store;
    Store data_store;
    hash_tab_hasher hash;
    hash_tab_matcher match;
    hash_tab_emptiness empty;
    movane::Block<unsigned char> slots;
    int key_image_length;  // bytes of an imported store that can be looked at
    int data_image_length;

    unsigned char* slot(int index) const {
        return slots.get() + static_cast<std::size_t>(index) * static_cast<std::size_t>(slot_size);
    }
    bool has_slot(int index) const { return index >= 0 && index < size; }
    std::size_t area_bytes() const {
        return static_cast<std::size_t>(size) * static_cast<std::size_t>(slot_size);
    }
};

namespace {

// --- one field of a slot -----------------------------------------------------------------------

// The key or the data side of a table. Slots follow each other without padding, hence memcpy.
struct Field {
    std::size_t place;  // within the slot
    std::size_t size;
    movane_dynar* store;  // null for values in the slot
    int image_length;

    unsigned offset(const unsigned char* slot) const {
        std::uint16_t narrow = 0;
        std::uint32_t wide   = 0;
        if (size == sizeof narrow) {
            std::memcpy(&narrow, slot + place, sizeof narrow);
            return narrow;
        }
        std::memcpy(&wide, slot + place, sizeof wide);
        return wide;
    }

    void set_offset(unsigned char* slot, int value) const {
        const auto wide   = static_cast<std::uint32_t>(value);
        const auto narrow = static_cast<std::uint16_t>(value);
        if (size == sizeof narrow) {
            std::memcpy(slot + place, &narrow, sizeof narrow);
        } else {
            std::memcpy(slot + place, &wide, sizeof wide);
        }
    }

    // The value where it stands: in the slot or in the store. No value, or an offset beyond the
    // store as an imported image may hold it, reads as the empty string.
    const void* value(const unsigned char* slot) const {
        if (!store) return slot + place;
        const unsigned at = offset(slot);
        const auto end    = static_cast<unsigned>(std::max(dynar_nr_items(store), image_length));
        return at > 0 && at < end ? store_bytes() + at : static_cast<const void*>("");
    }

    void copy_out(const unsigned char* slot, void* out) const {
        const void* const from = value(slot);
        std::memcpy(out, from, store ? std::strlen(static_cast<const char*>(from)) + 1 : size);
    }

    void clear(void* out) const { std::memset(out, 0, store ? 1 : size); }

    bool has_room_for(const void* value) const {
        if (!store) return true;
        const int last_offset = size == sizeof(std::uint16_t) ? UINT16_MAX : INT_MAX;
        const int at          = dynar_nr_items(store);
        const auto text       = static_cast<const char*>(value);
        return at <= last_offset && std::strlen(text) < static_cast<std::size_t>(INT_MAX - at);
    }

    void write(unsigned char* slot, const void* value) const {
        if (!store) {
            std::memcpy(slot + place, value, size);
            return;
        }
        const int at             = dynar_nr_items(store);
        const std::size_t length = std::strlen(static_cast<const char*>(value));
        dynar_ptr(store, at + static_cast<int>(length));
        std::memcpy(store_bytes() + at, value, length + 1);
        set_offset(slot, at);
    }

private:
    unsigned char* store_bytes() const { return static_cast<unsigned char*>(dynar_ptr(store, 0)); }
};

Field key_field_of(const movane_hash_tab& table) {
    return {0, static_cast<std::size_t>(table.key_field_size), table.key_store.get(),
            table.key_image_length};
}

Field data_field_of(const movane_hash_tab& table) {
    return {static_cast<std::size_t>(table.key_field_size),
            static_cast<std::size_t>(table.data_field_size), table.data_store.get(),
            table.data_image_length};
}

// --- probing -----------------------------------------------------------------------------------

bool is_deleted(const movane_hash_tab& table, int index) {
    return table.tombstones[static_cast<std::size_t>(index)] != 0;
}

bool is_never_used(const movane_hash_tab& table, int index) {
    const unsigned char* const slot = table.slot(index);
    return table.key_store ? key_field_of(table).offset(slot) == 0 : table.empty(slot) != 0;
}

// The slots at which a key may stand. A prime size has no common divisor with the step, so that
// the chain visits every slot; any size brings it back to its start.
class Chain {
public:
    Chain(const movane_hash_tab& table, const void* key) : size_(table.size) {
        const auto hash = static_cast<std::uint32_t>(table.hash(table.context, key));

        start_ = static_cast<int>(hash & kNoSign) % size_;
        index_ = start_;
        step_  = start_;
        if (start_ == 0) step_ = (size_ == kStepAtZero ? kStepAtZeroFor13 : kStepAtZero) % size_;
    }

    int index() const { return index_; }

    bool advance() {
        const int rest = size_ - step_;
        index_         = index_ < rest ? index_ + step_ : index_ - rest;
        return index_ != start_;
    }

private:
    int size_;
    int start_;
    int index_;
    int step_;
};

int find_free(const movane_hash_tab& table, const void* key) {
    Chain chain(table, key);
    do {
        const int index = chain.index();
        if (is_deleted(table, index) || is_never_used(table, index)) return index;
    } while (chain.advance());
    return -1;
}

int find(const movane_hash_tab& table, const void* key) {
    Chain chain(table, key);
    do {
        const int index              = chain.index();
        const void* const stored_key = key_field_of(table).value(table.slot(index));
        if (!is_deleted(table, index) && table.match(stored_key, key) != 0) return index;
        if (is_never_used(table, index)) return -1;
    } while (chain.advance());
    return -1;
}

bool is_in_use(const movane_hash_tab& table, int index) {
    return table.has_slot(index) && !is_deleted(table, index) && !is_never_used(table, index);
}

bool refuses_strings(const movane_hash_tab& table, const char* message) {
    const bool refused = table.key_store || table.data_store;
    if (refused) report(message);
    return refused;
}

// --- building ----------------------------------------------------------------------------------

bool is_prime(std::int64_t candidate) {
    const auto last = static_cast<std::int64_t>(std::sqrt(static_cast<double>(candidate)) + 1.5);
    for (std::int64_t divisor = 2; divisor <= last; ++divisor)
        if (candidate % divisor == 0) return false;
    return true;
}

// 0 when there is no such table.
int table_size(int nr_items) {
    std::int64_t size = std::int64_t{nr_items} * kHeadroomPercent / 100;
    if (size >= 4)
        while (!is_prime(size)) ++size;
    return size >= 1 && size <= INT_MAX ? static_cast<int>(size) : 0;
}

int field_size(int size) {
    if (size == kString16) return sizeof(std::uint16_t);
    if (size == kString32) return sizeof(std::uint32_t);
    return size;
}

using OwnedTable = movane::Owned<movane_hash_tab>;

// A table with zeroed slots and no stores yet; null after a report.
OwnedTable make_table(int size, int key_size, int data_size, hash_tab_hasher hash,
                      hash_tab_matcher match, hash_tab_emptiness empty, void* context) {
    OwnedTable table = movane::create<movane_hash_tab>();
    if (!table) {
        report("Hash_tab_new : allocation failed");
        return nullptr;
    }
    table->context         = context;
    table->size            = size;
    table->key_field_size  = field_size(key_size);
    table->data_field_size = field_size(data_size);
    table->hash            = hash;
    table->match           = match;
    table->empty           = empty;

    const auto [smaller, larger] = std::minmax(table->key_field_size, table->data_field_size);
    const std::int64_t slot_size = std::int64_t{smaller} + larger;
    if (size >= 1 && smaller >= 0 && slot_size <= INT_MAX) {
        const auto slots = static_cast<std::size_t>(size);
        table->slot_size = static_cast<int>(slot_size);
        table->slots =
            movane::make_zeroed_block<unsigned char>(slots, static_cast<std::size_t>(slot_size));
        table->tombstones = movane::make_zeroed_block<unsigned char>(slots);
    }
    if (table->slots && table->tombstones) return table;

    report(movane::Formatted("Hash_tab_new : allocation of table failed nr_items = %d", size));
    return nullptr;
}

// A store that counts as holding one zero byte, so that no string stands at offset 0; null when
// it cannot be made.
Store make_store(int growth) {
    Store store(dynar_new(1, growth));
    if (store) dynar_ptr(store.get(), 0);
    return store;
}

// The same around an image and a terminator behind it, neither of which is counted.
Store import_store(const void* image, int length) {
    Store store = make_store(length + 1);
    if (store && length > 0)
        std::memcpy(dynar_ptr(store.get(), 0), image, static_cast<std::size_t>(length));
    return store;
}

bool asks_for_store(int size) { return size == kString16 || size == kString32; }

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

movane_hash_tab* hash_tab_new(int nr_items, int key_size, int data_size, hash_tab_hasher hash,
                              hash_tab_matcher match, hash_tab_emptiness empty, void* context,
                              int* size_out) {
    *size_out = 0;
    OwnedTable table =
        make_table(table_size(nr_items), key_size, data_size, hash, match, empty, context);
    if (!table) return nullptr;
    if (asks_for_store(key_size)) {
        table->key_store = make_store(kStoreGrowth);
        if (!table->key_store) return nullptr;
    }
    if (asks_for_store(data_size)) {
        table->data_store = make_store(kStoreGrowth);
        if (!table->data_store) return nullptr;
    }
    *size_out = table->size;
    return table.release();
}

movane_hash_tab* hash_tab_newset(void* context, int size, int key_size, int data_size,
                                 hash_tab_hasher hash, hash_tab_matcher match,
                                 hash_tab_emptiness empty, const void* slots_image,
                                 const void* keys_image, int keys_length, const void* data_image,
                                 int data_length) {
    OwnedTable table =
        make_table(std::max(size, 0), key_size, data_size, hash, match, empty, context);
    if (!table) return nullptr;
    std::memcpy(table->slots.get(), slots_image, table->area_bytes());

    if (asks_for_store(key_size)) {
        table->key_image_length = std::clamp(keys_length, 0, INT_MAX - 1);
        table->key_store        = import_store(keys_image, table->key_image_length);
        if (!table->key_store) return nullptr;
    }
    if (asks_for_store(data_size)) {
        table->data_image_length = std::clamp(data_length, 0, INT_MAX - 1);
        table->data_store        = import_store(data_image, table->data_image_length);
        if (!table->data_store) return nullptr;
    }
    return table.release();
}

movane_hash_tab* hash_tab_kill(movane_hash_tab* table) {
    movane::destroy(table);
    return nullptr;
}

// --- operations by key -------------------------------------------------------------------------

int hash_tab_insert(movane_hash_tab* table, const void* key, const void* data) {
    const int index = find_free(*table, key);
    if (index < 0) {
        typefl("Hash_table  full ");
        return -1;
    }
    const Field key_field  = key_field_of(*table);
    const Field data_field = data_field_of(*table);
    if (!key_field.has_room_for(key) || (data && !data_field.has_room_for(data))) {
        report("hash_tab_insert: store full");
        return -1;
    }
    table->tombstones[static_cast<std::size_t>(index)] = 0;
    key_field.write(table->slot(index), key);
    if (data) data_field.write(table->slot(index), data);
    return index;
}

int hash_tab_get(movane_hash_tab* table, const void* key, void* data_out) {
    const int index = find(*table, key);
    if (index >= 0 && data_out) data_field_of(*table).copy_out(table->slot(index), data_out);
    return index;
}

int hash_tab_put(movane_hash_tab* table, const void* key, const void* data) {
    const int index = find(*table, key);
    if (index < 0 || !data) return index;
    const Field field = data_field_of(*table);
    if (!field.has_room_for(data)) {
        report("hash_tab_insert: store full");  // sic: hosts match on this text
        return -1;
    }
    field.write(table->slot(index), data);
    return index;
}

int hash_tab_delete(movane_hash_tab* table, const void* key) {
    if (refuses_strings(*table, "hash_tab_delete: var keys and dats not implemented")) return -1;
    const int index = find(*table, key);
    if (index >= 0) table->tombstones[static_cast<std::size_t>(index)] = 1;
    return index;
}

// --- operations by index -----------------------------------------------------------------------

int hash_tab_index(movane_hash_tab* table, int index, void* key_out, void* data_out) {
    if (!table->has_slot(index)) return -1;
    const Field key_field  = key_field_of(*table);
    const Field data_field = data_field_of(*table);
    if (is_deleted(*table, index)) {
        key_field.clear(key_out);
        if (data_out) data_field.clear(data_out);
        return -1;
    }
    key_field.copy_out(table->slot(index), key_out);
    if (data_out) data_field.copy_out(table->slot(index), data_out);
    return index;
}

int hash_tab_delete_index(movane_hash_tab* table, int index) {
    // sic: hosts match on this text
    if (refuses_strings(*table, "hash_tab_put: var keys and dats not implemented")) return -1;
    if (!is_in_use(*table, index)) return 0;
    table->tombstones[static_cast<std::size_t>(index)] = 1;
    return 1;
}

int hash_tab_uninsert_index(movane_hash_tab* table, int index) {
    if (refuses_strings(*table, "hash_tab_uninsert_index: var keys and dats not implemented"))
        return -1;
    if (!table->has_slot(index)) return 0;
    key_field_of(*table).clear(table->slot(index));
    table->tombstones[static_cast<std::size_t>(index)] = 0;
    return 1;
}

int hash_tab_put_index(movane_hash_tab* table, int index, const void* data) {
    if (refuses_strings(*table, "hash_tab_put: var keys and dats not implemented")) return -1;
    if (!is_in_use(*table, index)) return 0;
    data_field_of(*table).write(table->slot(index), data);
    return 1;
}

int hash_tab_flush(movane_hash_tab* table) {
    if (refuses_strings(*table, "hash_tab_flush: var keys and dats not implemented")) return 0;
    std::memset(table->slots.get(), 0, table->area_bytes());
    std::memset(table->tombstones.get(), 0, static_cast<std::size_t>(table->size));
    return 1;
}

// --- queries -----------------------------------------------------------------------------------

int hash_tab_nr_items(const movane_hash_tab* table) { return table->size; }

movane_dynar* hash_tab_keys(const movane_hash_tab* table) { return table->key_store.get(); }

void* hash_tab_tab(const movane_hash_tab* table, int* key_size, int* data_size) {
    *key_size  = table->key_field_size;
    *data_size = table->data_field_size;
    return table->slots.get();
}
