#include "common/system/json/js_value.h"

#include <algorithm>

#include "common/system/json/white_space.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

/// Storage that is never torn down: values may be dropped while the process is ending.
union UndefinedStorage {
    constexpr UndefinedStorage() noexcept : value() {}
    // A defaulted one would be deleted, since the member has a destructor.
    ~UndefinedStorage() {}  // NOLINT(modernize-use-equals-default)

    CJSValue value;
};

constinit UndefinedStorage undefinedStorage;
constinit CJSValue* const kUndefined = &undefinedStorage.value;

/// Lists start with room for two and double when they are full.
template <class List>
void MakeRoom(List& list) {
    if (list.size() == list.capacity())
        list.reserve(std::max<std::size_t>(2, list.capacity() * 2));
}

}  // namespace

void JSValueDeleter::operator()(CJSValue* value) const noexcept {
    if (!value->IsUndefined())
        delete value;
}

CJSValue& CJSValue::Undefined() noexcept {
    return *kUndefined;
}

CJSValue::~CJSValue() = default;

CISOString CJSValue::Key() const {
    return {};
}

CISOString CJSValue::StringValue() const {
    return {};
}

bool CJSValue::BooleanValueOr(bool otherwise) const noexcept {
    return IsUndefined() ? otherwise : BooleanValue();
}

bool CJSValue::BooleanValue() const noexcept {
    return false;
}

std::int32_t CJSValue::IntegerValue() const noexcept {
    return 0;
}

bool CJSValue::BytesValue(std::vector<unsigned char>& bytes) const {
    bytes.clear();
    return false;
}

std::size_t CJSValue::Count() const noexcept {
    return 0;
}

const CJSValue& CJSValue::MemberByBytes(std::span<const unsigned char>) const {
    return Undefined();
}

const CJSValue& CJSValue::Member(std::string_view) const noexcept {
    return Undefined();
}

const CJSValue& CJSValue::Element(std::size_t) const noexcept {
    return Undefined();
}

bool CJSString::BytesValue(std::vector<unsigned char>& bytes) const {
    return DecodeHex(m_text, bytes);
}

CISOString CJSKeyedValue::StringValue() const {
    return m_value->StringValue();
}

bool CJSKeyedValue::BooleanValue() const noexcept {
    return m_value->BooleanValue();
}

std::int32_t CJSKeyedValue::IntegerValue() const noexcept {
    return m_value->IntegerValue();
}

bool CJSKeyedValue::BytesValue(std::vector<unsigned char>& bytes) const {
    return m_value->BytesValue(bytes);
}

std::size_t CJSKeyedValue::Count() const noexcept {
    return m_value->Count();
}

const CJSValue& CJSKeyedValue::Member(std::string_view name) const noexcept {
    return m_value->Member(name);
}

const CJSValue& CJSKeyedValue::Element(std::size_t index) const noexcept {
    return m_value->Element(index);
}

void CJSObject::Append(CISOString key, CJSValueOwner value) {
    MakeRoom(m_members);
    m_members.push_back(std::make_unique<CJSKeyedValue>(std::move(key), std::move(value)));
}

const CJSValue& CJSObject::MemberByBytes(std::span<const unsigned char> key) const {
    std::vector<unsigned char> decoded;
    for (const auto& member : m_members)
        if (DecodeHex(member->KeyView(), decoded) && std::ranges::equal(decoded, key))
            return *member;
    return Undefined();
}

const CJSValue& CJSObject::Member(std::string_view name) const noexcept {
    for (const auto& member : m_members)
        if (member->KeyView() == name)
            return *member;
    return Undefined();
}

const CJSValue& CJSObject::Element(std::size_t index) const noexcept {
    return index < m_members.size() ? *m_members[index] : Undefined();
}

void CJSArray::Append(CJSValueOwner value) {
    MakeRoom(m_elements);
    m_elements.push_back(std::move(value));
}

const CJSValue& CJSArray::Element(std::size_t index) const noexcept {
    return index < m_elements.size() ? *m_elements[index] : Undefined();
}

bool DecodeHex(std::string_view text, std::vector<unsigned char>& bytes) {
    bytes.clear();
    int high = -1;
    for (const char unit : text) {
        if (IsJSWhiteSpace(unit)) {
            if (high >= 0)
                bytes.push_back(static_cast<unsigned char>(std::exchange(high, -1)));
            continue;
        }
        const int nibble = HexValue(unit);
        if (nibble < 0)
            return false;
        if (high < 0)
            high = nibble;
        else
            bytes.push_back(static_cast<unsigned char>(std::exchange(high, -1) << 4 | nibble));
    }
    if (high >= 0)
        bytes.push_back(static_cast<unsigned char>(high));
    return true;
}

}  // namespace tarnwell
