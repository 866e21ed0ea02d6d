#include "tarnwell/core/menu_model.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace tarnwell {
namespace {

constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();

TEST(MenuModel, OnlyTheTextAfterTheLastDotMakesAContainer) {
    const struct {
        std::u16string_view path;
        bool isContainer;
    } kCases[] = {
        {u"C:\\report.p7", true},
        {u"C:\\report.P7", true},
        {u"C:\\report.pdf.p7", true},
        {u"C:\\report.p7.", false},
        {u"C:\\report.p7m", false},
        {u"C:\\report.p7 ", false},
        {u"C:\\folder.p7\\name", false},
        {u"C:\\folder\\p7", false},
        {u"p7", true},
        {u"C:\\.p7", true},
        {u"C:\\report.xp7", false},
        {u"C:\\report.\uff50\uff17", false},
        {u"", false},
        {u".", false},
    };
    for (const auto& test : kCases)
        EXPECT_EQ(IsContainerName(test.path), test.isContainer)
            << std::string(test.path.begin(), test.path.end());
}

TEST(MenuModel, ProtectAsksForOneIdMoreThanItUsesAndOpenDoesNot) {
    EXPECT_FALSE(MenuFits(EMenuMode::kProtect, 1, 3));
    EXPECT_TRUE(MenuFits(EMenuMode::kProtect, 1, 4));
    EXPECT_FALSE(MenuFits(EMenuMode::kOpen, 1, 2));
    EXPECT_TRUE(MenuFits(EMenuMode::kOpen, 1, 3));
    // Near the end of the range nothing may wrap round to "fits".
    EXPECT_FALSE(MenuFits(EMenuMode::kProtect, kMax - 1, kMax));
    EXPECT_FALSE(MenuFits(EMenuMode::kOpen, kMax, 5));
}

/// A line a row: the command's offset and key, "-" for a separator.
std::string Drawn(EMenuMode mode) {
    std::string drawn;
    for (const MenuCommand* command : MenuRows(mode)) {
        drawn += command ? std::to_string(command->offset) + " " + command->textKey : "-";
        drawn += "\n";
    }
    return drawn;
}

TEST(MenuModel, RowsStandInTheOrderOfTheMenu) {
    EXPECT_EQ(Drawn(EMenuMode::kProtect),
              "-\n"
              "0 tarnwellDLL.sign\n"
              "1 tarnwellDLL.encrypt\n"
              "2 tarnwellDLL.signencrypt\n"
              "-\n");
    EXPECT_EQ(Drawn(EMenuMode::kOpen),
              "-\n"
              "2 tarnwellDLL.recover\n"
              "0 menu.open\n"
              "-\n");
}

TEST(MenuModel, OnlyAnEncryptedFileIsRecoveredWithoutVerifying) {
    EXPECT_STREQ(RecoverKey(true), "tarnwellDLL.recover");
    EXPECT_STREQ(RecoverKey(false), "tarnwellDLL.recover_veryfy");
}

TEST(MenuModel, EveryOffsetHasItsActionVerbTraceLineAndPicture) {
    const struct {
        EMenuMode mode;
        std::uint64_t offset;
        std::uint32_t action;
        const char* verb;
        const char* traceLine;
        int icon;
    } kCases[] = {
        {EMenuMode::kProtect, 0, 0, "sign", "recover command clicked", 205},
        {EMenuMode::kProtect, 1, 1, "encrypt", "encrypt command clicked", 206},
        {EMenuMode::kProtect, 2, 2, "sign+encrypt", "encrypt  and signe command clicked", 207},
        {EMenuMode::kOpen, 0, 5, "recover", "open command clicked", 0},
        {EMenuMode::kOpen, 2, 3, "recover", "sign command clicked", 0},
    };
    for (const auto& test : kCases) {
        const MenuCommand* command = FindCommand(test.mode, test.offset);
        ASSERT_TRUE(command) << test.traceLine;
        EXPECT_EQ(command->action, test.action) << test.traceLine;
        EXPECT_STREQ(command->traceLine, test.traceLine);
        EXPECT_EQ(command->icon, test.icon) << test.traceLine;
        EXPECT_EQ(VerbAt(test.mode, test.offset), std::string_view(test.verb));
    }
}

TEST(MenuModel, OtherOffsetsHaveNoCommandAndOnlyOpenHasAVerbForThem) {
    constexpr std::uint64_t kBeyond32Bits = std::uint64_t{1} << 32;
    for (const std::uint64_t offset : {std::uint64_t{3}, std::uint64_t{0xFFFF}, kBeyond32Bits}) {
        EXPECT_FALSE(FindCommand(EMenuMode::kProtect, offset)) << offset;
        EXPECT_FALSE(FindCommand(EMenuMode::kOpen, offset)) << offset;
        EXPECT_FALSE(VerbAt(EMenuMode::kProtect, offset)) << offset;
        EXPECT_EQ(VerbAt(EMenuMode::kOpen, offset), "recover") << offset;
    }
    EXPECT_FALSE(FindCommand(EMenuMode::kOpen, 1));
    EXPECT_EQ(VerbAt(EMenuMode::kOpen, 1), "recover");
}

TEST(MenuModel, ThreeResultsHaveAMessageAndOneOfThemUsesItsTextTwice) {
    EXPECT_FALSE(FindFailureKeys(0));
    EXPECT_FALSE(FindFailureKeys(4));
    EXPECT_FALSE(FindFailureKeys(kMax));
    EXPECT_STREQ(FindFailureKeys(1)->title, "tarnwellDLL.recover_error_title");
    EXPECT_STREQ(FindFailureKeys(1)->text, "tarnwellDLL.recover_error_message");
    EXPECT_STREQ(FindFailureKeys(2)->title, "tarnwellDLL.open_file_error_message");
    EXPECT_STREQ(FindFailureKeys(2)->text, "tarnwellDLL.open_file_error_message");
    EXPECT_STREQ(FindFailureKeys(3)->title, "tarnwellDLL.general_error_title");
    EXPECT_STREQ(FindFailureKeys(3)->text, "tarnwellDLL.general_error_message");
}

}  // namespace
}  // namespace tarnwell
