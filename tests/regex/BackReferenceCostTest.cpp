#include "regex/pattern/BackReferenceCost.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string_view>

#include "regex/pattern/LibcCost.hpp"

namespace {

using ZEBNS2::BackReferenceCost;
using ZEBNS2::LibcLimits;
using ZEBNS2::PATTERN_HAZARD_NAMES;
using ZEBNS2::PatternEnd;
using ZEBNS2::PatternHazard;
using ZEBNS2::patternHazard;
using ZEBNS2::PatternReader;
using ZEBNS2::PatternSyntax;

std::uint32_t freedomOf(std::string_view pattern) {
    BackReferenceCost cost;
    BackReferenceCost::Fragment whole;
    PatternReader<BackReferenceCost> reader(pattern, PatternSyntax::EXTENDED, cost);
    EXPECT_EQ(reader.read(whole), PatternEnd::COMPLETE);
    cost.finish(whole);
    return cost.freedom();
}

std::string_view nameOf(PatternHazard hazard) {
    return PATTERN_HAZARD_NAMES[static_cast<int>(hazard)];
}

PatternHazard hazardOf(char const* pattern) {
    return patternHazard(pattern, PatternSyntax::EXTENDED);
}

TEST(BackReferenceCost, EachChoiceHasItsPoints) {
    struct Row {
        char const* pattern;
        std::uint32_t freedom;
    };
    constexpr Row ROWS[] = {
        {"(.)\\1", 0},                 // nothing to choose
        {"(.)\\1\\1", 0},              // nor for the second
        {"(a|bb)\\1", 1},              // two lengths
        {"(.{1,4})\\1", 1},            // lengths that differ by 3
        {"(.{1,9})\\1", 2},            // by 8
        {"(.{1,10})\\1", 3},           // by more counts as any length
        {"(.+)\\1", 5},                // any length, an unlimited repeat
        {"(.+)\\1{0,4}", 14},          // for each copy
        {".?(.)\\1", 1},               // two places
        {".{0,4}(.)\\1", 2},           // five places
        {".*(.)\\1", 5},               // any place
        {".*(.)\\1{0,4}", 14},         // for each copy
        {".*(.+)\\1", 13},             // any place with any length costs more than both
        {"(.).?\\1", 1},               // two distances
        {"(.).{4,8}\\1", 2},           // five
        {"(.).*\\1", 6},               // any distance
        {"(.).*\\1.*\\1", 12},         // for both
        {".*(.).*\\1", 14},            // any place with any distance costs more
        {"[^,]*,(.)\\1", 0},           // the place is after the first comma
        {"[^,]*(,)\\1", 0},            // the place is the first comma
        {"[^,]*,(.*),\\1", 5},         // the first repeat ends at the comma
        {"(.)?\\1", 1},                // a group in a repeat has no certain place
        {"(.){2}\\1", 1},              // nor has one of several copies
        {"((.+)+)\\2", 15},            // each iteration has its own length
        {"((.)x*)\\2", 6},             // the distance begins at the inner group
        {"([a-z]+),([a-z]+),\\2", 3},  // the comma ends the repeats; the length remains
        {"(a)|b\\1", 0},               // the group takes no part
        {"(.*)(.*)\\1\\2", 27},        // both groups, and the first reference before the second
        {"([ab]){1,3}\\1", 1},         // three copies are few
        {"([ab]){1,4}\\1", 4},         // each doubling of the copies counts
        {"([ab]){1,8}\\1", 8},
        {"((a|b){4}){2}\\2", 7},  // copies of copies
        {"(.+)\\1a{26}", 5},      // 28 characters to take
        {"(.+)\\1a{30}", 7},      // 32: each doubling of the size counts
        {"(.+)\\1a{62}", 9},
        {"(.)\\1a{62}", 0},  // not where there is no choice
        {" *\\S(.)\\1", 0},  // what is no blank ends the blanks
        {"_*\\W(.)\\1", 0},
        {"(ab)(\\1|cd)(.)\\3", 0},  // a reference is as long as its group
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(freedomOf(row.pattern), row.freedom) << row.pattern;
    }
}

TEST(BackReferenceCost, MoreThanTheLimitIsRefused) {
    struct Row {
        char const* passes;
        char const* refused;  // seconds of processor time that libc takes on 64 bytes
    };
    constexpr Row ROWS[] = {
        {"(.+)\\1{0,4}", "(.+)\\1{1,9}"},                                             // 1.3
        {".*(.).*\\1", ".*(.).*\\1.*\\1"},                                            // 1.4
        {".*(.).*\\1", ".*(.).*\\1{2}"},                                              // more than 3
        {".*(.+)\\1", ".*(.+)\\1\\1"},                                                // 1.2
        {".*(a?)\\1{0,2}", ".*(a?)\\1{0,9}"},                                         // more than 3
        {"(.*)\\1(.*)", "(.*)(.*)(.*)\\1\\2\\3"},                                     // more than 4
        {"(a*)(\\1a*)?", "(a*)(\\1a*){0,3}"},                                         // 3.7
        {"^(\"?)(.*)\\1,", "^(\"?)(.*)\\1,(\"?)(.*)\\3,(\"?)(.*)\\5,(\"?)(.*)\\7$"},  // 1.3
        {"([\"']).*\\1", "([\"']).*\\1.*([\"']).*\\2.*([\"']).*\\3"},                 // more than 3
        {"([ab]){1,8}\\1", "([ab]){1,120}\\1"},                                       // more than 3
        {".*(.)\\1", ".*(.){1,200}\\1"},                                              // more than 3
        {".*(.+)\\1.{1,20}", ".*(.+)\\1.{1,100}"},                                    // more than 3
        {"^(.+)@.*\\1", "[0-9]{1,40}(.{1,40}).{1,40}\\1"},                            // more than 3
        {"(a*)(a*).\\2b", "(a*)(a*)(a)(a*){2}\\2b"},                                  // 1.8
        {"a((a*)(a*).\\3b)", "a((a*)(a*)(a)(a*){2}\\3b)"},                            // 1.5
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(nameOf(hazardOf(row.passes)), "NONE") << row.passes;
        EXPECT_EQ(nameOf(hazardOf(row.refused)), "BACK_REFERENCES") << row.refused;
        EXPECT_GT(freedomOf(row.refused), LibcLimits::MAX_FREEDOM) << row.refused;
    }
}

TEST(BackReferenceCost, ManyWaysBetweenALooseGroupAndItsReferenceAreRefused) {
    struct Row {
        char const* passes;
        char const* refused;  // libc takes more than a second on 64 bytes, most have no end
    };
    constexpr Row ROWS[] = {
        {"(.+)a*\\1", "(.+)(a+)*\\1"},                                 // 2^n ways to take a run
        {"(.+)(a|b)+\\1", "(.+)(a|aa)+\\1"},                           // a or aa
        {"(.+)(a|b)+\\1", "(.+)(a|.)+\\1"},                            // a as the one or the other
        {"(.)([ab]+)*\\1", "(..?)([ab]+)*\\1.*x"},                     // the group has two lengths
        {"^.(.)([ab]+)*\\1.*x", "^.?(.)([ab]+)*\\1.*x"},               // the group has two places
        {"(.+)([ab]c*d)*\\1", "(.+)([ab]c*d?)*\\1"},                   // d ends an iteration
        {"(.+)(aa?){9}\\1", "(.+)(aa?){30}\\1"},                       // counted ways
        {"(.{1,9}){1,3}\\1", "(.{1,9}){1,9}\\1"},                      // in the loop of the group
        {"([a-z]+)=(\\w+ ?)*;.*\\1", "([a-z]+)(\\w+ ?)*;.*\\1"},       // the sign ends the group
        {"^([\"']?)([^\"']*)*\\1$", "^([\"']?)[a\"]?([^\"']*)*\\1$"},  // quotes end it
        {"([\"'])(\\\\.|[^\\])*\\1", "([\"']+)(\\\\.|.)*\\1"},         // one way to escape
        {"([a-z]+)( \\1)+", "(a+)(a \\1|a+)*\\1"},                     // one way for each iteration
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(nameOf(hazardOf(row.passes)), "NONE") << row.passes;
        EXPECT_NE(nameOf(hazardOf(row.refused)), "NONE") << row.refused;
    }
    EXPECT_EQ(nameOf(hazardOf("(.+)(a+)*\\1")), "BACK_REFERENCES");
}

TEST(BackReferenceCost, AStarHoldsAReferenceThatLeavesNoChoice) {
    struct Row {
        char const* passes;
        char const* refused;  // on 64 bytes libc takes more than a second
    };
    constexpr Row ROWS[] = {
        {"([a-z]+)( \\1)+", "(.+)(,\\1)+"},                 // commas are in the group
        {"([a-z]+)( \\1)+", "([a-z]+)( ?\\1)+"},            // nothing need separate
        {"(y|yy)(x+\\1)*", "(y|yy)(x*\\1)*"},               // nor here
        {"([^,]+)(, \\1)*", "([^,]+)( *, *\\1)*"},          // blanks on both sides
        {"(-)( *\\1)*", "(-+)( *\\1)*"},                    // one length needs no separator
        {"(.)(.\\1)*", "(.?)(.\\1)*"},                      // several lengths
        {"(x(.)\\2*)b", "(x(.)\\2*b){2}"},                  // two copies of a star
        {"(.)(.\\1)*", "(.)(,.*\\1)*"},                     // an iteration of several lengths
        {"^ *([a-z])(,\\1)*", "^.*([a-z])(,\\1)+"},         // the place is not certain
        {"((.)\\2)*", "((a+)\\2)*"},                        // each iteration has its own length
        {"((a)b\\2)*", "((a*)a+\\2)*"},                     // likewise
        {"(([\"'])[^\"']*\\2 *)+", "(([\"']).*\\2 *)+"},    // quotes between the quotes
        {"^([0-9]+)(\\.\\1)+$", "([0-9]+)([0-9.]+\\1)+$"},  // digits before the reference
        {"(,?)(b\\1b)+", "(,?)(b\\1b{0,3})+"},              // an empty text separates nothing
        {"(a)(b?\\1)*", "(a)(a?\\1)*"},                     // the other character is in the group
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(nameOf(hazardOf(row.passes)), "NONE") << row.passes;
        EXPECT_EQ(nameOf(hazardOf(row.refused)), "BACK_REFERENCES_IN_STAR") << row.refused;
    }
}

TEST(BackReferenceCost, AStarOverANullableBodyMustNotTakeWhatTheReferencesTake) {
    EXPECT_EQ(nameOf(hazardOf("^([\"']?)([^\"']*)*\\1$")), "NONE");
    EXPECT_EQ(nameOf(hazardOf("(y?)y(x*)*\\1")), "NONE");
    EXPECT_EQ(nameOf(hazardOf("(y)y([xy]*)*\\1")), "BACK_REFERENCE_AND_NULLABLE_STAR");
    EXPECT_EQ(nameOf(hazardOf("(a)(\\1)*")), "BACK_REFERENCE_AND_NULLABLE_STAR");
}

TEST(BackReferenceCost, WhatTheDocumentsNamePassesOrIsRefused) {
    for (char const* passes :
         {"(.+)\\1{1,4}", ".*(.).*\\1", "(.)\\1+", "([a-z]+)( \\1)+", "(.+)a*\\1", "(.)[a-z]*\\1",
          "^ *(-)\\1+", "(.+).*\\1", "(^x)?", "(^|,)+"}) {
        EXPECT_EQ(nameOf(hazardOf(passes)), "NONE") << passes;
    }
    for (char const* refused :
         {"(.+)\\1{1,9}", ".*(.).*\\1.*\\1", "(.+)\\1+", ".*(.)\\1+", "(.+)(a+)*\\1",
          "(.)([a-z]*)*\\1", "(.+)(,\\1)*", "(^x|)+", "((^|,)*)*"}) {
        EXPECT_NE(nameOf(hazardOf(refused)), "NONE") << refused;
    }
}

TEST(BackReferenceCost, WhatPeopleWritePasses) {
    constexpr char const* PATTERNS[] = {
        "^\\s*([-*_])(\\s*\\1){2,}\\s*$",
        "(\\w+)(\\s+\\1)+",
        "\\b(\\w+)(\\s+\\1\\b)+",
        "\\b([a-z]+) \\1\\b",
        "([0-9])\\1{5,}",
        "^(.)(.).?\\2\\1$",
        "([\"'])(.*)\\1",
        "([\"'])(\\\\.|[^\\\\])*\\1",
        "<([a-z][a-z0-9]*)[^>]*>(.*)</\\1>",
        "^(.*)\\n\\1$",
        "(([a-z])\\2)+",
        "^([0-9a-f]{2})([:-])([0-9a-f]{2}\\2){4}[0-9a-f]{2}$",
        "(^|[^0-9])([0-9]{4})-\\2([^0-9]|$)",
        "^([^,]*,)\\1+",
        "^(#{1,6}).*\\1$",
        "('|\")[a-z]+\\1: *('|\")[^'\"]*\\2",
        "^.*([0-9])\\1{3}.*$",
        "user=([a-z]+).*owner=\\1",
        "^\\[([a-z]+)\\].*\\[/\\1\\]$",
    };
    for (char const* const pattern : PATTERNS) {
        EXPECT_EQ(nameOf(hazardOf(pattern)), "NONE") << pattern;
    }
}

}  // namespace
