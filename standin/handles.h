#pragma once

// The movable memory blocks that a host lends to its plug-ins, and their guards.

#include <cstdint>
#include <memory>
#include <vector>

#include "host/photoshop.h"

namespace standin {

/// A block and its master pointer; the handle is the address of `master`, so a Block itself never moves.
struct Block {
    char* master = nullptr;
    std::int32_t size = 0;
    std::vector<char> memory;  ///< guard, the block's bytes, guard
    int locks = 0;
};

struct HandleTable {
    std::vector<std::unique_ptr<Block>> blocks;
    bool misused = false;  ///< see RunReport::handlesMisused
};

/// A new block of `size` bytes, filled with zeros or with rubbish.
photoshop::Handle makeBlock(HandleTable& table, std::int32_t size, bool rubbish);

/// The block of `handle`; null, and noted as misuse, if the handle is none of the table's.
Block* findBlock(HandleTable& table, photoshop::Handle handle);

/// Frees the block of `handle`; a null handle is none.
void disposeBlock(HandleTable& table, photoshop::Handle handle);

/// Takes one lock off; a block without a lock moves if `moves`, and its old memory is overwritten and freed.
void unlockBlock(Block& block, bool moves);

bool anyBlockLocked(const HandleTable& table);

/// Looks at the guards of all blocks and notes an overrun as misuse.
void checkBlocks(HandleTable& table);

}  // namespace standin
