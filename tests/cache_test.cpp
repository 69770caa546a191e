// The block cache against a plain model of its rules, and rule by rule.

#include "movane/foundation.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using movane_tests::message_of;

// What the callbacks tell and see; items are filled with their number and the count of loads.
struct Source {
    std::map<int, int> bytes;
    std::vector<int> loaded;

    static int size(void* context, int item) { return static_cast<Source*>(context)->bytes[item]; }
    static void load(void* context, int item, void* where) {
        auto& source = *static_cast<Source*>(context);
        source.loaded.push_back(item);
        std::fill_n(static_cast<unsigned char*>(where), source.bytes[item],
                    static_cast<unsigned char>(item));
    }
};

class Cache {
public:
    Cache(int items, int blocks, int block_size)
        : cache_(cache_new(items, blocks, block_size, Source::size, Source::load, &source)),
          block_size_(block_size) {}
    ~Cache() { EXPECT_EQ(cache_kill(cache_), 0); }
    Cache(const Cache&)            = delete;
    Cache& operator=(const Cache&) = delete;

    /// First block of the item, "-" for null, with a "+" when it was loaded.
    std::string get(int item) {
        source.loaded.clear();
        const auto* data = static_cast<unsigned char*>(cache_get(cache_, item));
        if (!data) return source.loaded.empty() ? "-" : "loaded in vain";
        for (int i = 0; i < source.bytes[item]; ++i) EXPECT_EQ(data[i], item) << "at byte " << i;
        if (!pool_) pool_ = data;  // the first item stands at the start
        return std::to_string((data - pool_) / block_size_) + (source.loaded.empty() ? "" : "+");
    }
    int lock(int item) { return cache_lock(cache_, item, 1); }
    int unlock(int item) { return cache_lock(cache_, item, 0); }
    movane_cache* handle() { return cache_; }

    Source source;

private:
    movane_cache* cache_;
    int block_size_;
    const unsigned char* pool_ = nullptr;
};

TEST(Cache, EvictsRoundRobin) {
    Cache cache(9, 6, 10);
    cache.source.bytes = {{1, 20}, {2, 11}, {3, 1}, {4, 10}, {5, 60}, {6, 61}, {7, 0}, {8, -5}};
    EXPECT_EQ(cache.get(1), "0+");
    EXPECT_EQ(cache.get(2), "2+");
    EXPECT_EQ(cache.get(1), "0");
    EXPECT_EQ(cache.get(3), "4+");
    EXPECT_EQ(cache.get(4), "5+");
    EXPECT_EQ(cache.get(9), "-");  // no bytes known
    EXPECT_EQ(cache.get(7), "-");
    EXPECT_EQ(cache.get(8), "-");
    EXPECT_EQ(cache.get(6), "-");  // larger than the pool
    EXPECT_EQ(cache.get(5), "0+");
    EXPECT_EQ(cache.get(3), "0+");  // the rover starts over; item 5 is gone as a whole
    EXPECT_EQ(cache.get(4), "1+");
    EXPECT_EQ(cache.get(3), "0");
    EXPECT_EQ(cache_flush(cache.handle()), 1);
    EXPECT_EQ(cache.get(4), "0+");
}

TEST(Cache, RestartsWhenTheRestIsTooShort) {
    Cache cache(2, 4, 10);
    cache.source.bytes = {{1, 25}, {2, 25}};
    EXPECT_EQ(cache.get(1), "0+");
    EXPECT_EQ(cache.get(2), "0+");
    EXPECT_EQ(cache.get(1), "0+");
}

TEST(Cache, GoesRoundLockedItems) {
    Cache cache(6, 6, 10);
    cache.source.bytes = {{1, 20}, {2, 20}, {3, 20}, {4, 20}, {5, 30}, {6, 10}};
    for (const int item : {1, 2, 3}) cache.get(item);
    EXPECT_EQ(cache.lock(2), 1);
    EXPECT_EQ(cache.lock(2), 1);
    EXPECT_EQ(cache_lock_get(cache.handle(), 2), 2);
    EXPECT_EQ(cache.get(5), "-");  // no three blocks beside item 2
    EXPECT_EQ(cache.get(1), "0");  // and nothing was lost in trying
    EXPECT_EQ(cache.get(6), "0+");
    EXPECT_EQ(cache.get(4), "4+");  // the one block before item 2 is not enough
    EXPECT_EQ(cache.unlock(2), 1);
    EXPECT_EQ(cache.get(5), "-");
    EXPECT_EQ(cache.unlock(2), 1);
    EXPECT_EQ(cache.unlock(2), 1);  // none is left
    EXPECT_EQ(cache_lock_get(cache.handle(), 2), 0);
    EXPECT_EQ(cache.get(5), "0+");
    EXPECT_EQ(cache.get(4), "4");

    EXPECT_EQ(cache.lock(5), 1);
    EXPECT_EQ(cache_delete(cache.handle(), 5), 1);  // locked or not
    EXPECT_EQ(cache_lock_get(cache.handle(), 5), 0);
    EXPECT_EQ(cache_delete(cache.handle(), 5), 0);
    EXPECT_EQ(cache.lock(5), 0);
    EXPECT_EQ(cache.get(1), "3+");
    cache.lock(1);
    cache_flush(cache.handle());
    EXPECT_EQ(cache_lock_get(cache.handle(), 1), 0);
}

TEST(Cache, FreesTheTailOfAnEvictedItem) {
    Cache cache(4, 4, 10);
    cache.source.bytes = {{1, 30}, {2, 10}, {3, 30}, {4, 20}};
    EXPECT_EQ(cache.get(2), "0+");
    EXPECT_EQ(cache.get(1), "1+");
    cache.lock(2);
    EXPECT_EQ(cache.get(4), "1+");  // evicts item 1, whose block 3 becomes free
    EXPECT_EQ(cache.lock(4), 1);
    EXPECT_EQ(cache.lock(1), 0);
    cache.unlock(2);
    EXPECT_EQ(cache.get(2), "0");
    EXPECT_EQ(cache.get(1), "-");
    cache.unlock(4);
    EXPECT_EQ(cache.get(1), "0+");
}

TEST(Cache, ChecksNumbers) {
    Cache cache(3, 4, 10);
    for (const int item : {0, -1, 4, INT_MAX, INT_MIN}) {
        const auto refused = [&](auto call, auto failure) {
            return message_of([&] { EXPECT_EQ(call(cache.handle(), item), failure); });
        };
        EXPECT_EQ(refused(cache_get, nullptr), " Cache_delete illegal item_id");
        EXPECT_EQ(refused(cache_delete, 0), "Cache_delete: illegal item_id");
        EXPECT_EQ(refused([](auto* c, int i) { return cache_lock(c, i, 1); }, 0),
                  "Cache_lock: illegal item_id");
        EXPECT_EQ(refused(cache_lock_get, -1), "");
    }
    const int refused[][3] = {{0, 1, 1}, {1, 0, 1}, {1, 1, 0}, {-1, -1, -1}};
    for (const auto& [items, blocks, size] : refused) {
        EXPECT_EQ(message_of([&] {
                      EXPECT_EQ(cache_new(items, blocks, size, Source::size, Source::load, nullptr),
                                nullptr);
                  }),
                  "");
    }
    EXPECT_EQ(cache_kill(nullptr), 0);
}

// The rules written out on sets of blocks, without any of the cache's shortcuts.
class Model {
public:
    Model(int items, int blocks)
        : resident_(static_cast<std::size_t>(items) + 1, -1),
          locks_(resident_.size()),
          lengths_(resident_.size()),
          owners_(static_cast<std::size_t>(blocks)) {}

    /// First block of the item; -1 when there is no room.
    int get(int item, int blocks) {
        if (at(resident_, item) >= 0) return at(resident_, item);
        const int start = room(blocks);
        if (start < 0) return -1;
        const int behind = start + blocks;
        const int cut    = at(owners_, behind - 1);
        for (int i = start; i < behind; ++i) {
            at(resident_, at(owners_, i)) = -1;
            at(owners_, i)                = item;
        }
        for (int i = behind; cut > 0 && i < size() && at(owners_, i) == cut; ++i)
            at(owners_, i) = 0;
        at(resident_, item) = start;
        at(lengths_, item)  = blocks;
        rover_              = behind;
        return start;
    }

    bool lock(int item, int change) {
        if (at(resident_, item) < 0) return false;
        at(locks_, item) = std::max(0, at(locks_, item) + change);
        return true;
    }

    bool remove(int item) {
        const int start = at(resident_, item);
        if (start < 0) return false;
        for (int i = 0; i < at(lengths_, item); ++i) at(owners_, start + i) = 0;
        at(resident_, item) = -1;
        at(locks_, item)    = 0;
        return true;
    }

    int locks(int item) { return at(locks_, item); }

private:
    static int& at(std::vector<int>& all, int i) { return all[static_cast<std::size_t>(i)]; }
    int size() const { return static_cast<int>(owners_.size()); }

    // Starts from the rover to the last one, then from 0 on to it.
    int room(int blocks) {
        const int last  = size() - blocks;
        const int first = rover_ > last ? 0 : rover_;
        for (int i = first; i <= last; ++i)
            if (is_open(i, blocks)) return i;
        for (int i = 0; i < first; ++i)
            if (is_open(i, blocks)) return i;
        return -1;
    }
    bool is_open(int start, int blocks) {
        for (int i = start; i < start + blocks; ++i)
            if (at(locks_, at(owners_, i)) != 0) return false;
        return true;
    }

    std::vector<int> resident_, locks_, lengths_, owners_;
    int rover_ = 0;
};

TEST(Cache, FollowsItsModel) {
    constexpr int kItems = 12, kBlocks = 9, kBlockSize = 4;
    Cache cache(kItems, kBlocks, kBlockSize);
    Model model(kItems, kBlocks);
    std::mt19937 random(6);
    for (int item = 1; item <= kItems; ++item) cache.source.bytes[item] = 1 + item * 5 % 19;
    for (int i = 0; i < 20000; ++i) {
        SCOPED_TRACE(i);
        const int item = 1 + static_cast<int>(random() % kItems);
        switch (random() % 8) {
            case 0:
                ASSERT_EQ(cache_delete(cache.handle(), item), model.remove(item));
                break;
            case 1:
                ASSERT_EQ(cache.lock(item), model.lock(item, 1));
                break;
            case 2:
            case 3:
                ASSERT_EQ(cache.unlock(item), model.lock(item, -1));
                break;
            default: {
                const int start = model.get(item, (cache.source.bytes[item] - 1) / kBlockSize + 1);
                const std::string got = cache.get(item);
                ASSERT_EQ(got.substr(0, got.find('+')), start < 0 ? "-" : std::to_string(start));
            }
        }
        ASSERT_EQ(cache_lock_get(cache.handle(), item), model.locks(item));
    }
}

}  // namespace
