#include <OrventoTextOperations.hpp>

#include <zeb/foundation/StringBuffer.hpp>
#include <zeb/foundation/UTF8Utils.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "LogCapture.hpp"
#include "Random.hpp"
#include "Sanitized.hpp"
#include "UnicodeBytes.hpp"

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using zeb::foundation::Logger;
using zeb::foundation::StringBuffer;
using zeb::test::arrayOf;
using zeb::test::bytesOf;
using zeb::test::LogCapture;
using zeb::test::SANITIZED;
using ZEBNS2::Array;
using ZEBNS2::BOM_UTF16_BE;
using ZEBNS2::BOM_UTF16_LE;
using ZEBNS2::BOMTypes;
using ZEBNS2::String;
using ZEBNS2::UTF16ToUTF32;
using ZEBNS2::UTF16ToUTF8;

constexpr BOMTypes ORDERS[] = {BOM_UTF16_LE, BOM_UTF16_BE};

std::string debug(std::string const& text) {
    return "DEBUG zeb.common.TextOperations: UTF16ToUTF32: " + text;
}

Array<unsigned int> pointsOf(std::u16string_view units) { return UTF16ToUTF32(arrayOf(units)); }

// ---------------------------------------------------------------------------- repair

TEST(UTF16ToUTF32, CombinesPairs) {
    EXPECT_THAT(pointsOf(u"\xD83D\xDE00"), ElementsAre(0x1F600));
    EXPECT_THAT(pointsOf(u"\xD800\xDC00"), ElementsAre(0x10000));
    EXPECT_THAT(pointsOf(u"\xDBFF\xDFFF"), ElementsAre(0x10FFFF));
    EXPECT_THAT(pointsOf(u"A\xD83D\xDE00"
                         u"B"),
                ElementsAre('A', 0x1F600, 'B'));
    EXPECT_THAT(pointsOf(u""), IsEmpty());
}

TEST(UTF16ToUTF32, TakesNoMoreMemoryThanThePointsNeed) {
    std::u16string units;
    for (int i = 0; i < 5000; ++i) {
        units += i % 3 == 0 ? u"\x4E2D" : u"\xD83D\xDE00";
    }
    Array<unsigned int> const points = pointsOf(units);
    EXPECT_EQ(points.size(), 5000U);
    EXPECT_EQ(points.capacity(), 5000U);
}

TEST(UTF16ToUTF32, RunsOfHighSurrogatesBeforeALowOne) {
    std::u16string units;
    for (std::size_t highs = 0; highs < 20; ++highs) {
        std::size_t const points = pointsOf(units + u'\xDC00').size();
        EXPECT_EQ(points, highs / 2 + 1) << highs;
        units += u'\xDBFF';
    }
}

TEST(UTF16ToUTF32, NonCharactersPass) {
    EXPECT_THAT(pointsOf(u"\xFFFE\xFFFF\xFEFF\xFDD0\xD7FF\xE000"),
                ElementsAre(0xFFFE, 0xFFFF, 0xFEFF, 0xFDD0, 0xD7FF, 0xE000));
    EXPECT_THAT(pointsOf(std::u16string_view(u"\0A", 2)), ElementsAre(0, 'A'));
}

TEST(UTF16ToUTF32, OneReplacementStandsForBothUnitsAfterAHighSurrogate) {
    EXPECT_THAT(pointsOf(u"\xD83D"
                         u"A"),
                ElementsAre(0xFFFD));  // the A is lost
    EXPECT_THAT(pointsOf(u"\xD83D"
                         u"AB"),
                ElementsAre(0xFFFD, 'B'));
    // The second high surrogate is consumed too, so that the low one is alone.
    EXPECT_THAT(pointsOf(u"\xD83D\xD83D\xDE00"), ElementsAre(0xFFFD, 0xFFFD));
    EXPECT_THAT(pointsOf(u"\xD83D\xD83D\xD83D\xDE00"), ElementsAre(0xFFFD, 0x1F600));
}

TEST(UTF16ToUTF32, LoneLowSurrogateIsReplaced) {
    EXPECT_THAT(pointsOf(u"\xDE00"
                         u"A"),
                ElementsAre(0xFFFD, 'A'));
    EXPECT_THAT(pointsOf(u"\xDE00\xDE00"), ElementsAre(0xFFFD, 0xFFFD));
    EXPECT_THAT(pointsOf(u"\xDE00\xD83D\xDE00"), ElementsAre(0xFFFD, 0x1F600));
}

TEST(UTF16ToUTF32, HighSurrogateAtTheEndVanishesWithoutAMessage) {
    LogCapture const log;
    EXPECT_THAT(pointsOf(u"A\xD83D"), ElementsAre('A'));
    EXPECT_THAT(pointsOf(u"\xD83D"), IsEmpty());
    EXPECT_EQ(UTF16ToUTF8(arrayOf("\xFF\xFE\x3D\xD8"), BOM_UTF16_LE), "");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(UTF16ToUTF32, SaysWhatItReplaces) {
    LogCapture const log(Logger::DEBUG_LEVEL);
    (void)pointsOf(
        u"\xDE00\xD83D"
        u"A\xD800\xD83D\xDBFF\xDC00\xD900\x000B");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug("Found out-of-range character 0xde00.  Replacing with 0xFFFD."),
                            debug("Found invalid surragate character 0xd83d 0x0041.  Replacing "
                                  "with 0xFFFD."),
                            debug("Found invalid surragate character 0xd800 0xd83d.  Replacing "
                                  "with 0xFFFD."),
                            debug("Found invalid surragate character 0xd900 0x000b.  Replacing "
                                  "with 0xFFFD.")));
    EXPECT_EQ(log.messages()[0].file, "OrventoTextOperations");
    EXPECT_GT(log.messages()[0].line, 0);
    for (auto const& message : log.messages()) {
        EXPECT_THAT(message.function, testing::HasSubstr(" ZEBNS2::UTF16ToUTF32("));
    }
}

// A conversion that takes the step without calling it speaks in the same name.
TEST(UTF16ToUTF32, FunctionOfItsMessagesIsTheSameInEveryConversion) {
    LogCapture const log(Logger::DEBUG_LEVEL);
    (void)pointsOf(u"\xDE00");
    (void)UTF16ToUTF8(arrayOf("\xDE\x00"sv), BOM_UTF16_BE);
    (void)UTF16ToUTF8(zeb::test::unsignedArrayOf("\xFE\xFF\xDE\x00"sv));
    (void)ZEBNS2::convertToUTF8(arrayOf("\xFE\xFF\xD8\x00\x00\x41"sv));
    std::vector<std::string> functions;
    for (auto const& message : log.messages()) {
        if (message.text.find("Replacing") != std::string::npos) {
            functions.push_back(message.function);
        }
    }
    EXPECT_THAT(functions, testing::SizeIs(4));
    EXPECT_THAT(functions, testing::Each(functions[0]));
    EXPECT_THAT(functions[0], testing::HasSubstr("Array<unsigned int> ZEBNS2::UTF16ToUTF32("));
}

/// Lowers the level to that of information when a message contains a text.
class QuietingAppender : public zeb::foundation::LogAppender {
public:
    explicit QuietingAppender(std::string_view trigger) : trigger_(trigger) {}
    void append(zeb::foundation::LogMessage const& message) override {
        texts.emplace_back(std::string_view(message.text));
        if (texts.back().find(trigger_) != std::string::npos) {
            Logger::setDefault(
                Logger::INFO_LEVEL,
                zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>(this));
        }
    }
    std::vector<std::string> texts;

private:
    std::string trigger_;
};

/// What `convertToUTF8` says of a big-endian text without a mark and with two lone surrogates, when
/// it is switched off at a message that contains `trigger`.
std::vector<std::string> quietedAt(std::string_view trigger) {
    zeb::foundation::IntrusiveReference<QuietingAppender> const appender(
        new QuietingAppender(trigger));
    Logger::setDefault(
        Logger::DEBUG_LEVEL,
        zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>(appender.get()));
    (void)ZEBNS2::convertToUTF8(arrayOf("\0a\0b\0c\0d\0e\xDC\x01\xDC\x02"sv));
    Logger::setDefault(Logger::NO_LEVEL,
                       zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>());
    return appender->texts;
}

// Each step takes a logger of its own when it begins, and keeps it to its end.
TEST(ConvertToUTF8, StepsObeyTheLevelThatHeldWhenTheyBegan) {
    std::string const detecting =
        "autodetectByteOrder: Did not find explict byte order mark.  Checking content.";
    std::string const detected = "convertToUTF8: Autodetected BOM type is 1";
    std::string const repaired =
        "UTF16ToUTF32: Found out-of-range character 0xdc0%.  Replacing with 0xFFFD.";
    auto const lone = [&repaired](char digit) {
        std::string text = repaired;
        text[text.find('%')] = digit;
        return text;
    };
    EXPECT_THAT(quietedAt("nothing"), ElementsAre(detecting, detected, lone('1'), lone('2')));
    // The caller's logger is older than the change, that of the next step is not.
    EXPECT_THAT(quietedAt("Checking content"), ElementsAre(detecting, detected));
    EXPECT_THAT(quietedAt("Autodetected"), ElementsAre(detecting, detected));
    EXPECT_THAT(quietedAt("0xdc01"), ElementsAre(detecting, detected, lone('1'), lone('2')));
}

TEST(UTF16ToUTF32, KeepsErrnoAndIsSilentBelowDebugLevel) {
    {
        LogCapture const log;
        errno = ENOTTY;
        (void)pointsOf(u"\xDE00");
        EXPECT_EQ(errno, ENOTTY);
        EXPECT_EQ(log.lines().size(), 1U);
    }
    LogCapture const log(Logger::INFO_LEVEL);
    (void)pointsOf(u"\xDE00");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(UTF16ToUTF8, EncodesCodePoints) {
    struct Row {
        std::u16string_view units;
        std::string_view text;
    };
    constexpr Row ROWS[] = {
        {u"A", "A"},
        {u"\x007F\x0080", "\x7F\xC2\x80"},
        {u"\x07FF\x0800", "\xDF\xBF\xE0\xA0\x80"},
        {u"\xFFFF", "\xEF\xBF\xBF"},
        {u"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
        {u"\xDBFF\xDFFF", "\xF4\x8F\xBF\xBF"},
        {u"\xD83D\x0041", "\xEF\xBF\xBD"},
        {u"", ""},
    };
    for (Row const& row : ROWS) {
        for (BOMTypes const order : ORDERS) {
            EXPECT_EQ(UTF16ToUTF8(arrayOf(bytesOf(row.units, order)), order), row.text);
        }
    }
}

// ---------------------------------------------------------------------------- sweeps

/// The documented steps, one after the other.
String inSteps(Array<char> const& data, BOMTypes order) {
    StringBuffer text;
    Array<unsigned int> const points = UTF16ToUTF32(ZEBNS2::regroupUTF16(data, order));
    for (unsigned int const point : points) {
        zeb::foundation::UTF8Utils::UCS4toUTF8(point, text);
    }
    return text.releaseString();
}

/// Compares the conversion, in both orders, with the steps and with the tests' own decoder.
/// @return a description of the first difference; empty when there is none
std::string difference(std::u16string const& units) {
    std::u16string_view unmarked = units;
    if (!unmarked.empty() && unmarked[0] == 0xFEFF) {
        unmarked.remove_prefix(1);
    }
    std::u32string const points = zeb::test::decode(unmarked);
    std::string const expected = zeb::test::encode(points);
    Array<unsigned int> const got = pointsOf(unmarked);
    if (!std::equal(got.begin(), got.end(), points.begin(), points.end())) {
        return "code points of " + testing::PrintToString(units);
    }
    for (BOMTypes const order : ORDERS) {
        Array<char> const data = arrayOf(bytesOf(units, order));
        if (UTF16ToUTF8(data, order) != expected || inSteps(data, order) != expected) {
            return "UTF-8 of " + testing::PrintToString(units);
        }
    }
    return {};
}

TEST(UnicodeSweep, EachUnitAloneAndBetweenOthers) {
    for (unsigned int value = 0; value <= 0xFFFF; value += SANITIZED ? 7 : 1) {
        auto const unit = static_cast<char16_t>(value);
        ASSERT_EQ(difference({unit}), "");
        ASSERT_EQ(difference({u'A', unit, u'\x20AC'}), "");
        // Long enough to be taken as a whole, in the first and in the second half of that.
        for (char16_t const other : {u'\x00E9', u'\x20AC'}) {
            std::u16string block(8, other);
            block[value % 8] = unit;
            ASSERT_EQ(difference(block), "");
        }
    }
}

TEST(UnicodeSweep, EachPairOfSurrogates) {
    std::u16string units;
    for (unsigned int high = 0xD800; high < 0xDC00; ++high) {
        units.clear();
        for (unsigned int low = 0xDC00; low < 0xE000; ++low) {
            units += static_cast<char16_t>(high);
            units += static_cast<char16_t>(low);
        }
        ASSERT_EQ(difference(units), "");
        units.insert(0, 1, u'x');  // the pairs lie across the borders of blocks now
        ASSERT_EQ(difference(units), "");
    }
}

TEST(UnicodeSweep, EachKindOfMalformedSequenceAtEachIndex) {
    std::u16string const malformed[] = {
        u"\xDC00",        // a lone low surrogate
        u"\xDFFF\xDC00",  // two of them
        u"\xD800",        // a high one before any unit, or at the end
        u"\xDBFF\xD800",  // two of them
        u"\xD800"
        u"A",                   //
        u"\xD800\x20AC",        //
        u"\xDC00\xD800",        // a pair the wrong way round
        u"\xD800\xDBFF\xDC00",  // a pair after a high one
        u"\xD800\xDC00\xDC00",  // a low one after a pair
        u"\xD800\xFEFF",        //
    };
    std::u16string const backgrounds[] = {u"a", u"\x00E9", u"\x20AC", u"\xD83D\xDE00"};
    std::size_t cases = 0;
    for (std::u16string const& background : backgrounds) {
        std::u16string text;
        while (text.size() < 48) {
            text += background;
        }
        for (std::u16string const& sequence : malformed) {
            for (std::size_t length = 0; length <= text.size(); ++length) {
                for (std::size_t index = 0; index <= length; ++index) {
                    std::u16string const units =
                        text.substr(0, index) + sequence + text.substr(index, length - index);
                    ASSERT_EQ(difference(units), "") << "at " << index;
                    ++cases;
                }
            }
        }
    }
    EXPECT_EQ(cases, 4U * 10U * 49U * 50U / 2U);
}

TEST(UnicodeSweep, SequencesAcrossTheBordersOfLargePieces) {
    std::u16string const sequences[] = {u"\xD83D\xDE00", u"\xD83D", u"\xDE00",
                                        u"\xD83D"
                                        u"A",
                                        u"\x20AC"};
    for (std::u16string const& sequence : sequences) {
        for (std::size_t const border : {4096U, 8192U}) {
            for (std::size_t before = border - 20; before <= border + 3;
                 before += SANITIZED ? 3 : 1) {
                for (std::size_t const behind : {0U, 1U, 40U}) {
                    ASSERT_EQ(difference(std::u16string(before, u'\x4E2D') + sequence +
                                         std::u16string(behind, u'z')),
                              "")
                        << before << ' ' << behind;
                    ASSERT_EQ(difference(std::u16string(before, u'a') + sequence +
                                         std::u16string(behind, u'\x4E2D')),
                              "")
                        << before << ' ' << behind;
                    std::u16string pairs(before % 2, u'x');
                    while (pairs.size() < before) {
                        pairs += u"\xD83D\xDE00";
                    }
                    ASSERT_EQ(difference(pairs + sequence + std::u16string(behind, u'z')), "")
                        << before << ' ' << behind;
                }
            }
        }
    }
}

TEST(UnicodeSweep, RandomUnits) {
    zeb::test::Random random(16);
    static constexpr char16_t SALT[] = {0,      0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800,
                                        0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFEFF, 0xFFFE, 0xFFFF};
    for (int i = 0; i < 50'000; ++i) {
        std::u16string units;
        for (std::size_t count = random.below(60); count > 0; --count) {
            units += random.oneIn(8)
                         ? random.pick(SALT)
                         : static_cast<char16_t>(random.below(random.oneIn(2) ? 0x80 : 0x10000));
        }
        ASSERT_EQ(difference(units), "") << "case " << i;
    }
}

// Malformed units are logged in order, at any place and as by the single steps.
TEST(UnicodeSweep, MessagesNameWhatIsMalformed) {
    zeb::test::Random random(17);
    static constexpr char16_t BACKGROUNDS[] = {u'a', u'\x00E9', u'\x4E2D'};
    std::size_t messages = 0;
    for (int i = 0; i < 2'000; ++i) {
        // Around the borders of large pieces, too.
        std::size_t const border = random.oneIn(20) ? random.between(4080, 4100) : 0;
        std::u16string units(border, random.pick(BACKGROUNDS));
        for (std::size_t count = random.below(30); count > 0; --count) {
            units += random.oneIn(3) ? static_cast<char16_t>(random.between(0xD800, 0xDFFF))
                                     : random.pick(BACKGROUNDS);
        }
        std::vector<std::string> malformed;
        (void)zeb::test::decode(units, &malformed);
        std::vector<std::string> expected;
        for (std::string const& sequence : malformed) {
            bool const pair = sequence.find(' ') != sequence.npos;
            expected.push_back(debug(
                (pair ? "Found invalid surragate character " : "Found out-of-range character ") +
                sequence + ".  Replacing with 0xFFFD."));
        }
        messages += expected.size();
        for (BOMTypes const order : ORDERS) {
            Array<char> const data = arrayOf(bytesOf(units, order));
            {
                LogCapture const log;
                (void)UTF16ToUTF8(data, order);
                ASSERT_EQ(log.lines(), expected) << "case " << i;
            }
            LogCapture const log;
            (void)inSteps(data, order);
            ASSERT_EQ(log.lines(), expected) << "case " << i;
        }
    }
    EXPECT_GT(messages, 5'000U);
}

// ---------------------------------------------------------------------------- against iconv

/// Conversion by the C library.
class Iconv {
public:
    explicit Iconv(char const* from) : handle_(::iconv_open("UTF-8", from)) {
        if (handle_ == reinterpret_cast<iconv_t>(-1)) {
            throw std::system_error(errno, std::generic_category(), from);
        }
    }
    Iconv(Iconv const&) = delete;
    Iconv& operator=(Iconv const&) = delete;
    ~Iconv() { ::iconv_close(handle_); }

    std::string convert(std::string bytes) const {
        std::string text(2 * bytes.size() + 16, '\0');
        char* in = bytes.data();
        char* out = text.data();
        std::size_t inLeft = bytes.size();
        std::size_t outLeft = text.size();
        if (::iconv(handle_, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) {
            throw std::system_error(errno, std::generic_category(), "iconv");
        }
        text.resize(text.size() - outLeft);
        return text;
    }

private:
    iconv_t handle_;
};

TEST(UnicodeAgainstIconv, AllCharactersInBothOrdersWithAndWithoutAMark) {
    std::u16string units;
    for (unsigned int point = 1; point <= 0x10FFFF; ++point) {
        if (point >= 0x10000) {
            units += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        } else if (point < 0xD800 || point > 0xDFFF) {
            units += static_cast<char16_t>(point);
        }
    }
    for (BOMTypes const order : ORDERS) {
        Iconv const oracle(order == BOM_UTF16_LE ? "UTF-16LE" : "UTF-16BE");
        std::string const expected = oracle.convert(bytesOf(units, order));
        EXPECT_TRUE(UTF16ToUTF8(arrayOf(bytesOf(units, order)), order) == expected);
        std::string const marked = bytesOf(u'\xFEFF' + units, order);
        EXPECT_TRUE(UTF16ToUTF8(arrayOf(marked), order) == expected);
        EXPECT_TRUE(ZEBNS2::convertToUTF8(arrayOf(marked)) == expected);
        EXPECT_TRUE(UTF16ToUTF8(zeb::test::unsignedArrayOf(marked)) == expected);
    }
}

TEST(UnicodeAgainstIconv, RandomTexts) {
    Iconv const little("UTF-16LE");
    Iconv const big("UTF-16BE");
    zeb::test::Random random(8);
    for (int i = 0; i < 20'000; ++i) {
        std::u16string units(1, u'\xFEFF');
        std::size_t const script = random.below(4);
        for (std::size_t count = random.below(100); count > 0; --count) {
            switch (random.oneIn(4) ? random.below(4) : script) {
                case 0:
                    units += static_cast<char16_t>(random.below(0x80));
                    break;
                case 1:
                    units += static_cast<char16_t>(random.between(0x80, 0x7FF));
                    break;
                case 2:
                    units += static_cast<char16_t>(random.between(0x800, 0xD7FF));
                    break;
                default:
                    units += static_cast<char16_t>(random.between(0xD800, 0xDBFF));
                    units += static_cast<char16_t>(random.between(0xDC00, 0xDFFF));
            }
        }
        ASSERT_EQ(ZEBNS2::convertToUTF8(arrayOf(bytesOf(units, BOM_UTF16_LE))),
                  little.convert(bytesOf(units.substr(1), BOM_UTF16_LE)))
            << testing::PrintToString(units);
        ASSERT_EQ(ZEBNS2::convertToUTF8(arrayOf(bytesOf(units, BOM_UTF16_BE))),
                  big.convert(bytesOf(units.substr(1), BOM_UTF16_BE)))
            << testing::PrintToString(units);
    }
}

}  // namespace
