#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/String.hpp>

#include <Random.hpp>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

using zeb::foundation::OutOfBoundsException;
using zeb::foundation::String;
using namespace std::string_view_literals;

constexpr std::size_t npos = String::npos;

static_assert(npos == static_cast<std::size_t>(-1), "all bits set");
static_assert(std::is_nothrow_default_constructible_v<String>);
static_assert(std::is_nothrow_copy_constructible_v<String>);
static_assert(std::is_nothrow_copy_assignable_v<String>);
static_assert(std::is_nothrow_move_constructible_v<String>);
static_assert(std::is_nothrow_move_assignable_v<String>);
static_assert(std::is_nothrow_destructible_v<String>);
static_assert(std::is_nothrow_swappable_v<String>);
static_assert(sizeof(String) == sizeof(void*), "a string is one pointer to what it shares");

/// Expects that `text` contains exactly `bytes`, followed by a NUL.
void expectBytes(String const& text, std::string_view bytes) {
    EXPECT_EQ(std::string_view(text), bytes);
    EXPECT_EQ(text.length(), bytes.size());
    EXPECT_EQ(text.empty(), bytes.empty());
    EXPECT_EQ(text.c_str()[bytes.size()], '\0');
}

TEST(StringConstruction, DefaultIsEmptyAndTerminated) { expectBytes(String(), ""); }

TEST(StringConstruction, CharacterStringEndsAtItsNul) { expectBytes("ab\0cd", "ab"); }

TEST(StringConstruction, NullCharacterStringIsEmpty) {
    char const* const null = nullptr;
    expectBytes(null, "");
    expectBytes(String(nullptr), "");
}

TEST(StringConstruction, CountedBytesKeepTheirNuls) {
    expectBytes(String("a\0b\0", 4), "a\0b\0"sv);
    expectBytes(String("abc", 2), "ab");
    expectBytes(String("abc", 0), "");
}

TEST(StringConstruction, NullBytesAreEmptyWhateverTheCount) {
    expectBytes(String(nullptr, 5), "");
    expectBytes(String(nullptr, 0), "");
}

TEST(StringConstruction, ViewAndStandardStringKeepTheirNuls) {
    expectBytes("x\0y"sv, "x\0y"sv);
    expectBytes(std::string("x\0y", 3), "x\0y"sv);
    expectBytes(std::string_view(), "");
    expectBytes(std::string(), "");
}

TEST(StringConstruction, EveryByteIsKept) {
    std::string bytes;
    for (int byte = 0; byte <= UCHAR_MAX; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    String const text(bytes);
    expectBytes(text, bytes);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        EXPECT_EQ(text[i], bytes[i]);
        EXPECT_EQ(text.indexOf(bytes[i]), i);
    }
}

TEST(StringCopy, SharesItsBytes) {
    String const text("abc");
    String const copy(text);
    String assigned("other");
    assigned = text;
    EXPECT_EQ(copy.c_str(), text.c_str());
    EXPECT_EQ(assigned.c_str(), text.c_str());
}

TEST(StringCopy, ChangingOneLeavesTheOther) {
    String text("abc");
    String const copy(text);
    text += "d";
    expectBytes(text, "abcd");
    expectBytes(copy, "abc");
    EXPECT_NE(copy.c_str(), text.c_str());
}

TEST(StringCopy, LivesLongerThanTheOriginal) {
    String copy;
    {
        String const text("abc");
        copy = text;
    }
    expectBytes(copy, "abc");
}

TEST(StringCopy, SelfAssignmentChangesNothing) {
    String text("abc");
    String& same = text;
    text = same;
    expectBytes(text, "abc");
    text = std::move(same);
    expectBytes(text, "abc");
}

TEST(StringMove, LeavesTheEmptyString) {
    String text("abc");
    char const* const bytes = text.c_str();
    String moved(std::move(text));
    EXPECT_EQ(moved.c_str(), bytes);
    expectBytes(text, "");  // NOLINT(bugprone-use-after-move): what is left is promised
    String assigned("old");
    assigned = std::move(moved);
    EXPECT_EQ(assigned.c_str(), bytes);
    expectBytes(moved, "");  // NOLINT(bugprone-use-after-move): likewise
    text = "usable again";
    expectBytes(text, "usable again");
}

TEST(StringSwap, ExchangesTexts) {
    String a("a");
    String b;
    swap(a, b);
    expectBytes(a, "");
    expectBytes(b, "a");
    a.swap(b);
    expectBytes(a, "a");
    expectBytes(b, "");
}

TEST(StringAccess, IndexEqualToTheLengthGivesTheNul) {
    String const text("ab");
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(text.charAt(1), 'b');
    EXPECT_EQ(text[2], '\0');
    EXPECT_EQ(text.charAt(2), '\0');
    EXPECT_EQ(String()[0], '\0');
}

TEST(StringAccess, IndexBeyondTheLengthThrows) {
    struct Row {
        char const* text;
        std::size_t index;
        std::string message;
    };
    Row const rows[] = {
        {"ab", 3, "Index out of bounds: size 2, index 3"},
        {"", 1, "Index out of bounds: size 0, index 1"},
        {"ab", npos, "Index out of bounds: size 2, index " + std::to_string(npos)},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.message);
        String const text(row.text);
        try {
            (void)text[row.index];
            FAIL() << "no exception";
        } catch (OutOfBoundsException const& exception) {
            EXPECT_EQ(exception.getMessage(), row.message);
        }
        EXPECT_THROW((void)text.charAt(row.index), OutOfBoundsException);
    }
}

TEST(StringIndexOf, Character) {
    String const text("a\0b a"sv);
    EXPECT_EQ(text.indexOf('a'), 0u);
    EXPECT_EQ(text.indexOf('a', 1), 4u);
    EXPECT_EQ(text.indexOf('a', 4), 4u);
    EXPECT_EQ(text.indexOf('a', 5), npos);
    EXPECT_EQ(text.indexOf('a', npos), npos);
    EXPECT_EQ(text.indexOf('\0'), 1u);  // the terminating NUL is no part of the text
    EXPECT_EQ(text.indexOf('\0', 2), npos);
    EXPECT_EQ(text.indexOf('x'), npos);
    EXPECT_EQ(String().indexOf('x'), npos);
}

TEST(StringLastIndexOf, Character) {
    String const text("a\0b a"sv);
    EXPECT_EQ(text.lastIndexOf('a'), 4u);
    EXPECT_EQ(text.lastIndexOf('a', 4), 4u);
    EXPECT_EQ(text.lastIndexOf('a', 3), 0u);
    EXPECT_EQ(text.lastIndexOf('a', 0), 0u);
    EXPECT_EQ(text.lastIndexOf('b', 1), npos);
    EXPECT_EQ(text.lastIndexOf('\0'), 1u);
    EXPECT_EQ(text.lastIndexOf('x'), npos);
    EXPECT_EQ(String().lastIndexOf('x'), npos);
}

struct SearchRow {
    std::string_view text;
    std::string_view wanted;
    std::size_t from;
    std::size_t found;
};

TEST(StringIndexOf, Text) {
    constexpr SearchRow ROWS[] = {
        {"abcabc", "bc", 0, 1},
        {"abcabc", "bc", 1, 1},          // starts just there
        {"abcabc", "bc", 2, 4},          // the first one starts before
        {"abcabc", "bc", 5, npos},       // only its end is left
        {"abcabc", "bc", npos, npos},    // beyond the end
        {"abcabc", "abcabcd", 0, npos},  // longer than the text
        {"abcabc", "abcabc", 0, 0},      // the text itself
        {"aaab", "aab", 0, 1},           // overlapping a false start
        {"abc", "", 0, 0},               // the empty text is everywhere
        {"abc", "", 3, 3},               // at the end too
        {"abc", "", 4, npos},            // not beyond it
        {"", "", 0, 0},                  //
        {"", "a", 0, npos},              //
        {"a\0b\0b"sv, "\0b"sv, 0, 1},    // a NUL is a byte as any other
        {"a\0b\0b"sv, "\0b"sv, 2, 3},    //
        {"ab", "b\0"sv, 0, npos},        // the terminating NUL is no part of the text
        {"Abc", "a", 0, npos},           // case matters
        {"\xC3\xA4", "\xA4"sv, 0, 1},    // bytes, not characters
    };
    for (SearchRow const& row : ROWS) {
        SCOPED_TRACE(row.text);
        SCOPED_TRACE(row.wanted);
        EXPECT_EQ(String(row.text).indexOf(row.wanted, row.from), row.found);
        EXPECT_EQ(String(row.text).indexOf(String(row.wanted), row.from), row.found);
    }
}

TEST(StringLastIndexOf, Text) {
    constexpr SearchRow ROWS[] = {
        {"abcabc", "bc", npos, 4},
        {"abcabc", "bc", 4, 4},     // starts just there
        {"abcabc", "bc", 3, 1},     // the last one starts later
        {"abcabc", "bc", 0, npos},  //
        {"abcabc", "abcabcd", npos, npos},
        {"abcabc", "abcabc", npos, 0},
        {"aaa", "aa", npos, 1},           // overlapping
        {"abc", "", npos, 3},             // the empty text is found at the end
        {"abc", "", 1, 1},                // or at `from`
        {"", "", npos, 0},                //
        {"", "a", npos, npos},            //
        {"a\0b\0b"sv, "\0b"sv, npos, 3},  //
        {"ab", "b\0"sv, npos, npos},      //
    };
    for (SearchRow const& row : ROWS) {
        SCOPED_TRACE(row.text);
        SCOPED_TRACE(row.wanted);
        EXPECT_EQ(String(row.text).lastIndexOf(row.wanted, row.from), row.found);
        EXPECT_EQ(String(row.text).lastIndexOf(String(row.wanted), row.from), row.found);
    }
}

// Long enough for vectors of places, and for the rest.
TEST(StringIndexOf, AgreesWithTheStandardStringOnLongRandomTexts) {
    zeb::test::Random random(9);
    std::size_t found = 0;
    for (int i = 0; i < 30'000; ++i) {
        std::string_view const alphabet = random.oneIn(2) ? "ab"sv : "abcdefghijklmnop"sv;
        std::string const text = random.text(alphabet, random.below(300));
        std::string wanted = random.text(alphabet, random.between(1, 24));
        if (random.oneIn(2) && !text.empty()) {
            wanted = text.substr(random.below(text.size()), wanted.size());
        }
        std::size_t const from = random.oneIn(2) ? 0 : random.below(text.size() + 1);
        std::size_t const index = String(text).indexOf(wanted, from);
        ASSERT_EQ(index, text.find(wanted, from)) << text << ' ' << wanted << ' ' << from;
        found += index != npos;
    }
    EXPECT_GT(found, 10'000u);
}

// Both ends of the wanted text are at every place, so that another search takes over.
TEST(StringIndexOf, GivesUpOnCandidatesThatFail) {
    // At one of these lengths the hit is the first place that the other search tests.
    for (std::size_t length = 0; length <= 400; ++length) {
        std::string const text(length, 'a');
        std::string wanted = std::string(20, 'a') + 'b' + std::string(20, 'a');
        EXPECT_EQ(String(text).indexOf(wanted), npos);
        EXPECT_EQ(String(text + wanted + wanted).indexOf(wanted), length);
        EXPECT_EQ(String("x" + text + wanted + text).indexOf(wanted, 1), length + 1);
    }
    std::size_t const half = 1 << 20;
    std::string const wanted = std::string(half / 2, 'a') + 'b' + std::string(half / 2, 'a');
    EXPECT_EQ(String(std::string(2 * half, 'a')).indexOf(wanted), npos);
}

// The search compares parts of periodic texts once; so all short ones of two letters are tried.
TEST(StringLastIndexOf, AgreesWithTheStandardStringOnAllShortTextsOfTwoLetters) {
    auto const textOf = [](std::size_t length, std::size_t bits) {
        std::string text;
        for (std::size_t i = 0; i < length; ++i) {
            text += (bits >> i & 1) != 0 ? 'b' : 'a';
        }
        return text;
    };
    std::size_t found = 0;
    for (std::size_t length = 0; length <= 11; ++length) {
        for (std::size_t bits = 0; bits < std::size_t{1} << length; ++bits) {
            std::string const bytes = textOf(length, bits);
            String const text(bytes);
            for (std::size_t wantedLength = 1; wantedLength <= 6; ++wantedLength) {
                for (std::size_t wanted = 0; wanted < std::size_t{1} << wantedLength; ++wanted) {
                    std::string const part = textOf(wantedLength, wanted);
                    std::size_t const from = wanted % 4 == 3 ? bits % 12 : npos;
                    std::size_t const index = text.lastIndexOf(part, from);
                    ASSERT_EQ(index, bytes.rfind(part, from)) << bytes << ' ' << part;
                    found += index != npos;
                }
            }
        }
    }
    EXPECT_GT(found, 100'000u);
}

TEST(StringLastIndexOf, AgreesWithTheStandardStringOnLongPeriodicTexts) {
    zeb::test::Random random(7);
    for (int i = 0; i < 20'000; ++i) {
        std::string const period = random.text("ab", random.between(1, 4));
        std::string wanted;
        while (wanted.size() < 12) {
            wanted += period;
        }
        wanted.resize(random.between(1, 12));
        std::string text;
        while (text.size() < 60) {
            text += random.oneIn(5) ? random.text("abc", 1) : random.oneIn(3) ? wanted : period;
        }
        std::size_t const from = random.oneIn(2) ? npos : random.below(70);
        ASSERT_EQ(String(text).lastIndexOf(wanted, from), text.rfind(wanted, from))
            << text << ' ' << wanted << ' ' << from;
    }
}

// Each of these would take minutes if every place were compared from its start.
TEST(StringLastIndexOf, IsLinearInPeriodicTexts) {
    std::size_t const half = 1 << 20;
    std::string const run(2 * half, 'a');
    String const text(run);
    EXPECT_EQ(text.lastIndexOf(std::string(half, 'a') + 'b'), npos);
    EXPECT_EQ(text.lastIndexOf('b' + std::string(half, 'a')), npos);
    EXPECT_EQ(text.lastIndexOf(std::string(half / 2, 'a') + 'b' + std::string(half / 2, 'a')),
              npos);
    EXPECT_EQ(text.lastIndexOf(std::string(half, 'a')), half);
}

TEST(StringIndexOf, AgreesWithTheStandardStringOnRandomTexts) {
    zeb::test::Random random(20240501);
    for (int i = 0; i < 20000; ++i) {
        std::string const text = random.text("ab\0"sv, random.below(13));
        std::string const wanted = random.text("ab\0"sv, random.below(5));
        std::size_t const from = random.below(15);
        String const string(text);
        ASSERT_EQ(string.indexOf(wanted, from), text.find(wanted, from))
            << testing::PrintToString(text) << ' ' << testing::PrintToString(wanted) << ' ' << from;
        ASSERT_EQ(string.lastIndexOf(wanted, from), text.rfind(wanted, from))
            << testing::PrintToString(text) << ' ' << testing::PrintToString(wanted) << ' ' << from;
    }
}

TEST(StringSubstring, IsClippedAndNeverThrows) {
    struct Row {
        std::size_t start;
        std::size_t count;
        char const* expected;
    };
    constexpr Row ROWS[] = {
        {0, npos, "abcde"},  // the whole
        {0, 5, "abcde"},     //
        {0, 6, "abcde"},     // more than there is
        {1, 3, "bcd"},       //
        {1, npos, "bcde"},   // to the end
        {4, 1, "e"},         //
        {4, npos - 1, "e"},  // start + count would overflow
        {4, npos - 3, "e"},  // and would be 0 here
        {2, 0, ""},          //
        {5, npos, ""},       // at the end
        {6, 1, ""},          // beyond it
        {npos, npos, ""},    //
    };
    String const text("abcde");
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.start);
        SCOPED_TRACE(row.count);
        expectBytes(text.substring(row.start, row.count), row.expected);
    }
    expectBytes(text.substring(3), "de");
    expectBytes(String().substring(0), "");
    expectBytes(String("a\0b"sv).substring(1), "\0b"sv);
}

TEST(StringSubstring, OfTheWholeSharesTheBytes) {
    String const text("abcde");
    EXPECT_EQ(text.substring(0).c_str(), text.c_str());
    EXPECT_EQ(text.substring(0, 5).c_str(), text.c_str());
    EXPECT_EQ(text.substring(0, npos).c_str(), text.c_str());
}

TEST(StringEqualsIgnoreCase, FoldsAsciiLettersAlone) {
    // Each pair of bytes: equal when they are the same, or the same letter of ASCII.
    for (int a = 0; a <= UCHAR_MAX; ++a) {
        for (int b = 0; b <= UCHAR_MAX; ++b) {
            bool const upperA = a >= 'A' && a <= 'Z';
            bool const upperB = b >= 'A' && b <= 'Z';
            bool const expected = a == b || (upperA && b == a + 32) || (upperB && a == b + 32);
            char const first[] = {static_cast<char>(a)};
            char const second[] = {static_cast<char>(b)};
            ASSERT_EQ(String(first, 1).equalsIgnoreCase(std::string_view(second, 1)), expected)
                << a << ' ' << b;
        }
    }
}

TEST(StringEqualsIgnoreCase, ComparesWholeTexts) {
    EXPECT_TRUE(String("Hello").equalsIgnoreCase("hELLO"));
    EXPECT_FALSE(String("Hello").equalsIgnoreCase("hell"));
    EXPECT_FALSE(String("Hell").equalsIgnoreCase("hello"));
    EXPECT_TRUE(String("A\0B"sv).equalsIgnoreCase("a\0b"sv));
    EXPECT_FALSE(String("A\0B"sv).equalsIgnoreCase("a\0c"sv));
    EXPECT_TRUE(String().equalsIgnoreCase(""));
    EXPECT_TRUE(String().equalsIgnoreCase(String()));
}

TEST(StringStartsWith, ComparesBytes) {
    String const text("ab\0c"sv);
    EXPECT_TRUE(text.startsWith(""));
    EXPECT_TRUE(text.startsWith("ab"));
    EXPECT_TRUE(text.startsWith("ab\0"sv));
    EXPECT_TRUE(text.startsWith(text));
    EXPECT_FALSE(text.startsWith("ab\0cd"sv));
    EXPECT_FALSE(text.startsWith("Ab"));
    EXPECT_TRUE(String().startsWith(""));
    EXPECT_FALSE(String().startsWith("a"));
}

TEST(StringEndsWith, ComparesBytes) {
    String const text("ab\0c"sv);
    EXPECT_TRUE(text.endsWith(""));
    EXPECT_TRUE(text.endsWith("c"));
    EXPECT_TRUE(text.endsWith("\0c"sv));
    EXPECT_TRUE(text.endsWith(text));
    EXPECT_FALSE(text.endsWith("xab\0c"sv));
    EXPECT_FALSE(text.endsWith("C"));
    EXPECT_FALSE(text.endsWith("c\0"sv));  // the terminating NUL is no part of the text
    EXPECT_TRUE(String().endsWith(""));
    EXPECT_FALSE(String().endsWith("a"));
}

TEST(StringAppend, AddsTextsAndBytes) {
    String text;
    text += "";
    expectBytes(text, "");
    text += "ab";
    text += 'c';
    text += '\0';
    text += String("d");
    text += std::string("e");
    text += "f\0"sv;
    text.concat("g").concat("h");
    expectBytes(text, "abc\0def\0gh"sv);
}

TEST(StringAppend, ReturnsTheStringItself) {
    String text("a");
    EXPECT_EQ(&(text += "b"), &text);
    EXPECT_EQ(&(text += 'c'), &text);
    EXPECT_EQ(&text.concat("d"), &text);
    EXPECT_EQ(&(text += ""), &text);
}

TEST(StringAppend, TakesAnyPartOfItself) {
    // Every part, for every fill of the memory after the text, shared with a copy or not.
    for (std::size_t grown = 0; grown < 8; ++grown) {
        for (std::size_t start = 0; start <= 4 + grown; ++start) {
            for (std::size_t end = start; end <= 4 + grown; ++end) {
                for (bool const shared : {false, true}) {
                    String text("abcd");
                    for (std::size_t i = 0; i < grown; ++i) {
                        text += static_cast<char>('e' + i);
                    }
                    String const copy = shared ? text : String();
                    std::string expected{std::string_view(text)};
                    expected += expected.substr(start, end - start);
                    text += std::string_view(text).substr(start, end - start);
                    ASSERT_EQ(std::string_view(text), expected) << start << ' ' << end;
                    ASSERT_EQ(text.c_str()[expected.size()], '\0');
                    if (shared) {
                        ASSERT_EQ(copy.length(), 4 + grown);
                    }
                }
            }
        }
    }
}

TEST(StringAppend, TakesItsOwnTerminatingNul) {
    for (bool const shared : {false, true}) {
        String text("ab");
        String const copy = shared ? text : String();
        text += std::string_view(text.c_str(), 3);
        expectBytes(text, "abab\0"sv);
        text += std::string_view(text.c_str(), 6);
        expectBytes(text, "abab\0abab\0\0"sv);
        String full("cd");
        String const copyOfFull = shared ? full : String();
        full += std::string_view(full.c_str() + 2, 1);
        expectBytes(full, "cd\0"sv);
    }
}

TEST(StringAppend, OfItselfDoubles) {
    String text("ab");
    text += text;
    text.concat(text);
    expectBytes(text, "abababab");
}

TEST(StringConcatenation, OperandsOfAllKinds) {
    String const a("a");
    String const b("b");
    expectBytes(a + b, "ab");
    expectBytes(a + "x", "ax");
    expectBytes("x" + a, "xa");
    expectBytes(a + std::string("x"), "ax");
    expectBytes(std::string("x") + a, "xa");
    expectBytes(a + "x\0"sv, "ax\0"sv);
    expectBytes("x\0"sv + a, "x\0a"sv);
    expectBytes(a + 'x', "ax");
    expectBytes(a + '\0', "a\0"sv);
    expectBytes(a + b + "c" + 'd' + a, "abcda");
    expectBytes(a, "a");
    expectBytes(b, "b");
}

TEST(StringConcatenation, WithNothingSharesTheOtherOperand) {
    String const a("a");
    EXPECT_EQ((a + "").c_str(), a.c_str());
    EXPECT_EQ((a + String()).c_str(), a.c_str());
    EXPECT_EQ(("" + a).c_str(), a.c_str());
    expectBytes(String() + a, "a");
    expectBytes("" + String(), "");
}

TEST(StringTrim, RemovesWhiteSpaceAtBothEnds) {
    constexpr std::pair<std::string_view, std::string_view> ROWS[] = {
        {"", ""},
        {" ", ""},                             // nothing else in it
        {" \t\n\v\f\r", ""},                   //
        {"a", "a"},                            //
        {" \t\n\v\f\ra b\r\f\v\n\t ", "a b"},  // what is inside stays
        {"a ", "a"},                           //
        {" a", "a"},                           //
        {"\0 a \0"sv, "\0 a \0"sv},            // a NUL is no white space
        {"\xA0"sv, "\xA0"sv},                  // nor is any byte beyond ASCII
        {"\x85"sv, "\x85"sv},                  //
    };
    for (auto const& [text, expected] : ROWS) {
        SCOPED_TRACE(text);
        expectBytes(String(text).trim(), expected);
    }
}

TEST(StringTrim, RemovesNoOtherByte) {
    for (int byte = 0; byte <= UCHAR_MAX; ++byte) {
        char const bytes[] = {static_cast<char>(byte)};
        bool const white = byte == ' ' || (byte >= '\t' && byte <= '\r');
        EXPECT_EQ(String(bytes, 1).trim().empty(), white) << byte;
    }
}

TEST(StringTrim, OfATrimmedTextSharesTheBytes) {
    String const text("a b");
    EXPECT_EQ(text.trim().c_str(), text.c_str());
}

TEST(StringComparison, OrdersByUnsignedBytes) {
    String const ordered[] = {
        "",  String("\0"sv), String("\0a"sv), "A",   "a", String("a\0"sv), "aa",
        "b", "\x7F",         "\x80",          "\xFF"};
    for (String const& a : ordered) {
        for (String const& b : ordered) {
            SCOPED_TRACE(std::string_view(a));
            SCOPED_TRACE(std::string_view(b));
            EXPECT_EQ(a < b, &a < &b);
            EXPECT_EQ(a > b, &a > &b);
            EXPECT_EQ(a <= b, &a <= &b);
            EXPECT_EQ(a >= b, &a >= &b);
            EXPECT_EQ(a == b, &a == &b);
            EXPECT_EQ(a != b, &a != &b);
        }
    }
}

TEST(StringComparison, WithOtherTexts) {
    String const text("ab");
    EXPECT_TRUE(text == "ab");
    EXPECT_TRUE("ab" == text);
    EXPECT_TRUE(text == std::string("ab"));
    EXPECT_TRUE(std::string("ab") == text);
    EXPECT_TRUE(text == "ab"sv);
    EXPECT_TRUE("ab"sv == text);
    EXPECT_FALSE(text == "abc");
    EXPECT_FALSE("a" == text);
    EXPECT_TRUE(text != "abc");
    EXPECT_TRUE("abc" != text);
    EXPECT_FALSE(text != "ab");
    EXPECT_FALSE("ab" != text);
    EXPECT_TRUE(text != std::string("ab\0", 3));
    EXPECT_TRUE(text < "abc");
    EXPECT_TRUE(text > "aa");
}

/// Names as used where the whole namespace is at hand.
namespace everything {
using namespace zeb::foundation;

TEST(StringComparison, LeavesTheOperatorsOfOtherTextsAlone) {
    // A text of another kind could become a String; that must not make these ambiguous.
    EXPECT_TRUE("ab"sv == "ab");
    EXPECT_TRUE("ab" != "abc"sv);
    EXPECT_TRUE(std::string("ab") == "ab");
    EXPECT_TRUE("ab"sv < "abc");
    EXPECT_EQ(std::string("a") + "b", "ab");
}
}  // namespace everything

TEST(StringOutput, WritesAllBytesWithWidthAndFill) {
    std::ostringstream out;
    out << String("a\0b"sv) << '|' << std::setw(5) << std::setfill('.') << String("ab") << '|'
        << std::left << std::setw(4) << String("c") << '|' << String();
    EXPECT_EQ(out.str(), "a\0b|...ab|c...|"sv);
}

TEST(StringHash, EqualsThatOfTheSameBytes) {
    EXPECT_EQ(std::hash<String>()("abc"), std::hash<std::string_view>()("abc"));
    EXPECT_EQ(std::hash<String>()(String()), std::hash<std::string_view>()(""));
    std::unordered_set<String> const set{"a", "b", String("a")};
    EXPECT_EQ(set.size(), 2u);
    EXPECT_EQ(set.count("b"), 1u);
}

TEST(StringView, ShowsAllBytes) {
    String const text("a\0b"sv);
    std::string_view const view = text;
    EXPECT_EQ(view, "a\0b"sv);
    EXPECT_EQ(view.data(), text.c_str());
}

}  // namespace
