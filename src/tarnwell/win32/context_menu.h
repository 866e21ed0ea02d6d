#pragma once

// The explorer's context-menu handler for every file type: takes the selected files, offers the
// protecting commands or, for one container, the opening ones, and carries the chosen one out.
// One object a menu, made by the class object, used on the explorer's apartment thread only.
// The explorer may call Initialize again (it first hands over the first few files of a large
// selection, later all of them) and QueryContextMenu any number of times.

#include <cstdint>
#include <memory>
#include <vector>

#include "common/system/text/string.h"
#include "tarnwell/core/menu_model.h"
#include "tarnwell/win32/com_object.h"
#include "tarnwell/win32/context_menu_services.h"

namespace tarnwell {

class CContextMenu final : public CComObject<IShellExtInit, IContextMenu> {
public:
    /// `services` is where commands lead to; it must outlive the object.
    explicit CContextMenu(CMenuServices& services = CMenuServices::System()) noexcept
        : m_services(services) {}

    /// Initialize replaces the file list by the selection in `dataObject` (its CF_HDROP); folder
    /// and key are not looked at. E_INVALIDARG, and an empty list, when there is no such data or
    /// no file in it; a list whose names do not end inside their block counts as one without files.
    STDMETHODIMP Initialize(LPCITEMIDLIST folder, IDataObject* dataObject,
                            HKEY progIdKey) noexcept override;

    /// QueryContextMenu inserts the items at `index` with ids from `firstId` on. A success code of
    /// 3 when items were inserted, S_OK when the ids do not suffice, E_FAIL without a catalogue,
    /// for a menu without default item in protect mode, or when nothing could be inserted. The
    /// pictures of the items stay the module's.
    STDMETHODIMP QueryContextMenu(HMENU menu, UINT index, UINT firstId, UINT lastId,
                                  UINT flags) noexcept override;

    /// InvokeCommand carries out the command at the offset in `info` and shows a message box when
    /// it fails. E_INVALIDARG for a verb given as text and an offset that the mode does not have,
    /// E_FAIL after a failure.
    STDMETHODIMP InvokeCommand(LPCMINVOKECOMMANDINFO info) noexcept override;

    /// GetCommandString copies the verb at `offset` into `buffer` of `size` characters (8-bit or
    /// UTF-16 as `type` says), terminated. E_INVALIDARG for another type, offset or size, and
    /// 0x8007007A after cutting a verb that does not fit.
    STDMETHODIMP GetCommandString(UINT_PTR offset, UINT type, UINT* reserved, LPSTR buffer,
                                  UINT size) noexcept override;

private:
    using CFileList = std::vector<CUTF16String>;

    HRESULT Gather(IDataObject* dataObject);
    HRESULT Fill(HMENU menu, UINT index, UINT firstId, UINT lastId, UINT flags);
    HRESULT CarryOut(const CMINVOKECOMMANDINFO& info);
    ResultCode Open(const CFileList& files);
    void ShowFailure(const FailureKeys& keys, HWND owner);

    CMenuServices& m_services;
    // Shared, because carrying out a command runs the message loop, in which Initialize may come.
    std::shared_ptr<const CFileList> m_files = std::make_shared<const CFileList>();
    // Written by QueryContextMenu only, and only for exactly one file.
    EMenuMode m_mode = EMenuMode::kProtect;
};

}  // namespace tarnwell
