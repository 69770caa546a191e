// Hash tables against a plain model of their rules, and imported images.

#include "movane/foundation.h"

#include "support/handle.h"
#include "support/messages.h"
#include "support/printed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace movane_tests;
using Table = Handle<movane_hash_tab, movane_hash_tab*>;

// Keys are texts of one or two characters in four bytes. They serve as strings and, with the
// first three bytes, as fixed keys, so that no field is aligned.
constexpr int kKeySize = 3, kDataSize = 4;

int hash_key(void* factor, const void* key) {
    return *static_cast<const char*>(key) * *static_cast<int*>(factor);
}
// Any value but 0 says yes.
const void* asked_key = nullptr;  // what the running call asks for, where the test tells
int match_key(const void* stored, const void* key) {
    EXPECT_TRUE(!asked_key || key == asked_key);
    const auto* text = static_cast<const char*>(stored);
    return std::strncmp(text, static_cast<const char*>(key), 3) == 0 ? -5 : 0;
}
int is_empty(const void* slot) { return *static_cast<const char*>(slot) == '\0' ? -7 : 0; }

int one = 1;

Table make_table(int nr_items, int key_size, int data_size, int* factor = &one) {
    int size = -1;
    Table table(
        hash_tab_new(nr_items, key_size, data_size, hash_key, match_key, is_empty, factor, &size),
        hash_tab_kill);
    EXPECT_EQ(size, table ? hash_tab_nr_items(table) : 0);
    return table;
}

Table import_table(int size, int key_size, int data_size, const void* slots, const char* keys,
                   int keys_length, const char* data, int data_length) {
    return {hash_tab_newset(&one, size, key_size, data_size, hash_key, match_key, is_empty, slots,
                            keys, keys_length, data, data_length),
            hash_tab_kill};
}

TEST(HashTab, HasAPrimeNumberOfSlotsOrNone) {
    const std::pair<int, int> rows[] = {{1, 1},   {2, 2},     {3, 3},       {4, 5},
                                        {10, 13}, {100, 127}, {1000, 1201}, {8192, 9833}};
    for (const auto& [items, slots] : rows)
        EXPECT_EQ(hash_tab_nr_items(make_table(items, kKeySize, 0)), slots) << items;

    const MessageCapture posted;
    const std::string refusal = "Hash_tab_new : allocation of table failed nr_items = ";
    for (const int items : {0, -1, INT_MIN, INT_MAX})
        expect_failed(make_table(items, kKeySize, 0), nullptr, refusal + "0");
    for (const int data_size : {-3, INT_MIN, INT_MAX})
        expect_failed(make_table(10, kKeySize, data_size), nullptr, refusal + "13");
    for (const int slots : {0, -1})
        expect_failed(import_table(slots, 3, 4, "", "", 0, "", 0), nullptr, refusal + "0");
}

// The rules written out on whole chains of slots.
struct Model {
    struct Slot {
        std::string key, data;
        bool is_deleted = false;
    };
    std::vector<Slot> slots;
    int factor;

    std::vector<int> chain(const std::string& key) const {
        const int size  = static_cast<int>(slots.size());
        const int start = (key[0] * factor & INT_MAX) % size;
        const int step  = start != 0 ? start : size == 13 ? 17 : 13;
        std::vector<int> chain{start};
        for (int next; (next = (chain.back() + step) % size) != start;) chain.push_back(next);
        return chain;
    }
    int find(const std::string& key) const {
        for (const int at : chain(key)) {
            if (slots[at].key == key && !slots[at].is_deleted) return at;
            if (slots[at].key.empty()) break;
        }
        return -1;
    }
    bool is_in_use(int at) const {
        return at >= 0 && at < std::ssize(slots) && !slots[at].key.empty() && !slots[at].is_deleted;
    }
    int insert(const std::string& key) {
        for (const int at : chain(key)) {
            if (is_in_use(at)) continue;
            slots[at] = {key, slots[at].data};
            return at;
        }
        return -1;
    }
    int put(int at, const char* data) {
        if (at >= 0 && data) slots[at].data = data;
        return at;
    }
    int remove(int at) {
        if (at >= 0) slots[at].is_deleted = true;
        return at;
    }
};

void expect_model(int nr_items, int key_size, int data_size, int factor) {
    SCOPED_TRACE(::testing::Message() << nr_items << " items, fields of " << key_size << " and "
                                      << data_size << ", factor " << factor);
    const Table table   = make_table(nr_items, key_size, data_size, &factor);
    const bool is_fixed = key_size > 0;
    Model model{std::vector<Model::Slot>(hash_tab_nr_items(table)), factor};
    std::mt19937 random(3);
    for (int i = 0; i < 600; ++i) {
        char key[4] = {}, data[160] = {}, found_key[4] = "?", found[160] = "?";
        std::fill_n(key, 1 + random() % 2, static_cast<char>('a' + random() % 20));
        std::fill_n(data, random() % (is_fixed ? 4 : 150), static_cast<char>('A' + i % 26));
        const char* const given = random() % 4 ? data : nullptr;
        asked_key               = key;
        const int at            = static_cast<int>(random() % (model.slots.size() + 2)) - 1;
        const bool is_used = model.is_in_use(at), is_slot = at >= 0 && at < std::ssize(model.slots);
        switch (random() % (is_fixed ? 7 : 2)) {
            case 0: {
                const int slot = model.put(model.insert(key), given);
                ASSERT_EQ(slot < 0 ? -1 : hash_tab_insert(table, key, given), slot);
                break;
            }
            case 1:
                ASSERT_EQ(hash_tab_put(table, key, given), model.put(model.find(key), given));
                break;
            case 2:
                ASSERT_EQ(hash_tab_delete(table, key), model.remove(model.find(key)));
                break;
            case 3:
                ASSERT_EQ(hash_tab_delete_index(table, at), is_used && model.remove(at) == at);
                break;
            case 4:
                ASSERT_EQ(hash_tab_put_index(table, at, data),
                          is_used && model.put(at, data) == at);
                break;
            case 5:
                ASSERT_EQ(hash_tab_uninsert_index(table, at), is_slot);
                if (is_slot) model.slots[at] = {"", model.slots[at].data};
                break;
            default:
                if (i % 50 != 0) break;
                ASSERT_EQ(hash_tab_flush(table), 1);
                model.slots.assign(model.slots.size(), {});
        }
        const int place = model.find(key);
        ASSERT_EQ(hash_tab_get(table, key, found), place);
        ASSERT_EQ(found, place < 0 ? "?" : model.slots[place].data);
        const Model::Slot slot = is_slot ? model.slots[at] : Model::Slot{"?", found};
        ASSERT_EQ(hash_tab_index(table, at, found_key, found),
                  is_slot && !slot.is_deleted ? at : -1);
        ASSERT_EQ(found_key, slot.is_deleted ? "" : slot.key);
        ASSERT_EQ(found, slot.is_deleted ? "" : slot.data);
    }
    asked_key = nullptr;
}

TEST(HashTab, FollowsItsModel) {
    for (const int items : {1, 4, 10, 60}) {  // 1, 5, 13 and 73 slots
        for (const int factor : {1, -1, 0, 13}) {
            expect_model(items, kKeySize, kDataSize, factor);
            for (const int key_size : {-1, -2})
                for (const int data_size : {-1, -2})
                    expect_model(items, key_size, data_size, factor);
        }
    }
}

TEST(HashTabDeathTest, TellsThatItIsFull) {
    const Table table = make_table(4, kKeySize, 0);
    for (int i = 0; i < 5; ++i) EXPECT_GE(hash_tab_insert(table, "d\0", nullptr), 0);
    expect_printed("Hash_table  full ",
                   [&] { EXPECT_EQ(hash_tab_insert(table, "d\0", nullptr), -1); });
}

TEST(HashTab, StoresStringsBehindOneZeroByte) {
    const Table table          = make_table(10, -2, -1);
    movane_dynar* const stored = hash_tab_keys(table);
    EXPECT_EQ(hash_tab_insert(table, "ac", "x"), 97 % 13);
    EXPECT_EQ(hash_tab_insert(table, "", nullptr), 0);
    EXPECT_EQ(hash_tab_get(table, "b", nullptr), -1);                 // which stores nothing
    EXPECT_EQ(hash_tab_get(make_table(10, -1, -2), "", nullptr), 0);  // an empty slot matches
    EXPECT_EQ(std::string(static_cast<char*>(dynar_ptr(stored, 0)), dynar_nr_items(stored)),
              std::string("\0ac\0", 5));
    int key_size = 0, data_size = 0;
    EXPECT_EQ(std::memcmp(hash_tab_tab(table, &key_size, &data_size), "\4\0\0\0\0\0", 6), 0);
    EXPECT_EQ(key_size, 4);
    EXPECT_EQ(data_size, 2);
}

TEST(HashTab, RefusesOtherOperationsForStrings) {
    const MessageCapture posted;
    const std::string why = ": var keys and dats not implemented";
    for (const Table& table : {make_table(10, -1, kDataSize), make_table(10, kKeySize, -2)}) {
        hash_tab_insert(table, "abc", "data");
        expect_failed(hash_tab_delete(table, "abc"), -1, "hash_tab_delete" + why);
        expect_failed(hash_tab_delete_index(table, -1), -1, "hash_tab_put" + why);
        expect_failed(hash_tab_put_index(table, -1, "x"), -1, "hash_tab_put" + why);
        expect_failed(hash_tab_uninsert_index(table, -1), -1, "hash_tab_uninsert_index" + why);
        expect_failed(hash_tab_flush(table), 0, "hash_tab_flush" + why);
    }
}

TEST(HashTab, StopsWhereOffsetsEnd) {
    const MessageCapture posted;
    constexpr char kStoreFull[] = "hash_tab_insert: store full";
    const std::string filler(65534, 'f');  // from offset 1 on, up to 65535 with its terminator
    const Table narrow_keys = make_table(10, -1, -2), narrow_data = make_table(10, -2, -1);
    EXPECT_GE(hash_tab_insert(narrow_keys, filler.c_str(), ""), 0);
    expect_failed(hash_tab_insert(narrow_keys, "c", "x"), -1, kStoreFull);
    EXPECT_EQ(hash_tab_get(narrow_keys, "c", nullptr), -1);

    EXPECT_GE(hash_tab_insert(narrow_data, "a", filler.c_str() + 1), 0);
    EXPECT_GE(hash_tab_insert(narrow_data, "b", "last"), 0);  // starts at 65535
    expect_failed(hash_tab_insert(narrow_data, "c", ""), -1, kStoreFull);
    expect_failed(hash_tab_put(narrow_data, "b", "x"), -1, kStoreFull);
    char data[8] = "";
    EXPECT_GE(hash_tab_get(narrow_data, "b", data), 0);
    EXPECT_STREQ(data, "last");
    EXPECT_EQ(dynar_nr_items(hash_tab_keys(narrow_data)), 5);
}

TEST(HashTab, LooksUpAnImportedImage) {
    // Four slots, which is no prime, of a 16-bit key offset and a 32-bit data offset: one that is
    // intact, one with data just beyond the image, an empty one, one cut short by the lengths.
    const char slots[] =
        "\1\0\1\0\0\0"
        "\5\0\6\0\0\0"
        "\0\0\0\0\0\0"
        "\11\0\4\0\0";
    const Table table = import_table(4, -1, -2, slots, "\0ddd\0abb\0gg", 10, "\0d1\0xyz", 6);
    const auto read   = [&](int slot) {
        char key[16] = "?", text[32] = "?", found[32] = "";
        EXPECT_EQ(hash_tab_index(table, slot, key, text), slot);
        EXPECT_EQ(hash_tab_get(table, key, found), *key ? slot : 2);
        EXPECT_STREQ(found, text);
        return std::string(key) + "=" + text;
    };
    EXPECT_EQ(read(0), "ddd=d1");
    EXPECT_EQ(read(1), "abb=");
    EXPECT_EQ(read(3), "g=xy");
    EXPECT_EQ(dynar_nr_items(hash_tab_keys(table)), 1);

    // What is inserted stands over the image.
    EXPECT_EQ(hash_tab_insert(table, "b", "new"), 2);
    EXPECT_EQ(read(2), "b=new");
    EXPECT_EQ(hash_tab_put(table, "b", "longer than the image was"), 2);
    EXPECT_EQ(read(2), "b=longer than the image was");
    for (const int length : {0, -1}) {
        char text[8] = "?";
        EXPECT_EQ(hash_tab_index(import_table(1, -1, -2, slots, nullptr, length, nullptr, length),
                                 0, text, text),
                  0);
        EXPECT_STREQ(text, "");
    }
    // Fixed fields need no stores.
    const Table fixed =
        import_table(2, kKeySize, kDataSize, "bb\0two\0aa\0one", nullptr, 0, nullptr, 0);
    char data[4] = "";
    EXPECT_EQ(hash_tab_get(fixed, "aa", data), 1);
    EXPECT_STREQ(data, "one");
    EXPECT_EQ(hash_tab_keys(fixed), nullptr);
}

}  // namespace
