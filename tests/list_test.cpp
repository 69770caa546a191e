// Dynamic lists against a plain model, and the corners where counters and indices end.

#include "movane/foundation.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace {

using movane_tests::message_of;

constexpr char kNoRoom[] = "list_insert : Unable to extend list, insufficient resources";

struct Kill {
    void operator()(movane_list* list) const { EXPECT_EQ(list_kill(list), nullptr); }
};
using List = std::unique_ptr<movane_list, Kill>;

// Elements with a payload, so that a test sees which of two equal keys it got.
struct Pair {
    int key, serial;
    bool operator==(const Pair&) const = default;
};

int key_of(const void* pair) { return static_cast<const Pair*>(pair)->key; }
int greater(const void* element, const void* key) { return key_of(element) > key_of(key); }
int greater_or_equal(const void* element, const void* key) {
    return key_of(element) >= key_of(key);
}
int differs(const void* element, const void* key) { return key_of(element) != key_of(key); }

std::vector<Pair> contents(const movane_list* list) {
    std::vector<Pair> all(static_cast<std::size_t>(list_num(list)));
    for (std::size_t i = 0; i < all.size(); ++i)
        std::memcpy(&all[i], list_get_element(list, static_cast<int>(i)), sizeof(Pair));
    return all;
}

TEST(List, InsertsRemovesAndFindsLikeAPlainVector) {
    for (const list_predicate ordering :
         {list_predicate{nullptr}, list_predicate{greater}, list_predicate{greater_or_equal}}) {
        std::mt19937 random(1);
        const List list(list_new(3, sizeof(Pair), ordering));
        std::vector<Pair> model;
        for (int serial = 0; serial < 600; ++serial) {
            const Pair pair{static_cast<int>(random() % 40), serial};
            auto border = model.end();
            if (ordering)
                border = std::find_if(model.begin(), model.end(),
                                      [&](const Pair& p) { return ordering(&p, &pair) != 0; });
            const int position = static_cast<int>(border - model.begin());

            EXPECT_EQ(list_pos(list.get(), &pair), position);
            // A sorted list looks at the border only, a plain one at every element.
            int found = -1;
            if (ordering) {
                if (border != model.end() && !differs(&*border, &pair)) found = position;
            } else {
                for (int i = 0; i < position && found < 0; ++i)
                    if (model[static_cast<std::size_t>(i)].key == pair.key) found = i;
            }
            EXPECT_EQ(list_search_el(list.get(), &pair, differs), found);

            if (random() % 3 == 0 && !model.empty()) {
                const int victim = static_cast<int>(random() % model.size());
                model.erase(model.begin() + victim);
                EXPECT_EQ(list_rem_element(list.get(), victim), 0);
            } else {
                model.insert(border, pair);
                EXPECT_EQ(list_insert(list.get(), &pair), position);
            }
            ASSERT_EQ(contents(list.get()), model);
        }
    }
}

TEST(List, BisectsAnyPartOfASortedList) {
    const List list(list_new(0, sizeof(Pair), greater));
    for (const int key : {1, 1, 2, 4, 4, 4, 7}) {
        const Pair pair{key, 0};
        list_insert(list.get(), &pair);
    }
    for (int low = 0; low < 7; ++low) {
        for (int high = low; high < 7; ++high) {
            for (int key = 0; key <= 8; ++key) {
                const Pair pair{key, 0};
                int expected = low;
                while (expected <= high && key_of(list_get_element(list.get(), expected)) <= key)
                    ++expected;
                EXPECT_EQ(list_pos_range(list.get(), &pair, low, high, greater), expected);
            }
        }
    }
    const Pair pair{4, 0};
    EXPECT_EQ(list_pos_range(list.get(), &pair, 5, 2, greater), 5);
    EXPECT_EQ(list_pos_range(list.get(), &pair, 0, 3, nullptr), 7);
    EXPECT_EQ(list_pos_range(List(list_new(0, 8, nullptr)).get(), &pair, 3, 5, greater), 0);
}

TEST(List, FillsSlotsByIndex) {
    const auto filled = [](int index, int mode) {
        List list(list_new(4, sizeof(Pair), nullptr));
        for (int i = 0; i < 3; ++i) {
            const Pair pair{i, 0};
            list_insert(list.get(), &pair);
        }
        const Pair pair{9, 0};
        EXPECT_EQ(list_insert_index(list.get(), &pair, index, mode), index);
        return contents(list.get());
    };
    using Contents = std::vector<Pair>;
    EXPECT_EQ(filled(1, 1), (Contents{{0, 0}, {9, 0}, {1, 0}, {2, 0}}));
    EXPECT_EQ(filled(1, -1), (Contents{{1, 0}, {9, 0}, {2, 0}, {0, 0}}));  // the count rises too
    EXPECT_EQ(filled(1, 0), (Contents{{0, 0}, {9, 0}, {2, 0}, {0, 0}}));
    EXPECT_EQ(filled(3, 1), (Contents{{0, 0}, {1, 0}, {2, 0}, {9, 0}}));
    EXPECT_EQ(filled(7, 0).size(), 4u);
    EXPECT_EQ(filled(7, 0)[3], (Pair{0, 0}));  // never written

    // Beyond the end the list grows to the touched slot and one step more, keeping what counts.
    const List list(list_new(4, sizeof(Pair), nullptr));
    const Pair pair{5, 5};
    EXPECT_EQ(list_insert_index(list.get(), &pair, 0, 0), 0);
    EXPECT_EQ(list_insert_index(list.get(), &pair, 6, 0), 6);
    for (int i = 2; i < 11; ++i) EXPECT_EQ(list_insert_index(list.get(), &pair, i, 0), i);
    EXPECT_EQ(contents(list.get())[10], pair);

    EXPECT_EQ(message_of([&] { EXPECT_EQ(list_insert_index(list.get(), &pair, -1, 1), -1); }), "");
    EXPECT_EQ(list_num(list.get()), 11);
}

TEST(List, ChecksIndices) {
    const List list(list_new(0, sizeof(Pair), nullptr));
    const Pair first{1, 1}, second{2, 2};
    list_insert(list.get(), &first);

    EXPECT_EQ(list_changep(list.get(), 0, &second), 0);
    EXPECT_EQ(contents(list.get())[0], second);
    for (const int index : {-1, 1, 70000}) {
        EXPECT_EQ(message_of([&] { EXPECT_EQ(list_changep(list.get(), index, &first), -1); }),
                  "list_changep : index out of bound");
        EXPECT_EQ(list_rem_element(list.get(), index), 0);
        EXPECT_EQ(list_get_element(list.get(), index), nullptr);
    }
    EXPECT_EQ(contents(list.get()), std::vector<Pair>{second});

    EXPECT_EQ(list_num(nullptr), 0);
    EXPECT_EQ(list_kill(nullptr), nullptr);
    EXPECT_EQ(list_get_num(list.get()), 1);
    EXPECT_EQ(list_get_ext(list.get()), 10);
    EXPECT_EQ(list_get_el_size(list.get()), static_cast<int>(sizeof(Pair)));
}

TEST(List, StopsWhereItsCountersEnd) {
    const auto refused = [](int initial, unsigned size) {
        return message_of([&] { EXPECT_EQ(list_new(initial, size, nullptr), nullptr); });
    };
    EXPECT_EQ(refused(65536, 1), "list_new : Not enough resources to create list");
    EXPECT_EQ(refused(1, 65536), "list_new : Not enough resources to create list");
    EXPECT_NE(List(list_new(1, 65535, nullptr)), nullptr);

    // The last step is cut short, so that exactly 65535 elements fit.
    const List list(list_new(40000, 1, nullptr));
    const unsigned char byte = 7;
    for (int i = 0; i < 65535; ++i) ASSERT_EQ(list_insert(list.get(), &byte), i);
    EXPECT_EQ(message_of([&] { EXPECT_EQ(list_insert(list.get(), &byte), -1); }), kNoRoom);
    EXPECT_EQ(message_of([&] { EXPECT_EQ(list_insert_index(list.get(), &byte, 3, 0), -1); }),
              kNoRoom);
    EXPECT_EQ(message_of([&] { EXPECT_EQ(list_alloc(list.get(), 65536), -1); }), kNoRoom);
    EXPECT_EQ(list_num(list.get()), 65535);

    const List sparse(list_new(10, 1, nullptr));
    EXPECT_EQ(message_of([&] { EXPECT_EQ(list_insert_index(sparse.get(), &byte, 65535, 0), -1); }),
              kNoRoom);
    EXPECT_EQ(list_insert_index(sparse.get(), &byte, 65534, 0), 65534);
}

// As many slots as there are move the elements, fewer leave them: that shows the capacity.
bool has_capacity(movane_list* list, int slots) {
    const void* before = list_get_element(list, 0);
    list_alloc(list, slots - 1);
    const bool has_as_many = list_get_element(list, 0) == before;
    list_alloc(list, slots);
    return has_as_many && list_get_element(list, 0) != before;
}

TEST(List, GrowsByItsStep) {
    const Pair pair{1, 1};
    const auto list_of = [&](int elements) {
        List list(list_new(0, sizeof(Pair), nullptr));
        for (int i = 0; i < elements; ++i) list_insert(list.get(), &pair);
        return list;
    };
    EXPECT_TRUE(has_capacity(list_of(10).get(), 10));
    EXPECT_TRUE(has_capacity(list_of(11).get(), 20));
    const List touched = list_of(3);
    list_insert_index(touched.get(), &pair, 14, 0);
    EXPECT_TRUE(has_capacity(touched.get(), 25));
    const List full = list_of(10);
    list_insert_index(full.get(), &pair, 2, 1);
    EXPECT_TRUE(has_capacity(full.get(), 20));
    list_alloc(full.get(), 33);
    EXPECT_TRUE(has_capacity(full.get(), 33));
}

TEST(List, MakesRoomAhead) {
    const List list(list_new(10, sizeof(Pair), nullptr));
    const Pair pair{1, 2};
    list_insert(list.get(), &pair);
    const void* before = list_get_element(list.get(), 0);
    EXPECT_EQ(list_alloc(list.get(), 9), 0);
    EXPECT_EQ(list_alloc(list.get(), -5), 0);
    EXPECT_EQ(list_get_element(list.get(), 0), before);
    EXPECT_EQ(list_alloc(list.get(), 10), 0);  // as many as there are: a new area all the same
    EXPECT_NE(list_get_element(list.get(), 0), before);
    EXPECT_EQ(list_alloc(list.get(), 500), 0);
    EXPECT_EQ(contents(list.get()), std::vector<Pair>{pair});
    EXPECT_EQ(list_get_ext(list.get()), 10);
}

TEST(List, OrdersDoublesWithTheReadyMadePredicate) {
    const List list(list_new(0, sizeof(double), xsort_int));
    std::vector<int> positions;
    for (const double value : {3.0, 1.0, 2.0, 2.0})
        positions.push_back(list_insert(list.get(), &value));
    EXPECT_EQ(positions, (std::vector<int>{0, 0, 1, 2}));
    const double nan = std::numeric_limits<double>::quiet_NaN(), one = 1.0;
    EXPECT_EQ(xsort_int(&nan, &one) + xsort_int(&one, &nan) + xsort_int(&one, &one), 0);
}

}  // namespace
