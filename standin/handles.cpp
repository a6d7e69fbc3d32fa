#include "standin/handles.h"

#include <algorithm>
#include <utility>

namespace standin {

namespace {

constexpr int kGuardBytes = 32;
constexpr char kGuard = '\xA5', kRubbish = '\xCD', kFreed = '\xDB';

std::vector<char> guardedMemory(std::int32_t size, char fill) {
    std::vector<char> memory(static_cast<std::size_t>(size) + 2 * kGuardBytes, kGuard);
    std::fill_n(memory.begin() + kGuardBytes, size, fill);
    return memory;
}

bool isGuardIntact(const Block& block) {
    const auto isGuard = [](char c) { return c == kGuard; };
    const auto first = block.memory.begin(), last = block.memory.end();
    return std::all_of(first, first + kGuardBytes, isGuard) && std::all_of(last - kGuardBytes, last, isGuard);
}

auto position(HandleTable& table, photoshop::Handle handle) {
    return std::find_if(table.blocks.begin(), table.blocks.end(),
                        [&](const auto& block) { return &block->master == handle; });
}

}  // namespace

photoshop::Handle makeBlock(HandleTable& table, std::int32_t size, bool rubbish) {
    Block& block = *table.blocks.emplace_back(std::make_unique<Block>());
    block.memory = guardedMemory(size, rubbish ? kRubbish : '\0');
    block.master = block.memory.data() + kGuardBytes;
    block.size = size;
    return &block.master;
}

Block* findBlock(HandleTable& table, photoshop::Handle handle) {
    const auto found = position(table, handle);
    if (found != table.blocks.end()) return found->get();
    table.misused = true;
    return nullptr;
}

void disposeBlock(HandleTable& table, photoshop::Handle handle) {
    const auto found = position(table, handle);
    if (found != table.blocks.end()) table.blocks.erase(found);
}

void unlockBlock(Block& block, bool moves) {
    block.locks = std::max(block.locks - 1, 0);
    if (block.locks > 0 || !moves) return;
    std::vector<char> elsewhere = block.memory;
    std::swap(block.memory, elsewhere);
    block.master = block.memory.data() + kGuardBytes;
    std::fill(elsewhere.begin(), elsewhere.end(), kFreed);
}

bool anyBlockLocked(const HandleTable& table) {
    return std::any_of(table.blocks.begin(), table.blocks.end(),
                       [](const auto& block) { return block->locks > 0; });
}

void checkBlocks(HandleTable& table) {
    for (const auto& block : table.blocks) table.misused = table.misused || !isGuardIntact(*block);
}

}  // namespace standin
