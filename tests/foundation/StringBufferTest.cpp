#include <zeb/foundation/StringBuffer.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

using zeb::foundation::String;
using zeb::foundation::StringBuffer;
using namespace std::string_view_literals;

static_assert(!std::is_copy_constructible_v<StringBuffer> &&
              !std::is_copy_assignable_v<StringBuffer>);
static_assert(StringBuffer::INITIAL_CAPACITY == 128);

TEST(StringBuffer, IsEmptyAndWithoutMemoryAtFirst) {
    StringBuffer buffer;
    EXPECT_EQ(buffer.length(), 0u);
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.capacity(), 0u);
    EXPECT_EQ(std::string_view(buffer), "");
    EXPECT_EQ(buffer.toString(), "");
    EXPECT_EQ(buffer.releaseString(), "");
}

TEST(StringBuffer, AppendsBytesAndTexts) {
    StringBuffer buffer;
    buffer.append('a').append("bc").append(String("d\0e"sv)).append(std::string("f"));
    buffer += 'g';
    buffer += "\0h"sv;
    buffer.append("");
    EXPECT_EQ(std::string_view(buffer), "abcd\0efg\0h"sv);
    EXPECT_EQ(buffer.length(), 10u);
    EXPECT_FALSE(buffer.empty());
    EXPECT_EQ(buffer.toString(), "abcd\0efg\0h"sv);
}

TEST(StringBuffer, TakesTheRoomItIsToldFirst) {
    for (std::size_t const capacity :
         {std::size_t{0}, std::size_t{1}, std::size_t{3}, std::size_t{127}, std::size_t{1000}}) {
        StringBuffer buffer(capacity);
        buffer.append('a');
        EXPECT_EQ(buffer.capacity(), capacity > 1 ? capacity : 1);
    }
    StringBuffer usual;
    usual.append('a');
    EXPECT_EQ(usual.capacity(), StringBuffer::INITIAL_CAPACITY);
    StringBuffer overrun(10);
    overrun.append(std::string(11, 'x'));
    EXPECT_EQ(overrun.capacity(), 11u);
}

TEST(StringBuffer, RoomDoublesWhenItIsUsedUp) {
    StringBuffer buffer(4);
    int growths = 0;
    for (int i = 0; i < 1 << 16; ++i) {
        std::size_t const before = buffer.capacity();
        buffer.append(static_cast<char>(i));
        if (buffer.capacity() != before) {
            ++growths;
            EXPECT_EQ(buffer.capacity(), before == 0 ? 4 : 2 * before);
        }
    }
    EXPECT_EQ(growths, 15);  // 4, 8, ... 65,536
    std::string_view const bytes = buffer;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        ASSERT_EQ(bytes[i], static_cast<char>(i));
    }
}

TEST(StringBuffer, GrowsByTextsShorterThanItself) {
    StringBuffer appended(8);
    appended.append("abcdefg").append("hi");
    EXPECT_EQ(appended.capacity(), 16u);
    EXPECT_EQ(std::string_view(appended), "abcdefghi");
    StringBuffer prepared(8);
    prepared.append("abcdefg");
    std::memcpy(prepared.prepare(2), "hi", 2);
    prepared.commit(2);
    EXPECT_EQ(prepared.capacity(), 16u);
    EXPECT_EQ(std::string_view(prepared), "abcdefghi");
    StringBuffer full(8);
    full.append("abcdefg").append("h");
    EXPECT_EQ(full.capacity(), 8u);
}

TEST(StringBuffer, GrowsAtOnceToWhatALongTextNeeds) {
    StringBuffer buffer(4);
    buffer.append("abc");
    buffer.append(std::string(1000, 'x'));
    EXPECT_EQ(buffer.capacity(), 1003u);
    EXPECT_EQ(std::string_view(buffer), "abc" + std::string(1000, 'x'));
}

TEST(StringBuffer, PreparedBytesCountWhenTheyAreCommitted) {
    StringBuffer buffer(2);
    buffer.append("a");
    char* const room = buffer.prepare(5);
    std::memcpy(room, "bcdef", 5);
    EXPECT_EQ(std::string_view(buffer), "a");
    buffer.commit(3);
    EXPECT_EQ(std::string_view(buffer), "abcd");
    EXPECT_GE(buffer.capacity(), 6u);
    buffer.commit(0);
    EXPECT_EQ(std::string_view(buffer), "abcd");
}

TEST(StringBuffer, ClearKeepsTheMemory) {
    StringBuffer buffer;
    buffer.append("abc");
    std::size_t const capacity = buffer.capacity();
    buffer.clear();
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.capacity(), capacity);
    EXPECT_EQ(buffer.releaseString(), "");
    buffer.append("d");
    EXPECT_EQ(buffer.toString(), "d");
}

TEST(StringBuffer, ToStringIsACopy) {
    StringBuffer buffer;
    buffer.append("abc");
    String const copy = buffer.toString();
    buffer.append("d");
    EXPECT_EQ(copy, "abc");
    EXPECT_NE(copy.c_str(), std::string_view(buffer).data());
}

TEST(StringBuffer, ReleaseHandsTheMemoryOver) {
    StringBuffer buffer;
    buffer.append("a\0b"sv);
    char const* const bytes = std::string_view(buffer).data();
    String const text = buffer.releaseString();
    EXPECT_EQ(text, "a\0b"sv);
    EXPECT_EQ(text.c_str(), bytes);
    EXPECT_EQ(text.c_str()[3], '\0');
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(buffer.capacity(), 0u);
    buffer.append("again");
    EXPECT_EQ(buffer.releaseString(), "again");
    EXPECT_EQ(text, "a\0b"sv);
}

TEST(StringBuffer, AReleasedStringIsTerminatedAtEveryFill) {
    for (std::size_t length = 1; length < 300; ++length) {
        StringBuffer buffer(1);
        std::string expected;
        for (std::size_t i = 0; i < length; ++i) {
            buffer.append('x');
            expected.push_back('x');
        }
        String text = buffer.releaseString();
        ASSERT_EQ(text, expected);
        ASSERT_EQ(std::strlen(text.c_str()), length);
        text += "y";  // what room is left is used as any other string's
        ASSERT_EQ(text, expected + "y");
    }
}

TEST(StringBuffer, AnImpossibleLengthIsExhaustedMemoryAndChangesNothing) {
    StringBuffer buffer;
    buffer.append("abc");
    EXPECT_THROW((void)buffer.prepare(static_cast<std::size_t>(-1)), std::bad_alloc);
    EXPECT_THROW((void)buffer.prepare(static_cast<std::size_t>(-1) - 3), std::bad_alloc);
    EXPECT_THROW((void)buffer.prepare(static_cast<std::size_t>(-1) / 2), std::bad_alloc);
    EXPECT_EQ(std::string_view(buffer), "abc");
    buffer.append("d");
    EXPECT_EQ(buffer.releaseString(), "abcd");
}

}  // namespace
