#include "manager/core/output_name.h"

#include <gtest/gtest.h>

#include "manager/core/log.h"

namespace tarnwell::manager {
namespace {

TEST(OutputName, NumbersBeforeTheLastDotOfTheName) {
    struct Case {
        const char16_t* path;
        unsigned n;
        const char16_t* expected;
    };
    const Case cases[] = {
        {u"C:\\d\\report.pdf.p7", 1, u"C:\\d\\report.pdf.p7"},
        {u"C:\\d\\report.pdf.p7", 2, u"C:\\d\\report.pdf (2).p7"},
        {u"C:\\d\\report.pdf.p7", 13, u"C:\\d\\report.pdf (13).p7"},
        {u"C:\\d.x\\README", 2, u"C:\\d.x\\README (2)"},
        {u"C:\\d\\.profile", 2, u"C:\\d\\.profile (2)"},
        {u"name", 2, u"name (2)"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(Utf8(NumberedPath(each.path, each.n)), Utf8(each.expected));
}

TEST(OutputName, RecoversToTheNameBeforeTheLastDot) {
    struct Case {
        const char16_t* path;
        const char16_t* expected;
    };
    const Case cases[] = {
        {u"C:\\d\\report.pdf.p7", u"C:\\d\\report.pdf"},
        {u"C:\\d\\report.p7", u"C:\\d\\report"},
        {u"C:\\d\\report.pdf (2).p7", u"C:\\d\\report.pdf"},
        {u"C:\\d\\report.pdf (13).p7", u"C:\\d\\report.pdf"},
        {u"C:\\d\\report (2).p7", u"C:\\d\\report (2)"},
        {u"C:\\d\\report.pdf (new).p7", u"C:\\d\\report.pdf (new)"},
        {u"C:\\d\\report.pdf ().p7", u"C:\\d\\report.pdf ()"},
        {u"C:\\d\\con.x (2).p7", u"C:\\d\\con.x (2).p7.content"},
        {u"C:\\d.x (2)\\a.p7", u"C:\\d.x (2)\\a"},
        {u"C:\\d.x\\report", u"C:\\d.x\\report.content"},
        {u"C:\\d\\.p7", u"C:\\d\\.p7.content"},
        {u"C:\\d\\a..p7", u"C:\\d\\a..p7.content"},
        {u"C:\\d\\a.exe .p7", u"C:\\d\\a.exe .p7.content"},
        {u"C:\\d\\con.p7", u"C:\\d\\con.p7.content"},
        {u"C:\\d\\NUL .txt.p7", u"C:\\d\\NUL .txt.p7.content"},
        {u"C:\\d\\com1.txt.p7", u"C:\\d\\com1.txt.p7.content"},
        {u"C:\\d\\com10.p7", u"C:\\d\\com10"},
        {u"C:\\con\\console.p7", u"C:\\con\\console"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(Utf8(RecoveredPath(each.path)), Utf8(each.expected));
}

TEST(OutputName, KnowsWhatWouldRun) {
    for (const char16_t* path : {u"C:\\a.exe", u"C:\\a.txt.LNK", u"a.Js", u"C:\\a.b\\x.hta"})
        EXPECT_TRUE(IsProgram(path)) << Utf8(path);
    for (const char16_t* path :
         {u"C:\\a.pdf", u"C:\\exe", u"C:\\.exe", u"C:\\a.exe\\b", u"a.exe.txt"})
        EXPECT_FALSE(IsProgram(path)) << Utf8(path);
}

TEST(LogLine, IsOneLineWhateverAHostilePeerSent) {
    EXPECT_EQ(LogLine(1767323045, 7, "a\r\nb\tc\x1B[31m"),
              "2026-01-02T03:04:05Z [7] a??b?c?[31m\r\n");
    EXPECT_EQ(LogLine(951782400, 7, "caf\xC3\xA9"), "2000-02-29T00:00:00Z [7] caf\xC3\xA9\r\n");
}

}  // namespace
}  // namespace tarnwell::manager
