#pragma once

// Reads a zone block by block, as its layout is documented, and finds whatever contradicts it.

#include <algorithm>
#include <vector>

#include "common/system/memory/secure_allocator.h"

namespace tarnwell::test {

struct WalkedBlock {
    const SecureBlock* address;
    std::size_t size;
    bool used;
};

/// FaultOf fills `blocks` in order of address and tells where a header contradicts its neighbour,
/// two neighbours are free, free memory is not wiped (if `readBytes`) or the lists are not exactly
/// the free blocks; "" for a zone in order.
inline const char* FaultOf(const CSecureAllocator& zone, std::vector<WalkedBlock>& blocks,
                           bool readBytes = true) {
    blocks.clear();
    std::size_t usedBytes = 0;
    for (std::size_t offset = 0; offset < zone.Size(); offset += blocks.back().size) {
        const auto* block = reinterpret_cast<const SecureBlock*>(zone.Base() + offset);
        const bool used = (block->size & CSecureAllocator::kUsed) != 0;
        const std::size_t size = block->size & ~CSecureAllocator::kUsed;
        if (size < CSecureAllocator::kSmallestBlock || size > zone.Size() - offset)
            return "a block has an impossible size";
        if (block->previous != (blocks.empty() ? nullptr : blocks.back().address))
            return "a block has the wrong predecessor";
        if (!used && !blocks.empty() && !blocks.back().used)
            return "two neighbours are free";
        const std::byte* bytes = zone.Base() + offset;
        if (!used && readBytes && std::any_of(bytes + 24, bytes + size, std::to_integer<int>))
            return "a free block is not wiped";
        usedBytes += used ? size : 0;
        blocks.push_back({block, size, used});
    }
    if (usedBytes != zone.UsedBytes())
        return "the used bytes are counted wrongly";
    auto unlisted = std::ranges::count(blocks, false, &WalkedBlock::used);
    for (std::size_t list = 0; list < CSecureAllocator::kLists; ++list) {
        for (const SecureBlock* block = zone.FreeList(list); block; block = block->next) {
            const auto found = std::ranges::lower_bound(blocks, block, {}, &WalkedBlock::address);
            if (found == blocks.end() || found->address != block || found->used ||
                CSecureAllocator::ClassOf(found->size) != list || --unlisted < 0)
                return "a list holds a used, foreign or misplaced block, or runs in a circle";
        }
    }
    return unlisted == 0 ? "" : "a free block is in no list";
}

}  // namespace tarnwell::test
