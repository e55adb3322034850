// GNU grep and GNU sed print the same for the same options, random texts and random expressions.
//
// Left out is what differs, as the guide's page on the command line says: anchors in a repeated
// group, for which the C library has several answers; `^` with the flag g; empty matches within a
// character; a group that takes no part before one that does; the empty line after a last newline.
//
// ZEB_TEXT_CASES in the environment asks for more cases, ZEB_TEXT_SEED for others.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "ZebText.hpp"

namespace zeb::test {
namespace {

unsigned fromEnvironment(char const* name, unsigned standard) {
    char const* const value = std::getenv(name);
    return value == nullptr ? standard : static_cast<unsigned>(std::atoi(value));
}

bool isGnu(std::string const& program) {
    return shell(program + " --version 2>/dev/null | grep -q GNU").status == 0;
}

class Peers : public testing::Test {
protected:
    using Words = std::vector<std::string>;

    unsigned below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }
    bool oneIn(unsigned count) { return below(count) == 0; }
    std::string const& anyOf(Words const& words) {
        return words[below(static_cast<unsigned>(words.size()))];
    }

    /// An expression.
    /// @param depth of groups at most
    /// @param anchors whether it may have `^` and `$`, outside of repeated groups
    /// @param groups whether it may have choices and groups that may take no part
    std::string pattern(unsigned depth, bool anchors, bool groups) {
        switch (below(depth > 0 ? 14 : 6)) {
            case 0:
                return ".";
            case 1:
                return anyOf({"[ab]", "[^a]", "[[:alpha:]]", "[b-d]", "[^[:space:]]"});
            case 2:
            case 3:
            case 4:
            case 5:
                return anyOf({"a", "b", "c", "d", "A"});
            case 6:
                return open_ + pattern(depth - 1, anchors, groups) + close_;
            case 7:
                return groups ? pattern(depth - 1, anchors, true) + bar_ +
                                    pattern(depth - 1, anchors, true)
                              : "b";
            case 8:
                return open_ + pattern(depth - 1, false, groups) + close_ +
                       anyOf(groups ? anyTimes_ : atLeastOnce_);
            case 9:
                return anyOf({"a", "b", ".", "[bc]"}) + anyOf(anyTimes_);
            case 10:
                return (anchors ? "^" : "") + pattern(depth - 1, anchors, groups);
            case 11:
                return pattern(depth - 1, anchors, groups) + (anchors ? "$" : "");
            default:
                return pattern(depth - 1, anchors, groups) + pattern(depth - 1, anchors, groups);
        }
    }

    void chooseSyntax() {
        basic_ = oneIn(4);
        std::string const slash = basic_ ? "\\" : "";
        open_ = slash + "(";
        close_ = slash + ")";
        bar_ = slash + "|";
        auto const times = [&](std::string const& range) {
            return slash + "{" + range + slash + "}";
        };
        atLeastOnce_ = {slash + "+", times("2"), times("1,2")};
        anyTimes_ = {"*", "*", slash + "+", slash + "?", times("2"), times("1,2"), times("0,2")};
    }

    /// Lines without a newline after the last.
    std::string text(Words const& characters) {
        std::string text;
        for (unsigned lines = below(8); lines > 0; --lines) {
            for (unsigned length = below(8); length > 0; --length) {
                text += anyOf(characters);
            }
            text += lines > 1 ? "\n" : "";
        }
        return text;
    }

    ProcessResult run(Words const& begin, Words const& rest, std::string const& input) const {
        Words words{"env", "LC_ALL=" + locale_};
        words.insert(words.end(), begin.begin(), begin.end());
        words.insert(words.end(), rest.begin(), rest.end());
        ProcessResult result = runProcess(words, input);
        result.err.clear();
        return result;
    }

    unsigned const cases_ = fromEnvironment("ZEB_TEXT_CASES", 150);
    std::mt19937 engine_{fromEnvironment("ZEB_TEXT_SEED", 7)};
    bool basic_ = false;
    std::string open_;
    std::string close_;
    std::string bar_;
    Words atLeastOnce_;
    Words anyTimes_;
    std::string locale_;
};

TEST_F(Peers, GrepGivesTheSame) {
    if (!isGnu("grep")) {
        GTEST_SKIP() << "GNU grep is not installed";
    }
    unsigned refused = 0;
    for (unsigned i = 0; i < cases_; ++i) {
        chooseSyntax();
        locale_ = oneIn(2) ? "C" : "C.UTF-8";
        std::string const input =
            text({"a", "b", "c", "d", "A", " ", "\xC3\xA9"}) + (oneIn(3) ? "" : "\n");
        Words options;
        for (char const* const option : {"-i", "-v", "-n", "-H", "-h", "-c", "-l", "-q"}) {
            if (oneIn(7)) {
                options.emplace_back(option);
            }
        }
        bool const inverted = std::count(options.begin(), options.end(), "-v") > 0;
        if (oneIn(3) && !inverted) {
            options.emplace_back("-o");
        } else if (oneIn(3)) {
            options.push_back("-" + anyOf({"A", "B", "C"}) + std::to_string(below(3)));
        }
        for (unsigned count = oneIn(4) ? 1 + below(3) : 1; count > 0; --count) {
            options.emplace_back("-e");
            options.push_back(pattern(/*depth=*/3, /*anchors=*/true, /*groups=*/true));
        }
        ProcessResult const ours =
            run({ZEB_TEXT_PROGRAM, "match", basic_ ? "--basic" : "--extended"}, options, input);
        if (ours.status == 2) {
            ++refused;  // too costly for the library
            continue;
        }
        ASSERT_EQ(ours, run({"grep", "-a", "--label=-", basic_ ? "-G" : "-E"}, options, input))
            << locale_ << (basic_ ? " basic " : " ") << testing::PrintToString(options)
            << testing::PrintToString(input);
    }
    EXPECT_LE(refused, cases_ / 10);
}

TEST_F(Peers, SedGivesTheSame) {
    if (!isGnu("sed")) {
        GTEST_SKIP() << "GNU sed is not installed";
    }
    unsigned refused = 0;
    for (unsigned i = 0; i < cases_; ++i) {
        chooseSyntax();
        locale_ = oneIn(2) ? "C" : "C.UTF-8";
        bool const deletes = oneIn(3);
        bool const global = !deletes && oneIn(2);
        bool const usesGroups = !deletes && oneIn(2);
        std::string const found = std::string(!global && oneIn(3) ? "^" : "") +
                                  pattern(/*depth=*/3, /*anchors=*/false, !usesGroups);
        auto const groups = static_cast<unsigned>(std::count(found.begin(), found.end(), '('));
        std::string command = "/" + found + "/d";
        if (!deletes) {
            command = "s/" + found + "/";
            for (unsigned length = below(4); length > 0; --length) {
                command += usesGroups && groups > 0 && oneIn(2)
                               ? "\\" + std::to_string(1 + below(groups))
                               : anyOf({"x", "<", ">", "\\0"});
            }
            command += global ? "/g" : "/";
        }
        std::string const input = text({"a", "b", "c", "d", "A", " ", global ? "e" : "\xC3\xA9"});
        // A last line that is empty is one for the library and none for sed.
        std::string const lines = input.empty() || input.back() == '\n' ? input + "e" : input;
        ProcessResult const ours =
            basic_ ? run({ZEB_TEXT_PROGRAM, "edit", "--basic"}, {command}, lines)
                   : run({ZEB_TEXT_PROGRAM, "edit"}, {command}, lines);
        if (ours.status == 2) {
            ++refused;
            continue;
        }
        // What is left of the text ends without a newline as the text did, be it another line.
        ProcessResult theirs =
            run({"sed", basic_ ? "-e" : "-Ee"}, {command}, deletes ? lines + "\n" : lines);
        if (deletes && !theirs.out.empty()) {
            theirs.out.pop_back();
        }
        ASSERT_EQ(ours, theirs) << locale_ << (basic_ ? " basic " : " ") << command
                                << testing::PrintToString(lines);
    }
    EXPECT_LE(refused, cases_ / 10);
}

TEST(Differences, AreThoseThatTheGuideLists) {
    EXPECT_EQ(zebText({"edit", "s/$/;/"}, "a\n"), prints("a;\n;"));
    EXPECT_EQ(zebText({"edit", "s/^a//g"}, "aab"), prints("b"));
    EXPECT_EQ(shell("printf '\\303\\251' | LC_ALL=C.UTF-8 exec \"$0\" edit 's/x*/-/g'"),
              prints("-\xC3-\xA9-"));
    EXPECT_EQ(zebText({"edit", "s/(x)?(b)/[\\1|\\2]/"}, "ba"), prints("[|]a"));
    EXPECT_EQ(zebText({"edit", "s/a/[&]/"}, "ab"), prints("[&]b"));
    EXPECT_EQ(zebText({"edit", "/a/,/b/d"}, "a\nc"), prints("a\nc"));
}

}  // namespace
}  // namespace zeb::test
