// The catalogue in a real installation: this program is copied to where the extension would lie
// and started there, so that it finds the archive from its own place.

#include "common/system/lang/lang.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "common/system/os/install_paths.h"
#include "common/system/os/owners_win32.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"
#include "zip_archive.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using test::CTempFolder;
using test::CTraceListener;
using test::Zip;

constexpr DWORD kTimeout = 60'000;

/// Set for the copy of this program that runs in the installation: the text it is to find.
constexpr const wchar_t* kInstalled = L"TARNWELL_LANG_TEST_FINDS";

/// WantedText is what the installed copy is to find; "" in the program that ctest runs.
std::string WantedText() {
    wchar_t value[32];
    const DWORD length = GetEnvironmentVariableW(kInstalled, value, 32);
    return {value, value + (length < 32 ? length : 0)};
}

bool IsInstalled() {
    return !WantedText().empty();
}

/// RunInstalled starts `program` for the tests named Installed.*, which are to find `text`, and
/// gives its exit status.
DWORD RunInstalled(const fs::path& program, const wchar_t* text) {
    std::wstring command = L"\"" + program.wstring() + L"\" --gtest_filter=Installed.*";
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    SetEnvironmentVariableW(kInstalled, text);
    const BOOL started = CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0,
                                        nullptr, nullptr, &startup, &process);
    SetEnvironmentVariableW(kInstalled, nullptr);
    if (!started)
        return GetLastError();
    const CUniqueHandle handle(process.hProcess), thread(process.hThread);
    DWORD status = WAIT_TIMEOUT;
    if (WaitForSingleObject(handle.Get(), kTimeout) == WAIT_OBJECT_0)
        GetExitCodeProcess(handle.Get(), &status);
    return status;
}

std::string Archive() {
    return Zip({{"scripts/language.en.js", R"({"tarnwellDLL":{"sign":"found"}})"},
                {"scripts/language.fr.js", R"({"tarnwellDLL":{"sign":"found"}})"},
                {"scripts/language.es.js", R"({"tarnwellDLL":{"sign":"found"}})"},
                {"scripts/language.pl.js", R"({"tarnwellDLL":{"sign":"found"}})"}});
}

TEST(Installed, FindsTheArchiveFromItsOwnPlace) {
    if (!IsInstalled())
        GTEST_SKIP() << "runs in the installed copy";
    Lang lang;
    lang.Auto_set_local_language();
    const CTraceListener trace;
    const bool found = WantedText() != "Undefined";
    EXPECT_EQ(lang.Auto_extract_Resource_File(), found);
    EXPECT_EQ(lang["tarnwellDLL.sign"], WantedText().c_str());
    std::vector<std::string> lines = {"enter Lang::Auto_extract_Resource_File",
                                      "leave Lang::Auto_extract_Resource_File",
                                      "enter Lang::operator[]", "leave Lang::operator[]"};
    if (!found)
        lines.insert(lines.begin() + 1, "Kestrix resources file reading failed");
    EXPECT_EQ(trace.Lines(), lines);
}

TEST(Lang, FindsTheArchiveOfThe32BitInstallation) {
    if (IsInstalled())
        GTEST_SKIP() << "this is the installed copy";
    const CTempFolder folder;
    fs::create_directories(folder / "x64/bin");
    fs::create_directories(folder / "win32/bin");
    folder.Write("win32/resources/kestrix.bin", Archive());
    const fs::path program = folder / "x64/bin/lang_test.exe";
    fs::copy_file(fs::path(ModulePath().AsView()), program);
    EXPECT_EQ(RunInstalled(program, L"found"), 0U);
    fs::remove(folder / "win32/resources/kestrix.bin");
    EXPECT_EQ(RunInstalled(program, L"Undefined"), 0U);
}

TEST(Lang, FindsTheArchiveFromBelowTheProgramFiles) {
    if (IsInstalled())
        GTEST_SKIP() << "this is the installed copy";
    const ProgramFilesFolders folders = ProgramFilesFolders::Fetch();
    const fs::path install64 = fs::path(folders.programFiles64.AsView()) / "Tarnwell lang test";
    const fs::path install32 = fs::path(folders.programFiles32.AsView()) / "Tarnwell lang test";
    fs::create_directories(install64 / "x64");
    fs::create_directories(install32 / "x64");
    fs::create_directories(install32 / "resources");
    const CTempFolder folder;
    fs::rename(folder.Write("kestrix.bin", Archive()), install32 / "resources/kestrix.bin");
    const fs::path program = install64 / "x64/lang_test.exe";
    fs::copy_file(fs::path(ModulePath().AsView()), program);
    EXPECT_EQ(RunInstalled(program, L"found"), 0U);
    fs::remove_all(install64);
    fs::remove_all(install32);
}

/// SystemsChoice is what a person would take from the thread's list, without the code under test.
std::string SystemsChoice() {
    wchar_t names[512];
    ULONG count = 0, length = 512;
    if (!GetThreadPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names, &length))
        return "en";
    for (const wchar_t* name = names; *name != 0; name += std::wstring(name).size() + 1)
        for (const std::string code : {"en", "fr", "es", "pl"})
            if (std::wstring(name).starts_with(std::wstring(code.begin(), code.end()) + L"-"))
                return code;
    return "en";
}

TEST(Lang, TheLanguageFollowsTheThreadsPreferences) {
    for (const wchar_t* names : {L"pl-PL\0", L"de-DE\0es-ES\0", L"de-DE\0", L"fr-CA\0en-US\0"}) {
        // Wine takes the call and keeps its own list: then all four rounds see that one.
        ULONG count = 0;
        SetThreadPreferredUILanguages(MUI_LANGUAGE_NAME, names, &count);
        const CTraceListener trace;
        Lang lang;
        lang.Auto_set_local_language();
        EXPECT_EQ(lang.Language(), SystemsChoice());
        EXPECT_EQ(trace.Count("enter Lang::Auto_set_local_language"), 1U);
        EXPECT_EQ(trace.Count("leave Lang::Auto_set_local_language"), 1U);
    }
    SetThreadPreferredUILanguages(0, nullptr, nullptr);
}

}  // namespace
}  // namespace tarnwell
