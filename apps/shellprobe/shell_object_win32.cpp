#include "shellprobe/shell_object.h"

#include "common/system/os/owners_win32.h"
#include "shellprobe/handler.h"
#include "shellprobe/output.h"
#include "shellprobe/shell_ids.h"
// Windows last.
#include <shlobj.h>
#include <wrl/client.h>

namespace tarnwell::shellprobe {

void ShellObject(const std::wstring& file, const IID& id, void** object) {
    CUniqueTaskMemory<ITEMIDLIST_ABSOLUTE> full;
    Microsoft::WRL::ComPtr<IShellFolder> folder;
    LPCITEMIDLIST child = nullptr;  // inside `full`
    HRESULT result = SHParseDisplayName(file.c_str(), nullptr, full.Put(), 0, nullptr);
    if (SUCCEEDED(result))
        result = SHBindToParent(full.Get(), kShellFolderId,
                                reinterpret_cast<void**>(folder.GetAddressOf()), &child);
    if (SUCCEEDED(result))
        result = folder->GetUIObjectOf(nullptr, 1, &child, id, nullptr, object);
    if (FAILED(result))
        throw ENoHandler("the shell has no such object for " + Utf8(file) + ": " + Hex(result));
}

}  // namespace tarnwell::shellprobe
