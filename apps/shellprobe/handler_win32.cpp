#include "shellprobe/handler.h"

#include "shellprobe/shell_ids.h"
// Windows last.
#include <objidl.h>
#include <shlwapi.h>

namespace tarnwell::shellprobe {
namespace {

using Microsoft::WRL::ComPtr;

/// The default value of a key below HKEY_CLASSES_ROOT; empty without one.
std::wstring ClassesText(const std::wstring& key) {
    wchar_t text[MAX_PATH] = {};
    DWORD bytes = sizeof text;
    if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text,
                     &bytes) != ERROR_SUCCESS)
        return {};
    return text;
}

}  // namespace

std::optional<CLSID> RegisteredClass(const std::wstring& key) {
    CLSID classId = {};
    if (FAILED(CLSIDFromString(ClassesText(key).c_str(), &classId)) || classId == CLSID_NULL)
        return std::nullopt;
    return classId;
}

void CreateHandler(const CLSID& classId, const IID& id, void** object) {
    const HRESULT result = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, id, object);
    if (FAILED(result))
        throw ENoHandler("the registered handler cannot be created: " + Hex(result) +
                         ". Is its DLL still where it was registered?");
}

bool FindFileHandler(const std::wstring& file, const wchar_t* name, const IID& id, void** object) {
    const std::wstring extension = PathFindExtensionW(file.c_str());
    const std::wstring type = extension.empty() ? extension : ClassesText(extension);
    const std::optional<CLSID> classId =
        type.empty() ? std::nullopt : RegisteredClass(type + L"\\shellex\\" + name);
    if (!classId)
        return false;
    ComPtr<IPersistFile> persist;
    CreateHandler(*classId, kPersistFileId, reinterpret_cast<void**>(persist.GetAddressOf()));
    HRESULT result = persist->Load(file.c_str(), STGM_READ);
    if (SUCCEEDED(result))
        result = persist->QueryInterface(id, object);
    if (FAILED(result))
        throw ENoHandler("the handler does not take " + Utf8(file) + ": " + Hex(result));
    return true;
}

}  // namespace tarnwell::shellprobe
