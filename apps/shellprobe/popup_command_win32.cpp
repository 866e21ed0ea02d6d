#include "shellprobe/commands.h"

#include "shellprobe/context_menu_host.h"
#include "shellprobe/data_object.h"
#include "shellprobe/full_path.h"
#include "shellprobe/output.h"
#include "shellprobe/owner_window.h"

namespace tarnwell::shellprobe {

int RunPopup(const Arguments& arguments) {
    CContextMenuHost host;
    host.Fill(MakeDataObject(FullPaths(arguments.files)).Get(), arguments.firstId, arguments.lastId,
              arguments.flags);
    const POINT at = {arguments.x, arguments.y};
    const COwnerWindow owner(at);
    owner.Show();
    const std::optional<UINT> chosen = host.Track(at, owner.Get());
    CJsonObject json;
    if (!chosen) {
        Print(json.AddNull("chosen").AddNull("invoke"));
        return 0;
    }
    const HRESULT result = host.Invoke(*chosen, owner.Get());
    Print(json.Add("chosen", *chosen).Add("invoke", Hex(result)));
    return FAILED(result) ? 1 : 0;
}

}  // namespace tarnwell::shellprobe
