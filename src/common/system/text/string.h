#pragma once

// The foundation's string: a pointer to a shared, reference-counted record whose units live in
// locked memory that is wiped on release. Copies share the record; the first write to a shared
// one makes it a private copy. A string and its copies belong to one thread: the count is plain
// on purpose, since handlers live in single-threaded apartments.

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "common/system/memory/secure_memory.h"
#include "common/system/text/encoding.h"
#include "common/system/text/string_record.h"

namespace tarnwell {

template <class Encoding>
class CTString {
public:
    using Unit = typename Encoding::Unit;
    using View = std::basic_string_view<Unit>;
    static constexpr std::size_t npos = View::npos;

    CTString() noexcept = default;
    /// Copies the units up to the terminating zero; a null pointer gives "".
    CTString(const Unit* text) : CTString(ViewOf(text)) {}
    CTString(std::nullptr_t) = delete;
    CTString(const Unit* units, std::size_t length) : CTString(View(units, length)) {}
    /// Copies the units, embedded zeros included. Throws std::runtime_error without memory.
    explicit CTString(View text) { Append(text); }
    CTString(const CTString& other) noexcept : m_record(other.m_record) {
        if (m_record)
            ++m_record->references;
    }
    CTString(CTString&& other) noexcept : m_record(std::exchange(other.m_record, nullptr)) {}
    CTString& operator=(CTString other) noexcept {
        std::swap(m_record, other.m_record);
        return *this;
    }
    ~CTString() { Release(); }

    /// Length in units.
    std::size_t Length() const noexcept { return m_record ? m_record->length : 0; }
    bool IsEmpty() const noexcept { return Length() == 0; }
    /// Capacity in units that the string holds without growing.
    std::size_t Capacity() const noexcept { return m_record ? m_record->capacity : 0; }
    /// CStr gives the units with a zero behind them; valid until the string is written or dies.
    const Unit* CStr() const noexcept { return m_record ? m_record->data : &kTerminator; }
    View AsView() const noexcept { return View(CStr(), Length()); }
    operator View() const noexcept { return AsView(); }
    Unit operator[](std::size_t index) const noexcept { return CStr()[index]; }

    /// Reserve makes room for `length` units and a private record. A capacity that is too small
    /// becomes length + (old capacity + 1) / 2. Throws std::length_error beyond 2^30 units and
    /// std::runtime_error without memory.
    void Reserve(std::size_t length) {
        if (!m_record || m_record->references > 1 || m_record->capacity < length)
            Rebuild(length);
    }

    CTString& Append(View text) {
        if (text.empty())
            return *this;
        if (Record* record = RecordWithRoomFor(text.size())) {
            Write(*record, text);
        } else {
            if (text.size() > kMaxLength - Length())
                throw std::length_error(kTooLong);
            // The text may be a part of this very string, whose old block is wiped below.
            const CTString keepAlive = Overlaps(text) ? *this : CTString();
            Reserve(Length() + text.size());
            Write(*m_record, text);
        }
        return *this;
    }
    CTString& AppendUnit(Unit unit) {
        Record* record = RecordWithRoomFor(1);
        if (!record)
            return Append(View(&unit, 1));
        Write(*record, View(&unit, 1));
        return *this;
    }
    /// AppendCodePoint writes the code point in the string's encoding (see Encode there).
    CTString& AppendCodePoint(char32_t codePoint) {
        Unit units[Encoding::kMaxUnits];
        return Append(View(units, Encoding::Encode(codePoint, units)));
    }
    CTString& operator+=(View text) { return Append(text); }

    void Clear() noexcept { Release(); }

    /// Sub takes at most `length` units from `start` on; a start beyond the end gives "".
    CTString Sub(std::size_t start, std::size_t length = npos) const {
        return start < Length() ? CTString(AsView().substr(start, length)) : CTString();
    }
    std::size_t Find(View text, std::size_t from = 0) const noexcept {
        return AsView().find(text, from);
    }
    std::size_t Find(Unit unit, std::size_t from = 0) const noexcept {
        return AsView().find(unit, from);
    }
    std::size_t FindLast(Unit unit) const noexcept { return AsView().rfind(unit); }
    /// StartsWith compares unit by unit: no case folding, no normalisation.
    bool StartsWith(View prefix) const noexcept { return AsView().starts_with(prefix); }

    friend bool operator==(const CTString& a, const CTString& b) noexcept {
        return a.m_record == b.m_record || a.AsView() == b.AsView();
    }
    friend bool operator==(const CTString& a, View b) noexcept { return a.AsView() == b; }
    friend bool operator==(const CTString& a, const Unit* b) noexcept {
        return a.AsView() == ViewOf(b);
    }
    friend auto operator<=>(const CTString& a, const CTString& b) noexcept {
        return a.AsView() <=> b.AsView();
    }
    friend CTString operator+(CTString a, View b) { return std::move(a.Append(b)); }
    friend CTString operator+(CTString a, const CTString& b) { return std::move(a.Append(b)); }
    friend CTString operator+(CTString a, const Unit* b) { return std::move(a.Append(ViewOf(b))); }

private:
    struct Record {
        Unit* data;
        std::size_t length;
        std::size_t capacity;
        std::uint32_t references;
    };
    static constexpr Unit kTerminator = 0;
    static constexpr std::size_t kMaxLength = std::size_t{1} << 30;

    static constexpr const char* kTooLong = "CTString: the text is too long";

    static constexpr View ViewOf(const Unit* text) noexcept { return text ? View(text) : View(); }

    /// RecordWithRoomFor gives the record if it is this string's alone and holds `units` more.
    Record* RecordWithRoomFor(std::size_t units) const noexcept {
        const bool hasRoom =
            m_record && m_record->references == 1 && units <= m_record->capacity - m_record->length;
        return hasRoom ? m_record : nullptr;
    }

    bool Overlaps(View text) const noexcept {
        return m_record && !std::less<>()(text.data(), m_record->data) &&
               !std::less<>()(m_record->data + m_record->capacity, text.data());
    }

    /// Write puts the text behind what the record holds, which has room for it.
    static void Write(Record& record, View text) noexcept {
        std::copy(text.begin(), text.end(), record.data + record.length);
        SetLength(record, record.length + text.size());
    }

    static void SetLength(Record& record, std::size_t length) noexcept {
        record.length = length;
        record.data[length] = kTerminator;
    }

    /// Rebuild moves to a record of one's own that holds at least `needed` units.
    void Rebuild(std::size_t needed) {
        const std::size_t length = Length();
        const std::size_t old = Capacity();
        needed = std::max(needed, length);
        if (needed > kMaxLength)
            throw std::length_error(kTooLong);
        const std::size_t capacity = old < needed ? needed + (old + 1) / 2 : old;
        Unit* data = AllocateUnits(capacity + 1);
        if (m_record && m_record->references == 1) {
            std::copy_n(m_record->data, length, data);
            SecureFree(std::exchange(m_record->data, data));
            m_record->capacity = capacity;
        } else {
            Record* record = NewRecord(data, capacity);
            std::copy_n(CStr(), length, data);
            Release();
            m_record = record;
        }
        SetLength(*m_record, length);
    }

    static Unit* AllocateUnits(std::size_t count) {
        if constexpr (sizeof(Unit) == 4)
            return static_cast<Unit*>(SecureAllocate32(count));
        else
            return static_cast<Unit*>(SecureAllocate(count * sizeof(Unit)));
    }

    static Record* NewRecord(Unit* data, std::size_t capacity) {
        try {
            return new (NewStringRecord(sizeof(Record))) Record{data, 0, capacity, 1};
        } catch (const std::bad_alloc&) {
            SecureFree(data);
            throw;
        }
    }

    void Release() noexcept {
        Record* record = std::exchange(m_record, nullptr);
        if (record && --record->references == 0) {
            SecureFree(record->data);
            DeleteStringRecord(record);
        }
    }

    Record* m_record = nullptr;
};

using CISOString = CTString<CISOEncoding>;
using CUTF16String = CTString<CUTF16Encoding>;
using CUTF32String = CTString<CUTF32Encoding>;

}  // namespace tarnwell
