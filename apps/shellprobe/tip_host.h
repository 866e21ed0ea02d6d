#pragma once

// The explorer's side of an info tip: finds the tip handler of a file's type in the registry,
// creates it through COM, hands it the file and asks. The thread must have COM initialised.

#include <optional>
#include <string>

#include "common/system/os/windows.h"
// Windows last.
#include <shlobj.h>
#include <wrl/client.h>

namespace tarnwell::shellprobe {

struct InfoTip {
    HRESULT result = E_FAIL;
    std::optional<std::wstring> text;
};

class CTipHost {
public:
    /// Find makes a host for `file`, a full path; nothing where the file's type has no tip
    /// handler. Throws ENoHandler where it has one that cannot be had.
    static std::optional<CTipHost> Find(const std::wstring& file);

    /// FromShell makes a host for what the system's shell answers with. Throws ENoHandler.
    static CTipHost FromShell(const std::wstring& file);

    /// Ask gives the tip of now.
    InfoTip Ask();

private:
    CTipHost() = default;

    Microsoft::WRL::ComPtr<IQueryInfo> m_handler;
};

}  // namespace tarnwell::shellprobe
