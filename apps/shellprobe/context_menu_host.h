#pragma once

// The explorer's side of a context menu: finds the handler in the registry, creates it through
// COM, hands it the selection, lets it fill a menu and reads what it inserted.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/system/os/owners_win32.h"
// Windows last.
#include <shlobj.h>
#include <wrl/client.h>

namespace tarnwell::shellprobe {

struct MenuItem {
    bool isSeparator = false;
    UINT id = 0;
    std::wstring text;
    std::optional<std::wstring> verb;
    bool isDefault = false;
    std::optional<SIZE> bitmap;  ///< pixels of the picture
};

class CContextMenuHost {
public:
    /// Looks the handler up and creates it. COM must be initialised. Throws ENoHandler.
    CContextMenuHost();

    /// Initialize hands over the selection.
    HRESULT Initialize(IDataObject* selection);

    /// Query lets the handler fill a fresh menu.
    HRESULT Query(UINT firstId, UINT lastId, UINT flags);

    /// Fill does both, for a menu that is going to be used. Throws ENoHandler where one fails.
    void Fill(IDataObject* selection, UINT firstId, UINT lastId, UINT flags);

    /// Items reads the menu from top to bottom.
    std::vector<MenuItem> Items() const;

    /// Menu is the menu itself, for a window that adds items of its own; null before Query.
    HMENU Menu() const noexcept { return m_menu.Get(); }

    /// Invoke carries out the command at `offset`, as the explorer does: with the Unicode form of
    /// the structure and the offset in both its verbs.
    HRESULT Invoke(UINT offset, HWND owner);

    /// Track shows the menu and gives the offset that was chosen; nothing when it was closed.
    std::optional<UINT> Track(POINT at, HWND owner);

private:
    MenuItem ItemAt(UINT position) const;
    std::optional<std::wstring> VerbOf(UINT offset) const;

    Microsoft::WRL::ComPtr<IContextMenu> m_handler;
    CUniqueMenu m_menu;
    UINT m_firstId = 1;
};

}  // namespace tarnwell::shellprobe
