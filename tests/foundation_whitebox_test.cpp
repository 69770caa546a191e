// The foundation without memory: every creation and growth refused, one allocation at a time.

#include "movane/foundation.h"

#include "Engine/runtime.h"
#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using movane::testing::Shortage;
using movane_tests::check_every_allocation_failure;
using movane_tests::MessageCapture;

TEST(FoundationWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure("list_new", "list_new : Not enough resources to create list",
                                   [] {
                                       movane_list* list = list_new(5, 8, nullptr);
                                       list_kill(list);
                                       return list != nullptr;
                                   });
    check_every_allocation_failure("dynar_new", "dynar_new: Unable to create new dynar", [] {
        movane_dynar* array = dynar_new(8, 1);
        dynar_kill(array);
        return array != nullptr;
    });
}

TEST(FoundationWithoutMemory, QueuesAndCachesReportAndLeaveNothing) {
    check_every_allocation_failure("itemfifo_new", "itemfifo_new: Unable to create new itemfifo",
                                   [] {
                                       movane_itemfifo* fifo = itemfifo_new(8, 1);
                                       itemfifo_kill(fifo);
                                       return fifo != nullptr;
                                   });
    check_every_allocation_failure("itemfifo_put", "", [] {
        movane_itemfifo* fifo = itemfifo_new(sizeof(int), 2);
        if (!fifo) return false;
        int queued = 0;
        while (queued < 5 && itemfifo_put(fifo, &queued)) ++queued;
        const bool put = queued == 5;
        if (!put) {
            EXPECT_EQ(MessageCapture::take(), "itemfifo_put: unable to create new partition");
        }
        EXPECT_EQ(itemfifo_nr_items(fifo), queued);
        for (int i = 0, item = -1; i < queued - 1; ++i) {
            EXPECT_EQ(itemfifo_get(fifo, &item), 1);
            EXPECT_EQ(item, i);
        }
        itemfifo_kill(fifo);
        return put;
    });
    check_every_allocation_failure("cache_new", "cache_new: not enough resources", [] {
        movane_cache* cache = cache_new(3, 4, 5, nullptr, nullptr, nullptr);
        cache_kill(cache);
        return cache != nullptr;
    });
    if (sizeof(std::size_t) == sizeof(int)) {  // else every pool's size fits
        const long blocks = movane::testing::live_blocks();
        EXPECT_EQ(movane_tests::message_of([] {
                      EXPECT_EQ(cache_new(1, 65536, 65537, nullptr, nullptr, nullptr), nullptr);
                  }),
                  "cache_new: not enough resources");
        EXPECT_EQ(movane::testing::live_blocks(), blocks);
    }
}

// The first byte of a string store is a dynamic array's growth, which ends the process; all other
// allocations of a hash table are refused here one by one.
TEST(FoundationWithoutMemory, HashTablesReportAndLeaveNothing) {
    const auto make = [] {
        int size = -1;
        movane_hash_tab* table =
            hash_tab_new(10, -1, -2, nullptr, nullptr, nullptr, nullptr, &size);
        EXPECT_EQ(size, table ? 13 : 0);
        return table;
    };
    const auto import = [] {
        const unsigned char slots[6 * 13] = {};
        return hash_tab_newset(nullptr, 13, -1, -2, nullptr, nullptr, nullptr, slots, "a", 2, "b",
                               2);
    };
    const std::string no_slots = "Hash_tab_new : allocation of table failed nr_items = 13";
    const std::string no_store = "dynar_new: Unable to create new dynar";
    const struct {
        int passes;
        std::string message;
    } refusals[] = {{0, "Hash_tab_new : allocation failed"},
                    {1, no_slots},
                    {2, no_slots},
                    {3, no_store},
                    {5, no_store}};
    for (const auto& [passes, message] : refusals) {
        for (const Shortage shortage : {Shortage::passing, Shortage::lasting}) {
            const long blocks   = movane::testing::live_blocks();
            const auto refusing = [&, passes = passes](auto create) {
                return movane_tests::message_of([&] {
                    movane::testing::refuse_allocations_after(passes, shortage);
                    EXPECT_EQ(create(), nullptr);
                    EXPECT_GE(movane::testing::end_refusals(), 1);
                });
            };
            EXPECT_EQ(refusing(make), message);
            EXPECT_EQ(refusing(import), message);
            EXPECT_EQ(movane::testing::live_blocks(), blocks);
        }
    }
    movane::testing::refuse_allocations_after(7, Shortage::lasting);  // all that there are
    movane_hash_tab* table = make();
    EXPECT_EQ(movane::testing::end_refusals(), 0);
    hash_tab_kill(table);
}

TEST(FoundationWithoutMemory, ListGrowthReportsAndChangesNothing) {
    const double value     = 1.0;
    using Growth           = int (*)(movane_list*, const double*);
    const Growth growths[] = {
        [](movane_list* list, const double* x) { return list_insert(list, x); },
        [](movane_list* list, const double* x) { return list_insert_index(list, x, 9, 1); },
        [](movane_list* list, const double*) { return list_alloc(list, 9); },
    };
    for (const Growth grow : growths) {
        check_every_allocation_failure("list growth", "", [&] {
            movane_list* list = list_new(1, sizeof value, xsort_int);
            if (!list) return false;
            list_insert(list, &value);
            const bool grown = grow(list, &value) >= 0;
            if (!grown) {
                EXPECT_EQ(MessageCapture::take(),
                          "list_insert : Unable to extend list, insufficient resources");
                EXPECT_EQ(list_num(list), 1);
                EXPECT_EQ(*static_cast<double*>(list_get_element(list, 0)), value);
            }
            list_kill(list);
            return grown;
        });
    }
}

TEST(FoundationWithoutMemory, AFailedCollectionKeepsThePreviousMode) {
    error_set(3);
    for (const int passes : {0, 1}) {
        movane::testing::refuse_allocations_after(passes, Shortage::lasting);
        EXPECT_EQ(error_set(2), 3);
        movane::testing::end_refusals();
        EXPECT_EQ(error_get(), nullptr);  // the list's own message is dropped
        error_mess_fl("kept", "", 0);
        EXPECT_STREQ(error_get(), "ERROR : kept");
    }
    EXPECT_EQ(error_set(1), 3);
}

TEST(FoundationWithoutMemory, AFullCollectionLosesTheMessageOnly) {
    error_set(2);
    for (int i = 0; i < 50; ++i) error_mess_fl(std::to_string(100 + i).c_str(), "", 0);
    movane::testing::refuse_allocations_after(0, Shortage::lasting);
    error_mess_fl("999", "", 0);
    EXPECT_EQ(movane::testing::end_refusals(), 1);
    EXPECT_STREQ(error_get(), "ERROR : 149");
    error_mess_fl("now there is room", "", 0);
    EXPECT_STREQ(error_get(), "ERROR : now there is room");
    error_set(1);
}

TEST(FoundationWithoutMemoryDeathTest, AnArrayThatCannotGrowEndsTheProcess) {
    EXPECT_EXIT(
        {
            movane_dynar* array = dynar_new(8, 1);
            movane::testing::refuse_allocations_after(0, Shortage::passing);
            dynar_ptr(array, 3);
        },
        testing::ExitedWithCode(1), "ERROR  : dynar_ptr: memory allocation failed");
}

TEST(FoundationWithoutMemoryDeathTest, AStringStoreThatCannotGrowEndsTheProcess) {
    EXPECT_EXIT(
        {
            int size = 0;
            movane::testing::refuse_allocations_after(4, Shortage::passing);
            hash_tab_new(10, -1, 4, nullptr, nullptr, nullptr, nullptr, &size);
        },
        testing::ExitedWithCode(1), "ERROR  : dynar_ptr: memory allocation failed");
}

TEST(Runtime, FillsTemplatesWithinTheLine) {
    char line[512];
    fmtstr(line, "'#'", "a#'", -2147483647 - 1, "");
    EXPECT_STREQ(line, "a#'-2147483648");
    fmtstr(line, "no placeholder 100%s");
    EXPECT_STREQ(line, "no placeholder 100%s");
    fmtstr(line, "''#", std::string(510, 'x').c_str(), "yz", 7);
    EXPECT_EQ(std::string(line), std::string(510, 'x') + "y");
}

}  // namespace
