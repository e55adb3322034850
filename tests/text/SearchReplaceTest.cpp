#include <OrventoTextOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "LogCapture.hpp"
#include "Random.hpp"

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using zeb::foundation::Logger;
using zeb::test::LogCapture;
using ZEBNS2::search_replace;
using ZEBNS2::String;

std::string debug(std::string const& text) {
    return "DEBUG zeb.common.TextOperations: search_replace: " + text;
}

TEST(SearchReplace, LiteralsAreNotAmbiguous) { EXPECT_EQ(search_replace("aaa", "aa", "b"), "ba"); }

TEST(SearchReplace, ReplacesFromLeftToRightWithoutOverlaps) {
    struct Row {
        std::string_view text;
        std::string_view search;
        std::string_view replacement;
        std::string_view result;
    };
    constexpr Row ROWS[] = {
        {"aaa", "aa", "b", "ba"},
        {"abc", "x", "y", "abc"},
        {"a.b", ".", "..", "a..b"},  // inserted text is not searched again
        {"aa", "a", "aa", "aaaa"},
        {"abab", "ab", "", ""},
        {"xabx", "ab", "", "xx"},
        {"ab", "abc", "x", "ab"},
        {"abc", "abc", "x", "x"},
        {"abc", "", "x", "abc"},
        {"abc", "", "", "abc"},  // neither stuck nor changed
        {"", "", "", ""},
        {"", "", "x", ""},
        {"", "a", "x", ""},
        {"ABC", "b", "x", "ABC"},  // case matters
        {"a%1b", "%1", "%2", "a%2b"},
        {"a\0b\0"sv, "\0"sv, "-", "a-b-"},
        {"a-b", "-", "\0"sv, "a\0b"sv},
        {"a\0bc"sv, "\0b"sv, "x", "axc"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(testing::Message()
                     << row.text << ": " << row.search << " by " << row.replacement);
        EXPECT_EQ(search_replace(String(row.text), String(row.search), String(row.replacement)),
                  row.result);
    }
}

TEST(SearchReplace, SaysWhatItDoesAndWhatCameOut) {
    LogCapture const log(Logger::DEBUG_LEVEL);
    (void)search_replace("a.b", ".", "..");
    EXPECT_THAT(log.lines(), ElementsAre(debug("Replacing '.' with '..' in 'a.b' ."),
                                         debug("Transformed 'a.b' to 'a..b'")));
    EXPECT_EQ(log.messages()[0].file, "OrventoTextOperations");
    EXPECT_NE(log.messages()[0].function.find("search_replace"), std::string::npos);
}

TEST(SearchReplace, SaysSoWhenNothingIsFound) {
    LogCapture const log;
    (void)search_replace("abc", "x", "%1");
    EXPECT_THAT(log.lines(), ElementsAre(debug("Replacing 'x' with '%1' in 'abc' ."),
                                         debug("Transformed 'abc' to 'abc'")));
}

TEST(SearchReplace, EmptySearchIsNoticedAfterTheFirstHit) {
    LogCapture const log;
    EXPECT_EQ(search_replace("abc", "", "x"), "abc");
    EXPECT_THAT(log.lines(), ElementsAre(debug("Replacing '' with 'x' in 'abc' ."),
                                         debug("search string empty, exiting.")));
}

TEST(SearchReplace, EmptyTextAndEmptySearchGiveNoSuchMessage) {
    LogCapture const log;
    EXPECT_EQ(search_replace("", "", "x"), "");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug("Replacing '' with 'x' in '' ."), debug("Transformed '' to ''")));
}

TEST(SearchReplace, LevelBelowDebugIsSilent) {
    LogCapture const log(Logger::INFO_LEVEL);
    (void)search_replace("abc", "", "x");
    (void)search_replace("abc", "b", "x");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(SearchReplace, KeepsErrno) {
    LogCapture const log;
    errno = ENOTTY;
    (void)search_replace("abc", "b", "x");
    EXPECT_EQ(errno, ENOTTY);
}

TEST(SearchReplace, TextWithoutAHitIsSharedNotCopied) {
    String const text("a text that is long enough to live on the heap");
    EXPECT_EQ(search_replace(text, "x!", "y").c_str(), text.c_str());
}

/// What `search_replace` is to return.
std::string replacedOneByOne(std::string const& text, std::string const& search,
                             std::string const& replacement) {
    std::string replaced;
    for (std::size_t pos = 0; pos < text.size();) {
        if (text.compare(pos, search.size(), search) == 0) {
            replaced += replacement;
            pos += search.size();
        } else {
            replaced += text[pos++];
        }
    }
    return replaced;
}

TEST(SearchReplace, TwoHitsAtEachPlaceOfEachLength) {
    std::string const searches[] = {"x",
                                    "xy",
                                    "x-y",
                                    "x--y",
                                    "x....y",
                                    "x-------y",
                                    "x" + std::string(16, '-') + "y",
                                    std::string(40, 'x')};
    for (std::string const& search : searches) {
        for (std::size_t const replacement : {0U, 1U, 31U, 32U, 33U}) {
            std::string const by(replacement, 'z');
            for (std::size_t length = 0; length < 90; ++length) {
                for (std::size_t place = 0; place <= length; place += 1 + place / 8) {
                    std::string text(length, '-');
                    text.insert(length - place / 2, search).insert(place, search);
                    ASSERT_EQ(search_replace(text, search, by), replacedOneByOne(text, search, by))
                        << text << ": " << search << " by " << replacement << " bytes";
                }
            }
        }
    }
}

TEST(SearchReplace, AgreesWithASimpleLoopOnLongerRandomTexts) {
    zeb::test::Random random(98);
    constexpr std::string_view ALPHABETS[] = {"ab"sv, "aaaaaaab"sv, "a\0"sv, "abcdefghijklmnop"sv};
    for (int i = 0; i < 20'000; ++i) {
        std::string_view const alphabet = random.pick(ALPHABETS);
        std::string text = random.text(alphabet, random.below(300));
        std::string const search = random.text(alphabet, random.between(1, 1 + random.below(24)));
        for (std::size_t hits = random.below(8); hits > 0; --hits) {
            text.insert(random.below(text.size() + 1), search);
        }
        std::string const replacement =
            random.text("abc"sv, random.below(random.oneIn(2) ? 4 : 40));
        ASSERT_EQ(search_replace(text, search, replacement),
                  replacedOneByOne(text, search, replacement))
            << testing::PrintToString(text) << ": " << testing::PrintToString(search) << " by "
            << replacement;
    }
}

// When comparisons fail late and often, another search takes over: before, between and after hits.
TEST(SearchReplace, HitsAmongManyThatFailLate) {
    std::string const search = "ab" + std::string(100, 'a') + "b";
    std::string const almost = "abb" + std::string(99, 'a') + "b";
    for (std::size_t const failures : {0U, 39U, 40U, 41U, 80U, 400U}) {
        std::string text = search;
        for (std::size_t i = 0; i < failures; ++i) {
            text += almost;
        }
        text += search + search + "-" + almost + search;
        ASSERT_EQ(search_replace(text, search, "+"), replacedOneByOne(text, search, "+"))
            << failures;
    }
}

TEST(SearchReplace, AgreesWithASimpleLoopOnRandomTexts) {
    zeb::test::Random random(99);
    for (int i = 0; i < 100'000; ++i) {
        std::string const text = random.text("ab\0"sv, random.below(20));
        std::string const search = random.text("ab\0"sv, random.between(1, 3));
        std::string const replacement = random.text("abc"sv, random.below(4));
        ASSERT_EQ(search_replace(text, search, replacement),
                  replacedOneByOne(text, search, replacement))
            << testing::PrintToString(text) << ": " << testing::PrintToString(search) << " by "
            << replacement;
    }
}

}  // namespace
