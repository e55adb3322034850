#include <OrventoTextOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "LogCapture.hpp"
#include "Random.hpp"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::foundation::Logger;
using zeb::test::LogCapture;
using ZEBNS2::Array;
using ZEBNS2::isValidXMLCharacter;
using ZEBNS2::replaceInvalidXMLCharacters;
using ZEBNS2::String;

std::string debug(std::string const& text) { return "DEBUG zeb.common.TextOperations: " + text; }

TEST(IsValidXMLCharacter, FormFeedCountsAsValid) { EXPECT_TRUE(isValidXMLCharacter(0x000C)); }

TEST(IsValidXMLCharacter, BordersOfEachRange) {
    for (int const unit : {0x0009, 0x000A, 0x000C, 0x000D, 0x0020, 0xD7FF, 0xE000, 0xFFFD}) {
        EXPECT_TRUE(isValidXMLCharacter(static_cast<unsigned short>(unit))) << unit;
    }
    for (int const unit :
         {0x0000, 0x0008, 0x000B, 0x000E, 0x001F, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFFFE, 0xFFFF}) {
        EXPECT_FALSE(isValidXMLCharacter(static_cast<unsigned short>(unit))) << unit;
    }
}

TEST(IsValidXMLCharacter, AllUnits) {
    unsigned int invalid = 0;
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit) {
        bool const control =
            unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r' && unit != '\f';
        bool const surrogate = unit >= 0xD800 && unit < 0xE000;
        bool const valid = !control && !surrogate && unit < 0xFFFE;
        ASSERT_EQ(isValidXMLCharacter(static_cast<unsigned short>(unit)), valid) << unit;
        invalid += !valid;
    }
    EXPECT_EQ(invalid, 28U + 2048U + 2U);
}

TEST(ReplaceInvalidXMLCharacters, OverwritesThemInPlace) {
    Array<unsigned short> units{0x41, 0x01, 0x42};
    LogCapture const log;
    replaceInvalidXMLCharacters(units, "file: ");
    EXPECT_THAT(units, ElementsAre(0x41, 0xFFFD, 0x42));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(debug("XML Fixup: file: Replaced invalid XML character 0x1 with 0xfffd")));
}

TEST(ReplaceInvalidXMLCharacters, OneMessageForEachWithUnpaddedDigitsAndThePrefixPastedOn) {
    Array<unsigned short> units{0x0B, 0xD83D, 0xDE00, 0x0C, 0xFFFF, 0};
    LogCapture const log(Logger::DEBUG_LEVEL);
    replaceInvalidXMLCharacters(units, "%1x");
    EXPECT_THAT(units, ElementsAre(0xFFFD, 0xFFFD, 0xFFFD, 0x0C, 0xFFFD, 0xFFFD));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(debug("XML Fixup: %1xReplaced invalid XML character 0xb with 0xfffd"),
                    debug("XML Fixup: %1xReplaced invalid XML character 0xd83d with 0xfffd"),
                    debug("XML Fixup: %1xReplaced invalid XML character 0xde00 with 0xfffd"),
                    debug("XML Fixup: %1xReplaced invalid XML character 0xffff with 0xfffd"),
                    debug("XML Fixup: %1xReplaced invalid XML character 0x0 with 0xfffd")));
    EXPECT_EQ(log.messages()[0].file, "OrventoTextOperations");
    EXPECT_GT(log.messages()[0].line, 0);
    EXPECT_NE(log.messages()[0].function.find("replaceInvalidXMLCharacters"), std::string::npos);
}

TEST(ReplaceInvalidXMLCharacters, NothingToReplaceSaysNothing) {
    LogCapture const log;
    Array<unsigned short> empty;
    replaceInvalidXMLCharacters(empty, "");
    EXPECT_THAT(empty, IsEmpty());
    Array<unsigned short> units{0x41, 0x09};
    replaceInvalidXMLCharacters(units, "");
    EXPECT_THAT(units, ElementsAre(0x41, 0x09));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(ReplaceInvalidXMLCharacters, LevelBelowDebugIsSilentAndReplacesAllTheSame) {
    LogCapture const log(Logger::INFO_LEVEL);
    Array<unsigned short> units{0x00};
    replaceInvalidXMLCharacters(units, "");
    EXPECT_THAT(units, ElementsAre(0xFFFD));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(ReplaceInvalidXMLCharacters, CopiesOfTheArrayKeepTheirUnits) {
    Array<unsigned short> units{0x41, 0x01};
    Array<unsigned short> const copy = units;
    replaceInvalidXMLCharacters(units, "");
    EXPECT_THAT(copy, ElementsAre(0x41, 0x01));
    EXPECT_THAT(units, ElementsAre(0x41, 0xFFFD));
}

// The array is about to be written, so it is detached before anything is known of its units.
TEST(ReplaceInvalidXMLCharacters, DetachesEvenWhenNothingIsInvalid) {
    Array<unsigned short> units{0x41, 0x42};
    Array<unsigned short> const copy = units;
    ASSERT_EQ(copy.cbegin(), units.cbegin());
    replaceInvalidXMLCharacters(units, "");
    EXPECT_NE(copy.cbegin(), units.cbegin());
    EXPECT_EQ(units, copy);
}

/// Copies an array at each message.
class WatchingAppender : public zeb::foundation::LogAppender {
public:
    explicit WatchingAppender(Array<unsigned short> const& units) : units_(units) {}
    void append(zeb::foundation::LogMessage const&) override {
        std::vector<unsigned short> const now(units_.cbegin(), units_.cend());
        seen.push_back(now);
    }
    std::vector<std::vector<unsigned short>> seen;

private:
    Array<unsigned short> const& units_;
};

TEST(ReplaceInvalidXMLCharacters, StoresEachUnitBeforeItSaysSo) {
    Array<unsigned short> units{0x01, 0x41, 0x02};
    zeb::foundation::IntrusiveReference<WatchingAppender> const appender(
        new WatchingAppender(units));
    Logger::setDefault(
        Logger::DEBUG_LEVEL,
        zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>(appender.get()));
    replaceInvalidXMLCharacters(units, "");
    Logger::setDefault(Logger::NO_LEVEL,
                       zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>());
    EXPECT_THAT(appender->seen,
                ElementsAre(ElementsAre(0xFFFD, 0x41, 0x02), ElementsAre(0xFFFD, 0x41, 0xFFFD)));
}

TEST(ReplaceInvalidXMLCharacters, KeepsErrno) {
    LogCapture const log;
    Array<unsigned short> units{0x01};
    errno = ENOTTY;
    replaceInvalidXMLCharacters(units, "");
    EXPECT_EQ(errno, ENOTTY);
}

TEST(ReplaceInvalidXMLCharacters, AgreesWithThePredicateOnRandomUnits) {
    zeb::test::Random random(3);
    for (int i = 0; i < 2'000; ++i) {
        Array<unsigned short> units;
        Array<unsigned short> expected;
        for (std::size_t count = random.below(50); count > 0; --count) {
            auto const unit = static_cast<unsigned short>(random.oneIn(2) ? random.below(0x30)
                                                                          : random.below(0x10000));
            units.append(unit);
            expected.append(isValidXMLCharacter(unit) ? unit : static_cast<unsigned short>(0xFFFD));
        }
        replaceInvalidXMLCharacters(units, "");
        ASSERT_EQ(units, expected) << "case " << i;
    }
}

}  // namespace
