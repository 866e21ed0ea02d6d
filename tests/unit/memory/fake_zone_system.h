#pragma once

// An operating system for zones whose every refusal a test can order, and which notices what is
// not given back or not wiped.

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "common/system/memory/zone_system.h"

namespace tarnwell::test {

class CFakeZoneSystem final : public IZoneSystem {
public:
    // What to refuse.
    std::size_t largestReserve = SIZE_MAX;
    std::size_t largestHeap = SIZE_MAX;
    int lockRefusals = 0;  // how many calls of Lock fail; -1: all
    bool refusesWorkingSet = false;
    WorkingSet workingSet{204'800, 1'413'120};
    std::uint32_t lastError = 1453;

    // What was seen.
    std::vector<WorkingSet> workingSetsAsked;
    std::size_t reserved = 0;  // calls of Reserve that succeeded
    std::map<void*, std::size_t> pages;
    std::map<void*, std::size_t> heap;
    std::vector<std::string> faults;

    ~CFakeZoneSystem() {
        for (const auto& [base, size] : pages)
            std::free(base);
        for (const auto& [base, size] : heap)
            std::free(base);
    }

    void* Reserve(std::size_t size) noexcept override {
        if (size > largestReserve)
            return nullptr;
        ++reserved;
        void* base = std::calloc(1, size);
        pages[base] = size;
        return base;
    }
    void Release(void* base, std::size_t size) noexcept override {
        if (!pages.contains(base) || pages[base] != size)
            faults.emplace_back("released what was not reserved");
        GiveBack(pages, base);
    }
    bool Lock(void* base, std::size_t size) noexcept override {
        if (!pages.contains(base) || pages[base] != size)
            faults.emplace_back("locked what was not reserved");
        if (lockRefusals == 0)
            return true;
        if (lockRefusals > 0)
            --lockRefusals;
        return false;
    }
    WorkingSet GetWorkingSet() noexcept override { return workingSet; }
    bool SetWorkingSet(const WorkingSet& sizes) noexcept override {
        workingSetsAsked.push_back(sizes);
        return !refusesWorkingSet;
    }
    std::uint32_t LastError() noexcept override { return lastError; }
    void* AllocateHeap(std::size_t size) noexcept override {
        if (size > largestHeap)
            return nullptr;
        void* base = std::malloc(size);
        std::memset(base, 0xCC, size);  // somebody's old data
        heap[base] = size;
        return base;
    }
    void FreeHeap(void* memory) noexcept override {
        if (!heap.contains(memory))
            faults.emplace_back("freed what was not on the heap");
        GiveBack(heap, memory);
    }

private:
    void GiveBack(std::map<void*, std::size_t>& from, void* base) {
        const auto* bytes = static_cast<const unsigned char*>(base);
        for (std::size_t i = 0; i < from[base]; ++i) {
            if (bytes[i] != 0) {
                faults.emplace_back("gave back memory that was not wiped");
                break;
            }
        }
        from.erase(base);
        std::free(base);
    }
};

}  // namespace tarnwell::test
