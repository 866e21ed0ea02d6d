#include "common/system/json/json_line.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(Quoted, NothingInATextCanEndTheStringOrTheLine) {
    const struct {
        std::string text;
        const char* json;
    } rows[] = {
        {"", R"("")"},
        {"report.pdf", R"("report.pdf")"},
        {R"(C:\a "b")", R"("C:\\a \"b\"")"},
        {"a\nb\r\tc", R"("a\u000ab\u000d\u0009c")"},
        {std::string("a\0b", 3), R"("a\u0000b")"},
        {"\x1F\x7F", R"("\u001f\u007f")"},
        {"żółw 😀", R"("żółw 😀")"},
        {"a\xE2\x80\xA8\xE2\x80\xA9\xE2\x80\xAA", "\"a\\u2028\\u2029\xE2\x80\xAA\""},
        {"\xC3(\xFF", "\"\xEF\xBF\xBD(\xEF\xBF\xBD\""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Quoted(row.text), row.json);
}

TEST(CJsonObject, MembersStandInTheirOrder) {
    CJsonArray list;
    EXPECT_EQ(list.Text(), "[]");
    list.AddRaw("1");
    list.AddRaw("{}");
    EXPECT_EQ(CJsonObject().Text(), "{}");
    EXPECT_EQ(CJsonObject()
                  .Add("b", "x\"")
                  .Add("a", std::uint64_t{18446744073709551615u})
                  .AddFlag("f", false)
                  .AddNull("n")
                  .AddRaw("l", list.Text())
                  .Text(),
              R"({"b":"x\"","a":18446744073709551615,"f":false,"n":null,"l":[1,{}]})");
}

}  // namespace
}  // namespace tarnwell
