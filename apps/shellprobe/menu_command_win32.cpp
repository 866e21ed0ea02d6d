#include "shellprobe/commands.h"

#include "shellprobe/context_menu_host.h"
#include "shellprobe/data_object.h"
#include "shellprobe/full_path.h"
#include "shellprobe/output.h"

namespace tarnwell::shellprobe {
namespace {

std::string ItemJson(const MenuItem& item, std::uint32_t firstId) {
    CJsonObject json;
    if (item.isSeparator)
        return json.AddFlag("separator", true).Text();
    json.Add("id", item.id).Add("offset", item.id - firstId).Add("text", Utf8(item.text));
    if (item.verb)
        json.Add("verb", Utf8(*item.verb));
    else
        json.AddNull("verb");
    json.AddFlag("default", item.isDefault);
    AddSize(json, "bitmap", item.bitmap);
    return json.Text();
}

}  // namespace

int RunMenu(const Arguments& arguments) {
    CContextMenuHost host;
    CJsonObject json;
    const HRESULT initialized = host.Initialize(MakeDataObject(FullPaths(arguments.files)).Get());
    json.Add("initialize", Hex(initialized));
    if (FAILED(initialized)) {
        json.AddNull("query").AddRaw("items", "[]");
        Print(json);
        return 1;
    }
    const HRESULT filled = host.Query(arguments.firstId, arguments.lastId, arguments.flags);
    CJsonArray items;
    for (const MenuItem& item : host.Items())
        items.AddRaw(ItemJson(item, arguments.firstId));
    Print(json.Add("query", Hex(filled)).AddRaw("items", items.Text()));
    return FAILED(filled) ? 1 : 0;
}

}  // namespace tarnwell::shellprobe
