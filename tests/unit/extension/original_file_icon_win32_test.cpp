#include "tarnwell/win32/original_file_icon.h"

#include <sstream>

#include "icon_fixture.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"

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

/// Load gives whose icons come at 48 and at 16 pixels for files named *.x.
std::string Load(HKEY classes, std::u16string_view extension = u"x") {
    CUniqueIcon large, little;
    LoadOriginalFileIcon(extension, &large, &little, 48, 16, classes);
    return Shown(large, 48) + " " + Shown(little, 16);
}

std::string Both(const std::string& shown) {
    return shown + " " + shown;
}

const CUTF16String kProgram = ProgramPath();

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
        const char* shown = nullptr;  // null: the shell's
        DWORD type = REG_SZ;
        std::size_t cut = 0;  // bytes missing at the end of the value
    } kCases[] = {
        {kProgram, "205"},
        {kProgram + u",3", "208"},
        {kProgram + u",-212", "212"},
        {u"\"" + kProgram + u"\", -212", "212"},
        {variable, "211", REG_EXPAND_SZ},
        {variable},
        {u"%TARNWELL_TEST_NONE%,0", nullptr, REG_EXPAND_SZ},
        {padded(280), "208"},
        {padded(281)},
        {padded(280), "208", REG_SZ, 2},
        {padded(281), nullptr, REG_EXPAND_SZ, 2},
        {kProgram + u",-209x", "209", REG_SZ, 3},
        {kProgram, nullptr, REG_BINARY},
        {u"", nullptr, REG_SZ, 2},
        {u"Z:\\there is\\none.dll"},
        {u"Z:\\" + CUTF16String(std::u16string(260, u'x'))},
        {Utf16(folder.Write("no icons.dll", "no icons"))},
        {kProgram + u",99"},
        {kProgram + u",-999"},
        {kProgram + u",-99999999999999999999"},
    };
    const CScratchClasses classes;
    CSettingsKey::Create(classes.Root(), u".x").SetText(u"", u"Type");
    const CSettingsKey icon = CSettingsKey::Create(classes.Root(), u"Type\\DefaultIcon");
    EXPECT_EQ(Load(classes.Root()), "shell shell");  // the key is there, but says nothing
    for (const auto& test : kCases) {
        SCOPED_TRACE(Utf8FromUtf16(test.text).CStr() + (" cut by " + std::to_string(test.cut)));
        RegSetValueExW(icon.Get(), nullptr, 0, test.type,
                       reinterpret_cast<const BYTE*>(test.text.CStr()),
                       static_cast<DWORD>(2 * test.text.Length() + 2 - test.cut));
        const CTraceListener trace;
        EXPECT_EQ(Load(classes.Root()), Both(test.shown ? test.shown : "shell"));
        EXPECT_EQ(trace.Messages(),
                  std::vector<std::string>(test.shown ? 0 : 1, "Default ICON choosen"));
        EXPECT_EQ(trace.Lines().front() + "/" + trace.Lines().back(),
                  "enter LoadOriginalFileIcon/leave LoadOriginalFileIcon");
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
        std::u16string extension;
        bool isFound;
    } kCases[] = {
        {".x=Old Old\\CurVer=New New\\DefaultIcon=*", u"x", true},
        {".x=Old Old\\CurVer=New New\\DefaultIcon=* Old\\DefaultIcon=none.dll", u"x", false},
        {".x=Old Old\\CurVer=Mid Mid\\CurVer=New New\\DefaultIcon=*", u"x", false},
        {".x=Old Old\\CurVer=New", u"x", false},
        {".x= DefaultIcon=*", u"x", false},
        {".=Old Old\\DefaultIcon=*", u"", false},
        {".x=Old Old\\DefaultIcon=*", u"C:\\a\\report", false},
        {".x=Old Old\\DefaultIcon=*", std::u16string(40000, u'x'), false},
    };
    for (const auto& test : kCases) {
        const CScratchClasses classes;
        std::istringstream keys(test.keys);
        for (std::string key, text; std::getline(keys, key, '=');) {
            std::getline(keys, text, ' ');
            CSettingsKey::Create(classes.Root(), Utf16FromUtf8(key))
                .SetText(u"", text == "*" ? kProgram : Utf16FromUtf8(text));
        }
        EXPECT_EQ(Load(classes.Root(), test.extension), test.isFound ? "205 205" : "shell shell")
            << test.keys;
    }
}

}  // namespace
}  // namespace tarnwell::test
