#include "regex/matcher/Matcher.hpp"

#include <gtest/gtest.h>
#include <regex.h>

#include <cstddef>
#include <string>
#include <vector>

#include "MatcherOracle.hpp"
#include "WithLocale.hpp"

namespace {

using zeb::test::MatcherOracle;
using zeb::test::WithLocale;
using ZEBNS2::Matcher;
using Answer = Matcher::Answer;

using Slots = std::vector<regmatch_t>;

Slots search(Matcher const& matcher, std::string const& subject, std::size_t slotCount,
             Answer expected = Answer::MATCH, int flags = 0) {
    Slots slots(slotCount, regmatch_t{-1, -1});
    EXPECT_EQ(matcher.search(subject, slots.data(), slotCount, flags), expected) << subject;
    return slots;
}

std::string text(Slots const& slots) {
    std::string text;
    for (regmatch_t const& slot : slots) {
        text += '(' + std::to_string(slot.rm_so) + ',' + std::to_string(slot.rm_eo) + ')';
    }
    return text;
}

struct Row {
    char const* pattern;
    char const* subject;
    char const* slots;  ///< the whole match and three groups
};

TEST(MatcherSearch, FindsTheLeftmostLongestMatchAndItsGroups) {
    constexpr Row ROWS[] = {
        {"([a-z]+)=([0-9]+)", "x y ab=12", "(4,9)(4,6)(7,9)(-1,-1)"},
        {"abcd|bc|bcdef", "abcdef", "(0,4)(-1,-1)(-1,-1)(-1,-1)"},  // leftmost before longest
        {"a|ab|abc", "xabcd", "(1,4)(-1,-1)(-1,-1)(-1,-1)"},
        {"((a)|(b))*", "ab", "(0,2)(1,2)(0,1)(1,2)"},  // of the last round, and of the one before
        {"(a|ab)(c|bcd)(d*)", "abcd", "(0,4)(0,1)(1,4)(4,4)"},
        {"^(.*): ([^:]*)$", "a: b: c", "(0,7)(0,4)(6,7)(-1,-1)"},
        {"^(.*)=(.*)$", "a=b=c", "(0,5)(0,3)(4,5)(-1,-1)"},  // ambiguous: the first takes most
        {"(a*)(a*)b", "aab", "(0,3)(0,2)(2,2)(-1,-1)"},
        {"(a){0,2}(a)", "aa", "(0,2)(0,1)(1,2)(-1,-1)"},
        {"(|a)b", "ab", "(0,2)(0,1)(-1,-1)(-1,-1)"},  // an empty alternative comes last
        {"x*", "aax", "(0,0)(-1,-1)(-1,-1)(-1,-1)"},
        {" *$", "a  b   ", "(4,7)(-1,-1)(-1,-1)(-1,-1)"},
        {"(^| )b", "ab b", "(2,4)(2,3)(-1,-1)(-1,-1)"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(std::string(row.pattern) + " on " + row.subject);
        auto const matcher = Matcher::of(row.pattern, REG_EXTENDED);
        ASSERT_NE(matcher, nullptr);
        EXPECT_EQ(text(search(*matcher, row.subject, 4)), row.slots);
        MatcherOracle const oracle(row.pattern, REG_EXTENDED);
        EXPECT_EQ(oracle.difference(*matcher, row.subject, oracle.slots(), 0), "");
    }
}

TEST(MatcherSearch, LeavesToLibcWhatItCannotProve) {
    constexpr char const* PATTERNS[] = {
        "(a)\\1",  // a back-reference
        "\\bfoo",
        "\\<foo",
        "foo\\'",
        "a^b",
        "a$b",  // anchors inside
        "(^x|y)*",
        "(a$)?",                                 // in repeats
        "b((ab|[^a]a)c|a(^c*)|c+)+(c+ab)|c?cb",  // its span depends on the number of slots
        ".{0,2000}x",                            // too many positions
        "[ab]*a[ab]{12}x",                       // too many states
    };
    for (char const* pattern : PATTERNS) {
        EXPECT_EQ(Matcher::of(pattern, REG_EXTENDED), nullptr) << pattern;
    }
}

TEST(MatcherSearch, LeavesEscapedCharactersOfSeveralBytesToLibcWhereCaseIsFolded) {
    // glibc reads a backslash and a long s as \S, which matches "a".
    for (char const* const locale : {"C", "C.UTF-8"}) {
        WithLocale const with(locale);
        EXPECT_EQ(Matcher::of("\\\xC5\xBF", REG_EXTENDED | REG_ICASE), nullptr) << locale;
        EXPECT_EQ(Matcher::of("x\\\xE9\xB5", REG_ICASE), nullptr) << locale;
        EXPECT_NE(Matcher::of("\\\xC5\xBF", REG_EXTENDED), nullptr) << locale;
    }
}

TEST(MatcherSearch, LeavesGroupsToLibcWhereEmptyTextsHaveSeveralWays) {
    constexpr char const* PATTERNS[] = {"()*a",   "(a*)*b", "(a*|b)*c",
                                        "(a?)?b", "(|a|)c", "(([abc])+[^a]b$|c[b-c]b)"};
    for (char const* pattern : PATTERNS) {
        SCOPED_TRACE(pattern);
        auto const matcher = Matcher::of(pattern, REG_EXTENDED);
        ASSERT_NE(matcher, nullptr);
        EXPECT_FALSE(matcher->hasGroups());
        EXPECT_EQ(search(*matcher, "xaabcbb", 2, Answer::ASK_GROUPS)[0].rm_so,
                  search(*matcher, "xaabcbb", 1)[0].rm_so);
        search(*matcher, "x", 2, Answer::NO_MATCH);
    }
}

TEST(MatcherSearch, UnambiguousPatternsNeedNoOrder) {
    auto const unambiguous = [](char const* pattern) {
        auto const matcher = Matcher::of(pattern, REG_EXTENDED);
        return matcher != nullptr && matcher->isUnambiguous();
    };
    EXPECT_TRUE(unambiguous("([a-z]+)=([0-9]+)"));
    EXPECT_TRUE(unambiguous("^(.*): ([^:]*)$"));  // the last colon decides
    EXPECT_TRUE(unambiguous("^([^ ]+) ([^ ]+) (.*)$"));
    EXPECT_FALSE(unambiguous("^(.*)=(.*)$"));
    EXPECT_FALSE(unambiguous("(a|a)b"));
}

TEST(MatcherSearch, LineAnchorsFollowTheFlags) {
    auto const plain = Matcher::of("^a|b$", REG_EXTENDED);
    auto const lines = Matcher::of("^a|b$", REG_EXTENDED | REG_NEWLINE);
    ASSERT_TRUE(plain && lines);
    EXPECT_EQ(text(search(*plain, "a", 1)), "(0,1)");
    search(*plain, "a", 1, Answer::NO_MATCH, REG_NOTBOL);
    search(*plain, "b\na", 1, Answer::NO_MATCH);
    EXPECT_EQ(text(search(*lines, "b\na", 1)), "(0,1)");
    EXPECT_EQ(text(search(*lines, "x\na", 1, Answer::MATCH, REG_NOTBOL)), "(2,3)");
    auto const empty = Matcher::of("^$", REG_EXTENDED | REG_NEWLINE);
    EXPECT_EQ(text(search(*empty, "a\n\nb", 1)), "(2,2)");
    EXPECT_EQ(text(search(*empty, "a\n", 1)), "(2,2)");
    search(*empty, "a\nb", 1, Answer::NO_MATCH);
}

TEST(MatcherSearch, UTF8OutsideASCIIIsLibcsWhereItCouldBeTaken) {
    WithLocale const locale("C.UTF-8");
    ASSERT_TRUE(locale.isKnown());
    auto const narrow = Matcher::of("([a-z]+)=", REG_EXTENDED);
    auto const wide = Matcher::of("x(.+)=", REG_EXTENDED);
    auto const folding = Matcher::of("([a-z]+)=", REG_EXTENDED | REG_ICASE);
    ASSERT_TRUE(narrow && wide && folding);
    EXPECT_EQ(text(search(*narrow, "é ab=", 2)), "(3,6)(3,5)");  // nothing can take the é
    EXPECT_EQ(text(search(*wide, "é xb=", 2)), "(3,6)(4,5)");
    search(*wide, "xé=", 2, Answer::ASK_LIBC);
    search(*folding, "é AB=", 2, Answer::ASK_LIBC);  // where case is folded, never
    EXPECT_EQ(text(search(*folding, "x AB=", 2)), "(2,5)(2,4)");
}

TEST(MatcherSearch, TakesOtherBytesInTheLocaleOfC) {
    auto const matcher = Matcher::of("<(.+)>", REG_EXTENDED);
    MatcherOracle const oracle("<(.+)>", REG_EXTENDED);
    for (char const* subject : {"<é>", "<\x80>", "<>\xFF>"}) {
        EXPECT_EQ(oracle.difference(*matcher, subject, 2, 0), "") << subject;
    }
}

/// Patterns with which libc needs time in proportion to the square of a subject without a match.
constexpr char const* SLOW[] = {
    "[a-z]+=",          "[a-z]+[0-9]",      "(x+x+)+y",          "(a|aa)+$b?c",   "a.*b.*c.*d",
    "a[^b]*b[^c]*c",    "(aa)*[bc]",        "(ab|a)*[cd]",       "([a-z]+ )*x?1", "a*a*a*[bc]",
    "[a-z][a-z]*[0-9]", "([^ ]+ )+[0-9]",   "(a+)+[0-9]",        "[a-y]*[^a-z]x", "(a[ab]*)+c",
    "a(ba)*[cd]",       "(.a)*[^a]..[bcd]", "[ab]*a[ab]{3}[cd]", "b(a|ba)*[xy]",  "(ab*)+[cd]",
};

TEST(MatcherSearch, FailsInLinearTime) {
    // With the square of this length it would take hours.
    constexpr std::size_t LENGTH = 1000000;
    for (char const* pattern : SLOW) {
        SCOPED_TRACE(pattern);
        auto const matcher = Matcher::of(pattern, REG_EXTENDED);
        if (matcher == nullptr) {
            continue;
        }
        std::string alternating;
        while (alternating.size() < LENGTH) {
            alternating += "ab";
        }
        for (std::string const& subject : {std::string(LENGTH, 'a'), alternating}) {
            Slots slots(1);
            EXPECT_NE(matcher->search(subject, slots.data(), 1, 0), Answer::ASK_LIBC);
        }
    }
}

TEST(MatcherSearch, FindsAfterManyFailedStartsWhatLibcFinds) {
    for (char const* pattern : SLOW) {
        auto const matcher = Matcher::of(pattern, REG_EXTENDED);
        if (matcher == nullptr) {
            continue;
        }
        MatcherOracle const oracle(pattern, REG_EXTENDED);
        for (char const* piece : {"a", "ab", "aab", "abb", "a b", "xa"}) {
            std::string subject;
            while (subject.size() < 1500) {
                subject += piece;
            }
            for (char const* end : {"", "c", "d", "=", "1", "y", "b", "ab", "aax"}) {
                EXPECT_EQ(oracle.difference(*matcher, subject + end, oracle.slots(), 0), "")
                    << pattern << " on many " << piece << " and " << end;
            }
        }
    }
}

TEST(MatcherSearch, FindsBytesAtEveryDistanceFromVectors) {
    for (char const* pattern :
         {"[0-9]", "x", "[xy1]", "[^a]", "([^ ]+) ([^ ]+)", "^.*$", "[^a-c]+1"}) {
        auto const matcher = Matcher::of(pattern, REG_EXTENDED);
        ASSERT_NE(matcher, nullptr) << pattern;
        MatcherOracle const oracle(pattern, REG_EXTENDED);
        for (std::size_t length = 0; length < 70; ++length) {
            for (std::size_t at = 0; at <= length; ++at) {
                std::string const subject =
                    std::string(at, 'a') + " x1" + std::string(length - at, 'a');
                ASSERT_EQ(oracle.difference(*matcher, subject, oracle.slots(), 0), "")
                    << pattern << " on " << subject;
            }
        }
    }
}

struct StartRow {
    char const* pattern;
    char const* literal;
    char const* subject;
    std::size_t start;  ///< of the search
};

/// The first start by the first occurrence of the literal.
std::size_t firstStart(StartRow const& row) {
    auto const matcher = Matcher::of(row.pattern, REG_EXTENDED, row.literal);
    std::string const subject = row.subject;
    return matcher->firstStart(subject, subject.find(row.literal));
}

TEST(MatcherSearch, BeginsAfterWhatNoMatchReadsBeforeItsLiteral) {
    constexpr StartRow ROWS[] = {
        {"([a-z]+)=([0-9]+)", "=", "Mar 14 id=5", 7},
        {"([a-z]+)=(.*)", "=", "Mar 14 id=5", 7},  // what follows the literal does not count
        {"^([a-z]+)=", "=", "Mar 14 id=5", 7},     // although only 0 would do
        {"(.*)=([a-z]+)", "=", "Mar 14 id=5", 0},
        {"[^ ]+:x", ":x", "a b:c:x", 2},
        {"[^ ]+: x", ": x", "a b: x", 0},  // a blank that may begin the literal is counted
        {"x[0-9]+", "x", "aaax", 3},
        {"ab(c|d)", "ab", "aabc", 0},  // so is this a
        {"ab(c|d)", "ab", "b ab", 2},
        {"([a-c]x)?aab[0-9]", "aab", ".xxaab0", 1},
        {"([0-9]aba)+c", "abac", "x1aba1abac", 1},  // the first round contains no literal
        {"(aa=)*b", "b", "c=aab", 1},
        {"a*ab(.*)", "ab", ".aab", 1},       // its beginning is read more than once
        {"acbcxabc", "abc", "acbcxabc", 0},  // and with other bytes in between
        {"aaxab", "ab", "aaxab", 0},
        {"[a-z]*\\[0-9]", "\\", "a1b\\", 2},
        {"a$", "a", "a a a", 0},
        {"[[:alpha:]]+=", "=", "=", 0},
    };
    for (StartRow const& row : ROWS) {
        EXPECT_EQ(firstStart(row), row.start) << row.pattern << " on " << row.subject;
    }
    auto const unknown = Matcher::of("x[0-9]+", REG_EXTENDED);  // without a literal
    EXPECT_EQ(unknown->firstStart("aaax", 3), 0U);
}

TEST(MatcherSearch, BeginsNoLaterThanCharactersOfSeveralBytesThatLibcMayTake) {
    WithLocale const locale("C.UTF-8");
    ASSERT_TRUE(locale.isKnown());
    EXPECT_EQ(firstStart({"[^ ]+=x", "=x", "aé bé=x", 4}), 4U);
    EXPECT_EQ(firstStart({"[a-z]+=x", "=x", "aé bé=x", 6}), 7U);
    EXPECT_EQ(firstStart({"(é|a)+=x", "=x", "b éa=x", 2}), 2U);
    auto const matcher = Matcher::of("[^ ]+=x", REG_EXTENDED, "=x");
    ASSERT_NE(matcher, nullptr);
    Slots slots(1);
    EXPECT_EQ(matcher->search("é b=x", slots.data(), 1, 0, 4), Answer::MATCH);
    EXPECT_EQ(text(slots), "(3,6)");
}

TEST(MatcherSearch, FindsTheFirstStartAtEveryDistanceFromVectors) {
    for (char const* set : {"[a]", "[ab]", "[a-bd-eg-hj-k]", "[acegikmo]", "[^ ]"}) {
        auto const matcher = Matcher::of(set + std::string("+="), REG_EXTENDED, "=");
        ASSERT_NE(matcher, nullptr) << set;
        for (std::size_t length = 0; length < 70; ++length) {
            for (std::size_t start = 0; start <= length; ++start) {
                std::string subject(length, 'a');
                if (start > 0) {
                    subject[start - 1] = ' ';
                }
                subject[start / 2] = start > 3 ? ' ' : subject[start / 2];
                ASSERT_EQ(matcher->firstStart(subject + "=a", length), start) << set << subject;
            }
        }
    }
}

TEST(MatcherSearch, BeginsAnywhereWhenTheBytesBeforeTheLiteralTakeTooLong) {
    std::string const literal = std::string(31, 'a') + '=';
    for (int const count : {20, 60}) {
        std::string pattern;
        for (int i = 0; i < count; ++i) {
            pattern += "[a-c]?";
        }
        auto const matcher = Matcher::of(pattern + literal, REG_EXTENDED, literal);
        ASSERT_NE(matcher, nullptr);
        EXPECT_EQ(matcher->firstStart("  b" + literal, 3), count == 20 ? 2U : 0U);
    }
}

TEST(MatcherSearch, MatchOfManyStatesLeavesItsGroupsToLibc) {
    auto const matcher = Matcher::of("((ab)+)c", REG_EXTENDED);
    std::string subject;
    for (int i = 0; i < 2000; ++i) {
        subject += "ab";
    }
    subject += 'c';
    EXPECT_EQ(text(search(*matcher, subject, 1)), "(0,4001)");
    search(*matcher, subject, 3, Answer::ASK_GROUPS);
    EXPECT_EQ(text(search(*matcher, "ababc", 3)), "(0,5)(0,4)(2,4)");
}

TEST(MatcherSearch, FewerSlotsThanGroupsAreFilled) {
    for (char const* pattern : {"(a)(b)(c)", "(a*)(a*)(b*)"}) {
        auto const matcher = Matcher::of(pattern, REG_EXTENDED);
        MatcherOracle const oracle(pattern, REG_EXTENDED);
        for (std::size_t slots = 1; slots < 7; ++slots) {
            EXPECT_EQ(oracle.difference(*matcher, "xabcaabb", slots, 0), "") << pattern << slots;
        }
    }
}

}  // namespace
