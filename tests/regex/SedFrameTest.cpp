#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

#include "Random.hpp"
#include "regex/GroupSearch.hpp"
#include "regex/Lines.hpp"
#include "regex/SedCommand.hpp"
#include "regex/SedOperations.hpp"

namespace ZEBNS2 {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// ---------------------------------------------------------------------------- ArrayFormat

static_assert(std::is_base_of_v<Format, ArrayFormat>);
static_assert(sizeof(ArrayFormat) == sizeof(Format), "no data of its own");

String format(String const& text, StringArray const& arguments) {
    return ArrayFormat(text, arguments);
}

TEST(ArrayFormat, NumbersItsArgumentsFromZero) {
    EXPECT_EQ(format("%0-%1", {"a", "b"}), "a-b");
    EXPECT_EQ(format("%1%0%1", {"a", "b"}), "bab");
}

TEST(ArrayFormat, TextWithoutPlaceholdersIsUnchanged) {
    EXPECT_EQ(format("text", {"a", "b"}), "text");
    EXPECT_EQ(format("text", {}), "text");
    EXPECT_EQ(format("", {"a"}), "");
    EXPECT_EQ(format("100% sure", {"a"}), "100% sure");
    EXPECT_EQ(format("%", {"a"}), "%");
    EXPECT_EQ(format("%x", {"a"}), "%x");
}

TEST(ArrayFormat, PlaceholderBeyondTheArgumentsVanishes) {
    EXPECT_EQ(format("[%2]", {"a", "b"}), "[]");
    EXPECT_EQ(format("[%9]", {"a"}), "[]");
    EXPECT_EQ(format("[%0]", {}), "[]");
    EXPECT_EQ(format("[%1]", {}), "[]");
}

TEST(ArrayFormat, TwoPercentSignsAreOne) {
    EXPECT_EQ(format("%%", {}), "%");
    EXPECT_EQ(format("%%0", {"a"}), "%0");
    EXPECT_EQ(format("%%%0", {"a"}), "%a");
}

TEST(ArrayFormat, PlaceholderIsOneDigit) {
    EXPECT_EQ(format("%10", {"a", "b", "c"}), "b0");
    StringArray const many{"0", "1", "2", "3", "4", "5", "6", "7", "8", "nine", "ten"};
    EXPECT_EQ(format("%9 %10", many), "nine 10");
}

TEST(ArrayFormat, ArgumentsAreNotFormattedAgain) {
    EXPECT_EQ(format("%0%1", {"%1", "%%"}), "%1%%");
}

TEST(ArrayFormat, NulBytesAreKept) {
    EXPECT_EQ(format(String("a\0%0"sv), {String("\0"sv)}), "a\0\0"sv);
}

// ---------------------------------------------------------------------------- getAllSubstrings

TEST(GetAllSubstrings, GivesTheTextOfEachPair) {
    EXPECT_THAT(getAllSubstrings("abcdef", {{0, 6}, {2, 4}, {3, 3}, {5, 6}}),
                ElementsAre("abcdef", "cd", "", "f"));
    EXPECT_THAT(getAllSubstrings("abc", {}), IsEmpty());
}

TEST(GetAllSubstrings, NeverLeavesTheSubject) {
    EXPECT_THAT(getAllSubstrings("abc", {{1, 9}, {7, 9}, {2, 0}, {0, 0xFFFFFFFF}}),
                ElementsAre("bc", "", "c", "abc"));
}

// ---------------------------------------------------------------------------- lines

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    for (LineReader reader(text); reader.next();) {
        EXPECT_EQ(reader.number(), lines.size());
        lines.push_back(reader.line());
    }
    return lines;
}

TEST(Lines, AreCutAsTokenizeCutsThem) {
    for (std::string_view const text :
         {""sv, "\n"sv, "a"sv, "a\n"sv, "\na"sv, "a\n\nb"sv, "\n\n"sv, "a\r\nb\0c\n"sv}) {
        SCOPED_TRACE(text);
        StringArray const tokens =
            String(text).tokenize("\n", String::DISCARD_DELIMITERS, String::RETURN_EMPTY_TOKENS);
        std::vector<std::string_view> const lines = linesOf(text);
        ASSERT_EQ(lines.size(), tokens.size());
        LineWriter writer(text.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(tokens[i], lines[i]);
            writer.addLine(lines[i]);
        }
        EXPECT_EQ(writer.releaseText(), text) << "joining is the inverse of cutting";
    }
}

TEST(Lines, AreVisibleUpToTheirFirstNul) {
    for (std::size_t length = 0; length < 40; ++length) {
        for (std::size_t nul = 0; nul <= length; ++nul) {
            std::string line(length, 'x');
            std::string_view const visible = std::string_view(line).substr(0, nul);
            if (nul < length) {
                line[nul] = '\0';
                line.back() = '\0';
            }
            std::string const text = line + "\n" + line;
            LineReader reader(text);
            for (int i = 0; i < 2; ++i) {
                ASSERT_TRUE(reader.next());
                EXPECT_EQ(reader.line(), line);
                EXPECT_EQ(reader.visible(), visible);
            }
            EXPECT_FALSE(reader.next());
        }
    }
}

/// Reads `text` with blocks. @return the lines that are in none
std::vector<std::string> linesOutsideBlocks(std::string const& text, std::string_view literal) {
    std::string const pattern(literal);
    RequiredLiteral const required(pattern, PatternSyntax::EXTENDED);
    EXPECT_EQ(required.text(), literal);
    std::vector<std::string> outside;
    LineWriter joined(text.size());
    for (LineReader reader(text, required); reader.next();) {
        joined.addLine(reader.line());
        if (reader.isBlock()) {
            EXPECT_EQ(reader.line().find(literal), std::string_view::npos);
        } else {
            EXPECT_EQ(reader.line().find('\n'), std::string_view::npos);
            outside.emplace_back(reader.line());
        }
    }
    EXPECT_EQ(joined.releaseText(), text);
    return outside;
}

TEST(Lines, WithoutTheLiteralArePassedInBlocks) {
    EXPECT_THAT(linesOutsideBlocks("", "key"), IsEmpty());
    EXPECT_THAT(linesOutsideBlocks("\n", "key"), IsEmpty());
    EXPECT_THAT(linesOutsideBlocks("a\n\nke\ny", "key"), IsEmpty());
    EXPECT_THAT(linesOutsideBlocks("key", "key"), ElementsAre("key"));
    EXPECT_THAT(linesOutsideBlocks("a\nb\na key\nc\n", "key"), ElementsAre("a key"));
    EXPECT_THAT(linesOutsideBlocks("a\0\nb\0key\nc"s, "key"), ElementsAre("b\0key"s));
}

TEST(Lines, AreTheSameWithBlocks) {
    zeb::test::Random random(15);
    for (int i = 0; i < 300; ++i) {
        std::string text;
        std::size_t const rarity = random.between(1, 40);
        std::size_t const length = random.oneIn(20) ? 70'000 : 30;
        for (std::size_t lines = random.below(200); lines > 0; --lines) {
            text += random.text("ke\0y"sv, random.below(random.oneIn(10) ? length : 30));
            text += random.oneIn(rarity) ? "key" : "";
            text += random.oneIn(10) ? "\n\n" : "\n";
        }
        ASSERT_NO_FATAL_FAILURE(linesOutsideBlocks(text, "key"));
    }
}

// ---------------------------------------------------------------------------- the lazy globals

TEST(SedLazyGlobalsConcurrent, AreBuiltOnceByThreadsAtOnce) {
    ASSERT_EQ(SED_DELETE_EXPR.object, nullptr) << "another test was here before";
    ASSERT_EQ(SED_DELETE_EXPR.built, 0);
    ASSERT_EQ(SED_DELETE_RANGE_EXPR.object, nullptr);
    ASSERT_EQ(SED_DELETE_RANGE_EXPR.built, 0);
    std::vector<RegularExpression const*> seen(8, nullptr);
    std::vector<int> deleted(seen.size(), 0);
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&, i] {
            while (!go) {
                std::this_thread::yield();
            }
            SedOperationMode mode = SED_SEARCH;
            String first;
            String second;
            deleted[i] += parseSedDelete("/x/d", mode, first, second) ? 1 : 0;
            deleted[i] += parseSedDelete("/a/,/b/d", mode, first, second) ? 1 : 0;
            seen[i] = &SED_DELETE_EXPR.get();
        });
    }
    go = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(deleted, testing::Each(2));
    EXPECT_THAT(seen, testing::Each(SED_DELETE_EXPR.object));
    EXPECT_EQ(SED_DELETE_EXPR.built, 1);
    EXPECT_EQ(SED_DELETE_RANGE_EXPR.built, 1);
}

TEST(SedLazyGlobals, AreTheExpressionsForDeleteCommands) {
    EXPECT_STREQ(SED_DELETE_EXPR.parameter, "^/([^/]*)/d$");
    EXPECT_STREQ(SED_DELETE_RANGE_EXPR.parameter, "^/([^/]*)/,/([^/]*)/d$");
    for (LazyExpression* const global : {&SED_DELETE_EXPR, &SED_DELETE_RANGE_EXPR}) {
        EXPECT_EQ(global->get().getPattern(), global->parameter);
        EXPECT_EQ(global->get().getOptions(), 0u);
        EXPECT_EQ(&global->get(), &global->get());
    }
}

TEST(SedLazyGlobals, FaultyPatternLeavesTheGlobalUnbuiltAndIsTriedAgain) {
    LazyExpression global = {"(", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_THROW(static_cast<void>(global.get()), RegularExpressionException);
        EXPECT_EQ(global.object, nullptr);
        EXPECT_EQ(global.built, 0);
    }
    global.parameter = "a";
    EXPECT_TRUE(global.get().matches("a"));
    EXPECT_EQ(global.built, 1);
}

// ---------------------------------------------------------------------------- sharing

TEST(RegularExpressionConcurrent, OneObjectIsSharedByThreads) {
    RegularExpression const expression("([a-z]+)=([0-9]+)", 0);
    std::vector<std::thread> threads;
    std::vector<int> found(4, 0);
    for (int& count : found) {
        threads.emplace_back([&expression, &count] {
            for (int i = 0; i < 500; ++i) {
                count += expression.matches("key=7") ? 1 : 0;
                count += expression.all_matching_substrings("key=7").size() == 3 ? 1 : 0;
                count += expression.all_unique_matches("a=1 b=2").size() == 2 ? 1 : 0;
                count += sed("key=7", expression, "%2:%1") == "7:key" ? 1 : 0;
                count += realSed("a\nba", "s/a/x/g", 0) == "x\nbx" ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(found, testing::Each(2500));
}

}  // namespace
}  // namespace ZEBNS2
