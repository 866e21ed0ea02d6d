#include <algorithm>
#include <set>
#include <vector>

#include "common/system/lang/catalogue.h"
#include "common/system/lang/lang.h"
#include "common/system/os/file.h"
#include "common/system/text/convert.h"
#include "shellprobe/doctor/checks.h"
#include "shellprobe/full_path.h"
#include "shellprobe/output.h"
#include "tarnwell/core/menu_model.h"

namespace tarnwell::shellprobe {
namespace {

constexpr char kReinstall[] = "install or repair the manager, whose texts these are";

/// Every key that menu, message boxes and tips ask for.
std::set<std::string_view> TextKeys() {
    std::set<std::string_view> keys = {RecoverKey(true), RecoverKey(false), "tarnwellDLL.signed_by",
                                       "tarnwellDLL.signed_on"};
    for (const EMenuMode mode : {EMenuMode::kProtect, EMenuMode::kOpen})
        for (const MenuCommand* row : MenuRows(mode))
            if (row)
                keys.insert(row->textKey);
    for (const ResultCode result : {kResultRecoverFailed, kResultOpenFailed, kResultFailed})
        if (const std::optional<FailureKeys> failure = FindFailureKeys(result))
            keys.insert({failure->title, failure->text});
    return keys;
}

std::string MissingTexts(const Lang& lang) {
    std::string missing;
    for (const std::string_view key : TextKeys()) {
        const CISOString text = lang[key];
        if (text.IsEmpty() || text == kUndefinedText)
            missing += (missing.empty() ? "" : ", ") + std::string(key);
    }
    return missing;
}

/// The names of the user's languages, in their order.
std::vector<std::u16string> UserLanguages() {
    std::vector<std::u16string> names;
    const std::u16string list = PreferredLanguages();
    for (std::size_t at = 0; at < list.size() && list[at] != u'\0'; at += names.back().size() + 1)
        names.emplace_back(list.c_str() + at);
    return names;
}

/// What is wrong with the archive as a whole; empty where the chosen language can be read.
std::string ArchiveProblem(const std::string& place, std::size_t bytes,
                           const std::vector<std::string>& readable, const std::string& chosen) {
    if (readable.empty())
        return place + " (" + std::to_string(bytes) +
               " bytes) is damaged: none of its languages can be read";
    if (std::ranges::find(readable, chosen) == readable.end())
        return place + " has no readable " +
               std::string(CatalogueEntryName(chosen.c_str()).AsView());
    return {};
}

}  // namespace

void CheckLanguage(const Installation&, CReport& report) {
    std::string asked;
    for (const std::u16string& name : UserLanguages()) {
        asked += (asked.empty() ? "" : ", ") + Shown(name);
        if (const char* language = ChooseLanguage(name))
            return report.Ok("language", std::string(language) + ", for " + Shown(name) +
                                             " (the user's languages: " + asked + ")");
    }
    report.Ok("language", std::string(kSupportedLanguages[0]) +
                              ", the fallback: the texts are in none of the user's languages (" +
                              asked + ")");
}

void CheckTexts(const Installation& installation, CReport& report) {
    if (!KnowsModule("archive", installation, report))
        return;
    const CUTF16String path = ArchivePathOf(installation.modulePath, installation.folders);
    const std::string place = Utf8(FullPath(path));
    std::size_t bytes = 0;
    try {
        bytes = ReadWholeFile(path, kMaxArchiveBytes).Size();
    } catch (const CException& error) {
        return report.Fail("archive",
                           "it was looked for at " + place + " and cannot be read: " + error.what(),
                           kReinstall);
    }

    Lang user;
    user.Auto_set_local_language();
    std::vector<std::string> readable;
    std::string others;
    for (const char* const* code = kSupportedLanguages; *code; ++code) {
        Lang lang;
        lang.UseLanguages(Utf16FromLatin1(*code));
        if (lang.Load(path))
            readable.emplace_back(*code);
        const std::string missing = MissingTexts(lang);
        const bool isChosen = lang.Language() == user.Language();
        if (isChosen)
            user.Load(path);
        else if (!missing.empty())
            others += (others.empty() ? "" : "; ") + std::string(*code) + " lacks " + missing;
    }
    if (std::string problem = ArchiveProblem(place, bytes, readable, user.Language());
        !problem.empty())
        return report.Fail("archive", std::move(problem), kReinstall);
    report.Ok("archive", place);

    if (const std::string missing = MissingTexts(user); !missing.empty())
        report.Fail("texts", std::string(user.Language()) + " lacks " + missing, kReinstall);
    else
        report.Ok("texts",
                  "all " + std::to_string(TextKeys().size()) + " are there in " + user.Language());
    if (!others.empty())
        report.Warn("other languages", others, kReinstall);
    else
        report.Ok("other languages", "all texts are there in the others too");
}

}  // namespace tarnwell::shellprobe
