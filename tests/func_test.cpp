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

using Func  = Handle<movane_func, int>;
using Point = std::pair<int, short>;  // key and value

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
    for (const func_predicate ordering : {func_predicate{nullptr}, {greater}, {not_less}}) {
        std::mt19937 random(1);
        const Func f(func_new(3, sizeof(int), sizeof(short), ordering), func_kill);
        std::vector<Point> model;
        for (short serial = 0; serial < 500; ++serial) {
            const int key       = static_cast<int>(random() % 30);
            const auto is_after = [&](const Point& p) {
                return ordering && ordering(&p.first, &key);
            };
            const auto border   = std::find_if(model.begin(), model.end(), is_after);
            const auto position = static_cast<int>(border - model.begin());
            EXPECT_EQ(func_pos(f, &key), position);

            auto match = ordering ? border
                                  : std::find_if(model.begin(), model.end(),
                                                 [&](const Point& p) { return p.first == key; });
            if (match != model.end() && match->first != key) match = model.end();
            void* value = nullptr;
            EXPECT_EQ(func_search_el(f, &key, &value, differs),
                      match == model.end() ? -1 : match - model.begin());
            EXPECT_TRUE(match == model.end() ? !value
                                             : *static_cast<short*>(value) == match->second);

            const auto at = static_cast<int>(random() % 70);
            if (random() % 3 == 0) {
                EXPECT_EQ(func_rem_point(f, at - 5), 0);
                if (at >= 5 && at - 5 < std::ssize(model)) model.erase(model.begin() + at - 5);
            } else if (random() % 8 == 0 && at < std::ssize(model)) {
                EXPECT_EQ(func_changep(f, at, &model[at].first, &serial), at);
                model[at].second = serial;
            } else {
                EXPECT_EQ(func_insert(f, &key, &serial), position);
                model.insert(border, {key, serial});
            }
            ASSERT_EQ((points_of<int, short>(f)), model);
        }
        // The inverse takes the points in the old order, a value behind those that equal it.
        for (auto& [key, value] : model) value = static_cast<short>(value % 10);
        for (int i = 0; i < std::ssize(model); ++i)
            func_changep(f, i, &model[i].first, &model[i].second);
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

TEST(Func, ChecksIndicesAndSizes) {
    const MessageCapture posted;
    const Func f(func_new(2, sizeof(int), sizeof(short), greater), func_kill);
    const int key     = 1;
    const short value = 2;
    func_insert(f, &key, &value);
    int untouched;
    void *key_at = &untouched, *value_at = &untouched;
    for (const int index : {-1, 1, 70000}) {
        EXPECT_EQ(func_get_point(f, index, &key_at, &value_at), -1);
        EXPECT_TRUE(key_at == &untouched && value_at == &untouched);
        EXPECT_EQ(func_rem_point(f, index), 0);
        expect_failed(func_changep(f, index, &key, &value), -1,
                      "list_changep : index out of bound");
    }
    EXPECT_EQ(func_num(f), 1);
    EXPECT_EQ(func_num(nullptr), 0);

    // As many points as there is room for leave the elements in their place.
    func_get_point(f, 0, &key_at, &value_at);
    void *key_before = key_at, *value_before = value_at;
    EXPECT_EQ(func_alloc(f, 1), 0);
    func_get_point(f, 0, &key_at, &value_at);
    EXPECT_TRUE(key_at == key_before && value_at == value_before);
    EXPECT_EQ(func_alloc(f, 2), 0);
    func_get_point(f, 0, &key_at, &value_at);
    EXPECT_TRUE(key_at != key_before && value_at != value_before);

    for (const auto& [ext, key_size, value_size] :
         {std::array{65536, 4, 4}, {1, -4, 4}, {1, 4, -4}})
        expect_failed(Func(func_new(ext, key_size, value_size, greater), func_kill), nullptr,
                      "func_new : unable to create new instance of function");
}

}  // namespace
