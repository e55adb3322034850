#include <zeb/foundation/String.hpp>

#include <Random.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using zeb::foundation::String;
using zeb::foundation::StringArray;
using namespace std::string_view_literals;

constexpr auto DISCARD = String::DISCARD_DELIMITERS;
constexpr auto RETURN = String::RETURN_DELIMITERS;
constexpr auto SKIP_EMPTY = String::SKIP_EMPTY_TOKENS;
constexpr auto RETURN_EMPTY = String::RETURN_EMPTY_TOKENS;

std::vector<std::string> texts(StringArray const& tokens) {
    std::vector<std::string> result;
    for (String const& token : tokens) {
        EXPECT_EQ(token.c_str()[token.length()], '\0');
        result.emplace_back(std::string_view(token));
    }
    return result;
}

using Texts = std::vector<std::string>;

struct Row {
    std::string_view text;
    std::string_view delimiters;
    String::ReturnDelimiters returnDelimiters;
    String::ReturnEmptyTokens returnEmptyTokens;
    Texts tokens;
};

TEST(StringTokenize, Table) {
    Row const rows[] = {
        {"a,b", ",", DISCARD, SKIP_EMPTY, {"a", "b"}},
        {"a,b", ",", RETURN, SKIP_EMPTY, {"a", ",", "b"}},
        {",a,,b,", ",", DISCARD, SKIP_EMPTY, {"a", "b"}},
        {",a,,b,", ",", DISCARD, RETURN_EMPTY, {"", "a", "", "b", ""}},
        {",a,,b,", ",", RETURN, SKIP_EMPTY, {",", "a", ",", ",", "b", ","}},
        {",a,,b,", ",", RETURN, RETURN_EMPTY, {"", ",", "a", ",", "", ",", "b", ",", ""}},
        {"a\n\nb\n", "\n", DISCARD, RETURN_EMPTY, {"a", "", "b", ""}},  // a final line is a line
        {"\n", "\n", DISCARD, RETURN_EMPTY, {"", ""}},
        {"\n", "\n", DISCARD, SKIP_EMPTY, {}},
        {"\n", "\n", RETURN, SKIP_EMPTY, {"\n"}},
        {"a b\tc", " \t", DISCARD, SKIP_EMPTY, {"a", "b", "c"}},  // each byte is a delimiter
        {"a b\tc", " \t", RETURN, SKIP_EMPTY, {"a", " ", "b", "\t", "c"}},
        {"a \tb", " \t", DISCARD, RETURN_EMPTY, {"a", "", "b"}},
        {"a,b", ",,", DISCARD, RETURN_EMPTY, {"a", "b"}},  // one listed twice is one
        {"abc", ",", DISCARD, RETURN_EMPTY, {"abc"}},
        {"abc", "", DISCARD, SKIP_EMPTY, {"abc"}},  // without delimiters the whole is the token
        {"abc", "", RETURN, RETURN_EMPTY, {"abc"}},
        {"", ",", DISCARD, RETURN_EMPTY, {}},  // nothing has no tokens
        {"", "", DISCARD, RETURN_EMPTY, {}},
        {"a\0b\0"sv, "\0"sv, DISCARD, RETURN_EMPTY, {"a", "b", ""}},  // NUL as a delimiter
        {"a\0b,c"sv, ",", DISCARD, SKIP_EMPTY, {std::string("a\0b", 3), "c"}},
        {"a\xFF"
         "b\x80"
         "c",
         "\x80\xFF",
         DISCARD,
         SKIP_EMPTY,
         {"a", "b", "c"}},  // bytes beyond ASCII
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        SCOPED_TRACE(testing::PrintToString(row.delimiters));
        EXPECT_EQ(texts(String(row.text).tokenize(row.delimiters, row.returnDelimiters,
                                                  row.returnEmptyTokens)),
                  row.tokens);
    }
}

TEST(StringTokenize, WithoutChoicesDropsDelimitersAndEmptyTokens) {
    EXPECT_EQ(texts(String(" a  b ").tokenize(" ")), (Texts{"a", "b"}));
    EXPECT_EQ(texts(String(" a").tokenize(" ", RETURN)), (Texts{" ", "a"}));
}

TEST(StringTokenize, OfOneTokenSharesTheBytes) {
    String const text("abc");
    StringArray const tokens = text.tokenize(",");
    ASSERT_EQ(tokens.size(), 1u);
    EXPECT_EQ(tokens[0].c_str(), text.c_str());
}

TEST(StringTokenize, TokensAndDelimitersTogetherAreTheText) {
    zeb::test::Random random(7);
    for (std::string_view const delimiters : {","sv, ", "sv, ""sv}) {
        for (int i = 0; i < 2000; ++i) {
            std::string const text = random.text(", ab", random.between(1, 20));
            std::string joined;
            std::size_t delimiterCount = 0;
            StringArray const all = String(text).tokenize(delimiters, RETURN, RETURN_EMPTY);
            for (String const& token : all) {
                joined += std::string_view(token);
                delimiterCount +=
                    token.length() == 1 && delimiters.find(token[0]) != delimiters.npos;
            }
            ASSERT_EQ(joined, text);
            ASSERT_EQ(all.size(), 2 * delimiterCount + 1) << text;
            StringArray const empties = String(text).tokenize(delimiters, DISCARD, RETURN_EMPTY);
            ASSERT_EQ(empties.size(), delimiterCount + 1) << text;
            for (String const& token : empties) {
                ASSERT_EQ(std::string_view(token).find_first_of(delimiters), delimiters.npos);
            }
        }
    }
}

}  // namespace
