#include "common/system/json/js_parser.h"

#include <gtest/gtest.h>

#include "support/heap_checks.h"

namespace tarnwell {
namespace {

using namespace std::string_literals;
using Bytes = std::vector<unsigned char>;

CJSValueOwner Parse(std::string_view text) {
    const char* cursor = text.data();
    return ParseJSValue(cursor, text.data() + text.size());
}

/// Shows a tree on one line: texts in quotes, members as key:value, the undefined value as "?".
std::string Show(const CJSValue& value) {
    if (value.IsUndefined())
        return "?";
    if (const auto* const member = dynamic_cast<const CJSKeyedValue*>(&value))
        return std::string(member->KeyView()) + ":" + Show(member->Value());
    if (dynamic_cast<const CJSString*>(&value) != nullptr)
        return "'" + std::string(value.StringValue().AsView()) + "'";
    if (dynamic_cast<const CJSInteger*>(&value) != nullptr)
        return std::to_string(value.IntegerValue());
    if (dynamic_cast<const CJSBoolean*>(&value) != nullptr)
        return value.BooleanValue() ? "true" : "false";
    std::string shown;
    for (std::size_t i = 0; i < value.Count(); ++i)
        shown += (i == 0 ? "" : ",") + Show(value.Element(i));
    const bool isObject = dynamic_cast<const CJSObject*>(&value) != nullptr;
    return isObject ? "{" + shown + "}" : "[" + shown + "]";
}

struct Case {
    std::string text;
    std::string shown;
    std::string rest = {};
    std::string printed = {};
};

void ExpectAll(std::initializer_list<Case> cases) {
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.text);
        // A copy without a byte behind it, so that reading past the end is seen by the checkers.
        const std::vector<char> bytes(expected.text.begin(), expected.text.end());
        const char* cursor = bytes.data();
        const char* const end = cursor + bytes.size();
        testing::internal::CaptureStdout();
        const CJSValueOwner root = ParseJSValue(cursor, end);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), expected.printed);
        EXPECT_EQ(Show(*root), expected.shown);
        EXPECT_EQ(std::string(cursor, end), expected.rest);
    }
}

TEST(JSParser, ReadsOneValueAndStopsBehindIt) {
    ExpectAll({
        {"", "?"},
        {" \t\n\v\f\r", "?"},
        {" false ,", "false", " ,"},
        {"trueish", "true", "ish"},
        {"\xA0 1", "?", "\xA0 1"},
        // Numbers are digits alone, and stay at the largest one.
        {"-1", "?", "-1"},
        {"1.5", "1", ".5"},
        {"2147483648", "2147483647"},
        {std::string(100'000, '9'), "2147483647"},
    });
}

TEST(JSParser, ReadsStringsWithTheirEscapes) {
    ExpectAll({
        {"\"caf\xC3\xA9\xFF\t\r\0\" "s, "'caf\xC3\xA9\xFF\t\r\0'"s, " "},
        {R"("a\x41\u00e9\101")", "'aA\u00E9A'"},
        {R"("\n\r\t\b\f\v\\\"\'")", "'\n\r\t\b\f\v\\\"''"},
        // Other escaped bytes go with their backslash, the slash included.
        {R"("[\a\/\ \8\-]")", "'[]'"},
        // A backslash joins lines.
        {"\"a\\\nb\\\n\r\rc\"", "'ab\rc'"},
        {"\"a\\\r\nb\"", "'ab'"},
        {R"("\1018\18")", "'A8\18'"},
        {R"("\0\777")", "'\0\u01FF'"s},
        {R"("\x411\u20ac")", "'A1\u20AC'"},
        // What is no character, or half of one, is a question mark; halves are never put together.
        {R"("\ufffe\ud83d\ude00")", "'\?\?\?'"},
        // Digits that are none add nothing, and are gone all the same.
        {R"("[\xg1\x1g\u12g4\x+1]")", "'[]'"},
        {R"(["a\u12","b"])", "['a']", "\"]"},
        // Without its end it is no value; cut in a hexadecimal escape it is empty.
        {R"("abc\)", "?"},
        {R"("\1)", "?"},
        {"\"a\\tb\ncd\"", "?", "\ncd\""},
        {R"("abc\x4)", "''"},
        {R"(["x","a\u)", "['x','']"},
    });
}

TEST(JSParser, ReadsObjectsAndArraysThatAnyCharacterCloses) {
    ExpectAll({
        {" { } x", "{}", " x"},
        {R"({"a":{"b":"x"}})", "{a:{b:'x'}}"},
        {R"({ "a" : 1 , "" : true, })", "{a:1,:true}"},
        {"{a:1,_b$9:2,$:3,Z:4,a:5}", "{a:1,_b$9:2,$:3,Z:4,a:5}"},
        {R"({"a":,"b":2})", "{a:?,b:2}"},
        // The line feed that failed the string is white space to the object.
        {"{\"a\":\"x\n,\"b\":2}", "{a:?,b:2}"},
        {"[ ] x", "[]", " x"},
        {R"(["x","y"} )", "['x','y']", " "},
        {"[1 2]", "[1]", "]"},
        {"[1,]", "[1,?]"},
        {"[-1]", "[?]", "1]"},
        {"[", "[?]"},
        {R"({"a":[1;,"b":2})", "{a:[1],b:2}"},
    });
}

TEST(JSParser, AnErrorFailsTheObjectAndAllAroundIt) {
    for (const char* text :
         {"{", R"({"a":1)", "{,}", "{1a:1}", "{\"a\nb\":1}", R"({"a":1 "b":2})", R"({"n":-1})",
          R"({"a":[{"b":{"n":null}}],"d":2})", R"({"a":[1;"b":2})"})
        ExpectAll({{text, "?"}});
}

TEST(JSParser, ReportsAKeyWithoutAColon) {
    const std::string start = "JSON object parsing error: \"";
    const std::string end = "\" is not followed by ':'!\n";
    ExpectAll({
        {R"({"a" 1})", "?", "", start + "a" + end},
        {"{name", "?", "", start + "name" + end},
        {R"({"%s\0b"})", "?", "", start + "%s\0b"s + end},
    });
}

TEST(JSParser, DeeperTextThanTheLimitIsUndefinedAsAWhole) {
    const std::string deepest = std::string(kMaxJSDepth, '[') + std::string(kMaxJSDepth, ']');
    std::string siblings = "[1";
    for (int i = 0; i < 3 * kMaxJSDepth; ++i)
        siblings += ",[{}]";
    siblings += "]";
    ExpectAll({
        {deepest, deepest},
        {siblings, siblings},
        {"[" + deepest + "]", "?"},
        {"[1,{a:" + deepest + "}]", "?"},
        {std::string(test::Size(5'000'000, 50'000), '['), "?"},
    });
}

TEST(CJSValue, AnswersTheQuestionOfItsKindAloneAndAMemberAsItsValueDoes) {
    enum { kText, kNumber, kTrue, kList, kGroup, kAbsent, kEnd };
    for (const char* script : {R"(["0a", 10, true, [1, 9], {"k":9}, ])",
                               R"({"a":"0a", "b":10, "c":true, "d":[1, 9], "e":{"k":9}, "f":})"}) {
        const CJSValueOwner root = Parse(script);
        for (int kind = kText; kind < kEnd; ++kind) {
            SCOPED_TRACE(testing::Message() << script << kind);
            const CJSValue& value = root->Element(static_cast<std::size_t>(kind));
            Bytes bytes = {1, 2, 3};
            EXPECT_EQ(value.BytesValue(bytes), kind == kText);
            EXPECT_EQ(bytes, kind == kText ? Bytes{0x0A} : Bytes());
            EXPECT_EQ(value.StringValue(), kind == kText ? "0a" : "");
            EXPECT_EQ(value.IntegerValue(), kind == kNumber ? 10 : 0);
            EXPECT_EQ(value.BooleanValueOr(true), kind == kTrue || value.IsUndefined());
            EXPECT_EQ(value.Count(), kind == kList ? 2U : kind == kGroup ? 1U : 0U);
            EXPECT_EQ(value.Element(1).IntegerValue(), kind == kList ? 9 : 0);
            EXPECT_EQ(value.Member("k").IntegerValue(), kind == kGroup ? 9 : 0);
            EXPECT_EQ(value.Key().IsEmpty(), *script == '[');
        }
        EXPECT_TRUE(root->Element(SIZE_MAX).Member("k").Element(0).IsUndefined());
    }
}

TEST(CJSObject, FindsTheFirstMemberOfAnExactOrABinaryKey) {
    const CJSValueOwner root = Parse(R"({"a":1, "A":2, "a\u0000":3, "0aZ":4, "0A":5, "0a 0b":6})");
    const auto find = [&](const Bytes& key) { return root->MemberByBytes(key).IntegerValue(); };
    EXPECT_EQ(root->Member("A").IntegerValue(), 2);
    EXPECT_EQ(root->Member(std::string_view("a\0", 2)).IntegerValue(), 3);
    EXPECT_TRUE(root->Member("aa").IsUndefined());
    EXPECT_EQ(find({0x0A}), 1) << "a single digit is a byte";
    EXPECT_EQ(find({0x0A, 0x0B}), 6);
    EXPECT_TRUE(Parse(R"({"a":{"0a":1}})")->Member("a").MemberByBytes(Bytes{0x0A}).IsUndefined())
        << "members do not hand the question on";
}

TEST(DecodeHex, ReadsPairsAndSingleDigitsUpToTheFirstOtherCharacter) {
    const struct {
        std::string_view text;
        Bytes bytes;
        bool complete = true;
    } cases[] = {
        {" \t\r\n", {}},
        {"0a 0B f", {0x0A, 0x0B, 0x0F}},
        {" a b\vcdF00", {0x0A, 0x0B, 0xCD, 0xF0, 0x00}},
        {"0a-0b", {0x0A}, false},
        {std::string_view("0a0\0", 4), {0x0A}, false},
    };
    for (const auto& expected : cases) {
        Bytes bytes = {9, 9};
        EXPECT_EQ(DecodeHex(expected.text, bytes), expected.complete) << expected.text;
        EXPECT_EQ(bytes, expected.bytes) << expected.text;
    }
}

}  // namespace
}  // namespace tarnwell
