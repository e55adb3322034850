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

TEST(SearchReplace, AgreesWithASimpleLoopOnRandomTexts) {
    zeb::test::Random random(99);
    for (int i = 0; i < 100'000; ++i) {
        std::string const text = random.text("ab\0"sv, random.below(20));
        std::string const search = random.text("ab\0"sv, random.between(1, 3));
        std::string const replacement = random.text("abc"sv, random.below(4));
        std::string expected;
        for (std::size_t pos = 0; pos < text.size();) {
            if (text.compare(pos, search.size(), search) == 0) {
                expected += replacement;
                pos += search.size();
            } else {
                expected += text[pos++];
            }
        }
        ASSERT_EQ(search_replace(text, search, replacement), expected)
            << testing::PrintToString(text) << ": " << testing::PrintToString(search) << " by "
            << replacement;
    }
}

}  // namespace
