#pragma once

// The explorer's side of an icon: finds the icon handler of a file's type in the registry, creates
// it through COM, hands it the file and asks for the pictures. One host a file and thread, as the
// explorer does; the thread must have COM initialised.

#include <optional>
#include <string>

#include "common/system/os/owners_win32.h"
// Windows last.
#include <shlobj.h>
#include <wrl/client.h>

namespace tarnwell::shellprobe {

struct IconLocation {
    HRESULT result = E_FAIL;  ///< E_PENDING: ask again without GIL_ASYNC, from another thread
    std::wstring file;        ///< empty where the handler names none
    int index = 0;
    UINT flags = 0;  ///< GIL_… that the handler gave
};

struct ExtractedIcons {
    HRESULT result = E_FAIL;
    CUniqueIcon large;  ///< null where none was asked for or given
    CUniqueIcon small;
};

class CIconHost {
public:
    /// Find makes a host for `file`, a full path; nothing where the file's type has no icon
    /// handler. Throws ENoHandler where it has one that cannot be had.
    static std::optional<CIconHost> Find(const std::wstring& file);

    /// FromShell makes a host for what the system's shell answers with. Throws ENoHandler.
    static CIconHost FromShell(const std::wstring& file);

    /// Locate asks where the icon is, with GIL_… flags. It comes before Extract: the handler reads
    /// the file here.
    IconLocation Locate(UINT flags);

    /// Extract asks for the pictures at these sizes in pixels; 0 asks for none of that size.
    ExtractedIcons Extract(const IconLocation& location, WORD largeSize, WORD smallSize);

private:
    CIconHost() = default;

    Microsoft::WRL::ComPtr<IExtractIconW> m_handler;
};

/// SizeOf gives an icon's pixels; nothing for none.
std::optional<SIZE> SizeOf(const CUniqueIcon& icon);

}  // namespace tarnwell::shellprobe
