#include "tarnwell/win32/registration.h"

#include "common/system/os/install_paths.h"
#include "common/system/os/owners_win32.h"
#include "common/system/text/convert.h"
#include "support/registry_snapshot_win32.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwell {
namespace {

using test::ReadRegistry;
using test::RegistrySnapshot;

/// A key of the test's own in place of HKEY_CLASSES_ROOT.
class RegistrationTest : public testing::Test {
protected:
    RegistrationTest()
        : m_name(L"Software\\TarnwellTest" + std::to_wstring(GetCurrentProcessId())) {
        RegDeleteTreeW(HKEY_CURRENT_USER, m_name.c_str());
        RegCreateKeyExW(HKEY_CURRENT_USER, m_name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        m_root.Put(), nullptr);
    }
    ~RegistrationTest() override { RegDeleteTreeW(HKEY_CURRENT_USER, m_name.c_str()); }

    void Put(const wchar_t* key, const wchar_t* name, const wchar_t* text) {
        ASSERT_EQ(RegSetKeyValueW(m_root.Get(), key, name, REG_SZ, text,
                                  static_cast<DWORD>((std::wstring(text).size() + 1) * 2)),
                  ERROR_SUCCESS);
    }
    HKEY Root() const { return m_root.Get(); }

    std::wstring m_name;
    CUniqueRegistryKey m_root;
};

constexpr RegistrationRow kRows[] = {
    {u"shared", ERowFlag::kKeep, {{{u"", u"new"}}}},
    {u"shared\\ours", ERowFlag::kForce, {{{u"", u"{ctx}"}}}},
    {u"shared\\ours\\below", ERowFlag::kPlain, {{{u"", u"{module}"}, {u"Name", u"Text"}}}},
    {u"shared\\plain", ERowFlag::kPlain, {{{u"", u"d"}, {u"Name", u"Text"}}}},
    {u"shared\\plain\\empty", ERowFlag::kPlain},
};
const CUTF16String kModule(u"C:\\it's \u20ac\\a.dll");

const RegistrySnapshot kWritten = {
    {"shared", {{"", "new"}}},
    {"shared\\ours", {{"", "{0D526B21-4823-426D-A4B4-1AD3B8305EFC}"}}},
    {"shared\\ours\\below", {{"", "C:\\it's \u20ac\\a.dll"}, {"Name", "Text"}}},
    {"shared\\plain", {{"", "d"}, {"Name", "Text"}}},
    {"shared\\plain\\empty", {}},
};

TEST_F(RegistrationTest, WritesKeysAndValuesAsOftenAsAsked) {
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(WriteRows(Root(), kRows, kModule), S_OK);
        EXPECT_EQ(ReadRegistry(Root()), kWritten);
    }
}

TEST_F(RegistrationTest, WritingEmptiesOnlyForcedKeysFirst) {
    Put(L"shared", L"", L"old");
    Put(L"shared", L"theirs", L"kept");
    Put(L"shared\\theirs", L"", L"kept");
    Put(L"shared\\ours", L"stale", L"gone");
    Put(L"shared\\ours\\stale\\deep", L"", L"gone");
    Put(L"shared\\plain", L"theirs", L"kept");
    Put(L"shared\\plain\\theirs", L"", L"kept");
    ASSERT_EQ(WriteRows(Root(), kRows, kModule), S_OK);
    RegistrySnapshot expected = kWritten;
    expected["shared"]["theirs"] = "kept";
    expected["shared\\theirs"][""] = "kept";
    expected["shared\\plain"]["theirs"] = "kept";
    expected["shared\\plain\\theirs"][""] = "kept";
    EXPECT_EQ(ReadRegistry(Root()), expected);
}

TEST_F(RegistrationTest, RemovingTakesOnlyWhatIsOurs) {
    ASSERT_EQ(WriteRows(Root(), kRows, kModule), S_OK);
    Put(L"shared\\ours\\below\\more", L"", L"goes with the forced key");
    ASSERT_EQ(RemoveRows(Root(), kRows), S_OK);
    EXPECT_EQ(ReadRegistry(Root()), (RegistrySnapshot{{"shared", {{"", "new"}}}}));
}

TEST_F(RegistrationTest, RemovingLeavesAPlainKeyWithForeignKeysBelow) {
    ASSERT_EQ(WriteRows(Root(), kRows, kModule), S_OK);
    Put(L"shared\\plain\\theirs", L"", L"kept");
    ASSERT_EQ(RemoveRows(Root(), kRows), S_OK);
    EXPECT_EQ(ReadRegistry(Root()),
              (RegistrySnapshot{{"shared", {{"", "new"}}},
                                {"shared\\plain", {{"", "d"}}},  // its named value is gone
                                {"shared\\plain\\theirs", {{"", "kept"}}}}));
}

TEST_F(RegistrationTest, RemovingWhatIsNotThereIsNoFailure) {
    EXPECT_EQ(RemoveRows(Root(), kRows), S_OK);
    EXPECT_EQ(UpdateAllClasses(ERegistryUpdate::kUnregister, Root()), S_OK);
    EXPECT_TRUE(ReadRegistry(Root()).empty());
}

TEST_F(RegistrationTest, TheFirstFailureIsTheResult) {
    RegDeleteKeyW(HKEY_CURRENT_USER, m_name.c_str());    // the root is open, but gone
    const auto gone = static_cast<HRESULT>(0x800703FA);  // ERROR_KEY_DELETED
    EXPECT_EQ(WriteRows(Root(), kRows, kModule), gone);
    EXPECT_EQ(UpdateAllClasses(ERegistryUpdate::kRegister, Root()), gone);
}

TEST_F(RegistrationTest, WhatWasWrittenBeforeAFailureStays) {
    const std::u16string tooLong(300, u'k');  // a key's name has at most 255 units
    const RegistrationRow rows[] = {
        {u"first", ERowFlag::kKeep}, {tooLong, ERowFlag::kKeep}, {u"third", ERowFlag::kKeep}};
    EXPECT_TRUE(FAILED(WriteRows(Root(), rows, kModule)));
    EXPECT_EQ(ReadRegistry(Root()), (RegistrySnapshot{{"first", {}}}));
}

TEST_F(RegistrationTest, TheModuleRegistersItsOwnPathAndLeavesTheTypesBehind) {
    ASSERT_EQ(UpdateAllClasses(ERegistryUpdate::kRegister, Root()), S_OK);
    const RegistrySnapshot once = ReadRegistry(Root());
    EXPECT_EQ(once.size(), 20u);
    EXPECT_EQ(once.at("CLSID\\{B6F0B3F7-85B2-458A-8A87-46161C087722}\\InprocServer32").at(""),
              Utf8FromUtf16(ModulePath()).CStr());
    ASSERT_EQ(UpdateAllClasses(ERegistryUpdate::kRegister, Root()), S_OK);
    EXPECT_EQ(ReadRegistry(Root()), once);

    ASSERT_EQ(UpdateAllClasses(ERegistryUpdate::kUnregister, Root()), S_OK);
    EXPECT_EQ(ReadRegistry(Root()),
              (RegistrySnapshot{{".p7", {{"", "PKCS7File"}}},
                                {".p7m", {{"", "PKCS7File"}}},
                                {"*", {}},
                                {"*\\shellex", {}},
                                {"*\\shellex\\ContextMenuHandlers", {}},
                                {"PKCS7File", {{"", "Encrypted/signed file (PKCS#7 format)"}}},
                                {"CLSID", {}}}));
}

}  // namespace
}  // namespace tarnwell
