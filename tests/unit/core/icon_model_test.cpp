#include "tarnwell/core/icon_model.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(IconModel, TakesTheExtensionInsideTheContainersOwn) {
    const struct {
        const char16_t *path, *extension;
    } kCases[] = {
        {u"C:\\a\\report.pdf.p7m", u"pdf"},
        {u"report..p7", u""},
        {u"C:\\a\\report.p7m", u"C:\\a\\report"},  // without a dot: the whole rest
        {u"C:\\dir.ext\\report.p7m", u"ext\\report"},
        {u".p7", u""},
        {u"", u""},
    };
    for (const auto& test : kCases)
        EXPECT_EQ(EnclosedExtension(test.path), test.extension);
}

TEST(IconModel, ReadsFileAndIndex) {
    const struct {
        const char16_t *text, *file;
        std::int32_t index;
    } kCases[] = {
        {u"C:\\a b.dll", u"C:\\a b.dll", 0},
        {u"C:\\a.dll,3", u"C:\\a.dll", 3},
        {u"C:\\a.dll,-205", u"C:\\a.dll", -205},
        {u" \"C:\\a, b.dll\" , +7 ", u"C:\\a, b.dll", 7},
        {u"\"C:\\a.dll,12\"", u"C:\\a.dll", 12},
        {u"C:\\a.dll,", u"C:\\a.dll", 0},
        {u"C:\\a,b.ico", u"C:\\a", 0},
        {u"a,1,2x3", u"a,1", 2},
        {u"a,--5", u"a", 0},
        {u"a,99999999999999999999999999", u"a", 2147483647},
        {u"a,-2147483648", u"a", -2147483647},
        {u",5", u"", 5},
        {u" \" ", u"", 0},
        {u"", u"", 0},
    };
    for (const auto& test : kCases) {
        const IconLocation location = ParseIconLocation(test.text);
        EXPECT_EQ(location.file, test.file) << testing::PrintToString(test.text);
        EXPECT_EQ(location.index, test.index) << testing::PrintToString(test.text);
    }
}

}  // namespace
}  // namespace tarnwell
