#include "shellprobe/data_object.h"

#include <cstring>

#include "shellprobe/shell_ids.h"
// Windows last.
#include <shlobj.h>

namespace tarnwell::shellprobe {
namespace {

using Microsoft::WRL::ComPtr;

/// A CF_HDROP list and nothing else: what a search window with results of many folders hands over.
class CDropDataObject final : public IDataObject {
public:
    explicit CDropDataObject(const std::vector<std::wstring>& files) {
        for (const std::wstring& file : files)
            m_names.append(file).push_back(L'\0');
        m_names.push_back(L'\0');
    }

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        if (!object)
            return E_POINTER;
        const bool isOffered = IsEqualIID(id, kUnknownId) || IsEqualIID(id, kDataObjectId);
        *object = isOffered ? this : nullptr;
        if (isOffered)
            AddRef();
        return isOffered ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override {
        if (const HRESULT result = QueryGetData(format); result != S_OK)
            return result;
        const std::size_t bytes = m_names.size() * sizeof(wchar_t);
        const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, sizeof(DROPFILES) + bytes);
        if (!memory)
            return E_OUTOFMEMORY;
        DROPFILES header = {};
        header.pFiles = sizeof header;
        header.fWide = TRUE;
        auto* block = static_cast<char*>(GlobalLock(memory));
        std::memcpy(block, &header, sizeof header);
        std::memcpy(block + sizeof header, m_names.data(), bytes);
        GlobalUnlock(memory);
        *medium = {};
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = memory;
        return S_OK;
    }
    STDMETHODIMP QueryGetData(FORMATETC* format) override {
        const bool isDrop = format && format->cfFormat == CF_HDROP &&
                            format->dwAspect == DVASPECT_CONTENT && format->lindex == -1;
        if (!isDrop)
            return DV_E_FORMATETC;
        return format->tymed & TYMED_HGLOBAL ? S_OK : DV_E_TYMED;
    }
    STDMETHODIMP EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override {
        if (direction != DATADIR_GET)
            return E_NOTIMPL;
        const FORMATETC drop = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        return SHCreateStdEnumFmtEtc(1, &drop, formats);
    }

    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override {
        return OLE_E_ADVISENOTSUPPORTED;
    }
    STDMETHODIMP DUnadvise(DWORD) override { return OLE_E_ADVISENOTSUPPORTED; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return OLE_E_ADVISENOTSUPPORTED; }

private:
    ~CDropDataObject() = default;

    ULONG m_references = 1;
    std::wstring m_names;  // each ended by a zero, with an empty one at the end
};

/// The files as items of their common folder.
class CFolderItems {
public:
    CFolderItems() = default;
    ~CFolderItems() {
        for (const LPITEMIDLIST full : m_full)
            CoTaskMemFree(full);
    }
    CFolderItems(const CFolderItems&) = delete;
    CFolderItems& operator=(const CFolderItems&) = delete;

    /// Add takes one more file; false when the shell does not know it.
    bool Add(const std::wstring& path) {
        LPITEMIDLIST full = nullptr;
        if (FAILED(SHParseDisplayName(path.c_str(), nullptr, &full, 0, nullptr)))
            return false;
        m_full.push_back(full);
        LPCITEMIDLIST child = nullptr;
        ComPtr<IShellFolder> folder;
        if (FAILED(SHBindToParent(full, kShellFolderId,
                                  reinterpret_cast<void**>(folder.GetAddressOf()), &child)))
            return false;
        if (!m_folder)
            m_folder = folder;
        m_children.push_back(child);
        return true;
    }

    /// DataObject is the shell's own for all the files, null if it makes none.
    ComPtr<IDataObject> DataObject() const {
        ComPtr<IDataObject> object;
        m_folder->GetUIObjectOf(nullptr, static_cast<UINT>(m_children.size()),
                                const_cast<LPCITEMIDLIST*>(m_children.data()), kDataObjectId,
                                nullptr, reinterpret_cast<void**>(object.GetAddressOf()));
        return object;
    }

private:
    std::vector<LPITEMIDLIST> m_full;
    std::vector<LPCITEMIDLIST> m_children;  // each inside one of m_full
    ComPtr<IShellFolder> m_folder;
};

std::wstring FolderOf(const std::wstring& path) {
    return path.substr(0, path.rfind(L'\\') + 1);
}

ComPtr<IDataObject> ShellDataObject(const std::vector<std::wstring>& files) {
    CFolderItems items;
    for (const std::wstring& file : files) {
        if (FolderOf(file) != FolderOf(files.front()) || !items.Add(file))
            return nullptr;
    }
    return files.empty() ? nullptr : items.DataObject();
}

}  // namespace

ComPtr<IDataObject> MakeDataObject(const std::vector<std::wstring>& files) {
    ComPtr<IDataObject> object = ShellDataObject(files);
    if (!object)
        *object.GetAddressOf() = new CDropDataObject(files);  // Attach would count once more
    return object;
}

}  // namespace tarnwell::shellprobe
