#include "common/system/json/js_value.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/system/json/js_parser.h"

namespace tarnwell {
namespace {

using Bytes = std::vector<unsigned char>;

CJSValueOwner Parse(std::string_view text) {
    const char* cursor = text.data();
    return ParseJSValue(cursor, text.data() + text.size());
}

Bytes BytesOf(const CJSValue& value) {
    Bytes bytes = {1, 2, 3};
    value.BytesValue(bytes);
    return bytes;
}

TEST(CJSValue, TheUndefinedValueAnswersEverythingWithADefault) {
    const CJSValue& undefined = CJSValue::Undefined();
    EXPECT_TRUE(undefined.IsUndefined());
    EXPECT_EQ(undefined.Key(), "");
    EXPECT_EQ(undefined.StringValue(), "");
    EXPECT_FALSE(undefined.BooleanValue());
    EXPECT_TRUE(undefined.BooleanValueOr(true));
    EXPECT_FALSE(undefined.BooleanValueOr(false));
    EXPECT_EQ(undefined.IntegerValue(), 0);
    EXPECT_EQ(BytesOf(undefined), Bytes());
    EXPECT_EQ(undefined.Count(), 0U);
    EXPECT_TRUE(undefined.Member("a").IsUndefined());
    EXPECT_TRUE(undefined.MemberByBytes({}).IsUndefined());
    EXPECT_TRUE(undefined.Element(0).IsUndefined());
}

TEST(CJSValue, OwnersLeaveTheUndefinedValueAlone) {
    for (int i = 0; i < 3; ++i) {
        CJSValueOwner owner = CJSValue::UndefinedOwner();
        CJSArray array;
        array.Append(std::move(owner));
        array.Append(CJSValue::UndefinedOwner());
        CJSObject object;
        object.Append("a", CJSValue::UndefinedOwner());
    }
    EXPECT_TRUE(CJSValue::Undefined().Element(0).IsUndefined());
}

TEST(CJSValue, EveryKindAnswersItsOwnQuestionAlone) {
    const CJSValueOwner root = Parse(R"(["0a", 10, true, [1, 2], {"0a": 3}])");
    struct Answers {
        const char* text;
        std::int32_t integer;
        bool boolean;
        std::size_t count;
        Bytes bytes;
    };
    const Answers expected[] = {{"0a", 0, false, 0, {0x0A}},
                                {"", 10, false, 0, {}},
                                {"", 0, true, 0, {}},
                                {"", 0, false, 2, {}},
                                {"", 0, false, 1, {}}};
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        const CJSValue& value = root->Element(i);
        EXPECT_EQ(value.Key(), "");
        EXPECT_EQ(value.StringValue(), expected[i].text);
        EXPECT_EQ(value.IntegerValue(), expected[i].integer);
        EXPECT_EQ(value.BooleanValue(), expected[i].boolean);
        EXPECT_EQ(value.Count(), expected[i].count);
        EXPECT_EQ(BytesOf(value), expected[i].bytes);
        EXPECT_EQ(value.BooleanValueOr(true), expected[i].boolean);
    }
}

TEST(CJSKeyedValue, AnswersAsItsValueDoes) {
    const CJSValueOwner root =
        Parse(R"({"text":"0b", "number":7, "yes":true, "list":[5, 6], "group":{"inner":"deep"}})");
    const CJSValue& text = root->Member("text");
    EXPECT_EQ(text.Key(), "text");
    EXPECT_EQ(text.StringValue(), "0b");
    EXPECT_EQ(BytesOf(text), Bytes{0x0B});
    EXPECT_EQ(root->Member("number").IntegerValue(), 7);
    EXPECT_TRUE(root->Member("yes").BooleanValue());
    EXPECT_EQ(root->Member("list").Count(), 2U);
    EXPECT_EQ(root->Member("list").Element(1).IntegerValue(), 6);
    EXPECT_EQ(root->Member("group").Member("inner").StringValue(), "deep");
    EXPECT_TRUE(root->Member("group").Member("other").Member("inner").IsUndefined());
}

TEST(CJSKeyedValue, DoesNotHandOnLookupsByBinaryKey) {
    const CJSValueOwner root = Parse(R"({"group":{"0a":1}})");
    const Bytes key = {0x0A};
    EXPECT_TRUE(root->Member("group").MemberByBytes(key).IsUndefined());
}

TEST(CJSKeyedValue, AMemberWithoutAValueIsNotItselfUndefined) {
    const CJSValueOwner root = Parse(R"({"a":})");
    const CJSValue& member = root->Member("a");
    EXPECT_FALSE(member.IsUndefined());
    EXPECT_EQ(member.Key(), "a");
    EXPECT_FALSE(member.BooleanValueOr(true));
    EXPECT_TRUE(member.Element(0).IsUndefined());
}

TEST(CJSObject, FindsTheFirstOfSeveralMembersByItsExactKey) {
    const CJSValueOwner root = Parse(R"({"a":1, "A":2, "a":3, "a\u0000":4, "":5})");
    EXPECT_EQ(root->Count(), 5U);
    EXPECT_EQ(root->Member("a").IntegerValue(), 1);
    EXPECT_EQ(root->Member("A").IntegerValue(), 2);
    EXPECT_EQ(root->Member(std::string_view("a\0", 2)).IntegerValue(), 4);
    EXPECT_EQ(root->Member("").IntegerValue(), 5);
    EXPECT_TRUE(root->Member("aa").IsUndefined());
}

TEST(CJSObject, GivesItsMembersInTheOrderOfTheText) {
    const CJSValueOwner root = Parse(R"({"b":1, "a":2, "c":3})");
    std::string keys;
    for (std::size_t i = 0; i < root->Count(); ++i)
        keys += root->Element(i).Key().CStr();
    EXPECT_EQ(keys, "bac");
    EXPECT_EQ(root->Element(2).IntegerValue(), 3);
    EXPECT_TRUE(root->Element(3).IsUndefined());
    EXPECT_TRUE(root->Element(SIZE_MAX).IsUndefined());
}

TEST(CJSObject, FindsMembersByBinaryKey) {
    const CJSValueOwner root =
        Parse(R"({"name":0, "0aZ":1, "0A":2, "0a":3, "0a 0b":4, "":5, "c":6})");
    const auto find = [&](const Bytes& key) { return root->MemberByBytes(key).IntegerValue(); };
    EXPECT_EQ(find({0x0A}), 2);
    EXPECT_EQ(find({0x0A, 0x0B}), 4);
    EXPECT_EQ(find({}), 5);
    EXPECT_EQ(find({0x0C}), 6);
    EXPECT_TRUE(root->MemberByBytes(Bytes{0x0A, 0x0B, 0x0C}).IsUndefined());
}

TEST(CJSArray, GivesItsElementsAndNothingBeyond) {
    const CJSValueOwner root = Parse("[0,1,2,3,4,5,6,7,8,9,10]");
    ASSERT_EQ(root->Count(), 11U);
    for (std::size_t i = 0; i < root->Count(); ++i)
        EXPECT_EQ(root->Element(i).IntegerValue(), static_cast<std::int32_t>(i));
    EXPECT_TRUE(root->Element(11).IsUndefined());
}

TEST(DecodeHex, ReadsPairsAndSingleDigits) {
    struct Case {
        std::string_view text;
        Bytes bytes;
        bool complete = true;
    };
    const Case cases[] = {
        {"", {}},
        {" \t\r\n", {}},
        {"00ff", {0x00, 0xFF}},
        {"0aFfA0", {0x0A, 0xFF, 0xA0}},
        {"0a 0B f", {0x0A, 0x0B, 0x0F}},
        {"abc", {0xAB, 0x0C}},
        {" a b\vcd ", {0x0A, 0x0B, 0xCD}},
        {"a", {0x0A}},
        {"0g", {}, false},
        {"0a0", {0x0A, 0x00}},
        {"0a-0b", {0x0A}, false},
        {"0aag", {0x0A}, false},
        {"0x0a", {}, false},
        {std::string_view("0a\0", 3), {0x0A}, false},
        {"\xC3\xA9", {}, false},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.text);
        Bytes bytes = {9, 9};
        EXPECT_EQ(DecodeHex(expected.text, bytes), expected.complete);
        EXPECT_EQ(bytes, expected.bytes);
    }
}

}  // namespace
}  // namespace tarnwell
