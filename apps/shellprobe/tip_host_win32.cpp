#include "shellprobe/tip_host.h"

#include "common/system/os/owners_win32.h"
#include "shellprobe/handler.h"
#include "shellprobe/shell_ids.h"
#include "shellprobe/shell_object.h"

namespace tarnwell::shellprobe {

std::optional<CTipHost> CTipHost::Find(const std::wstring& file) {
    CTipHost host;
    if (!FindFileHandler(file, L"{00021500-0000-0000-C000-000000000046}", kQueryInfoId,
                         reinterpret_cast<void**>(host.m_handler.GetAddressOf())))
        return std::nullopt;
    return host;
}

CTipHost CTipHost::FromShell(const std::wstring& file) {
    CTipHost host;
    ShellObject(file, kQueryInfoId, reinterpret_cast<void**>(host.m_handler.GetAddressOf()));
    return host;
}

InfoTip CTipHost::Ask() {
    CUniqueTaskMemory<wchar_t> text;
    InfoTip tip;
    tip.result = m_handler->GetInfoTip(QITIPF_DEFAULT, text.Put());
    if (text)
        tip.text = text.Get();
    return tip;
}

}  // namespace tarnwell::shellprobe
