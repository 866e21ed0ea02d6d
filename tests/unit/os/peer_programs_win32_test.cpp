// What the foundation says of, and to, other programs: real ones, started here.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/system/os/host_application.h"
#include "common/system/os/manager_notice_win32.h"
#include "common/system/os/windows.h"
#include "support/peer_process_win32.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

using Units = std::vector<std::uint16_t>;

/// One block of a version resource (VS_VERSIONINFO, winver.h): length, length of the value, kind,
/// key, value, blocks inside, each from a boundary of 32 bits on.
Units Block(std::u16string_view key, const Units& value, bool isText,
            const std::vector<Units>& inside = {}) {
    Units block{0, static_cast<std::uint16_t>(isText ? value.size() : 2 * value.size()), isText};
    const auto add = [&block](const auto& units) {
        block.resize((block.size() + 1) / 2 * 2);
        block.insert(block.end(), units.begin(), units.end());
    };
    block.insert(block.end(), key.begin(), key.end());
    block.push_back(0);
    add(value);
    for (const Units& each : inside)
        add(each);
    block[0] = static_cast<std::uint16_t>(2 * block.size());
    return block;
}

struct Description {
    std::u16string key;  // language and code page
    std::u16string text;
};

/// Describe puts a version resource with these translations and descriptions into `program`.
void Describe(const std::filesystem::path& program, const Units& translations,
              const std::vector<Description>& descriptions) {
    std::vector<Units> tables;
    for (const auto& [key, text] : descriptions) {
        Units value(text.begin(), text.end());
        value.insert(value.end(), 3, 0);  // some tools end the text with more than one zero
        tables.push_back(Block(key, {}, true, {Block(u"FileDescription", value, true)}));
    }
    Units fixed(sizeof(VS_FIXEDFILEINFO) / 2);
    fixed[0] = 0x04BD;
    fixed[1] = 0xFEEF;  // VS_FFI_SIGNATURE
    const Units resource =
        Block(u"VS_VERSION_INFO", fixed, false,
              {Block(u"StringFileInfo", {}, true, tables),
               Block(u"VarFileInfo", {}, true, {Block(u"Translation", translations, false)})});
    const HANDLE update = BeginUpdateResourceW(program.c_str(), FALSE);
    ASSERT_TRUE(UpdateResourceW(update, MAKEINTRESOURCEW(16), MAKEINTRESOURCEW(1), 0,  // RT_VERSION
                                const_cast<std::uint16_t*>(resource.data()),
                                static_cast<DWORD>(2 * resource.size())));
    ASSERT_TRUE(EndUpdateResourceW(update, FALSE));
}

TEST(GetHostApplicationName, ReadsTheProgramsDescriptionInTheUsersLanguage) {
    const std::uint16_t user = GetUserDefaultLangID();
    ASSERT_EQ(user, 0x0409) << "the descriptions below are keyed for this language";
    const Description english{u"040904b0", u"Papers"};
    const Description french{u"040c04b0", u"Papiers d'été"};
    const struct {
        Units translations;
        std::vector<Description> descriptions;
        const char* name;
    } cases[] = {
        {{0x040C, 1200, 0x0409, 1200}, {french, english}, "Papers"},
        {{0x040C, 1200}, {french, english}, "Papiers d'\xC3\xA9t\xC3\xA9"},
        {{0x0415, 1200, 0x0000, 1200}, {{u"000004b0", u"Neutral"}, french}, "Neutral"},
        {{0x0409, 1252}, {english}, "two"},  // no description for that code page
        {{0x0409}, {english}, "two"},        // half an entry
    };
    const test::CTempFolder folder;
    const auto program = folder / "two.dots.exe";
    std::filesystem::copy_file(test::PeerProgram(), program);
    EXPECT_EQ(test::CPeerProcess("name", program).ReadLine(), "two");
    for (const auto& [translations, descriptions, name] : cases) {
        Describe(program, translations, descriptions);
        EXPECT_EQ(test::CPeerProcess("name", program).ReadLine(), name);
    }
}

TEST(NotifyManager, SendsBothTextsToTheManagersWindow) {
    {
        const test::CTraceListener trace;
        NotifyManager("card", "in");
        EXPECT_EQ(trace.Lines(),
                  (std::vector<std::string>{"enter Posting notification to manager",
                                            "leave Posting notification to manager"}));
    }
    test::CPeerProcess manager("window");
    ASSERT_NE(manager.ReadLine(), "");
    const test::CTraceListener trace;
    NotifyManager("card", "reader \xC3\xA9");
    EXPECT_EQ(manager.ReadLine(), "10 14 0 card|reader \xC3\xA9");
    EXPECT_EQ(trace.Messages(), std::vector<std::string>{"Window found"});
}

TEST(NotifyManager, WaitsForAHungManagerNoLongerThanHalfASecond) {
    test::CPeerProcess manager("window 4000");
    ASSERT_NE(manager.ReadLine(), "");
    const auto start = std::chrono::steady_clock::now();
    NotifyManager("", "");
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken.count(), 0.45);
    EXPECT_LT(taken.count(), 3);  // a busy machine adds to the 0.5 s, the hung window must not
    EXPECT_EQ(manager.ReadLine(), "10 1 0 |");
}

}  // namespace
}  // namespace tarnwell
