#include "shellprobe/view/icon_shelf.h"

namespace tarnwell::shellprobe {
namespace {

HIMAGELIST MakeList(WORD size) {
    constexpr int kStart = 32;
    return ImageList_Create(size, size, ILC_COLOR32 | ILC_MASK, kStart, kStart);
}

}  // namespace

CIconShelf::CIconShelf() : m_large(MakeList(kLargeIcon)), m_small(MakeList(kSmallIcon)) {}

int CIconShelf::Put(const FileIcons& icons) {
    const int wanted = m_free.empty() ? -1 : m_free.back();
    const int place = ImageList_ReplaceIcon(m_large.Get(), wanted, icons.large.Get());
    if (place < 0)
        return -1;
    if (ImageList_ReplaceIcon(m_small.Get(), wanted, icons.small.Get()) < 0) {
        if (wanted < 0)
            ImageList_Remove(m_large.Get(), place);  // places stay the same in both
        return -1;
    }
    if (wanted >= 0)
        m_free.pop_back();
    return place;
}

void CIconShelf::Free(int place) {
    if (place >= 0)
        m_free.push_back(place);
}

int CIconShelf::Count() const {
    return ImageList_GetImageCount(m_large.Get());
}

}  // namespace tarnwell::shellprobe
