#include <OrventoTextOperations.hpp>

#include <zeb/common/JORLibraryException.hpp>
#include <zeb/foundation/Exception.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "LogCapture.hpp"
#include "Random.hpp"
#include "Sanitized.hpp"
#include "UnicodeBytes.hpp"

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using zeb::common::JORLibraryException;
using zeb::foundation::Logger;
using zeb::foundation::OutOfBoundsException;
using zeb::test::arrayOf;
using zeb::test::LogCapture;
using zeb::test::SANITIZED;
using zeb::test::unsignedArrayOf;
using ZEBNS2::Array;
using ZEBNS2::autodetectByteOrder;
using ZEBNS2::BOM_UNKNOWN;
using ZEBNS2::BOM_UTF16_BE;
using ZEBNS2::BOM_UTF16_LE;
using ZEBNS2::BOMTypes;
using ZEBNS2::convertToUTF8;
using ZEBNS2::regroupUTF16;
using ZEBNS2::UTF16ToUTF8;

static_assert(BOM_UTF16_LE == 0 && BOM_UTF16_BE == 1 && BOM_UNKNOWN == 2);

constexpr char NO_MARK[] =
    "DEBUG zeb.common.TextOperations: autodetectByteOrder: Did not find explict byte order mark.  "
    "Checking content.";
constexpr char CANNOT_DETECT[] = "Cannot autodetect bom type for given data.";

std::string detected(int type) {
    return "DEBUG zeb.common.TextOperations: convertToUTF8: Autodetected BOM type is " +
           std::to_string(type);
}

// ---------------------------------------------------------------------------- autodetectByteOrder

TEST(AutodetectByteOrder, DecidesByMarkAndContent) {
    struct Row {
        std::string_view bytes;
        BOMTypes order;
    };
    constexpr Row ROWS[] = {
        {"\xFF\xFE\x41\x00"sv, BOM_UTF16_LE},
        {"\xFE\xFF\x00\x41"sv, BOM_UTF16_BE},
        {"\xFF\xFE"sv, BOM_UTF16_LE},
        {"\xFE\xFF"sv, BOM_UTF16_BE},
        {"\xFF\xFE\0\0\0\0\0\0\0\0\0\0"sv, BOM_UTF16_LE},
        {"\xFF"sv, BOM_UNKNOWN},
        {"\xFE"sv, BOM_UNKNOWN},
        {""sv, BOM_UNKNOWN},
        {"\xFF\xFF"sv, BOM_UNKNOWN},
        {"H\0e\0l\0l\0o\0 \0w\0o\0r\0l\0d\0"sv, BOM_UTF16_LE},
        {"\0H\0e\0l\0l\0o\0 \0w\0o\0r\0l\0d"sv, BOM_UTF16_BE},
        {"H\0e\0l\0l\0o\0"sv, BOM_UNKNOWN},    // exactly 10 bytes are not examined
        {"H\0e\0l\0l\0o\0x"sv, BOM_UTF16_LE},  // 11 bytes are
        {"\0H\0e\0l\0l\0o\0"sv, BOM_UTF16_BE},
        {"Hello world, plain"sv, BOM_UNKNOWN},      // no zeros: a tie
        {"\0a\0bc\0\0de\0k"sv, BOM_UTF16_BE},       // 3 to 2
        {"a\0\0bcdefghij"sv, BOM_UNKNOWN},          // 1 to 1
        {"\0\0\0\0\0\0\0\0\0\0\0"sv, BOM_UNKNOWN},  // 5 to 5
        {"abcdefghij\0\0\0\0"sv, BOM_UNKNOWN},      // after the first ten nothing counts
        {"abcdefghi\0k"sv, BOM_UTF16_LE},
        {"abcdefgh\0jk"sv, BOM_UTF16_BE},
        {" \xFF\xFE\0a\0b\0c\0d\0e"sv, BOM_UTF16_LE},  // a mark further on is none
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(autodetectByteOrder(arrayOf(row.bytes)), row.order)
            << testing::PrintToString(row.bytes);
    }
}

TEST(AutodetectByteOrder, SaysWhenThereIsNoMark) {
    LogCapture const log(Logger::DEBUG_LEVEL);
    (void)autodetectByteOrder(arrayOf("\xFF\xFE"));
    (void)autodetectByteOrder(arrayOf("\xFE\xFF"));
    EXPECT_THAT(log.lines(), IsEmpty());
    (void)autodetectByteOrder(arrayOf(""));
    EXPECT_THAT(log.lines(), ElementsAre(NO_MARK));
    (void)autodetectByteOrder(arrayOf("a\0b\0c\0d\0e\0f\0"sv));
    (void)convertToUTF8(arrayOf("plain"));
    EXPECT_THAT(log.lines(), ElementsAre(NO_MARK, NO_MARK, NO_MARK, testing::_));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(log.messages()[i].file, "OrventoTextOperations");
        EXPECT_THAT(log.messages()[i].function,
                    testing::HasSubstr(" ZEBNS2::autodetectByteOrder("));
    }
    EXPECT_THAT(log.messages()[3].function, testing::HasSubstr(" ZEBNS2::convertToUTF8("));
}

// ---------------------------------------------------------------------------- regroupUTF16

TEST(RegroupUTF16, JoinsBytesInTheirOrder) {
    EXPECT_THAT(regroupUTF16(arrayOf("\x41\x00\xFF\x80"sv), BOM_UTF16_LE),
                ElementsAre(0x0041, 0x80FF));
    EXPECT_THAT(regroupUTF16(arrayOf("\x41\x00\xFF\x80"sv), BOM_UTF16_BE),
                ElementsAre(0x4100, 0xFF80));
    EXPECT_THAT(regroupUTF16(arrayOf("\xFF\xFE\x41\x00"sv), BOM_UNKNOWN), ElementsAre(0x0041));
    EXPECT_THAT(regroupUTF16(arrayOf("\xFE\xFF\x00\x41"sv), BOM_UNKNOWN), ElementsAre(0x0041));
    EXPECT_THAT(regroupUTF16(arrayOf("a\0b\0c\0d\0e\0f\0"sv), BOM_UNKNOWN),
                ElementsAre('a', 'b', 'c', 'd', 'e', 'f'));
}

TEST(RegroupUTF16, RemovesOneMarkAtTheFrontAlone) {
    EXPECT_THAT(regroupUTF16(arrayOf("\xFF\xFE"sv), BOM_UTF16_LE), IsEmpty());
    EXPECT_THAT(regroupUTF16(arrayOf("\xFF\xFE\xFF\xFE"sv), BOM_UTF16_LE), ElementsAre(0xFEFF));
    EXPECT_THAT(regroupUTF16(arrayOf("a\0\xFF\xFE"sv), BOM_UTF16_LE), ElementsAre('a', 0xFEFF));
    // A mark of the other order stays.
    EXPECT_THAT(regroupUTF16(arrayOf("\xFE\xFF"sv), BOM_UTF16_LE), ElementsAre(0xFFFE));
    EXPECT_THAT(regroupUTF16(arrayOf("\xFF\xFE"sv), BOM_UTF16_BE), ElementsAre(0xFFFE));
}

TEST(RegroupUTF16, EmptyInputGivesNoUnits) {
    EXPECT_THAT(regroupUTF16(Array<char>(), BOM_UTF16_LE), IsEmpty());
    EXPECT_THAT(regroupUTF16(Array<char>(), BOM_UTF16_BE), IsEmpty());
}

TEST(RegroupUTF16, ValueThatIsNoMemberMakesAllUnitsZero) {
    for (int const value : {3, 99, -1}) {
        auto const order = static_cast<BOMTypes>(value);
        EXPECT_THAT(regroupUTF16(arrayOf("\xFE\xFF"
                                         "ab"sv),
                                 order),
                    ElementsAre(0, 0));
        EXPECT_EQ(UTF16ToUTF8(arrayOf("abcdefghijklmnopqrst"), order), std::string(10, '\0'));
        EXPECT_THAT(regroupUTF16(Array<char>(), order), IsEmpty());
    }
}

/// What an action throws as its message, or what it returns.
std::string outcomeOf(std::function<std::string()> const& action) {
    try {
        return action();
    } catch (JORLibraryException const& exception) {
        EXPECT_STREQ(exception.getFile(), "OrventoTextOperations");
        EXPECT_GT(exception.getLine(), 0);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getSubclassCode(), -1);
        EXPECT_EQ(exception.getChained(), nullptr);
        return exception.getMessage();
    }
}

std::string outcomeOfRegroup(std::string_view bytes, BOMTypes order) {
    return outcomeOf([&] { return std::to_string(regroupUTF16(arrayOf(bytes), order).size()); });
}

TEST(RegroupUTF16, UnknownOrderThrows) {
    EXPECT_EQ(outcomeOfRegroup("abc", BOM_UNKNOWN), CANNOT_DETECT);
    EXPECT_EQ(outcomeOfRegroup("", BOM_UNKNOWN), CANNOT_DETECT);
    EXPECT_EQ(outcomeOfRegroup("Hello world", BOM_UNKNOWN), CANNOT_DETECT);
}

TEST(RegroupUTF16, OddByteIsSignExtendedInTheMessage) {
    for (int value = 0; value < 256; ++value) {
        std::string bytes("\xFF\xFE\x41\x00", 4);
        bytes += static_cast<char>(value);
        char expected[100];
        std::snprintf(expected, sizeof expected,
                      "An odd character (0x%08x) was left after regrouping UTF16 bytes.",
                      value < 0x80 ? static_cast<unsigned int>(value)
                                   : 0xFFFFFF00U + static_cast<unsigned int>(value));
        EXPECT_EQ(outcomeOfRegroup(bytes, BOM_UTF16_LE), expected);
        EXPECT_EQ(outcomeOfRegroup(bytes.substr(4), BOM_UTF16_BE), expected);
        EXPECT_EQ(outcomeOfRegroup(bytes, BOM_UNKNOWN), expected);
        EXPECT_EQ(outcomeOfRegroup(bytes, static_cast<BOMTypes>(3)), expected);
    }
    EXPECT_EQ(outcomeOfRegroup("\xFF\xFE\x9C"sv, BOM_UTF16_LE),
              "An odd character (0xffffff9c) was left after regrouping UTF16 bytes.");
}

TEST(RegroupUTF16, DetectionSpeaksBeforeItThrows) {
    LogCapture const log;
    EXPECT_EQ(outcomeOfRegroup("abc", BOM_UNKNOWN), CANNOT_DETECT);
    EXPECT_THAT(log.lines(), ElementsAre(NO_MARK));
    EXPECT_EQ(outcomeOfRegroup("abc", BOM_UTF16_LE),
              "An odd character (0x00000063) was left after regrouping UTF16 bytes.");
    EXPECT_EQ(log.lines().size(), 1U);
}

// ---------------------------------------------------------------------------- convertToUTF8

TEST(ConvertToUTF8, ConvertsWhatItRecognises) {
    EXPECT_EQ(convertToUTF8(arrayOf("\xFF\xFE\x41\x00"sv)), "A");
    EXPECT_EQ(convertToUTF8(arrayOf("\xFE\xFF\x00\x41"sv)), "A");
    EXPECT_EQ(convertToUTF8(arrayOf("\xFF\xFE"sv)), "");
    EXPECT_EQ(convertToUTF8(arrayOf("H\0e\0l\0l\0o\0 \0w\0o\0r\0l\0d\0"sv)), "Hello world");
    EXPECT_EQ(convertToUTF8(arrayOf("\0H\0e\0l\0l\0o\0 \0w\0o\0r\0l\0d"sv)), "Hello world");
}

TEST(ConvertToUTF8, ReturnsOtherBytesAsTheyAre) {
    for (std::string_view const bytes :
         {"H\0e\0l\0l\0o\0"sv, "plain"sv, "a"sv, "plain text, longer than that"sv,
          "\xC3\x28 not UTF-8 at all"sv, "\0"sv}) {
        EXPECT_EQ(convertToUTF8(arrayOf(bytes)), bytes);
    }
}

TEST(ConvertToUTF8, SaysWhatItHasDetected) {
    struct Row {
        std::string_view bytes;
        std::vector<std::string> lines;
    };
    Row const rows[] = {
        {"\xFF\xFE\x41\x00"sv, {detected(0)}},
        {"\xFE\xFF\x00\x41"sv, {detected(1)}},
        {"plain"sv, {NO_MARK, detected(2)}},
        {"a\0b\0c\0d\0e\0f\0"sv, {NO_MARK, detected(0)}},
    };
    for (Row const& row : rows) {
        LogCapture const log(Logger::DEBUG_LEVEL);
        (void)convertToUTF8(arrayOf(row.bytes));
        EXPECT_EQ(log.lines(), row.lines);
    }
}

TEST(ConvertToUTF8, KeepsErrno) {
    LogCapture const log;
    errno = ENOTTY;
    (void)convertToUTF8(arrayOf("plain"));
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_THAT(log.lines(), SizeIs(2));
}

TEST(ConvertToUTF8, IsSilentBelowDebugLevel) {
    LogCapture const log(Logger::INFO_LEVEL);
    (void)convertToUTF8(arrayOf("plain"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(ConvertToUTF8, EmptyInputThrowsOutOfBounds) {
    LogCapture const log;
    std::string indexing;
    try {
        Array<char> const empty;
        (void)empty[0];
    } catch (OutOfBoundsException const& exception) {
        indexing = exception.getMessage();
    }
    ASSERT_NE(indexing, "");
    try {
        (void)convertToUTF8(Array<char>());
        FAIL() << "no exception";
    } catch (OutOfBoundsException const& exception) {
        EXPECT_EQ(indexing, exception.getMessage());
    }
    EXPECT_THAT(log.lines(), ElementsAre(NO_MARK, detected(2)));
    try {
        (void)UTF16ToUTF8(Array<unsigned char>());
        FAIL() << "no exception";
    } catch (OutOfBoundsException const& exception) {
        EXPECT_EQ(indexing, exception.getMessage());
    }
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST(UTF16ToUTF8, OverloadForUnsignedBytesDetectsTheOrder) {
    EXPECT_EQ(UTF16ToUTF8(unsignedArrayOf("\xFF\xFE\x41\x00"sv)), "A");
    EXPECT_EQ(UTF16ToUTF8(unsignedArrayOf("\xFE\xFF\x00\x41"sv)), "A");
    EXPECT_EQ(UTF16ToUTF8(unsignedArrayOf("a\0b\0c\0d\0e\0f\0"sv)), "abcdef");
    EXPECT_EQ(outcomeOf([] {
                  return std::string(std::string_view(UTF16ToUTF8(unsignedArrayOf("abc"))));
              }),
              CANNOT_DETECT);
    LogCapture const log;
    (void)UTF16ToUTF8(unsignedArrayOf("a\0b\0c\0d\0e\0f\0"sv));
    EXPECT_THAT(log.lines(), ElementsAre(NO_MARK));
}

// ---------------------------------------------------------------------------- against a model

/// All that the conversions do with a buffer, in the plainest words.
class Model {
public:
    explicit Model(std::string_view bytes) : bytes_(bytes) {
        if (bytes.substr(0, 2) == "\xFF\xFE") {
            order = BOM_UTF16_LE;
        } else if (bytes.substr(0, 2) == "\xFE\xFF") {
            order = BOM_UTF16_BE;
        } else if (bytes.size() >= 11) {
            int balance = 0;
            for (std::size_t i = 0; i < 10; ++i) {
                balance += bytes[i] != '\0' ? 0 : i % 2 == 0 ? 1 : -1;
            }
            order = balance < 0 ? BOM_UTF16_LE : balance > 0 ? BOM_UTF16_BE : BOM_UNKNOWN;
        }
    }

    std::string utf8(BOMTypes wanted) const {
        if (wanted == BOM_UNKNOWN) {
            wanted = order;
        }
        if (wanted == BOM_UNKNOWN) {
            return CANNOT_DETECT;
        }
        if (bytes_.size() % 2 == 1) {
            char digits[16];
            std::snprintf(digits, sizeof digits, "%08x",
                          static_cast<unsigned int>(
                              static_cast<int>(static_cast<signed char>(bytes_.back()))));
            return "An odd character (0x" + std::string(digits) +
                   ") was left after regrouping UTF16 bytes.";
        }
        std::u16string units;
        for (std::size_t i = 0; i < bytes_.size(); i += 2) {
            auto const first = static_cast<unsigned char>(bytes_[i]);
            auto const second = static_cast<unsigned char>(bytes_[i + 1]);
            units += static_cast<char16_t>(wanted == BOM_UTF16_LE ? first + second * 256
                                                                  : first * 256 + second);
        }
        if (!units.empty() && units[0] == 0xFEFF) {
            units.erase(0, 1);
        }
        return zeb::test::encode(zeb::test::decode(units));
    }

    std::string converted() const {
        return order == BOM_UNKNOWN ? std::string(bytes_) : utf8(order);
    }

    BOMTypes order = BOM_UNKNOWN;

private:
    std::string_view bytes_;
};

template <typename Action>
bool yields(std::string const& expected, Action action) {
    try {
        return action() == expected;
    } catch (JORLibraryException const& exception) {
        return expected == exception.getMessage();
    }
}

/// @return whether all functions agree with the model
bool agreesWithModel(std::string const& bytes) {
    Model const model(bytes);
    Array<char> const data = arrayOf(bytes);
    if (autodetectByteOrder(data) != model.order) {
        return false;
    }
    bool agrees = bytes.empty() || yields(model.converted(), [&] { return convertToUTF8(data); });
    for (BOMTypes const order : {BOM_UTF16_LE, BOM_UTF16_BE, BOM_UNKNOWN}) {
        agrees = agrees && yields(model.utf8(order), [&] { return UTF16ToUTF8(data, order); });
    }
    return agrees;
}

TEST(ByteOrderModel, AllShortBuffersOfTelltaleBytes) {
    static constexpr char ALPHABET[] = {'\x00', '\x41', '\xFE', '\xFF', '\xD8', '\xDC'};
    static constexpr std::size_t LONGEST = SANITIZED ? 6 : 7;
    std::size_t cases = 0;
    std::vector<std::size_t> digits;
    std::string bytes;
    for (std::size_t length = 0; length <= LONGEST; ++length) {
        digits.assign(length, 0);
        for (bool more = true; more; ++cases) {
            bytes.clear();
            for (std::size_t const digit : digits) {
                bytes += ALPHABET[digit];
            }
            // Exceptions take most of the time, so that most of the longest do without them.
            bool const agrees =
                length < LONGEST || cases % 8 == 0
                    ? agreesWithModel(bytes)
                    : yields(
                          Model(bytes).converted(), [&] { return convertToUTF8(arrayOf(bytes)); });
            ASSERT_TRUE(agrees) << testing::PrintToString(bytes);
            more = false;
            for (std::size_t& digit : digits) {
                if (++digit < sizeof ALPHABET) {
                    more = true;
                    break;
                }
                digit = 0;
            }
        }
    }
    EXPECT_EQ(cases, SANITIZED ? 55'987U : 335'923U);
}

TEST(ByteOrderModel, RandomBuffersOfUpTo14Bytes) {
    zeb::test::Random random(1114);
    static constexpr std::string_view ALPHABET = "\x00\x00\x00\x41\xFE\xFF\xD8\xDC\x7F\x80\xC3"sv;
    for (int i = 0; i < (SANITIZED ? 100'000 : 400'000); ++i) {
        std::string const bytes = random.text(ALPHABET, random.below(15));
        bool const agrees =
            bytes.size() % 2 == 0 && i % 4 == 0
                ? agreesWithModel(bytes)
                : bytes.empty() || (autodetectByteOrder(arrayOf(bytes)) == Model(bytes).order &&
                                    yields(Model(bytes).converted(),
                                           [&] { return convertToUTF8(arrayOf(bytes)); }));
        ASSERT_TRUE(agrees) << "case " << i << ": " << testing::PrintToString(bytes);
    }
}

}  // namespace
