#include <OrventoCommonRegex.hpp>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace {

using namespace std::string_view_literals;
using ZEBNS2::Array;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::String;
using ZEBNS2::StringArray;
using Options = RegularExpression::CompilationOptions;
using Offsets = std::pair<int, int>;

static_assert(std::is_same_v<Options, unsigned int>);
static_assert(RegularExpression::EXTENDED_SYNTAX == 0);
static_assert(RegularExpression::BASIC_SYNTAX == 1);
static_assert(RegularExpression::CASE_INSENSITIVE == 2);
static_assert(RegularExpression::NO_NEWLINE == 4);
static_assert(!std::is_convertible_v<String, RegularExpression>);
static_assert(!std::is_constructible_v<RegularExpression, String>, "options are always given");

/// The C library's reason why a pattern does not compile.
std::string reason(char const* pattern, int flags) {
    regex_t compiled{};
    int const code = ::regcomp(&compiled, pattern, flags);
    char text[1024];
    ::regerror(code, &compiled, text, sizeof text);
    return text;
}

constexpr Offsets NONE(-1, -1);

TEST(RegularExpression, KeepsPatternAndOptions) {
    RegularExpression const expression(String("a+"), 6);
    EXPECT_EQ(expression.getPattern(), "a+");
    EXPECT_EQ(expression.getOptions(), 6u);
}

TEST(RegularExpression, MatchesAnywhereInTheSubject) {
    RegularExpression const expression("b+", 0);
    EXPECT_TRUE(expression.matches("abbc"));
    EXPECT_FALSE(expression.matches("ac"));
    EXPECT_FALSE(expression.matches(""));
}

TEST(RegularExpression, EmptySubjectMatchesAnEmptyLine) {
    RegularExpression const expression("^$", 0);
    EXPECT_TRUE(expression.matches(""));
    EXPECT_EQ(expression.matching_substring(""), "");
    EXPECT_EQ(expression.first_match(""), Offsets(0, 0));
}

TEST(RegularExpression, EmptyPatternMatchesEverySubjectAtItsStart) {
    RegularExpression const expression("", 0);
    EXPECT_EQ(expression.first_match("abc"), Offsets(0, 0));
    EXPECT_EQ(expression.first_match(""), Offsets(0, 0));
}

TEST(RegularExpression, FirstMatchTellsByteOffsets) {
    EXPECT_EQ(RegularExpression("abc", 0).first_match("xxabc"), Offsets(2, 5));
    EXPECT_EQ(RegularExpression("abc", 0).first_match("xxab"), NONE);
}

TEST(RegularExpression, FirstMatchIsTheLeftmostAndThereTheLongest) {
    EXPECT_EQ(RegularExpression("b|ab+", 0).first_match("xabbb"), Offsets(1, 5));
}

TEST(RegularExpression, MatchingSubstringIsTheTextOfTheFirstMatch) {
    RegularExpression const expression("[0-9]+", 0);
    EXPECT_EQ(expression.matching_substring("ab12cd345"), "12");
    EXPECT_EQ(expression.matching_substring("ab"), "");
    EXPECT_EQ(expression.matching_substring("777"), "777");
}

TEST(RegularExpression, FreeFunctionIsTheMember) {
    RegularExpression const expression("b", 0);
    EXPECT_TRUE(regex_matches(expression, "abc"));
    EXPECT_FALSE(regex_matches(expression, "ac"));
}

// ---------------------------------------------------------------------------- options

TEST(RegularExpression, ExtendedSyntaxIsTheDefault) {
    EXPECT_EQ(RegularExpression("(a)+", RegularExpression::EXTENDED_SYNTAX).first_match("(a)aa"),
              Offsets(1, 2));
}

TEST(RegularExpression, BasicSyntaxTakesParenthesesLiterally) {
    EXPECT_EQ(RegularExpression("(a)", RegularExpression::BASIC_SYNTAX).first_match("a(a)"),
              Offsets(1, 4));
}

TEST(RegularExpression, CaseInsensitiveIgnoresLetterCase) {
    EXPECT_TRUE(RegularExpression("ABC", RegularExpression::CASE_INSENSITIVE).matches("abc"));
    EXPECT_FALSE(RegularExpression("ABC", 0).matches("abc"));
}

TEST(RegularExpression, NoNewlineMakesNewlinesEndLines) {
    EXPECT_FALSE(RegularExpression("^b$", 0).matches("a\nb\nc"));
    EXPECT_EQ(RegularExpression("^b$", RegularExpression::NO_NEWLINE).first_match("a\nb\nc"),
              Offsets(2, 3));
    EXPECT_TRUE(RegularExpression("a.b", 0).matches("a\nb"));
    EXPECT_FALSE(RegularExpression("a.b", RegularExpression::NO_NEWLINE).matches("a\nb"));
}

TEST(RegularExpression, OtherOptionBitsAreIgnoredButKept) {
    RegularExpression const expression("(a)", 0xFFFFFFF8u);
    EXPECT_EQ(expression.first_match("xa"), Offsets(1, 2));
    EXPECT_EQ(expression.getOptions(), 0xFFFFFFF8u);
}

// ---------------------------------------------------------------------------- faulty patterns

TEST(RegularExpression, FaultyPatternThrowsWithReasonOptionsAndPattern) {
    try {
        RegularExpression const expression("a(b", 0);
        FAIL() << "compiled";
    } catch (RegularExpressionException const& exception) {
        EXPECT_EQ(exception.getMessage(),
                  "Error creating regular expression: " + reason("a(b", REG_EXTENDED) +
                      "  The faulty expression (extended) is: \"a(b\"");
        EXPECT_STREQ(exception.getFile(), "OrventoCommonRegex");
        EXPECT_EQ(exception.getLine(), 136);
        EXPECT_EQ(exception.getSubclassCode(), -1);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getChained(), nullptr);
    }
}

TEST(RegularExpression, MessageNamesTheOptions) {
    struct Row {
        Options options;
        char const* text;
    };
    constexpr Row ROWS[] = {
        {0, "extended"},
        {1, "basic"},
        {2, "extended|case insensitive"},
        {3, "basic|case insensitive"},
        {4, "extended|no newline"},
        {5, "basic|no newline"},
        {6, "extended|case insensitive|no newline"},
        {7, "basic|case insensitive|no newline"},
        {8, "extended"},  // no such option
        {0xFFFFFFFF, "basic|case insensitive|no newline"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.options);
        try {
            // Faulty in both syntaxes.
            RegularExpression const expression("a[b", row.options);
            ADD_FAILURE() << "compiled";
        } catch (RegularExpressionException const& exception) {
            EXPECT_EQ(exception.getMessage(),
                      "Error creating regular expression: " + reason("a[b", REG_EXTENDED) +
                          "  The faulty expression (" + row.text + ") is: \"a[b\"");
        }
    }
}

TEST(RegularExpression, PercentSignsInAFaultyPatternAreKept) {
    try {
        RegularExpression const expression("%1%%(", 0);
        FAIL() << "compiled";
    } catch (RegularExpressionException const& exception) {
        EXPECT_EQ(exception.getMessage(),
                  "Error creating regular expression: " + reason("(", REG_EXTENDED) +
                      "  The faulty expression (extended) is: \"%1%%(\"");
    }
}

TEST(RegularExpression, FailedReplaceKeepsThePatternAndMatchesNothing) {
    RegularExpression expression("a", 0);
    EXPECT_THROW(expression.replace("b(", 2), RegularExpressionException);
    EXPECT_EQ(expression.getPattern(), "b(");
    EXPECT_EQ(expression.getOptions(), 2u);
    EXPECT_FALSE(expression.matches("a"));
    EXPECT_FALSE(expression.matches("b("));
    EXPECT_EQ(expression.matching_substring("b("), "");
    EXPECT_EQ(expression.first_match("b("), NONE);
    EXPECT_FALSE(regex_matches(expression, ""));
    StringArray const lines{"a", "b("};
    EXPECT_TRUE(expression.all_matches("a").empty());
    EXPECT_TRUE(expression.all_unique_matches("a").empty());
    EXPECT_TRUE(expression.all_matching_substrings("a").empty());
    EXPECT_TRUE(expression.all_unique_matching_substrings("a").empty());
    EXPECT_EQ(expression.all_matching_substrings(lines), Array<StringArray>(2));
    EXPECT_EQ(expression.all_unique_matching_substrings(lines), Array<StringArray>(2));
    EXPECT_EQ(expression.matching_substring(lines), StringArray(2));
    EXPECT_EQ(expression.first_matching_substring(lines), "");
    EXPECT_TRUE(expression.all_matching_lines(lines).empty());
    EXPECT_TRUE(expression.non_matching_lines(lines).empty());
    EXPECT_TRUE(expression.find_matching_line_numbers(lines).empty());

    expression.replace("c", 0);
    EXPECT_TRUE(expression.matches("c"));
}

TEST(RegularExpression, ReplaceCompilesAnew) {
    RegularExpression expression("a", 0);
    expression.replace("B", RegularExpression::CASE_INSENSITIVE);
    EXPECT_EQ(expression.getPattern(), "B");
    EXPECT_EQ(expression.getOptions(), RegularExpression::CASE_INSENSITIVE);
    EXPECT_FALSE(expression.matches("a"));
    EXPECT_TRUE(expression.matches("b"));
}

TEST(RegularExpression, ReplaceTakesItsOwnPattern) {
    RegularExpression expression("A", 0);
    expression.replace(expression.getPattern(), RegularExpression::CASE_INSENSITIVE);
    EXPECT_EQ(expression.getPattern(), "A");
    EXPECT_TRUE(expression.matches("a"));
}

// ---------------------------------------------------------------------------- null pattern, copies

TEST(RegularExpression, NullPatternMatchesNothingAndForgetsTheOptions) {
    RegularExpression const expression(nullptr, 2);
    EXPECT_EQ(expression.getPattern(), "");
    EXPECT_EQ(expression.getOptions(), 0u);
    EXPECT_FALSE(expression.matches(""));
    EXPECT_FALSE(expression.matches("abc"));
    EXPECT_EQ(expression.first_match(""), NONE);
    EXPECT_EQ(expression.matching_substring("abc"), "");
}

TEST(RegularExpression, CopyOfANullPatternMatchesEverySubject) {
    RegularExpression const original(nullptr, 2);
    RegularExpression const copy(original);
    EXPECT_EQ(copy.getOptions(), 0u);
    EXPECT_EQ(copy.first_match(""), Offsets(0, 0));
    EXPECT_EQ(copy.first_match("abc"), Offsets(0, 0));

    RegularExpression assigned("x", 0);
    assigned = original;
    EXPECT_TRUE(assigned.matches("abc"));
}

TEST(RegularExpression, CopyIsCompiledAnewWithItsOptions) {
    auto original = std::make_unique<RegularExpression>("AB+", 2u);
    RegularExpression const copy(*original);
    original.reset();
    EXPECT_EQ(copy.getPattern(), "AB+");
    EXPECT_EQ(copy.getOptions(), 2u);
    EXPECT_EQ(copy.first_match("xabb"), Offsets(1, 4));
}

TEST(RegularExpression, CopyOfAFailedPatternFailsAgain) {
    RegularExpression original("a", 0);
    EXPECT_THROW(original.replace("(", 0), RegularExpressionException);
    EXPECT_THROW(RegularExpression{original}, RegularExpressionException);

    RegularExpression assigned("x", 0);
    EXPECT_THROW(assigned = original, RegularExpressionException);
    EXPECT_EQ(assigned.getPattern(), "(");
    EXPECT_FALSE(assigned.matches("x"));
}

TEST(RegularExpression, AssignmentTakesPatternAndOptions) {
    RegularExpression const original("A", 2);
    RegularExpression assigned("x", 0);
    assigned = original;
    EXPECT_TRUE(assigned.matches("a"));
    EXPECT_EQ(assigned.getPattern(), "A");
    EXPECT_EQ(assigned.getOptions(), 2u);
}

TEST(RegularExpression, SelfAssignmentChangesNothing) {
    RegularExpression expression("a", 0);
    RegularExpression const& self = expression;
    expression = self;
    EXPECT_TRUE(expression.matches("a"));

    // It does not even compile again: an object without an expression stays without one.
    RegularExpression none(nullptr, 0);
    RegularExpression const& sameNone = none;
    none = sameNone;
    EXPECT_FALSE(none.matches("a"));
    RegularExpression failed("a", 0);
    EXPECT_THROW(failed.replace("(", 0), RegularExpressionException);
    RegularExpression const& sameFailed = failed;
    EXPECT_NO_THROW(failed = sameFailed);
}

// ---------------------------------------------------------------------------- NUL, null, limits

TEST(RegularExpression, SubjectIsSeenUpToItsNul) {
    String const subject("ab\0cd"sv);
    EXPECT_TRUE(RegularExpression("b$", 0).matches(subject));
    EXPECT_FALSE(RegularExpression("c", 0).matches(subject));
    EXPECT_EQ(RegularExpression(".*", 0).matching_substring(subject), "ab");
    EXPECT_TRUE(RegularExpression("^$", 0).matches(String("\0abc"sv)));
}

TEST(RegularExpression, PatternIsCompiledUpToItsNulAndKeptWhole) {
    RegularExpression const expression(String("a\0("sv), 0);
    EXPECT_TRUE(expression.matches("a"));
    EXPECT_EQ(expression.getPattern(), "a\0("sv);
}

TEST(RegularExpression, FaultyPatternIsShownUpToItsNul) {
    try {
        RegularExpression const expression(String("(\0x", 3), 0);
        ADD_FAILURE() << "compiled";
    } catch (RegularExpressionException const& exception) {
        EXPECT_EQ(exception.getMessage(),
                  "Error creating regular expression: " + reason("(", REG_EXTENDED) +
                      "  The faulty expression (extended) is: \"(\"");
    }
}

TEST(RegularExpression, NullSubjectHasNoMatch) {
    EXPECT_EQ(RegularExpression("", 0).first_match(nullptr), NONE);
}

/// Many "a"s without much memory: all addresses map the same 16 MiB, except the last ones.
class HugeSubject {
public:
    explicit HugeSubject(std::size_t length) {
        static constexpr std::size_t CHUNK = std::size_t{16} << 20;
        std::size_t const chunks = length / CHUNK + 1;
        size_ = chunks * CHUNK;
        int const file = ::memfd_create("subject", 0);
        if (file < 0 || ::ftruncate(file, static_cast<off_t>(CHUNK)) != 0) {
            return;
        }
        void* const room =
            ::mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (room != MAP_FAILED) {
            text_ = static_cast<char*>(room);
            for (std::size_t i = 0; i < chunks; ++i) {
                bool const last = i + 1 == chunks;
                ::mmap(text_ + i * CHUNK, CHUNK, PROT_READ | PROT_WRITE,
                       MAP_FIXED | (last ? MAP_PRIVATE : MAP_SHARED), file, 0);
            }
            std::memset(text_, 'a', CHUNK);
            text_[length] = '\0';
        }
        ::close(file);
    }
    HugeSubject(HugeSubject const&) = delete;
    HugeSubject& operator=(HugeSubject const&) = delete;
    ~HugeSubject() {
        if (text_ != nullptr) {
            ::munmap(text_, size_);
        }
    }
    char const* text() const { return text_; }

private:
    char* text_ = nullptr;
    std::size_t size_ = 0;
};

TEST(RegularExpression, SubjectBeyondTheLimitHasNoMatch) {
    RegularExpression const expression("a", 0);
    {
        HugeSubject const longest(RegularExpression::MAX_SUBJECT_LENGTH);
        ASSERT_NE(longest.text(), nullptr) << "not enough addresses";
        EXPECT_EQ(expression.first_match(longest.text()), Offsets(0, 1));
    }
    HugeSubject const tooLong(RegularExpression::MAX_SUBJECT_LENGTH + 1);
    ASSERT_NE(tooLong.text(), nullptr) << "not enough addresses";
    EXPECT_EQ(expression.first_match(tooLong.text()), NONE);
}

}  // namespace
