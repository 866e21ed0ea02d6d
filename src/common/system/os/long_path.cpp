#include "common/system/os/long_path.h"

namespace tarnwell {
namespace {

bool IsDriveLetter(char16_t unit) noexcept {
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

}  // namespace

CUTF16String ExtendedPath(const CUTF16String& fullPath) {
    if (fullPath.StartsWith(u"\\\\?\\") || fullPath.StartsWith(u"\\\\.\\"))
        return fullPath;
    if (fullPath.StartsWith(u"\\\\"))
        return CUTF16String(u"\\\\?\\UNC") + fullPath.AsView().substr(1);
    if (fullPath.Length() >= 3 && IsDriveLetter(fullPath[0]) && fullPath[1] == u':' &&
        fullPath[2] == u'\\')
        return CUTF16String(u"\\\\?\\") + fullPath;
    return fullPath;
}

}  // namespace tarnwell
