#include "common/system/json/json_line.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(Quoted, NothingInATextCanEndTheStringOrTheLine) {
    const struct {
        std::string text;
        const char* json;
    } rows[] = {
        {R"(C:\a "b")", R"("C:\\a \"b\"")"},
        {std::string("a\0b\n\x1F\x7F", 6), R"("a\u0000b\u000a\u001f\u007f")"},
        {"żółw 😀", R"("żółw 😀")"},
        // NOLINTNEXTLINE(misc-misleading-bidirectional): that is what the row is about
        {"a\u2028\u2029\u202A", "\"a\\u2028\\u2029\u202A\""},
        {"\xC3(\xFF", "\"\uFFFD(\uFFFD\""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Quoted(row.text), row.json);
}

TEST(CJsonObject, MembersStandInTheirOrder) {
    CJsonArray list;
    list.AddRaw("1");
    list.AddRaw(CJsonObject().Add("n\"", UINT64_MAX).AddNull("a").Text());
    EXPECT_EQ(CJsonObject().Add("b", "x\"").AddRaw("l", list.Text()).AddFlag("f", false).Text(),
              R"({"b":"x\"","l":[1,{"n\"":18446744073709551615,"a":null}],"f":false})");
}

}  // namespace
}  // namespace tarnwell
