// Block cache: numbered items of any size in a fixed pool of equal blocks.
//
// An item is loaded into a run of contiguous blocks; what stands in the way is evicted, unless it
// is locked. Runs are sought round-robin from a rover, so that recently loaded items stay longest.

#include "movane/foundation.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/cache"};

constexpr int kNobody = 0;  // the owner of a free block; its entry is never locked

struct Item {
    int first_block;
    int block_count;  // 0 while the item is not resident
    int lock_count;
};

}  // namespace

// Invariants: items holds nr_items + 1 entries; the blocks that an item owns are those of its run,
// and only resident items have runs or locks; 0 <= rover <= nr_blocks.
struct movane_cache {
    void* context;
    int nr_items;
    int nr_blocks;
    int block_size;
    movane::Block<Item> items;
    movane::Block<int> owners;
    movane::Block<unsigned char> pool;
    cache_size_function size;
    cache_load_function load;
    int rover;

    bool has_item(int item) const { return item >= 1 && item <= nr_items; }
    Item& entry(int item) const { return items[static_cast<std::size_t>(item)]; }
    int& owner(int block) const { return owners[static_cast<std::size_t>(block)]; }
    unsigned char* block(int index) const {
        return pool.get() + static_cast<std::size_t>(index) * static_cast<std::size_t>(block_size);
    }
};

namespace {

// The next start of a run of `blocks` blocks of which none is locked; -1 when there is none.
int find_run(const movane_cache& cache, int blocks) {
    const int last_start = cache.nr_blocks - blocks;
    int start            = cache.rover > last_start ? 0 : cache.rover;
    const int origin     = start;
    bool wrapped         = false;

    for (int counted = 0; counted < blocks;) {
        if (cache.entry(cache.owner(start + counted)).lock_count == 0) {
            ++counted;
            continue;
        }
        start += counted + 1;
        counted = 0;
        if (start > last_start) {
            if (wrapped) return -1;
            start   = 0;
            wrapped = true;
        }
        if (start == origin) return -1;
    }
    return start;
}

// A run starts at the pool's start, behind the last run or behind a locked block, never inside an
// item: what it evicts can reach beyond its end only.
void evict(movane_cache& cache, int start, int blocks) {
    const int end        = start + blocks;
    const int last_owner = cache.owner(end - 1);
    for (int i = start; i < end; ++i) {
        Item& evicted       = cache.entry(cache.owner(i));
        evicted.first_block = 0;
        evicted.block_count = 0;
        cache.owner(i)      = kNobody;
    }
    if (last_owner == kNobody) return;
    for (int i = end; i < cache.nr_blocks && cache.owner(i) == last_owner; ++i)
        cache.owner(i) = kNobody;
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

movane_cache* cache_new(int nr_items, int nr_blocks, int block_size, cache_size_function size,
                        cache_load_function load, void* context) {
    if (nr_items < 1 || nr_blocks < 1 || block_size < 1) return nullptr;
    if (auto cache = movane::create<movane_cache>()) {
        const auto blocks = static_cast<std::size_t>(nr_blocks);
        cache->context    = context;
        cache->nr_items   = nr_items;
        cache->nr_blocks  = nr_blocks;
        cache->block_size = block_size;
        cache->items      = movane::make_zeroed_block<Item>(static_cast<std::size_t>(nr_items) + 1);
        cache->owners     = movane::make_zeroed_block<int>(blocks);
        cache->pool.reset(static_cast<unsigned char*>(
            movane::allocate(blocks, static_cast<std::size_t>(block_size))));
        cache->size = size;
        cache->load = load;
        if (cache->items && cache->owners && cache->pool) return cache.release();
    }
    report("cache_new: not enough resources");
    return nullptr;
}

int cache_kill(movane_cache* cache) {
    movane::destroy(cache);
    return 0;
}

// --- operations --------------------------------------------------------------------------------

void* cache_get(movane_cache* cache, int item) {
    if (!cache->has_item(item)) {
        report(" Cache_delete illegal item_id");  // sic: hosts match on this text
        return nullptr;
    }
    Item& entry = cache->entry(item);
    if (entry.block_count != 0) return cache->block(entry.first_block);

    const int bytes = cache->size(cache->context, item);
    if (bytes < 1) return nullptr;
    const int blocks = (bytes - 1) / cache->block_size + 1;
    if (blocks > cache->nr_blocks) return nullptr;
    const int start = find_run(*cache, blocks);
    if (start < 0) return nullptr;
    evict(*cache, start, blocks);
    cache->rover = start + blocks;

    for (int i = start; i < start + blocks; ++i) cache->owner(i) = item;
    entry.first_block = start;
    entry.block_count = blocks;
    cache->load(cache->context, item, cache->block(start));
    return cache->block(start);
}

int cache_delete(movane_cache* cache, int item) {
    if (!cache->has_item(item)) {
        report("Cache_delete: illegal item_id");
        return 0;
    }
    Item& entry = cache->entry(item);
    if (entry.block_count == 0) return 0;
    std::fill_n(&cache->owner(entry.first_block), entry.block_count, kNobody);
    entry = Item{};
    return 1;
}

int cache_lock(movane_cache* cache, int item, int lock) {
    if (!cache->has_item(item)) {
        report("Cache_lock: illegal item_id");
        return 0;
    }
    Item& entry = cache->entry(item);
    if (entry.block_count == 0) return 0;
    if (lock != 0) {
        ++entry.lock_count;
    } else if (entry.lock_count > 0) {
        --entry.lock_count;
    }
    return 1;
}

int cache_lock_get(const movane_cache* cache, int item) {
    return cache->has_item(item) ? cache->entry(item).lock_count : -1;
}

int cache_flush(movane_cache* cache) {
    std::fill_n(cache->items.get(), static_cast<std::size_t>(cache->nr_items) + 1, Item{});
    std::fill_n(cache->owners.get(), cache->nr_blocks, kNobody);
    cache->rover = 0;
    return 1;
}
