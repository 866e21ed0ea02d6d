// Drop lists: any block is read inside its bounds, and what is read is what stands there.

#include <cstring>
#include <string>

#include "fuzz_support.h"
#include "tarnwell/core/drop_list.h"

using namespace tarnwell;

namespace {

/// Writes the names back as a list: the same bytes must stand at the front of the block's names.
std::string Rebuilt(const CDropList& list) {
    std::string bytes;
    const auto end = [&] { bytes.append(list.IsWide() ? 2 : 1, '\0'); };
    list.ForEach([&](const DropName& name) {
        Require(!name.path.IsEmpty());
        for (const char16_t unit : name.path.AsView()) {
            bytes += static_cast<char>(unit & 0xFF);
            if (list.IsWide())
                bytes += static_cast<char>(unit >> 8);
        }
        end();
    });
    end();
    return bytes;
}

}  // namespace

void tarnwell::Fuzz(std::string_view block) {
    const std::optional<CDropList> list = CDropList::Open(std::as_bytes(std::span(block)));
    if (!list)
        return;
    std::uint32_t offset = 0;  // the list's first field: where its names stand
    std::memcpy(&offset, block.data(), sizeof offset);
    Require(offset <= block.size() && block.substr(offset).starts_with(Rebuilt(*list)));
}
