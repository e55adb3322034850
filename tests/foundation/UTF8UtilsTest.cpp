#include <zeb/foundation/UTF8Utils.hpp>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <string_view>

namespace {

using zeb::foundation::StringBuffer;
using zeb::foundation::UTF8Utils::UCS4toUTF8;

std::string encode(unsigned int codePoint) {
    StringBuffer buffer;
    UCS4toUTF8(codePoint, buffer);
    return std::string(std::string_view(buffer));
}

/// The encoding made the other way round: as many six-bit groups from the end as it takes until the
/// rest fits after the first byte's mark of the length.
std::string encodedBySixBitGroups(unsigned int codePoint) {
    if (codePoint < 128) {
        return {static_cast<char>(codePoint)};
    }
    std::string bytes;
    unsigned int room = 32;  // values that fit into the first byte when one byte follows
    while (codePoint >= room || bytes.empty()) {
        bytes.insert(bytes.begin(), static_cast<char>(128 + codePoint % 64));
        codePoint /= 64;
        if (bytes.size() > 1) {
            room /= 2;
        }
    }
    unsigned int const mark = 256 - 2 * room;
    bytes.insert(bytes.begin(), static_cast<char>(mark + codePoint));
    return bytes;
}

TEST(UTF8Utils, EncodesTheKnownExamples) {
    EXPECT_EQ(encode('A'), "A");
    EXPECT_EQ(encode(0), std::string(1, '\0'));
    EXPECT_EQ(encode(0x7F), "\x7F");
    EXPECT_EQ(encode(0x80), "\xC2\x80");
    EXPECT_EQ(encode(0xE4), "\xC3\xA4");
    EXPECT_EQ(encode(0x7FF), "\xDF\xBF");
    EXPECT_EQ(encode(0x800), "\xE0\xA0\x80");
    EXPECT_EQ(encode(0x20AC), "\xE2\x82\xAC");
    EXPECT_EQ(encode(0xFFFF), "\xEF\xBF\xBF");
    EXPECT_EQ(encode(0x10000), "\xF0\x90\x80\x80");
    EXPECT_EQ(encode(0x1F600), "\xF0\x9F\x98\x80");
    EXPECT_EQ(encode(0x10FFFF), "\xF4\x8F\xBF\xBF");
}

TEST(UTF8Utils, EncodesEveryCodePoint) {
    for (unsigned int codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        bool const surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
        ASSERT_EQ(encode(codePoint), surrogate ? "\xEF\xBF\xBD" : encodedBySixBitGroups(codePoint))
            << codePoint;
    }
}

TEST(UTF8Utils, ValuesBeyondTheLastCodePointAreReplaced) {
    for (unsigned int const value : {0x110000U, 0x110001U, 0x1FFFFFU, 0x200000U, 0x7FFFFFFFU,
                                     0x80000000U, 0xFFFFD800U, UINT_MAX}) {
        EXPECT_EQ(encode(value), "\xEF\xBF\xBD") << value;
    }
}

TEST(UTF8Utils, TheInlineFormWritesTheSameAndNoMore) {
    for (unsigned int const codePoint :
         {0U, 0x7FU, 0x80U, 0x7FFU, 0x800U, 0xD7FFU, 0xD800U, 0xDFFFU, 0xE000U, 0xFFFFU, 0x10000U,
          0x10FFFFU, 0x110000U}) {
        std::string bytes(zeb::foundation::UTF8Utils::MAX_LENGTH + 1, '#');
        char* const end = zeb::foundation::UTF8Utils::encode(codePoint, bytes.data());
        auto const length = static_cast<std::size_t>(end - bytes.data());
        EXPECT_EQ(bytes.substr(0, length), encode(codePoint)) << codePoint;
        EXPECT_EQ(bytes.substr(length), std::string(bytes.size() - length, '#')) << codePoint;
    }
}

TEST(UTF8Utils, AppendsToWhatIsThere) {
    StringBuffer buffer(1);
    buffer.append("x");
    UCS4toUTF8(0x20AC, buffer);
    UCS4toUTF8('y', buffer);
    EXPECT_EQ(std::string_view(buffer), "x\xE2\x82\xACy");
}

}  // namespace
