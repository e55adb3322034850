// What strings and arrays have under the names, and with the meaning, of the standard containers.
#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/String.hpp>

#include <Random.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iomanip>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

using zeb::foundation::Array;
using zeb::foundation::OutOfBoundsException;
using zeb::foundation::String;
using zeb::foundation::StringArray;
using zeb::test::Random;
using namespace std::string_literals;
using namespace std::string_view_literals;

// ------------------------------------------------------------------------------------- Strings

// A number is not text, in any form.
template <typename T>
constexpr bool MAKES_STRING = std::is_constructible_v<String, T>;
static_assert(!MAKES_STRING<int> && !MAKES_STRING<long> && !MAKES_STRING<double> &&
              !MAKES_STRING<bool> && !MAKES_STRING<unsigned char> && !MAKES_STRING<wchar_t>);
static_assert(!MAKES_STRING<String::ReturnDelimiters>);
static_assert(MAKES_STRING<std::nullptr_t> && MAKES_STRING<char const*> &&
              MAKES_STRING<std::string_view>);
static_assert(std::is_nothrow_constructible_v<String, std::nullptr_t>);

template <typename A, typename B, typename = void>
constexpr bool JOINS = false;
template <typename A, typename B>
constexpr bool JOINS<A, B, std::void_t<decltype(std::declval<A>() + std::declval<B>())>> = true;
static_assert(!JOINS<String, int> && !JOINS<String, std::size_t> && !JOINS<String, double> &&
              !JOINS<String, bool> && !JOINS<String, signed char> && !JOINS<int, String> &&
              !JOINS<String, String::ReturnEmptyTokens>);
static_assert(JOINS<String, char> && JOINS<char, String> && JOINS<String, char const*> &&
              JOINS<std::string_view, String> && JOINS<String, std::string>);

template <typename T, typename = void>
constexpr bool APPENDS = false;
template <typename T>
constexpr bool APPENDS<T, std::void_t<decltype(std::declval<String&>() += std::declval<T>())>> =
    true;
static_assert(!APPENDS<int> && !APPENDS<unsigned char> && !APPENDS<float> && !APPENDS<char16_t>);
static_assert(APPENDS<char> && APPENDS<char const*> && APPENDS<String> && APPENDS<std::string>);

TEST(StringStandardNames, NullPointersGiveTheEmptyString) {
    String const fromNullptr = nullptr;
    EXPECT_TRUE(fromNullptr.empty());
    EXPECT_TRUE(String(static_cast<char const*>(nullptr)).empty());
}

TEST(StringStandardNames, ArrayOfStringsIsStillMadeByACountInBraces) {
    EXPECT_EQ(StringArray{3}.size(), 3u);  // not one string of the number
}

TEST(StringStandardNames, RangeIsTheBytesWithNul) {
    String const text("a\0b"sv);
    EXPECT_EQ(std::string(text.begin(), text.end()), "a\0b"s);
    EXPECT_EQ(std::string(text.cbegin(), text.cend()), "a\0b"s);
    EXPECT_EQ(std::string(text.rbegin(), text.rend()), "b\0a"s);
    EXPECT_EQ(text.size(), 3u);
    EXPECT_EQ(text.data(), text.c_str());
    EXPECT_EQ(text.end() - text.begin(), 3);
    EXPECT_EQ(*text.end(), '\0');
    EXPECT_EQ(std::count(text.begin(), text.end(), '\0'), 1);
    String const empty;
    EXPECT_EQ(empty.begin(), empty.end());
    EXPECT_EQ(empty.rbegin(), empty.rend());
    EXPECT_EQ(empty.data() + empty.size(), empty.end());
    EXPECT_EQ(*empty.data(), '\0');
}

TEST(StringStandardNames, FrontAndBackNeedAByte) {
    EXPECT_EQ(String("ab").front(), 'a');
    EXPECT_EQ(String("ab").back(), 'b');
    EXPECT_EQ(String("x").front(), String("x").back());
    for (char (String::*end)() const : {&String::front, &String::back}) {
        try {
            static_cast<void>((String().*end)());
            FAIL() << "no exception";
        } catch (OutOfBoundsException const& exception) {
            EXPECT_STREQ(exception.what(), "Index out of bounds: size 0, index 0");
        }
    }
}

// std::string is what the names mean.
TEST(StringStandardNames, FindAndSubstrAnswerAsStdString) {
    Random random(20261122);
    for (int i = 0; i < 20000; ++i) {
        std::string bytes, wanted;
        for (std::size_t n = random.below(8); n > 0; --n) {
            bytes += static_cast<char>('a' + random.below(3));
        }
        for (std::size_t n = random.below(3); n > 0; --n) {
            wanted += static_cast<char>('a' + random.below(3));
        }
        std::size_t const from = random.below(10) == 9 ? std::string::npos : random.below(10);
        String const text(bytes);
        SCOPED_TRACE("'" + bytes + "' '" + wanted + "' " + std::to_string(from));
        ASSERT_EQ(text.find(wanted, from), bytes.find(wanted, from));
        ASSERT_EQ(text.rfind(wanted, from), bytes.rfind(wanted, from));
        ASSERT_EQ(text.find('b', from), bytes.find('b', from));
        ASSERT_EQ(text.rfind('b', from), bytes.rfind('b', from));
        if (from <= bytes.size()) {
            ASSERT_EQ(text.substr(from, wanted.size()), bytes.substr(from, wanted.size()));
            ASSERT_EQ(text.substr(from), bytes.substr(from));
        } else {
            ASSERT_THROW(static_cast<void>(text.substr(from)), OutOfBoundsException);
        }
    }
    EXPECT_EQ(String("abc").find("c"), 2u);
    EXPECT_EQ(String("abcabc").rfind("c"), 5u);
    EXPECT_EQ(String("abc").substr(), "abc");
}

template <typename A, typename B>
void expectOrder(A const& a, B const& b, int order) {
    EXPECT_EQ(a < b, order < 0);
    EXPECT_EQ(a > b, order > 0);
    EXPECT_EQ(a <= b, order <= 0);
    EXPECT_EQ(a >= b, order >= 0);
    EXPECT_EQ(a == b, order == 0);
    EXPECT_EQ(a != b, order != 0);
}

TEST(StringStandardNames, OrderIsThatOfViews) {
    std::string_view const texts[] = {"", "\0"sv, "a", "a\0"sv, "ab", "b", "\xFF"};
    for (std::string_view const a : texts) {
        for (std::string_view const b : texts) {
            SCOPED_TRACE(std::string(a) + " and " + std::string(b));
            int const order = a.compare(b);
            expectOrder(String(a), String(b), order);
            expectOrder(String(a), b, order);
            expectOrder(a, String(b), order);
            expectOrder(String(a), std::string(b), order);
            if (b.find('\0') == b.npos) {
                expectOrder(String(a), std::string(b).c_str(), order);
            }
        }
    }
}

TEST(StringStandardNames, ContainersLookItUpByViewsAndLiterals) {
    std::map<String, int, std::less<>> const ports{{"http", 80}, {"https", 443}};
    EXPECT_EQ(ports.find("http"sv)->second, 80);
    EXPECT_EQ(ports.find("https")->second, 443);
    EXPECT_EQ(ports.find(std::string("ftp")), ports.end());
    EXPECT_EQ(std::hash<String>()("http"sv), std::hash<String>()(String("http")));
    EXPECT_EQ(std::hash<String>()("http"), std::hash<std::string_view>()("http"));
}

TEST(StringStandardNames, AByteInFrontIsJoined) {
    EXPECT_EQ('<' + String("a") + '>', "<a>");
    EXPECT_EQ('\0' + String(), "\0"sv);
}

TEST(StringStandardNames, WordsAreReadAsStdStringReadsThem) {
    for (char const* const input : {"", " ", "one", "  one two", "one\n", "a\vb", "\xE9 x"}) {
        SCOPED_TRACE(input);
        std::istringstream in(input), expectedIn(input);
        for (int width : {0, 2, 0}) {
            String word = "before";
            std::string expected = "before";
            in >> std::setw(width) >> word;
            bool const read = static_cast<bool>(expectedIn >> std::setw(width) >> expected);
            EXPECT_EQ(word, read ? expected : "before");
            EXPECT_EQ(in.rdstate(), expectedIn.rdstate());
        }
    }
}

TEST(StringStandardNames, LinesAreReadWithNulAndWithoutTheirEnd) {
    std::istringstream in("one\ntw\0o\n\nlast"s);
    StringArray lines;
    for (String line; getline(in, line);) {
        lines.append(line);
    }
    EXPECT_EQ(lines, (StringArray{"one", "tw\0o"sv, "", "last"}));
    EXPECT_TRUE(in.eof());
    String line = "before";
    EXPECT_FALSE(getline(in, line));
    EXPECT_EQ(line, "before");

    std::istringstream fields("a:b");
    EXPECT_TRUE(getline(fields, line, ':'));
    EXPECT_EQ(line, "a");
}

TEST(StringStandardNames, AStreamThatThrowsLeavesTheStringAlone) {
    std::istringstream in("");
    in.exceptions(std::ios::failbit);
    String text = "before";
    EXPECT_THROW(in >> text, std::ios::failure);
    EXPECT_EQ(text, "before");
    in.clear();
    EXPECT_THROW(getline(in, text), std::ios::failure);
    EXPECT_EQ(text, "before");
}

// -------------------------------------------------------------------------------------- Arrays

TEST(ArrayStandardNames, FrontAndBackNeedAnElement) {
    Array<int> array{1, 2, 3};
    Array<int> const copy = array;
    EXPECT_EQ(copy.front(), 1);
    EXPECT_EQ(copy.back(), 3);
    array.front() = 7;
    array.back() = 9;
    EXPECT_EQ(array, (Array<int>{7, 2, 9}));
    EXPECT_EQ(copy, (Array<int>{1, 2, 3}));
    Array<int> empty;
    EXPECT_THROW(static_cast<void>(empty.front()), OutOfBoundsException);
    EXPECT_THROW(static_cast<void>(std::as_const(empty).front()), OutOfBoundsException);
    EXPECT_THROW(static_cast<void>(empty.back()), OutOfBoundsException);
    EXPECT_THROW(static_cast<void>(std::as_const(empty).back()), OutOfBoundsException);
}

TEST(ArrayStandardNames, PopBackTakesTheLastOfThisArrayAlone) {
    StringArray array{"a", "b"};
    StringArray const copy = array;
    array.pop_back();
    EXPECT_EQ(array, (StringArray{"a"}));
    EXPECT_EQ(copy, (StringArray{"a", "b"}));
    array.pop_back();
    EXPECT_TRUE(array.empty());
    EXPECT_THROW(array.pop_back(), OutOfBoundsException);
}

TEST(ArrayStandardNames, EmplaceBackMakesTheElementInPlace) {
    Array<std::pair<String, int>> array;
    EXPECT_EQ(array.emplace_back("one", 1).first, "one");
    array.emplace_back("two", 2).second = 22;
    EXPECT_EQ(array, (Array<std::pair<String, int>>{{"one", 1}, {"two", 22}}));
    Array<std::vector<int>> vectors;
    EXPECT_TRUE(vectors.emplace_back().empty());
    EXPECT_EQ(vectors.emplace_back(3U, 7), (std::vector<int>{7, 7, 7}));
}

TEST(ArrayStandardNames, EmplaceBackTakesAnElementOfTheArrayItself) {
    StringArray array{"one"};
    for (int i = 0; i < 40; ++i) {
        StringArray const shared = array;  // so that some of the calls detach
        array.emplace_back(array[0]);
        ASSERT_EQ(shared.size() + 1, array.size());
    }
    EXPECT_EQ(std::count(array.begin(), array.end(), "one"), 41);
}

TEST(ArrayStandardNames, EraseAnswersAsVectorDoes) {
    for (std::size_t size = 0; size <= 4; ++size) {
        for (std::size_t first = 0; first <= size; ++first) {
            for (std::size_t last = first; last <= size; ++last) {
                std::vector<int> expected(size);
                std::generate(expected.begin(), expected.end(), [n = 0]() mutable { return n++; });
                Array<int> array(expected);
                Array<int> const copy = array;
                // Iterators of the array while it still shares its elements.
                auto const from = array.cbegin() + first, to = array.cbegin() + last;
                auto const next = array.erase(from, to);
                auto const expectedNext =
                    expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(first),
                                   expected.begin() + static_cast<std::ptrdiff_t>(last));
                EXPECT_EQ(next - array.cbegin(), expectedNext - expected.begin());
                EXPECT_EQ(array, Array<int>(expected));
                EXPECT_EQ(copy.size(), size);
            }
        }
    }
    StringArray array{"a", "b", "c"};
    EXPECT_EQ(*array.erase(array.begin() + 1), "c");
    EXPECT_EQ(array, (StringArray{"a", "c"}));
    EXPECT_THROW(array.erase(array.end()), OutOfBoundsException);
}

TEST(ArrayStandardNames, ReverseIteratorsReadAndWrite) {
    Array<int> array{1, 2, 3};
    Array<int> const copy = array;
    EXPECT_EQ(std::vector<int>(copy.rbegin(), copy.rend()), (std::vector<int>{3, 2, 1}));
    int next = 7;
    for (auto element = array.rbegin(); element != array.rend(); ++element) {
        *element = next++;
    }
    EXPECT_EQ(array, (Array<int>{9, 8, 7}));
    EXPECT_EQ(copy, (Array<int>{1, 2, 3}));
}

TEST(ArrayStandardNames, OrderIsLexicographical) {
    Array<int> const arrays[] = {{}, {1}, {1, 2}, {1, 3}, {2}};
    for (Array<int> const& a : arrays) {
        for (Array<int> const& b : arrays) {
            expectOrder(a, b, a == b ? 0 : std::less<>()(&a, &b) ? -1 : 1);
        }
    }
}

TEST(ArrayStandardNames, BuildsFromAndToVectors) {
    std::vector<String> const names{"a", "b"};
    StringArray const array(names);
    EXPECT_EQ(array, (StringArray{"a", "b"}));
    EXPECT_EQ(std::vector<String>(array), names);
    EXPECT_TRUE(Array<int>(std::vector<int>()).empty());
    EXPECT_TRUE(std::vector<bool>(Array<bool>(std::vector<bool>{true, false}))[0]);
    static_assert(!std::is_convertible_v<std::vector<String>, StringArray>);
    static_assert(!std::is_convertible_v<StringArray, std::vector<String>>);
}

TEST(ArrayStandardNames, ArraysOfBytesBuildFromTexts) {
    Array<char> const bytes(String("a\0\xFF"sv));
    EXPECT_EQ(bytes, (Array<char>{'a', '\0', '\xFF'}));
    EXPECT_EQ(Array<char>("ab"), (Array<char>{'a', 'b'}));
    EXPECT_EQ(Array<unsigned char>("\xFF"sv), (Array<unsigned char>{0xFF}));
    EXPECT_TRUE(Array<char>(""sv).empty());
    static_assert(!std::is_constructible_v<Array<short>, std::string_view>);
    static_assert(!std::is_constructible_v<Array<bool>, std::string_view>);
    static_assert(!std::is_convertible_v<String, Array<char>>, "a text is no list by itself");
}

}  // namespace
