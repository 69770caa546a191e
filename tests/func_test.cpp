// Function tables against a plain vector of points.

#include "movane/interpolation.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <utility>
#include <vector>

namespace {

using namespace movane_tests;

using Func = Handle<movane_func, int>;

// Keys are ints, values shorts, and the other way round in inverses.
int greater(const void* element, const void* key) {
    return *static_cast<const int*>(element) > *static_cast<const int*>(key);
}
int not_less(const void* element, const void* key) {
    return *static_cast<const int*>(element) >= *static_cast<const int*>(key);
}
int differs(const void* element, const void* key) {
    return *static_cast<const int*>(element) != *static_cast<const int*>(key);
}
int value_less(const void* element, const void* key) {
    return *static_cast<const short*>(element) < *static_cast<const short*>(key);
}

template <class Key, class Value>
std::vector<std::pair<Key, Value>> points_of(const movane_func* f) {
    std::vector<std::pair<Key, Value>> points;
    void *key, *value;
    for (int i = 0; func_get_point(f, i, &key, &value) == 0; ++i)
        points.emplace_back(*static_cast<Key*>(key), *static_cast<Value*>(value));
    EXPECT_EQ(std::ssize(points), func_num(f));
    return points;
}

TEST(Func, ActsLikeAPlainVector) {
    const MessageCapture posted;
    for (const func_predicate ordering : {func_predicate{nullptr}, {greater}, {not_less}}) {
        std::mt19937 random(1);
        const Func f(func_new(3, sizeof(int), sizeof(short), ordering), func_kill);
        std::vector<std::pair<int, short>> model;
        for (short serial = 0; serial < 300; ++serial) {
            const int key       = static_cast<int>(random() % 30),
                      at        = static_cast<int>(random() % 50) - 5;
            const short value   = static_cast<short>(serial % 100);
            const auto border   = std::find_if(model.begin(), model.end(), [&](const auto& p) {
                return ordering && ordering(&p.first, &key);
            });
            const auto position = static_cast<int>(border - model.begin());
            EXPECT_EQ(func_pos(f, &key), position);

            auto match = ordering ? border : std::find_if(model.begin(), model.end(), [&](auto& p) {
                return p.first == key;
            });
            if (match != model.end() && match->first != key) match = model.end();
            const bool is_found = match != model.end();
            void* found         = nullptr;
            EXPECT_EQ(func_search_el(f, &key, &found, differs),
                      is_found ? match - model.begin() : -1);
            EXPECT_TRUE(is_found ? *static_cast<short*>(found) == match->second : !found);

            const bool exists = at >= 0 && at < std::ssize(model);
            if (random() % 3 == 0) {
                EXPECT_EQ(func_rem_point(f, at), 0);
                if (exists) model.erase(model.begin() + at);
            } else if (random() % 8 == 0) {
                const int old = exists ? model[at].first : key;
                expect_failed(func_changep(f, at, &old, &value), exists ? at : -1,
                              exists ? "" : "list_changep : index out of bound");
                if (exists) model[at].second = value;
            } else {
                EXPECT_EQ(func_insert(f, &key, &value), position);
                model.insert(border, {key, value});
            }
            ASSERT_EQ((points_of<int, short>(f)), model);
        }
        void* untouched = nullptr;
        EXPECT_EQ(func_get_point(f, -1, &untouched, &untouched), -1);
        EXPECT_EQ(func_get_point(f, 70000, &untouched, &untouched), -1);
        EXPECT_EQ(untouched, nullptr);

        // The inverse takes the points in the old order, a value behind those that equal it.
        for (const func_predicate order : {func_predicate{nullptr}, {value_less}}) {
            std::vector<std::pair<short, int>> inverse;
            for (const auto& [key, value] : model) inverse.emplace_back(value, key);
            if (order)
                std::stable_sort(inverse.begin(), inverse.end(),
                                 [](auto& a, auto& b) { return a.first > b.first; });
            EXPECT_EQ((points_of<short, int>(Func(func_invert(f, order), func_kill))), inverse);
        }
    }
}

// Where an element stays tells whether there was room.
TEST(Func, MakesRoomAndRefusesSizes) {
    const MessageCapture posted;
    const Func f(func_new(2, sizeof(int), sizeof(short), greater), func_kill);
    const int key     = 1;
    const short value = 2;
    func_insert(f, &key, &value);
    std::array<void*, 2> first{}, same{}, moved{};
    func_get_point(f, 0, &first[0], &first[1]);
    EXPECT_EQ(func_alloc(f, 1), 0);
    func_get_point(f, 0, &same[0], &same[1]);
    EXPECT_EQ(func_alloc(f, 2), 0);
    func_get_point(f, 0, &moved[0], &moved[1]);
    EXPECT_TRUE(same == first && moved[0] != first[0] && moved[1] != first[1]);
    EXPECT_EQ(func_num(nullptr), 0);
    for (const auto& [ext, key_size, value_size] :
         {std::array{65536, 4, 4}, {1, -4, 4}, {1, 4, -4}})
        expect_failed(Func(func_new(ext, key_size, value_size, greater), func_kill), nullptr,
                      "func_new : unable to create new instance of function");
}

}  // namespace
