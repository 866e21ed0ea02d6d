#include "tarnwell/win32/registration.h"

#include "common/system/os/owners_win32.h"
#include "tarnwell/win32/guard.h"
#include "tarnwell/win32/module.h"

namespace tarnwell {
namespace {

HRESULT ResultOf(LSTATUS status) noexcept {
    return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

/// Deleting is done when nothing is there, whoever removed it.
LSTATUS IgnoreMissing(LSTATUS status) noexcept {
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND ? ERROR_SUCCESS
                                                                            : status;
}

LSTATUS DeleteTree(HKEY root, const CUTF16String& key) noexcept {
    return IgnoreMissing(RegDeleteTreeW(root, Wide(key)));
}

LSTATUS WriteRow(HKEY root, const RegistrationRow& row, const CUTF16String& modulePath) {
    const CUTF16String key = RegistrationText(row.key, modulePath);
    if (row.flag == ERowFlag::kForce)
        if (const LSTATUS status = DeleteTree(root, key); status != ERROR_SUCCESS)
            return status;
    CUniqueRegistryKey opened;
    LSTATUS status = RegCreateKeyExW(root, Wide(key), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_SET_VALUE, nullptr, opened.Put(), nullptr);
    for (const RegistrationValue& value : row.Values()) {
        if (status != ERROR_SUCCESS)
            break;
        const CUTF16String text = RegistrationText(value.text, modulePath);
        const auto bytes = static_cast<DWORD>((text.Length() + 1) * sizeof(char16_t));
        status = RegSetValueExW(opened.Get(), Wide(CUTF16String(value.name)), 0, REG_SZ,
                                reinterpret_cast<const BYTE*>(text.CStr()), bytes);
    }
    return status;
}

LSTATUS RemovePlainRow(HKEY root, const RegistrationRow& row, const CUTF16String& key) {
    CUniqueRegistryKey opened;
    LSTATUS status =
        RegOpenKeyExW(root, Wide(key), 0, KEY_QUERY_VALUE | KEY_SET_VALUE, opened.Put());
    for (const RegistrationValue& value : row.Values())
        if (status == ERROR_SUCCESS && !value.name.empty())
            status = IgnoreMissing(RegDeleteValueW(opened.Get(), Wide(CUTF16String(value.name))));
    DWORD subkeys = 0;
    if (status == ERROR_SUCCESS)
        status = RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, &subkeys, nullptr,
                                  nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_SUCCESS && subkeys == 0)
        status = RegDeleteKeyW(root, Wide(key));
    return IgnoreMissing(status);
}

LSTATUS RemoveRow(HKEY root, const RegistrationRow& row) {
    const CUTF16String key = RegistrationText(row.key, CUTF16String());
    switch (row.flag) {
        case ERowFlag::kForce:
            return DeleteTree(root, key);
        case ERowFlag::kPlain:
            return RemovePlainRow(root, row, key);
        case ERowFlag::kKeep:
            break;
    }
    return ERROR_SUCCESS;
}

}  // namespace

HRESULT WriteRows(HKEY root, std::span<const RegistrationRow> rows,
                  const CUTF16String& modulePath) {
    for (const RegistrationRow& row : rows)
        if (const LSTATUS status = WriteRow(root, row, modulePath); status != ERROR_SUCCESS)
            return ResultOf(status);
    return S_OK;
}

HRESULT RemoveRows(HKEY root, std::span<const RegistrationRow> rows) {
    for (std::size_t i = rows.size(); i-- > 0;)
        if (const LSTATUS status = RemoveRow(root, rows[i]); status != ERROR_SUCCESS)
            return ResultOf(status);
    return S_OK;
}

HRESULT ReadModulePath(CUTF16String& path) {
    wchar_t units[MAX_PATH];
    const DWORD length = GetModuleFileNameW(Module().Instance(), units, MAX_PATH);
    if (length == 0)
        return HRESULT_FROM_WIN32(GetLastError());
    if (length == MAX_PATH)
        return kPathTooLong;
    path = CUTF16String(Units(units), length);
    return S_OK;
}

HRESULT UpdateRegistry(ERegistryUpdate update, HKEY root) {
    CUTF16String modulePath;
    const HRESULT result = ReadModulePath(modulePath);
    if (FAILED(result))
        return result;
    return update == ERegistryUpdate::kRegister ? WriteRows(root, RegistrationTable(), modulePath)
                                                : RemoveRows(root, RegistrationTable());
}

HRESULT UpdateAllClasses(ERegistryUpdate update, HKEY root) noexcept {
    return GuardUntraced([&] {
        for (const ObjectTableEntry& entry : ObjectTable())
            if (const HRESULT result = entry.updateRegistry(update, root); FAILED(result))
                return result;
        return S_OK;
    });
}

}  // namespace tarnwell
