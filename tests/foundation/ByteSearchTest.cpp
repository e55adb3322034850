#include <zeb/foundation/ByteSearch.hpp>

#include <zeb/foundation/String.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <string>
#include <string_view>

#include "Random.hpp"

namespace {

using namespace std::string_view_literals;
using zeb::foundation::String;
using zeb::foundation::StringBuffer;
using zeb::foundation::detail::appendReplaced;

std::string replacedOneByOne(std::string_view text, std::string_view wanted,
                             std::string_view replacement) {
    std::string replaced;
    for (std::size_t pos = 0; pos < text.size();) {
        if (text.compare(pos, wanted.size(), wanted) == 0) {
            replaced += replacement;
            pos += wanted.size();
        } else {
            replaced += text[pos++];
        }
    }
    return replaced;
}

/// What `appendReplaced` makes of `text`; `text` where it reports no hit.
std::string replaced(std::string_view text, std::string_view wanted, std::string_view replacement) {
    StringBuffer out;
    bool const found = appendReplaced(out, text, wanted, replacement);
    EXPECT_TRUE(found || out.empty());
    return std::string(found ? std::string_view(out) : text);
}

void expectSameAsOneByOne(std::string_view text, std::string_view wanted) {
    ASSERT_EQ(replaced(text, wanted, "<+>"), replacedOneByOne(text, wanted, "<+>"))
        << testing::PrintToString(text) << ": " << testing::PrintToString(wanted);
    ASSERT_EQ(String(text).indexOf(wanted), text.find(wanted))
        << testing::PrintToString(text) << ": " << testing::PrintToString(wanted);
}

/// A page between two that cannot be read.
class LonePage {
public:
    static constexpr std::size_t SIZE = 4096;

    LonePage()
        : room_(static_cast<char*>(
              ::mmap(nullptr, 3 * SIZE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        EXPECT_EQ(::mprotect(room_ + SIZE, SIZE, PROT_READ | PROT_WRITE), 0);
    }
    LonePage(LonePage const&) = delete;
    LonePage& operator=(LonePage const&) = delete;
    ~LonePage() { ::munmap(room_, 3 * SIZE); }

    std::string_view atStart(std::string_view text) { return copied(text, room_ + SIZE); }
    std::string_view atEnd(std::string_view text) {
        return copied(text, room_ + 2 * SIZE - text.size());
    }

private:
    static std::string_view copied(std::string_view text, char* to) {
        std::memcpy(to, text.data(), text.size());
        return {to, text.size()};
    }

    char* room_;
};

TEST(ByteSearch, ReadsNothingOutsideTheText) {
    constexpr std::string_view WANTED =
        "a needle, in a text that has neither end nor beginning but pages"sv;
    LonePage text;
    LonePage wanted;
    for (std::size_t const size : {1U, 2U, 3U, 4U, 7U, 8U, 9U, 16U, 17U, 33U, 64U}) {
        std::string const needle(WANTED.substr(0, size));
        for (std::size_t length = size; length < size + 200; ++length) {
            std::string haystack(length, '-');
            for (std::string const& candidate :
                 {haystack, std::string(haystack).replace(length - size, size, needle),
                  std::string(haystack).replace(0, size, needle)}) {
                std::string const expected = replacedOneByOne(candidate, needle, "");
                ASSERT_EQ(replaced(text.atStart(candidate), wanted.atStart(needle), ""), expected);
                ASSERT_EQ(replaced(text.atEnd(candidate), wanted.atEnd(needle), ""), expected);
            }
        }
    }
}

// The texts are long enough for a choice of the bytes searched for, for another one, and for the
// search that is linear.
TEST(ByteSearch, AgreesWithASimpleLoopOnTextsThatMislead) {
    zeb::test::Random random(100);
    constexpr std::string_view ALPHABETS[] = {"ab"sv, "aaaaaaab"sv, "a\0\xFF"sv, "needlX"sv,
                                              "etaoin zq\xC3\xA9\xE4"sv};
    for (int i = 0; i < 2'000; ++i) {
        std::string_view const alphabet = random.pick(ALPHABETS);
        std::string const wanted = random.text(alphabet, random.between(1, 64));
        std::string almost = wanted;
        almost[random.below(almost.size())] = random.pick(alphabet);
        std::string text = random.text(alphabet, random.below(600));
        std::string const part =
            random.oneIn(2) ? almost : random.text(alphabet, random.between(1, 20));
        for (std::size_t const end = random.below(6'000); text.size() < end;) {
            text += part;
        }
        for (std::size_t hits = random.below(8); hits > 0; --hits) {
            text.insert(random.below(text.size() + 1), wanted);
        }
        text += random.text(alphabet, random.below(80));
        expectSameAsOneByOne(text, wanted);
    }
}

// Rare bytes are chosen from the first 64, but all must match.
TEST(ByteSearch, ComparesAllBytesOfALongText) {
    for (std::size_t const size : {63U, 64U, 65U, 66U, 130U, 1000U}) {
        std::string wanted(size, 'a');
        wanted[size / 3] = 'z';
        for (std::size_t const place : {std::size_t{0}, size / 3, size / 2, size - 1}) {
            std::string almost = wanted;
            almost[place] = '-';
            expectSameAsOneByOne(almost + almost + "b" + wanted + almost, wanted);
            expectSameAsOneByOne(std::string(2000, 'z') + almost + wanted, wanted);
        }
    }
}

}  // namespace
