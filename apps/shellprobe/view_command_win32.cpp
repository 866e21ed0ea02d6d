#include "shellprobe/commands.h"

#include "shellprobe/full_path.h"
#include "shellprobe/output.h"
#include "shellprobe/view/explorer_window.h"

namespace tarnwell::shellprobe {

int RunView(const Arguments& arguments) {
    std::wstring folder = FullPath(arguments.files.front());
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        throw EUsage("there is no folder " + Utf8(folder));
    if (!folder.ends_with(L'\\'))
        folder.push_back(L'\\');
    CExplorerWindow window(folder, arguments.mode);
    window.Run();
    return 0;
}

}  // namespace tarnwell::shellprobe
