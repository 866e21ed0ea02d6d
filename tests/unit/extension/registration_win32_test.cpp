#include "tarnwell/win32/registration.h"

#include "common/system/os/settings_win32.h"
#include "icon_fixture.h"

namespace tarnwell::test {
namespace {

std::string Utf8(const CUTF16String& text) {
    return Utf8FromUtf16(text).CStr();
}

/// Listing gives a line for each key below the root: its path from there, then its values.
std::string Listing(HKEY root, const std::string& prefix = "") {
    std::string lines;
    for (const CUTF16String& name : CSettingsKey::Open(root, u"").SubKeys()) {
        const CSettingsKey key = CSettingsKey::Open(root, name);
        const std::string path = prefix + Utf8(name);
        lines += path;
        for (const CUTF16String& value : key.ValueNames())
            lines += " " + Utf8(value) + "=" + Utf8(key.QueryText(value).value_or(u"no text"));
        lines += "\n" + Listing(key.Get(), path + "\\");
    }
    return lines;
}

// Folders may be called anything, even like a placeholder.
const CUTF16String kModule(u"C:\\it's \u20ac {ctx}\\{module}.dll");

// What the whole table makes of the machine's classes is a matter of the end-to-end tests. In it
// every plain key lies in a forced one, so that only here is seen what a plain one leaves to
// others.
TEST(Registration, WritingEmptiesOnlyForcedKeysAndRemovingTakesOnlyWhatIsOurs) {
    constexpr RegistrationRow kRows[] = {
        {u"shared", ERowFlag::kKeep, {{{u"", u"new"}}}},
        {u"shared\\ours", ERowFlag::kForce, {{{u"", u"{ctx}"}}}},
        {u"shared\\ours\\below",
         ERowFlag::kPlain,
         {{{u"", u"{module}"}, {u"Name", u"{00021500-} %1 {ctx"}}}},
        {u"shared\\plain", ERowFlag::kPlain, {{{u"", u"d"}, {u"Name", u"Text"}}}},
        {u"shared\\plain\\empty", ERowFlag::kPlain},
    };
    const CScratchClasses classes;
    const HKEY root = classes.Root();
    for (const char16_t* key : {u"shared", u"shared\\ours\\stale", u"shared\\plain\\more"})
        ASSERT_TRUE(CSettingsKey::Create(root, key).SetText(u"More", u"theirs"));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(WriteRows(root, kRows, kModule), S_OK);
        EXPECT_EQ(
            Listing(root),
            "shared =new More=theirs\n"
            "shared\\ours ={0D526B21-4823-426D-A4B4-1AD3B8305EFC}\n"
            "shared\\ours\\below =C:\\it's \u20ac {ctx}\\{module}.dll Name={00021500-} %1 {ctx\n"
            "shared\\plain =d Name=Text\n"
            "shared\\plain\\empty\n"
            "shared\\plain\\more More=theirs\n");
    }
    CSettingsKey::Create(root, u"shared\\ours\\below\\more");  // goes with the forced key
    EXPECT_EQ(RemoveRows(root, kRows), S_OK);
    EXPECT_EQ(Listing(root),
              "shared =new More=theirs\n"
              "shared\\plain =d\n"  // its named value is gone
              "shared\\plain\\more More=theirs\n");
    ASSERT_TRUE(CSettingsKey::Open(root, u"shared", true).DeleteKey(u"plain\\more"));
    for (int round = 0; round < 2; ++round) {  // what is missing is no failure
        EXPECT_EQ(RemoveRows(root, kRows), S_OK);
        EXPECT_EQ(Listing(root), "shared =new More=theirs\n");
    }
}

TEST(Registration, TheFirstFailureIsTheResultAndWhatWasWrittenStays) {
    const CScratchClasses classes;
    const std::u16string tooLong(300, u'k');  // a key's name has at most 255 units
    const RegistrationRow rows[] = {
        {u"first", ERowFlag::kKeep}, {tooLong, ERowFlag::kKeep}, {u"third", ERowFlag::kKeep}};
    EXPECT_TRUE(FAILED(WriteRows(classes.Root(), rows, kModule)));
    EXPECT_EQ(Listing(classes.Root()), "first\n");

    classes.Remove();                                    // the root is open, but gone
    const auto gone = static_cast<HRESULT>(0x800703FA);  // ERROR_KEY_DELETED
    EXPECT_EQ(UpdateAllClasses(ERegistryUpdate::kRegister, classes.Root()), gone);
}

}  // namespace
}  // namespace tarnwell::test
