#include <zeb/foundation/OStringStream.hpp>

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <locale>
#include <string>
#include <string_view>

namespace {

using zeb::foundation::OStringStream;
using zeb::foundation::String;
using namespace std::string_view_literals;

/// Writes numbers as in much of Europe: decimal comma, groups of three, words for truth.
class GroupingPunctuation : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
    std::string do_truename() const override { return "wahr"; }
};

TEST(OStringStream, IsEmptyAndGoodAtFirst) {
    OStringStream const stream;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.length(), 0u);
    EXPECT_EQ(stream.toString(), "");
    EXPECT_EQ(std::string_view(stream), "");
}

TEST(OStringStream, WritesWhatIsStreamed) {
    OStringStream stream;
    stream << "text " << 'c' << ' ' << -12 << ' ' << 1.5 << ' ' << true << ' ' << String("a\0b"sv);
    EXPECT_EQ(stream.toString(), "text c -12 1.5 1 a\0b"sv);
    EXPECT_EQ(std::string_view(stream), "text c -12 1.5 1 a\0b"sv);
    EXPECT_EQ(stream.length(), 20u);
    EXPECT_TRUE(stream.good());
}

TEST(OStringStream, ObeysManipulators) {
    OStringStream stream;
    stream << std::hex << std::setw(4) << std::setfill('0') << 0xabc << std::dec << ' '
           << std::boolalpha << true << std::endl
           << std::fixed << std::setprecision(2) << 3.14159 << std::flush;
    EXPECT_EQ(stream.toString(), "0abc true\n3.14");
}

TEST(OStringStream, WritesSingleBytesAndBlocks) {
    OStringStream stream;
    stream.put('a').put('\0').write("bcd", 2);
    stream.rdbuf()->sputc('\xFF');  // not the mark of the end
    stream.rdbuf()->sputn("xyz", 3);
    EXPECT_EQ(stream.toString(), "a\0bc\xFFxyz"sv);
}

TEST(OStringStream, EndOfFileIsNoByte) {
    OStringStream stream;
    EXPECT_NE(stream.rdbuf()->sputc('a'), std::char_traits<char>::eof());
    stream << static_cast<std::streambuf*>(nullptr);  // nothing to copy: the stream has failed
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(stream.toString(), "a");
}

TEST(OStringStream, TheGlobalLocaleHasNoInfluence) {
    std::locale const before =
        std::locale::global(std::locale(std::locale::classic(), new GroupingPunctuation));
    OStringStream stream;
    stream << 1234567 << ' ' << 1234.5 << ' ' << std::boolalpha << true;
    std::locale::global(before);
    EXPECT_EQ(stream.toString(), "1234567 1234.5 true");
    EXPECT_EQ(stream.getloc(), std::locale::classic());
}

TEST(OStringStream, ToStringIsACopy) {
    OStringStream stream;
    stream << "a";
    String const copy = stream.toString();
    stream << "b";
    EXPECT_EQ(copy, "a");
    EXPECT_EQ(stream.toString(), "ab");
}

}  // namespace
