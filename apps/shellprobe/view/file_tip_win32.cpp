#include "shellprobe/view/file_tip.h"

#include <cstdio>
#include <utility>

#include "shellprobe/handler.h"
#include "shellprobe/output.h"
#include "shellprobe/tip_host.h"

namespace tarnwell::shellprobe {

std::optional<std::wstring> AskTip(const std::wstring& file) {
    try {
        std::optional<CTipHost> host = CTipHost::Find(file);
        if (!host)
            return std::nullopt;
        InfoTip tip = host->Ask();
        CJsonObject json;
        if (tip.text)
            json.Add("tip", Utf8(*tip.text));
        else
            json.AddNull("tip");
        Print(json.Add("file", Utf8(file)).Add("result", Hex(tip.result)));
        return std::move(tip.text);
    } catch (const ENoHandler& error) {
        (void)std::fprintf(stderr, "shellprobe: %s\n", error.what());
        return std::nullopt;
    }
}

}  // namespace tarnwell::shellprobe
