#include "manager/core/output_name.h"

#include <gtest/gtest.h>

#include "manager/core/log.h"

namespace tarnwell::manager {
namespace {

TEST(OutputName, NumbersBeforeTheLastDotOfTheName) {
    EXPECT_EQ(Utf8(NumberedPath(u"C:\\report.pdf.p7", 1)), "C:\\report.pdf.p7");
    EXPECT_EQ(Utf8(NumberedPath(u"C:\\report.pdf.p7", 13)), "C:\\report.pdf (13).p7");
    EXPECT_EQ(Utf8(NumberedPath(u"C:\\d.x\\README", 2)), "C:\\d.x\\README (2)");
    EXPECT_EQ(Utf8(NumberedPath(u".profile", 2)), ".profile (2)");
}

TEST(OutputName, RecoversToTheNameBeforeTheLastDot) {
    const std::pair<const char16_t*, const char*> cases[] = {
        {u"C:\\d\\report.pdf (13).p7", "C:\\d\\report.pdf"},
        {u"C:\\d\\report (2).p7", "C:\\d\\report (2)"},
        {u"C:\\d\\report.pdf ().p7", "C:\\d\\report.pdf ()"},
        {u"C:\\d.x\\report", "C:\\d.x\\report.content"},
        {u"C:\\d\\.p7", "C:\\d\\.p7.content"},
        // Windows would take the name before the last dot for another file, or for a device.
        {u"C:\\d\\a..p7", "C:\\d\\a..p7.content"},
        {u"C:\\d\\a.exe .p7", "C:\\d\\a.exe .p7.content"},
        {u"C:\\d\\con.x (2).p7", "C:\\d\\con.x (2).p7.content"},
        {u"C:\\d\\NUL .txt.p7", "C:\\d\\NUL .txt.p7.content"},
        {u"C:\\d\\com1.txt.p7", "C:\\d\\com1.txt.p7.content"},
        {u"C:\\con\\com10.p7", "C:\\con\\com10"},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(Utf8(RecoveredPath(path)), expected);
}

TEST(OutputName, KnowsWhatWouldRun) {
    for (const char16_t* path : {u"C:\\a.exe", u"C:\\a.txt.LNK", u"a.Js", u"C:\\.exe"})
        EXPECT_TRUE(IsProgram(path)) << Utf8(path);
    for (const char16_t* path : {u"C:\\exe", u"C:\\a.exe\\b", u"a.exe.txt"})
        EXPECT_FALSE(IsProgram(path)) << Utf8(path);
}

TEST(LogLine, IsOneLineWhateverAHostilePeerSent) {
    EXPECT_EQ(LogLine(951782400, 7, "caf\u00E9\r\nb\tc\x1B[31m"),
              "2000-02-29T00:00:00Z [7] caf\u00E9??b?c?[31m\r\n");
}

}  // namespace
}  // namespace tarnwell::manager
