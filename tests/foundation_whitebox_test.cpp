// The foundation without memory: every creation and growth refused, one allocation at a time.

#include "movane/foundation.h"

#include "Engine/runtime.h"
#include "support/allocation_failures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

namespace {

using namespace movane_tests;

using movane::testing::end_refusals;
using movane::testing::refuse_allocations_after;
using movane::testing::Shortage;

TEST(FoundationWithoutMemory, CreationReportsAndLeavesNothing) {
    check_every_allocation_failure("list_new", "list_new : Not enough resources to create list",
                                   [] { return made(list_new(5, 8, nullptr), list_kill); });
    check_every_allocation_failure("dynar_new", "dynar_new: Unable to create new dynar",
                                   [] { return made(dynar_new(8, 1), dynar_kill); });
    check_every_allocation_failure("itemfifo_new", "itemfifo_new: Unable to create new itemfifo",
                                   [] { return made(itemfifo_new(8, 1), itemfifo_kill); });
    check_every_allocation_failure("cache_new", "cache_new: not enough resources", [] {
        return made(cache_new(3, 4, 5, nullptr, nullptr, nullptr), cache_kill);
    });
    EXPECT_EQ(movane::allocate(SIZE_MAX / 2, 3), nullptr);  // as for a pool whose size wraps
}

// The first byte of a string store is a dynamic array's growth, which ends the process; all other
// allocations of a hash table are refused here one by one.
TEST(FoundationWithoutMemoryDeathTest, HashTablesReportAndLeaveNothing) {
    using Make                 = movane_hash_tab* (*)();
    const Make makes[]         = {[] {
                              int size;
                              return hash_tab_new(10, -1, -2, nullptr, nullptr, nullptr, nullptr,
                                                          &size);
                          },
                                  [] {
                              const char slots[6 * 13] = {};
                              return hash_tab_newset(nullptr, 13, -1, -2, nullptr, nullptr, nullptr,
                                                             slots, "a", 2, "b", 2);
                          }};
    const std::string no_slots = "Hash_tab_new : allocation of table failed nr_items = 13",
                      no_store = "dynar_new: Unable to create new dynar";
    const std::map<int, std::string> refusals = {{0, "Hash_tab_new : allocation failed"},
                                                 {1, no_slots},
                                                 {2, no_slots},
                                                 {3, no_store},
                                                 {5, no_store}};
    const MessageCapture posted;
    const long blocks = movane::testing::live_blocks();
    for (const Make make : makes) {
        for (const auto& [passes, message] : refusals) {
            for (const Shortage shortage : {Shortage::passing, Shortage::lasting}) {
                refuse_allocations_after(passes, shortage);
                expect_failed(make(), nullptr, message);
                EXPECT_EQ(movane::testing::live_blocks(), blocks);
            }
        }
        refuse_allocations_after(4, Shortage::passing);
        EXPECT_EXIT(make(), testing::ExitedWithCode(1),
                    "ERROR  : dynar_ptr: memory allocation failed");
        refuse_allocations_after(7, Shortage::lasting);  // all that there are
        EXPECT_TRUE(made(make(), hash_tab_kill));
        EXPECT_EQ(end_refusals(), 0);
    }
}

TEST(FoundationWithoutMemory, GrowthReportsAndChangesNothing) {
    check_every_allocation_failure("itemfifo_put", "", [] {
        movane_itemfifo* const fifo = itemfifo_new(sizeof(int), 2);
        if (!fifo) return false;
        int queued = 0;
        while (queued < 5 && itemfifo_put(fifo, &queued)) ++queued;
        EXPECT_EQ(MessageCapture::take(),
                  queued == 5 ? "" : "itemfifo_put: unable to create new partition");
        EXPECT_EQ(itemfifo_nr_items(fifo), queued);
        for (int i = 0, item = -1; i < queued; ++i) {
            EXPECT_EQ(itemfifo_get(fifo, &item), 1);
            EXPECT_EQ(item, i);
        }
        return made(fifo, itemfifo_kill) && queued == 5;
    });
    const double value     = 1.0;
    using Growth           = int (*)(movane_list*, const void*);
    const Growth growths[] = {
        list_insert,
        [](movane_list* list, const void* x) { return list_insert_index(list, x, 9, 1); },
        [](movane_list* list, const void*) { return list_alloc(list, 9); }};
    for (const Growth grow : growths) {
        check_every_allocation_failure("list growth", "", [&] {
            movane_list* const list = list_new(1, sizeof value, xsort_int);
            if (!list) return false;
            list_insert(list, &value);
            const bool grown = grow(list, &value) >= 0;
            if (!grown)
                expect_failed(list_num(list), 1,
                              "list_insert : Unable to extend list, insufficient resources");
            EXPECT_EQ(*static_cast<double*>(list_get_element(list, 0)), value);
            return made(list, list_kill) && grown;
        });
    }
}

TEST(FoundationWithoutMemory, TheReporterStaysUsable) {
    error_set(3);
    for (const int passes : {0, 1}) {
        refuse_allocations_after(passes, Shortage::lasting);
        EXPECT_EQ(error_set(2), 3);
        end_refusals();
        EXPECT_EQ(error_get(), nullptr);  // the list's own message is dropped
        error_mess_fl("kept", "", 0);
        EXPECT_STREQ(error_get(), "ERROR : kept");
    }
    EXPECT_EQ(error_set(2), 3);
    for (int i = 0; i < 50; ++i) error_mess_fl(std::to_string(100 + i).c_str(), "", 0);
    refuse_allocations_after(0, Shortage::lasting);
    error_mess_fl("999", "", 0);
    EXPECT_EQ(end_refusals(), 1);
    EXPECT_STREQ(error_get(), "ERROR : 149");
    error_mess_fl("now there is room", "", 0);
    EXPECT_STREQ(error_get(), "ERROR : now there is room");
    error_set(1);
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

// --- object lists ------------------------------------------------------------------------------

struct Factory : TObjFac {
    using TObjFac::GetRefc;
    using TObjFac::IncrRefc;
    TObjEl* TObjFacCreateEl(void* object) override { return new TObjEl(object); }
};

template <class Object>
bool deleted(Object* object) {
    delete object;
    return object != nullptr;
}

TEST(FoundationWithoutMemory, NewOfItsClassesGivesNull) {
    const std::vector<std::string> silent(1);
    check_every_allocation_failure("TList", silent, [] { return deleted(new TList); });
    check_every_allocation_failure("TObjList", silent, [] { return deleted(new TObjList); });
    check_every_allocation_failure("TObjEl", silent, [] { return deleted(new TObjEl(nullptr)); });
    check_every_allocation_failure("TCriticSect", silent,
                                   [] { return deleted(new TCriticSect("lock", 1)); });
}

TEST(FoundationWithoutMemory, AFactoryStaysUsable) {
    char object, name[8];
    check_every_allocation_failure("TObjFac", "", [&] {
        auto* const factory = new Factory;
        if (!factory) return false;
        const bool has_list = factory->ErrNo() != 1;
        EXPECT_EQ(factory->IncrRefc(&object), 0);
        const bool is_registered = factory->GetNrObj() == 1;
        EXPECT_LE(is_registered, has_list);
        EXPECT_EQ(factory->GetRefc(&object), is_registered);
        EXPECT_EQ(factory->ScanObject(1), is_registered ? &object : nullptr);
        EXPECT_EQ(factory->GetCurrentScanObject() != nullptr, is_registered);
        EXPECT_EQ(factory->SetCurrentScanObject(nullptr) + factory->ScanReset(), 0);
        const bool has_names = factory->MakeRandomName("", name, sizeof name) == 0;
        EXPECT_EQ(MessageCapture::take(), has_names ? "" : "Random_new : allocation failed");
        factory->RemoveFromFactory(&object);
        factory->DecrRefc(&object);
        EXPECT_EQ(factory->GetNrObj(), 0);
        return deleted(factory) && is_registered && has_names;
    });
}

}  // namespace
