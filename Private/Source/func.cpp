// Function table: two parallel lists, one of keys that is kept sorted, one of values.
//
// The key list decides on the index, the value list follows. Everything that a list reports it
// reports itself.

#include "movane/interpolation.h"

#include "movane/foundation.h"

#include "Support/memory.h"
#include "Support/report.h"

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/func"};

}  // namespace

// Invariant: both lists hold as many elements; value i belongs to key i.
struct movane_func {
    movane_list* keys;
    movane_list* values;
    func_predicate compare;

    ~movane_func() {
        list_kill(keys);
        list_kill(values);
    }
};

// --- life cycle --------------------------------------------------------------------------------

movane_func* func_new(int ext, int key_size, int value_size, func_predicate compare) {
    if (auto f = movane::create<movane_func>()) {
        f->compare = compare;
        // A negative size is a large one, which the list refuses.
        f->keys = list_new(ext, static_cast<unsigned>(key_size), compare);
        if (f->keys) f->values = list_new(ext, static_cast<unsigned>(value_size), nullptr);
        if (f->values) return f.release();
    }
    report("func_new : unable to create new instance of function");
    return nullptr;
}

int func_kill(movane_func* f) {
    movane::destroy(f);
    return 0;
}

// --- points ------------------------------------------------------------------------------------

int func_insert(movane_func* f, const void* key, const void* value) {
    const int index = list_insert(f->keys, key);
    if (index < 0) return -1;
    if (list_insert_index(f->values, value, index, 1) == index) return index;
    list_rem_element(f->keys, index);
    return -1;
}

int func_changep(movane_func* f, int index, const void* key, const void* value) {
    if (list_changep(f->keys, index, key) < 0) return -1;
    return list_changep(f->values, index, value);
}

movane_func* func_invert(const movane_func* f, func_predicate compare) {
    movane::Owned<movane_func> inverse(func_new(list_get_ext(f->keys), list_get_el_size(f->values),
                                                list_get_el_size(f->keys), compare));
    for (int i = 0; inverse && i < func_num(f); ++i) {
        const void* const key   = list_get_element(f->keys, i);
        const void* const value = list_get_element(f->values, i);
        if (func_insert(inverse.get(), value, key) < 0) return nullptr;
    }
    return inverse.release();
}

int func_pos(const movane_func* f, const void* key) { return list_pos(f->keys, key); }

int func_get_point(const movane_func* f, int index, void** key, void** value) {
    void* const found_key   = list_get_element(f->keys, index);
    void* const found_value = list_get_element(f->values, index);
    if (!found_key || !found_value) return -1;
    *key   = found_key;
    *value = found_value;
    return 0;
}

int func_num(const movane_func* f) { return f ? list_get_num(f->keys) : 0; }

int func_rem_point(movane_func* f, int index) {
    list_rem_element(f->keys, index);
    list_rem_element(f->values, index);
    return 0;
}

int func_search_el(const movane_func* f, const void* key, void** value, func_predicate compare) {
    const int index = list_search_el(f->keys, key, compare);
    if (index >= 0) *value = list_get_element(f->values, index);
    return index;
}

int func_alloc(movane_func* f, int n) {
    list_alloc(f->keys, n);
    list_alloc(f->values, n);
    return 0;
}
