// The catalogue's JSON reader over arbitrary bytes: it stays inside its text, and the tree it gives
// answers every question consistently.

#include <vector>

#include "common/system/json/js_parser.h"
#include "fuzz_support.h"

namespace {

using namespace tarnwell;

// Looking up every member of a large object takes quadratic time.
constexpr std::size_t kLookups = 64;

void Walk(const CJSValue& value, int depth) {
    Require(depth <= 2 * kMaxJSDepth);
    const auto text = value.StringValue();
    Require(text.CStr()[text.Length()] == '\0');
    std::vector<unsigned char> bytes;
    if (value.BytesValue(bytes))
        Require(bytes.size() <= text.Length());
    Require(value.IntegerValue() >= 0);
    Require(!value.IsUndefined() || value.BooleanValueOr(true));

    const std::size_t count = value.Count();
    Require(value.Element(count).IsUndefined());
    Require(value.Element(SIZE_MAX).IsUndefined());
    for (std::size_t i = 0; i < count; ++i) {
        const CJSValue& element = value.Element(i);
        const auto* const member = dynamic_cast<const CJSKeyedValue*>(&element);
        if (member != nullptr && i < kLookups) {
            const auto key = member->Key();
            const CJSValue& found = value.Member(key);
            Require(!found.IsUndefined() && found.Key() == key);
            if (DecodeHex(key, bytes))
                Require(!value.MemberByBytes(bytes).IsUndefined());
        }
        // A member answers as its value does: going on with the value walks each node once.
        Walk(member != nullptr ? member->Value() : element, depth + 1);
    }
}

}  // namespace

void tarnwell::Fuzz(std::string_view text) {
    const char* const end = text.data() + text.size();
    for (const char* cursor = text.data(); cursor < end;) {
        const char* const before = cursor;
        Walk(*ParseJSValue(cursor, end), 0);
        Require(cursor >= before && cursor <= end);
        if (cursor == before)
            ++cursor;
    }
}
