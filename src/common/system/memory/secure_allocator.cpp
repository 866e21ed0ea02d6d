#include "common/system/memory/secure_allocator.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

#include "common/system/trace/trace.h"

namespace tarnwell {
namespace {

/// A minimum working set from which on the system's refusal to lock is final, in bytes.
constexpr std::size_t kEnoughWorkingSet = 10'000'000;

SecureBlock* At(void* address, std::size_t offset) noexcept {
    return reinterpret_cast<SecureBlock*>(static_cast<std::byte*>(address) + offset);
}

bool IsUsed(const SecureBlock* block) noexcept {
    return (block->size & CSecureAllocator::kUsed) != 0;
}

/// A wipe that the compiler may not drop, although nobody reads the bytes before they go.
void Wipe(void* memory, std::size_t size) noexcept {
    std::memset(memory, 0, size);
    asm volatile("" : : "r"(memory) : "memory");
}

[[noreturn]] void Fail(const std::string& message) {
    TraceString(message.c_str());
    throw std::runtime_error(message);
}

std::size_t Doubled(std::size_t size) noexcept {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
    return size > kMost / 2 ? kMost : size * 2;
}

}  // namespace

CSecureAllocator::CSecureAllocator(std::size_t size, IZoneSystem& system)
    : m_system(system), m_free(new SecureBlock*[kLists]()) {
    if (size < kSmallestBlock || size > kLargestZone)
        throw std::invalid_argument("SecureAllocator: no zone of this size");
    try {
        TakeLockedZone(size);
    } catch (const std::runtime_error&) {
        TraceString("Catch failed secure allocation");
        m_base = static_cast<std::byte*>(m_system.AllocateHeap(size));
        if (!m_base)
            throw std::bad_alloc();
        std::memset(m_base, 0, size);
        m_fallback = true;
    }
    m_end = m_base + size;
    SecureBlock* whole = At(m_base, 0);
    whole->size = size;
    whole->previous = nullptr;
    Insert(whole);
}

CSecureAllocator::~CSecureAllocator() {
    Wipe(m_base, Size());
    if (m_fallback) {
        Wipe(m_base, Size());
        m_system.FreeHeap(m_base);
    } else {
        m_system.Release(m_base, Size());
    }
}

void CSecureAllocator::TakeLockedZone(std::size_t size) {
    m_base = static_cast<std::byte*>(m_system.Reserve(size));
    if (!m_base)
        Fail("SecureAllocator: Virtual allocation are failed!");
    try {
        LockZone(size);
    } catch (...) {
        m_system.Release(m_base, size);
        throw;
    }
}

void CSecureAllocator::LockZone(std::size_t size) {
    WorkingSet sizes;
    for (bool first = true; !m_system.Lock(m_base, size); first = false) {
        const std::uint32_t error = m_system.LastError();
        if (first)
            sizes = m_system.GetWorkingSet();
        // A size that the system does not tell cannot be doubled either.
        if (sizes.minimum >= kEnoughWorkingSet || sizes.minimum == 0)
            Fail("SecureAllocator: Virtual lock are failed! Last error = " + std::to_string(error) +
                 ", minimum working set = " + std::to_string(sizes.minimum));
        sizes.minimum = Doubled(sizes.minimum);
        sizes.maximum = Doubled(sizes.maximum);
        if (!m_system.SetWorkingSet(sizes))
            Fail("SecureAllocator: SetProcessWorkingSetSize are failed! Last error = " +
                 std::to_string(m_system.LastError()) +
                 ", minimum working set = " + std::to_string(sizes.minimum));
    }
}

void* CSecureAllocator::allocate(std::size_t bytes) {
    void* data = TryAllocate(bytes);
    if (!data)
        Fail(kNoBlock);
    return data;
}

void* CSecureAllocator::TryAllocate(std::size_t bytes) noexcept {
    if (bytes > kLargestZone)
        return nullptr;
    const std::size_t needed = std::max(bytes + kHeader, kSmallestBlock);
    const CCriticalSectionLock lock(m_section);
    SecureBlock* block = Find(needed);
    if (!block)
        return nullptr;
    Unlink(block);
    const std::size_t rest = block->size - needed;
    if (rest >= kSmallestBlock) {
        SecureBlock* remainder = At(block, needed);
        remainder->size = rest;
        remainder->previous = block;
        Insert(remainder);
        if (SecureBlock* following = Following(remainder))
            following->previous = remainder;
        block->size = needed;
    }
    m_usedBytes += block->size;
    block->size |= kUsed;
    block->next = nullptr;
    return At(block, kHeader);
}

void CSecureAllocator::free(void* data) noexcept {
    const CCriticalSectionLock lock(m_section);
    auto* block = reinterpret_cast<SecureBlock*>(static_cast<std::byte*>(data) - kHeader);
    if (!IsUsed(block))
        return;
    block->size &= ~kUsed;
    m_usedBytes -= block->size;
    Wipe(data, block->size - kHeader);

    // Headers that end up inside a bigger block are wiped as well: free memory holds nothing but
    // the headers of its blocks.
    SecureBlock* previous = block->previous;
    if (previous && !IsUsed(previous)) {
        Unlink(previous);
        previous->size += block->size;
        Wipe(block, kHeader);
        block = previous;
    }
    SecureBlock* following = Following(block);
    if (following && !IsUsed(following)) {
        Unlink(following);
        block->size += following->size;
        Wipe(following, kSmallestBlock);
        following = Following(block);
    }
    Insert(block);
    if (following)
        following->previous = block;
}

SecureBlock* CSecureAllocator::Find(std::size_t needed) const noexcept {
    if (needed > Size())
        return nullptr;
    // Every block of a higher class is large enough. The zone itself is the largest there can be.
    const std::size_t own = ClassOf(needed);
    const std::size_t last = ClassOf(Size());
    for (std::size_t higher = own + 1; higher <= last; ++higher)
        if (m_free[higher])
            return m_free[higher];
    // In the own class a block of exactly the needed size is passed over, as the maker's
    // allocator does: which requests a zone can serve must not differ.
    for (SecureBlock* block = m_free[own]; block; block = block->next)
        if (block->size > needed)
            return block;
    return nullptr;
}

void CSecureAllocator::Insert(SecureBlock* block) noexcept {
    SecureBlock*& first = m_free[ClassOf(block->size)];
    block->next = first;
    first = block;
}

void CSecureAllocator::Unlink(SecureBlock* block) noexcept {
    SecureBlock*& first = m_free[ClassOf(block->size)];
    if (first == block) {
        first = block->next;
        return;
    }
    SecureBlock* before = first;
    while (before->next != block)
        before = before->next;
    before->next = block->next;
}

SecureBlock* CSecureAllocator::Following(const SecureBlock* block) const noexcept {
    std::byte* end = m_base + (reinterpret_cast<const std::byte*>(block) - m_base) +
                     static_cast<std::ptrdiff_t>(block->size);
    return end < m_end ? reinterpret_cast<SecureBlock*>(end) : nullptr;
}

}  // namespace tarnwell
