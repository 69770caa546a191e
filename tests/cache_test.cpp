// The block cache against a plain model of its rules.

#include "movane/foundation.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <utility>

namespace {

using namespace movane_tests;

constexpr int kItems = 12, kBlocks = 9, kBlockSize = 4;

// Item 1 has no bytes, item 2 fewer than that, item 3 needs more blocks than there are.
int bytes_of(int item) { return item < 3 ? 1 - item : item == 3 ? 37 : 1 + item * 5 % 19; }

int tell_size(void*, int item) { return bytes_of(item); }
void load(void* loads, int item, void* where) {
    ++*static_cast<int*>(loads);
    std::fill_n(static_cast<unsigned char*>(where), bytes_of(item),
                static_cast<unsigned char>(item));
}

// The rules written out on sets of blocks, without any of the cache's shortcuts.
class Model {
public:
    // First block of the item; -1 when there is no room.
    int get(int item) {
        const int blocks = (bytes_of(item) + kBlockSize - 1) / kBlockSize;
        if (starts[item] >= 0 || blocks < 1) return starts[item];
        const int start = room(blocks);
        if (start < 0) return -1;
        for (int i = start; i < start + blocks; ++i) {
            remove(owners[i]);
            owners[i] = item;
        }
        ++loads;
        rover               = start + blocks;
        return starts[item] = start;
    }
    bool lock(int item, int change) {
        if (starts[item] < 0) return false;
        locks[item] = std::max(0, locks[item] + change);
        return true;
    }
    bool remove(int item) {
        std::replace(std::begin(owners), std::end(owners), item, 0);
        locks[item] = 0;
        return std::exchange(starts[item], -1) >= 0;
    }
    void flush() {
        for (int item = 1; item <= kItems; ++item) remove(item);
        rover = 0;
    }

    int loads = 0, locks[kItems + 1] = {};

private:
    // Starts from the rover to the last one, then from 0 on to it.
    int room(int blocks) const {
        const int last = kBlocks - blocks, first = rover > last ? 0 : rover;
        for (int i = 0; i <= last; ++i)
            if (const int start = (first + i) % (last + 1); is_open(start, blocks)) return start;
        return -1;
    }
    bool is_open(int start, int blocks) const {
        return std::none_of(owners + start, owners + start + blocks,
                            [&](int owner) { return locks[owner] != 0; });
    }

    int owners[kBlocks] = {}, rover = 0;
    int starts[kItems + 1] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
};

TEST(Cache, FollowsItsModel) {
    int loads = 0;
    const Handle cache(cache_new(kItems, kBlocks, kBlockSize, tell_size, load, &loads), cache_kill);
    Model model;
    std::mt19937 random(6);
    const unsigned char* pool = nullptr;
    for (int i = 0; i < 30000; ++i) {
        SCOPED_TRACE(i);
        const int item    = 1 + static_cast<int>(random() % kItems);
        const auto action = random() % 128;
        if (action == 0) {
            ASSERT_EQ(cache_flush(cache), 1);
            model.flush();
        } else if (action < 16) {
            ASSERT_EQ(cache_delete(cache, item), model.remove(item));
        } else if (action < 32) {
            ASSERT_EQ(cache_lock(cache, item, 7), model.lock(item, 1));
        } else if (action < 64) {
            ASSERT_EQ(cache_lock(cache, item, 0), model.lock(item, -1));
        } else {
            const int start         = model.get(item);
            const auto* const bytes = static_cast<unsigned char*>(cache_get(cache, item));
            ASSERT_EQ(loads, model.loads);
            ASSERT_EQ(bytes != nullptr, start >= 0);
            if (!bytes) continue;
            if (!pool) pool = bytes;
            ASSERT_EQ(bytes - pool, start * kBlockSize);
            ASSERT_EQ(std::count(bytes, bytes + bytes_of(item), item), bytes_of(item));
        }
        ASSERT_EQ(cache_lock_get(cache, item), model.locks[item]);
    }
}

TEST(Cache, ChecksNumbers) {
    const MessageCapture posted;
    int loads = 0;
    const Handle cache(cache_new(3, 4, 10, tell_size, load, &loads), cache_kill);
    for (const int item : {0, -1, 4, INT_MAX, INT_MIN}) {
        expect_failed(cache_get(cache, item), nullptr, " Cache_delete illegal item_id");
        expect_failed(cache_delete(cache, item), 0, "Cache_delete: illegal item_id");
        expect_failed(cache_lock(cache, item, 1), 0, "Cache_lock: illegal item_id");
        expect_failed(cache_lock_get(cache, item), -1, "");
    }
    const int rows[][3] = {{0, 1, 1}, {1, 0, 1}, {1, 1, 0}, {-1, -1, -1}};
    for (const auto& [items, blocks, size] : rows)
        expect_failed(Handle(cache_new(items, blocks, size, tell_size, load, &loads), cache_kill),
                      nullptr, "");
}

}  // namespace
