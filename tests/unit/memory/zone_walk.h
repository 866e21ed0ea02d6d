#pragma once

// Reads a zone block by block, as its layout is documented, and finds whatever contradicts it.

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "common/system/memory/secure_allocator.h"

namespace tarnwell::test {

struct WalkedBlock {
    const std::byte* address;
    std::size_t size;
    bool used;
};

/// The class of a size by its definition in words: which power of two, which sixteenth of it.
inline std::size_t ClassByDefinition(std::size_t size) {
    std::size_t power = 4;
    while ((std::size_t{2} << power) <= size)
        ++power;
    const std::size_t base = std::size_t{1} << power;
    std::size_t sixteenth = 0;
    while (sixteenth < 15 && base + (sixteenth + 1) * (base / 16) <= size)
        ++sixteenth;
    return 16 * (power - 4) + sixteenth;
}

/// WalkZone fills `blocks` in order of address; false with `fault` filled in where a header
/// contradicts its neighbour, two neighbours are free, free memory is not wiped or the lists are
/// not exactly the free blocks. The same vector again and again keeps the heap out of it.
inline bool WalkZone(const CSecureAllocator& zone, std::vector<WalkedBlock>& blocks,
                     std::string& fault, bool readBytes) {
    const auto bad = [&](const std::string& what, std::size_t offset) {
        fault = what + " at offset " + std::to_string(offset);
        return false;
    };
    blocks.clear();
    std::size_t freeBlocks = 0;
    std::size_t usedBytes = 0;
    const SecureBlock* before = nullptr;
    for (std::size_t offset = 0; offset < zone.Size();) {
        const auto* block = reinterpret_cast<const SecureBlock*>(zone.Base() + offset);
        const bool used = (block->size & CSecureAllocator::kUsed) != 0;
        const std::size_t size = block->size & ~CSecureAllocator::kUsed;
        if (size < CSecureAllocator::kSmallestBlock || size > zone.Size() - offset)
            return bad("impossible size " + std::to_string(size), offset);
        if (block->previous != before)
            return bad("wrong predecessor", offset);
        if (!used && before && !blocks.back().used)
            return bad("free neighbours", offset);
        if (!used && readBytes) {
            for (std::size_t i = CSecureAllocator::kSmallestBlock; i < size; ++i)
                if (zone.Base()[offset + i] != std::byte{0})
                    return bad("unwiped byte", offset + i);
        }
        if (used)
            usedBytes += size;
        else
            ++freeBlocks;
        blocks.push_back({zone.Base() + offset, size, used});
        before = block;
        offset += size;
    }
    if (usedBytes != zone.UsedBytes())
        return bad("wrong count of used bytes", 0);
    std::size_t listed = 0;
    for (std::size_t list = 0; list < CSecureAllocator::kLists; ++list) {
        for (const SecureBlock* block = zone.FreeList(list); block; block = block->next) {
            const auto* address = reinterpret_cast<const std::byte*>(block);
            const auto found = std::lower_bound(
                blocks.begin(), blocks.end(), address,
                [](const WalkedBlock& at, const std::byte* wanted) { return at.address < wanted; });
            if (found == blocks.end() || found->address != address || found->used)
                return bad("list " + std::to_string(list) + " holds a used or foreign block", 0);
            if (ClassByDefinition(found->size) != list)
                return bad("a block is in the wrong list " + std::to_string(list), 0);
            if (++listed > freeBlocks)
                return bad("list " + std::to_string(list) + " runs in a circle", 0);
        }
    }
    if (listed != freeBlocks)
        return bad("a free block is in no list", 0);
    return true;
}

}  // namespace tarnwell::test
