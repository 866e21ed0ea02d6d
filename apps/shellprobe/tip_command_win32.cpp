#include "shellprobe/commands.h"

#include "shellprobe/full_path.h"
#include "shellprobe/handler.h"
#include "shellprobe/output.h"
#include "shellprobe/tip_host.h"

namespace tarnwell::shellprobe {

int RunTip(const Arguments& arguments) {
    int status = 0;
    for (const std::wstring& file : FullPaths(arguments.files)) {
        const InfoTip tip = HostFor<CTipHost>(file, arguments.isThroughShell).Ask();
        CJsonObject json;
        if (tip.text)
            json.Add("tip", Utf8(*tip.text));
        else
            json.AddNull("tip");
        Print(json.Add("result", Hex(tip.result)));
        if (FAILED(tip.result))
            status = 1;
    }
    return status;
}

}  // namespace tarnwell::shellprobe
