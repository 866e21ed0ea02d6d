#pragma once

// How much an encoded file asks a parser to build, found out without building it. An element of two
// octets, such as an empty SEQUENCE among an attribute's values, becomes a hundred octets of
// memory: 64 MB of them took 3.4 GB. Any thread may call; no state.

#include <cstddef>
#include <span>

namespace tarnwell {

/// HasMoreElements tells whether the first encoding in `file` (X.690, BER) has more than `most`
/// elements, ends of indefinite lengths not counted. What is malformed in an element is passed over
/// up to that element's end, since it may be content that nobody takes apart.
bool HasMoreElements(std::span<const unsigned char> file, std::size_t most);

}  // namespace tarnwell
