#pragma once

// The window of a small explorer: a folder's files with the icons, tips and commands that the
// registered handlers give them. What it shows and does is told on standard output, one JSON object
// a line. Belongs to the thread that makes it, which must have COM initialised.

#include <optional>
#include <string>

#include "common/system/os/owners_win32.h"
#include "shellprobe/arguments.h"
#include "shellprobe/view/file_list.h"
#include "shellprobe/view/folder_watch.h"
#include "shellprobe/view/hover_tip.h"
#include "shellprobe/view/icon_worker.h"

namespace tarnwell::shellprobe {

class CExplorerWindow {
public:
    /// Makes the window of `folder`, a full path ended by a backslash; it is not shown yet.
    /// Throws std::runtime_error where no window can be made.
    CExplorerWindow(std::wstring folder, EViewMode mode);
    CExplorerWindow(const CExplorerWindow&) = delete;
    CExplorerWindow& operator=(const CExplorerWindow&) = delete;

    /// Run shows the window and returns when it has been closed.
    void Run();

private:
    static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM word, LPARAM value) noexcept;
    LRESULT Handle(UINT message, WPARAM word, LPARAM value);
    std::optional<LRESULT> Notified(NMHDR* notice);
    void Create();
    void Destroy();
    void Arrange();
    void Command(int id);
    void SetMode(EViewMode mode);
    void ShowFolder(bool isForced);
    void ShowStatus();
    void ShowMenu(POINT at);
    void AskNextIcon();
    void TakeIcons(const WantedIcon& wanted, const HandlerIcons& answer, bool isBackground);
    void FetchIcons();
    std::vector<std::wstring> SelectedPaths() const;

    std::wstring m_folder;
    EViewMode m_mode;
    CUnique<CHandleTraits<HFONT, DeleteObject>> m_font;
    FileIcons m_icons;  // of the folder, in the title bar
    HWND m_window = nullptr;
    HWND m_status = nullptr;
    // From the window's creation to its destruction.
    std::optional<CFileList> m_list;
    std::optional<CHoverTip> m_tip;
    std::optional<CIconWorker> m_worker;
    std::optional<CFolderWatch> m_watch;
    bool m_isIconPosted = false;     // a message to ask for the next icon is on its way
    HMENU m_untoldMenu = nullptr;    // about to stand on the screen
    bool m_isSelectionMenu = false;  // not the menu bar's
};

}  // namespace tarnwell::shellprobe
