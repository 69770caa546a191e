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

// Keys are ints, values shorts; in inverses it is the other way round.
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
    for (const func_predicate ordering : {func_predicate{nullptr}, {not_less}}) {
        std::mt19937 random(1);
        const Func f(func_new(3, sizeof(int), sizeof(short), ordering), func_kill);
        std::vector<std::pair<int, short>> model;
        for (short value = 0; value < 300; ++value) {
            int key             = static_cast<int>(random() % 30);
            const auto at       = static_cast<int>(random() % 50) - 5;
            const bool exists   = at >= 0 && at < std::ssize(model);
            const auto equal    = [&](const auto& p) { return p.first == key; };
            const auto after    = [&](const auto& p) { return ordering && p.first >= key; };
            const auto border   = std::ranges::find_if(model, after);
            const auto match    = ordering && border != model.end() && !equal(*border)
                                      ? model.end()
                                      : std::ranges::find_if(model, equal);
            const auto position = static_cast<int>(border - model.begin());
            void* found         = nullptr;
            EXPECT_EQ(func_pos(f, &key), position);
            EXPECT_EQ(func_search_el(f, &key, &found, differs),
                      match == model.end() ? -1 : match - model.begin());
            EXPECT_EQ(found ? *static_cast<short*>(found) : -1,
                      match == model.end() ? -1 : match->second);
            if (random() % 3 == 0) {
                EXPECT_EQ(func_rem_point(f, at), 0);
                if (exists) model.erase(model.begin() + at);
            } else if (random() % 8 == 0) {
                if (exists) key = model[at].first;
                expect_failed(func_changep(f, at, &key, &value), exists ? at : -1,
                              exists ? "" : "list_changep : index out of bound");
                if (exists) model[at].second = value;
            } else {
                EXPECT_EQ(func_insert(f, &key, &value), position);
                model.insert(border, {key, value});
            }
            ASSERT_EQ((points_of<int, short>(f)), model);
        }
        void* untouched = nullptr;
        for (const int at : {-1, 70000})
            EXPECT_EQ(func_get_point(f, at, &untouched, &untouched), -1);
        EXPECT_EQ(untouched, nullptr);

        std::vector<std::pair<short, int>> inverse;
        for (const auto& [key, value] : model) inverse.emplace_back(value, key);
        EXPECT_EQ((points_of<short, int>(Func(func_invert(f, nullptr), func_kill))), inverse);
        std::ranges::sort(inverse, std::greater());
        EXPECT_EQ((points_of<short, int>(Func(func_invert(f, value_less), func_kill))), inverse);
    }
}

// Where a point stays tells whether there was room.
TEST(Func, MakesRoomAndRefusesSizes) {
    const MessageCapture posted;
    const Func f(func_new(2, sizeof(int), sizeof(short), not_less), func_kill);
    const int number   = 1;
    const auto located = [&](int room) {
        std::array<void*, 2> at{};
        EXPECT_EQ(func_alloc(f, room), 0);
        func_get_point(f, 0, &at[0], &at[1]);
        return at;
    };
    func_insert(f, &number, &number);
    const auto first = located(0), same = located(1), moved = located(2);
    EXPECT_TRUE(same == first && moved[0] != first[0] && moved[1] != first[1]);
    EXPECT_EQ(func_num(nullptr), 0);
    for (const auto& [ext, key_size, value_size] :
         {std::array{65536, 4, 4}, {1, -4, 4}, {1, 4, -4}})
        expect_failed(Func(func_new(ext, key_size, value_size, not_less), func_kill), nullptr,
                      "func_new : unable to create new instance of function");
}

}  // namespace
