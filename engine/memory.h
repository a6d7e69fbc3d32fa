#pragma once

// Memory for rows and planes. Large blocks are kept when they are given back, so that the next tile does not
// wait for the system to hand out and clear pages; on some machines that takes as long as the filter. Nothing
// is kept beyond a run.

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace veil {

/// Smaller requests go to operator new.
constexpr std::size_t kLeastKeptBlock = std::size_t{4} << 10;
/// Of all blocks that nobody uses; what is given back beyond it is freed.
constexpr std::size_t kMostKeptBytes = std::size_t{64} << 20;

/// At least `bytes` of memory that holds anything, large blocks from an address where a line of the cache
/// begins; at best what the calling thread had before. Throws std::bad_alloc, after the kept blocks outside
/// of a reserve have been freed. [any thread that holds no lock]
void* takeBlock(std::size_t bytes);
/// Takes back a block and the size that was asked for. [any thread]
void giveBlock(void* memory, std::size_t bytes) noexcept;

/// Frees all blocks that nobody uses, but those in a reserve. [any thread]
void freeKeptBlocks() noexcept;

/// Frees them at the end of what they were kept for.
struct KeptBlocksScope {
    KeptBlocksScope() = default;
    KeptBlocksScope(const KeptBlocksScope&) = delete;
    KeptBlocksScope& operator=(const KeptBlocksScope&) = delete;
    ~KeptBlocksScope() { freeKeptBlocks(); }
};

/// Somewhat less than the largest piece that glibc keeps when it is freed.
constexpr std::size_t kReservedBytes = (std::size_t{32} << 20) - (std::size_t{64} << 10);

/// The same for a run of many tiles, whose large blocks are cut from one piece of memory, if that is to be
/// had. Only what is used of it takes pages; and an allocator gives one large piece back to the system less
/// readily than many blocks, so that the next run does not wait for its pages again. One at a time; no block
/// may outlive it.
struct ReservedBlocksScope {
    ReservedBlocksScope();
    ReservedBlocksScope(const ReservedBlocksScope&) = delete;
    ReservedBlocksScope& operator=(const ReservedBlocksScope&) = delete;
    ~ReservedBlocksScope();
};

/// New elements hold anything, so that their memory is first touched by the thread that fills them.
template <class T>
struct Unfilled {
    using value_type = T;
    static_assert(std::is_trivially_destructible_v<T>);

    Unfilled() = default;
    template <class U>
    Unfilled(const Unfilled<U>&) noexcept {}

    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_alloc();
        return static_cast<T*>(takeBlock(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t count) noexcept { giveBlock(memory, count * sizeof(T)); }

    template <class U>
    void construct(U* element) noexcept {
        ::new (static_cast<void*>(element)) U;
    }
    template <class U, class... Arguments>
    void construct(U* element, Arguments&&... arguments) {
        ::new (static_cast<void*>(element)) U(std::forward<Arguments>(arguments)...);
    }
    bool operator==(const Unfilled&) const = default;
};

template <class T>
using UnfilledVector = std::vector<T, Unfilled<T>>;
using Samples = UnfilledVector<float>;

/// `count` samples and some more, so that rows of that length begin where a line of the cache does.
constexpr std::size_t paddedLength(std::size_t count) { return (count + 15) / 16 * 16; }

/// Makes `samples` at least `count` long; they hold anything then, and keep their memory if it suffices.
/// Throws std::bad_alloc, and leaves them as they are.
template <class T>
void growTo(UnfilledVector<T>& samples, std::size_t count) {
    if (samples.size() < count) UnfilledVector<T>(count).swap(samples);
}

}  // namespace veil
