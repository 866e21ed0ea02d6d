#include "common/system/os/settings_win32.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tarnwell {
namespace {

using Bytes = std::vector<unsigned char>;

/// A key of the test's own below the user's, gone with all it holds at the end.
class CSettingsKeyTest : public testing::Test {
protected:
    CSettingsKeyTest() {
        CSettingsKey::Open(HKEY_CURRENT_USER, u"Software", true).DeleteKey(kName);
    }
    ~CSettingsKeyTest() override {
        CSettingsKey::Open(HKEY_CURRENT_USER, u"Software", true).DeleteKey(kName);
    }

    static CSettingsKey Create(const CUTF16String& below = {}) {
        return CSettingsKey::Create(HKEY_CURRENT_USER, CUTF16String(kPath) + below);
    }
    static CSettingsKey Open() { return CSettingsKey::Open(HKEY_CURRENT_USER, kPath); }

    void WriteRaw(const CSettingsKey& key, const char16_t* name, DWORD type, const Bytes& bytes) {
        ASSERT_EQ(RegSetValueExW(key.Get(), Wide(name), 0, type, bytes.data(),
                                 static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
    }

    static constexpr const char16_t* kName = u"Quorva settings test";
    static constexpr const char16_t* kPath = u"Software\\Quorva settings test";
};

TEST_F(CSettingsKeyTest, IsMadeWhenAbsentAndOpenedWhenThere) {
    EXPECT_FALSE(Open().IsOpen());
    EXPECT_TRUE(Create().IsOpen());
    EXPECT_TRUE(Open().IsOpen());
    EXPECT_TRUE(Create().SetNumber(u"kept", 1));
    EXPECT_EQ(Create().QueryNumber(u"kept"), 1U);
}

TEST_F(CSettingsKeyTest, GivesBackWhatItTook) {
    const CSettingsKey key = Create();
    const CUTF16String text = u"caf\u00e9 \U0001F512";
    Bytes bytes(5000);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i);
    EXPECT_TRUE(key.SetText(u"text", text));
    EXPECT_TRUE(key.SetText(u"empty", u""));
    EXPECT_TRUE(key.SetNumber(u"number", 0xFEDCBA98));
    EXPECT_TRUE(key.SetBytes(u"bytes", bytes));
    EXPECT_TRUE(key.SetBytes(u"no bytes", {}));

    const CSettingsKey reader = Open();
    EXPECT_EQ(reader.QueryText(u"TEXT"), text);
    EXPECT_EQ(reader.QueryText(u"empty"), CUTF16String());
    EXPECT_EQ(reader.QueryNumber(u"number"), 0xFEDCBA98);
    EXPECT_EQ(reader.QueryBytes(u"bytes"), bytes);
    EXPECT_EQ(reader.QueryBytes(u"no bytes"), Bytes());
    EXPECT_EQ(reader.QueryBytes(u"number"), (Bytes{0x98, 0xBA, 0xDC, 0xFE}));
    EXPECT_FALSE(reader.SetNumber(u"number", 1)) << "opened for reading";
}

TEST_F(CSettingsKeyTest, AValueOfAnotherTypeOrNoneIsNothing) {
    const CSettingsKey key = Create();
    key.SetText(u"text", u"1");
    key.SetNumber(u"number", 1);
    WriteRaw(key, u"short", REG_DWORD, {1, 2});
    EXPECT_EQ(key.QueryNumber(u"text"), std::nullopt);
    EXPECT_EQ(key.QueryText(u"number"), std::nullopt);
    EXPECT_EQ(key.QueryNumber(u"short"), std::nullopt);
    EXPECT_EQ(key.QueryText(u"absent"), std::nullopt);
    EXPECT_EQ(key.QueryBytes(u"absent"), std::nullopt);
}

TEST_F(CSettingsKeyTest, TextsOfOthersMayLackTheirTerminator) {
    const CSettingsKey key = Create();
    WriteRaw(key, u"bare", REG_SZ, {'a', 0, 'b', 0});
    WriteRaw(key, u"half", REG_EXPAND_SZ, {'a', 0, 'b'});
    WriteRaw(key, u"more", REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0});
    EXPECT_EQ(key.QueryText(u"bare"), u"ab");
    EXPECT_EQ(key.QueryText(u"half"), u"a");
    EXPECT_EQ(key.QueryText(u"more"), u"a");
}

TEST_F(CSettingsKeyTest, ListsItsValuesAndSubKeys) {
    const CSettingsKey key = Create();
    EXPECT_TRUE(key.ValueNames().empty());
    EXPECT_TRUE(key.SubKeys().empty());
    const CUTF16String longName(std::u16string_view(std::u16string(200, u'n')));
    for (const CUTF16String& name : {CUTF16String(u"b"), CUTF16String(u""), longName}) {
        key.SetNumber(name, 1);
        if (!name.IsEmpty())
            Create(CUTF16String(u"\\") + name);
    }
    std::vector<CUTF16String> values = key.ValueNames();
    std::vector<CUTF16String> subKeys = key.SubKeys();
    std::sort(values.begin(), values.end());
    std::sort(subKeys.begin(), subKeys.end());
    EXPECT_EQ(values, (std::vector<CUTF16String>{u"", u"b", longName}));
    EXPECT_EQ(subKeys, (std::vector<CUTF16String>{u"b", longName}));
}

TEST_F(CSettingsKeyTest, DeletesAValueOrAWholeSubKeyAndNothingElse) {
    const CSettingsKey key = Create();
    Create(u"\\a\\b\\c").SetNumber(u"deep", 1);
    key.SetNumber(u"kept", 1);
    key.SetNumber(u"gone", 1);
    EXPECT_TRUE(key.DeleteValue(u"gone"));
    EXPECT_FALSE(key.DeleteValue(u"gone"));
    EXPECT_TRUE(key.DeleteKey(u"a"));
    EXPECT_FALSE(key.DeleteKey(u"a"));
    EXPECT_FALSE(key.DeleteKey(u""));
    EXPECT_EQ(key.ValueNames(), std::vector<CUTF16String>{u"kept"});
    EXPECT_TRUE(key.SubKeys().empty());
}

TEST_F(CSettingsKeyTest, AKeyThatIsNotOpenAnswersWithNothing) {
    const CSettingsKey key;
    EXPECT_FALSE(key.IsOpen());
    EXPECT_EQ(key.QueryText(u"a"), std::nullopt);
    EXPECT_EQ(key.QueryNumber(u"a"), std::nullopt);
    EXPECT_TRUE(key.ValueNames().empty());
    EXPECT_TRUE(key.SubKeys().empty());
    EXPECT_FALSE(key.SetText(u"a", u"b"));
    EXPECT_FALSE(key.DeleteValue(u"a"));
    EXPECT_FALSE(key.DeleteKey(u"a"));
}

TEST(SettingsKey, IsOneMachineWideKeyForTheProcess) {
    const CSettingsKey& settings = SettingsKey();
    ASSERT_TRUE(settings.IsOpen());
    EXPECT_EQ(&SettingsKey(), &settings);
    ASSERT_TRUE(settings.SetNumber(u"settings test", 7));
    EXPECT_EQ(
        CSettingsKey::Open(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Quorva").QueryNumber(u"settings test"),
        7U);
    EXPECT_TRUE(settings.DeleteValue(u"settings test"));
}

}  // namespace
}  // namespace tarnwell
