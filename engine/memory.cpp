#include "engine/memory.h"

#include <bit>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

namespace veil {

namespace {

// Under the address sanitizer nothing is kept, as what is given back must not be touched.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kKeeps = false;
#elif defined(__clang__)
constexpr bool kKeeps = !__has_feature(address_sanitizer);
#else
constexpr bool kKeeps = true;
#endif

// Eight sizes from one power of two to the next, so that requests of nearly one size share blocks.
std::size_t blockSize(std::size_t bytes) {
    const std::size_t step = std::bit_floor(bytes) / 8;
    return bytes > static_cast<std::size_t>(-1) - step ? bytes : (bytes + step - 1) / step * step;
}

constexpr std::size_t kLine = 64;  // of the cache, at which the memory that is handed out begins

// What stands in front of it.
struct alignas(kLine) Block {
    void* allocated;  // null in the reserve
    std::size_t size;
    std::thread::id user;  // who asked for it last, and so has it in a cache
};

void* memoryOf(Block* block) { return block + 1; }
Block* blockOf(void* memory) { return static_cast<Block*>(memory) - 1; }

Block* makeBlock(std::size_t size) {
    std::size_t room = sizeof(Block) + kLine + size;
    if (room < size) throw std::bad_alloc();
    void* const allocated = ::operator new(room);
    void* place = allocated;
    std::align(kLine, sizeof(Block) + size, place, room);
    return ::new (place) Block{allocated, size, std::this_thread::get_id()};
}

// One in the reserve goes with the whole of it.
void freeBlock(Block* block) { ::operator delete(block->allocated); }

// Some systems make a mutex at its first lock, which then can fail: then nothing is kept.
struct Lock {
    std::mutex& mutex;
    bool isHeld = false;

    explicit Lock(std::mutex& m) noexcept : mutex(m) {
        try {
            mutex.lock();
            isHeld = true;
        } catch (const std::system_error&) {
        }
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() {
        if (isHeld) mutex.unlock();
    }
};

class KeptBlocks {
  public:
    KeptBlocks() = default;
    ~KeptBlocks() { freeAll(); }
    KeptBlocks(const KeptBlocks&) = delete;
    KeptBlocks& operator=(const KeptBlocks&) = delete;

    // Of this size, at best one that the calling thread had, or a new one in the reserve; null if there is
    // neither.
    Block* take(std::size_t size) {
        const std::thread::id user = std::this_thread::get_id();
        const Lock lock(mutex);
        int best = -1;
        for (int i = 0; lock.isHeld && i < count; ++i)
            if (blocks[i]->size == size && (best < 0 || blocks[i]->user == user)) best = i;
        if (best < 0) return lock.isHeld ? cut(size, user) : nullptr;
        Block* const block = blocks[best];
        blocks[best] = blocks[--count];
        total -= size;
        block->user = user;
        return block;
    }

    // False if there is no room.
    bool give(Block* block) {
        const Lock lock(mutex);
        if (!lock.isHeld || count == kMostBlocks || block->size > kMostKeptBytes - total) return false;
        blocks[count++] = block;
        total += block->size;
        return true;
    }

    // But those in the reserve. Whether there was any.
    bool freeAll() {
        const Lock lock(mutex);
        return lock.isHeld && freeKept();
    }

    // Does without one if there is no memory.
    void openReserve(std::size_t bytes) {
        const Lock lock(mutex);
        if (!lock.isHeld || reserve) return;
        reserve = ::operator new(bytes, std::nothrow);
        rest = reserve;
        room = reserve ? bytes : 0;
    }

    // Nobody uses a block of it.
    void closeReserve() {
        const Lock lock(mutex);
        if (!lock.isHeld) return;
        freeKept();
        count = 0;
        total = 0;
        ::operator delete(std::exchange(reserve, nullptr));
        room = 0;
    }

  private:
    static constexpr int kMostBlocks = 256;

    bool freeKept() {
        const int before = std::exchange(count, 0);
        for (int i = 0; i < before; ++i) {
            Block* const block = blocks[i];
            if (!block->allocated) {
                blocks[count++] = block;
                continue;
            }
            total -= block->size;
            freeBlock(block);
        }
        return count < before;
    }

    Block* cut(std::size_t size, std::thread::id user) {
        const std::size_t whole = sizeof(Block) + (size + kLine - 1) / kLine * kLine;
        if (whole < size || !std::align(kLine, whole, rest, room)) return nullptr;
        Block* const block = ::new (rest) Block{nullptr, size, user};
        rest = static_cast<unsigned char*>(rest) + whole;
        room -= whole;
        return block;
    }

    std::mutex mutex;
    Block* blocks[kMostBlocks];
    int count = 0;
    std::size_t total = 0;
    void *reserve = nullptr, *rest = nullptr;
    std::size_t room = 0;  // in the rest
};

KeptBlocks gKept;

}  // namespace

void* takeBlock(std::size_t bytes) {
    if (!kKeeps || bytes < kLeastKeptBlock) return ::operator new(bytes);
    const std::size_t size = blockSize(bytes);
    if (Block* const kept = gKept.take(size)) return memoryOf(kept);
    try {
        return memoryOf(makeBlock(size));
    } catch (const std::bad_alloc&) {
        if (!gKept.freeAll()) throw;
    }
    return memoryOf(makeBlock(size));
}

void giveBlock(void* memory, std::size_t bytes) noexcept {
    if (!kKeeps || bytes < kLeastKeptBlock)
        ::operator delete(memory);
    else if (Block* const block = blockOf(memory); !gKept.give(block))
        freeBlock(block);
}

void freeKeptBlocks() noexcept { gKept.freeAll(); }

ReservedBlocksScope::ReservedBlocksScope() {
    if (kKeeps) gKept.openReserve(kReservedBytes);
}

ReservedBlocksScope::~ReservedBlocksScope() { gKept.closeReserve(); }

}  // namespace veil
