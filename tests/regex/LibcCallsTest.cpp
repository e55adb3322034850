// A program of its own, because its functions take the place of the C library's: it sees what the
// library really asks for.

#include <OrventoCommonRegex.hpp>
#include <RE.hpp>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex.h>

#include <zeb/foundation/StringBuffer.hpp>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstddef>
#include <cstring>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Sanitized.hpp"

namespace {

std::vector<int> compileFlags;
std::vector<std::string> compiledPatterns;
std::vector<std::size_t> slotCounts;
std::vector<int> searchFlags;
/// What was compiled and must still be freed.
std::set<regex_t const*> compiled;
int errorTexts = 0;
/// What regexec is made to answer.
std::optional<regmatch_t> forgedMatch;
/// The errno that regexec is made to leave; 0 for its own.
int forgedError = 0;
/// Off at exit, when globals are freed and `compiled` is gone.
bool watching = false;

template <typename Function>
Function* libc(char const* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

void forget() {
    compileFlags.clear();
    compiledPatterns.clear();
    slotCounts.clear();
    searchFlags.clear();
    errorTexts = 0;
}

}  // namespace

extern "C" {

int regcomp(regex_t* expression, char const* pattern, int flags) {
    compileFlags.push_back(flags);
    compiledPatterns.emplace_back(pattern);
    int const result = libc<decltype(regcomp)>("regcomp")(expression, pattern, flags);
    if (result == 0) {
        EXPECT_TRUE(compiled.insert(expression).second) << "compiled over a compiled one";
    }
    return result;
}

int regexec(regex_t const* expression, char const* subject, std::size_t slotCount,
            regmatch_t* slots, int flags) {
    slotCounts.push_back(slotCount);
    searchFlags.push_back(flags);
    if (forgedMatch) {
        slots[0] = *forgedMatch;
        return 0;
    }
    int const result =
        libc<decltype(regexec)>("regexec")(expression, subject, slotCount, slots, flags);
    errno = forgedError != 0 ? forgedError : errno;
    return result;
}

std::size_t regerror(int code, regex_t const* expression, char* text, std::size_t size) {
    ++errorTexts;
    EXPECT_EQ(size, 1024u);
    return libc<decltype(regerror)>("regerror")(code, expression, text, size);
}

void regfree(regex_t* expression) {
    if (watching) {
        EXPECT_EQ(compiled.erase(expression), 1u) << "freed without being compiled";
    }
    libc<decltype(regfree)>("regfree")(expression);
}

}  // extern "C"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using ZEBNS2::BadRegexException;
using ZEBNS2::RE;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::String;
using ZEBNS2::StringArray;

class LibcCalls : public testing::Test {
protected:
    LibcCalls() {
        watching = true;
        forget();
    }
    ~LibcCalls() override {
        watching = false;
        EXPECT_THAT(compiled, IsEmpty()) << "never freed";
    }
};

TEST_F(LibcCalls, OptionsSelectTheFlags) {
    for (unsigned int options = 0; options < 16; ++options) {
        SCOPED_TRACE(options);
        forget();
        RegularExpression const expression("a", options);
        int const flags = ((options & 1) != 0 ? 0 : REG_EXTENDED) |
                          ((options & 2) != 0 ? REG_ICASE : 0) |
                          ((options & 4) != 0 ? REG_NEWLINE : 0);
        EXPECT_THAT(compileFlags, ElementsAre(flags));
    }
}

TEST_F(LibcCalls, REAddsExtendedSyntaxToItsFlags) {
    {
        RE const first("a", 0);
        RE const second("a", REG_ICASE);
        RE const third("a", REG_EXTENDED | REG_NOSUB);
    }
    EXPECT_THAT(compileFlags,
                ElementsAre(REG_EXTENDED, REG_EXTENDED | REG_ICASE, REG_EXTENDED | REG_NOSUB));
}

TEST_F(LibcCalls, NullPatternIsNotCompiled) {
    RegularExpression const expression(nullptr, 2);
    EXPECT_THAT(compileFlags, IsEmpty());
    EXPECT_FALSE(expression.matches("a"));
    EXPECT_THAT(slotCounts, IsEmpty());

    RegularExpression const copy(expression);
    EXPECT_THAT(compileFlags, ElementsAre(REG_EXTENDED));
}

TEST_F(LibcCalls, FailedCompilationIsNotFreed) {
    EXPECT_THROW(RegularExpression("(", 0), RegularExpressionException);
    EXPECT_THROW(RE("(", 0), BadRegexException);
    EXPECT_EQ(errorTexts, 2);
}

TEST_F(LibcCalls, ReplaceFreesTheOldExpressionFirst) {
    RegularExpression expression("a", 0);
    EXPECT_THROW(expression.replace("(", 0), RegularExpressionException);
    EXPECT_THAT(compiled, IsEmpty());
}

TEST_F(LibcCalls, SelfAssignmentCompilesNothing) {
    RegularExpression expression("a", 0);
    RegularExpression const& self = expression;
    forget();
    expression = self;
    EXPECT_THAT(compileFlags, IsEmpty());
}

TEST_F(LibcCalls, CopiesAreCompiledByThemselves) {
    RegularExpression const expression("a", 0);
    RegularExpression const copy(expression);
    RegularExpression assigned("b", 0);
    assigned = expression;
    EXPECT_EQ(compiled.size(), 3u);
    EXPECT_EQ(compileFlags.size(), 4u);
}

TEST_F(LibcCalls, AllMatchesAsksOnceForAllSlots) {
    RegularExpression const expression("(a)", 0);
    EXPECT_EQ(expression.all_matches("xa").size(), 2u);
    EXPECT_THAT(slotCounts, ElementsAre(102400u));
}

TEST_F(LibcCalls, OtherMembersAskForOneSlot) {
    RegularExpression const expression("([a])", 0);
    StringArray const lines{"a", "b"};
    EXPECT_TRUE(expression.matches("a"));
    EXPECT_EQ(expression.matching_substring("a"), "a");
    EXPECT_EQ(expression.first_match("a").first, 0);
    EXPECT_EQ(expression.all_unique_matches("aa").size(), 2u);
    EXPECT_EQ(expression.first_matching_substring(lines), "a");
    EXPECT_EQ(expression.all_matching_lines(lines).size(), 1u);
    EXPECT_EQ(expression.non_matching_lines(lines).size(), 1u);
    EXPECT_EQ(expression.find_matching_line_numbers(lines).size(), 1u);
    EXPECT_EQ(expression.matching_substring(lines).size(), 2u);
    EXPECT_EQ(slotCounts.size(), 14u);
    EXPECT_THAT(slotCounts, Each(1u));
}

TEST_F(LibcCalls, OnlySuccessiveMatchesForbidTheStartOfTheLine) {
    RegularExpression const expression("a", 0);
    EXPECT_EQ(expression.all_unique_matches("aa").size(), 2u);
    for (int const flags : searchFlags) {
        EXPECT_NE(flags & REG_NOTBOL, 0);
    }
    forget();
    EXPECT_TRUE(expression.matches("a"));
    EXPECT_EQ(expression.all_matches("a").size(), 1u);
    for (int const flags : searchFlags) {
        EXPECT_EQ(flags & (REG_NOTBOL | REG_NOTEOL), 0);
    }
}

TEST_F(LibcCalls, SuccessiveMatchesOfAnEmptySubjectAreNotSearched) {
    RegularExpression const expression("x*", 0);
    EXPECT_THAT(expression.all_unique_matches(""), IsEmpty());
    EXPECT_THAT(slotCounts, IsEmpty());
}

TEST_F(LibcCalls, DeletionTestsEachLineOnce) {
    EXPECT_EQ(ZEBNS2::realSed("", "/[a]/d", 0), "");  // builds the expressions for the command
    forget();
    EXPECT_EQ(ZEBNS2::realSed("a\nb\na\nb", "/[a]/d", 0), "b\nb");
    EXPECT_EQ(slotCounts.size(), 1u + 4u) << "the command, then the lines";
    forget();
    EXPECT_EQ(ZEBNS2::realSed("a\nb\nc\nb", "/[a]/,/[c]/d", 0), "b");
    EXPECT_EQ(slotCounts.size(), 2u + 4u) << "the command by two expressions, then the lines";
    EXPECT_EQ(compiled.size(), 2u) << "the expressions for the command, which live on";
    compiled.clear();
}

TEST_F(LibcCalls, SubjectWithoutTheRequiredLiteralIsNotSearched) {
    RegularExpression const expression("x=[0-9]+", 0);
    forget();
    EXPECT_FALSE(expression.matches("y=1"));
    EXPECT_EQ(slotCounts.size(), 0u);
    EXPECT_FALSE(expression.matches("x=a"));
    EXPECT_TRUE(expression.matches("x=1"));
    EXPECT_EQ(slotCounts.size(), 2u);
}

TEST_F(LibcCalls, TextWithoutOperatorsIsFoundWithoutASearch) {
    RegularExpression const expression("ab\\.", 0);
    forget();
    EXPECT_EQ(expression.first_match("xaab.ab."), std::pair(2, 5));
    EXPECT_THAT(expression.all_matches("xaab.ab."), ElementsAre(std::pair(2u, 5u)));
    EXPECT_EQ(expression.first_match("xaab,"), std::pair(-1, -1));
    EXPECT_EQ(slotCounts.size(), 0u);
}

TEST_F(LibcCalls, SubjectOfMoreThanAGibibyteIsNotSearched) {
    if (sizeof(void*) == 4 || zeb::test::SANITIZED) {
        GTEST_SKIP() << "not enough addresses, or memory";
    }
    zeb::foundation::StringBuffer buffer;
    try {
        std::size_t const length = RegularExpression::MAX_SUBJECT_LENGTH + 1;
        std::memset(buffer.prepare(length), 'a', length);
        buffer.commit(length);
    } catch (std::bad_alloc const&) {
        GTEST_SKIP() << "not enough memory";
    }
    String const subject = buffer.releaseString();
    RegularExpression const expression("[a]", 0);
    forget();
    EXPECT_FALSE(expression.matches(subject));
    EXPECT_EQ(expression.matching_substring(subject), "");
    EXPECT_EQ(expression.first_match(subject.c_str()), std::pair(-1, -1));
    EXPECT_THAT(expression.all_matches(subject), IsEmpty());
    EXPECT_THAT(expression.all_unique_matches(subject), IsEmpty());
    EXPECT_THAT(expression.all_matching_substrings(subject), IsEmpty());
    EXPECT_THAT(expression.all_unique_matching_substrings(subject), IsEmpty());
    EXPECT_EQ(ZEBNS2::sed(subject, expression, "b").length(), subject.length());
    EXPECT_EQ(slotCounts.size(), 0u);
}

TEST_F(LibcCalls, LineOf100MegabytesIsSearched) {
    if (zeb::test::SANITIZED) {
        GTEST_SKIP() << "a sanitizer measures the rest of the subject at each search";
    }
    constexpr int LENGTH = 100 * 1024 * 1024;
    String const subject(std::string(LENGTH - 2, 'a') + "bc");
    RegularExpression const expression("[b]c", 0);
    EXPECT_TRUE(expression.matches(subject));
    EXPECT_EQ(expression.first_match(subject.c_str()), std::pair(LENGTH - 2, LENGTH));
    EXPECT_THAT(expression.all_unique_matches(subject),
                ElementsAre(std::pair<unsigned, unsigned>(LENGTH - 2, LENGTH)));
    String const edited = ZEBNS2::realSed(subject, "s/[b]c$/x/g", 0);
    EXPECT_EQ(edited.length(), subject.length() - 1);
    EXPECT_EQ(edited[edited.length() - 1], 'x');
}

TEST_F(LibcCalls, BytesOfAllKindsAreMatchedAsLibcMatchesThem) {
    std::string every;
    for (int byte = 1; byte < 256; ++byte) {
        every += static_cast<char>(byte);
    }
    for (char const* name : {"C", "C.UTF-8"}) {
        SCOPED_TRACE(name);
        ASSERT_NE(std::setlocale(LC_ALL, name), nullptr);
        for (char const* pattern : {".", "[^x]", "[a-z]", "\\w", "\x80", "\xC3\xA9", "[^\xE9]+"}) {
            SCOPED_TRACE(pattern);
            regex_t direct;
            if (libc<decltype(regcomp)>("regcomp")(&direct, pattern, REG_EXTENDED) != 0) {
                EXPECT_THROW(RegularExpression(pattern, 0), RegularExpressionException);
                continue;
            }
            RegularExpression const expression(pattern, 0);
            for (std::size_t start = 0; start < every.size(); ++start) {
                std::string const subject = every.substr(start, 3);
                regmatch_t match;
                bool const found =
                    libc<decltype(regexec)>("regexec")(&direct, subject.c_str(), 1, &match, 0) == 0;
                EXPECT_EQ(expression.first_match(subject.c_str()),
                          found ? std::pair(int{match.rm_so}, int{match.rm_eo}) : std::pair(-1, -1))
                    << start;
            }
            libc<decltype(regfree)>("regfree")(&direct);
        }
    }
    std::setlocale(LC_ALL, "C");
}

/// How often a pattern was compiled; the making of a matcher compiles parts of it.
auto compilationsOf(char const* pattern) {
    return std::count(compiledPatterns.begin(), compiledPatterns.end(), pattern);
}

/// Two letters in an order without a period.
std::string mixedLetters(std::size_t length) {
    std::string text;
    unsigned int bits = 1;
    while (text.size() < length) {
        bits = bits * 1103515245 + 12345;
        text += (bits >> 16 & 1) != 0 ? 'a' : 'b';
    }
    return text;
}

/// Each byte of a text like the one above makes a state that libc keeps; the word anchor keeps the
/// matcher away.
constexpr char const* GROWING = "^[ab]*a[ab]{500}\\>x";

TEST_F(LibcCalls, WhatHasLearnedTooMuchIsCompiledAgain) {
    RegularExpression const expression(GROWING, 0);
    String const text(mixedLetters(5000) + "x");
    EXPECT_FALSE(expression.matches(text));
    EXPECT_EQ(compilationsOf(GROWING), 2);
    EXPECT_THAT(compileFlags, Each(REG_EXTENDED));
    EXPECT_EQ(compiled.size(), 1u);
    String const match(std::string("a") + mixedLetters(600) + "b");
    EXPECT_FALSE(expression.matches(match));
    EXPECT_EQ(compilationsOf(GROWING), 2) << "a short text is no reason";
}

TEST_F(LibcCalls, InAnotherLocaleNothingIsCompiledAgain) {
    RegularExpression const expression(GROWING, 0);
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_FALSE(expression.matches(String(mixedLetters(5000))));
    EXPECT_EQ(compilationsOf(GROWING), 1);
    std::setlocale(LC_ALL, "C");
}

TEST_F(LibcCalls, ExhaustedMemoryIsFollowedByAnotherCompilation) {
    RegularExpression const expression("\\<a", 0);
    forgedError = ENOMEM;
    errno = EDOM;
    EXPECT_FALSE(expression.matches("a"));
    EXPECT_EQ(errno, EDOM);
    EXPECT_THAT(compiled, IsEmpty()) << "given up at once";
    forgedError = 0;
    EXPECT_TRUE(expression.matches("a"));
    EXPECT_TRUE(expression.matches("a"));
    EXPECT_EQ(compileFlags.size(), 2u);
}

TEST_F(LibcCalls, MatchOutsideTheSubjectIsNone) {
    RegularExpression const expression("[a]", 0);
    constexpr regmatch_t FORGED[] = {{-1, -1}, {-1, 2}, {2, 1}, {0, 4}, {4, 4}};
    for (regmatch_t const& match : FORGED) {
        SCOPED_TRACE(testing::PrintToString(std::pair(match.rm_so, match.rm_eo)));
        forgedMatch = match;
        EXPECT_FALSE(expression.matches("xaz"));
        EXPECT_EQ(expression.first_match("xaz"), std::pair(-1, -1));
        EXPECT_EQ(expression.matching_substring("xaz"), "");
        EXPECT_EQ(ZEBNS2::sed("xaz", expression, "b"), "xaz");
        EXPECT_THAT(expression.all_unique_matches("xaz"), IsEmpty());
    }
    forgedMatch = regmatch_t{1, 3};
    EXPECT_EQ(expression.matching_substring("xaz"), "az");
    forgedMatch.reset();
}

}  // namespace
