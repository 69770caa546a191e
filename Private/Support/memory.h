// The one door to the heap.
//
// Every byte that the library allocates passes here, so that sizes are checked for overflow in
// one place and the failure of any allocation can be tested by one loop. A record owns its
// arrays as Blocks and is itself owned, while it is being built, as an Owned; whatever leaves a
// function early takes everything it made along.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace movane {

/// Memory for `count` objects of `size` bytes, uninitialised. Null when there is none or when
/// the product does not fit; a product of zero gives a valid, empty block.
[[nodiscard]] void* allocate(std::size_t count, std::size_t size) noexcept;

/// The same, filled with zero bytes.
[[nodiscard]] void* allocate_zeroed(std::size_t count, std::size_t size) noexcept;

/// Returns what allocate() or allocate_zeroed() gave; null is accepted.
void release(void* block) noexcept;

struct Release {
    void operator()(void* block) const noexcept { release(block); }
};

/// An owned array of plain elements; as large as a pointer.
template <class T>
using Block = std::unique_ptr<T[], Release>;

template <class T>
[[nodiscard]] Block<T> make_block(std::size_t count) noexcept {
    static_assert(std::is_trivially_copyable_v<T>);
    return Block<T>(static_cast<T*>(allocate(count, sizeof(T))));
}

template <class T>
[[nodiscard]] Block<T> make_zeroed_block(std::size_t count) noexcept {
    static_assert(std::is_trivially_copyable_v<T>);
    return Block<T>(static_cast<T*>(allocate_zeroed(count, sizeof(T))));
}

/// The same for rows * columns elements; null also when that product does not fit.
template <class T>
[[nodiscard]] Block<T> make_zeroed_block(std::size_t rows, std::size_t columns) noexcept {
    std::size_t count = 0;
    if (__builtin_mul_overflow(rows, columns, &count)) return nullptr;
    return make_zeroed_block<T>(count);
}

/// Gives a block to the host, which releases it with free(); it no longer counts as live.
[[nodiscard]] void* hand_over(void* block) noexcept;

template <class T>
[[nodiscard]] T* hand_over(Block<T> block) noexcept {
    return static_cast<T*>(hand_over(static_cast<void*>(block.release())));
}

/// Ends a record's life; null is accepted. This is the body of every `*_kill`.
template <class Record>
void destroy(Record* record) noexcept {
    if (!record) return;
    record->~Record();
    release(record);
}

struct Destroy {
    template <class Record>
    void operator()(Record* record) const noexcept {
        destroy(record);
    }
};

/// A record under construction; release() hands it to the host.
template <class Record>
using Owned = std::unique_ptr<Record, Destroy>;

/// A value-initialised record; null when there is no memory.
template <class Record>
[[nodiscard]] Owned<Record> create() noexcept {
    static_assert(std::is_nothrow_default_constructible_v<Record>);
    void* place = allocate(1, sizeof(Record));
    return Owned<Record>(place ? ::new (place) Record{} : nullptr);
}

/// The rig by which tests make allocations fail; hidden from hosts.
namespace testing {

enum class Shortage {
    passing,  // one allocation is refused, later ones succeed
    lasting   // all are refused from then on
};

/// Lets `passes` further allocations through, then refuses as `shortage` says.
void refuse_allocations_after(int passes, Shortage shortage) noexcept;

/// Ends the shortage. Returns how many allocations were refused.
int end_refusals() noexcept;

/// Blocks handed out and not yet released.
long live_blocks() noexcept;

}  // namespace testing
}  // namespace movane
