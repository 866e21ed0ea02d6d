#include "shellprobe/commands.h"

#include "common/system/os/process_counts.h"
#include "shellprobe/context_menu_host.h"
#include "shellprobe/data_object.h"
#include "shellprobe/full_path.h"
#include "shellprobe/icon_host.h"
#include "shellprobe/output.h"
#include "shellprobe/tip_host.h"

namespace tarnwell::shellprobe {
namespace {

constexpr std::uint32_t kWarmUpRounds = 100;

/// How often each handler gave what it was asked for: a stress of refusals shows nothing.
struct Answers {
    std::uint64_t menus = 0;
    std::uint64_t icons = 0;
    std::uint64_t tips = 0;
};

/// A selected file and what is asked about it. Each question lives as long as in the explorer: from
/// the handler's creation to its release.
class CStressedFile {
public:
    CStressedFile(const std::wstring& file, const Arguments& arguments)
        : m_file(file), m_selection(MakeDataObject({file})), m_arguments(arguments) {}

    void Ask(Answers& answers) const {
        if (Takes(EHandler::kMenu))
            AskMenu(answers);
        if (Takes(EHandler::kIcon))
            AskIcon(answers);
        if (Takes(EHandler::kTip))
            AskTip(answers);
    }

private:
    bool Takes(EHandler handler) const { return !m_arguments.only || *m_arguments.only == handler; }

    void AskMenu(Answers& answers) const {
        CContextMenuHost host;
        if (FAILED(host.Initialize(m_selection.Get())) ||
            FAILED(host.Query(m_arguments.firstId, m_arguments.lastId, m_arguments.flags)))
            return;
        host.Items();
        ++answers.menus;
    }

    void AskIcon(Answers& answers) const {
        std::optional<CIconHost> host = CIconHost::Find(m_file);
        if (!host)
            return;
        const IconLocation location = host->Locate(0);
        if (FAILED(location.result))
            return;
        if (SUCCEEDED(host->Extract(location, static_cast<WORD>(m_arguments.largeSize),
                                    static_cast<WORD>(m_arguments.smallSize))
                          .result))
            ++answers.icons;
    }

    void AskTip(Answers& answers) const {
        std::optional<CTipHost> host = CTipHost::Find(m_file);
        if (host && SUCCEEDED(host->Ask().result))
            ++answers.tips;
    }

    std::wstring m_file;
    Microsoft::WRL::ComPtr<IDataObject> m_selection;
    const Arguments& m_arguments;
};

std::string CountsJson(const ProcessCounts& counts) {
    CJsonObject json;
    json.Add("heapBytes", counts.heapBytes)
        .Add("heapBlocks", counts.heapBlocks)
        .Add("committedBytes", counts.committedBytes)
        .Add("handles", counts.handles)
        .Add("gdi", counts.gdiObjects);
    return json.Text();
}

std::string AnswersJson(const Answers& answers) {
    CJsonObject json;
    json.Add("menu", answers.menus).Add("icon", answers.icons).Add("tip", answers.tips);
    return json.Text();
}

Answers AskAll(const std::vector<CStressedFile>& files, std::uint32_t rounds) {
    Answers answers;
    for (std::uint32_t i = 0; i < rounds; ++i)
        for (const CStressedFile& file : files)
            file.Ask(answers);
    return answers;
}

}  // namespace

int RunStress(const Arguments& arguments) {
    std::vector<CStressedFile> files;
    for (const std::wstring& file : FullPaths(arguments.files))
        files.emplace_back(file, arguments);
    AskAll(files, kWarmUpRounds);
    CountProcess();  // its own first use of the system's tables counts as warm-up too
    const ProcessCounts warm = CountProcess();
    const Answers answers = AskAll(files, arguments.rounds);
    const ProcessCounts end = CountProcess();
    CJsonObject json;
    json.Add("rounds", arguments.rounds)
        .AddRaw("answered", AnswersJson(answers))
        .AddRaw("warm", CountsJson(warm))
        .AddRaw("end", CountsJson(end));
    Print(json);
    return 0;
}

}  // namespace tarnwell::shellprobe
