// Zone allocator: the free blocks of a pool form a chain through their own first bytes.

#include "Engine/zone.h"

#include "Support/memory.h"

#include <cstddef>
#include <new>

namespace {

constexpr std::size_t kWordBytes = 4;
constexpr std::size_t kAlignment = alignof(std::max_align_t);

struct FreeBlock {
    FreeBlock* next;
};

}  // namespace

struct cdl_zone {
    std::size_t block_bytes;
    std::size_t blocks_per_chunk;
    FreeBlock* first_free;
};

namespace {

void put_back(cdl_zone& zone, void* block) {
    zone.first_free = ::new (block) FreeBlock{zone.first_free};
}

void add_chunk(cdl_zone& zone) {
    auto chunk = movane::make_block<unsigned char>(zone.blocks_per_chunk * zone.block_bytes);
    if (!chunk) return;
    unsigned char* const blocks = chunk.release();
    for (std::size_t i = zone.blocks_per_chunk; i-- > 0;)
        put_back(zone, blocks + i * zone.block_bytes);
}

}  // namespace

cdl_zone* cdl_zcreate(int words, int chunk_bytes) {
    if (words < 1 || chunk_bytes < 1) return nullptr;
    const std::size_t bytes       = static_cast<std::size_t>(words) * kWordBytes;
    const std::size_t block_bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    const std::size_t blocks      = static_cast<std::size_t>(chunk_bytes) / block_bytes;
    if (blocks == 0) return nullptr;

    auto zone = movane::create<cdl_zone>();
    if (!zone) return nullptr;
    zone->block_bytes      = block_bytes;
    zone->blocks_per_chunk = blocks;
    return zone.release();
}

void* cdl_zalloc(cdl_zone* zone) {
    if (!zone->first_free) add_chunk(*zone);
    FreeBlock* const block = zone->first_free;
    if (block) zone->first_free = block->next;
    return block;
}

void cdl_zfree(cdl_zone* zone, void* block) { put_back(*zone, block); }
