#pragma once

// An operating system for zones whose every refusal a test can order, and which fails the test
// where memory is not given back, or not wiped before.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "common/system/memory/zone_system.h"

namespace tarnwell::test {

class CFakeZoneSystem final : public IZoneSystem {
public:
    using Memory = std::map<void*, std::vector<unsigned char>>;

    // What to refuse.
    std::size_t largestReserve = SIZE_MAX;
    std::size_t largestHeap = SIZE_MAX;
    int lockRefusals = 0;  // how many calls of Lock fail; -1: all
    bool refusesWorkingSet = false;
    WorkingSet workingSet{204'800, 1'413'120};

    // What was seen.
    std::vector<WorkingSet> workingSetsAsked;
    int taken = 0;  // how often pages or heap memory were given
    Memory pages;
    Memory heap;

    ~CFakeZoneSystem() { EXPECT_TRUE(pages.empty() && heap.empty()) << "not given back"; }

    void* Reserve(std::size_t size) noexcept override {
        return size > largestReserve ? nullptr : Take(pages, size, 0);
    }
    void Release(void* base, std::size_t size) noexcept override {
        EXPECT_EQ(pages[base].size(), size);
        GiveBack(pages, base);
    }
    bool Lock(void* base, std::size_t size) noexcept override {
        EXPECT_EQ(pages[base].size(), size);
        return lockRefusals == 0 || lockRefusals-- == 0;
    }
    WorkingSet GetWorkingSet() noexcept override { return workingSet; }
    bool SetWorkingSet(const WorkingSet& sizes) noexcept override {
        workingSetsAsked.push_back(sizes);
        return !refusesWorkingSet;
    }
    std::uint32_t LastError() noexcept override { return 1453; }
    void* AllocateHeap(std::size_t size) noexcept override {
        return size > largestHeap ? nullptr : Take(heap, size, 0xCC);  // somebody's old data
    }
    void FreeHeap(void* memory) noexcept override { GiveBack(heap, memory); }

private:
    void* Take(Memory& memory, std::size_t size, unsigned char fill) {
        ++taken;
        std::vector<unsigned char> bytes(size, fill);
        void* const base = bytes.data();
        memory[base] = std::move(bytes);
        return base;
    }
    static void GiveBack(Memory& memory, void* base) {
        const auto& bytes = memory[base];
        EXPECT_FALSE(bytes.empty()) << "given back twice, or to the wrong side";
        EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), std::ssize(bytes)) << "not wiped";
        memory.erase(base);
    }
};

}  // namespace tarnwell::test
