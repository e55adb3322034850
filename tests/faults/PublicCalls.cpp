#include "PublicCalls.hpp"

#include <RE.hpp>

#include <gtest/gtest.h>

#include <zeb/common/JORLibraryException.hpp>
#include <zeb/foundation/DateTime.hpp>
#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/foundation/UTF8Utils.hpp>
#include <zeb/xmltoolkit/CIMDateTime.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace zeb::test {

namespace {

using namespace std::string_view_literals;
using namespace ZEBNS2;
using common::JORLibraryException;
using foundation::DateTime;
using foundation::Exception;
using foundation::FileInformation;
using foundation::FileSystemException;
using foundation::Format;
using foundation::IntrusiveReference;
using foundation::LogAppender;
using foundation::Logger;
using foundation::LogMessage;
using foundation::OStringStream;
using foundation::OutOfBoundsException;
using foundation::StringBuffer;
using foundation::StringConversionException;
using xmltoolkit::CIMDateTime;
using xmltoolkit::DOMException;
using xmltoolkit::XMLParserDOM;
namespace FileSystem = foundation::FileSystem;

constexpr std::string_view TEXT = "key=\"a, b\"; other key=value, one of some length";
constexpr std::string_view XML =
    "<!DOCTYPE config [<!ENTITY e 'x &lt; y'><!ATTLIST disk mode CDATA 'rw'>]>\n"
    "<config><disk id='1' type=\"raw\">&e;<![CDATA[<raw>]]></disk>"
    "<disk id='2'><partition label='p'>text</partition></disk></config>";
constexpr std::string_view FILE_TEXT = "key=value\nother=3\n\nlast=line";
/// U+FEFF, a high surrogate followed by a letter, a pair, a lone low surrogate, a letter.
constexpr std::string_view UTF16_BYTES =
    "\xFF\xFE\x00\xD8\x42\x00\x3D\xD8\x00\xDE\x00\xDC\x41\x00"sv;
constexpr std::string_view UTF8_BYTES = "\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD\x41";
constexpr std::string_view ENVIRONMENT =
    "HOME=/home/somebody\0PATH=/usr/local/bin:/usr/bin:/bin\0"sv;

Array<char> bytesOf(std::string_view bytes) { return Array<char>(bytes.begin(), bytes.end()); }

Array<unsigned char> unsignedBytesOf(std::string_view bytes) {
    Array<unsigned char> result;
    for (char const byte : bytes) {
        result.append(static_cast<unsigned char>(byte));
    }
    return result;
}

/// The allocations of a result do not fail any more when it is compared.
template <typename Result, typename Expected>
void expectResult(Attempt& attempt, Inputs const& in, Result (*call)(Inputs const& in),
                  Expected (*expected)(Inputs const& in)) {
    std::optional<Result> result;
    if (attempt([&] { result.emplace(call(in)); })) {
        EXPECT_EQ(*result, expected(in));
    }
}

template <typename Thrown>
void expectThrow(Attempt& attempt, Action const& call) {
    std::optional<Thrown> thrown;
    bool const ended = attempt([&] {
        try {
            call();
        } catch (Thrown const& exception) {
            thrown.emplace(exception);
        }
    });
    EXPECT_EQ(thrown.has_value(), ended);
    if (thrown) {
        EXPECT_STRNE(thrown->what(), "");
    }
}

/// A use whose result is compared.
#define ZEB_RESULT(function, call, expected) ZEB_COMPARED_USE(function, false, call, expected)
/// The same, of a function that searches with an expression.
#define ZEB_SEARCH(function, call, expected) ZEB_COMPARED_USE(function, true, call, expected)
#define ZEB_COMPARED_USE(function, sparesExpressions, call, expected)                  \
    {function, sparesExpressions, [](Attempt& attempt, Inputs const& inputs) {         \
         expectResult(                                                                 \
             attempt, inputs, +[]([[maybe_unused]] Inputs const& in) { return call; }, \
             +[]([[maybe_unused]] Inputs const& in) { return expected; });             \
     }}
/// A use that ends in an exception.
#define ZEB_THROWS(function, call, exception)                                   \
    {function, false, [](Attempt& attempt, [[maybe_unused]] Inputs const& in) { \
         expectThrow<exception>(attempt, [&] { static_cast<void>(call); });     \
     }}

using Body = void(Attempt& attempt, Inputs const& in);

/// A use with checks of its own.
PublicCall use(char const* function, Body* body) { return {function, false, body}; }

/// The same, of a function that searches with an expression.
PublicCall searchingUse(char const* function, Body* body) { return {function, true, body}; }

// Virtual functions are called by their full name, so that the object file shows which they are.

/// What every exception class has: making, telling its type, cloning (null without memory) and
/// throwing again.
template <typename T>
void addException(std::vector<PublicCall>& calls, char const* constructor, char const* type,
                  char const* clone, char const* rethrow) {
    calls.push_back({constructor, false, [](Attempt& attempt, Inputs const& in) {
                         std::optional<T> made;
                         attempt(
                             [&] { made.emplace("unit", 7, "a message", 3, &in.exception, 5); });
                         if (made) {
                             EXPECT_STREQ(made->getMessage(), "a message");
                             // Left out when it cannot be cloned.
                             if (made->getChained() != nullptr) {
                                 EXPECT_STREQ(made->getChained()->getMessage(), "the cause");
                             }
                         }
                     }});
    calls.push_back({type, false, [](Attempt& attempt, Inputs const&) {
                         T const exception("unit", 7, "a message", 3, nullptr, 5);
                         EXPECT_TRUE(attempt([&] { EXPECT_STRNE(exception.T::type(), ""); }));
                     }});
    calls.push_back({clone, false, [](Attempt& attempt, Inputs const&) {
                         T const exception("unit", 7, "a message", 3, nullptr, 5);
                         std::unique_ptr<T const> made;
                         EXPECT_TRUE(attempt([&] { made.reset(exception.T::clone()); }));
                         if (made) {
                             EXPECT_STREQ(made->getMessage(), "a message");
                         }
                     }});
    calls.push_back({rethrow, false, [](Attempt& attempt, Inputs const&) {
                         T const exception("unit", 7, "a message", 3, nullptr, 5);
                         expectThrow<T>(attempt, [&] { exception.T::rethrow(); });
                     }});
}

#define ZEB_ADD_EXCEPTION(calls, namespace_, Class)                                          \
    addException<Class>(calls, #namespace_ "::" #Class "::" #Class,                          \
                        #namespace_ "::" #Class "::type", #namespace_ "::" #Class "::clone", \
                        #namespace_ "::" #Class "::rethrow")

/// Takes messages and keeps nothing.
class Silence : public LogAppender {
public:
    void append(LogMessage const&) override {}
};

LogMessage message() { return {"component", "DEBUG", "a message", "unit", 7, "function"}; }

std::string contentsOf(String const& path) {
    std::ifstream file(path.c_str(), std::ios_base::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Edits a file. As long as memory is exhausted it is unchanged.
template <typename Edit>
void expectEdited(Attempt& attempt, Inputs const& in, Edit const& edit) {
    // Of its own: edits of one file must not overlap.
    std::string const name = "edited-" + std::to_string(reinterpret_cast<std::uintptr_t>(&attempt));
    String const file = in.directory.file(name, FILE_TEXT);
    bool const ended = attempt([&] { edit(file); });
    std::string const contents = contentsOf(file);
    // Without memory to open it the file is unchanged, which is not reported.
    EXPECT_TRUE(contents == FILE_TEXT ||
                (ended && contents == "key: value\nother: 3\n\nlast: line"))
        << contents;
}

/// Compiles, with the C library's own allocations failing too: it says that it has no memory.
template <typename Compile>
void expectCompiled(Attempt& attempt, Compile const& compile) {
    attempt([&] {
        try {
            compile();
        } catch (RegularExpressionException const& exception) {
            EXPECT_NE(std::string_view(exception.what()).find("Memory exhausted"),
                      std::string_view::npos);
        } catch (BadRegexException const& exception) {
            EXPECT_EQ(exception.getSubclassCode(), REG_ESPACE);
        }
    });
}

/// The C library survives this one at every allocation, unlike one with an anchor or a counted
/// group.
constexpr char SOUND_PATTERN[] = "[a-k]*(key|value)*[^x]+end|x{2,4}";

// ----------------------------------------------------------------------------------- the product

std::vector<PublicCall> const TEXT_CALLS = {
    ZEB_RESULT("ZEBNS2::substringAfter", substringAfter(in.text, '='), TEXT.substr(4)),
    ZEB_RESULT("ZEBNS2::substringAfter", substringAfter(in.text, "=\""), TEXT.substr(5)),
    ZEB_RESULT("ZEBNS2::substringAfter", substringAfter(in.text, in.separator), TEXT.substr(8)),
    ZEB_RESULT("ZEBNS2::substringBefore", substringBefore(in.text, '='), "key"),
    ZEB_RESULT("ZEBNS2::substringBefore", substringBefore(in.text, "=\""), "key"),
    ZEB_RESULT("ZEBNS2::substringBefore", substringBefore(in.text, in.separator), "key=\"a"),
    ZEB_RESULT("ZEBNS2::substringAfterLast", substringAfterLast(in.text, '='),
               "value, one of some length"),
    ZEB_RESULT("ZEBNS2::substringAfterLast", substringAfterLast(in.text, "key="),
               "value, one of some length"),
    ZEB_RESULT("ZEBNS2::substringAfterLast", substringAfterLast(in.text, in.separator),
               "one of some length"),
    ZEB_RESULT("ZEBNS2::is_substring", is_substring(in.separator, in.text), true),
    ZEB_RESULT("ZEBNS2::is_substring_ignorecase", is_substring_ignorecase(in.separator, in.text),
               true),
    ZEB_RESULT("ZEBNS2::equals_ignorecase", equals_ignorecase(in.text, in.text), true),
    ZEB_SEARCH("ZEBNS2::is_regex_match", is_regex_match(String("k(e)y"), in.text), true),
    ZEB_RESULT("ZEBNS2::remove_quotes", remove_quotes("\"quoted text\""), "quoted text"),
    use("ZEBNS2::find_first_quoted_string",
        [](Attempt& attempt, Inputs const& in) {
            unsigned int end = 77;
            String found;
            bool const ended = attempt([&] { found = find_first_quoted_string(in.text, end, 0); });
            EXPECT_EQ(end, ended ? 9U : 77U);
            EXPECT_EQ(found, ended ? "a, b" : "");
        }),
    ZEB_RESULT("ZEBNS2::quoted_string_tokenization", quoted_string_tokenization(in.text, ";,"),
               StringArray({"key=\"a, b\"", " other key=value", " one of some length"})),
    ZEB_RESULT("ZEBNS2::untokenize", untokenize(in.words, in.separator),
               "one, , two, a longer word, two"),
    ZEB_RESULT("ZEBNS2::remove_empty_strings", remove_empty_strings(in.words),
               StringArray({"one", "two", "a longer word", "two"})),
    ZEB_RESULT("ZEBNS2::find_exact_matches", find_exact_matches("two", in.words),
               StringArray({"two", "two"})),
    ZEB_RESULT("ZEBNS2::non_matching_index", non_matching_index(in.text, "key=x"), 4),
    ZEB_RESULT("ZEBNS2::removeRedundantSeparators",
               removeRedundantSeparators("/usr//local///bin", '/'), "/usr/local/bin"),
    ZEB_RESULT("ZEBNS2::CommandLine::escapeArgument", CommandLine::escapeArgument("a \"b\" c"),
               "\"a \\\"b\\\" c\""),
    ZEB_RESULT("ZEBNS2::CommandLine::flatten", CommandLine::flatten(in.words),
               String("one  two \"a longer word\" two")),
    ZEB_THROWS("ZEBNS2::CommandLine::unescapeArgument", CommandLine::unescapeArgument(in.text),
               Exception),
    ZEB_THROWS("ZEBNS2::CommandLine::unflatten", CommandLine::unflatten(in.text), Exception),
    ZEB_RESULT("ZEBNS2::getCurrentCIMDateTime", getCurrentCIMDateTime().length(), std::size_t{25}),
    ZEB_SEARCH("ZEBNS2::extractGenericDate",
               extractGenericDate(String("on Tue Mar 14 09:26:53 2023 at sea")),
               "Tue Mar 14 09:26:53 2023"),
    ZEB_SEARCH("ZEBNS2::extractGenericDate",
               extractGenericDate("on Tue Mar 14 09:26:53 2023 at sea"),
               "Tue Mar 14 09:26:53 2023"),
    ZEB_SEARCH("ZEBNS2::get_unit_size", get_unit_size("10 megabytes free"), std::uint64_t{1} << 20),
    ZEB_RESULT("ZEBNS2::leftText", leftText("left", 30, '.'), "left.........................."),
    ZEB_RESULT("ZEBNS2::rightText", rightText("right", 10, '.'), ".....right"),
    ZEB_RESULT("ZEBNS2::centerText", centerText("center", 10, '.'), "..center.."),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<double>("1.5", 10), 1.5),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<float>("1.5", 10), 1.5F),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<signed char>("-12", 10), -12),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<short>("-1234", 10), -1234),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<int>("-123456", 10), -123456),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<long long>("-7f", 16), -127),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<unsigned char>("255", 10), 255),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<unsigned short>("65535", 10), 65535),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<unsigned int>("ff", 16), 255U),
    ZEB_RESULT("ZEBNS2::string_to_number", string_to_number<unsigned long long>("ff", 16), 255U),
    ZEB_THROWS("ZEBNS2::string_to_number", string_to_number<int>("no number", 10),
               StringConversionException),
    ZEB_RESULT("ZEBNS2::Hexify", Hexify<unsigned short>(10, true), "000a"),
    ZEB_RESULT("ZEBNS2::Hexify", Hexify<unsigned int>(10, true), "0000000a"),
    ZEB_RESULT("ZEBNS2::Hexify", Hexify<int>(-1, true), "ffffffff"),
    use("ZEBNS2::extractEnv",
        [](Attempt& attempt, Inputs const& in) {
            std::vector<char> value{'o', 'l', 'd'};
            bool const ended = attempt([&] { extractEnv(in.environment, "HOME", value, '='); });
            EXPECT_EQ(std::string_view(value.data(), value.size()),
                      ended ? "/home/somebody" : "old");
        }),
    use("ZEBNS2::extractEnv",
        [](Attempt& attempt, Inputs const&) {
            String value("old");
            String const environment(ENVIRONMENT);
            bool const ended = attempt([&] { extractEnv(environment, "HOME", value, '='); });
            EXPECT_EQ(value, ended ? "/home/somebody" : "old");
            EXPECT_EQ(environment, ENVIRONMENT);
        }),
    use("ZEBNS2::extractPath",
        [](Attempt& attempt, Inputs const& in) {
            std::vector<char> value{'o', 'l', 'd'};
            bool const ended = attempt([&] { extractPath(in.environment, value); });
            EXPECT_EQ(std::string_view(value.data(), value.size()),
                      ended ? "/usr/local/bin:/usr/bin:/bin" : "old");
        }),
    ZEB_RESULT("ZEBNS2::autodetectByteOrder", autodetectByteOrder(in.utf16), BOM_UTF16_LE),
    ZEB_RESULT("ZEBNS2::autodetectByteOrder", autodetectByteOrder(bytesOf("neither of them")),
               BOM_UNKNOWN),
    ZEB_THROWS("ZEBNS2::convertToUTF8", convertToUTF8(Array<char>()), OutOfBoundsException),
    ZEB_RESULT("ZEBNS2::regroupUTF16", regroupUTF16(in.utf16, BOM_UNKNOWN), in.units),
    ZEB_THROWS("ZEBNS2::regroupUTF16", regroupUTF16(bytesOf("\xFF\xFE\x41"), BOM_UTF16_LE),
               JORLibraryException),
    ZEB_THROWS("ZEBNS2::regroupUTF16", regroupUTF16(bytesOf("unmarked"), BOM_UNKNOWN),
               JORLibraryException),
    ZEB_RESULT("ZEBNS2::UTF16ToUTF32", UTF16ToUTF32(in.units),
               Array<unsigned int>({0xFFFD, 0x1F600, 0xFFFD, 0x41})),
    ZEB_RESULT("ZEBNS2::UTF16ToUTF8", UTF16ToUTF8(in.utf16, BOM_UTF16_LE), UTF8_BYTES),
    ZEB_RESULT("ZEBNS2::UTF16ToUTF8", UTF16ToUTF8(unsignedBytesOf(UTF16_BYTES)), UTF8_BYTES),
    ZEB_RESULT("ZEBNS2::convertToUTF8", convertToUTF8(in.utf16), UTF8_BYTES),
    ZEB_RESULT("ZEBNS2::convertToUTF8", convertToUTF8(bytesOf("neither of them")),
               "neither of them"),
    ZEB_RESULT("ZEBNS2::autodetectByteOrder", autodetectByteOrder(bytesOf("\xFE\xFF")),
               BOM_UTF16_BE),
    ZEB_RESULT("ZEBNS2::regroupUTF16", regroupUTF16(bytesOf("\x20\xAC"), BOM_UTF16_BE),
               Array<unsigned short>({0x20AC})),
    ZEB_THROWS("ZEBNS2::UTF16ToUTF8", UTF16ToUTF8(bytesOf("odd"), BOM_UTF16_BE),
               JORLibraryException),
    ZEB_THROWS("ZEBNS2::UTF16ToUTF8", UTF16ToUTF8(unsignedBytesOf("unmarked")),
               JORLibraryException),
    ZEB_RESULT("ZEBNS2::isValidXMLCharacter", isValidXMLCharacter(0x41), true),
    ZEB_RESULT("ZEBNS2::isValidXMLCharacter", isValidXMLCharacter(0xFFFE), false),
    use("ZEBNS2::replaceInvalidXMLCharacters",
        [](Attempt& attempt, Inputs const&) {
            Array<unsigned short> units{0x41, 1, 2, 0x42};
            Array<unsigned short> const copy = units;
            bool const ended = attempt([&] { replaceInvalidXMLCharacters(units, "a prefix: "); });
            EXPECT_TRUE(copy == Array<unsigned short>({0x41, 1, 2, 0x42}));
            // Only the messages can fail once it is detached.
            EXPECT_TRUE(!ended || units == Array<unsigned short>({0x41, 0xFFFD, 0xFFFD, 0x42}));
            EXPECT_EQ(std::as_const(units)[0], 0x41);
            EXPECT_EQ(units.size(), 4U);
        }),
    ZEB_RESULT("ZEBNS2::search_replace", search_replace(in.text, "key", "a longer text"),
               "a longer text=\"a, b\"; other a longer text=value, one of some length"),
    ZEB_RESULT("ZEBNS2::search_replace", search_replace(in.text, "", "x"), TEXT),
    use("ZEBNS2::copy_stream",
        [](Attempt& attempt, Inputs const&) {
            std::istringstream source(std::string(5000, 'x'));
            std::ostringstream destination;
            std::size_t copied = 0;
            bool const ended = attempt([&] { copied = copy_stream(destination, source); });
            // A stream keeps the failure to itself, in its state.
            EXPECT_TRUE(!ended || copied == 5000U || !destination.good() || !source.good());
            EXPECT_TRUE(destination.str() == std::string(destination.str().size(), 'x'));
        }),
    use("ZEBNS2::read_from_stream",
        [](Attempt& attempt, Inputs const& in) {
            IFileStream stream(in.file);
            std::vector<char> bytes;
            bool const ended = attempt([&] { bytes = read_from_stream(stream, 0xFFFFFFFF); });
            EXPECT_EQ(std::string_view(bytes.data(), bytes.size()), ended ? FILE_TEXT : "");
        }),
};

std::vector<PublicCall> const EXPRESSION_CALLS = {
    use("ZEBNS2::RE::RE",
        [](Attempt& attempt, Inputs const&) {
            expectCompiled(attempt, [] { RE(SOUND_PATTERN, 0); });
        }),
    ZEB_THROWS("ZEBNS2::RE::RE", RE("(", 0), BadRegexException),
    ZEB_RESULT("ZEBNS2::wild2re", wild2re("ab#?\\*"), "^ab[[:digit:]].\\*$"),
    use("ZEBNS2::RegularExpression::RegularExpression",
        [](Attempt& attempt, Inputs const&) {
            String const pattern(SOUND_PATTERN);
            expectCompiled(attempt, [&] { RegularExpression(pattern, 0); });
            EXPECT_EQ(pattern, SOUND_PATTERN);
        }),
    use("ZEBNS2::RegularExpression::RegularExpression",
        [](Attempt& attempt, Inputs const&) {
            expectCompiled(attempt, [] { RegularExpression(SOUND_PATTERN, 0); });
        }),
    use("ZEBNS2::RegularExpression::RegularExpression",
        [](Attempt& attempt, Inputs const&) {
            RegularExpression const original(SOUND_PATTERN, 0);
            expectCompiled(attempt, [&] { RegularExpression{original}; });
            EXPECT_TRUE(original.matches("key and the end"));
        }),
    searchingUse("ZEBNS2::RegularExpression::RegularExpression",
                 [](Attempt& attempt, Inputs const&) {
                     expectThrow<RegularExpressionException>(attempt, [] {
                         RegularExpression("a|(b", RegularExpression::CASE_INSENSITIVE);
                     });
                 }),
    use("ZEBNS2::RegularExpression::replace",
        [](Attempt& attempt, Inputs const&) {
            RegularExpression expression("old", 0);
            expectCompiled(attempt, [&] { expression.replace(SOUND_PATTERN, 0); });
            // Replaced or not, it has the new pattern, or nothing to match with.
            EXPECT_FALSE(expression.matches("neither") || expression.matches("another"));
            expression.replace("new", 0);
            EXPECT_TRUE(expression.matches("a new one"));
        }),
    use("ZEBNS2::RegularExpression::operator=",
        [](Attempt& attempt, Inputs const&) {
            RegularExpression expression("old", 0);
            RegularExpression const other(SOUND_PATTERN, 0);
            expectCompiled(attempt, [&] { expression = other; });
            EXPECT_EQ(other.getPattern(), SOUND_PATTERN);
            expression.replace("new", 0);
            EXPECT_TRUE(expression.matches("a new one"));
        }),
    ZEB_SEARCH("ZEBNS2::RegularExpression::matches", in.expression.matches(in.text), true),
    ZEB_SEARCH("ZEBNS2::regex_matches", regex_matches(in.expression, in.text), true),
    ZEB_SEARCH("ZEBNS2::RegularExpression::first_match", in.expression.first_match("XXkey=v"),
               std::pair(2, 7)),
    ZEB_SEARCH("ZEBNS2::RegularExpression::matching_substring",
               in.expression.matching_substring(String("XXkey=v")), "key=v"),
    ZEB_SEARCH("ZEBNS2::RegularExpression::matching_substring",
               in.expression.matching_substring(StringArray({"XXkey=v", "", "a=b"})),
               StringArray({"key=v", "", "a=b"})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::all_matches", in.expression.all_matches("XXkey=v"),
               Array<OffsetPair>({{2, 7}, {2, 5}, {6, 7}})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::all_unique_matches",
               in.expression.all_unique_matches("a=b XXkey=v"),
               Array<OffsetPair>({{0, 3}, {6, 11}})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::all_matching_substrings",
               in.expression.all_matching_substrings(String("XXkey=v")),
               StringArray({"key=v", "key", "v"})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::all_matching_substrings",
               in.expression.all_matching_substrings(StringArray({"key=v", "", "a=b"})),
               Array<StringArray>({{"key=v", "key", "v"}, {}, {"a=b", "a", "b"}})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::all_unique_matching_substrings",
               in.expression.all_unique_matching_substrings(String("a=b XXkey=v")),
               StringArray({"a=b", "key=v"})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::all_unique_matching_substrings",
               in.expression.all_unique_matching_substrings(StringArray({"a=b key=v", ""})),
               Array<StringArray>({{"a=b", "key=v"}, {}})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::first_matching_substring",
               in.expression.first_matching_substring(StringArray({"", "key=v", "a=b"})), "key=v"),
    ZEB_SEARCH("ZEBNS2::RegularExpression::all_matching_lines",
               in.expression.all_matching_lines(StringArray({"", "key=v", "a=b"})),
               StringArray({"key=v", "a=b"})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::non_matching_lines",
               in.expression.non_matching_lines(StringArray({"", "key=v", "other"})),
               StringArray({"", "other"})),
    ZEB_SEARCH("ZEBNS2::RegularExpression::find_matching_line_numbers",
               in.expression.find_matching_line_numbers(StringArray({"", "key=v", "a=b"})),
               Array<unsigned int>({1, 2})),
    ZEB_RESULT("ZEBNS2::RegularExpression::escapeRegexSpecialCharacters",
               RegularExpression::escapeRegexSpecialCharacters("x.y*z", 0), "x\\.y\\*z"),
    ZEB_RESULT("ZEBNS2::RegularExpression::convertWin32WildcardExpression",
               RegularExpression::convertWin32WildcardExpression("logs\\*.txt", 0),
               "^logs\\\\.*\\.txt$"),
    ZEB_SEARCH("ZEBNS2::realSed", realSed(FILE_TEXT, "s/([a-z]+)=/\\1: /g", 0),
               "key: value\nother: 3\n\nlast: line"),
    ZEB_SEARCH("ZEBNS2::realSed", realSed(FILE_TEXT, "/^$/d", 0), "key=value\nother=3\nlast=line"),
    ZEB_SEARCH("ZEBNS2::realSed", realSed(FILE_TEXT, "/other/,/^$/d", 0), "key=value\nlast=line"),
    ZEB_SEARCH("ZEBNS2::realSed", realSed(FILE_TEXT, "unknown", 0), ""),
    ZEB_SEARCH("ZEBNS2::sed", sed(in.text, in.expression, "%2 of %1"),
               "key=\"a, b\"; other value of key, one of some length"),
    ZEB_SEARCH("ZEBNS2::sed", sed(in.text, String("([a-z]+)$"), String("<%1>")),
               "key=\"a, b\"; other key=value, one of some <length>"),
    searchingUse("ZEBNS2::unprivilegedSed",
                 [](Attempt& attempt, Inputs const& in) {
                     RegularExpression const expression("=", 0);
                     expectEdited(attempt, in, [&](String const& file) {
                         unprivilegedSed(file, expression, ": ");
                     });
                 }),
    searchingUse("ZEBNS2::unprivilegedSed",
                 [](Attempt& attempt, Inputs const& in) {
                     expectEdited(attempt, in, [](String const& file) {
                         unprivilegedSed(file, String("([a-z]+)="), String("%1: "));
                     });
                 }),
    ZEB_THROWS("ZEBNS2::unprivilegedSed", unprivilegedSed(in.directory.path(""), in.expression, ""),
               FileSystemException),
    ZEB_THROWS("ZEBNS2::unprivilegedSed", unprivilegedSed("/dev/null", in.expression, ""),
               FileSystemException),
    ZEB_THROWS("ZEBNS2::unprivilegedSed",
               unprivilegedSed(in.directory.path("missing"), in.expression, ""),
               FileSystemException),
};

DOMException malformed() { return {"unit", 1, "line 2, column 6: reason", -1, nullptr, -1}; }

std::vector<PublicCall> const XML_CALLS = {
    use("ZEBNS2::validateXML",
        [](Attempt& attempt, Inputs const& in) {
            String message("old");
            bool valid = false;
            EXPECT_EQ(attempt([&] { valid = validateXML(in.xml, message); }), valid);
            EXPECT_EQ(message, "old");
        }),
    use("ZEBNS2::validateXML",
        [](Attempt& attempt, Inputs const&) {
            String message("old");
            bool const ended = attempt([&] { EXPECT_FALSE(validateXML("<a>", message)); });
            EXPECT_EQ(message, ended ? "line 1, column 4: no element found" : "old");
        }),
    ZEB_THROWS("ZEBNS2::validateXML", validateXML("<a><b></a>"), OrventoXMLException),
    use("ZEBNS2::validateXML",
        [](Attempt& attempt, Inputs const& in) { attempt([&] { validateXML(in.xml); }); }),
    ZEB_RESULT("ZEBNS2::XMLNodeSearch",
               XMLNodeSearch(in.node, "config.\"disk\"[ID=2].partition[label=p]").getName(),
               "partition"),
    ZEB_RESULT("ZEBNS2::XMLNodeSearch", XMLNodeSearch(in.node, "config.disk[id=3]").isNull(), true),
    ZEB_RESULT("ZEBNS2::XMLNodeSearch", XMLNodeSearch(XMLNode(), "config.disk").isNull(), true),
    ZEB_THROWS("ZEBNS2::XMLNodeSearch", XMLNodeSearch(in.node, "a[id=1=2]"), OrventoXMLException),
    ZEB_RESULT("zeb::xmltoolkit::XMLParserDOM::parse", XMLParserDOM::parse(in.xml).toString(),
               in.node.toString()),
    ZEB_THROWS("zeb::xmltoolkit::XMLParserDOM::parse", XMLParserDOM::parse("<a>&b;</a>"),
               DOMException),
    ZEB_THROWS("zeb::xmltoolkit::XMLParserDOM::parse",
               XMLParserDOM::parse("<?xml version='9'?><a/>"), DOMException),
    ZEB_RESULT("zeb::xmltoolkit::DOMException::getTextLine", malformed().getTextLine(), 2U),
    ZEB_RESULT("zeb::xmltoolkit::DOMException::getTextColumn", malformed().getTextColumn(), 6U),
    ZEB_RESULT("zeb::xmltoolkit::DOMException::getReason", String(malformed().getReason()),
               "reason"),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::nameView", in.node.nameView(), "config"sv),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::getName", in.node.getName(), "config"),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::getText", in.node.getChild().getText(), "x < y<raw>"),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::getAttrs", in.node.getChild().getAttrs(),
               (Array<std::pair<String, String>>{{"id", "1"}, {"type", "raw"}, {"mode", "rw"}})),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::getChild", XMLNode(in.node).getChild().getName(), "disk"),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::getNext", XMLNode(in.node.getChild()).getNext().getName(),
               "disk"),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::toString", in.node.getChild().getNext().toString(),
               "<disk id=\"2\" mode=\"rw\"><partition label=\"p\">text</partition></disk>"),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::attributeCount", in.node.getChild().attributeCount(),
               std::size_t{3}),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::attributeNameView",
               in.node.getChild().attributeNameView(1), "type"sv),
    ZEB_RESULT("zeb::xmltoolkit::XMLNode::attributeValueView",
               in.node.getChild().attributeValueView(1), "raw"sv),
    ZEB_THROWS("zeb::xmltoolkit::XMLNode::attributeValueView", in.node.attributeValueView(1),
               OutOfBoundsException),
    use("zeb::xmltoolkit::operator<<",
        [](Attempt& attempt, Inputs const& in) {
            OStringStream stream;
            bool const ended = attempt([&] { stream << in.node.getChild().getNext(); });
            EXPECT_TRUE(!ended || !stream.good() ||
                        stream.toString() == in.node.getChild().getNext().toString());
        }),
    ZEB_RESULT("zeb::xmltoolkit::CIMDateTime::CIMDateTime", CIMDateTime(DateTime(0)).toString(),
               "19700101000000.000000+000"),
    ZEB_THROWS("zeb::xmltoolkit::CIMDateTime::CIMDateTime", CIMDateTime(DateTime(253402300800)),
               Exception),
    ZEB_RESULT("zeb::xmltoolkit::CIMDateTime::toString",
               CIMDateTime(DateTime(253402300799, 999999)).toString(), "99991231235959.999999+000"),
};

// -------------------------------------------------------------------------------- the foundation

std::vector<PublicCall> const STRING_CALLS = {
    ZEB_RESULT("zeb::foundation::String::String", String(TEXT.data()), TEXT),
    ZEB_RESULT("zeb::foundation::String::String", String(TEXT.data(), 5), TEXT.substr(0, 5)),
    ZEB_RESULT("zeb::foundation::String::String", String(TEXT), TEXT),
    use("zeb::foundation::String::String",
        [](Attempt& attempt, Inputs const&) {
            std::string const standard(TEXT);
            String result;
            if (attempt([&] { result = String(standard); })) {
                EXPECT_EQ(result, TEXT);
            }
        }),
    ZEB_RESULT("zeb::foundation::String::endsWith", in.text.endsWith("length"), true),
    ZEB_RESULT("zeb::foundation::String::equalsIgnoreCase", in.separator.equalsIgnoreCase(", "),
               true),
    ZEB_RESULT("zeb::foundation::String::indexOf", in.text.indexOf('='), std::size_t{3}),
    ZEB_RESULT("zeb::foundation::String::indexOf", in.text.indexOf("=\""), std::size_t{3}),
    ZEB_RESULT("zeb::foundation::String::lastIndexOf", in.text.lastIndexOf('='), std::size_t{21}),
    ZEB_RESULT("zeb::foundation::String::lastIndexOf", in.text.lastIndexOf("=v"), std::size_t{21}),
    use("zeb::foundation::String::operator+=",
        [](Attempt& attempt, Inputs const&) {
            String appended("abc");
            bool const ended = attempt([&] { appended += TEXT; });
            EXPECT_EQ(appended, ended ? "abc" + String(TEXT) : "abc");
        }),
    use("zeb::foundation::String::concat",
        [](Attempt& attempt, Inputs const& in) {
            String appended(in.text);
            bool const ended = attempt([&] { appended.concat(appended); });
            EXPECT_EQ(appended.length(), ended ? 2 * TEXT.size() : TEXT.size());
        }),
    ZEB_RESULT("zeb::foundation::operator+", "a" + in.separator + 'b' + "c", "a, bc"),
    ZEB_RESULT("zeb::foundation::String::startsWith", in.text.startsWith("key"), true),
    ZEB_RESULT("zeb::foundation::String::substring", in.text.substring(4, 4), "\"a, "),
    ZEB_RESULT("zeb::foundation::String::trim", String(" \ttrimmed\n").trim(), "trimmed"),
    ZEB_RESULT(
        "zeb::foundation::String::tokenize",
        in.text.tokenize("=;", String::RETURN_DELIMITERS, String::RETURN_EMPTY_TOKENS),
        StringArray({"key", "=", "\"a, b\"", ";", " other key", "=", "value, one of some length"})),
    ZEB_THROWS("zeb::foundation::String::charAt", in.text.charAt(1000), OutOfBoundsException),
    ZEB_RESULT("zeb::foundation::String::toReal64", String("2.5").toReal64(), 2.5),
    ZEB_RESULT("zeb::foundation::String::toReal32", String("2.5").toReal32(), 2.5F),
    ZEB_RESULT("zeb::foundation::String::toInt8", String("-8").toInt8(), -8),
    ZEB_RESULT("zeb::foundation::String::toInt16", String("-16").toInt16(), -16),
    ZEB_RESULT("zeb::foundation::String::toInt32", String("-32").toInt32(), -32),
    ZEB_RESULT("zeb::foundation::String::toInt64", String("-64").toInt64(), -64),
    ZEB_RESULT("zeb::foundation::String::toUInt8", String("8").toUInt8(), 8),
    ZEB_RESULT("zeb::foundation::String::toUInt16", String("16").toUInt16(), 16),
    ZEB_RESULT("zeb::foundation::String::toUInt32", String("32").toUInt32(), 32U),
    ZEB_RESULT("zeb::foundation::String::toUInt64", String("64").toUInt64(), 64U),
    ZEB_THROWS("zeb::foundation::String::toReal64", in.text.toReal64(), StringConversionException),
    ZEB_THROWS("zeb::foundation::String::toInt32", in.text.toInt32(), StringConversionException),
    use("zeb::foundation::operator<<",
        [](Attempt& attempt, Inputs const& in) {
            std::ostringstream stream;
            bool const ended = attempt([&] { stream << in.text; });
            EXPECT_TRUE(!ended || !stream.good() || stream.str() == TEXT);
        }),
    use("zeb::foundation::operator>>",
        [](Attempt& attempt, Inputs const&) {
            std::istringstream stream(std::string(100, 'x') + " y");
            String word = "before";
            bool const ended = attempt([&] { stream >> word; });
            // A stream keeps the failure to itself, in its state.
            EXPECT_EQ(word, ended && stream.good() ? std::string(100, 'x') : "before");
        }),
    use("zeb::foundation::getline",
        [](Attempt& attempt, Inputs const&) {
            std::istringstream stream(std::string(100, 'x') + "\ny");
            String line = "before";
            bool const ended = attempt([&] { getline(stream, line); });
            EXPECT_EQ(line, ended && stream.good() ? std::string(100, 'x') : "before");
        }),
    use("zeb::foundation::StringBuffer::append",
        [](Attempt& attempt, Inputs const&) {
            StringBuffer buffer(4);
            buffer.append("abcd");
            bool const ended = attempt([&] { buffer.append(TEXT); });
            EXPECT_EQ(std::string_view(buffer), ended ? "abcd" + std::string(TEXT) : "abcd");
        }),
    use("zeb::foundation::StringBuffer::prepare",
        [](Attempt& attempt, Inputs const&) {
            StringBuffer buffer(4);
            buffer.append("abcd");
            attempt([&] { EXPECT_NE(buffer.prepare(1000), nullptr); });
            EXPECT_EQ(std::string_view(buffer), "abcd");
        }),
    use("zeb::foundation::StringBuffer::toString",
        [](Attempt& attempt, Inputs const&) {
            StringBuffer buffer;
            buffer.append(TEXT);
            String result;
            if (attempt([&] { result = buffer.toString(); })) {
                EXPECT_EQ(result, TEXT);
            }
            EXPECT_EQ(std::string_view(buffer), TEXT);
        }),
    use("zeb::foundation::StringBuffer::releaseString",
        [](Attempt& attempt, Inputs const&) {
            StringBuffer buffer(10000);
            buffer.append(TEXT);
            String released;
            bool const ended = attempt([&] { released = buffer.releaseString(); });
            EXPECT_EQ(ended ? std::string_view(released) : std::string_view(buffer), TEXT);
        }),
    use("zeb::foundation::UTF8Utils::UCS4toUTF8",
        [](Attempt& attempt, Inputs const&) {
            StringBuffer buffer(1);
            buffer.append('x');
            bool const ended = attempt([&] { foundation::UTF8Utils::UCS4toUTF8(0x20AC, buffer); });
            EXPECT_EQ(std::string_view(buffer), ended ? "x\xE2\x82\xAC" : "x");
        }),
    use("zeb::foundation::OStringStream::OStringStream",
        [](Attempt& attempt, Inputs const&) {
            String text;
            bool const ended = attempt([&] {
                OStringStream stream;
                stream << TEXT << 12345;
                text = stream.toString();
            });
            EXPECT_EQ(text, ended ? std::string(TEXT) + "12345" : "");
        }),
    ZEB_RESULT("zeb::foundation::Format::Format",
               String(Format("%1 and %2 and %3", in.separator, 12, in.exception.getMessage())),
               ",  and 12 and the cause"),
    use("zeb::foundation::Array::append",
        [](Attempt& attempt, Inputs const& in) {
            StringArray array = in.words;
            bool const ended = attempt([&] { array.append("six"); });
            EXPECT_EQ(array.size(), in.words.size() + (ended ? 1 : 0));
            EXPECT_EQ(std::as_const(array)[0], "one");
        }),
    use("zeb::foundation::Array::insert",
        [](Attempt& attempt, Inputs const& in) {
            StringArray array = in.words;
            bool const ended = attempt([&] { array.insert(1, "inserted"); });
            EXPECT_TRUE(!ended || std::as_const(array)[1] == "inserted");
        }),
    use("zeb::foundation::Array::remove",
        [](Attempt& attempt, Inputs const& in) {
            StringArray array = in.words;
            bool const ended = attempt([&] { array.remove(1, 2); });
            EXPECT_TRUE(!ended || array == StringArray({"one", "a longer word", "two"}));
        }),
    use("zeb::foundation::Array::reserve",
        [](Attempt& attempt, Inputs const& in) {
            StringArray array = in.words;
            attempt([&] { array.reserve(100); });
            EXPECT_TRUE(array == in.words);
        }),
    use("zeb::foundation::Array::operator[]",
        [](Attempt& attempt, Inputs const& in) {
            StringArray array = in.words;
            bool const ended = attempt([&] { array[0] = in.text; });
            EXPECT_EQ(std::as_const(array)[0], ended ? TEXT : "one");
        }),
    ZEB_RESULT("zeb::foundation::Array::Array", StringArray({"one", "", "two"}).size(),
               std::size_t{3}),
    ZEB_THROWS("zeb::foundation::Array::operator[]", in.words[5], OutOfBoundsException),
};

std::vector<PublicCall> const SYSTEM_CALLS = {
    use("zeb::foundation::Exception::Exception",
        [](Attempt& attempt, Inputs const& in) {
            std::optional<Exception> copy;
            EXPECT_TRUE(attempt([&] { copy.emplace(in.exception); }));
            EXPECT_STREQ(copy->getMessage(), "the cause");
        }),
    use("zeb::foundation::Exception::operator=",
        [](Attempt& attempt, Inputs const& in) {
            Exception copy("unit", 7, "a message", 3, nullptr, 5);
            EXPECT_TRUE(attempt([&] { copy = in.exception; }));
            EXPECT_STREQ(copy.getMessage(), "the cause");
        }),
    ZEB_RESULT("zeb::foundation::Exception::what", std::string_view(in.exception.what()),
               "the cause"sv),
    ZEB_RESULT("zeb::foundation::Exception::getMessage",
               std::string_view(in.exception.getMessage()), "the cause"sv),
    use("zeb::foundation::logErroneousException",
        [](Attempt& attempt, Inputs const&) {
            EXPECT_TRUE(attempt([] { foundation::logErroneousException("A test"); }));
        }),
    use("zeb::foundation::logErroneousException",
        [](Attempt& attempt, Inputs const& in) {
            EXPECT_TRUE(
                attempt([&] { foundation::logErroneousException("A test", in.exception); }));
        }),
    use("zeb::foundation::logErroneousException",
        [](Attempt& attempt, Inputs const&) {
            std::runtime_error const error("an error");
            EXPECT_TRUE(attempt([&] { foundation::logErroneousException("A test", error); }));
        }),
    ZEB_RESULT("zeb::foundation::DateTime::DateTime", DateTime(1, 2000000).getSeconds(), 3),
    use("zeb::foundation::DateTime::setToCurrent",
        [](Attempt& attempt, Inputs const&) {
            DateTime time;
            EXPECT_TRUE(attempt([&] { time.setToCurrent(); }));
            EXPECT_GT(time.getSeconds(), 0);
        }),
    ZEB_RESULT("zeb::foundation::FileSystem::canWrite", FileSystem::canWrite(in.file), true),
    ZEB_RESULT("zeb::foundation::FileSystem::getFileContents", FileSystem::getFileContents(in.file),
               FILE_TEXT),
    ZEB_RESULT("zeb::foundation::FileSystem::getFileContents",
               FileSystem::getFileContents("/proc/self/mountinfo").empty(), false),
    ZEB_THROWS("zeb::foundation::FileSystem::getFileContents",
               FileSystem::getFileContents(in.directory.path("missing")), FileSystemException),
    ZEB_RESULT("zeb::foundation::FileSystem::getFileInformation",
               FileSystem::getFileInformation(in.file).size, FILE_TEXT.size()),
    ZEB_THROWS("zeb::foundation::FileSystem::getFileInformation",
               FileSystem::getFileInformation(in.directory.path("missing")), FileSystemException),
    use("zeb::foundation::IFileStream::IFileStream",
        [](Attempt& attempt, Inputs const& in) {
            std::string line;
            bool good = false;
            attempt([&] {
                IFileStream stream(in.file);
                good = std::getline(stream, line).good();
            });
            EXPECT_TRUE(!good || line == "key=value");
        }),
    use("zeb::foundation::LogAppender::LogAppender",
        [](Attempt& attempt, Inputs const&) {
            attempt([] { IntrusiveReference<Silence>(new Silence); });
        }),
    use("zeb::foundation::CallbackAppender::CallbackAppender",
        [](Attempt& attempt, Inputs const&) {
            int messages = 0;
            std::optional<foundation::CallbackAppender> appender;
            bool const ended =
                attempt([&] { appender.emplace([&](LogMessage const&) { ++messages; }); });
            EXPECT_EQ(appender.has_value(), ended);
        }),
    use("zeb::foundation::CallbackAppender::append",
        [](Attempt& attempt, Inputs const&) {
            int messages = 0;
            foundation::CallbackAppender appender([&](LogMessage const&) { ++messages; });
            LogMessage const sent = message();
            EXPECT_TRUE(attempt([&] { appender.CallbackAppender::append(sent); }));
            EXPECT_EQ(messages, 1);
        }),
    use("zeb::foundation::StreamAppender::StreamAppender",
        [](Attempt& attempt, Inputs const&) {
            std::ostringstream stream;
            EXPECT_TRUE(attempt([&] { foundation::StreamAppender appender(stream); }));
        }),
    use("zeb::foundation::StreamAppender::append",
        [](Attempt& attempt, Inputs const&) {
            std::ostringstream stream;
            foundation::StreamAppender appender(stream);
            LogMessage const sent = message();
            bool const ended = attempt([&] { appender.StreamAppender::append(sent); });
            EXPECT_TRUE(!ended || !stream.good() || stream.str() == "DEBUG component: a message\n");
        }),
    use("zeb::foundation::SyslogAppender::SyslogAppender",
        [](Attempt& attempt, Inputs const&) {
            EXPECT_TRUE(attempt([] { foundation::SyslogAppender appender; }));
        }),
    use("zeb::foundation::SyslogAppender::append",
        [](Attempt& attempt, Inputs const&) {
            foundation::SyslogAppender appender;
            LogMessage const sent = message();
            attempt([&] { appender.SyslogAppender::append(sent); });
        }),
    use("zeb::foundation::Logger::Logger",
        [](Attempt& attempt, Inputs const& in) {
            EXPECT_TRUE(attempt([&] { Logger const logger(in.text); }));
        }),
    use("zeb::foundation::Logger::logMessage",
        [](Attempt& attempt, Inputs const& in) {
            Logger const logger("component", IntrusiveReference<LogAppender>(new Silence));
            attempt([&] { logger.logMessage("DEBUG", in.text, "unit", 7, "function"); });
        }),
    use("zeb::foundation::Logger::setDefault",
        [](Attempt& attempt, Inputs const&) {
            IntrusiveReference<LogAppender> const appender(new Silence);
            EXPECT_TRUE(attempt([&] { Logger::setDefault(Logger::DEBUG3_LEVEL, appender); }));
            Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
        }),
};

std::vector<PublicCall> exceptionCalls() {
    std::vector<PublicCall> calls;
    ZEB_ADD_EXCEPTION(calls, zeb::foundation, Exception);
    ZEB_ADD_EXCEPTION(calls, zeb::foundation, OutOfBoundsException);
    ZEB_ADD_EXCEPTION(calls, zeb::foundation, StringConversionException);
    ZEB_ADD_EXCEPTION(calls, zeb::foundation, FileSystemException);
    ZEB_ADD_EXCEPTION(calls, zeb::common, JORLibraryException);
    ZEB_ADD_EXCEPTION(calls, zeb::xmltoolkit, DOMException);
    ZEB_ADD_EXCEPTION(calls, ZEBNS2, RegularExpressionException);
    ZEB_ADD_EXCEPTION(calls, ZEBNS2, BadRegexException);
    ZEB_ADD_EXCEPTION(calls, ZEBNS2, OrventoXMLException);
    return calls;
}

}  // namespace

Inputs::Inputs()
    : text(TEXT),
      separator(", "),
      words{"one", "", "two", "a longer word", "two"},
      expression("([a-z]+)=([a-z]+)", RegularExpression::EXTENDED_SYNTAX),
      xml(XML),
      node(XMLParserDOM::parse(xml)),
      utf16(bytesOf(UTF16_BYTES)),
      units{0xD800, 0x42, 0xD83D, 0xDE00, 0xDC00, 0x41},
      environment(ENVIRONMENT.begin(), ENVIRONMENT.end()),
      exception("unit", 1, "the cause", Exception::NO_CODE, nullptr, Exception::NO_CODE),
      file(directory.file("file", FILE_TEXT)) {}

bool Inputs::isUntouched() const {
    return text == TEXT && separator == ", " &&
           words == StringArray({"one", "", "two", "a longer word", "two"}) &&
           expression.getPattern() == "([a-z]+)=([a-z]+)" && expression.matches(text) &&
           xml == XML && node.toString() == XMLParserDOM::parse(XML).toString() &&
           utf16 == bytesOf(UTF16_BYTES) &&
           units == Array<unsigned short>({0xD800, 0x42, 0xD83D, 0xDE00, 0xDC00, 0x41}) &&
           std::string_view(environment.data(), environment.size()) == ENVIRONMENT &&
           exception.getMessage() == "the cause"sv && contentsOf(file) == FILE_TEXT;
}

std::vector<PublicCall> const& publicCalls() {
    static std::vector<PublicCall> const calls = [] {
        std::vector<PublicCall> all;
        for (auto const& part : {TEXT_CALLS, EXPRESSION_CALLS, XML_CALLS, STRING_CALLS,
                                 SYSTEM_CALLS, exceptionCalls()}) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }();
    return calls;
}

}  // namespace zeb::test
