#pragma once

// Reads JSON text as the manager's catalogue spells it: more lenient than RFC 8259 in some places
// (unquoted keys, octal escapes, trailing commas, any character that closes an array), stricter in
// others (no negative or fractional numbers, no null). One pass, nothing copied but the texts of
// the result. Pure but for one message on the standard output; any thread may call.

#include "common/system/json/js_value.h"

namespace tarnwell {

/// How deep objects and arrays may be nested: each level is one level of the stack.
inline constexpr int kMaxJSDepth = 512;

/// ParseJSValue reads one value from `cursor` on, never at or beyond `end`, and leaves `cursor`
/// behind it. The undefined value stands for a failure: an error anywhere inside an object fails
/// that object and every one around it and leaves `cursor` at `end`; text nested deeper than
/// kMaxJSDepth or without memory for it gives the undefined value as a whole. Never throws.
///
/// A number above 2,147,483,647 gives 2,147,483,647. A key that no ":" follows is reported on the
/// standard output.
CJSValueOwner ParseJSValue(const char*& cursor, const char* end) noexcept;

}  // namespace tarnwell
