#include <OrventoTextOperations.hpp>

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

using namespace std::string_view_literals;
using ZEBNS2::get_unit_size;
using ZEBNS2::String;

static_assert(std::is_same_v<decltype(get_unit_size("")), std::uint64_t>);

constexpr std::uint64_t power(unsigned int exponent) { return std::uint64_t{1} << exponent; }

TEST(GetUnitSize, FindsTheWordOfTheUnit) {
    struct Row {
        std::string_view unit;
        std::uint64_t bytes;
    };
    constexpr Row ROWS[] = {
        {"KB", 1024},
        {"MegaBytes", 1048576},
        {"10GB", 1073741824},        // a leading number is skipped
        {"10 gb free", 1073741824},  // and so is what follows
        {"K", 1024},                 // a letter alone is compared whole
        {"k", 1024},
        {"P", power(50)},
        {"10K", 0},
        {"K ", 0},
        {"B", 0},
        {"byte", 1},
        {"bytes", 1},
        {"Bytes", 1},
        {"8 bytes", 1},
        {"512", 0},
        {"", 0},
        {"kib", 0},
        {"kbit", 1024},            // kb is found inside
        {"terabytes", power(40)},  // the first expression takes the whole word
        {"tbytes", power(40)},     // the second
        {"kilob", 0},              // found by the first expression, but no word of the list
        {"1 kilob", 0},
        {"kilo", 0},
        {"exabyte", 1},  // byte is found inside
        {"megakilobyte", 1024},
        {"mb kilobytes", 1024},       // the first expression goes first, wherever its word is
        {"kilobyte megabyte", 1024},  // the leftmost
        {"mbytesx", power(20)},       // the longest
        {"kilobytesx", 1024},
        {"gigabyteS", power(30)},
        {"kb\0"sv, 1024},
        {"K\0"sv, 0},   // compared whole, with the NUL
        {"\0kb"sv, 0},  // the expressions see nothing after a NUL
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.unit);
        EXPECT_EQ(get_unit_size(String(row.unit)), row.bytes);
    }
}

TEST(GetUnitSize, KnowsAllWordsInEachCase) {
    struct Prefix {
        char const* letter;
        char const* word;
        unsigned int exponent;
    };
    constexpr Prefix PREFIXES[] = {{"k", "kilo", 10},
                                   {"m", "mega", 20},
                                   {"g", "giga", 30},
                                   {"t", "tera", 40},
                                   {"p", "peta", 50}};
    auto const expectSize = [](std::string word, std::uint64_t bytes) {
        EXPECT_EQ(get_unit_size(word), bytes) << word;
        for (char& letter : word) {
            letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
        }
        EXPECT_EQ(get_unit_size(word), bytes) << word;
    };
    for (Prefix const& prefix : PREFIXES) {
        std::string const letter = prefix.letter;
        std::string const word = prefix.word;
        for (std::string const& unit :
             {letter, letter + 'b', letter + "byte", letter + "bytes", word + "byte",
              word + "bytes", "3 " + letter + 'b', "3" + letter + "bytes", "3 " + word + "bytes"}) {
            expectSize(unit, power(prefix.exponent));
        }
    }
    expectSize("byte", 1);
    expectSize("bytes", 1);
}

}  // namespace
