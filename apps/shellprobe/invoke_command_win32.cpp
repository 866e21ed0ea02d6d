#include "shellprobe/commands.h"

#include "shellprobe/box_answerer.h"
#include "shellprobe/context_menu_host.h"
#include "shellprobe/data_object.h"
#include "shellprobe/full_path.h"
#include "shellprobe/output.h"
#include "shellprobe/owner_window.h"

namespace tarnwell::shellprobe {
namespace {

std::string BoxesJson(const std::vector<MessageBoxText>& boxes) {
    CJsonArray json;
    for (const MessageBoxText& box : boxes) {
        CJsonObject one;
        one.Add("title", Utf8(box.title)).Add("text", Utf8(box.text));
        json.AddRaw(one.Text());
    }
    return json.Text();
}

}  // namespace

int RunInvoke(const Arguments& arguments) {
    CContextMenuHost host;
    host.Fill(MakeDataObject(FullPaths(arguments.files)).Get(), arguments.firstId, arguments.lastId,
              arguments.flags);
    const COwnerWindow owner;
    CBoxAnswerer answerer{std::chrono::milliseconds(arguments.answerAfter)};
    const HRESULT result = host.Invoke(arguments.offset, owner.Get());
    CJsonObject json;
    json.Add("invoke", Hex(result)).AddRaw("boxes", BoxesJson(answerer.Finish()));
    Print(json);
    return FAILED(result) ? 1 : 0;
}

}  // namespace tarnwell::shellprobe
