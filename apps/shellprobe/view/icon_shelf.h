#pragma once

// The two image lists of the file list, large and small, with the same places in both. A place that
// is given back is used again, so the lists hold as many pictures as the folder ever had files at
// once. Belongs to the window's thread.

#include <vector>

#include "shellprobe/view/file_icons.h"
// Windows last.
#include <commctrl.h>

namespace tarnwell::shellprobe {

using CUniqueImageList = CUnique<CHandleTraits<HIMAGELIST, ImageList_Destroy>>;

class CIconShelf {
public:
    CIconShelf();

    HIMAGELIST Large() const noexcept { return m_large.Get(); }
    HIMAGELIST Small() const noexcept { return m_small.Get(); }

    /// Put copies the icons to a free place and gives it; -1 where the lists take no more.
    int Put(const FileIcons& icons);

    /// Free gives a place back; -1 is none.
    void Free(int place);

    /// Count is how many places the lists have.
    int Count() const;

private:
    CUniqueImageList m_large;
    CUniqueImageList m_small;
    std::vector<int> m_free;
};

}  // namespace tarnwell::shellprobe
