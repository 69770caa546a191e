// Item FIFO: fixed-size records in a chain of partitions, which grows without moving data.
//
// Items enter at the end of the last partition and leave from the start of the first one; a
// partition that was read to its end is freed.

#include "movane/foundation.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <climits>
#include <cstring>
#include <new>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/itemfifo"};

constexpr int kDefaultItems = 10;

// One allocation with the items behind the header.
struct Partition {
    int read_offset;
    int write_offset;
    Partition* next;

    unsigned char* at(int offset) { return reinterpret_cast<unsigned char*>(this + 1) + offset; }
};

}  // namespace

// Invariants: first and last are both null or both not; every partition but the last is written
// to its end, every one but the first is unread.
struct movane_itemfifo {
    int item_size;
    int items_per_partition;
    int partition_bytes;
    int count;
    Partition* first;
    Partition* last;

    ~movane_itemfifo() {
        while (first) drop_first();
    }

    void drop_first() {
        Partition* const read = first;
        first                 = read->next;
        if (!first) last = nullptr;
        movane::release(read);
    }
};

namespace {

bool append_partition(movane_itemfifo& fifo) {
    const std::size_t bytes = sizeof(Partition) + static_cast<std::size_t>(fifo.partition_bytes);
    void* const place       = movane::allocate(1, bytes);
    if (!place) return false;
    auto* const partition                      = ::new (place) Partition{};
    (fifo.last ? fifo.last->next : fifo.first) = partition;
    fifo.last                                  = partition;
    return true;
}

}  // namespace

movane_itemfifo* itemfifo_new(int item_size, int items_per_partition) {
    const int items = items_per_partition < 1 ? kDefaultItems : items_per_partition;
    if (item_size >= 1 && item_size <= INT_MAX / items) {
        if (auto fifo = movane::create<movane_itemfifo>()) {
            fifo->item_size           = item_size;
            fifo->items_per_partition = items;
            fifo->partition_bytes     = items * item_size;
            return fifo.release();
        }
    }
    report("itemfifo_new: Unable to create new itemfifo");
    return nullptr;
}

int itemfifo_kill(movane_itemfifo* fifo) {
    movane::destroy(fifo);
    return 0;
}

int itemfifo_put(movane_itemfifo* fifo, const void* item) {
    if (!fifo->last || fifo->last->write_offset == fifo->partition_bytes) {
        if (!append_partition(*fifo)) {
            report("itemfifo_put: unable to create new partition");
            return 0;
        }
    }
    Partition& last = *fifo->last;
    std::memcpy(last.at(last.write_offset), item, static_cast<std::size_t>(fifo->item_size));
    last.write_offset += fifo->item_size;
    ++fifo->count;
    return 1;
}

int itemfifo_get(movane_itemfifo* fifo, void* item) {
    if (fifo->count == 0) return 0;
    Partition& first = *fifo->first;
    std::memcpy(item, first.at(first.read_offset), static_cast<std::size_t>(fifo->item_size));
    --fifo->count;
    first.read_offset += fifo->item_size;
    if (first.read_offset == fifo->partition_bytes) fifo->drop_first();
    return 1;
}

int itemfifo_nr_items(const movane_itemfifo* fifo) { return fifo->count; }
