#include "shellprobe/context_menu_host.h"
#include "shellprobe/data_object.h"
#include "shellprobe/doctor/checks.h"
#include "shellprobe/doctor/sample_file.h"
#include "shellprobe/handler.h"
#include "shellprobe/icon_host.h"
#include "shellprobe/output.h"
#include "shellprobe/tip_host.h"

namespace tarnwell::shellprobe {
namespace {

constexpr char kSeeAbove[] =
    "see to the lines above first; if all are OK, turn on the trace and look what it says";

/// What the handlers said, or ENoHandler.
std::string AskMenu(const std::wstring& file) {
    CContextMenuHost host;
    host.Fill(MakeDataObject({file}).Get(), 1, 0x7FFF, 0);
    std::string texts;
    for (const MenuItem& item : host.Items())
        if (!item.isSeparator)
            texts += (texts.empty() ? "" : ", ") + ("\"" + Utf8(item.text) + "\"");
    if (texts.empty())
        throw ENoHandler("the handler adds no commands");
    if (texts.find("\"Undefined\"") != std::string::npos)
        throw ENoHandler("a command has no text: " + texts);
    return texts;
}

std::string AskIcon(const std::wstring& file) {
    CIconHost host = HostFor<CIconHost>(file, false);
    const IconLocation location = host.Locate(0);
    if (FAILED(location.result))
        throw ENoHandler("the handler does not locate the icon: " + Hex(location.result));
    const ExtractedIcons icons = host.Extract(location, 32, 16);
    const std::optional<SIZE> large = SizeOf(icons.large);
    const std::optional<SIZE> small = SizeOf(icons.small);
    if (FAILED(icons.result) || !large || !small)
        throw ENoHandler("the handler gives no icon: " + Hex(icons.result));
    return std::to_string(large->cx) + " and " + std::to_string(small->cx) + " pixels";
}

std::string AskTip(const std::wstring& file) {
    const InfoTip tip = HostFor<CTipHost>(file, false).Ask();
    if (FAILED(tip.result) || !tip.text)
        throw ENoHandler("the handler gives no tip: " + Hex(tip.result));
    if (tip.text->find(kSampleSigner) == std::wstring::npos)
        throw ENoHandler("the tip does not name the sample's signer: " + Utf8(*tip.text));
    return Utf8(*tip.text);
}

}  // namespace

void CheckSample(const Installation&, CReport& report) {
    struct Question {
        std::string_view check;
        std::string (*ask)(const std::wstring& file);
    };
    constexpr Question kQuestions[] = {
        {"sample's menu", &AskMenu}, {"sample's icon", &AskIcon}, {"sample's tip", &AskTip}};
    const CSampleFile sample;
    for (const Question& question : kQuestions) {
        try {
            report.Ok(question.check, question.ask(sample.Path()));
        } catch (const ENoHandler& error) {
            report.Fail(question.check, error.what(), kSeeAbove);
        }
    }
}

}  // namespace tarnwell::shellprobe
