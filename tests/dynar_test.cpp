// Dynamic arrays: what is touched exists, what was written stays, what is new is zero.

#include "movane/foundation.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <random>

using namespace movane_tests;

TEST(Dynar, KeepsWhatWasWrittenAndZeroesTheRest) {
    for (const int growth : {0, 1, 7}) {
        const Handle array(dynar_new(sizeof(int), growth), dynar_kill);
        EXPECT_EQ(dynar_nr_items(array), 0);
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
    }
}

TEST(Dynar, GrowsByItsStepBeyondTheTouchedIndex) {
    const Handle array(dynar_new(1, 0), dynar_kill);
    for (const int touched : {0, 25}) {
        const char* const element = static_cast<char*>(dynar_ptr(array, touched));
        EXPECT_EQ(dynar_nr_items(array), touched + 1);
        EXPECT_EQ(dynar_ptr(array, touched + 9), element + 9);  // there already
    }
}

TEST(Dynar, RefusesWhatCannotBe) {
    const MessageCapture posted;
    const Handle array(dynar_new(4, 0), dynar_kill);
    expect_failed(dynar_ptr(array, -1), nullptr, "dynar_ptr: illegal index");
    for (const int size : {0, -1})
        expect_failed(Handle(dynar_new(size, 1), dynar_kill), nullptr,
                      "dynar_new: Unable to create new dynar");
}

TEST(DynarDeathTest, EndsTheProcessWhenItCannotGrow) {
    const Handle array(dynar_new(INT_MAX, 5), dynar_kill);
    EXPECT_EXIT(dynar_ptr(array, INT_MAX - 4), testing::ExitedWithCode(1),
                "ERROR  : dynar_ptr: memory allocation failed");
}
