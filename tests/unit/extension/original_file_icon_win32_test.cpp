#include "tarnwell/win32/original_file_icon.h"

#include <sstream>

#include "icon_fixture.h"

namespace tarnwell::test {
namespace {

/// Whose icon it is: one of this program, the shell's default one or none.
std::string Shown(const CUniqueIcon& icon, int size) {
    const CUniqueModule shell(LoadLibraryW(L"shell32.dll"));
    const Picture picture = PictureOf(icon.Get());
    if (picture.empty())
        return "none";
    if (picture == PictureOf(IconOf(shell.Get(), 1, size).Get()))
        return "shell";
    WORD resource = 205;
    while (resource < 220 && picture != PictureOf(IconOf(nullptr, resource, size).Get()))
        ++resource;
    return std::to_string(resource);
}

/// Load gives whose icons come at 48 and at 16 pixels for files named *.x, once if it is the same.
std::string Load(HKEY classes, std::u16string_view extension = u"x") {
    CUniqueIcon large, little;
    LoadOriginalFileIcon(extension, &large, &little, 48, 16, classes);
    const std::string one = Shown(large, 48), other = Shown(little, 16);
    return one == other ? one : one + " " + other;
}

const CUTF16String kProgram = ModulePath();

TEST(OriginalFileIcon, IsWhatTheTypesDefaultIconSaysOrElseTheShells) {
    SetEnvironmentVariableW(L"TARNWELL_TEST_ICONS", Wide(kProgram));
    const CTempFolder folder;
    const CUTF16String variable = u"%TARNWELL_TEST_ICONS%,-211";
    const auto padded = [](std::size_t length) {
        return kProgram + u"," +
               CUTF16String(std::u16string(length - kProgram.Length() - 2, u'0')) + u"3";
    };
    const struct {
        CUTF16String text;
        std::string shown = "shell";
        DWORD type = REG_SZ;
        std::size_t cut = 0;  // bytes missing at the end of the value
    } kCases[] = {
        {kProgram, "205"},
        {u"\"" + kProgram + u"\", -212", "212"},
        {variable, "211", REG_EXPAND_SZ},
        {variable},
        {padded(280), "208"},
        {padded(281)},
        {padded(280), "208", REG_SZ, 2},
        {padded(281), "shell", REG_EXPAND_SZ, 2},
        {kProgram + u",-209x", "209", REG_SZ, 3},
        {kProgram, "shell", REG_BINARY},
        {u"", "shell", REG_SZ, 2},
        {u"Z:\\" + CUTF16String(std::u16string(260, u'x'))},
        {Utf16(folder.Write("no icons.dll", "no icons"))},
        {kProgram + u",-999"},
    };
    const CScratchClasses classes;
    CSettingsKey::Create(classes.Root(), u".x").SetText(u"", u"Type");
    const CSettingsKey icon = CSettingsKey::Create(classes.Root(), u"Type\\DefaultIcon");
    EXPECT_EQ(Load(classes.Root()), "shell");  // the key is there, but says nothing
    for (const auto& test : kCases) {
        SCOPED_TRACE(Utf8FromUtf16(test.text).CStr() + (" cut by " + std::to_string(test.cut)));
        RegSetValueExW(icon.Get(), nullptr, 0, test.type,
                       reinterpret_cast<const BYTE*>(test.text.CStr()),
                       static_cast<DWORD>(2 * test.text.Length() + 2 - test.cut));
        const CTraceListener trace;
        EXPECT_EQ(Load(classes.Root()), test.shown);
        Strings lines = {"enter LoadOriginalFileIcon", "leave LoadOriginalFileIcon"};
        if (test.shown == "shell")
            lines.insert(lines.begin() + 1, "Default ICON choosen");
        EXPECT_EQ(trace.Lines(), lines);
    }

    // One icon that cannot be had sends both to the default.
    icon.SetText(u"", kProgram);
    CUniqueIcon large, little;
    LoadOriginalFileIcon(u"x", nullptr, &little, 65535, 16, classes.Root());
    EXPECT_EQ(Shown(little, 16), "205");
    LoadOriginalFileIcon(u"x", &large, &little, 65535, 16, classes.Root());
    EXPECT_EQ(Shown(large, 16) + Shown(little, 16), "noneshell");
}

TEST(OriginalFileIcon, IsLookedForInTheTypeAndThenInItsCurrentVersion) {
    const struct {
        const char* keys;  // key=default value; "*" is a file with icons
        std::u16string extension = u"x";
        const char* shown = "shell";
    } kCases[] = {
        {".x=Old Old\\CurVer=New New\\DefaultIcon=*", u"x", "205"},
        {".x=Old Old\\CurVer=New New\\DefaultIcon=* Old\\DefaultIcon=none.dll"},
        {".x=Old Old\\CurVer=Mid Mid\\CurVer=New New\\DefaultIcon=*"},
        {".x=Old Old\\CurVer=New"},
        {".x= DefaultIcon=*"},
        {".=Old Old\\DefaultIcon=*", u""},
        {".x=Old Old\\DefaultIcon=*", u"C:\\a\\report"},
        {".x=Old Old\\DefaultIcon=*", std::u16string(40000, u'x')},
    };
    for (const auto& test : kCases) {
        const CScratchClasses classes;
        std::istringstream keys(test.keys);
        for (std::string key, text; std::getline(keys, key, '=');) {
            std::getline(keys, text, ' ');
            CSettingsKey::Create(classes.Root(), Utf16FromUtf8(key))
                .SetText(u"", text == "*" ? kProgram : Utf16FromUtf8(text));
        }
        EXPECT_EQ(Load(classes.Root(), test.extension), test.shown) << test.keys;
    }
}

}  // namespace
}  // namespace tarnwell::test
