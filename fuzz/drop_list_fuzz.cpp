// Drop lists: any block is read inside its bounds, and what is read is what stands there.

#include <algorithm>
#include <memory>
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A copy that ends where its memory ends: the fuzzer's own buffer may have room behind it.
    const auto block = std::make_unique<std::byte[]>(size);
    std::copy_n(reinterpret_cast<const std::byte*>(data), size, block.get());

    const std::optional<CDropList> list = CDropList::Open({block.get(), size});
    if (!list)
        return 0;
    const std::string bytes = Rebuilt(*list);
    const std::size_t offset =
        data[0] | data[1] << 8 | data[2] << 16 | static_cast<std::size_t>(data[3]) << 24;
    Require(offset <= size && TextOf(data + offset, size - offset).starts_with(bytes));
    return 0;
}
