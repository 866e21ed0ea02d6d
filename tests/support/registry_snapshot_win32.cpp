#include "support/registry_snapshot_win32.h"

#include "common/system/os/owners_win32.h"
#include "common/system/text/convert.h"

#include <vector>

namespace tarnwell::test {
namespace {

std::string Text(const wchar_t* units, std::size_t length) {
    return Utf8FromUtf16({Units(units), length}).CStr();
}

std::map<std::string, std::string> ReadValues(HKEY key) {
    std::map<std::string, std::string> values;
    std::vector<wchar_t> name(1000), data(10000);
    for (DWORD index = 0;; ++index) {
        auto nameLength = static_cast<DWORD>(name.size());
        auto bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        DWORD type = 0;
        if (RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type,
                          reinterpret_cast<BYTE*>(data.data()), &bytes) != ERROR_SUCCESS)
            return values;
        // The terminator belongs to a stored text: one that lacks it shows as cut.
        values[Text(name.data(), nameLength)] =
            type == REG_SZ ? Text(data.data(), bytes / sizeof(wchar_t) - (bytes > 0 ? 1 : 0))
                           : "type " + std::to_string(type);
    }
}

void ReadBelow(HKEY key, const std::string& prefix, RegistrySnapshot& snapshot) {
    std::vector<wchar_t> name(256);
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            return;
        CUniqueRegistryKey child;
        RegOpenKeyExW(key, name.data(), 0, KEY_READ, child.Put());
        const std::string path = prefix + Text(name.data(), length);
        snapshot[path] = ReadValues(child.Get());
        ReadBelow(child.Get(), path + "\\", snapshot);
    }
}

}  // namespace

RegistrySnapshot ReadRegistry(HKEY root) {
    RegistrySnapshot snapshot;
    ReadBelow(root, "", snapshot);
    return snapshot;
}

}  // namespace tarnwell::test
