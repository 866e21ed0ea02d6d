#pragma once

// The tree that the catalogue's JSON text is read into, and the typed questions about it. A value
// that is absent (no such member, index out of range, null, a failed parse) is one shared object,
// the undefined value, which answers every question with a default, so that lookups chain without
// checks. Values are owned through CJSValueOwner; a tree belongs to one thread, like its strings.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "common/system/text/string.h"

namespace tarnwell {

class CJSValue;

/// Deletes a value, unless it is the undefined one.
struct JSValueDeleter {
    void operator()(CJSValue* value) const noexcept;
};

/// The owner of a value and of everything below it.
using CJSValueOwner = std::unique_ptr<CJSValue, JSValueDeleter>;

/// The base: a value that is absent or does not know the question.
class CJSValue {
public:
    constexpr CJSValue() noexcept = default;
    CJSValue(const CJSValue&) = delete;
    CJSValue& operator=(const CJSValue&) = delete;
    virtual ~CJSValue();

    /// Undefined is the shared undefined value.
    static CJSValue& Undefined() noexcept;
    /// UndefinedOwner holds the undefined value, which it never deletes.
    static CJSValueOwner UndefinedOwner() noexcept { return CJSValueOwner(&Undefined()); }
    bool IsUndefined() const noexcept { return this == &Undefined(); }

    /// Key is the name of an object's member, "" for every other value.
    virtual CISOString Key() const;
    /// StringValue is the text of a string, UTF-8; "" for every other value.
    virtual CISOString StringValue() const;
    /// BooleanValueOr is `otherwise` for the undefined value itself, else BooleanValue.
    virtual bool BooleanValueOr(bool otherwise) const noexcept;
    /// BooleanValue is false for everything but "true".
    virtual bool BooleanValue() const noexcept;
    /// IntegerValue is 0 for everything but an integer.
    virtual std::int32_t IntegerValue() const noexcept;
    /// BytesValue replaces `bytes` by what the text says in hexadecimal (see DecodeHex); true when
    /// all of the text was read. Leaves no bytes and is false for a value that is no string.
    virtual bool BytesValue(std::vector<unsigned char>& bytes) const;
    /// Count is the number of members or elements, 0 for a value that has none.
    virtual std::size_t Count() const noexcept;
    /// MemberByBytes is an object's first member whose key, read as hexadecimal, is `key`.
    virtual const CJSValue& MemberByBytes(std::span<const unsigned char> key) const;
    /// Member is an object's first member whose key is exactly `name`.
    virtual const CJSValue& Member(std::string_view name) const noexcept;
    /// Element is the member or element at `index`, in the order of the text.
    virtual const CJSValue& Element(std::size_t index) const noexcept;
};

/// A text.
class CJSString final : public CJSValue {
public:
    explicit CJSString(CISOString text) noexcept : m_text(std::move(text)) {}

    CISOString StringValue() const override { return m_text; }
    bool BytesValue(std::vector<unsigned char>& bytes) const override;

private:
    CISOString m_text;
};

/// A signed 32-bit number.
class CJSInteger final : public CJSValue {
public:
    explicit CJSInteger(std::int32_t value) noexcept : m_value(value) {}

    std::int32_t IntegerValue() const noexcept override { return m_value; }

private:
    std::int32_t m_value;
};

/// "true" or "false".
class CJSBoolean final : public CJSValue {
public:
    explicit CJSBoolean(bool value) noexcept : m_value(value ? 1 : 0) {}

    bool BooleanValue() const noexcept override { return m_value != 0; }

private:
    std::uint8_t m_value;
};

/// One member of an object: its key and its value. It answers as its value does, so that a member
/// that was found can be used as if it were the value; only MemberByBytes is not handed on, since
/// binary keys are looked up in the object that holds them.
class CJSKeyedValue final : public CJSValue {
public:
    CJSKeyedValue(CISOString key, CJSValueOwner value) noexcept
        : m_key(std::move(key)), m_value(std::move(value)) {}

    std::string_view KeyView() const noexcept { return m_key.AsView(); }
    const CJSValue& Value() const noexcept { return *m_value; }

    CISOString Key() const override { return m_key; }
    CISOString StringValue() const override;
    bool BooleanValue() const noexcept override;
    std::int32_t IntegerValue() const noexcept override;
    bool BytesValue(std::vector<unsigned char>& bytes) const override;
    std::size_t Count() const noexcept override;
    const CJSValue& Member(std::string_view name) const noexcept override;
    const CJSValue& Element(std::size_t index) const noexcept override;

private:
    CISOString m_key;
    CJSValueOwner m_value;
};

/// Members in the order of the text; of members with the same key the first one is found.
class CJSObject final : public CJSValue {
public:
    void Append(CISOString key, CJSValueOwner value);

    std::size_t Count() const noexcept override { return m_members.size(); }
    const CJSValue& MemberByBytes(std::span<const unsigned char> key) const override;
    const CJSValue& Member(std::string_view name) const noexcept override;
    const CJSValue& Element(std::size_t index) const noexcept override;

private:
    std::vector<std::unique_ptr<CJSKeyedValue>> m_members;
};

/// Elements in the order of the text, undefined ones included.
class CJSArray final : public CJSValue {
public:
    void Append(CJSValueOwner value);

    std::size_t Count() const noexcept override { return m_elements.size(); }
    const CJSValue& Element(std::size_t index) const noexcept override;

private:
    std::vector<CJSValueOwner> m_elements;
};

/// DecodeHex replaces `bytes` by the bytes that `text` spells: hexadecimal digits in pairs, high
/// nibble first, white space between them skipped. A single digit before white space or the end is
/// a byte of that value ("abc" is AB 0C). False at the first other character; the bytes before it
/// stay.
bool DecodeHex(std::string_view text, std::vector<unsigned char>& bytes);

}  // namespace tarnwell
