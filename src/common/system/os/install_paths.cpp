#include "common/system/os/install_paths.h"

namespace tarnwell {
namespace {

constexpr std::u16string_view kX64 = u"x64";
constexpr std::u16string_view kWin32 = u"win32";

}  // namespace

CUTF16String DirectoryOf(const CUTF16String& path) {
    const std::size_t backslash = path.FindLast(u'\\');
    return backslash == CUTF16String::npos ? CUTF16String() : path.Sub(0, backslash);
}

CUTF16String ModuleDirectory(const CUTF16String& modulePath) {
    return DirectoryOf(modulePath);
}

CUTF16String ResourceDirectory(const CUTF16String& modulePath) {
    return ModuleDirectory(modulePath) + u"\\..\\resources";
}

CUTF16String ResourceFile(const CUTF16String& name, const CUTF16String& modulePath) {
    return ResourceDirectory(modulePath) + u"/" + name;
}

CUTF16String GraphicsArchive(const CUTF16String& modulePath) {
    return ModuleDirectory(modulePath) + u"\\..\\resources\\graphics.bin#zip:";
}

CUTF16String TraceLibraryPath(const CUTF16String& modulePath) {
    return ModuleDirectory(modulePath) + u"\\zelLog.dll";
}

CUTF16String CacheServicePath(const CUTF16String& modulePath) {
    return ModuleDirectory(modulePath) + u"\\zelCacheSrv.exe";
}

CUTF16String MapTo32BitInstall(const CUTF16String& path, const ProgramFilesFolders& folders) {
    const CUTF16String& programFiles64 = folders.programFiles64;
    if (!programFiles64.IsEmpty() && path.StartsWith(programFiles64))
        return folders.programFiles32 + path.AsView().substr(programFiles64.Length());
    const std::size_t found = path.Find(kX64);
    if (found == CUTF16String::npos)
        return path;
    return path.Sub(0, found) + kWin32 + path.AsView().substr(found + kX64.size());
}

}  // namespace tarnwell
