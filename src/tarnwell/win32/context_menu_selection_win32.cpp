#include "tarnwell/win32/context_menu_selection.h"

#include <cstddef>
#include <span>

#include "common/system/trace/trace.h"
#include "tarnwell/core/drop_list.h"
// Windows last.
#include <shellapi.h>

namespace tarnwell {
namespace {

/// The global memory in which a data object hands over its list of files.
class CDropMedium {
public:
    CDropMedium() noexcept = default;
    ~CDropMedium() { ReleaseStgMedium(&m_medium); }
    CDropMedium(const CDropMedium&) = delete;
    CDropMedium& operator=(const CDropMedium&) = delete;

    /// Fetch asks for the list; false when it cannot be had as global memory.
    bool Fetch(IDataObject* dataObject) noexcept {
        FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        if (!dataObject || FAILED(dataObject->GetData(&format, &m_medium)))
            m_medium = {};  // whatever a failed call left there is not ours to release
        return m_medium.tymed == TYMED_HGLOBAL && m_medium.hGlobal;
    }

    HGLOBAL Memory() const noexcept { return m_medium.hGlobal; }

private:
    STGMEDIUM m_medium = {};
};

class CLockedMemory {
public:
    explicit CLockedMemory(HGLOBAL memory) noexcept
        : m_memory(memory), m_data(static_cast<const std::byte*>(GlobalLock(memory))) {}
    ~CLockedMemory() {
        if (m_data)
            GlobalUnlock(m_memory);
    }
    CLockedMemory(const CLockedMemory&) = delete;
    CLockedMemory& operator=(const CLockedMemory&) = delete;

    std::span<const std::byte> Bytes() const noexcept {
        return m_data ? std::span(m_data, GlobalSize(m_memory)) : std::span<const std::byte>();
    }

private:
    HGLOBAL m_memory;
    const std::byte* m_data;
};

std::vector<CUTF16String> ReadNames(const CDropList& list) {
    // The trace takes names as UTF-8, wide ones too.
    const char* const line =
        list.IsWide() ? "The files is wide, name is: %s" : "The files is not wide, name is: %s";
    std::vector<CUTF16String> files;
    files.reserve(list.Count());
    list.ForEach([&](DropName name) {
        TraceString(line, name.shown.CStr());
        files.push_back(std::move(name.path));
    });
    return files;
}

/// ReadLocked reads the list while its memory is locked.
std::vector<CUTF16String> ReadLocked(HGLOBAL memory) {
    TraceString("Locking medium...");
    const CLockedMemory block(memory);
    // The shell's own count walks the block without looking at its size, so the walk that does
    // look comes first.
    const std::optional<CDropList> list = CDropList::Open(block.Bytes());
    if (!list || list->Count() == 0 ||
        DragQueryFileW(static_cast<HDROP>(memory), 0xFFFFFFFF, nullptr, 0) == 0) {
        TraceString("Unlocking medium because no files");
        return {};
    }
    std::vector<CUTF16String> files = ReadNames(*list);
    TraceString("Unlocking medium");
    return files;
}

}  // namespace

std::optional<std::vector<CUTF16String>> ReadSelection(IDataObject* dataObject) {
    CDropMedium medium;
    if (!medium.Fetch(dataObject)) {
        TraceString("Failed to Get data");
        return std::nullopt;
    }
    std::vector<CUTF16String> files = ReadLocked(medium.Memory());
    TraceString("Releasing medium");
    if (files.empty())
        return std::nullopt;
    return files;
}

}  // namespace tarnwell
