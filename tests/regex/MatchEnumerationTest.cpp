#include <OrventoCommonRegex.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using ZEBNS2::Array;
using ZEBNS2::OffsetPair;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

static_assert(std::is_same_v<OffsetPair, std::pair<std::uint32_t, std::uint32_t>>);
static_assert(RegularExpression::MAX_MATCH_SLOTS == 102400);

using Pair = OffsetPair;

// ---------------------------------------------------------------------------- one subject

TEST(AllMatches, ListsTheMatchAndItsGroups) {
    RegularExpression const expression("([a-z]+)=([0-9]+)", 0);
    EXPECT_THAT(expression.all_matches("  key=42 b=1"),
                ElementsAre(Pair(2, 8), Pair(2, 5), Pair(6, 8)));
}

TEST(AllMatches, GroupThatTookNoPartEndsTheList) {
    RegularExpression const expression("((a)|(x))(b)", 0);
    EXPECT_THAT(expression.all_matches("ab"), ElementsAre(Pair(0, 2), Pair(0, 1), Pair(0, 1)));
    // Here the second group takes no part, so the third and fourth are not listed either.
    EXPECT_THAT(expression.all_matches("xb"), ElementsAre(Pair(0, 2), Pair(0, 1)));
}

TEST(AllMatches, EmptyGroupIsListed) {
    EXPECT_THAT(RegularExpression("a()(b*)", 0).all_matches("ac"),
                ElementsAre(Pair(0, 1), Pair(1, 1), Pair(1, 1)));
}

TEST(AllMatches, NoMatchIsEmpty) {
    EXPECT_THAT(RegularExpression("x", 0).all_matches("abc"), IsEmpty());
    EXPECT_THAT(RegularExpression("x", 0).all_matches(""), IsEmpty());
}

TEST(AllMatches, EmptyMatchInAnEmptySubjectIsListed) {
    EXPECT_THAT(RegularExpression("x*", 0).all_matches(""), ElementsAre(Pair(0, 0)));
}

TEST(AllMatches, CaretMatchesAtTheStart) {
    EXPECT_THAT(RegularExpression("^a", 0).all_matches("aa"), ElementsAre(Pair(0, 1)));
}

TEST(AllUniqueMatches, ListsSuccessiveMatches) {
    EXPECT_THAT(RegularExpression("a", 0).all_unique_matches("aaa"),
                ElementsAre(Pair(0, 1), Pair(1, 2), Pair(2, 3)));
    EXPECT_THAT(RegularExpression("[0-9]+", 0).all_unique_matches("a12b3c"),
                ElementsAre(Pair(1, 3), Pair(4, 5)));
    EXPECT_THAT(RegularExpression("aa", 0).all_unique_matches("aaaaa"),
                ElementsAre(Pair(0, 2), Pair(2, 4)));
}

TEST(AllUniqueMatches, CaretNeverMatches) {
    EXPECT_THAT(RegularExpression("^a", 0).all_unique_matches("aaa"), IsEmpty());
    // After a newline it does, when newlines count.
    EXPECT_THAT(RegularExpression("^a", RegularExpression::NO_NEWLINE).all_unique_matches("a\na"),
                ElementsAre(Pair(2, 3)));
}

TEST(AllUniqueMatches, GroupsAreNotListed) {
    EXPECT_THAT(RegularExpression("(a)(b)", 0).all_unique_matches("abab"),
                ElementsAre(Pair(0, 2), Pair(2, 4)));
}

TEST(AllUniqueMatches, EmptySubjectHasNone) {
    EXPECT_THAT(RegularExpression("x*", 0).all_unique_matches(""), IsEmpty());
}

TEST(AllUniqueMatches, EmptyMatchWhereTheSearchBeganEndsTheList) {
    EXPECT_THAT(RegularExpression("a*", 0).all_unique_matches("b"), ElementsAre(Pair(0, 0)));
    EXPECT_THAT(RegularExpression("a*", 0).all_unique_matches("aab"),
                ElementsAre(Pair(0, 2), Pair(2, 2)));
    EXPECT_THAT(RegularExpression("a*", 0).all_unique_matches("aa"), ElementsAre(Pair(0, 2)));
}

TEST(AllUniqueMatches, EmptyMatchFurtherOnGoesOn) {
    EXPECT_THAT(RegularExpression("\\>", 0).all_unique_matches("ab cd"),
                ElementsAre(Pair(2, 2), Pair(5, 5)));
    EXPECT_THAT(RegularExpression("$", 0).all_unique_matches("ab"), ElementsAre(Pair(2, 2)));
}

TEST(AllUniqueMatches, SubjectEndsAtItsNul) {
    EXPECT_THAT(RegularExpression("a", 0).all_unique_matches(String("a\0a"sv)),
                ElementsAre(Pair(0, 1)));
    EXPECT_THAT(RegularExpression("a*", 0).all_unique_matches(String("a\0a"sv)),
                ElementsAre(Pair(0, 1), Pair(1, 1)));
    EXPECT_THAT(RegularExpression("a*", 0).all_unique_matches(String("\0a"sv)),
                ElementsAre(Pair(0, 0)));
}

TEST(AllMatchingSubstrings, AreTheTextsOfAllMatches) {
    EXPECT_THAT(RegularExpression("([a-z]+)=([0-9]+)", 0).all_matching_substrings("  key=42 b=1"),
                ElementsAre("key=42", "key", "42"));
    EXPECT_THAT(RegularExpression("((a)|(x))(b)", 0).all_matching_substrings("ab"),
                ElementsAre("ab", "a", "a"));
    EXPECT_THAT(RegularExpression("x", 0).all_matching_substrings("ab"), IsEmpty());
}

TEST(AllUniqueMatchingSubstrings, AreTheTextsOfAllUniqueMatches) {
    EXPECT_THAT(RegularExpression("b.", 0).all_unique_matching_substrings("abcabc"),
                ElementsAre("bc", "bc"));
    EXPECT_THAT(RegularExpression("x", 0).all_unique_matching_substrings("abc"), IsEmpty());
}

// ---------------------------------------------------------------------------- lines

TEST(LineMatches, AllMatchingSubstringsGivesOneElementPerLine) {
    StringArray const lines{"a1", "", "xx", "b2c3"};
    EXPECT_THAT(RegularExpression("([a-z])([0-9])", 0).all_matching_substrings(lines),
                ElementsAre(ElementsAre("a1", "a", "1"), IsEmpty(), IsEmpty(),
                            ElementsAre("b2", "b", "2")));
}

TEST(LineMatches, AllUniqueMatchingSubstringsGivesOneElementPerLine) {
    StringArray const lines{"a1", "", "b2c3"};
    EXPECT_THAT(RegularExpression("[a-z][0-9]", 0).all_unique_matching_substrings(lines),
                ElementsAre(ElementsAre("a1"), IsEmpty(), ElementsAre("b2", "c3")));
}

TEST(LineMatches, MatchingSubstringGivesOneElementPerLine) {
    StringArray const lines{"xab", "zzz", "abb"};
    EXPECT_THAT(RegularExpression("ab+", 0).matching_substring(lines),
                ElementsAre("ab", "", "abb"));
}

TEST(LineMatches, FirstMatchingSubstringStopsAtTheFirstLineThatMatches) {
    EXPECT_EQ(
        RegularExpression("[0-9]+", 0).first_matching_substring(StringArray{"a", "b12", "c3"}),
        "12");
    EXPECT_EQ(RegularExpression("x", 0).first_matching_substring(StringArray{"a", "b"}), "");
    EXPECT_EQ(RegularExpression("x", 0).first_matching_substring(StringArray()), "");
    // The empty text of the first line is the answer; the second line is not searched.
    EXPECT_EQ(RegularExpression("x*", 0).first_matching_substring(StringArray{"y", "x"}), "");
}

TEST(LineMatches, LineWithAnEmptyMatchIsNeitherMatchingNorNotMatching) {
    RegularExpression const expression("x*", 0);
    StringArray const lines{"x", "y"};
    EXPECT_THAT(expression.all_matching_lines(lines), ElementsAre("x"));
    EXPECT_THAT(expression.non_matching_lines(lines), IsEmpty());
    EXPECT_THAT(expression.find_matching_line_numbers(lines), ElementsAre(0u, 1u));
}

TEST(LineMatches, CaretKeepsNoLine) {
    RegularExpression const expression("^", 0);
    StringArray const lines{"x", ""};
    EXPECT_THAT(expression.all_matching_lines(lines), IsEmpty());
    EXPECT_THAT(expression.non_matching_lines(lines), IsEmpty());
    EXPECT_THAT(expression.find_matching_line_numbers(lines), ElementsAre(0u, 1u));
}

TEST(LineMatches, LinesAreKeptInOrder) {
    RegularExpression const expression("a", 0);
    StringArray const lines{"ba", "b", "a", "", "ca"};
    EXPECT_THAT(expression.all_matching_lines(lines), ElementsAre("ba", "a", "ca"));
    EXPECT_THAT(expression.non_matching_lines(lines), ElementsAre("b", ""));
    EXPECT_THAT(expression.find_matching_line_numbers(lines), ElementsAre(0u, 2u, 4u));
}

TEST(LineMatches, LineIsKeptWithWhatIsBehindItsNul) {
    StringArray const lines{String("a\0b"sv), String("b\0a"sv)};
    EXPECT_THAT(RegularExpression("a", 0).all_matching_lines(lines), ElementsAre("a\0b"sv));
    EXPECT_THAT(RegularExpression("a", 0).non_matching_lines(lines), ElementsAre("b\0a"sv));
}

// ---------------------------------------------------------------------------- nothing compiled

TEST(MatchEnumeration, ExpressionThatIsNotCompiledFindsNothing) {
    RegularExpression const expression(nullptr, 0);
    StringArray const lines{"a", ""};
    EXPECT_THAT(expression.all_matches("a"), IsEmpty());
    EXPECT_THAT(expression.all_unique_matches("a"), IsEmpty());
    EXPECT_THAT(expression.all_matching_substrings("a"), IsEmpty());
    EXPECT_THAT(expression.all_unique_matching_substrings("a"), IsEmpty());
    EXPECT_EQ(expression.first_matching_substring(lines), "");
    EXPECT_THAT(expression.all_matching_lines(lines), IsEmpty());
    EXPECT_THAT(expression.non_matching_lines(lines), IsEmpty());
    EXPECT_THAT(expression.find_matching_line_numbers(lines), IsEmpty());
}

TEST(MatchEnumeration, PerLineFormsKeepOneElementPerLineAllTheSame) {
    RegularExpression const expression(nullptr, 0);
    StringArray const lines{"a", ""};
    EXPECT_THAT(expression.all_matching_substrings(lines), ElementsAre(IsEmpty(), IsEmpty()));
    EXPECT_THAT(expression.all_unique_matching_substrings(lines),
                ElementsAre(IsEmpty(), IsEmpty()));
    EXPECT_THAT(expression.matching_substring(lines), ElementsAre("", ""));
}

}  // namespace
