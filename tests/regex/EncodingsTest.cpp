// Locales whose characters may end in a byte that is an operator in ASCII. No system needs to have
// them: the test makes its own.

#include <OrventoCommonRegex.hpp>

#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>
#include <cwchar>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "PatternDump.hpp"
#include "RunProcess.hpp"
#include "TemporaryDirectory.hpp"

namespace {

using zeb::test::PatternDump;
using zeb::test::runProcess;
using zeb::test::TemporaryDirectory;
using ZEBNS2::PatternSyntax;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;

/// A character of two bytes that ends in `second`, empty when the current locale has none.
std::string characterEndingIn(char second) {
    for (int first = 0x80; first < 0x100; ++first) {
        char const bytes[] = {static_cast<char>(first), second};
        std::mbstate_t state{};
        if (std::mbrlen(bytes, sizeof bytes, &state) == sizeof bytes) {
            return {bytes, sizeof bytes};
        }
    }
    return {};
}

class Encodings : public testing::TestWithParam<char const*> {
protected:
    void SetUp() override {
        std::string const name = std::string("test.") + GetParam();
        std::string const path = directory_.path(name).c_str();
        int status = 1000;
        try {
            // Status 1 comes with warnings about what this locale leaves out.
            status = runProcess(
                         {"localedef", "--no-archive", "-c", "-i", "POSIX", "-f", GetParam(), path})
                         .status;
        } catch (std::exception const&) {
        }
        ::setenv("LOCPATH", directory_.path("").c_str(), 1);
        if (status > 1 || std::setlocale(LC_ALL, name.c_str()) == nullptr) {
            GTEST_SKIP() << "localedef makes no locale in " << GetParam()
                         << " here; install libc-bin and locales";
        }
        for (char const second : {'[', '\\', '{', '|'}) {
            std::string const character = characterEndingIn(second);
            if (!character.empty()) {
                characters_.push_back(character);
            }
        }
        ASSERT_FALSE(characters_.empty());
    }
    void TearDown() override {
        std::setlocale(LC_ALL, "C");
        ::unsetenv("LOCPATH");
    }

    TemporaryDirectory directory_;
    std::vector<std::string> characters_;
};

TEST_P(Encodings, TheSecondByteOfACharacterIsNoOperator) {
    for (std::string const& character : characters_) {
        SCOPED_TRACE(character);
        EXPECT_EQ(PatternDump::of(character + "(a)*", PatternSyntax::EXTENDED),
                  "lit{" + character + "}rep0,{group1{lit{a}}}");
        EXPECT_EQ(PatternDump::of("\\" + character + "+", PatternSyntax::EXTENDED),
                  "rep1,{esc{" + character + "}}");
        std::string const set = "[" + character + "-" + character + "]";
        EXPECT_EQ(PatternDump::of(set + "(a)", PatternSyntax::EXTENDED),
                  "set{" + set + "}group1{lit{a}}");
    }
    // Bytes that are no character are read one by one.
    EXPECT_EQ(PatternDump::of("\xFF(a)", PatternSyntax::EXTENDED), "lit{\xFF}group1{lit{a}}");
    EXPECT_EQ(PatternDump::of(std::string("a") + characters_[0][0], PatternSyntax::EXTENDED),
              "lit{a}lit{" + characters_[0].substr(0, 1) + "}");
}

TEST_P(Encodings, WhatLibcWouldNotSurviveIsRefused) {
    for (std::string const& character : characters_) {
        SCOPED_TRACE(character);
        // Read byte by byte, the operator would hide what follows it.
        for (char const* rest : {"(|)(\\1\\1)*", "((a*)*\\2)*"}) {
            EXPECT_THROW(RegularExpression((character + rest).c_str(), 0),
                         RegularExpressionException);
        }
    }
}

TEST_P(Encodings, MatchesAreLibcs) {
    for (std::string const& character : characters_) {
        SCOPED_TRACE(character);
        RegularExpression const twice((character + "{2}(b)").c_str(), 0);
        EXPECT_EQ(twice.first_match(("a" + character + character + "b").c_str()), std::pair(1, 6));
        RegularExpression const literal("\\\\", 0);
        EXPECT_EQ(literal.first_match((character + "\\").c_str()), std::pair(2, 3));
    }
}

INSTANTIATE_TEST_SUITE_P(All, Encodings,
                         // localedef takes 9 seconds for GB18030, whose pairs are those of GBK.
                         testing::Values("GBK", "BIG5", "BIG5-HKSCS", "SHIFT_JIS", "JOHAB"),
                         [](auto const& test) {
                             std::string name = test.param;
                             for (char& byte : name) {
                                 byte = byte == '-' ? '_' : byte;
                             }
                             return name;
                         });

}  // namespace
