// Dynamic arrays: what is touched exists, what was written stays, what is new is zero.

#include "movane/foundation.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <random>

namespace {

using movane_tests::message_of;

TEST(Dynar, KeepsWhatWasWrittenAndZeroesTheRest) {
    for (const int growth : {0, 1, 7}) {
        movane_dynar* array = dynar_new(sizeof(int), growth);
        std::map<int, int> model;
        std::mt19937 random(2);
        for (int i = 1; i < 300; ++i) {
            const int index = static_cast<int>(random() % static_cast<unsigned>(i));
            int* element    = static_cast<int*>(dynar_ptr(array, index));
            ASSERT_EQ(*element, model.contains(index) ? model[index] : 0);
            *element = model[index] = i;
            ASSERT_EQ(dynar_nr_items(array), model.rbegin()->first + 1);
        }
        for (const auto& [index, value] : model)
            ASSERT_EQ(*static_cast<int*>(dynar_ptr(array, index)), value);
        EXPECT_EQ(dynar_kill(array), nullptr);
    }
}

TEST(Dynar, GrowsByItsStepBeyondTheTouchedIndex) {
    movane_dynar* array = dynar_new(4, 0);
    EXPECT_EQ(dynar_nr_items(array), 0);
    void* first = dynar_ptr(array, 0);
    EXPECT_EQ(dynar_nr_items(array), 1);
    EXPECT_EQ(dynar_ptr(array, 9), static_cast<char*>(first) + 36);  // ten slots at once
    EXPECT_EQ(dynar_ptr(array, 0), first);
    void* moved = dynar_ptr(array, 25);
    EXPECT_EQ(dynar_nr_items(array), 26);
    EXPECT_EQ(dynar_ptr(array, 34), static_cast<char*>(moved) + 36);  // 35 slots
    dynar_kill(array);
}

TEST(Dynar, RefusesWhatCannotBe) {
    movane_dynar* array = dynar_new(4, 0);
    EXPECT_EQ(message_of([&] { EXPECT_EQ(dynar_ptr(array, -1), nullptr); }),
              "dynar_ptr: illegal index");
    for (const int size : {0, -1})
        EXPECT_EQ(message_of([&] { EXPECT_EQ(dynar_new(size, 1), nullptr); }),
                  "dynar_new: Unable to create new dynar");
    EXPECT_EQ(dynar_kill(nullptr), nullptr);
    dynar_kill(array);
}

TEST(DynarDeathTest, EndsTheProcessWhenItCannotGrow) {
    movane_dynar* array = dynar_new(INT_MAX, 5);
    EXPECT_EXIT(dynar_ptr(array, INT_MAX - 4), testing::ExitedWithCode(1),
                "ERROR  : dynar_ptr: memory allocation failed");
    dynar_kill(array);
}

}  // namespace
