// The zone allocator of the engine's common runtime: pools of equal blocks, under the runtime's
// own names. See runtime.h for the choice between this implementation and the engine's.
#pragma once

extern "C" {

typedef struct cdl_zone cdl_zone;

/// Creates an empty pool. It has no end of life: its chunks stay allocated.
///
/// @param words        least size of a block, in words of 4 bytes, at least 1
/// @param chunk_bytes  bytes taken from the heap whenever no block is free
/// @return             the pool; null when a chunk could not hold a block, or without memory
cdl_zone* cdl_zcreate(int words, int chunk_bytes);

/// Takes a block out of the pool, the one that was returned last if there is any.
///
/// @return  the block, aligned for every type, its contents undefined; null without memory
void* cdl_zalloc(cdl_zone* zone);

/// Returns a block to its pool.
void cdl_zfree(cdl_zone* zone, void* block);
}
