#include <zeb/foundation/IFileStream.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <istream>
#include <string>
#include <string_view>

#include "TemporaryDirectory.hpp"

namespace {

using zeb::foundation::IFileStream;
using zeb::foundation::String;
using zeb::test::TemporaryDirectory;
using namespace std::string_view_literals;

class IFileStreamTest : public testing::Test {
protected:
    TemporaryDirectory directory;
};

TEST_F(IFileStreamTest, ReadsInPiecesAndTellsHowMany) {
    IFileStream stream(directory.file("file", std::string(5000, 'x')));
    ASSERT_TRUE(stream.good());
    EXPECT_TRUE(stream.is_open());
    char buffer[2048];
    for (std::streamsize const expected : {2048, 2048, 904}) {
        EXPECT_TRUE(stream.good());
        stream.read(buffer, sizeof buffer);
        EXPECT_EQ(stream.gcount(), expected);
    }
    EXPECT_TRUE(stream.eof());
    EXPECT_TRUE(stream.fail());
    EXPECT_FALSE(stream.bad());
    stream.read(buffer, sizeof buffer);
    EXPECT_EQ(stream.gcount(), 0);
}

TEST_F(IFileStreamTest, ReadsBytesAsTheyStand) {
    constexpr std::string_view BYTES = "a\r\nb\0c\x1A\xFF\n"sv;
    IFileStream stream(directory.file("file", BYTES));
    char buffer[64];
    stream.read(buffer, sizeof buffer);
    EXPECT_EQ(std::string_view(buffer, static_cast<std::size_t>(stream.gcount())), BYTES);
}

TEST_F(IFileStreamTest, ReadsALargeFileOnEveryMachine) {
    String const path = directory.file("large", "start");
    constexpr std::uint64_t SIZE = std::uint64_t{5} << 30;  // 5 GiB, most of it nothing
    std::filesystem::resize_file(path.c_str(), SIZE);
    std::ofstream(path.c_str(), std::ios_base::app) << "end";
    IFileStream stream(path);
    char buffer[8];
    stream.read(buffer, 5);
    EXPECT_EQ(std::string_view(buffer, 5), "start");
    stream.seekg(static_cast<std::streamoff>(SIZE));
    stream.read(buffer, sizeof buffer);
    EXPECT_EQ(std::string_view(buffer, static_cast<std::size_t>(stream.gcount())), "end");
    EXPECT_TRUE(stream.eof());
}

TEST_F(IFileStreamTest, OfAnEmptyFileEndsAtOnce) {
    IFileStream stream(directory.file("file", ""));
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
    EXPECT_EQ(stream.gcount(), 0);
    EXPECT_TRUE(stream.eof());
}

TEST_F(IFileStreamTest, OfAMissingFileHasFailed) {
    IFileStream stream(directory.path("missing"));
    EXPECT_TRUE(stream.fail());
    EXPECT_FALSE(stream.bad());
    EXPECT_FALSE(stream.eof());
    EXPECT_FALSE(stream.is_open());
    char byte = 'x';
    stream.read(&byte, 1);
    EXPECT_EQ(stream.gcount(), 0);
    EXPECT_EQ(byte, 'x');
}

TEST_F(IFileStreamTest, OfAPathWithANulHasFailed) {
    String const file = directory.file("file", "bytes");
    IFileStream const stream(file + "\0"sv);
    EXPECT_TRUE(stream.fail());
    EXPECT_FALSE(stream.is_open());
    EXPECT_TRUE(IFileStream(file).is_open());
}

TEST_F(IFileStreamTest, OfADirectoryGivesNoByte) {
    IFileStream stream(directory.path(""));
    char byte = 'x';
    stream.read(&byte, 1);
    EXPECT_EQ(stream.gcount(), 0);
    EXPECT_FALSE(stream.good());
    EXPECT_EQ(byte, 'x');
}

TEST_F(IFileStreamTest, IsAStandardInputStream) {
    IFileStream stream(directory.file("file", "12 words"));
    std::istream& standard = stream;
    int number = 0;
    std::string word;
    standard >> number >> word;
    EXPECT_EQ(number, 12);
    EXPECT_EQ(word, "words");
}

}  // namespace
