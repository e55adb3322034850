#include <OrventoTextOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using ZEBNS2::String;
using ZEBNS2::StringArray;
using ZEBNS2::substringAfter;
using ZEBNS2::substringAfterLast;
using ZEBNS2::substringBefore;

constexpr char const* NULL_TEXT = nullptr;

// ---------------------------------------------------------------------------- substrings

TEST(Substrings, LiteralsAreNotAmbiguous) {
    EXPECT_EQ(substringAfter("key=value", '='), "value");
    EXPECT_EQ(substringAfter("a::b", "::"), "b");
    EXPECT_EQ(substringAfter("a::b", String("::")), "b");
    EXPECT_EQ(substringAfter("a::b", std::string("::")), "b");
    EXPECT_EQ(substringAfter("a::b", "::"sv), "b");
    EXPECT_EQ(substringBefore("key=value", '='), "key");
    EXPECT_EQ(substringBefore("a::b", "::"), "a");
    EXPECT_EQ(substringBefore("a::b", std::string("::")), "a");
    EXPECT_EQ(substringAfterLast("a/b/c", '/'), "c");
    EXPECT_EQ(substringAfterLast("a/b/c", "/"), "c");
    EXPECT_EQ(substringAfterLast("a/b/c", std::string("/")), "c");
}

TEST(Substrings, MissingSeparatorGivesTheEmptyTextNotTheWholeOne) {
    for (char const* const text : {"novalue", "n", ""}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(substringAfter(text, '='), "");
        EXPECT_EQ(substringAfter(text, "="), "");
        EXPECT_EQ(substringAfter(text, String("=")), "");
        EXPECT_EQ(substringBefore(text, '='), "");
        EXPECT_EQ(substringBefore(text, "="), "");
        EXPECT_EQ(substringBefore(text, String("=")), "");
        EXPECT_EQ(substringAfterLast(text, '='), "");
        EXPECT_EQ(substringAfterLast(text, "="), "");
        EXPECT_EQ(substringAfterLast(text, String("=")), "");
    }
}

TEST(Substrings, CutAtTheFirstOrTheLastSeparator) {
    struct Row {
        std::string_view text;
        char const* separator;
        std::string_view after;
        std::string_view before;
        std::string_view afterLast;
    };
    constexpr Row ROWS[] = {
        {"key=value", "=", "value", "key", "value"},
        {"a/b/c", "/", "b/c", "a", "c"},
        {"a/", "/", "", "a", ""},    // a separator at the very end
        {"/a", "/", "a", "", "a"},   // and at the very front
        {"/", "/", "", "", ""},      //
        {"//", "/", "/", "", ""},    //
        {"aaa", "aa", "a", "", ""},  // the last occurrence may overlap the first
        {"a::b:c", "::", "b:c", "a", "b:c"},
        {"abc", "abcd", "", "", ""},       // longer than the text
        {"abc", "abc", "", "", ""},        //
        {"a\0b"sv, "b", "", "a\0"sv, ""},  // NUL bytes in the text are bytes
        {"b\0ab\0c"sv, "a", "b\0c"sv, "b\0"sv, "b\0c"sv},
        {"abc", "", "abc", "", ""},  // empty: at 0, and from the end at the length
        {"", "", "", "", ""},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(testing::Message() << row.text << " at " << row.separator);
        String const text(row.text);
        EXPECT_EQ(substringAfter(text, row.separator), row.after);
        EXPECT_EQ(substringAfter(text, String(row.separator)), row.after);
        EXPECT_EQ(substringBefore(text, row.separator), row.before);
        EXPECT_EQ(substringBefore(text, String(row.separator)), row.before);
        EXPECT_EQ(substringAfterLast(text, row.separator), row.afterLast);
        EXPECT_EQ(substringAfterLast(text, String(row.separator)), row.afterLast);
        if (std::string_view(row.separator).size() == 1) {
            EXPECT_EQ(substringAfter(text, *row.separator), row.after);
            EXPECT_EQ(substringBefore(text, *row.separator), row.before);
            EXPECT_EQ(substringAfterLast(text, *row.separator), row.afterLast);
        }
    }
}

TEST(Substrings, NullSeparatorIsAnEmptyOne) {
    EXPECT_EQ(substringAfter("abc", NULL_TEXT), "abc");
    EXPECT_EQ(substringBefore("abc", NULL_TEXT), "");
    EXPECT_EQ(substringAfterLast("abc", NULL_TEXT), "");
}

TEST(Substrings, NulCharacterIsASeparatorLikeAnyOther) {
    String const text("a\0b\0c"sv);
    EXPECT_EQ(substringAfter(text, '\0'), "b\0c"sv);
    EXPECT_EQ(substringBefore(text, '\0'), "a");
    EXPECT_EQ(substringAfterLast(text, '\0'), "c");
    EXPECT_EQ(substringAfter("abc", '\0'), "");  // the terminating NUL is no part of the text
}

TEST(Substrings, SeparatorWithANulIsSearchedWholeExceptBySubstringBefore) {
    String const text("a-b-\0c-\0d"sv);
    String const separator("-\0"sv);
    EXPECT_EQ(substringAfter(text, separator), "c-\0d"sv);
    EXPECT_EQ(substringAfterLast(text, separator), "d");
    EXPECT_EQ(substringBefore(text, separator), "a");  // cuts at the part before the NUL
    EXPECT_EQ(substringBefore(text, String("\0-"sv)), "");
}

TEST(Substrings, SignedBytesAreCompared) {
    EXPECT_EQ(substringAfter("a\xC3\xA4"
                             "b",
                             "\xA4"),
              "b");
    EXPECT_EQ(substringAfter("a\xFF"
                             "b",
                             '\xFF'),
              "b");
}

// Every text of up to 6 bytes over two letters, every separator of up to 3.
TEST(Substrings, AgreeWithTheStandardLibraryOnAllSmallTexts) {
    auto const all = [](std::size_t longest) {
        std::vector<std::string> texts{""};
        for (std::size_t i = 0; i < texts.size() && texts[i].size() < longest; ++i) {
            texts.push_back(texts[i] + 'a');
            texts.push_back(texts[i] + 'b');
        }
        return texts;
    };
    std::size_t cases = 0;
    for (std::string const& text : all(6)) {
        for (std::string const& separator : all(3)) {
            std::size_t const first = text.find(separator);
            std::size_t const last = text.rfind(separator);
            bool const found = first != std::string::npos;
            ASSERT_EQ(substringAfter(text, separator),
                      found ? text.substr(first + separator.size()) : "")
                << text << " at " << separator;
            ASSERT_EQ(substringBefore(text, separator), found ? text.substr(0, first) : "")
                << text << " at " << separator;
            ASSERT_EQ(substringAfterLast(text, separator),
                      found ? text.substr(last + separator.size()) : "")
                << text << " at " << separator;
            ++cases;
        }
    }
    EXPECT_EQ(cases, 127U * 15U);
}

// ---------------------------------------------------------------------------- predicates

TEST(IsSubstring, TakesTheNeedleFirst) {
    EXPECT_TRUE(ZEBNS2::is_substring("b", "abc"));
    EXPECT_FALSE(ZEBNS2::is_substring("abc", "b"));
    EXPECT_FALSE(ZEBNS2::is_substring("B", "abc"));
    EXPECT_TRUE(ZEBNS2::is_substring("abc", "abc"));
    EXPECT_TRUE(ZEBNS2::is_substring(String("\0b"sv), String("a\0b"sv)));
}

TEST(IsSubstring, EmptyNeedleIsFound) {
    EXPECT_TRUE(ZEBNS2::is_substring("", "abc"));
    EXPECT_TRUE(ZEBNS2::is_substring("", ""));
    EXPECT_TRUE(ZEBNS2::is_substring(NULL_TEXT, NULL_TEXT));
}

TEST(IsSubstringIgnorecase, FindsAtEachPosition) {
    EXPECT_TRUE(ZEBNS2::is_substring_ignorecase("ABC", "xabcx"));
    EXPECT_TRUE(ZEBNS2::is_substring_ignorecase("abc", "ABC"));
    EXPECT_TRUE(ZEBNS2::is_substring_ignorecase("aBc", "xxAbC"));
    EXPECT_TRUE(ZEBNS2::is_substring_ignorecase("AB", "aaab"));
    EXPECT_FALSE(ZEBNS2::is_substring_ignorecase("abcd", "abc"));
    EXPECT_FALSE(ZEBNS2::is_substring_ignorecase("abd", "abcabc"));
    EXPECT_FALSE(ZEBNS2::is_substring_ignorecase("a", ""));
    EXPECT_TRUE(ZEBNS2::is_substring_ignorecase(String("\0B"sv), String("a\0b"sv)));
}

TEST(IsSubstringIgnorecase, AgreesWithTheSearchOfEachPlaceOnAllShortTexts) {
    // Two letters in both cases.
    std::string_view const alphabet = "aAbB";
    auto const textOf = [alphabet](std::size_t length, std::size_t digits) {
        std::string text;
        for (; length > 0; --length, digits /= 4) {
            text += alphabet[digits % 4];
        }
        return text;
    };
    std::size_t found = 0;
    for (std::size_t length = 0; length <= 6; ++length) {
        for (std::size_t i = 0; i < std::size_t{1} << 2 * length; ++i) {
            String const text(textOf(length, i));
            for (std::size_t wantedLength = 0; wantedLength <= 4; ++wantedLength) {
                // All of the shorter needles, a share of the longer ones.
                for (std::size_t j = i % 5; j < std::size_t{1} << 2 * wantedLength;
                     j += wantedLength < 3 ? 1 : 7) {
                    String const wanted(textOf(wantedLength, j));
                    bool expected = false;
                    for (std::size_t place = 0; place + wantedLength <= length; ++place) {
                        expected |= wanted.equalsIgnoreCase(text.substring(place, wantedLength));
                    }
                    ASSERT_EQ(ZEBNS2::is_substring_ignorecase(wanted, text), expected)
                        << wanted << " in " << text;
                    found += expected;
                }
            }
        }
    }
    EXPECT_GT(found, 50'000U);
}

// Each of these would take minutes if every place were compared from its start.
TEST(Substrings, SearchesAreLinearInPeriodicTexts) {
    std::size_t const half = 1 << 20;
    String const run(std::string(2 * half, 'a'));
    String const bThenRun(std::string(1, 'b') + std::string(half, 'a'));
    String const runThenB(std::string(half, 'a') + std::string(1, 'b'));
    for (String const& wanted : {bThenRun, runThenB}) {
        EXPECT_EQ(substringAfterLast(run, wanted), "");
        EXPECT_EQ(substringAfterLast(run, wanted.c_str()), "");
        EXPECT_EQ(substringAfter(run, wanted), "");
        EXPECT_FALSE(ZEBNS2::is_substring_ignorecase(wanted, run));
        EXPECT_FALSE(ZEBNS2::is_substring(wanted, run));
    }
    EXPECT_TRUE(ZEBNS2::is_substring_ignorecase(bThenRun, "A" + bThenRun));
    EXPECT_EQ(substringAfterLast("A" + bThenRun + "c", bThenRun), "c");
}

static_assert(noexcept(ZEBNS2::is_substring(std::declval<String>(), std::declval<String>())));
static_assert(noexcept(ZEBNS2::is_substring_ignorecase(std::declval<String>(),
                                                       std::declval<String>())));
static_assert(noexcept(ZEBNS2::equals_ignorecase(std::declval<String>(), std::declval<String>())));
static_assert(noexcept(ZEBNS2::non_matching_index(std::declval<String const&>(),
                                                  std::declval<String const&>())));

TEST(IsSubstringIgnorecase, EmptyNeedleIsFound) {
    EXPECT_TRUE(ZEBNS2::is_substring_ignorecase("", "abc"));
    EXPECT_TRUE(ZEBNS2::is_substring_ignorecase("", ""));
}

TEST(IsSubstringIgnorecase, FoldsAsciiLettersAlone) {
    EXPECT_FALSE(ZEBNS2::is_substring_ignorecase("\xE4", "\xC4"));  // a umlaut in ISO-8859-1
    EXPECT_FALSE(ZEBNS2::is_substring_ignorecase("[", "{"));        // one bit apart, as letters are
    EXPECT_FALSE(ZEBNS2::is_substring_ignorecase("@", "`"));
}

TEST(EqualsIgnorecase, ComparesWholeTexts) {
    EXPECT_TRUE(ZEBNS2::equals_ignorecase("Key", "kEY"));
    EXPECT_TRUE(ZEBNS2::equals_ignorecase("", ""));
    EXPECT_FALSE(ZEBNS2::equals_ignorecase("a", "ab"));
    EXPECT_FALSE(ZEBNS2::equals_ignorecase("ab", "a"));
    EXPECT_FALSE(ZEBNS2::equals_ignorecase(String("a\0b"sv), String("a\0c"sv)));
}

// ---------------------------------------------------------------------------- lists

TEST(RemoveEmptyStrings, KeepsTheOthersInOrder) {
    EXPECT_THAT(ZEBNS2::remove_empty_strings({"", "a", "", " ", "b", ""}),
                ElementsAre("a", " ", "b"));
    EXPECT_THAT(ZEBNS2::remove_empty_strings({}), IsEmpty());
    EXPECT_THAT(ZEBNS2::remove_empty_strings({"", ""}), IsEmpty());
    EXPECT_THAT(ZEBNS2::remove_empty_strings({String("\0"sv)}), ElementsAre("\0"sv));
}

TEST(FindExactMatches, MeansContainmentInSpiteOfItsName) {
    EXPECT_THAT(ZEBNS2::find_exact_matches("ab", {"xaby", "ba", "ab", "AB", ""}),
                ElementsAre("xaby", "ab"));
    EXPECT_THAT(ZEBNS2::find_exact_matches("ab", {}), IsEmpty());
}

TEST(FindExactMatches, EmptyNeedleMatchesEveryCandidate) {
    EXPECT_THAT(ZEBNS2::find_exact_matches("", {"a", "", "b"}), ElementsAre("a", "", "b"));
}

TEST(Lists, ArgumentsStayAsTheyWere) {
    StringArray const parts{"", "a"};
    StringArray const kept = ZEBNS2::remove_empty_strings(parts);
    EXPECT_THAT(parts, ElementsAre("", "a"));
    EXPECT_EQ(kept.size(), 1U);
}

TEST(NonMatchingIndex, IsTheFirstDifferenceOrTheEndOfTheShorter) {
    struct Row {
        std::string_view a;
        std::string_view b;
        int index;
    };
    constexpr Row ROWS[] = {
        {"abc", "abd", 2},
        {"abc", "abc", -1},
        {"ab", "abc", 2},
        {"", "", -1},
        {"", "a", 0},
        {"a", "A", 0},  // case matters
        {"a\0b"sv, "a\0c"sv, 2},
        {"a\0"sv, "a"sv, 1},
        {"\x7F", "\xFF", 0},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(testing::Message() << row.a << " and " << row.b);
        EXPECT_EQ(ZEBNS2::non_matching_index(String(row.a), String(row.b)), row.index);
        EXPECT_EQ(ZEBNS2::non_matching_index(String(row.b), String(row.a)), row.index);
    }
}

TEST(RemoveRedundantSeparators, ShortensRunsToOne) {
    struct Row {
        std::string_view text;
        char separator;
        std::string_view result;
    };
    constexpr Row ROWS[] = {
        {"//a///b/", '/', "/a/b/"},
        {"aabb//", '/', "aabb/"},  // other characters are never
                                   // touched
        {"////", '/', "/"},
        {"a/b", '/', "a/b"},
        {"", '/', ""},
        {"a\0\0b"sv, '\0', "a\0b"sv},
        {"\xFF\xFF", '\xFF', "\xFF"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(ZEBNS2::removeRedundantSeparators(String(row.text), row.separator), row.result);
    }
}

// ---------------------------------------------------------------------------- regular expressions

TEST(IsRegexMatch, SearchesWithExtendedSyntaxAndNoOption) {
    EXPECT_TRUE(ZEBNS2::is_regex_match("^(a|b)+$", "abba"));
    EXPECT_TRUE(ZEBNS2::is_regex_match("b", "abc"));
    EXPECT_FALSE(ZEBNS2::is_regex_match("B", "abc"));
    EXPECT_TRUE(ZEBNS2::is_regex_match("", ""));
    EXPECT_TRUE(ZEBNS2::is_regex_match("a.b", "a\nb"));  // a newline is an ordinary character
}

}  // namespace
