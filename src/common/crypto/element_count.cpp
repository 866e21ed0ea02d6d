#include "common/crypto/element_count.h"

#include <limits>
#include <optional>
#include <vector>

namespace tarnwell {

namespace {

constexpr unsigned char kConstructed = 0x20;
constexpr unsigned char kLongTag = 0x1F;
constexpr unsigned char kIndefinite = 0x80;

struct Header {
    unsigned char tag = 0;  ///< its first octet
    bool isIndefinite = false;
    std::size_t length = 0;
};

/// Takes a header off `at`; nothing where it, or what it announces, does not end before `end`.
std::optional<Header> TakeHeader(std::span<const unsigned char> file, std::size_t& at,
                                 std::size_t end) noexcept {
    Header header{file[at++]};
    if ((header.tag & kLongTag) == kLongTag)
        while (at < end && (file[at++] & 0x80)) {
        }
    if (at >= end)
        return std::nullopt;
    const unsigned char first = file[at++];
    header.isIndefinite = first == kIndefinite;
    header.length = first;
    if (first >= kIndefinite) {
        header.length = 0;
        for (std::size_t octets = first & 0x7Fu; octets > 0; --octets) {
            if (at >= end || header.length > std::numeric_limits<std::size_t>::max() >> 8)
                return std::nullopt;
            header.length = header.length << 8 | file[at++];
        }
    }
    if (header.length > end - at || (header.isIndefinite && !(header.tag & kConstructed)))
        return std::nullopt;
    return header;
}

}  // namespace

bool HasMoreElements(std::span<const unsigned char> file, std::size_t most) {
    // The ends of the elements of definite length that are open, innermost last.
    std::vector<std::size_t> ends = {file.size()};
    std::size_t count = 0;
    for (std::size_t at = 0; !ends.empty();) {
        const std::size_t end = ends.back();
        if (at >= end) {
            ends.pop_back();
            continue;
        }
        const std::optional<Header> header = TakeHeader(file, at, end);
        if (!header) {
            at = end;
            continue;
        }
        if (header->isIndefinite || header->tag != 0 || header->length != 0)
            ++count;
        if (count > most)
            return true;
        const std::size_t next = at + header->length;
        if (!header->isIndefinite && count == 1 && ends.size() == 1)
            ends.front() = next;  // what follows the encoding does not belong to it
        if (!(header->tag & kConstructed))
            at = next;
        else if (!header->isIndefinite && next < ends.back())
            ends.push_back(next);
    }
    return false;
}

}  // namespace tarnwell
