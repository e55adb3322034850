#include <OrventoTextOperations.hpp>

#include <zeb/foundation/Exception.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <locale>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "Random.hpp"
#include "RunProcess.hpp"
#include "TemporaryDirectory.hpp"

namespace {

using namespace std::string_view_literals;
using zeb::foundation::StringConversionException;
using ZEBNS2::Hexify;
using ZEBNS2::String;
using ZEBNS2::string_to_number;

/// A magnitude in digits of `base`.
std::string digitsOf(unsigned long long magnitude, unsigned int base) {
    std::string digits;
    do {
        digits += "0123456789abcdefghijklmnopqrstuvwxyz"[magnitude % base];
        magnitude /= base;
    } while (magnitude != 0);
    std::reverse(digits.begin(), digits.end());
    return digits;
}

template <typename T>
class IntegerTypes : public testing::Test {};
using Integers = testing::Types<signed char, short, int, long long, unsigned char, unsigned short,
                                unsigned int, unsigned long long>;
TYPED_TEST_SUITE(IntegerTypes, Integers, );

TYPED_TEST(IntegerTypes, ReturnTheTypeItself) {
    static_assert(std::is_same_v<decltype(string_to_number<TypeParam>("1", 10)), TypeParam>);
    EXPECT_EQ(string_to_number<TypeParam>("1", 10), TypeParam{1});
}

TYPED_TEST(IntegerTypes, ReachTheirLimitsInEveryBaseAndNoFurther) {
    auto const greatest = static_cast<unsigned long long>(std::numeric_limits<TypeParam>::max());
    for (unsigned int base = 2; base <= 36; ++base) {
        SCOPED_TRACE(base);
        int const signedBase = static_cast<int>(base);
        auto const numberOf = [signedBase](std::string const& text) {
            return string_to_number<TypeParam>(text, signedBase);
        };
        EXPECT_EQ(numberOf("0"), TypeParam{0});
        EXPECT_EQ(numberOf(digitsOf(greatest - 1, base)),
                  std::numeric_limits<TypeParam>::max() - 1);
        EXPECT_EQ(numberOf(digitsOf(greatest, base)), std::numeric_limits<TypeParam>::max());
        EXPECT_EQ(numberOf('+' + digitsOf(greatest, base)), std::numeric_limits<TypeParam>::max());
        std::string upper = digitsOf(greatest, base);
        for (char& digit : upper) {
            digit = digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit;
        }
        EXPECT_EQ(numberOf(upper), std::numeric_limits<TypeParam>::max());
        EXPECT_THROW((void)numberOf(digitsOf(greatest, base) + '0'), StringConversionException);
        if (greatest != ULLONG_MAX) {
            EXPECT_THROW((void)numberOf(digitsOf(greatest + 1, base)), StringConversionException);
        }
        if (std::is_signed_v<TypeParam>) {
            EXPECT_EQ(numberOf('-' + digitsOf(greatest, base)),
                      std::numeric_limits<TypeParam>::min() + 1);
            EXPECT_EQ(numberOf('-' + digitsOf(greatest + 1, base)),
                      std::numeric_limits<TypeParam>::min());
            EXPECT_THROW((void)numberOf('-' + digitsOf(greatest + 2, base)),
                         StringConversionException);
        } else {
            EXPECT_THROW((void)numberOf("-1"), StringConversionException);
        }
        if (base < 36) {
            // The first digit that this base does not have.
            EXPECT_THROW((void)numberOf(digitsOf(base, 36)), StringConversionException);
        }
    }
    EXPECT_THROW((void)string_to_number<unsigned long long>("18446744073709551616", 10),
                 StringConversionException);
}

TYPED_TEST(IntegerTypes, RefuseWhatIsNoNumber) {
    constexpr std::string_view TEXTS[] = {"",      " ",    "+",        "-",   " 1",  "1 ", "1\n",
                                          "+ 1",   "--1",  "+-1",      "1.0", "1e2", "0x", "1,0",
                                          "1\0"sv, "\0"sv, "1\0001"sv, "ten", "\xB2"};
    for (std::string_view const text : TEXTS) {
        SCOPED_TRACE(text);
        EXPECT_THROW((void)string_to_number<TypeParam>(String(text), 10),
                     StringConversionException);
    }
    for (int const base : {-1, 0, 1, 37, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(base);
        EXPECT_THROW((void)string_to_number<TypeParam>("1", base), StringConversionException);
    }
}

TEST(StringToNumber, PassesTheBaseOn) {
    EXPECT_EQ(string_to_number<int>("ff", 16), 255);
    EXPECT_EQ(string_to_number<int>("0xFF", 16), 255);
    EXPECT_EQ(string_to_number<int>("-101", 2), -5);
}

TEST(StringToNumber, RealsIgnoreTheBase) {
    for (int const base : {-1, 0, 2, 10, 16, 99}) {
        SCOPED_TRACE(base);
        EXPECT_EQ(string_to_number<double>("-2.5e3", base), -2500.0);
        EXPECT_EQ(string_to_number<float>("0.5", base), 0.5F);
    }
    static_assert(std::is_same_v<decltype(string_to_number<float>("1", 10)), float>);
    static_assert(std::is_same_v<decltype(string_to_number<double>("1", 10)), double>);
}

TEST(StringToNumber, RealsReachTheirLimits) {
    auto const textOf = [](double value) {
        char text[64];
        std::snprintf(text, sizeof text, "%.17g", value);
        return std::string(text);
    };
    EXPECT_EQ(string_to_number<double>(textOf(std::numeric_limits<double>::max()), 10),
              std::numeric_limits<double>::max());
    EXPECT_EQ(string_to_number<double>(textOf(std::numeric_limits<double>::lowest()), 10),
              std::numeric_limits<double>::lowest());
    EXPECT_EQ(string_to_number<double>(textOf(std::numeric_limits<double>::min()), 10),
              std::numeric_limits<double>::min());
    EXPECT_EQ(string_to_number<float>(textOf(double{std::numeric_limits<float>::max()}), 10),
              std::numeric_limits<float>::max());
    EXPECT_THROW((void)string_to_number<double>("1e309", 10), StringConversionException);
    EXPECT_THROW((void)string_to_number<double>("1e-400", 10), StringConversionException);
    EXPECT_THROW((void)string_to_number<float>("1e39", 10), StringConversionException);
    EXPECT_EQ(string_to_number<double>("inf", 10), std::numeric_limits<double>::infinity());
    for (std::string_view const text :
         {""sv, " 1"sv, "1 "sv, "1,5"sv, "0x10"sv, "1.5\0"sv, "."sv}) {
        SCOPED_TRACE(text);
        EXPECT_THROW((void)string_to_number<double>(String(text), 10), StringConversionException);
        EXPECT_THROW((void)string_to_number<float>(String(text), 10), StringConversionException);
    }
}

/// Numbers as Germans write them.
class CommaPunctuation : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

void expectClassicNumbers() {
    EXPECT_EQ(string_to_number<double>("1234.5", 10), 1234.5);
    EXPECT_EQ(string_to_number<int>("1234567", 10), 1234567);
    EXPECT_THROW((void)string_to_number<double>("1234,5", 10), StringConversionException);
    EXPECT_THROW((void)string_to_number<int>("1.234", 10), StringConversionException);
    EXPECT_EQ(Hexify<unsigned int>(0x12345678, false), "12345678");
}

TEST(Numbers, GlobalCppLocaleWithADecimalCommaHasNoInfluence) {
    std::locale const old =
        std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
    expectClassicNumbers();
    std::locale::global(old);
}

TEST(Numbers, CLocaleWithADecimalCommaHasNoInfluence) {
    // Few machines have such a locale, but the sources of all of them come with the C library.
    zeb::test::TemporaryDirectory const directory;
    std::string const path = directory.path("de_DE");
    int status = -1;
    try {
        status =
            zeb::test::runProcess({"localedef", "-i", "de_DE", "-f", "ISO-8859-1", path}).status;
    } catch (std::system_error const&) {
        GTEST_SKIP() << "localedef is not installed";
    }
    if (status != 0) {
        GTEST_SKIP() << "the sources of the locale de_DE are not installed";
    }
    ::setenv("LOCPATH", directory.path("").c_str(), 1);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE"), nullptr);
    EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    expectClassicNumbers();
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
}

// ---------------------------------------------------------------------------- Hexify

TEST(Hexify, PadsToTheWidthOfTheTypeOrNotAtAll) {
    EXPECT_EQ(Hexify<unsigned short>(0x0b, true), "000b");
    EXPECT_EQ(Hexify<unsigned short>(0x0b, false), "b");
    EXPECT_EQ(Hexify<unsigned short>(0xFFFF, true), "ffff");
    EXPECT_EQ(Hexify<unsigned short>(0, true), "0000");
    EXPECT_EQ(Hexify<unsigned short>(0, false), "0");
    EXPECT_EQ(Hexify<unsigned int>(255, true), "000000ff");
    EXPECT_EQ(Hexify<unsigned int>(255, false), "ff");
    EXPECT_EQ(Hexify<unsigned int>(UINT_MAX, false), "ffffffff");
    EXPECT_EQ(Hexify<unsigned int>(0, true), "00000000");
    EXPECT_EQ(Hexify<int>(0, false), "0");
    EXPECT_EQ(Hexify<int>(0xabc, true), "00000abc");
}

TEST(Hexify, NegativeIntIsItsPatternInTwosComplement) {
    EXPECT_EQ(Hexify<int>(-100, true), "ffffff9c");
    EXPECT_EQ(Hexify<int>(-1, true), "ffffffff");
    EXPECT_EQ(Hexify<int>(-1, false), "ffffffff");
    EXPECT_EQ(Hexify<int>(INT_MIN, false), "80000000");
}

TEST(Hexify, TypeIsDeduced) {
    EXPECT_EQ(Hexify(0x1FU, true), "0000001f");
    EXPECT_EQ(Hexify(0x1F, false), "1f");
}

TEST(Hexify, AgreesWithPrintf) {
    char text[32];
    for (unsigned int value = 0; value <= 0xFFFF; ++value) {
        auto const unit = static_cast<unsigned short>(value);
        std::snprintf(text, sizeof text, "%04x", value);
        ASSERT_EQ(Hexify<unsigned short>(unit, true), text);
        std::snprintf(text, sizeof text, "%x", value);
        ASSERT_EQ(Hexify<unsigned short>(unit, false), text);
    }
    zeb::test::Random random(7);
    for (int i = 0; i < 100'000; ++i) {
        auto const value = static_cast<unsigned int>(random.below(0x10000) << random.below(17));
        std::snprintf(text, sizeof text, "%08x", value);
        ASSERT_EQ(Hexify<unsigned int>(value, true), text);
        ASSERT_EQ(Hexify<int>(static_cast<int>(value), true), text);
        std::snprintf(text, sizeof text, "%x", value);
        ASSERT_EQ(Hexify<unsigned int>(value, false), text);
        ASSERT_EQ(Hexify<int>(static_cast<int>(value), false), text);
    }
}

}  // namespace
