#include "tarnwell/win32/registration.h"

#include "common/system/os/install_paths.h"
#include "common/system/os/settings_win32.h"
#include "common/system/text/convert.h"
#include "icon_fixture.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

namespace tarnwell {
namespace {

/// Every key below a root by its path from there, with its texts ("" is the default value).
using Snapshot = std::map<std::string, std::map<std::string, std::string>>;

std::string Utf8(const CUTF16String& text) {
    return Utf8FromUtf16(text).CStr();
}

void ReadBelow(HKEY root, const std::string& prefix, Snapshot& snapshot) {
    for (const CUTF16String& name : CSettingsKey::Open(root, u"").SubKeys()) {
        const CSettingsKey key = CSettingsKey::Open(root, name);
        auto& values = snapshot[prefix + Utf8(name)];
        for (const CUTF16String& value : key.ValueNames())
            values[Utf8(value)] = Utf8(key.QueryText(value).value_or(u"no text"));
        ReadBelow(key.Get(), prefix + Utf8(name) + "\\", snapshot);
    }
}

/// A key of the test's own in place of HKEY_CLASSES_ROOT.
class RegistrationTest : public testing::Test {
protected:
    void Put(const CUTF16String& key, const CUTF16String& name) {
        ASSERT_TRUE(CSettingsKey::Create(Root(), key).SetText(name, u"theirs"));
    }
    Snapshot Read() const {
        Snapshot snapshot;
        ReadBelow(Root(), "", snapshot);
        return snapshot;
    }
    HKEY Root() const { return m_classes.Root(); }

    const test::CScratchClasses m_classes{};
};

constexpr RegistrationRow kRows[] = {
    {u"shared", ERowFlag::kKeep, {{{u"", u"new"}}}},
    {u"shared\\ours", ERowFlag::kForce, {{{u"", u"{ctx}"}}}},
    {u"shared\\ours\\below", ERowFlag::kPlain, {{{u"", u"{module}"}, {u"Name", u"Text"}}}},
    {u"shared\\plain", ERowFlag::kPlain, {{{u"", u"d"}, {u"Name", u"Text"}}}},
    {u"shared\\plain\\empty", ERowFlag::kPlain},
};
const CUTF16String kModule(u"C:\\it's \u20ac\\a.dll");

const Snapshot kWritten = {
    {"shared", {{"", "new"}}},
    {"shared\\ours", {{"", "{0D526B21-4823-426D-A4B4-1AD3B8305EFC}"}}},
    {"shared\\ours\\below", {{"", "C:\\it's \u20ac\\a.dll"}, {"Name", "Text"}}},
    {"shared\\plain", {{"", "d"}, {"Name", "Text"}}},
    {"shared\\plain\\empty", {}},
};

TEST_F(RegistrationTest, WritingEmptiesOnlyForcedKeysFirst) {
    Put(u"shared", u"");
    Put(u"shared", u"more");
    Put(u"shared\\more", u"");
    Put(u"shared\\ours", u"stale");
    Put(u"shared\\ours\\stale\\deep", u"");
    Put(u"shared\\plain", u"more");
    Put(u"shared\\plain\\more", u"");
    Snapshot expected = kWritten;
    for (const char* key : {"shared", "shared\\plain"}) {
        expected[key]["more"] = "theirs";
        expected[std::string(key) + "\\more"][""] = "theirs";
    }
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(WriteRows(Root(), kRows, kModule), S_OK);
        EXPECT_EQ(Read(), expected);
    }
}

TEST_F(RegistrationTest, RemovingTakesOnlyWhatIsOurs) {
    ASSERT_EQ(WriteRows(Root(), kRows, kModule), S_OK);
    EXPECT_EQ(Read(), kWritten);
    Put(u"shared\\ours\\below\\more", u"");  // goes with the forced key
    Put(u"shared\\plain\\more", u"");
    Snapshot expected = {{"shared", {{"", "new"}}},
                         {"shared\\plain", {{"", "d"}}},  // its named value is gone
                         {"shared\\plain\\more", {{"", "theirs"}}}};
    EXPECT_EQ(RemoveRows(Root(), kRows), S_OK);
    EXPECT_EQ(Read(), expected);
    ASSERT_TRUE(CSettingsKey::Open(Root(), u"shared", true).DeleteKey(u"plain\\more"));
    for (int round = 0; round < 2; ++round) {  // what is missing is no failure
        EXPECT_EQ(RemoveRows(Root(), kRows), S_OK);
        EXPECT_EQ(Read(), (Snapshot{{"shared", {{"", "new"}}}}));
    }
}

TEST_F(RegistrationTest, TheFirstFailureIsTheResultAndWhatWasWrittenStays) {
    const std::u16string tooLong(300, u'k');  // a key's name has at most 255 units
    const RegistrationRow rows[] = {
        {u"first", ERowFlag::kKeep}, {tooLong, ERowFlag::kKeep}, {u"third", ERowFlag::kKeep}};
    EXPECT_TRUE(FAILED(WriteRows(Root(), rows, kModule)));
    EXPECT_EQ(Read(), (Snapshot{{"first", {}}}));

    m_classes.Remove();                                  // the root is open, but gone
    const auto gone = static_cast<HRESULT>(0x800703FA);  // ERROR_KEY_DELETED
    EXPECT_EQ(UpdateAllClasses(ERegistryUpdate::kRegister, Root()), gone);
}

TEST(Registration, AModulePathOf260UnitsIsRefused) {
    const test::CTempFolder folder;
    const std::wstring parent = L"\\\\?\\" + folder.Path().wstring() + L"\\";
    const std::wstring deep = parent + std::wstring(260 + 4 - 13 - parent.size(), L'x');
    const std::wstring file = deep + L"\\Tarnwell.dll";
    ASSERT_EQ(file.size(), 260u + 4u);  // behind the prefix
    CreateDirectoryW(deep.c_str(), nullptr);
    const std::filesystem::path original = Wide(ModuleDirectory());
    ASSERT_TRUE(CopyFileW((original / L"Tarnwell.dll").c_str(), file.c_str(), TRUE));
    {
        const CUniqueModule module(LoadLibraryW(file.c_str()));
        for (const char* function : {"DllRegisterServer", "DllUnregisterServer"}) {
            const auto entry = reinterpret_cast<HRESULT(WINAPI*)()>(
                reinterpret_cast<void*>(GetProcAddress(module.Get(), function)));
            ASSERT_NE(entry, nullptr);
            EXPECT_EQ(entry(), kPathTooLong);
        }
    }
    DeleteFileW(file.c_str());
    RemoveDirectoryW(deep.c_str());
}

}  // namespace
}  // namespace tarnwell
