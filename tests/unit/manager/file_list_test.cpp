#include "manager/core/file_list.h"

#include <gtest/gtest.h>

#include "manager/core/log.h"
#include "support/heap_checks.h"

namespace tarnwell::manager {
namespace {

using Paths = std::vector<std::u16string>;

TEST(ResolveFileList, FindsNamesWithCommas) {
    const struct {
        const char16_t* joined;
        Paths files, unresolved;
    } cases[] = {
        {u"C:\\a,b,z:/c", {u"C:\\a,b", u"z:/c"}, {}},
        {u"C:\\a,,C:\\c,", {u"C:\\a,", u"C:\\c,"}, {}},
        {u"C:\\x,\\y.txt,C:\\z", {u"C:\\x,\\y.txt", u"C:\\z"}, {}},
        {u"\\\\s\\t\\a,b,//s/t/c", {u"\\\\s\\t\\a,b", u"//s/t/c"}, {}},
        {u"\\\\?\\C:\\a,\\\\?\\UNC\\s\\t\\a", {u"\\\\?\\C:\\a", u"\\\\?\\UNC\\s\\t\\a"}, {}},
        {u"C:\\a,C:\\gone,C:\\c", {u"C:\\a", u"C:\\c"}, {u"C:\\gone"}},
        // The shorter name and the relative one exist, but they are not what was selected.
        {u"C:\\a,gone", {}, {u"C:\\a,gone"}},
        {u"a.txt,C:\\c", {u"C:\\c"}, {u"a.txt"}},
    };
    for (const auto& each : cases) {
        const FileList list = ResolveFileList(
            each.joined, [](const std::u16string& path) { return !path.ends_with(u"gone"); });
        EXPECT_EQ(list.files, each.files) << Utf8(each.joined);
        EXPECT_EQ(list.unresolved, each.unresolved) << Utf8(each.joined);
    }
    // These could all be opened, but not as a file that somebody selected.
    for (const char16_t* path :
         {u"", u",", u"C:\\", u"C:a", u"1:\\a", u"\\a", u"\\\\", u"\\\\.\\pipe\\x",
          u"\\\\?\\GLOBALROOT\\x", u"//?/C:/a", u"C:\\a:stream"})
        EXPECT_TRUE(ResolveFileList(path, [](auto&) { return true; }).files.empty()) << Utf8(path);
}

TEST(ResolveFileList, LooksOnceAtEachOfManyFiles) {
    const std::size_t count = test::Size<std::size_t>(20000, 200);
    std::u16string joined = u"C:\\x";
    for (std::size_t i = 1; i < count; ++i)
        joined += std::u16string(40, u',') + u"C:\\x";  // every comma could be a border
    std::size_t looks = 0;
    const auto look = [&](const std::u16string&) { return ++looks > 0; };
    EXPECT_EQ(ResolveFileList(joined, look).files.size(), count);
    EXPECT_EQ(looks, count);
}

}  // namespace
}  // namespace tarnwell::manager
