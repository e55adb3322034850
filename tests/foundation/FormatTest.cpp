#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Format.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <locale>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

using zeb::foundation::Array;
using zeb::foundation::Format;
using zeb::foundation::OStringStream;
using zeb::foundation::String;
using zeb::foundation::StringArray;
using zeb::foundation::StringBuffer;
using namespace std::string_view_literals;

static_assert(!std::is_copy_constructible_v<Format> && !std::is_copy_assignable_v<Format>);
static_assert(std::has_virtual_destructor_v<Format>);

template <typename... Arguments>
String format(std::string_view text, Arguments const&... arguments) {
    return Format(text, arguments...);
}

TEST(FormatPlaceholders, Table) {
    constexpr std::pair<std::string_view, std::string_view> ROWS[] = {
        {"", ""},
        {"plain", "plain"},
        {"%1", "a"},
        {"%2%1", "ba"},              // any order
        {"%1%1-%1", "aa-a"},         // as often as it occurs
        {"<%1> <%2>", "<a> <b>"},    //
        {"%%", "%"},                 // a percent sign
        {"%%%%", "%%"},              //
        {"%%1", "%1"},               // which makes no placeholder of what follows
        {"%%%1", "%a"},              //
        {"%1%%2", "a%2"},            //
        {"100%", "100%"},            // any other percent sign is literal
        {"%", "%"},                  //
        {"%x%1", "%xa"},             //
        {"% 1", "% 1"},              //
        {"%-1", "%-1"},              //
        {"%x%%", "%x%"},             //
        {"%0", "%0"},                // a digit without an argument stays
        {"%3", "%3"},                //
        {"%9%1", "%9a"},             //
        {"%3%%%1", "%3%a"},          //
        {"%10", "a0"},               // one digit alone
        {"%21", "b1"},               //
        {"%1\0%2\0"sv, "a\0b\0"sv},  // NUL is a byte as any other
        {"%\0001"sv, "%\0001"sv},    //
        {"%\xC2\xB9", "%\xC2\xB9"},  // a digit beyond ASCII is none
        {"\xC3\xA4%1",
         "\xC3\xA4"
         "a"},  //
    };
    for (auto const& [text, expected] : ROWS) {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(format(text, "a", "b"), expected);
    }
}

TEST(FormatPlaceholders, WithoutArgumentsDigitsStayAndPercentSignsAreHalved) {
    EXPECT_EQ(format("%0 %1 %9 %% %"), "%0 %1 %9 % %");
}

TEST(FormatPlaceholders, NothingIsReadBehindTheText) {
    constexpr std::string_view TEXT = "%1%1%%";
    EXPECT_EQ(format(TEXT.substr(0, 3), "a"), "a%");  // a digit would follow
    EXPECT_EQ(format(TEXT.substr(0, 5), "a"), "aa%");
}

TEST(FormatPlaceholders, NineArgumentsAreReached) {
    EXPECT_EQ(format("%9%8%7%6%5%4%3%2%1%0", 1, 2, 3, 4, 5, 6, 7, 8, 9), "987654321%0");
    EXPECT_EQ(format("%1%9", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11), "19");
}

TEST(FormatPlaceholders, ArgumentsAreNotSearchedForPlaceholders) {
    EXPECT_EQ(format("%1%2", "%2", "%%1"), "%2%%1");
}

TEST(FormatArguments, Texts) {
    char const* const null = nullptr;
    char* const nullWritable = nullptr;
    char writable[] = "w";
    EXPECT_EQ(format("<%1>", "literal"), "<literal>");
    EXPECT_EQ(format("<%1>", null), "<>");
    EXPECT_EQ(format("<%1>", nullWritable), "<>");
    EXPECT_EQ(format("<%1>", static_cast<char*>(writable)), "<w>");
    EXPECT_EQ(format("<%1>", writable), "<w>");
    EXPECT_EQ(format("<%1>", String("a\0b"sv)), "<a\0b>"sv);
    EXPECT_EQ(format("<%1>", std::string("a\0b", 3)), "<a\0b>"sv);
    EXPECT_EQ(format("<%1>", "a\0b"sv), "<a\0b>"sv);
    EXPECT_EQ(format("<%1>", String()), "<>");
    EXPECT_EQ(format("<%1>", ""), "<>");
    StringBuffer buffer;
    buffer.append("buffer");
    EXPECT_EQ(format("<%1>", buffer), "<buffer>");
    OStringStream stream;
    stream << "stream";
    EXPECT_EQ(format("<%1>", stream), "<stream>");
    EXPECT_EQ(format("<%1>", Format("%1", "inner")), "<inner>");
}

TEST(FormatArguments, CharactersOfEveryKindAreCharacters) {
    EXPECT_EQ(format("%1%2%3", 'a', static_cast<signed char>('b'), static_cast<unsigned char>('c')),
              "abc");
    EXPECT_EQ(format("%1", '\0'), "\0"sv);
    EXPECT_EQ(format("%1", static_cast<unsigned char>(0xFF)), "\xFF");
    EXPECT_EQ(format("%1", std::int8_t{65}), "A");
}

template <typename T>
void expectLimits() {
    using Limits = std::numeric_limits<T>;
    EXPECT_EQ(format("%1 %2 %3", Limits::min(), Limits::max(), T{0}),
              std::to_string(Limits::min()) + " " + std::to_string(Limits::max()) + " 0");
}

TEST(FormatArguments, IntegersOfEveryTypeToTheirLimits) {
    expectLimits<short>();
    expectLimits<unsigned short>();
    expectLimits<int>();
    expectLimits<unsigned int>();
    expectLimits<long>();
    expectLimits<unsigned long>();
    expectLimits<long long>();
    expectLimits<unsigned long long>();
    EXPECT_EQ(format("%1 %2", std::numeric_limits<std::int64_t>::min(),
                     std::numeric_limits<std::uint64_t>::max()),
              "-9223372036854775808 18446744073709551615");
}

TEST(FormatArguments, TruthValuesAreOneAndZero) { EXPECT_EQ(format("%1%2", true, false), "10"); }

enum Plain { ONE = 1, MINUS = -2 };

struct Point {
    int x, y;
};
std::ostream& operator<<(std::ostream& out, Point const& point) {
    return out << '(' << point.x << ", " << point.y << ')';
}

TEST(FormatArguments, EverythingElseAsItsOutputOperatorWrites) {
    EXPECT_EQ(format("%1 %2 %3", 1.5, 0.1F, 1e100), "1.5 0.1 1e+100");
    EXPECT_EQ(format("%1 %2", ONE, MINUS), "1 -2");
    EXPECT_EQ(format("at %1", Point{3, -4}), "at (3, -4)");
    int const* const null = nullptr;
    EXPECT_EQ(format("%1", null), "0");
    auto const* const bytes = reinterpret_cast<unsigned char const*>("bytes");
    EXPECT_EQ(format("%1", bytes), "bytes");
}

TEST(FormatArguments, ReadTheSameDirectlyAndFromAStream) {
    auto const check = [](auto const& value) {
        OStringStream stream;
        stream << value;
        EXPECT_EQ(format("%1", value), stream.toString());
    };
    check('x');
    check(static_cast<signed char>(-3));
    check(static_cast<unsigned char>(200));
    check(short{-5});
    check(static_cast<unsigned short>(65535));
    check(-1);
    check(1U);
    check(std::numeric_limits<long>::min());
    check(std::numeric_limits<unsigned long long>::max());
    check(true);
    check("text");
    check(String("s"));
    check(std::string("s"));
}

/// Counts how often it is written.
struct Counting {
    int* writes;
};
std::ostream& operator<<(std::ostream& out, Counting const& counting) {
    ++*counting.writes;
    return out << 'c';
}

TEST(FormatArguments, AreWrittenOncePerPlaceholder) {
    int writes = 0;
    EXPECT_EQ(format("%1", Counting{&writes}), "c");
    EXPECT_EQ(writes, 1);
    EXPECT_EQ(format("%1 %1", Counting{&writes}), "c c");
    EXPECT_EQ(writes, 3);
    EXPECT_EQ(format("nothing", Counting{&writes}), "nothing");
    EXPECT_EQ(writes, 3);
}

TEST(FormatArguments, AreWrittenWhenTheFormatIsMadeNotWhenItIsRead) {
    int writes = 0;
    Format const made("%1", Counting{&writes});
    EXPECT_EQ(writes, 1);
    String const first = made;
    String const second = made.toString();
    EXPECT_EQ(first, "c");
    EXPECT_EQ(second, "c");
    EXPECT_EQ(writes, 1);
}

/// Throws when it is written to a stream that lets exceptions through; a stream of the ordinary
/// kind notes them and goes on.
struct Failing {};
std::ostream& operator<<(std::ostream& out, Failing const&) {
    out << "half";
    throw std::runtime_error("cannot be written");
}

TEST(FormatArguments, ExceptionsOfAnOutputOperatorPassThrough) {
    EXPECT_THROW(format("%1", Failing()), std::runtime_error);
}

class GroupingPunctuation : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(FormatArguments, TheGlobalLocaleHasNoInfluence) {
    std::locale const before =
        std::locale::global(std::locale(std::locale::classic(), new GroupingPunctuation));
    String const text = format("%1 %2 %3", 1234567, 1234567.5, Point{10000, 20000});
    std::locale::global(before);
    EXPECT_EQ(text, "1234567 1.23457e+06 (10000, 20000)");
}

TEST(Format, ConvertsToAString) {
    String const converted = Format("%1", 1);
    EXPECT_EQ(converted, "1");
    Format const kept("%1-%2", "a", 2);
    EXPECT_EQ(kept.toString(), "a-2");
    EXPECT_EQ(kept.toString(), "a-2");  // a named one returns its text at every call
    EXPECT_EQ(Format("%1", "temporary").toString(), "temporary");
    auto const length = [](String const& text) { return text.length(); };
    EXPECT_EQ(length(Format("%1", "abc")), 3u);
}

TEST(Format, LongTextsAreKept) {
    std::string const longText(100000, 'x');
    EXPECT_EQ(format("%1%1", longText), longText + longText);
    EXPECT_EQ(format(longText), longText);
}

// ---------------------------------------------------------------- the step for variants

/// Shows the protected step: literal text and the digits that it returns.
class Stepping : public Format {
public:
    static constexpr std::size_t NONE = NO_PLACEHOLDER;
    static constexpr ErrorMode KEEP = KEEP_PLACEHOLDER;
    static constexpr ErrorMode CONSUME = CONSUME_PLACEHOLDER;

    Stepping(std::string_view text, std::size_t lowest, std::size_t highest, ErrorMode mode) {
        while (!text.empty()) {
            std::size_t const before = text.size();
            indexes.push_back(process(text, lowest, highest, mode));
            EXPECT_LT(text.size(), before);
        }
    }

    std::vector<std::size_t> indexes;
};

static_assert(Stepping::KEEP == 0 && Stepping::CONSUME == 1, "the modes' values are given");

TEST(FormatStep, KeepModeLeavesDigitsOutOfRangeInTheText) {
    Stepping const step("a%0b%1c%2d%3%%", 1, 2, Stepping::KEEP);
    EXPECT_EQ(step.toString(), "a%0bcd%3%");
    EXPECT_EQ(step.indexes, (std::vector<std::size_t>{1, 2, Stepping::NONE}));
}

TEST(FormatStep, ConsumeModeDropsThemAndReturnsThem) {
    Stepping const step("a%0b%1c%2d%9%%", 0, 1, Stepping::CONSUME);
    EXPECT_EQ(step.toString(), "abcd%");
    EXPECT_EQ(step.indexes, (std::vector<std::size_t>{0, 1, 2, 9, Stepping::NONE}));
}

TEST(FormatStep, ATextWithoutPlaceholderIsUsedUpInOneStep) {
    for (auto const mode : {Stepping::KEEP, Stepping::CONSUME}) {
        Stepping const step("100% of %x%%%", 0, 9, mode);
        EXPECT_EQ(step.toString(), "100% of %x%%");
        EXPECT_EQ(step.indexes, (std::vector<std::size_t>{Stepping::NONE}));
    }
}

TEST(FormatStep, NothingIsLeftBehindTheLastPlaceholder) {
    Stepping const step("a%1", 0, 9, Stepping::CONSUME);
    EXPECT_EQ(step.toString(), "a");
    EXPECT_EQ(step.indexes, (std::vector<std::size_t>{1}));
}

/// The variant that numbers the elements of an array from %0.
class FromArray : public Format {
public:
    FromArray(std::string_view text, StringArray const& arguments) {
        std::size_t const highest = arguments.empty() ? 0 : arguments.size() - 1;
        while (!text.empty()) {
            std::size_t const index = process(text, 0, highest, CONSUME_PLACEHOLDER);
            if (index < arguments.size()) {
                put(arguments[index]);
            }
        }
    }
};

TEST(FormatStep, FillsFromAnArray) {
    StringArray const arguments{"a", "b\0c"sv};
    EXPECT_EQ(String(FromArray("%0-%1-%2-%%-%x", arguments)), "a-b\0c--%-%x"sv);
    EXPECT_EQ(String(FromArray("%0%1", StringArray())), "");
    EXPECT_EQ(String(FromArray("plain", arguments)), "plain");
    EXPECT_EQ(String(FromArray("", arguments)), "");
    EXPECT_EQ(String(FromArray("%10", arguments)), "b\0c0"sv);
}

}  // namespace
