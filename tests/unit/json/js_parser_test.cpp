#include "common/system/json/js_parser.h"

#include "support/heap_checks.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

namespace tarnwell {
namespace {

using namespace std::string_literals;

std::string Text(const CISOString& text) {
    return std::string(text.AsView());
}

/// Shows a tree on one line: texts in quotes, members as key:value, the undefined value as "?".
std::string Show(const CJSValue& value) {
    if (value.IsUndefined())
        return "?";
    if (dynamic_cast<const CJSString*>(&value) != nullptr)
        return "'" + Text(value.StringValue()) + "'";
    if (dynamic_cast<const CJSInteger*>(&value) != nullptr)
        return std::to_string(value.IntegerValue());
    if (dynamic_cast<const CJSBoolean*>(&value) != nullptr)
        return value.BooleanValue() ? "true" : "false";
    const bool isObject = dynamic_cast<const CJSObject*>(&value) != nullptr;
    std::string shown = isObject ? "{" : "[";
    for (std::size_t i = 0; i < value.Count(); ++i) {
        const CJSValue& element = value.Element(i);
        shown += i == 0 ? "" : ",";
        if (const auto* const member = dynamic_cast<const CJSKeyedValue*>(&element))
            shown += Text(member->Key()) + ":" + Show(member->Value());
        else
            shown += Show(element);
    }
    return shown + (isObject ? "}" : "]");
}

struct Parsed {
    std::string shown;
    std::string rest;
    std::string printed;
};

/// Parses a copy without a byte behind it, so that reading past the end is seen by the checkers.
Parsed Parse(std::string_view text) {
    const auto bytes = std::make_unique<char[]>(text.size());
    std::copy(text.begin(), text.end(), bytes.get());
    const char* const end = bytes.get() + text.size();
    const char* cursor = bytes.get();
    testing::internal::CaptureStdout();
    const CJSValueOwner root = ParseJSValue(cursor, end);
    Parsed parsed;
    parsed.printed = testing::internal::GetCapturedStdout();
    parsed.shown = Show(*root);
    parsed.rest.assign(cursor, end);
    return parsed;
}

struct Case {
    std::string text;
    std::string shown;
    std::string rest = "";
};

void ExpectAll(std::initializer_list<Case> cases) {
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.text);
        const Parsed parsed = Parse(expected.text);
        EXPECT_EQ(parsed.shown, expected.shown);
        EXPECT_EQ(parsed.rest, expected.rest);
        EXPECT_EQ(parsed.printed, "");
    }
}

TEST(JSParser, ReadsOneValueAndStopsBehindIt) {
    ExpectAll({
        {"", "?"},
        {" \t\n\v\f\r", "?"},
        {"true", "true"},
        {" false ,", "false", " ,"},
        {"trueish", "true", "ish"},
        {"tru", "?", "tru"},
        {"fals", "?", "fals"},
        {"True", "?", "True"},
        {"null", "?", "null"},
        {"\xA0 1", "?", "\xA0 1"},
        {"'a'", "?", "'a'"},
        {"}", "?", "}"},
    });
}

TEST(JSParser, ReadsDigitsAndNoSignFractionOrExponent) {
    ExpectAll({
        {"0", "0"},
        {"007", "7"},
        {"2147483647", "2147483647"},
        {"-1", "?", "-1"},
        {"+1", "?", "+1"},
        {"1.5", "1", ".5"},
        {"1e3", "1", "e3"},
        {"0x10", "0", "x10"},
        {".5", "?", ".5"},
    });
}

TEST(JSParser, NumbersThatAreTooLargeStayAtTheLargest) {
    ExpectAll({
        {"2147483648", "2147483647"},
        {"4294967297", "2147483647"},
        {"18446744073709551617", "2147483647"},
        {std::string(100'000, '9'), "2147483647"},
        {std::string(100'000, '0') + "5", "5"},
    });
}

TEST(JSParser, ReadsStringsWithTheirEscapes) {
    ExpectAll({
        {R"("")", "''"},
        {R"("caf)"
         "\xC3\xA9\xFF"
         R"(" )",
         "'caf\xC3\xA9\xFF'", " "},
        {R"("a\x41\u00e9\101")",
         "'aA\xC3\xA9"
         "A'"},
        {R"("\n\r\t\b\f\v")", "'\n\r\t\b\f\v'"},
        {R"("\\\"\'")", R"('\"'')"},
        {R"("'")", "'''"},
        // Other escaped bytes go with their backslash, the slash included.
        {R"("[\a\z\/\ \8\9\-\)"
         "\xC3\xA9"
         R"(]")",
         "'[\xA9]'"},
        {"\"tab\there\rtoo\"", "'tab\there\rtoo'"},
        {"\"a\0b\""s, "'a\0b'"s},
        {R"(["a\\","b"])", "['a\\','b']"},
    });
}

TEST(JSParser, JoinsLinesAtABackslash) {
    ExpectAll({
        {"\"a\\\nb\"", "'ab'"},
        {"\"a\\\rb\"", "'ab'"},
        {"\"a\\\r\nb\"", "'ab'"},
        {"\"a\\\n\rb\"", "'ab'"},
        {"\"a\\\n\r\rb\"", "'a\rb'"},
    });
}

TEST(JSParser, TakesOneToThreeOctalDigits) {
    ExpectAll({
        {R"("\7")", "'\7'"},
        {R"("\1018")", "'A8'"},
        {R"("\1012")", "'A2'"},
        {R"("\18")",
         "'\1"
         "8'"},
        {R"("\0")", "'\0'"s},
        {R"("\777")", "'\xC7\xBF'"},
        {R"("\351")", "'\xC3\xA9'"},
        {"\"\\1", "?"},
    });
}

TEST(JSParser, TakesExactlyTwoOrFourHexadecimalDigits) {
    ExpectAll({
        {R"("\x411")", "'A1'"},
        {R"("\xe9\xE9")", "'\xC3\xA9\xC3\xA9'"},
        {R"("\u20ac\uFFFD")", "'\xE2\x82\xAC\xEF\xBF\xBD'"},
        {R"("\u0000")", "'\0'"s},
        // What is no character, or half of one, is a question mark; halves are never put together.
        {R"("\ufffe\ud83d\ude00")", "'\?\?\?'"},
        // Digits that are none add nothing, and are gone all the same.
        {R"("[\xg1\x1g\u12g4]")", "'[]'"},
        {R"("\x+1\u 123")", "''"},
        {R"("\x"a")", "''"},
        {R"(["a\u12","b"])", "['a']", "\"]"},
    });
}

TEST(JSParser, AnEscapeCutOffByTheEndGivesTheEmptyString) {
    ExpectAll({
        {R"("abc\x4)", "''"},
        {R"("abc\x)", "''"},
        {R"("abc\u004)", "''"},
        {R"(["x","a\u")", "['x','']"},
    });
}

TEST(JSParser, AStringWithoutItsEndIsNoValue) {
    ExpectAll({
        {R"(")", "?"},
        {R"("abc)", "?"},
        {"\"abc\\", "?"},
        {R"("abc\")", "?"},
        {"\"ab\ncd\"", "?", "\ncd\""},
        {"\"a\\tb\ncd\"", "?", "\ncd\""},
    });
}

TEST(JSParser, ReadsObjects) {
    ExpectAll({
        {"{}", "{}"},
        {" { } x", "{}", " x"},
        {R"({"a":{"b":"x"}})", "{a:{b:'x'}}"},
        {R"({"a":1,})", "{a:1}"},
        {R"({ "a" : 1 , "b" : true })", "{a:1,b:true}"},
        {"{a:1,_b$9:2,$:3,Z:4}", "{a:1,_b$9:2,$:3,Z:4}"},
        {R"({"":1,"a b":2})", "{:1,a b:2}"},
        {R"({"a":1,"a":2})", "{a:1,a:2}"},
        {R"({"\u0061":1})", "{a:1}"},
        {R"({true:false})", "{true:false}"},
    });
}

TEST(JSParser, AMemberWithoutAValueIsUndefined) {
    ExpectAll({
        {R"({"a":,"b":2})", "{a:?,b:2}"},
        {R"({"a":})", "{a:?}"},
        // The line feed that failed the string is white space to the object.
        {"{\"a\":\"x\n,\"b\":2}", "{a:?,b:2}"},
    });
}

TEST(JSParser, AnErrorFailsTheObjectAndAllAroundIt) {
    ExpectAll({
        {"{", "?"},
        {R"({"a":1)", "?"},
        {R"({"a":1,)", "?"},
        {R"({"a":)", "?"},
        {"{,}", "?"},
        {"{1a:1}", "?"},
        {R"({"a":1,,"b":2})", "?"},
        {R"({"a":1 "b":2})", "?"},
        {R"({"n":-1})", "?"},
        {R"({"n":1.5})", "?"},
        {R"({"n":null})", "?"},
        {R"({"n":trueish})", "?"},
        {"{\"a\nb\":1}", "?"},
        {R"({"a":{"b":{"c":-1}},"d":2})", "?"},
        {R"({"a":[{"b":-1}],"d":2})", "?"},
        {"{\xC3\xA9:1}", "?"},
    });
}

TEST(JSParser, ReadsArraysThatAnyCharacterCloses) {
    ExpectAll({
        {"[]", "[]"},
        {"[ ] x", "[]", " x"},
        {R"(["x","y"} )", "['x','y']", " "},
        {"[1,[2,[3]],4]", "[1,[2,[3]],4]"},
        {"[1 2]", "[1]", "]"},
        {"[1,]", "[1,?]"},
        {"[,]", "[?,?]"},
        {"[-1]", "[?]", "1]"},
        {"[1", "[1]"},
        {"[1,", "[1,?]"},
        {"[", "[?]"},
        {"[{]", "[?]"},
        {R"({"a":[1;"b":2})", "?"},
        {R"({"a":[1;,"b":2})", "{a:[1],b:2}"},
    });
}

TEST(JSParser, ReportsAKeyWithoutAColon) {
    for (const auto& [text, key] : std::initializer_list<std::pair<std::string, std::string>>{
             {R"({"a" 1})", "a"},
             {"{name", "name"},
             {"{\"caf\xC3\xA9\"}", "caf\xC3\xA9"},
             {R"({"a":{b=1}})", "b"},
             {R"({"x\u00)", ""},
             {"{\"a\\0b\"}", "a\0b"s}}) {
        SCOPED_TRACE(text);
        const Parsed parsed = Parse(text);
        EXPECT_EQ(parsed.shown, "?");
        EXPECT_EQ(parsed.rest, "");
        EXPECT_EQ(parsed.printed,
                  "JSON object parsing error: \"" + key + "\" is not followed by ':'!\n");
    }
}

std::string Nested(const std::string& open, int depth, const std::string& close) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += open;
    for (int i = 0; i < depth; ++i)
        text += close;
    return text;
}

TEST(JSParser, NestsUpToItsLimit) {
    const CJSValue* value = nullptr;
    const std::string text = Nested("[", kMaxJSDepth, "]");
    const char* cursor = text.data();
    const CJSValueOwner root = ParseJSValue(cursor, text.data() + text.size());
    int depth = 0;
    for (value = root.get(); !value->IsUndefined(); value = &value->Element(0))
        ++depth;
    EXPECT_EQ(depth, kMaxJSDepth);
    EXPECT_EQ(cursor, text.data() + text.size());
}

TEST(JSParser, DeeperTextIsUndefinedAsAWhole) {
    ExpectAll({
        {Nested("[", kMaxJSDepth + 1, "]"), "?"},
        {Nested("{a:", kMaxJSDepth + 1, "}"), "?"},
        {"[1,2," + Nested("[{a:", kMaxJSDepth / 2, "}]") + "]", "?"},
        {Nested("[", test::Size(5'000'000, 50'000), ""), "?"},
        {Nested("{a:[", test::Size(1'000'000, 10'000), ""), "?"},
    });
}

TEST(JSParser, SiblingsDoNotCountAsDepth) {
    std::string text = "[";
    for (int i = 0; i < 3 * kMaxJSDepth; ++i)
        text += "[{}],";
    const char* cursor = text.data();
    const CJSValueOwner root = ParseJSValue(cursor, text.data() + text.size());
    EXPECT_EQ(root->Count(), 3U * kMaxJSDepth + 1);
}

TEST(JSParser, ReadsEveryPrefixWithoutReadingPastIt) {
    const std::string text =
        "{\"a\":[true,false,12,\"x\\u00e9\\x41\\101\\\n\"],b:{c:\"\\\\\"},\"d\":1,}";
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_EQ(Parse(text.substr(0, length)).shown, "?") << length;
    EXPECT_EQ(Parse(text).shown,
              "{a:[true,false,12,'x\xC3\xA9"
              "AA'],b:{c:'\\'},d:1}");
}

}  // namespace
}  // namespace tarnwell
