#include "regex/pattern/LibcCost.hpp"

#include <gnu/libc-version.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

namespace {

using ZEBNS2::LibcCost;
using ZEBNS2::LibcLimits;
using ZEBNS2::PatternEnd;
using ZEBNS2::PatternHazard;
using ZEBNS2::PatternReader;
using ZEBNS2::PatternSyntax;
using Fragment = LibcCost::Fragment;

Fragment sumsOf(std::string_view pattern) {
    LibcCost cost;
    Fragment whole;
    PatternReader<LibcCost> reader(pattern, PatternSyntax::EXTENDED, cost);
    EXPECT_EQ(reader.read(whole), PatternEnd::COMPLETE);
    return whole;
}

/// A sum of a pattern, small enough to be counted by hand.
struct Row {
    char const* pattern;
    std::uint32_t sum;
};

template <std::size_t COUNT>
void expectSums(std::uint32_t Fragment::* field, Row const (&rows)[COUNT]) {
    for (Row const& row : rows) {
        EXPECT_EQ(sumsOf(row.pattern).*field, row.sum) << row.pattern;
    }
}

TEST(LibcCostSums, Nodes) {
    expectSums(
        &Fragment::nodes,
        {{"", 0},       {"a", 1},    {"\xC3\xA9", 2},  // one for each byte
         {".", 1},      {"[a]", 3},               // a choice between bytes and longer characters
         {"\\s", 3},    {"^", 1},    {"\\b", 3},  // a choice between two anchors
         {"(a)", 3},                              // one at each end
         {"(a)\\1", 4}, {"ab", 2},   {"a|b", 3},      {"a*", 2}, {"a?", 2}, {"a+", 3},  // aa*
         {"a{3}", 3},                                                                   // aaa
         {"a{1}", 1},                                                                   //
         {"a{2,}", 4},                                                                  // aaa*
         {"a{2,4}", 6},  // aa(a(a)?)?
         {"a{0,3}", 6},  // (((a)?a)?a)?
         {"a{0}b", 1},  {"a{0}*", 0}});
}

TEST(LibcCostSums, MultibyteNodes) {
    expectSums(&Fragment::multibyteNodes, {{"a", 0},
                                           {".", 1},
                                           {"[a]", 0},
                                           {"[^a]", 1},
                                           {"[a\xC3\xA9]", 1},
                                           {"[[:digit:]]", 1},
                                           {"[[=a=]]", 1},
                                           {"\\W", 1},
                                           {"..", 2},
                                           {".|.", 2},
                                           {"(.*)", 1}});
}

TEST(LibcCostSums, BackReferences) {
    expectSums(&Fragment::backReferences,
               {{"(a)", 0}, {"(a)\\1\\1", 2}, {"(a)(\\1|\\1)", 2}, {"(a)\\1*", 1}});
}

TEST(LibcCostSums, EntryClosure) {
    expectSums(&Fragment::entryClosure, {{"a", 1},
                                         {"\xC3\xA9", 1},
                                         {"ab", 1},
                                         {"a|b", 3},
                                         {"a?b", 3},
                                         {"a*b", 3},
                                         {"(a)", 2},
                                         {"(|)", 4},   // the end once for each path
                                         {"(|)b", 6},  //
                                         {"(a*)*", 5}});
}

TEST(LibcCostSums, EmptyPaths) {
    expectSums(&Fragment::emptyPaths, {{"", 1},
                                       {"a", 0},
                                       {"^", 1},
                                       {"a?", 1},
                                       {"a*", 1},
                                       {"a*b", 0},
                                       {"(|)", 2},
                                       {"(|)(|)", 4},
                                       {"(|)|", 3},
                                       {"|(|)", 3},
                                       {"(a*)*", 2}});
}

TEST(LibcCostSums, UnanchoredEmptyPaths) {
    expectSums(&Fragment::unanchoredEmptyPaths, {{"", 1},
                                                 {"a", 0},
                                                 {"^", 0},
                                                 {"a?", 1},
                                                 {"^a?", 0},
                                                 {"^|a?", 1},
                                                 {"(|)(|)", 4},
                                                 {"(^)*", 1},
                                                 {"(a*)*", 2}});
}

TEST(LibcCostSums, Anchors) {
    expectSums(
        &Fragment::anchors,
        {{"a", 0}, {"^", 1}, {"^a$", 2}, {"^|$", 2}, {"\\b", 2}, {"(^)*", 1}, {"(^){2}", 2}});
}

TEST(LibcCostSums, Branches) {
    expectSums(&Fragment::branches, {{"a", 0},
                                     {"^(a)$", 0},
                                     {"a|b", 1},
                                     {"a?b*", 2},
                                     {"a{0,3}", 3},
                                     {"\\b", 1},
                                     {"[a]", 1},
                                     {"(a|b)(c*|d)", 3}});
}

TEST(LibcCostSums, ExitPaths) {
    expectSums(&Fragment::exitPaths, {{"a", 0},
                                      {"^", 1},
                                      {"(a)", 1},
                                      {"a?", 1},
                                      {"a*", 1},
                                      {"a*b", 0},
                                      {"a?b?", 2},
                                      {"(|)", 5},
                                      {"a?(|)", 7},
                                      {"^|$", 4},
                                      {"(a?)*", 4}});
}

TEST(LibcCostSums, Closures) {
    expectSums(&Fragment::closures, {{"a", 1},
                                     {"\xC3\xA9", 2},
                                     {"^", 1},
                                     {"ab", 2},
                                     {"a|b", 5},
                                     {"a?b", 5},
                                     {"(a)", 4},
                                     {"a*", 3},
                                     {"(a*)*", 29}});
}

TEST(LibcCostSums, LoopClosures) {
    expectSums(&Fragment::loopClosures, {{"a*b", 0},
                                         {"(a*)*", 29},
                                         {"a(b*)*", 29},   // nothing of a leads into the star
                                         {"a?(b*)*", 37},  // what is in a, and what it meets in b
                                         {"(b*)*a", 29},
                                         {"(b*)*|a", 36},  // and the choice with its closure
                                         {"a|(b*)*", 36},
                                         {"a(b*)*|c", 29},
                                         {"c|a(b*)*", 29},
                                         {"(b(a*)*c)*", 29}});
    EXPECT_EQ(sumsOf("((a*)*b)*").loopClosures, sumsOf("((a*)*b)*").closures);
    EXPECT_EQ(sumsOf("(a)\\1*b").loopClosures, 0u) << "a star over nothing but a back-reference";
}

TEST(LibcCostSums, AnchorExitPaths) {
    expectSums(&Fragment::anchorExitPaths, {{"a", 0},
                                            {"^", 1},
                                            {"^a", 0},
                                            {"a^", 1},
                                            {"^a?", 1},
                                            {"^(|)", 2},
                                            {"^^", 2},
                                            {"^|$", 2},
                                            {"\\b", 2},
                                            {"(^)*", 1}});
}

TEST(LibcCostSums, AnchorClosures) {
    expectSums(&Fragment::anchorClosures,
               {{"a", 0}, {"^", 1}, {"^a", 2}, {"a^", 1}, {"^^", 3}, {"^|$", 2}, {"(^)*", 6}});
}

TEST(LibcCostSums, Depths) {
    expectSums(
        &Fragment::entryDepth,
        {{"a", 1}, {"ab*", 1}, {"a*", 2}, {"a|b*", 3}, {"b*|a", 3}, {"(a)", 2}, {"a?b*c", 3}});
    expectSums(&Fragment::emptyDepth, {{"a", 0},
                                       {"a*", 1},
                                       {"a*b", 0},
                                       {"a|b", 0},
                                       {"a?b*", 2},
                                       {"(a*)", 3},
                                       {"a?|(b*)", 4},
                                       {"(b*)|a?", 4},
                                       {"(a?)*", 1}});
    expectSums(&Fragment::exitDepth, {{"a", 0},
                                      {"a*", 1},
                                      {"a?", 1},
                                      {"a*b*", 2},
                                      {"a*b", 0},
                                      {"(a)", 1},
                                      {"(a*)*", 4},
                                      {"(a*|b)", 4},
                                      {"a(b*c*)|d", 4},
                                      {"d|a(b*c*)", 4}});
    expectSums(&Fragment::depth, {{"ab", 1},
                                  {"a*b", 2},
                                  {"a*b*c", 3},
                                  {"(a*)*", 7},
                                  {"a(b*c*)|d", 4},
                                  {"d|a(b*c*)", 4},
                                  {"ab*c*d(e)", 3},
                                  {"(a(b*c*d*)e)*", 6}});
}

struct Flag {
    char const* pattern;
    bool set;
};

template <std::size_t COUNT>
void expectFlags(bool Fragment::* field, Flag const (&rows)[COUNT]) {
    for (Flag const& row : rows) {
        EXPECT_EQ(sumsOf(row.pattern).*field, row.set) << row.pattern;
    }
}

TEST(LibcCostSums, ChoicesThatEmptyPathsSkip) {
    expectFlags(&Fragment::skipsSecond, {{"a|b", false},
                                         {"a*|b", true},
                                         {"b|a*", false},  // its empty path takes the second
                                         {"a*|", false},   // there is no second to skip
                                         {"|a*", false},   // an empty one is tried last
                                         {"(a*|b)c", false},
                                         {"(a*|b)c*", true},
                                         {"c*(a*|b)", true},
                                         {"(a*|b)|", true},
                                         {"|(a*|b)", true},
                                         {"c|(a*|b)", true},
                                         {"(a*|b)*", true}});
    expectFlags(&Fragment::skipsFirstLater, {{"(a*|b)|c*", true},
                                             {"(a*|b)|c", false},
                                             {"(a*|b)|", true},
                                             {"((a*|b)|c*)d", false},
                                             {"((a*|b)|c*)d*", true},
                                             {"d*((a*|b)|c*)", true},
                                             {"((a*|b)|c*)|d", true},
                                             {"d|((a*|b)|c*)", true},
                                             {"(a*|b)*", true},
                                             {"a*", false}});
}

// The limits were measured. Another glibc may take more stack, memory or time for the same pattern.
TEST(LibcLimits, WereMeasuredWithThisGlibc) {
    std::string_view const running = ::gnu_get_libc_version();
    if (!LibcLimits::isMeasured(running)) {
        GTEST_SKIP() << "glibc " << running << ": the limits were measured with "
                     << testing::PrintToString(LibcLimits::MEASURED_WITH)
                     << "; tools/hunt-patterns tries them with this";
    }
}

}  // namespace
