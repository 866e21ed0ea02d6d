#include "common/system/os/long_path.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(ExtendedPath, KnowsDrivesAndSharesAndLeavesTheRest) {
    const struct {
        const char16_t* path;
        const char16_t* extended;
    } cases[] = {
        {u"C:\\a\\b.p7", u"\\\\?\\C:\\a\\b.p7"},
        {u"z:\\", u"\\\\?\\z:\\"},
        {u"\\\\server\\share\\a", u"\\\\?\\UNC\\server\\share\\a"},
        {u"\\\\?\\C:\\a", u"\\\\?\\C:\\a"},
        {u"\\\\?\\UNC\\server\\share", u"\\\\?\\UNC\\server\\share"},
        {u"\\\\.\\pipe\\a", u"\\\\.\\pipe\\a"},
        {u"a\\b", u"a\\b"},
        {u"C:a", u"C:a"},
        {u"C:", u"C:"},
        {u"1:\\a", u"1:\\a"},
        {u"\\a", u"\\a"},
        {u"", u""},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(ExtendedPath(expected.path), expected.extended);
}

}  // namespace
}  // namespace tarnwell
