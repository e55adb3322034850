#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using ZEBNS2::find_first_quoted_string;
using ZEBNS2::quoted_string_tokenization;
using ZEBNS2::String;
using ZEBNS2::StringArray;

std::vector<std::string> listOf(StringArray const& strings) {
    std::vector<std::string> list;
    for (String const& string : strings) {
        list.emplace_back(std::string_view(string));
    }
    return list;
}

/// All texts of up to `longest` bytes out of `alphabet`.
std::vector<std::string> allTexts(std::string_view alphabet, std::size_t longest) {
    std::vector<std::string> texts{""};
    for (std::size_t i = 0; i < texts.size() && texts[i].size() < longest; ++i) {
        for (char const byte : alphabet) {
            texts.push_back(texts[i] + byte);
        }
    }
    return texts;
}

TEST(IsRegexMatch, FaultyPatternThrowsWhatTheExpressionThrows) {
    EXPECT_THROW((void)ZEBNS2::is_regex_match("a(b", "ab"), ZEBNS2::RegularExpressionException);
}

// ---------------------------------------------------------------------------- remove_quotes

TEST(RemoveQuotes, TakesOnePairOff) {
    struct Row {
        std::string_view text;
        std::string_view result;
    };
    constexpr Row ROWS[] = {
        {"", ""},
        {"\"", ""},              // a lone quote is a pair in one
        {"\"\"", ""},            //
        {"\"a\"b\"", "a\"b"},    // inner quotes are kept
        {"\"\"a\"\"", "\"a\""},  // and only one pair goes
        {"\"abc", "\"abc"},      // a quote at one end only is kept
        {"abc\"", "abc\""},      //
        {"abc", "abc"},          //
        {"'abc'", "'abc'"},      //
        {" \"a\"", " \"a\""},    //
        {"\"\0\""sv, "\0"sv},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(ZEBNS2::remove_quotes(String(row.text)), row.result);
    }
}

// ---------------------------------------------------------------------------- first quoted string

TEST(FindFirstQuotedString, TellsTheTextAndTheClosingQuote) {
    struct Row {
        std::string_view text;
        unsigned int start;
        std::string_view result;
        unsigned int end;
    };
    constexpr unsigned int UNCHANGED = 99;
    constexpr Row ROWS[] = {
        {"say \"hi\" now", 0, "hi", 7},
        {"say \"hi\" now", 4, "hi", 7},
        {"say \"hi\" now", 5, "", UNCHANGED},  // the closing quote opens, and none closes
        {"say \"hi\" now", 8, "", UNCHANGED},
        {"say \"hi\" now", 11, "", UNCHANGED},  // the last byte
        {"say \"hi\" now", 12, "", UNCHANGED},  // the length
        {"say \"hi\" now", 0xFFFFFFFF, "", UNCHANGED},
        {"", 0, "", UNCHANGED},
        {"none", 0, "", UNCHANGED},
        {"ab\"", 0, "", UNCHANGED},  // the first quote is the last byte
        {"\"ab", 0, "", UNCHANGED},
        {"\"\"", 0, "", 1},           // found, and empty
        {"\"a\\\"b\"", 0, "a\\", 3},  // a backslash has no meaning
        {"\"a\"b\"", 2, "b", 4},
        {"\0\"\0\""sv, 0, "\0"sv, 3},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(testing::Message() << row.text << " from " << row.start);
        unsigned int end = UNCHANGED;
        EXPECT_EQ(find_first_quoted_string(String(row.text), end, row.start), row.result);
        EXPECT_EQ(end, row.end);
    }
}

TEST(FindFirstQuotedString, AgreesWithItsStepsOnAllSmallTexts) {
    std::size_t cases = 0;
    for (std::string const& text : allTexts("a\"\\", 7)) {
        for (unsigned int start = 0; start <= text.size() + 1; ++start) {
            unsigned int expectedEnd = 77;
            std::string expected;
            std::size_t const open = start < text.size() ? text.find('"', start) : text.npos;
            if (open != text.npos && open + 1 < text.size() &&
                text.find('"', open + 1) != text.npos) {
                expectedEnd = static_cast<unsigned int>(text.find('"', open + 1));
                expected = text.substr(open + 1, expectedEnd - open - 1);
            }
            unsigned int end = 77;
            ASSERT_EQ(find_first_quoted_string(text, end, start), expected)
                << text << " from " << start;
            ASSERT_EQ(end, expectedEnd) << text << " from " << start;
            ++cases;
        }
    }
    EXPECT_GT(cases, 20'000U);
}

// ---------------------------------------------------------------------------- tokenizing

TEST(QuotedStringTokenization, QuotedStretchesDoNotSplitAndKeepTheirQuotes) {
    EXPECT_THAT(quoted_string_tokenization("a \"b c\" d", " "), ElementsAre("a", "\"b c\"", "d"));
    EXPECT_THAT(quoted_string_tokenization("x\"b c\"y d", " "), ElementsAre("x\"b c\"y", "d"));
}

TEST(QuotedStringTokenization, RunsOfDelimitersYieldNoEmptyTokens) {
    EXPECT_THAT(quoted_string_tokenization("a,,b", ","), ElementsAre("a", "b"));
    EXPECT_THAT(quoted_string_tokenization("a,,b,", ","), ElementsAre("a", "b"));
    EXPECT_THAT(quoted_string_tokenization(",a,", ","), ElementsAre("a"));
    EXPECT_THAT(quoted_string_tokenization(",,", ","), IsEmpty());
    EXPECT_THAT(quoted_string_tokenization("a, b;c", ",; "), ElementsAre("a", "b", "c"));
}

TEST(QuotedStringTokenization, NullDelimitersGiveTheWholeText) {
    EXPECT_THAT(quoted_string_tokenization("a b", nullptr), ElementsAre("a b"));
    EXPECT_THAT(quoted_string_tokenization("", nullptr), IsEmpty());
}

TEST(QuotedStringTokenization, NoDelimitersGiveTheWholeText) {
    EXPECT_THAT(quoted_string_tokenization("a \"b", ""), ElementsAre("a \"b"));
    EXPECT_THAT(quoted_string_tokenization("", ""), IsEmpty());
}

TEST(QuotedStringTokenization, EscapedQuoteDoesNotClose) {
    EXPECT_THAT(quoted_string_tokenization("\"a \\\" b\" c", " "),
                ElementsAre("\"a \\\" b\"", "c"));
    // The byte before is a backslash, whether or not it is escaped itself.
    EXPECT_THAT(quoted_string_tokenization("\"a\\\\\" b\" c", " "),
                ElementsAre("\"a\\\\\" b\"", "c"));
}

TEST(QuotedStringTokenization, UnclosedQuoteIsAnOrdinaryByte) {
    EXPECT_THAT(quoted_string_tokenization("a \"b c", " "), ElementsAre("a", "\"b", "c"));
    EXPECT_THAT(quoted_string_tokenization("a b\"", " "), ElementsAre("a", "b\""));
    EXPECT_THAT(quoted_string_tokenization("\"", " "), ElementsAre("\""));
}

TEST(QuotedStringTokenization, UnclosedQuoteSkipsToTheLastEscapedOne) {
    // The blank between them was passed over while looking for the closing quote.
    EXPECT_THAT(quoted_string_tokenization("\"a b\\\" c", " "), ElementsAre("\"a b\\\"", "c"));
}

TEST(QuotedStringTokenization, QuoteAmongTheDelimitersSplitsOnlyWhereNoneCloses) {
    EXPECT_THAT(quoted_string_tokenization("a\"b\"c", "\""), ElementsAre("a\"b\"c"));
    EXPECT_THAT(quoted_string_tokenization("a\"bc", "\""), ElementsAre("a", "bc"));
    EXPECT_THAT(quoted_string_tokenization("a\"b\\\"c", "\""), ElementsAre("a\"b\\", "c"));
}

TEST(QuotedStringTokenization, DelimiterListedTwiceAddsNothing) {
    EXPECT_THAT(quoted_string_tokenization("a,b", ",,"), ElementsAre("a", "b"));
}

TEST(QuotedStringTokenization, NulInTheTextIsAByteAndNoDelimiter) {
    EXPECT_THAT(quoted_string_tokenization(String("a\0b c"sv), " "), ElementsAre("a\0b"sv, "c"));
}

TEST(QuotedStringTokenization, DelimitersOfAllByteValues) {
    EXPECT_THAT(quoted_string_tokenization("a\xFF"
                                           "b\x80"
                                           "c",
                                           "\x80\xFF"),
                ElementsAre("a", "b", "c"));
}

/// The rules step by step, with the loop over the delimiters that continues after a hit.
std::vector<std::string> tokensByTheRules(std::string const& text, std::string_view delimiters) {
    std::vector<std::string> tokens;
    std::size_t pos = 0;
    std::size_t tokenStart = 0;
    while (!text.empty()) {
        if (pos >= text.size()) {
            if (tokenStart < text.size()) {
                tokens.push_back(text.substr(tokenStart));
            }
            break;
        }
        char const byte = text[pos];
        bool closed = false;
        if (byte == '"' && pos + 1 < text.size()) {
            std::size_t next = 0;
            while (!closed && (next = text.find('"', pos + 1)) != text.npos) {
                pos = next;
                closed = text[pos - 1] != '\\';
            }
        }
        if (!closed) {
            for (char const delimiter : delimiters) {
                if (byte == delimiter) {
                    if (tokenStart < pos) {
                        tokens.push_back(text.substr(tokenStart, pos - tokenStart));
                    }
                    tokenStart = pos + 1;
                }
            }
        }
        ++pos;
    }
    return tokens;
}

TEST(QuotedStringTokenization, AgreesWithItsRulesOnAllSmallTexts) {
    std::size_t cases = 0;
    for (std::string const& text : allTexts("a ,\"\\", 7)) {
        for (char const* const delimiters : {" ", "\"", ", ", ",\","}) {
            ASSERT_EQ(listOf(quoted_string_tokenization(text, delimiters)),
                      tokensByTheRules(text, delimiters))
                << text << " at " << delimiters;
            ++cases;
        }
    }
    EXPECT_EQ(cases, 4U * 97'656U);
}

// ---------------------------------------------------------------------------- untokenize

TEST(Untokenize, PutsTheSeparatorBetweenButNotBehind) {
    EXPECT_EQ(ZEBNS2::untokenize({"a", "b", "c"}, ", "), "a, b, c");
    EXPECT_EQ(ZEBNS2::untokenize({}, ", "), "");
    EXPECT_EQ(ZEBNS2::untokenize({"a"}, ", "), "a");
    EXPECT_EQ(ZEBNS2::untokenize({"a", "b"}, ""), "ab");
    EXPECT_EQ(ZEBNS2::untokenize({"", "", ""}, "-"), "--");
    EXPECT_EQ(ZEBNS2::untokenize({"", ""}, ""), "");
    EXPECT_EQ(ZEBNS2::untokenize({String("\0"sv), "b"}, String("\0-"sv)), "\0\0-b"sv);
}

TEST(Untokenize, LengthBeyondTheAddressSpaceRunsOutOfMemory) {
    if (sizeof(std::size_t) > 4) {
        GTEST_SKIP() << "no list is that long on this machine";
    }
    String const separator(std::string(65'536, '-'));
    EXPECT_THROW((void)ZEBNS2::untokenize(StringArray(65'537), separator), std::bad_alloc);
    StringArray parts(65'536);
    parts.append(separator);  // the separators alone would be short of it by 65,536
    parts.remove(0);
    EXPECT_THROW((void)ZEBNS2::untokenize(parts, separator), std::bad_alloc);
}

TEST(Untokenize, UndoesTokenizing) {
    for (std::string const& text : allTexts("a\n", 8)) {
        String const whole(text);
        StringArray const lines =
            whole.tokenize("\n", String::DISCARD_DELIMITERS, String::RETURN_EMPTY_TOKENS);
        ASSERT_EQ(ZEBNS2::untokenize(lines, "\n"), text);
    }
}

}  // namespace
