// Dynamic lists against a plain model, and the corners where counters and indices end.

#include "movane/foundation.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace movane_tests;

using List = Handle<movane_list, movane_list*>;

// Elements are 1000 times their key and a serial number: a test sees which of two equals it got.
int key_of(const void* element) { return *static_cast<const int*>(element) / 1000; }
int greater(const void* element, const void* key) { return key_of(element) > key_of(key); }
int not_less(const void* element, const void* key) { return key_of(element) >= key_of(key); }
int differs(const void* element, const void* key) { return key_of(element) != key_of(key); }

List list_of(int initial, const std::vector<int>& elements, list_predicate ordering = nullptr) {
    List list(list_new(initial, sizeof(int), ordering), list_kill);
    for (const int element : elements) list_insert(list, &element);
    return list;
}

std::vector<int> contents(const List& list) {
    const auto* const first = static_cast<const int*>(list_get_element(list, 0));
    return {first, first + list_num(list)};
}

TEST(List, InsertsRemovesAndFindsLikeAPlainVector) {
    for (const list_predicate ordering : {list_predicate{nullptr}, {greater}, {not_less}}) {
        std::mt19937 random(1);
        const List list = list_of(3, {}, ordering);
        std::vector<int> model{0};
        list_insert(list, &model[0]);
        for (int serial = 0; serial < 600; ++serial) {
            const int element   = static_cast<int>(random() % 40) * 1000 + serial;
            const auto equals   = [&](int e) { return !differs(&e, &element); };
            const auto is_after = [&](int e) { return ordering && ordering(&e, &element); };
            const auto border   = std::find_if(model.begin(), model.end(), is_after);
            const auto position = border - model.begin();
            EXPECT_EQ(list_pos(list, &element), position);

            // A sorted list looks at the border only, a plain one at every element.
            auto match = ordering ? border : std::find_if(model.begin(), model.end(), equals);
            if (match != model.end() && !equals(*match)) match = model.end();
            EXPECT_EQ(list_search_el(list, &element, differs),
                      match == model.end() ? -1 : match - model.begin());

            const auto low    = static_cast<int>(random() % model.size());
            const auto high   = static_cast<int>(random() % model.size());
            const auto behind = model.begin() + std::max(low, high + 1);
            const auto part   = std::find_if(model.begin() + low, behind, is_after);
            EXPECT_EQ(list_pos_range(list, &element, low, high, ordering),
                      ordering ? part - model.begin() : std::ssize(model));

            if (random() % 3 == 0 && model.size() > 1) {
                EXPECT_EQ(list_rem_element(list, low), 0);
                model.erase(model.begin() + low);
            } else {
                EXPECT_EQ(list_insert(list, &element), position);
                model.insert(border, element);
            }
            ASSERT_EQ(contents(list), model);
        }
    }
}

TEST(List, FillsSlotsByIndex) {
    // The count rises in every mode, and counted slots may be such as were never written.
    const struct {
        int index, mode, result;
        std::vector<int> contents;
    } rows[]          = {{1, 1, 1, {7, 9, 8, 6}}, {1, -1, 1, {8, 9, 6, 0}}, {1, 0, 1, {7, 9, 6, 0}},
                         {3, 1, 3, {7, 8, 6, 9}}, {7, 0, 7, {7, 8, 6, 0}},  {-1, 1, -1, {7, 8, 6}}};
    const int element = 9;
    for (const auto& row : rows) {
        const List list = list_of(4, {7, 8, 6});
        EXPECT_EQ(list_insert_index(list, &element, row.index, row.mode), row.result);
        EXPECT_EQ(contents(list), row.contents) << row.index << " in mode " << row.mode;
    }
}

TEST(List, GrowsByItsStep) {
    const int element = 9;
    const List full = list_of(0, std::vector<int>(11)), touched = list_of(7, {1, 2, 3});
    list_insert_index(touched, &element, 14, 0);
    for (const auto& [list, slots] : {std::pair<movane_list*, int>{full, 20}, {touched, 22}}) {
        // As many slots as there are move the elements, fewer leave them.
        const void* const before = list_get_element(list, 0);
        EXPECT_EQ(list_alloc(list, slots - 1), 0);
        EXPECT_EQ(list_get_element(list, 0), before);
        EXPECT_EQ(list_alloc(list, slots), 0);
        EXPECT_NE(list_get_element(list, 0), before);
    }
    EXPECT_EQ(list_get_ext(touched), 7);
    EXPECT_EQ(list_get_num(touched), 4);
    EXPECT_EQ(list_get_el_size(touched), 4);
}

TEST(List, ChecksIndices) {
    const MessageCapture posted;
    const List list   = list_of(0, {1});
    const int element = 9;
    EXPECT_EQ(list_changep(list, 0, &element), 0);
    for (const int index : {-1, 1, 70000}) {
        expect_failed(list_changep(list, index, list), -1, "list_changep : index out of bound");
        EXPECT_EQ(list_rem_element(list, index), 0);
        EXPECT_EQ(list_get_element(list, index), nullptr);
    }
    EXPECT_EQ(contents(list), std::vector{element});
    EXPECT_EQ(list_pos_range(list_of(0, {}), &element, 3, 5, greater), 0);
    EXPECT_EQ(list_num(nullptr), 0);
}

TEST(List, StopsWhereItsCountersEnd) {
    const MessageCapture posted;
    constexpr char kNoRoom[] = "list_insert : Unable to extend list, insufficient resources";
    // The last step is cut short, so that exactly 65535 elements fit.
    const List full(list_new(40000, 1, nullptr), list_kill);
    for (int i = 0; i < 65535; ++i) ASSERT_EQ(list_insert(full, "7"), i);
    expect_failed(list_insert(full, "7"), -1, kNoRoom);
    expect_failed(list_insert_index(full, "7", 3, 0), -1, kNoRoom);
    expect_failed(list_alloc(full, 65536), -1, kNoRoom);
    EXPECT_EQ(list_num(full), 65535);
    const List small(list_new(10, 1, nullptr), list_kill);
    expect_failed(list_insert_index(small, "7", 65535, 0), -1, kNoRoom);
    EXPECT_EQ(list_insert_index(small, "7", 65534, 0), 65534);

    EXPECT_NE(List(list_new(1, 65535, nullptr), list_kill), nullptr);
    for (const auto& [initial, size] : {std::pair{65536, 1U}, {1, 65536U}})
        expect_failed(List(list_new(initial, size, nullptr), list_kill), nullptr,
                      "list_new : Not enough resources to create list");
}

TEST(List, OrdersDoublesWithTheReadyMadePredicate) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), one = 1.5, two = 2.5;
    EXPECT_EQ(xsort_int(&two, &one), 1);
    EXPECT_EQ(xsort_int(&one, &two) + xsort_int(&one, &one), 0);
    EXPECT_EQ(xsort_int(&nan, &one) + xsort_int(&one, &nan), 0);
}

}  // namespace
