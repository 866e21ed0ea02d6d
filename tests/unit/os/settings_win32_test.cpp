#include "common/system/os/settings_win32.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

using Bytes = std::vector<unsigned char>;

TEST(SettingsKey, KeepsListsAndDeletesWhatItIsGiven) {
    constexpr const char16_t* kPath = u"SOFTWARE\\Quorva\\settings test";
    SettingsKey().DeleteKey(u"settings test");  // of a run that did not come to its end
    EXPECT_FALSE(CSettingsKey::Open(HKEY_LOCAL_MACHINE, kPath).IsOpen());
    const CSettingsKey key = CSettingsKey::Create(SettingsKey().Get(), u"settings test");
    const CUTF16String longName(std::u16string(200, u'n'));
    const Bytes bytes(5000, 7);
    EXPECT_TRUE(key.SetText(longName, u"caf\u00e9 \U0001F512"));
    EXPECT_TRUE(key.SetNumber(u"number", 0xFEDCBA98));
    EXPECT_TRUE(key.SetBytes(u"", bytes));
    EXPECT_TRUE(CSettingsKey::Create(key.Get(), u"a\\b").IsOpen());

    const CSettingsKey reader = CSettingsKey::Open(HKEY_LOCAL_MACHINE, kPath);
    EXPECT_EQ(reader.QueryText(longName), u"caf\u00e9 \U0001F512");
    EXPECT_EQ(reader.QueryNumber(u"NUMBER"), 0xFEDCBA98);
    EXPECT_EQ(reader.QueryBytes(u""), bytes);
    EXPECT_EQ(reader.QueryText(u"number"), std::nullopt);
    EXPECT_EQ(reader.QueryNumber(longName), std::nullopt);
    EXPECT_EQ(reader.QueryBytes(u"absent"), std::nullopt);
    EXPECT_EQ(reader.ValueNames().size(), 3U);
    EXPECT_EQ(reader.SubKeys(), std::vector<CUTF16String>{u"a"});
    EXPECT_FALSE(reader.DeleteValue(u"number")) << "opened for reading";

    EXPECT_FALSE(key.DeleteKey(u"")) << "that would be the key itself";
    EXPECT_TRUE(key.DeleteValue(longName));
    EXPECT_EQ(key.ValueNames().size(), 2U);
    EXPECT_TRUE(SettingsKey().DeleteKey(u"settings test"));
    EXPECT_FALSE(CSettingsKey().SetText(u"a", u"b"));
    EXPECT_TRUE(CSettingsKey().SubKeys().empty());
}

TEST(SettingsKey, ValuesOfOthersMayBeCut) {
    const CSettingsKey& key = SettingsKey();
    const auto write = [&](DWORD type, const Bytes& bytes) {
        RegSetValueExW(key.Get(), L"settings test", 0, type, bytes.data(),
                       static_cast<DWORD>(bytes.size()));
        return key.QueryText(u"settings test");
    };
    EXPECT_EQ(write(REG_SZ, {'a', 0, 'b', 0}), u"ab");
    EXPECT_EQ(write(REG_EXPAND_SZ, {'a', 0, 'b'}), u"a");
    EXPECT_EQ(write(REG_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0}), u"a");
    EXPECT_EQ(write(REG_DWORD, {1, 2}), std::nullopt);
    EXPECT_EQ(key.QueryNumber(u"settings test"), std::nullopt);
    EXPECT_TRUE(key.DeleteValue(u"settings test"));
}

}  // namespace
}  // namespace tarnwell
