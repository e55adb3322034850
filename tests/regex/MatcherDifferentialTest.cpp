// The matcher's answers are libc's: random patterns and realistic ones, on random subjects. With
//     regex_matcher_test --gtest_filter='*Random*' --gtest_shuffle --gtest_repeat=1000
// each round draws other cases.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "MatcherOracle.hpp"
#include "Random.hpp"
#include "RandomPatterns.hpp"
#include "Sanitized.hpp"
#include "WithLocale.hpp"
#include "regex/matcher/Matcher.hpp"
#include "regex/pattern/LibcCost.hpp"

namespace {

using zeb::test::MatcherOracle;
using zeb::test::Random;
using zeb::test::RandomPatterns;
using zeb::test::requiredLiteral;
using zeb::test::SANITIZED;
using zeb::test::WithLocale;
using ZEBNS2::Matcher;
using ZEBNS2::RequiredLiteral;

bool isHarmless(std::string const& pattern, int flags) {
    auto const syntax = (flags & REG_EXTENDED) != 0 ? ZEBNS2::PatternSyntax::EXTENDED
                                                    : ZEBNS2::PatternSyntax::BASIC;
    return ZEBNS2::patternHazard(pattern.c_str(), syntax) == ZEBNS2::PatternHazard::NONE;
}

/// Where the literal begins in a subject; every second time 0, as if nobody had searched it.
std::size_t literalAt(RequiredLiteral const& literal, std::string const& subject, int round) {
    std::size_t const at = round % 2 == 0 ? 0 : literal.find(subject);
    return at == std::string::npos ? 0 : at;
}

class MatcherLikeLibc : public testing::TestWithParam<char const*> {
protected:
    WithLocale locale_{GetParam()};
    /// Another one in each round that is shuffled.
    std::uint32_t seed_ =
        static_cast<std::uint32_t>(20260901 + testing::UnitTest::GetInstance()->random_seed());
};

TEST_P(MatcherLikeLibc, OnRandomPatterns) {
    ASSERT_TRUE(locale_.isKnown());
    Random random(seed_);
    RandomPatterns draw(random);
    constexpr int PATTERNS = SANITIZED ? 500 : 4500;
    constexpr int SUBJECTS = 16;
    int served = 0;
    int withGroups = 0;
    int startedLate = 0;
    for (int i = 0; i < PATTERNS && !HasFailure(); ++i) {
        int flags = 0;
        std::string const pattern = draw.pattern(flags);
        if (!isHarmless(pattern, flags)) {
            continue;
        }
        MatcherOracle const oracle(pattern, flags);
        RequiredLiteral const literal = requiredLiteral(pattern, flags);
        auto const matcher =
            oracle.compiles() ? Matcher::of(pattern, flags, literal.text()) : nullptr;
        if (!matcher) {
            continue;
        }
        ++served;
        withGroups += matcher->hasGroups() ? 1 : 0;
        for (int j = 0; j < SUBJECTS && !HasFailure(); ++j) {
            std::string const subject = draw.subject();
            std::size_t const slots = j % 3 == 0   ? 1
                                      : j % 3 == 1 ? oracle.slots()
                                                   : random.between(1, oracle.slots() + 2);
            int const searchFlags = random.oneIn(4) ? REG_NOTBOL : 0;
            std::size_t const at = literalAt(literal, subject, j);
            startedLate += matcher->firstStart(subject, at) > 0 ? 1 : 0;
            EXPECT_EQ(oracle.difference(*matcher, subject, slots, searchFlags, at), "")
                << "seed " << seed_ << ", flags " << flags << ", " << searchFlags << ", slots "
                << slots << ", pattern <" << pattern << ">, subject <" << subject << '>';
        }
    }
    EXPECT_GT(served, PATTERNS / 2);
    EXPECT_GT(withGroups, served * 3 / 4);
    EXPECT_GT(startedLate, served / 10);
}

/// Texts that the realistic patterns are about, and pieces of the patterns themselves.
std::string realisticSubject(Random& random, std::string const& pattern) {
    static constexpr std::string_view PIECES[] = {
        "error",    "Nov",      "12:34:56", "daemon",   "[1234]", ": ",         "user", "=",
        "10.0.0.1", "/dev/sda", " ",        "\t",       "-",      ":",          "\"",   "(",
        ")",        "host",     "GET",      "HTTP/1.1", "0x1f",   "abc",        "A",    "9",
        "42",       ".",        ",",        "%",        "@",      "2026-11-22", "é",    "\xFF",
        "yes",      "no",       "#",        ";",        "/",      "x",          "root", "\\"};
    std::string text;
    for (std::size_t i = random.between(1, random.oneIn(20) ? 400 : 14); i > 0; --i) {
        if (random.oneIn(2)) {
            std::size_t const start = random.below(pattern.size());
            std::string const piece = pattern.substr(start, random.between(1, 8));
            for (char const byte : piece) {
                if (std::string_view("()|+*?^$").find(byte) == std::string_view::npos) {
                    text += byte;
                }
            }
        } else {
            text += random.pick(PIECES);
        }
    }
    return text;
}

TEST_P(MatcherLikeLibc, OnRealisticPatterns) {
    ASSERT_TRUE(locale_.isKnown());
    std::ifstream file(ZEB_PATTERNS "/real-life.txt");
    Random random(seed_);
    int patterns = 0;
    int served = 0;
    int withGroups = 0;
    int startedLate = 0;
    for (std::string line; std::getline(file, line) && !HasFailure();) {
        if (line.size() < 3 || line[0] == '#') {
            continue;
        }
        std::string const pattern = line.substr(2);
        int const flags = (line[0] == 'E' ? REG_EXTENDED : 0) | (random.oneIn(6) ? REG_ICASE : 0);
        MatcherOracle const oracle(pattern, flags);
        if (!isHarmless(pattern, flags) || !oracle.compiles()) {
            continue;
        }
        ++patterns;
        RequiredLiteral const literal = requiredLiteral(pattern, flags);
        auto const matcher = Matcher::of(pattern, flags, literal.text());
        if (!matcher) {
            continue;
        }
        ++served;
        withGroups += matcher->hasGroups() ? 1 : 0;
        for (int i = 0; i < (SANITIZED ? 4 : 24) && !HasFailure(); ++i) {
            std::string const subject = realisticSubject(random, pattern);
            std::size_t const at = literalAt(literal, subject, i);
            startedLate += matcher->firstStart(subject, at) > 0 ? 1 : 0;
            EXPECT_EQ(oracle.difference(*matcher, subject, oracle.slots(), 0, at), "")
                << "seed " << seed_ << ", flags " << flags << ", pattern <" << pattern
                << ">, subject <" << subject << '>';
        }
    }
    // What people write is served, and nearly all of it with its groups.
    EXPECT_GT(patterns, 500);
    EXPECT_GT(served, patterns * 85 / 100);
    EXPECT_GT(withGroups, served * 95 / 100);
    EXPECT_GT(startedLate, served / 8);
}

INSTANTIATE_TEST_SUITE_P(Locales, MatcherLikeLibc, testing::Values("C", "C.UTF-8"));

}  // namespace
