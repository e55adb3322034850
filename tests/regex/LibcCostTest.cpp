#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

#include <pthread.h>
#include <regex.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <fstream>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "Random.hpp"
#include "Repeat.hpp"
#include "Sanitized.hpp"
#include "WithLocale.hpp"
#include "regex/LibcExpression.hpp"
#include "regex/pattern/LibcCost.hpp"

namespace ZEBNS2 {

std::ostream& operator<<(std::ostream& stream, PatternHazard hazard) {
    return stream << PATTERN_HAZARD_NAMES[static_cast<int>(hazard)];
}

}  // namespace ZEBNS2

namespace {

using zeb::test::repeat;
using zeb::test::SANITIZED;
using ZEBNS2::BadRegexException;
using ZEBNS2::LibcLimits;
using ZEBNS2::LibcNeeds;
using ZEBNS2::PatternHazard;
using ZEBNS2::PatternSyntax;
using ZEBNS2::RE;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;

constexpr bool EXTENDED = true;
constexpr bool BASIC = false;

int flagsOf(bool extended) { return extended ? REG_EXTENDED : 0; }

PatternHazard patternHazard(char const* pattern, bool extended, LibcNeeds* needs = nullptr) {
    return ZEBNS2::patternHazard(pattern, extended ? PatternSyntax::EXTENDED : PatternSyntax::BASIC,
                                 needs);
}

/// `pattern`, written in extended syntax, in the syntax wanted: its operators ( ) { } | + ? get
/// their backslashes. For patterns that use these characters as operators only.
std::string in(bool extended, std::string_view pattern) {
    std::string text;
    for (char const byte : pattern) {
        if (!extended && std::string_view("(){}|+?").find(byte) != std::string_view::npos) {
            text += '\\';
        }
        text += byte;
    }
    return text;
}

std::string libcError(int code) {
    std::array<char, 1024> text{};
    ::regerror(code, nullptr, text.data(), text.size());
    return text.data();
}

// ---- a process that may die

constexpr std::size_t SMALL_STACK = 256 * 1024;

/// Whether the pattern compiles as the library lets libc compile it, and libc matches a few texts,
/// in a thread with a small stack and with little memory. The process does not report its time, but
/// it is ended after a minute of processor time.
struct Trial {
    std::string pattern;
    bool extended;

    static void* run(void* argument) {
        auto const& trial = *static_cast<Trial const*>(argument);
        regex_t compiled;
        LibcNeeds needs;
        if (ZEBNS2::compileExpression(compiled, trial.pattern.c_str(), flagsOf(trial.extended),
                                      needs) != 0) {
            ::_exit(2);
        }
        std::vector<regmatch_t> slots(compiled.re_nsub + 1);
        for (char const* text : {"", "a", "b", "aaaaaaaaaaaaaaaab", "x a$"}) {
            ::regexec(&compiled, text, slots.size(), slots.data(), 0);
            ::regexec(&compiled, text, 1, slots.data(), 0);
        }
        ::regfree(&compiled);
        return nullptr;
    }

    [[noreturn]] void runAndExit() const {
        rlimit const minute{60, 60};
        ::setrlimit(RLIMIT_CPU, &minute);
        if (!SANITIZED) {
            rlimit const memory{512 * 1024 * 1024, 512 * 1024 * 1024};
            ::setrlimit(RLIMIT_AS, &memory);
        }
        pthread_attr_t attributes;
        ::pthread_attr_init(&attributes);
        ::pthread_attr_setstacksize(&attributes, SMALL_STACK);
        pthread_t thread;
        if (::pthread_create(&thread, &attributes, run, const_cast<Trial*>(this)) != 0) {
            ::_exit(3);
        }
        ::pthread_join(thread, nullptr);
        ::_exit(0);
    }

    bool survived() const {
        pid_t const child = ::fork();
        if (child == 0) {
            runAndExit();
        }
        int status = -1;
        return ::waitpid(child, &status, 0) == child && status == 0;
    }
};

// ---- the collections of patterns

struct Pattern {
    bool extended;
    std::string text;
};

std::vector<Pattern> readPatterns(std::string const& name) {
    std::ifstream file(std::string(ZEB_PATTERNS) + "/" + name);
    std::vector<Pattern> patterns;
    for (std::string line; std::getline(file, line);) {
        if (line.size() > 2 && line[1] == ' ' && (line[0] == 'E' || line[0] == 'B')) {
            patterns.push_back({line[0] == 'E', line.substr(2)});
        }
    }
    return patterns;
}

TEST(LibcCost, RealLifePatternsPassAndCompile) {
    std::vector<Pattern> const patterns = readPatterns("real-life.txt");
    EXPECT_GE(patterns.size(), 900u);
    for (Pattern const& pattern : patterns) {
        SCOPED_TRACE(pattern.text);
        EXPECT_EQ(patternHazard(pattern.text.c_str(), pattern.extended), PatternHazard::NONE);
        EXPECT_NO_THROW(RegularExpression(pattern.text, pattern.extended
                                                            ? RegularExpression::EXTENDED_SYNTAX
                                                            : RegularExpression::BASIC_SYNTAX));
    }
}

TEST(LibcCost, PatternsThatLibcDoesNotSurviveAreRefused) {
    std::vector<Pattern> const patterns = readPatterns("refused.txt");
    EXPECT_GE(patterns.size(), 50u);
    for (Pattern const& pattern : patterns) {
        EXPECT_NE(patternHazard(pattern.text.c_str(), pattern.extended), PatternHazard::NONE)
            << pattern.text;
    }
}

TEST(LibcCost, LongHazardsAreRefusedInBothSyntaxes) {
    struct Row {
        std::string pattern;  // in extended syntax
        PatternHazard hazard;
    };
    Row const rows[] = {
        {repeat("(", 12568) + "a" + repeat(")", 12568), PatternHazard::NESTING},
        {repeat("(", 385) + "a", PatternHazard::NESTING},  // not closed, but still read
        {repeat("(a*)", 1521), PatternHazard::EPSILON_DEPTH},
        {repeat("()", 1300), PatternHazard::EPSILON_DEPTH},
        {repeat("a?", 3000), PatternHazard::EPSILON_DEPTH},
        {repeat("a*", 3000), PatternHazard::EPSILON_DEPTH},
        {"a" + repeat("+", 20), PatternHazard::NODES},
        {repeat("(", 16) + "a" + repeat(")+", 16), PatternHazard::NODES},
        {"a" + repeat("*", 4000), PatternHazard::LOOP_CLOSURES},
        {"a{0,32767}", PatternHazard::EPSILON_DEPTH},
        {"(a{1000}){1000}", PatternHazard::NODES},
        {repeat("(", 24) + "a" + repeat("{2})", 24), PatternHazard::NODES},
        {repeat("\\b", 60), PatternHazard::ANCHOR_CLOSURES},
        {repeat("\\<", 500), PatternHazard::ANCHOR_CLOSURES},
        {repeat("(a{32767}){0}", 4000), PatternHazard::NODES},  // libc keeps what it drops
        {repeat("a|", 5000) + "a", PatternHazard::EPSILON_DEPTH},
        {"(" + repeat("a|", 3000) + "a)", PatternHazard::EPSILON_DEPTH},
        {"(a)" + repeat("\\1", 5000), PatternHazard::BACK_REFERENCES},
        {std::string(10'000'000, 'a'), PatternHazard::LENGTH},
    };
    for (Row const& row : rows) {
        for (bool const extended : {EXTENDED, BASIC}) {
            std::string const pattern = in(extended, row.pattern);
            SCOPED_TRACE(pattern.substr(0, 60));
            PatternHazard const hazard = patternHazard(pattern.c_str(), extended);
            EXPECT_TRUE(hazard == row.hazard || (!extended && hazard == PatternHazard::LENGTH))
                << hazard;
        }
    }
    EXPECT_EQ(patternHazard(repeat("$", 65000).c_str(), BASIC), PatternHazard::DOLLARS);
}

// ---- each bound, and one beyond

struct Bound {
    char const* name;
    PatternHazard hazard;
    std::string (*pattern)(std::size_t);  ///< in extended syntax
    std::size_t last;                     ///< the largest argument that passes
};

void PrintTo(Bound const& bound, std::ostream* stream) { *stream << bound.name; }

class PatternBound : public testing::TestWithParam<Bound> {};

TEST_P(PatternBound, LastPassesAndSurvivesNextIsRefused) {
    Bound const& bound = GetParam();
    for (bool const extended : {EXTENDED, BASIC}) {
        SCOPED_TRACE(extended ? "extended" : "basic");
        std::string const last = in(extended, bound.pattern(bound.last));
        EXPECT_EQ(patternHazard(last.c_str(), extended), PatternHazard::NONE);
        EXPECT_TRUE((Trial{last, extended}.survived()));
        std::string const next = in(extended, bound.pattern(bound.last + 1));
        EXPECT_EQ(patternHazard(next.c_str(), extended), bound.hazard);
    }
}

TEST(LibcCost, TellsWhetherASearchTakesStackForEachByte) {
    for (char const* pattern : {"(.)\\1+", "([a-z]+)( \\1)*", "x(.)\\1{3,}y"}) {
        LibcNeeds needs;
        EXPECT_EQ(patternHazard(pattern, EXTENDED, &needs), PatternHazard::NONE) << pattern;
        EXPECT_TRUE(needs.recurses) << pattern;
    }
    for (char const* pattern : {"(.)\\1", "(.)+\\1{0,4}", "a*"}) {
        LibcNeeds needs;
        EXPECT_EQ(patternHazard(pattern, EXTENDED, &needs), PatternHazard::NONE) << pattern;
        EXPECT_FALSE(needs.recurses) << pattern;
    }
}

std::string number(std::size_t n) { return std::to_string(n); }

INSTANTIATE_TEST_SUITE_P(
    LibcCost, PatternBound,
    testing::Values(
        Bound{"Length", PatternHazard::LENGTH,
              [](std::size_t n) { return "[" + std::string(n - 2, 'a') + "]"; },
              LibcLimits::MAX_LENGTH},
        Bound{"Nesting", PatternHazard::NESTING,
              [](std::size_t n) { return repeat("(", n) + "a" + repeat(")", n); },
              LibcLimits::MAX_NESTING},
        // One more node is the end of the pattern.
        Bound{"Nodes", PatternHazard::NODES, [](std::size_t n) { return std::string(n, 'a'); },
              LibcLimits::MAX_NODES - 1},
        // Groups have a node at each end.
        Bound{"NodesOfCopies", PatternHazard::NODES,
              [](std::size_t n) { return "(ab){" + number(n) + "}"; },
              LibcLimits::MAX_NODES / 4 - 1},
        // The chain ends with the step to the first character after it.
        Bound{"Chain", PatternHazard::EPSILON_DEPTH, [](std::size_t n) { return repeat("a*", n); },
              LibcLimits::MAX_EPSILON_DEPTH - 1},
        Bound{"ChainOfAlternatives", PatternHazard::EPSILON_DEPTH,
              [](std::size_t n) { return "(" + repeat("a|", n) + "b)"; },
              LibcLimits::MAX_EPSILON_DEPTH - 2},
        Bound{"ChainOfOptionalCopies", PatternHazard::EPSILON_DEPTH,
              [](std::size_t n) { return "(a{0," + number(n) + "})x"; },
              LibcLimits::MAX_EPSILON_DEPTH - 2},
        // The anchor's closure is copied as deep as it is computed.
        Bound{"ChainAfterAnAnchor", PatternHazard::EPSILON_DEPTH,
              [](std::size_t n) { return "^(" + repeat("a|", n) + "b)"; },
              LibcLimits::MAX_EPSILON_DEPTH - 3},
        Bound{"ChainWithABackReference", PatternHazard::EPSILON_DEPTH,
              [](std::size_t n) { return "(a)(" + repeat("a|", n) + "b)\\1"; },
              LibcLimits::MAX_EPSILON_DEPTH_OF_CALLER - 3},
        Bound{"Closures", PatternHazard::CLOSURES,
              [](std::size_t n) {
                  return repeat(repeat("a*", 1098) + "b", 6) + repeat("a*", 857) + repeat("c", n);
              },
              9585},  // each character after it makes the closures larger by 1
        Bound{"Circles", PatternHazard::LOOP_CLOSURES,
              [](std::size_t n) { return repeat("c", n) + repeat("a*", 300) + "(b*)*"; }, 7871},
        // Each \<x is 2, the anchor and the character; \<\<x is 5.
        Bound{"Anchored", PatternHazard::ANCHOR_CLOSURES,
              [](std::size_t n) {
                  return n % 2 == 0 ? repeat("\\<x", n / 2)
                                    : "\\<\\<x" + repeat("\\<x", (n - 5) / 2);
              },
              LibcLimits::MAX_ANCHOR_CLOSURES},
        // (43 branches * 3 combinations of constraints + 18 anchors) * 53 steps are 7,791 copies.
        Bound{"CopiesForAnchors", PatternHazard::ANCHOR_CLOSURES,
              [](std::size_t n) { return repeat("\\b", 9) + repeat("a?", n); }, 34},
        // Two constraints of \b and two of \B have 15 combinations.
        Bound{"CopiesForAnchorsOfFourKinds", PatternHazard::ANCHOR_CLOSURES,
              [](std::size_t n) { return repeat("\\b\\B", 5) + repeat("a?", n); }, 7},
        Bound{"CopiesForAnchorsOfFiveKinds", PatternHazard::ANCHOR_CLOSURES,
              [](std::size_t n) { return "^" + repeat("\\b\\B", 5) + repeat("a?", n); }, 0},
        Bound{"PathsFromAnchors", PatternHazard::ANCHOR_CLOSURES,
              [](std::size_t n) { return repeat("\\b", 13) + repeat("a?", n); }, 4},
        Bound{"BackReferences", PatternHazard::BACK_REFERENCES,
              [](std::size_t n) { return "(a)" + repeat("\\1x", n); },
              LibcLimits::MAX_BACK_REFERENCES},
        Bound{"BackReferencesOfCopies", PatternHazard::BACK_REFERENCES,
              [](std::size_t n) { return "(a)(\\1){" + number(n) + "}"; },
              LibcLimits::MAX_BACK_REFERENCES},
        Bound{"BackReferencesToTextsOfSeveralLengths", PatternHazard::BACK_REFERENCES,
              [](std::size_t n) { return "(a+)" + repeat("\\1?", n); },
              (LibcLimits::MAX_FREEDOM - 2) / 3},
        Bound{"BackReferencesToSeveralPlaces", PatternHazard::BACK_REFERENCES,
              [](std::size_t n) { return "a*(.)\\1{0," + number(n) + "}"; },
              (LibcLimits::MAX_FREEDOM - 2) / 3},
        Bound{"BackReferencesInARepeat", PatternHazard::BACK_REFERENCES,
              [](std::size_t n) { return "(x(.)\\2?){" + number(n) + "}"; },
              LibcLimits::MAX_BACK_REFERENCES}),
    [](testing::TestParamInfo<Bound> const& bound) { return std::string(bound.param.name); });

TEST(LibcCost, DollarsInARowAreBoundedInBasicSyntax) {
    std::size_t const most = LibcLimits::MAX_DOLLARS;
    std::string const last = std::string(most, '$') + "a";
    EXPECT_EQ(patternHazard(last.c_str(), BASIC), PatternHazard::NONE);
    EXPECT_TRUE((Trial{last, BASIC}.survived()));
    EXPECT_EQ(patternHazard(("$" + last).c_str(), BASIC), PatternHazard::DOLLARS);
    EXPECT_EQ(patternHazard(("$" + last).c_str(), EXTENDED), PatternHazard::NONE);
    EXPECT_EQ(patternHazard((last + last).c_str(), BASIC), PatternHazard::NONE) << "two rows";
}

TEST(LibcCost, LoopsAreRefusedOnlyInTheirBadCompany) {
    struct Row {
        char const* refused;  // in extended syntax
        PatternHazard hazard;
        char const* passing;
    };
    constexpr Row ROWS[] = {
        {"(a)(b\\1\\1)*", PatternHazard::BACK_REFERENCES_IN_STAR, "(a)(b\\1)*"},
        {"(a)(\\1?b)*", PatternHazard::BACK_REFERENCES_IN_STAR, "(a)(\\1b)*"},
        {"(a)((\\1|)b)*x", PatternHazard::BACK_REFERENCES_IN_STAR, "(a)(\\1b)*x"},
        {"(a)(b|\\1b)+", PatternHazard::BACK_REFERENCES_IN_STAR, "(a)(b\\1b)+"},
        {"(.+)\\1*", PatternHazard::BACK_REFERENCES_IN_STAR, "(..)\\1*"},
        {"(a|bb)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "(ab|bb)\\1+"},
        {".*(.)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "(.)\\1+.*"},
        {"a?((.)\\2+)", PatternHazard::BACK_REFERENCES_IN_STAR, "a((.)\\2+)"},
        {" *([ -])\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, " *([=-])\\1+"},
        {" *(.)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, " *x(.)\\1+"},
        {"x*.x*([yz])\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "x*yx{3}([yz])\\1+"},
        {"\xC5\xBF*(S)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "\xC5\xBF*(R)\\1+"},
        {"A*([a-c])\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "D*([a-c])\\1+"},
        {"[^a]*(b)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[^0]*(0)\\1+"},
        {"[^]0]*(1)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[^]0]*([]0])\\1+"},
        {"[+-]*(-)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[+-]*(,)\\1+"},
        {"[+--]*(,)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[+-,]*(-)\\1+"},
        {"[.0-]*(0)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[].-]*(0)\\1+"},
        {"[[=,=]]*(0)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[,]*(0)\\1+"},
        {"[[:punct:]]*(-)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[[:punct:]]*(0)\\1+"},
        {"[^[:punct:]]*(0)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[^[:punct:]]*(-)\\1+"},
        {"[[:space:]]*(\xC2\xA0)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR,
         "[[:digit:]]*(\xC2\xA0)\\1+"},
        {"[%-\xC2\xA0]*(0)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "[%-.]*(0)\\1+"},
        {"\\w*([0_])\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "\\W*([0_])\\1+"},
        {"\\S*([ 0])\\1+", PatternHazard::BACK_REFERENCES_IN_STAR, "\\s*([-0])\\1+"},
        {"(x*z)?(z)\\2+", PatternHazard::BACK_REFERENCES_IN_STAR, "(x*z)(z)\\2+"},
        {"(a*)(.)\\2*", PatternHazard::BACK_REFERENCES_IN_STAR, "(a*)(-)\\2*"},
        {"a?(b|(.)\\2+)", PatternHazard::BACK_REFERENCES_IN_STAR, "a(b?|(.)\\2+)"},
        {"(.){2}\\1*", PatternHazard::BACK_REFERENCES_IN_STAR, "(.){1}\\1*"},
        {"(.)?\\1*", PatternHazard::BACK_REFERENCES_IN_STAR, "(.)?\\1?"},
        {"((.))*\\2*", PatternHazard::BACK_REFERENCES_IN_STAR, "((.))\\2*"},
        {"(.)(..)\\1(.)(\\2|x)\\4*", PatternHazard::BACK_REFERENCES_IN_STAR,
         "(.)(..)\\1(.)(\\2|xx)\\4*"},
        {"(a+)(.)\\1(.)\\3*", PatternHazard::BACK_REFERENCES_IN_STAR, "(a)(.)\\1(.)\\3*"},
        {"(.+)(a?\\1)*", PatternHazard::BACK_REFERENCES_IN_STAR, "(a+)(,\\1)*"},
        {"(()a+\\2)*", PatternHazard::BACK_REFERENCES_IN_STAR, "((.)a\\2)*"},
        {"(\\b)(a\\1)*", PatternHazard::BACK_REFERENCES_IN_STAR, "(\\b.)(a\\1)*"},
        {"()(\\1?.){2,}", PatternHazard::BACK_REFERENCES_IN_STAR, "()(\\1?.){2,3}"},
        {"(a)(\\1)*", PatternHazard::BACK_REFERENCE_AND_NULLABLE_STAR, "(a)\\1*"},
        {"(a)(a?\\1)*", PatternHazard::BACK_REFERENCES_IN_STAR, "(a)(b?\\1)*"},
        {"(a)\\1*(b)\\2*", PatternHazard::BACK_REFERENCES_IN_STAR, "(a)\\1*(b)\\2{0,9}"},
        {"((a)\\2*)*", PatternHazard::BACK_REFERENCES_IN_STAR, "((a)\\2*)"},
        {"((a)\\2*){2}", PatternHazard::BACK_REFERENCES_IN_STAR, "((a)\\2*){1}"},
        {"(a)((b\\1){1,3})*", PatternHazard::BACK_REFERENCES_IN_STAR, "(a)((b\\1){1,2}){1,2}"},
        {"(^x|)+", PatternHazard::COPIED_ANCHOR_AND_NULLABLE_STAR, "(^|x)+"},
        {"(.)([a-z]*)*\\1", PatternHazard::BACK_REFERENCE_AND_NULLABLE_STAR, "(.)[a-z]*\\1"},
        {"(a)(a?)*\\1", PatternHazard::BACK_REFERENCE_AND_NULLABLE_STAR, "(a)(b?)*\\1"},
        {"(a)\\1(a*)*", PatternHazard::BACK_REFERENCE_AND_NULLABLE_STAR, "(a)\\1(x*)*"},
        {"(\\`|b*|)*$", PatternHazard::ANCHOR_IN_NULLABLE_STAR, "(\\`|b)*$"},
        {"(a|\\b|\\`)*", PatternHazard::ANCHOR_IN_NULLABLE_STAR, "(a|\\b)*"},
        {"(\\b)*(x*)*", PatternHazard::ANCHOR_IN_NULLABLE_STAR, "(\\b)*(x+)*"},
        {"((\\<,*)*)*", PatternHazard::ANCHOR_IN_NULLABLE_STAR, "((\\<|,)*b)*"},
        {"(a*|b|c*)*", PatternHazard::ENDLESS_STAR, "(a*|c*|b)*"},
        {"((a*|b)?)*", PatternHazard::ENDLESS_STAR, "((a*|b)?){0,9}"},
        {"(|(()|a))*", PatternHazard::ENDLESS_STAR, "(|a)*"},
        {"((a*|b)*c*)*", PatternHazard::ENDLESS_STAR, "((a*|b)*c)*"},
        {"(x?*\\<a){2}", PatternHazard::COPIED_ANCHOR_AND_NULLABLE_STAR, "(x*\\<a){2}"},
        {"(\\<a|x*)+", PatternHazard::COPIED_ANCHOR_AND_NULLABLE_STAR, "(\\<a|x*)*"},
        {"(a*)*(\\>b?){1,2}", PatternHazard::COPIED_ANCHOR_AND_NULLABLE_STAR, "(a*)*(\\>b?)"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.refused);
        // Basic syntax does not let repeats follow on one another.
        bool const repeatsTwice =
            std::string_view(row.refused).find("?*") != std::string_view::npos;
        for (bool const extended : {EXTENDED, BASIC}) {
            std::string const refused = in(extended, row.refused);
            EXPECT_EQ(patternHazard(refused.c_str(), extended), row.hazard) << refused;
            std::string const passing = in(extended, row.passing);
            EXPECT_EQ(patternHazard(passing.c_str(), extended), PatternHazard::NONE) << passing;
            EXPECT_TRUE((repeatsTwice && !extended) || (Trial{passing, extended}.survived()))
                << passing;
        }
    }
}

// ---- reading as libc reads

TEST(LibcCost, ReadsPatternsAsLibcDoes) {
    std::string const parentheses(200, '(');
    struct Row {
        bool extended;
        std::string pattern;
        PatternHazard hazard;
        bool compiles = true;
    };
    Row const rows[] = {
        {EXTENDED, parentheses, PatternHazard::NESTING},
        {BASIC, parentheses, PatternHazard::NONE},
        {BASIC, repeat("\\(", 200), PatternHazard::NESTING},
        {EXTENDED, repeat("\\(", 200), PatternHazard::NONE},
        {EXTENDED, repeat("\\\\(", 200), PatternHazard::NESTING},
        {EXTENDED, "[" + parentheses + "]", PatternHazard::NONE},
        {EXTENDED, "[]" + parentheses + "]", PatternHazard::NONE},
        {EXTENDED, "[^]" + parentheses + "]", PatternHazard::NONE},
        {EXTENDED, "[^" + parentheses + "]", PatternHazard::NONE},
        {EXTENDED, "[a]" + parentheses, PatternHazard::NESTING},
        {EXTENDED, "[\\]" + parentheses, PatternHazard::NESTING},  // no escapes in brackets
        {EXTENDED, "\\[" + parentheses, PatternHazard::NESTING},
        {EXTENDED, "[[:alpha:]" + parentheses + "]", PatternHazard::NONE},
        {EXTENDED, "[[.].]" + parentheses + "]", PatternHazard::NONE},
        {EXTENDED, "[[=]=]" + parentheses + "]", PatternHazard::NONE},
        {EXTENDED, "[[.].]]" + parentheses, PatternHazard::NESTING},
        {EXTENDED, "[[.a]" + parentheses, PatternHazard::NONE, false},  // not closed
        {EXTENDED, "[a" + parentheses, PatternHazard::NONE, false},
        {EXTENDED, "a\\", PatternHazard::NONE, false},
        {EXTENDED, "(a", PatternHazard::NONE, false},
        // A range or class that libc does not know may be any.
        {EXTENDED, "[9-0]*(a)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR},
        {EXTENDED, "[[:none:]]*(a)\\1+", PatternHazard::BACK_REFERENCES_IN_STAR},

        {EXTENDED, "a{0,3000}", PatternHazard::EPSILON_DEPTH},
        {EXTENDED, "a{,3000}", PatternHazard::EPSILON_DEPTH},
        {EXTENDED, "a{\\0\\,3\\0\\0\\0}", PatternHazard::EPSILON_DEPTH},  // a back-reference else
        {EXTENDED, "a{2\\0}", PatternHazard::NONE},
        {EXTENDED, "a{0,2000\\}", PatternHazard::NONE, false},
        {EXTENDED, "a\\{0,2000}", PatternHazard::NONE},
        {EXTENDED, "a{0,32768}", PatternHazard::NONE, false},
        {EXTENDED, "a{0,99999999999}", PatternHazard::NONE, false},
        {EXTENDED, "a{2000,0}", PatternHazard::NONE, false},
        {EXTENDED, "a{}", PatternHazard::NONE, false},
        {EXTENDED, "a{x", PatternHazard::NONE, false},
        {EXTENDED, "a{2000}", PatternHazard::NONE},
        {EXTENDED, "a*{3000}", PatternHazard::EPSILON_DEPTH},
        {EXTENDED, "(a*){0}{2000}", PatternHazard::NONE},  // nothing is left to repeat
        {BASIC, "a{0,2000}", PatternHazard::NONE},
        {BASIC, "a\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "a\\{0,2000}", PatternHazard::NONE, false},

        // An operator in a place where it is none is a character, which can be repeated.
        {EXTENDED, "){0,3000}", PatternHazard::EPSILON_DEPTH},
        {EXTENDED, "}{0,3000}", PatternHazard::EPSILON_DEPTH},
        {EXTENDED, "*a", PatternHazard::NONE, false},
        {EXTENDED, "a|+", PatternHazard::NONE, false},
        {EXTENDED, "(?a)", PatternHazard::NONE, false},
        {EXTENDED, "^*", PatternHazard::NONE, false},
        {EXTENDED, "{1}", PatternHazard::NONE, false},
        {EXTENDED, "\\b+", PatternHazard::NONE, false},
        {BASIC, "*\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "^*\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "\\(*\\{0,3000\\}\\)", PatternHazard::EPSILON_DEPTH},
        {BASIC, "a\\|*\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "\\b*\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "\\+\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "a^\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "^^\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "$\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "\\(a$\\)\\{0,3000\\}", PatternHazard::EPSILON_DEPTH},
        {BASIC, "^\\{1\\}", PatternHazard::NONE, false},
        {BASIC, "\\{1\\}", PatternHazard::NONE, false},
        {BASIC, "a\\)", PatternHazard::NONE, false},

        // Anchors, or characters that look like them.
        {EXTENDED, repeat("^", 200), PatternHazard::ANCHOR_CLOSURES},
        {EXTENDED, repeat("$", 200), PatternHazard::ANCHOR_CLOSURES},
        {EXTENDED, repeat("\\'", 200), PatternHazard::ANCHOR_CLOSURES},
        {EXTENDED, repeat("\\B", 20), PatternHazard::ANCHOR_CLOSURES},
        {BASIC, repeat("^", 200), PatternHazard::NONE},
        {BASIC, repeat("a^$b", 200), PatternHazard::NONE},
        {BASIC, repeat("\\(^\\)", 200), PatternHazard::ANCHOR_CLOSURES},
        {BASIC, repeat("\\($\\)", 200), PatternHazard::ANCHOR_CLOSURES},
        {BASIC, repeat("\\`", 200), PatternHazard::ANCHOR_CLOSURES},

        // A character of UTF-8 is repeated as a whole.
        {EXTENDED, "e{25000}", PatternHazard::NONE},
        {EXTENDED, "\xc3\xa9{25000}", PatternHazard::NODES},
        {EXTENDED, "\\\xc3\xa9{25000}", PatternHazard::NODES},
        {EXTENDED, "\xa9\xa9{25000}", PatternHazard::NONE},
        {EXTENDED, "\xc3", PatternHazard::NONE},
        {EXTENDED, "[a]{16666}", PatternHazard::NONE},  // three nodes in a UTF-8 locale
        {EXTENDED, "[a]{16667}", PatternHazard::NODES},
        {EXTENDED, "\\w{16667}", PatternHazard::NODES},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE((row.extended ? "extended: " : "basic: ") + row.pattern.substr(0, 60));
        EXPECT_EQ(patternHazard(row.pattern.c_str(), row.extended), row.hazard);
        if (row.hazard == PatternHazard::NONE) {
            regex_t compiled;
            bool const compiles =
                ::regcomp(&compiled, row.pattern.c_str(), flagsOf(row.extended)) == 0;
            EXPECT_EQ(compiles, row.compiles);
            if (compiles) {
                ::regfree(&compiled);
            }
        }
    }
}

// ---- characters of several bytes

TEST(LibcCost, MultibyteNodesAreBoundedWhereCharactersHaveSeveralBytes) {
    std::size_t const most = LibcLimits::MAX_MULTIBYTE_SETS / 2000 - 2000;
    std::string const last = repeat(".", 2000) + repeat("a", most);
    for (bool const extended : {EXTENDED, BASIC}) {
        zeb::test::WithLocale const locale("C.UTF-8");
        ASSERT_TRUE(locale.isKnown());
        EXPECT_EQ(patternHazard(last.c_str(), extended), PatternHazard::NONE);
        EXPECT_TRUE((Trial{last, extended}.survived()));
        EXPECT_EQ(patternHazard((last + "a").c_str(), extended), PatternHazard::MULTIBYTE_SETS);
    }
    EXPECT_EQ(patternHazard((last + "a").c_str(), EXTENDED), PatternHazard::NONE);
}

TEST(LibcCost, FindsWhatCouldBeACharacterOfSeveralBytes) {
    struct Row {
        bool extended;
        char const* pattern;
        PatternHazard inUTF8;
    };
    constexpr Row ROWS[] = {
        {EXTENDED, "[]a-z[+.-]{2000}a{5000}", PatternHazard::NONE},
        {EXTENDED, "\\.{2000}a{5000}", PatternHazard::NONE},
        {EXTENDED, ".{2000}a{5000}", PatternHazard::MULTIBYTE_SETS},
        {EXTENDED, "[^a]{2000}a{5000}", PatternHazard::MULTIBYTE_SETS},
        {EXTENDED, "[\xc3\xa9]{2000}a{5000}", PatternHazard::MULTIBYTE_SETS},
        {EXTENDED, "[a[:alpha:]]{2000}a{5000}", PatternHazard::MULTIBYTE_SETS},
        {EXTENDED, "[a[=e=]]{2000}a{5000}", PatternHazard::MULTIBYTE_SETS},
        {EXTENDED, "\\S{2000}a{5000}", PatternHazard::MULTIBYTE_SETS},
        {BASIC, "a\\{5000\\}\\w\\{2000\\}", PatternHazard::MULTIBYTE_SETS},
        // On 174 bytes, `/home/jos\u00e9/T\u00e9l\u00e9chargements` six times, libc takes 1 GB.
        {EXTENDED, "^(/[^/]{1,255}){1,16}$", PatternHazard::MULTIBYTE_SETS},
        // On 500 bytes of Russian words libc takes 90 MB.
        {EXTENDED, "^([^,]{0,255},){10}", PatternHazard::MULTIBYTE_SETS},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.pattern);
        EXPECT_EQ(patternHazard(row.pattern, row.extended), PatternHazard::NONE);
        EXPECT_TRUE((Trial{row.pattern, row.extended}.survived()));
        zeb::test::WithLocale const locale("C.UTF-8");
        ASSERT_TRUE(locale.isKnown());
        EXPECT_EQ(patternHazard(row.pattern, row.extended), row.inUTF8);
    }
}

// ---- what the callers see

TEST(LibcCost, RefusedPatternIsReportedAsExhaustedMemory) {
    std::string const pattern = "\\(a*\\)\\(\\1\\1\\)*";
    RegularExpression expression("a", RegularExpression::EXTENDED_SYNTAX);
    try {
        expression.replace(pattern, 7);
        FAIL() << "nothing thrown";
    } catch (RegularExpressionException const& error) {
        EXPECT_STREQ(
            error.getMessage(),
            ("Error creating regular expression: " + libcError(REG_ESPACE) +
             "  The faulty expression (basic|case insensitive|no newline) is: \"" + pattern + "\"")
                .c_str());
        EXPECT_STREQ(error.getFile(), "OrventoCommonRegex");
        EXPECT_EQ(error.getLine(), 136);
        EXPECT_EQ(error.getSubclassCode(), -1);
        EXPECT_EQ(error.getErrorCode(), -1);
        EXPECT_EQ(error.getChained(), nullptr);
    }
    EXPECT_EQ(std::string_view(expression.getPattern()), pattern);
    EXPECT_FALSE(expression.matches("a"));
    EXPECT_FALSE(expression.matches(""));
    expression.replace("a", 0);
    EXPECT_TRUE(expression.matches("a"));
}

TEST(LibcCost, RefusedPatternOfRE) {
    try {
        RE const expression("(|)(\\1\\1)*", REG_ICASE);
        FAIL() << "nothing thrown";
    } catch (BadRegexException const& error) {
        EXPECT_STREQ(error.getMessage(), libcError(REG_ESPACE).c_str());
        EXPECT_STREQ(error.getFile(), "RE");
        EXPECT_EQ(error.getLine(), 24);
        EXPECT_EQ(error.getSubclassCode(), REG_ESPACE);
        EXPECT_EQ(error.getErrorCode(), -1);
        EXPECT_EQ(error.getChained(), nullptr);
    }
}

TEST(LibcCost, PatternBehindANulIsNotRead) {
    std::string pattern = "a";
    pattern += '\0';
    pattern.append(200, '(');
    EXPECT_TRUE(RegularExpression(pattern, 0).matches("a"));
}

std::string outcomeOfLibc(std::string const& pattern, int flags) {
    regex_t compiled;
    int const error = ::regcomp(&compiled, pattern.c_str(), flags);
    if (error != 0) {
        return libcError(error);
    }
    ::regfree(&compiled);
    return "compiles";
}

std::string outcome(std::string const& pattern, RegularExpression::CompilationOptions options) {
    try {
        RegularExpression const expression(pattern, options);
        return "compiles";
    } catch (RegularExpressionException const& error) {
        // "...: reason  The faulty expression ..."
        std::string_view const message = error.getMessage();
        std::size_t const start = message.find(": ") + 2;
        return std::string(message.substr(start, message.find("  The faulty") - start));
    }
}

TEST(LibcCost, PassingPatternsCompileOrFailAsWithLibcAlone) {
    static constexpr std::string_view TOKENS[] = {
        "a", "b", ".",   "[a-c]", "[^]b]", "[[:alpha:]]", "[",   "]",     "\\w",      "\\1",
        "(", ")", "(",   ")",     "\\(",   "\\)",         "\\(", "\\)",   "|",        "\\|",
        "*", "+", "?",   "\\+",   "\\?",   "{2}",         "{",   "{1,3}", "}",        "\\{2\\}",
        "^", "$", "\\b", "\\<",   "\\",    "\\{,2\\}",    "{,}", "{0}",   "\xc3\xa9", "[[.-.]-z]"};
    zeb::test::Random random(20240611);
    int passed = 0;
    int compiling = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string pattern;
        for (std::size_t count = random.between(1, 12); count > 0; --count) {
            pattern += random.pick(TOKENS);
        }
        bool const extended = random.oneIn(2);
        bool const anyCase = random.oneIn(4);
        bool const refused = patternHazard(pattern.c_str(), extended) != PatternHazard::NONE;
        std::string const expected =
            refused ? libcError(REG_ESPACE)
                    : outcomeOfLibc(pattern, flagsOf(extended) | (anyCase ? REG_ICASE : 0));
        ASSERT_EQ(outcome(pattern, (extended ? 0 : RegularExpression::BASIC_SYNTAX) |
                                       (anyCase ? RegularExpression::CASE_INSENSITIVE : 0)),
                  expected)
            << (extended ? "extended: " : "basic: ") << pattern;
        passed += refused ? 0 : 1;
        compiling += expected == "compiles" ? 1 : 0;
    }
    EXPECT_GT(passed, 18000);
    EXPECT_GT(compiling, 3000);
}

}  // namespace
