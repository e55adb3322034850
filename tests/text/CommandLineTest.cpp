#include <OrventoTextOperations.hpp>

#include <zeb/common/JORLibraryException.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>

#include "LogCapture.hpp"
#include "Random.hpp"

namespace {

using namespace std::string_view_literals;
using testing::IsEmpty;
using zeb::common::JORLibraryException;
using zeb::test::LogCapture;
using ZEBNS2::CommandLine;
using ZEBNS2::String;
using ZEBNS2::StringArray;

static_assert(!std::is_default_constructible_v<CommandLine>);

TEST(EscapeArgument, QuotesWhatNeedsIt) {
    struct Row {
        std::string_view argument;
        std::string_view result;
    };
    constexpr Row ROWS[] = {
        {"abc", "abc"},
        {"a b", "\"a b\""},
        {"say \"hi\"", "\"say \\\"hi\\\"\""},
        {"\"", "\"\\\"\""},
        {"\"\"", "\"\\\"\\\"\""},
        {"a\"", "\"a\\\"\""},
        {"x\\dir\\", "x\\dir\\"},  // a backslash does not ask for quotes
        {"x y\\", "\"x y\\\""},    // nor is it escaped, not even at the end
        {"a\\\" b", "\"a\\\\\" b\""},
        {"", ""},  // no pair of quotes for the empty argument
        {"a\tb", "\"a\tb\""},
        {"a\nb", "\"a\nb\""},
        {"a\rb", "\"a\rb\""},
        {"a\vb", "\"a\vb\""},
        {"a\fb", "a\fb"},  // form feed is not in the set
        {"'$`*;&|<>()#~", "'$`*;&|<>()#~"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.argument);
        EXPECT_EQ(CommandLine::escapeArgument(String(row.argument)), row.result);
    }
}

TEST(EscapeArgument, EachSingleByte) {
    for (int value = 1; value < 256; ++value) {
        std::string const argument(1, static_cast<char>(value));
        bool const quoted = " \t\n\r\v\""sv.find(argument[0]) != std::string_view::npos;
        std::string const inner = argument == "\"" ? "\\\"" : argument;
        EXPECT_EQ(CommandLine::escapeArgument(argument), quoted ? '"' + inner + '"' : argument)
            << value;
    }
}

TEST(EscapeArgument, SharesAnArgumentThatNeedsNoQuotes) {
    String const argument("--option=value");
    EXPECT_EQ(CommandLine::escapeArgument(argument).c_str(), argument.c_str());
}

TEST(EscapeArgument, DecidesByThePartBeforeANulAndCopiesAll) {
    EXPECT_EQ(CommandLine::escapeArgument(String("a\0b c"sv)), "a\0b c"sv);
    EXPECT_EQ(CommandLine::escapeArgument(String("a \0\"c"sv)), "\"a \0\\\"c\""sv);
}

TEST(Flatten, JoinsByBlanks) {
    EXPECT_EQ(CommandLine::flatten({"ls", "-l", "my file"}), "ls -l \"my file\"");
    EXPECT_EQ(CommandLine::flatten({"a"}), "a");
    EXPECT_EQ(CommandLine::flatten({}), "");
}

TEST(Flatten, EmptyArgumentsVanishAtTheFrontAndDoubleTheBlankFurtherOn) {
    EXPECT_EQ(CommandLine::flatten({"", "a"}), "a");
    EXPECT_EQ(CommandLine::flatten({"", "", "a"}), "a");
    EXPECT_EQ(CommandLine::flatten({"a", "", "b"}), "a  b");
    EXPECT_EQ(CommandLine::flatten({"a", "", "", "b"}), "a   b");
    EXPECT_EQ(CommandLine::flatten({"a", ""}), "a ");
    EXPECT_EQ(CommandLine::flatten({"", ""}), "");
}

TEST(Flatten, IsTheEscapedArgumentsOneAfterTheOther) {
    zeb::test::Random random(42);
    for (int i = 0; i < 20'000; ++i) {
        StringArray arguments;
        String expected;
        for (std::size_t count = random.below(5); count > 0; --count) {
            String const argument = random.text("ab \"\\\t", random.below(5));
            arguments.append(argument);
            expected = (expected.empty() ? expected : expected + ' ') +
                       CommandLine::escapeArgument(argument);
        }
        ASSERT_EQ(CommandLine::flatten(arguments), expected) << "case " << i;
    }
}

template <typename Action>
void expectNotImplemented(Action action, char const* message) {
    LogCapture const log;
    try {
        action();
        FAIL() << "no exception";
    } catch (JORLibraryException const& exception) {
        EXPECT_STREQ(exception.getMessage(), message);
        EXPECT_STREQ(exception.type(), "JORLibraryException");
        EXPECT_STREQ(exception.getFile(), "OrventoTextOperations");
        EXPECT_GT(exception.getLine(), 0);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getSubclassCode(), -1);
        EXPECT_EQ(exception.getChained(), nullptr);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(UnescapeArgument, IsNotImplementedAndSaysSo) {
    expectNotImplemented([] { (void)CommandLine::unescapeArgument("a"); },
                         "Not implemented: unescapeArgument");
    static_assert(std::is_same_v<decltype(CommandLine::unescapeArgument("a")), String>);
}

TEST(Unflatten, IsNotImplementedAndSaysSo) {
    expectNotImplemented([] { (void)CommandLine::unflatten("a b"); }, "Not implemented: unflatten");
    expectNotImplemented([] { (void)CommandLine::unflatten(""); }, "Not implemented: unflatten");
    static_assert(std::is_same_v<decltype(CommandLine::unflatten("a")), StringArray>);
}

}  // namespace
