// What --json prints.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

#include "ZebText.hpp"

using namespace std::string_literals;

namespace zeb::test {
namespace {

TEST(Json, MatchTellsWhereAndWhat) {
    EXPECT_EQ(zebText({"match", "--json", "([a-z])=([0-9]+)"}, "# a\na=1 b=22\n"),
              prints("{\"file\":\"-\",\"line\":2,\"text\":\"a=1 b=22\",\"matches\":["
                     "{\"start\":0,\"end\":3,\"text\":\"a=1\"},"
                     "{\"start\":4,\"end\":8,\"text\":\"b=22\"}],\"groups\":[\"a\",\"1\"]}\n"));
    EXPECT_EQ(zebText({"match", "--json", "--invert", "--numbers", "a"}, "b\n"),
              prints("{\"file\":\"-\",\"line\":1,\"text\":\"b\",\"matches\":[],\"groups\":[]}\n"));
    EXPECT_EQ(zebText({"match", "--json", "a"}, "b\n"), findsNothing());
}

TEST(Json, EveryByteGivesAValidText) {
    std::string input;
    std::vector<std::string> tokens;
    for (int byte = 0; byte < 256; ++byte) {
        std::string const token = "<"s + static_cast<char>(byte) + ">";
        if (byte != '\n') {  // separates tokens here
            input += token + '\n';
            tokens.push_back(byte < 128 ? token : "<\uFFFD>");
        }
    }
    ProcessResult const result = zebText({"tokens", "--json", "--delimiters", "\n"}, input);
    ASSERT_EQ(result.status, 0);
    std::istringstream objects(result.out);
    std::string line;
    for (std::string const& token : tokens) {
        SCOPED_TRACE(token);
        ASSERT_TRUE(std::getline(objects, line));
        auto const object = nlohmann::json::parse(line);
        EXPECT_EQ(object.at("file"), "-");
        EXPECT_EQ(object.at("token"), token);
    }
    EXPECT_FALSE(std::getline(objects, line));
}

TEST(Json, TextsAreEscapedAsJsonWantsIt) {
    EXPECT_EQ(
        zebText({"tokens", "--json", "--delimiters", ""}, "\"\\/\b\f\n\r\t\x01\x7F\0"s),
        prints("{\"file\":\"-\",\"token\":\"\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\x7F\\u0000\"}\n"));
    EXPECT_EQ(zebText({"tokens", "--json"}, "\u00E4\U0001F600"),
              prints("{\"file\":\"-\",\"token\":\"\u00E4\U0001F600\"}\n"));
}

// Plain characters are looked at eight at a time.
TEST(Json, WhatNeedsCareIsSeenAtEveryPlace) {
    std::vector<std::string> lines;
    std::string text;
    for (char const* const special : {"\"", "\\", "\x01", "\x1F", " ", "!", "\x7F", "\u00E9"}) {
        for (std::size_t length = 0; length < 18; ++length) {
            for (std::size_t at = 0; at <= length; ++at) {
                lines.push_back(std::string(at, 'a') + special + std::string(length - at, '[') +
                                "]");
                text += lines.back() + "\n";
            }
        }
    }
    std::istringstream objects(zebText({"match", "--json", "]"}, text).out);
    for (std::string const& line : lines) {
        std::string object;
        ASSERT_TRUE(std::getline(objects, object));
        auto const parsed = nlohmann::json::parse(object);
        ASSERT_EQ(parsed.at("text"), line);
        EXPECT_EQ(parsed.count("textBase64"), 0U);
        EXPECT_EQ(parsed.at("matches").at(0).at("end"), line.size());
    }
}

TEST(Json, EachMalformedPieceIsOneReplacementCharacter) {
    struct Row {
        char const* bytes;
        char const* shown;
        char const* base64;
    };
    constexpr Row ROWS[] = {
        {"a\xFFz", "a\uFFFDz", "Yf96"},
        {"a\xFF\xFEz", "a\uFFFD\uFFFDz", "Yf/+eg=="},
        {"a\xE2\x82z", "a\uFFFDz", "YeKCeg=="},                        // a sequence that was cut
        {"a\xC3", "a\uFFFD", "YcM="},                                  // at the end
        {"a\x80\xBFz", "a\uFFFD\uFFFDz", "YYC/eg=="},                  // continuation bytes alone
        {"a\xC0\xAFz", "a\uFFFD\uFFFDz", "YcCveg=="},                  // an overlong form
        {"a\xED\xA0\x80", "a\uFFFD\uFFFD\uFFFD", "Ye2ggA=="},          // a surrogate
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD", "9JCAgA=="},  // above U+10FFFF
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(zebText({"tokens", "--json"}, row.bytes),
                  prints("{\"file\":\"-\",\"token\":\""s + row.shown + "\",\"tokenBase64\":\"" +
                         row.base64 + "\"}\n"));
    }
}

TEST(Json, SmallerServices) {
    EXPECT_EQ(zebText({"unit", "--json", "10GB"}),
              prints("{\"text\":\"10GB\",\"bytes\":1073741824}\n"));
    EXPECT_EQ(zebText({"unit", "--json", "x"}), findsNothing());
    EXPECT_EQ(zebText({"date", "--json"}, "at Tue Mar 14 09:26:53 2023."),
              prints("{\"file\":\"-\",\"date\":\"Tue Mar 14 09:26:53 2023\"}\n"));
    EXPECT_EQ(zebText({"env", "--json", "A"}, "A=b c\0"s),
              prints("{\"file\":\"-\",\"name\":\"A\",\"value\":\"b c\"}\n"));
}

TEST(Json, NumbersAreNumbersWhereThereAreSome) {
    struct Row {
        char const* type;
        char const* text;
        char const* value;
    };
    constexpr Row ROWS[] = {
        {"uint64", "18446744073709551615", "18446744073709551615"},
        {"int64", "-9223372036854775808", "-9223372036854775808"},
        {"real64", "0.1", "0.1"},
        {"real64", "inf", "\"inf\""},
        {"real64", "-inf", "\"-inf\""},
        {"real32", "nan", "\"nan\""},
        {"real32", "-nan", "\"nan\""},
        {"real64", "-nan", "\"nan\""},
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(zebText({"number", "--json", "--type", row.type, "--", row.text}),
                  prints("{\"text\":\""s + row.text + "\",\"type\":\"" + row.type +
                         "\",\"value\":" + row.value + "}\n"));
    }
}

TEST(Json, XmlCheck) {
    EXPECT_EQ(zebText({"xml", "check", "--json"}, "<a/>"),
              prints("{\"file\":\"-\",\"wellFormed\":true}\n"));
    ProcessResult const malformed{1,
                                  "{\"file\":\"-\",\"wellFormed\":false,\"line\":2,\"column\":3,"
                                  "\"reason\":\"mismatched tag\"}\n",
                                  ""};
    EXPECT_EQ(zebText({"xml", "check", "--json"}, "<a>\n</b>"), malformed);
}

TEST(Json, XmlFind) {
    EXPECT_EQ(zebText({"xml", "find", "--json", "a.b"}, "<a><b z='1' y='&quot;'>t&amp;</b></a>"),
              prints("{\"file\":\"-\",\"name\":\"b\",\"attributes\":{\"z\":\"1\",\"y\":\"\\\"\"},"
                     "\"text\":\"t&\",\"xml\":\"<b z=\\\"1\\\" y=\\\"&quot;\\\">t&amp;</b>\"}\n"));
    EXPECT_EQ(zebText({"xml", "find", "--json", "b"}, "<a/>"), findsNothing());
}

// Another reader than the library that has written it.
TEST(Json, JqReadsEveryByte) {
    if (shell("command -v jq").status != 0) {
        GTEST_SKIP() << "jq is not installed";
    }
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
        all += byte == '\n' ? "" : "\n";
    }
    TemporaryDirectory const folder;
    ProcessResult const result =
        shell("\"$0\" match --json '' \"$1\" | jq -s '[length, .[65].text, .[255].line]' -c",
              folder.file("all", all));
    EXPECT_EQ(result, prints("[256,\"A\",256]\n"));
}

TEST(Json, SeveralInputsGiveSeveralLines) {
    TemporaryDirectory const folder;
    std::string const a = folder.file("a", "x y");
    std::string const b = folder.file("b\u00E4", "z");
    EXPECT_EQ(zebText({"tokens", "--json", a, b}),
              prints("{\"file\":\"" + a + "\",\"token\":\"x\"}\n{\"file\":\"" + a +
                     "\",\"token\":\"y\"}\n{\"file\":\"" + b + "\",\"token\":\"z\"}\n"));
}

}  // namespace
}  // namespace zeb::test
