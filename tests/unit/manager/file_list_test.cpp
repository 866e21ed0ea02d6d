#include "manager/core/file_list.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "support/heap_checks.h"

namespace tarnwell::manager {
namespace {

using Paths = std::vector<std::u16string>;

TEST(IsFullPath, KnowsDrivesAndSharesAndNoDevices) {
    for (const char16_t* path : {u"C:\\a", u"z:/a", u"\\\\srv\\share\\a", u"//srv/share/a",
                                 u"\\\\?\\C:\\a", u"\\\\?\\UNC\\srv\\share\\a"})
        EXPECT_TRUE(IsFullPath(path)) << std::string(path, path + 3);
    for (const char16_t* path :
         {u"", u"a", u"C:", u"C:\\", u"C:a", u"1:\\a", u"\\a", u"\\\\", u"\\\\.\\pipe\\x",
          u"\\\\?\\GLOBALROOT\\x", u"\\\\?\\a", u"\\\\\\a", u"//./COM1", u"//?/C:/a", u" C:\\a"})
        EXPECT_FALSE(IsFullPath(path)) << std::string(path, path + 3);
}

TEST(ResolveFileList, FindsNamesWithCommas) {
    struct Case {
        const char16_t* joined;
        Paths existing;
        Paths files;
        Paths unresolved;
    };
    const Case cases[] = {
        {u"C:\\a.txt", {u"C:\\a.txt"}, {u"C:\\a.txt"}, {}},
        {u"C:\\a,b.txt", {u"C:\\a,b.txt"}, {u"C:\\a,b.txt"}, {}},
        {u"C:\\a,b,C:\\c", {u"C:\\a,b", u"C:\\c"}, {u"C:\\a,b", u"C:\\c"}, {}},
        {u"C:\\a,,C:\\c,", {u"C:\\a,", u"C:\\c,"}, {u"C:\\a,", u"C:\\c,"}, {}},
        {u"C:\\x,\\y.txt,C:\\z", {u"C:\\x,\\y.txt", u"C:\\z"}, {u"C:\\x,\\y.txt", u"C:\\z"}, {}},
        {u"\\\\s\\t\\a,b,\\\\s\\t\\c",
         {u"\\\\s\\t\\a,b", u"\\\\s\\t\\c"},
         {u"\\\\s\\t\\a,b", u"\\\\s\\t\\c"},
         {}},
        // The shorter name exists too, but it is not what was selected.
        {u"C:\\a,b", {u"C:\\a", u"C:\\b", u"C:\\a,b"}, {u"C:\\a,b"}, {}},
        {u"C:\\a,b", {u"C:\\a", u"C:\\b"}, {}, {u"C:\\a,b"}},
        {u"C:\\a,C:\\gone,C:\\c", {u"C:\\a", u"C:\\c"}, {u"C:\\a", u"C:\\c"}, {u"C:\\gone"}},
        {u"a.txt,C:\\c", {u"a.txt", u"C:\\c"}, {u"C:\\c"}, {u"a.txt"}},
        {u"", {u""}, {}, {u""}},
        {u",", {u"", u","}, {}, {u","}},
        {u"C:\\a,", {u"C:\\a"}, {}, {u"C:\\a,"}},
        {u"\\\\.\\pipe\\x", {u"\\\\.\\pipe\\x"}, {}, {u"\\\\.\\pipe\\x"}},
        {u"C:\\a:b", {u"C:\\a:b"}, {}, {u"C:\\a:b"}},
        {u"\\\\?\\C:\\a", {u"\\\\?\\C:\\a"}, {u"\\\\?\\C:\\a"}, {}},
    };
    for (const Case& each : cases) {
        const std::set<std::u16string> existing(each.existing.begin(), each.existing.end());
        const FileList list = ResolveFileList(
            each.joined, [&](const std::u16string& path) { return existing.contains(path); });
        const std::u16string_view joined = each.joined;
        EXPECT_EQ(list.files, each.files) << std::string(joined.begin(), joined.end());
        EXPECT_EQ(list.unresolved, each.unresolved) << std::string(joined.begin(), joined.end());
    }
}

TEST(ResolveFileList, LooksOnceAtEachOfManyFiles) {
    const std::size_t count = test::Size<std::size_t>(20000, 500);
    std::u16string joined;
    for (std::size_t i = 0; i < count; ++i) {
        joined += i == 0 ? u"C:\\" : u",C:\\";
        joined += std::u16string(40, u',');  // every comma could be a border
    }
    std::size_t looks = 0;
    const FileList list = ResolveFileList(joined, [&](const std::u16string&) {
        ++looks;
        return true;
    });
    EXPECT_EQ(looks, count);
    EXPECT_EQ(list.files.size(), count);
    EXPECT_EQ(list.files.back(), u"C:\\" + std::u16string(40, u','));
}

}  // namespace
}  // namespace tarnwell::manager
