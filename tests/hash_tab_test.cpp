// Hash tables against maps of the standard library, their probe order, and imported images.

#include "movane/foundation.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using movane_tests::message_of;

struct Kill {
    void operator()(movane_hash_tab* table) const { EXPECT_EQ(hash_tab_kill(table), nullptr); }
};
using Table = std::unique_ptr<movane_hash_tab, Kill>;

// Keys are ints other than 0, packed into three bytes so that no field is aligned.
struct Key {
    unsigned char bytes[3];
    explicit Key(int value = 0) { std::memcpy(bytes, &value, sizeof bytes); }
    int value() const {
        int all = 0;
        std::memcpy(&all, bytes, sizeof bytes);
        return all;
    }
};

int hash_key(void* spread, const void* key) {
    Key copy;
    std::memcpy(&copy, key, sizeof copy);
    return copy.value() / *static_cast<int*>(spread);
}
int match_key(const void* stored, const void* key) {
    return std::memcmp(stored, key, sizeof(Key)) == 0;
}
int empty_key(const void* slot) { return match_key(slot, Key().bytes); }

int hash_text(void*, const void* key) {
    int sum = 0;
    for (const auto* c = static_cast<const char*>(key); *c; ++c) sum += *c;
    return sum;
}
int match_text(const void* stored, const void* key) {
    return std::strcmp(static_cast<const char*>(stored), static_cast<const char*>(key)) == 0;
}

constexpr char kFull[] = "Hash_table  full ";

int one = 1;

Table key_table(int nr_items, int data_size = 4, int* spread = &one) {
    int size = -1;
    Table table(hash_tab_new(nr_items, sizeof(Key), data_size, hash_key, match_key, empty_key,
                             spread, &size));
    EXPECT_EQ(size, table ? hash_tab_nr_items(table.get()) : 0);
    return table;
}

Table text_table(int nr_items, int key_size, int data_size) {
    int size = -1;
    return Table(hash_tab_new(nr_items, key_size, data_size, hash_text, match_text, nullptr,
                              nullptr, &size));
}

int insert(const Table& table, int key, int data = 0) {
    return hash_tab_insert(table.get(), Key(key).bytes, &data);
}
int get(const Table& table, int key, int* data = nullptr) {
    return hash_tab_get(table.get(), Key(key).bytes, data);
}

template <class Call>
std::string printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

TEST(HashTab, HasAPrimeNumberOfSlots) {
    const struct {
        int items, slots;
    } rows[] = {{1, 1}, {2, 2}, {3, 3}, {4, 5}, {10, 13}, {100, 127}, {1000, 1201}, {8192, 9833}};
    for (const auto& row : rows)
        EXPECT_EQ(hash_tab_nr_items(key_table(row.items).get()), row.slots) << row.items;
}

TEST(HashTab, RefusesSizesThatCannotBe) {
    const std::string refusal = "Hash_tab_new : allocation of table failed nr_items = ";
    for (const int items : {0, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(message_of([&] { EXPECT_EQ(key_table(items), nullptr); }), refusal + "0");
    for (const int data_size : {-3, INT_MIN, INT_MAX})
        EXPECT_EQ(message_of([&] { EXPECT_EQ(key_table(10, data_size), nullptr); }),
                  refusal + "13");
    for (const int size : {0, -1}) {
        EXPECT_EQ(message_of([&] {
                      EXPECT_EQ(hash_tab_newset(nullptr, size, 4, 4, hash_key, match_key, empty_key,
                                                "", nullptr, 0, nullptr, 0),
                                nullptr);
                  }),
                  refusal + "0");
    }
    EXPECT_EQ(hash_tab_kill(nullptr), nullptr);
}

TEST(HashTab, ProbesInStepsOfItsStart) {
    const struct {
        const char* what;
        int items, key;
        std::vector<int> slots;
    } rows[] = {
        {"its own start", 10, 5, {5, 10, 2, 7, 12, 4}},
        {"the start of a hash beyond the size", 10, 13 * 7 + 5, {5, 10, 2}},
        {"17 from slot 0 of 13", 10, 26, {0, 4, 8, 12, 3, 7, 11, 2, 6, 10, 1, 5, 9, -1}},
        {"13 from slot 0 of others", 100, 127, {0, 13, 26, 39}},
        {"13 from slot 0 of less than 13", 4, 5, {0, 3, 1, 4, 2, -1}},
        {"nowhere in a single slot", 1, 9, {0, -1}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const Table table = key_table(row.items);
        for (const int slot : row.slots) {
            const std::string text = printed([&] { EXPECT_EQ(insert(table, row.key), slot); });
            EXPECT_EQ(text, slot < 0 ? kFull : "");
        }
    }
}

TEST(HashTab, MasksTheSignOfAHash) {
    int size         = 0;
    const auto minus = [](void* hash, const void*) { return *static_cast<int*>(hash); };
    for (int hash : {-1, INT_MIN, -13, -14}) {
        const Table table(
            hash_tab_new(10, sizeof(Key), 0, minus, match_key, empty_key, &hash, &size));
        const int slot = static_cast<int>((std::int64_t{hash} + (std::int64_t{1} << 31)) % 13);
        EXPECT_EQ(insert(table, 1), slot);
        EXPECT_EQ(get(table, 1), slot);
    }
}

TEST(HashTab, KeepsKeysLikeAMap) {
    struct Entry {
        int slot, data;
    };
    for (int spread : {1, 7, 1000}) {  // from hardly any collision to nothing but collisions
        const Table table = key_table(50, 4, &spread);
        const auto slots  = static_cast<std::size_t>(hash_tab_nr_items(table.get()));
        std::map<int, Entry> model;
        std::mt19937 random(3);
        for (int i = 0; i < 6000; ++i) {
            const int key    = 1 + static_cast<int>(random() % 90);
            const auto entry = model.find(key);
            const bool known = entry != model.end();
            int data         = -1;
            ASSERT_EQ(get(table, key, &data), known ? entry->second.slot : -1);
            ASSERT_EQ(data, known ? entry->second.data : -1);

            switch (random() % 8) {
                case 0:
                    ASSERT_EQ(hash_tab_delete(table.get(), Key(key).bytes),
                              known ? entry->second.slot : -1);
                    if (known) model.erase(entry);
                    break;
                case 1:
                    ASSERT_EQ(hash_tab_delete_index(table.get(), known ? entry->second.slot : -1),
                              known);
                    if (known) model.erase(entry);
                    break;
                case 2:
                    ASSERT_EQ(hash_tab_put(table.get(), Key(key).bytes, &i),
                              known ? entry->second.slot : -1);
                    if (known) entry->second.data = i;
                    break;
                case 3:
                    ASSERT_EQ(hash_tab_put_index(table.get(), known ? entry->second.slot : -1, &i),
                              known);
                    if (known) entry->second.data = i;
                    break;
                default:
                    if (known) break;
                    if (model.size() == slots) {
                        EXPECT_EQ(printed([&] { EXPECT_EQ(insert(table, key), -1); }), kFull);
                        break;
                    }
                    const int slot = insert(table, key, i);
                    ASSERT_GE(slot, 0);
                    model[key] = {slot, i};
            }
        }

        std::map<int, int> by_slot;
        for (const auto& [key, entry] : model) by_slot[entry.slot] = key;
        ASSERT_EQ(by_slot.size(), model.size());
        for (int slot = 0; slot < static_cast<int>(slots); ++slot) {
            Key key(99);
            int data         = 99;
            const bool known = by_slot.contains(slot);
            // Others were never used, or are deleted, which clears the outputs.
            const int found = hash_tab_index(table.get(), slot, key.bytes, &data);
            if (known) {
                EXPECT_EQ(found, slot);
            }
            EXPECT_EQ(key.value(), known ? by_slot[slot] : 0);
            EXPECT_EQ(data, known ? model[key.value()].data : 0);
        }
    }
}

TEST(HashTab, TakesAKeyTwice) {
    const Table table = key_table(10);
    EXPECT_EQ(insert(table, 5, 50), 5);
    EXPECT_EQ(insert(table, 5, 51), 10);
    const int replaced = 52;
    int data           = 0;
    EXPECT_EQ(hash_tab_put(table.get(), Key(5).bytes, &replaced), 5);
    EXPECT_EQ(hash_tab_put(table.get(), Key(5).bytes, nullptr), 5);
    EXPECT_EQ(get(table, 5, &data), 5);
    EXPECT_EQ(data, 52);
    EXPECT_EQ(hash_tab_delete(table.get(), Key(5).bytes), 5);
    EXPECT_EQ(get(table, 5, &data), 10);  // its chain passes the deleted slot
    EXPECT_EQ(data, 51);
    EXPECT_EQ(hash_tab_insert(table.get(), Key(5).bytes, nullptr), 5);
    EXPECT_EQ(get(table, 5, &data), 5);
    EXPECT_EQ(data, 52);  // no data: what the slot held
}

TEST(HashTab, WorksBySlot) {
    const Table table = key_table(10);
    for (const int key : {5, 18, 31}) insert(table, key, key);  // slots 5, 10, 2
    Key key;
    int data = 7;

    for (const int outside : {-1, 13, INT_MAX, INT_MIN}) {
        EXPECT_EQ(hash_tab_index(table.get(), outside, key.bytes, &data), -1);
        EXPECT_EQ(hash_tab_delete_index(table.get(), outside), 0);
        EXPECT_EQ(hash_tab_uninsert_index(table.get(), outside), 0);
        EXPECT_EQ(hash_tab_put_index(table.get(), outside, &data), 0);
    }
    EXPECT_EQ(hash_tab_index(table.get(), 0, key.bytes, nullptr), 0);  // never used
    EXPECT_EQ(key.value(), 0);
    EXPECT_EQ(hash_tab_delete_index(table.get(), 0), 0);
    EXPECT_EQ(hash_tab_put_index(table.get(), 0, &data), 0);

    EXPECT_EQ(hash_tab_delete_index(table.get(), 10), 1);
    EXPECT_EQ(hash_tab_delete_index(table.get(), 10), 0);
    EXPECT_EQ(hash_tab_put_index(table.get(), 10, &data), 0);
    EXPECT_EQ(hash_tab_index(table.get(), 10, key.bytes, &data), -1);
    EXPECT_EQ(key.value() + data, 0);
    EXPECT_EQ(get(table, 31), 2);

    EXPECT_EQ(hash_tab_uninsert_index(table.get(), 10), 1);  // which cuts the chain
    EXPECT_EQ(get(table, 31), -1);
    EXPECT_EQ(hash_tab_index(table.get(), 10, key.bytes, nullptr), 10);
    EXPECT_EQ(insert(table, 18), 10);
    EXPECT_EQ(get(table, 31), 2);

    int key_size = 0, data_size = 0;
    const auto* slots =
        static_cast<unsigned char*>(hash_tab_tab(table.get(), &key_size, &data_size));
    EXPECT_EQ(key_size, 3);
    EXPECT_EQ(data_size, 4);
    EXPECT_EQ(slots[2 * 7], 31);
    EXPECT_EQ(hash_tab_keys(table.get()), nullptr);

    hash_tab_delete_index(table.get(), 5);
    EXPECT_EQ(hash_tab_flush(table.get()), 1);
    EXPECT_TRUE(std::all_of(slots, slots + 13 * 7, [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(hash_tab_index(table.get(), 5, key.bytes, nullptr), 5);
}

TEST(HashTab, KeepsStringsLikeAMap) {
    for (const int key_size : {-1, -2}) {
        for (const int data_size : {-2, -1}) {
            const Table table = text_table(60, key_size, data_size);
            std::map<std::string, std::string> model;
            std::mt19937 random(4);
            for (int i = 0; i < 500; ++i) {
                const std::string key(1 + random() % 8, static_cast<char>('a' + random() % 7));
                const std::string data(random() % 150, static_cast<char>('A' + i % 26));
                char found[200] = "unchanged";
                if (model.contains(key)) {
                    EXPECT_GE(hash_tab_put(table.get(), key.c_str(), data.c_str()), 0);
                } else {
                    EXPECT_EQ(hash_tab_get(table.get(), key.c_str(), found), -1);
                    EXPECT_STREQ(found, "unchanged");
                    EXPECT_EQ(hash_tab_put(table.get(), key.c_str(), data.c_str()), -1);
                    EXPECT_GE(hash_tab_insert(table.get(), key.c_str(), data.c_str()), 0);
                }
                model[key] = data;
            }
            for (const auto& [key, data] : model) {
                char found[200] = "", found_key[20] = "";
                const int slot = hash_tab_get(table.get(), key.c_str(), found);
                EXPECT_EQ(found, data);
                EXPECT_EQ(hash_tab_index(table.get(), slot, found_key, nullptr), slot);
                EXPECT_EQ(found_key, key);
            }
        }
    }
}

TEST(HashTab, StoresStringsBehindOneZeroByte) {
    const Table table    = text_table(10, -2, -1);
    movane_dynar* stored = hash_tab_keys(table.get());
    EXPECT_EQ(hash_tab_insert(table.get(), "ac", "x"), 196 % 13);
    EXPECT_EQ(hash_tab_insert(table.get(), "", nullptr), 0);
    EXPECT_EQ(dynar_nr_items(stored), 5);
    EXPECT_EQ(std::memcmp(dynar_ptr(stored, 0), "\0ac\0", 5), 0);

    char key[8] = "k", data[8] = "d";
    EXPECT_EQ(hash_tab_index(table.get(), 5, key, data), 5);  // never used
    EXPECT_STREQ(key, "");
    EXPECT_STREQ(data, "");
    EXPECT_EQ(hash_tab_get(table.get(), "", std::strcpy(data, "d")), 0);  // without data
    EXPECT_STREQ(data, "");

    int key_size = 0, data_size = 0;
    const auto* slots = static_cast<char*>(hash_tab_tab(table.get(), &key_size, &data_size));
    EXPECT_EQ(key_size, 4);
    EXPECT_EQ(data_size, 2);
    EXPECT_EQ(std::memcmp(slots, "\4\0\0\0\0\0", 6), 0);
    EXPECT_EQ(dynar_nr_items(stored), 5);  // looking up stores nothing
}

TEST(HashTab, RefusesOtherOperationsForStrings) {
    const auto refused = [](int expected, auto call) {
        std::vector<std::string> messages;
        for (const Table& table : {text_table(10, -1, 4), key_table(10, -2)}) {
            hash_tab_insert(table.get(), "abc", "data");
            messages.push_back(message_of([&] { EXPECT_EQ(call(table.get()), expected); }));
        }
        EXPECT_EQ(messages[0], messages[1]);
        return messages[0];
    };
    constexpr char kPut[] = "hash_tab_put: var keys and dats not implemented";
    EXPECT_EQ(refused(-1, [](auto* t) { return hash_tab_delete(t, "abc"); }),
              "hash_tab_delete: var keys and dats not implemented");
    EXPECT_EQ(refused(-1, [](auto* t) { return hash_tab_delete_index(t, -1); }), kPut);
    EXPECT_EQ(refused(-1, [](auto* t) { return hash_tab_put_index(t, -1, "x"); }), kPut);
    EXPECT_EQ(refused(-1, [](auto* t) { return hash_tab_uninsert_index(t, -1); }),
              "hash_tab_uninsert_index: var keys and dats not implemented");
    EXPECT_EQ(refused(0, [](auto* t) { return hash_tab_flush(t); }),
              "hash_tab_flush: var keys and dats not implemented");
}

TEST(HashTab, StopsWhereOffsetsEnd) {
    constexpr char kStoreFull[] = "hash_tab_insert: store full";
    const std::string filler(65533, 'f');  // up to offset 65534 with its terminator
    const Table table      = text_table(10, -2, -1);
    const auto insert_text = [&](const char* key, const char* data) {
        return message_of([&] {
            const int slot = hash_tab_insert(table.get(), key, data);
            EXPECT_EQ(hash_tab_get(table.get(), key, nullptr), slot);
        });
    };
    EXPECT_EQ(insert_text("a", filler.c_str()), "");
    EXPECT_EQ(insert_text("b", "last"), "");  // starts at 65535

    const int keys_stored = dynar_nr_items(hash_tab_keys(table.get()));
    EXPECT_EQ(insert_text("c", ""), kStoreFull);
    EXPECT_EQ(message_of([&] { EXPECT_EQ(hash_tab_put(table.get(), "b", "x"), -1); }), kStoreFull);
    EXPECT_EQ(dynar_nr_items(hash_tab_keys(table.get())), keys_stored);
    char data[8] = "";
    EXPECT_GE(hash_tab_get(table.get(), "b", data), 0);
    EXPECT_STREQ(data, "last");
    EXPECT_EQ(insert_text("c", nullptr), "");

    const Table other = text_table(10, -1, -2);  // the same with the stores exchanged
    hash_tab_insert(other.get(), std::string(65534, 'f').c_str(), "");
    EXPECT_EQ(message_of([&] { EXPECT_EQ(hash_tab_insert(other.get(), "c", "x"), -1); }),
              kStoreFull);
    EXPECT_EQ(hash_tab_get(other.get(), "c", nullptr), -1);
}

TEST(HashTab, LooksUpAnImportedImage) {
    // Four slots, which is no prime, of a 16-bit key offset and a 32-bit data offset.
    struct Slot {
        std::uint16_t key;
        std::uint32_t data;
    };
    std::vector<unsigned char> slots;
    for (const Slot slot : {Slot{1, 1}, Slot{5, 900}, Slot{0, 0}, Slot{9, 4}}) {
        slots.resize(slots.size() + 6);
        std::memcpy(&slots.end()[-6], &slot.key, 2);
        std::memcpy(&slots.end()[-4], &slot.data, 4);
    }
    const char keys[] =
        "\0"
        "ddd\0"
        "Aee\0"
        "gg";  // hash to 0, 3, 2 or, cut to one "g", to 3
    const char data[] =
        "\0"
        "d1\0"
        "xyz";
    const Table table(hash_tab_newset(nullptr, 4, -1, -2, hash_text, match_text, nullptr,
                                      slots.data(), keys, 10, data, 6));
    ASSERT_NE(table, nullptr);
    movane_dynar* stored = hash_tab_keys(table.get());
    EXPECT_EQ(dynar_nr_items(stored), 1);

    const auto read = [&](int slot) {
        char key[16] = "?", text[16] = "?";
        EXPECT_EQ(hash_tab_index(table.get(), slot, key, text), slot);
        return std::string(key) + "=" + text;
    };
    EXPECT_EQ(read(0), "ddd=d1");
    EXPECT_EQ(read(1), "Aee=");  // an offset beyond the data
    EXPECT_EQ(read(2), "=");
    EXPECT_EQ(read(3), "g=xy");  // cut by the lengths
    char text[16] = "";
    EXPECT_EQ(hash_tab_get(table.get(), "ddd", text), 0);
    EXPECT_STREQ(text, "d1");
    EXPECT_EQ(hash_tab_get(table.get(), "g", text), 3);
    EXPECT_EQ(dynar_nr_items(stored), 1);

    // What is inserted stands over the image.
    EXPECT_EQ(hash_tab_insert(table.get(), "b", "new"), 2);
    EXPECT_EQ(read(2), "b=new");
    EXPECT_EQ(read(0), "b=new");
    EXPECT_EQ(read(3), "g=");
    EXPECT_EQ(dynar_nr_items(stored), 3);
    EXPECT_GE(hash_tab_put(table.get(), "b", "longer than the image was"), 0);
    EXPECT_EQ(hash_tab_get(table.get(), "b", nullptr), 2);

    // A fixed-size image needs no stores.
    int key_size = 0, data_size = 0;
    const Table made = key_table(10);
    insert(made, 7, 70);
    const Table copy(hash_tab_newset(&one, 13, sizeof(Key), 4, hash_key, match_key, empty_key,
                                     hash_tab_tab(made.get(), &key_size, &data_size), nullptr, 0,
                                     nullptr, 0));
    int value = 0;
    EXPECT_EQ(get(copy, 7, &value), 7);
    EXPECT_EQ(value, 70);
}

TEST(HashTab, ImportsEmptyStores) {
    const unsigned char slot[] = {1, 0, 2, 0};
    for (const int length : {0, -1}) {
        const Table table(hash_tab_newset(nullptr, 1, -1, -1, hash_text, match_text, nullptr, slot,
                                          nullptr, length, nullptr, length));
        char text[8] = "?";
        EXPECT_EQ(hash_tab_get(table.get(), "", text), 0);
        EXPECT_STREQ(text, "");
    }
}

}  // namespace
