#pragma once

// The file list: Windows' list view with one row a file, each with a place for its icon. It keeps
// selection and focus while the folder changes under it. Belongs to the window's thread.

#include <optional>
#include <string>
#include <vector>

#include "shellprobe/arguments.h"
#include "shellprobe/view/folder_listing.h"
#include "shellprobe/view/icon_shelf.h"

namespace tarnwell::shellprobe {

struct WantedIcon {
    std::wstring name;
    std::uint64_t version = 0;  ///< of the row; an answer for an older one is out of date
};

class CFileList {
public:
    /// Makes the control, a child of `parent` with the control id `id`.
    CFileList(HWND parent, int id, HFONT font);

    HWND Window() const noexcept { return m_window; }

    /// SetMode shows large icons, small icons or details.
    void SetMode(EViewMode mode);

    /// Show takes the folder's files of now, in order; false when nothing differs.
    bool Show(const std::vector<FolderFile>& files);

    /// AskAllAgain makes every icon out of date; each stays until its successor comes.
    void AskAllAgain();

    /// ImageOf gives the place of a row's icon (the generic one until it has its own) and notes
    /// that its icon is wanted.
    int ImageOf(int row);

    /// NextWanted gives a row that is on the screen and whose icon nobody has asked for yet.
    std::optional<WantedIcon> NextWanted();

    /// SetIcons takes the icons for a row; false when the row is gone or has changed since.
    bool SetIcons(const WantedIcon& wanted, const FileIcons& icons);

    /// Name gives a row's file; empty for no row.
    std::wstring Name(int row) const;
    std::vector<std::wstring> Names() const;
    std::vector<std::wstring> Selected() const;

    /// RowAt gives the row under a point of the control, -1 for none.
    int RowAt(POINT point) const;

    /// IconCentres gives the middle of each row's icon, in screen coordinates.
    std::vector<POINT> IconCentres() const;

    /// MenuPoint is where a menu asked for with the keyboard belongs, in screen coordinates.
    POINT MenuPoint() const;

    /// ImageCount is how many pictures the image lists hold.
    int ImageCount() const { return m_shelf.Count(); }

private:
    struct Row {
        FolderFile file;
        std::uint64_t version = 0;
        int place = -1;
        bool isWanted = false;  // someone looks at it
        bool isAsked = false;
    };

    void Insert(std::size_t at, const FolderFile& file);
    void Update(std::size_t at, const FolderFile& file);
    void Remove(std::size_t at);
    void SetTexts(std::size_t at);
    void FitColumns();

    HWND m_window;
    CIconShelf m_shelf;
    int m_generic;
    std::vector<Row> m_rows;  // as the control's rows, in the same order
    std::uint64_t m_lastVersion = 0;
};

}  // namespace tarnwell::shellprobe
