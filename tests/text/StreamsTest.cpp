#include <OrventoTextOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <ios>
#include <istream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "LogCapture.hpp"
#include "TemporaryDirectory.hpp"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::foundation::Logger;
using zeb::test::LogCapture;
using zeb::test::TemporaryDirectory;
using ZEBNS2::copy_stream;
using ZEBNS2::IFileStream;
using ZEBNS2::read_from_stream;
using ZEBNS2::String;

constexpr std::size_t CHUNK = 2048;
constexpr std::size_t SIZES[] = {0, 1, 2047, 2048, 2049, 4095, 4096, 4097, 5000, 6144, 100'000};

std::string debug3(std::string const& text) {
    return "DEBUG3 zeb.common.TextOperations: Copy Stream: " + text;
}

/// Bytes that show where they come from.
std::string content(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i % 251);
    }
    return bytes;
}

/// A source that breaks down after its bytes.
class FailingSource : public std::streambuf {
public:
    explicit FailingSource(std::string bytes) : bytes_(std::move(bytes)) {
        setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
    }

protected:
    int_type underflow() override { throw std::runtime_error("the source has failed"); }

private:
    std::string bytes_;
};

/// A destination that takes a limited number of bytes.
class LimitedDestination : public std::streambuf {
public:
    explicit LimitedDestination(std::size_t limit) : limit_(limit) {}
    std::string const& bytes() const { return bytes_; }
    int flushes() const { return flushes_; }

protected:
    int sync() override {
        ++flushes_;
        return 0;
    }
    int_type overflow(int_type) override { return traits_type::eof(); }
    std::streamsize xsputn(char const* bytes, std::streamsize count) override {
        std::size_t const taken = std::min(static_cast<std::size_t>(count), limit_ - bytes_.size());
        bytes_.append(bytes, taken);
        return static_cast<std::streamsize>(taken);
    }

private:
    std::size_t limit_;
    std::string bytes_;
    int flushes_ = 0;
};

// ---------------------------------------------------------------------------- copy_stream

TEST(CopyStream, CopiesAllBytes) {
    for (std::size_t const size : SIZES) {
        SCOPED_TRACE(size);
        std::istringstream source(content(size));
        std::ostringstream destination;
        EXPECT_EQ(copy_stream(destination, source), size);
        EXPECT_EQ(destination.str(), content(size));
        EXPECT_TRUE(source.eof());
        EXPECT_TRUE(destination.good());
    }
}

TEST(CopyStream, SaysWhatItReadsAndWritesAtTheMostVerboseLevel) {
    LogCapture const log;
    std::istringstream source(content(5000));
    std::ostringstream destination;
    EXPECT_EQ(copy_stream(destination, source), 5000U);
    EXPECT_THAT(log.lines(),
                ElementsAre(debug3("Copy from source to dest."),
                            debug3("Attempting to read 2048 bytes from source stream."),
                            debug3("Actually read 2048 bytes from source stream."),
                            debug3("Attempted to write 2048 bytes to dest stream."),
                            debug3("Attempting to read 2048 bytes from source stream."),
                            debug3("Actually read 2048 bytes from source stream."),
                            debug3("Attempted to write 2048 bytes to dest stream."),
                            debug3("Attempting to read 2048 bytes from source stream."),
                            debug3("Actually read 904 bytes from source stream."),
                            debug3("Attempted to write 904 bytes to dest stream."),
                            debug3("Copied a total of 5000 bytes from source to dest.")));
    EXPECT_EQ(log.messages()[0].file, "OrventoTextOperations");
    EXPECT_NE(log.messages()[0].function.find("copy_stream"), std::string::npos);
}

TEST(CopyStream, EmptySourceIsReadOnce) {
    LogCapture const log;
    std::istringstream source;
    std::ostringstream destination;
    EXPECT_EQ(copy_stream(destination, source), 0U);
    EXPECT_THAT(log.lines(),
                ElementsAre(debug3("Copy from source to dest."),
                            debug3("Attempting to read 2048 bytes from source stream."),
                            debug3("Actually read 0 bytes from source stream."),
                            debug3("Attempted to write 0 bytes to dest stream."),
                            debug3("Copied a total of 0 bytes from source to dest.")));
}

TEST(CopyStream, WholeChunksNeedOneReadMore) {
    LogCapture const log;
    std::istringstream source(content(CHUNK));
    std::ostringstream destination;
    EXPECT_EQ(copy_stream(destination, source), CHUNK);
    EXPECT_EQ(log.lines().size(), 1U + 3U + 3U + 1U);
    EXPECT_EQ(log.lines()[5], debug3("Actually read 0 bytes from source stream."));
}

TEST(CopyStream, AnyStateBitOfEitherStreamPreventsReading) {
    for (std::ios_base::iostate const state :
         {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
        for (bool const ofSource : {true, false}) {
            SCOPED_TRACE(testing::Message() << state << ofSource);
            LogCapture const log;
            std::istringstream source("abc");
            std::ostringstream destination;
            static_cast<std::ios&>(ofSource ? static_cast<std::ios&>(source) : destination)
                .setstate(state);
            EXPECT_EQ(copy_stream(destination, source), 0U);
            EXPECT_EQ(destination.str(), "");
            EXPECT_THAT(log.lines(),
                        ElementsAre(debug3("Copy from source to dest."),
                                    debug3("Copied a total of 0 bytes from source to dest.")));
        }
    }
}

TEST(CopyStream, DestinationIsNotFlushed) {
    LimitedDestination taken(10'000);
    std::ostream destination(&taken);
    std::istringstream source(content(5000));
    EXPECT_EQ(copy_stream(destination, source), 5000U);
    EXPECT_EQ(taken.bytes(), content(5000));
    EXPECT_EQ(taken.flushes(), 0);
    destination.flush();
    EXPECT_EQ(taken.flushes(), 1);
}

TEST(CopyStream, FailingSourceEndsTheCopyWithTheBytesBefore) {
    FailingSource bytes(content(3000));
    std::istream source(&bytes);
    std::ostringstream destination;
    // libstdc++ loses the count of a read that ends in an exception.
    std::size_t const copied = copy_stream(destination, source);
    EXPECT_EQ(copied, destination.str().size());
    EXPECT_GE(copied, CHUNK);
    EXPECT_EQ(destination.str(), content(copied));
    EXPECT_TRUE(source.bad());
}

TEST(CopyStream, CountsBytesHandedOverNotBytesWritten) {
    LimitedDestination taken(3000);
    std::ostream destination(&taken);
    std::istringstream source(content(10'000));
    EXPECT_EQ(copy_stream(destination, source), 2 * CHUNK);
    EXPECT_TRUE(destination.bad());
    EXPECT_EQ(taken.bytes(), content(3000));
    EXPECT_TRUE(source.good());
    EXPECT_EQ(source.tellg(), std::streamoff{2 * CHUNK});
}

TEST(CopyStream, StartsAtThePresentPosition) {
    std::istringstream source("0123456789");
    source.seekg(4);
    std::ostringstream destination;
    destination << "x";
    EXPECT_EQ(copy_stream(destination, source), 6U);
    EXPECT_EQ(destination.str(), "x456789");
}

TEST(CopyStream, LevelBelowDebug3IsSilent) {
    LogCapture const log(Logger::DEBUG2_LEVEL);
    std::istringstream source("abc");
    std::ostringstream destination;
    EXPECT_EQ(copy_stream(destination, source), 3U);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(CopyStream, KeepsErrno) {
    LogCapture const log;
    std::istringstream source("abc");
    std::ostringstream destination;
    errno = ENOTTY;
    (void)copy_stream(destination, source);
    EXPECT_EQ(errno, ENOTTY);
}

TEST(CopyStream, ExceptionsThatAStreamAsksForPass) {
    std::istringstream source("abc");
    source.exceptions(std::ios_base::eofbit);
    std::ostringstream destination;
    EXPECT_THROW((void)copy_stream(destination, source), std::ios_base::failure);
}

// ---------------------------------------------------------------------------- read_from_stream

constexpr unsigned int NO_LIMIT = 0xFFFFFFFF;

std::string textOf(std::vector<char> const& bytes) { return {bytes.begin(), bytes.end()}; }

TEST(ReadFromStream, LimitIsASoftOne) {
    TemporaryDirectory const directory;
    for (std::size_t const size : SIZES) {
        String const path = directory.file("source", content(size));
        for (unsigned int const limit :
             {1U, 100U, 2047U, 2048U, 2049U, 4095U, 4096U, 4097U, 5000U, 6144U, 100'000U,
              0x7FFFFFFFU, 0x80000000U, 0xFFFFF800U, 0xFFFFFFFEU, NO_LIMIT}) {
            SCOPED_TRACE(testing::Message() << size << " bytes, limit " << limit);
            // Only a limit that whole chunks meet ends the reading before the end of the stream.
            std::size_t const expected =
                limit % CHUNK == 0 && limit < size ? std::size_t{limit} : size;
            IFileStream stream(path);
            EXPECT_EQ(textOf(read_from_stream(stream, limit)), content(expected));
            EXPECT_EQ(stream.eof(), expected == size && !(limit % CHUNK == 0 && limit == size));
        }
    }
}

TEST(ReadFromStream, LimitOf100GivesAll5000BytesAndOf4096Gives4096) {
    TemporaryDirectory const directory;
    String const path = directory.file("source", content(5000));
    IFileStream all(path);
    EXPECT_EQ(read_from_stream(all, 100).size(), 5000U);
    IFileStream part(path);
    EXPECT_EQ(read_from_stream(part, 4096).size(), 4096U);
    EXPECT_TRUE(part.good());
    EXPECT_EQ(textOf(read_from_stream(part, NO_LIMIT)), content(5000).substr(4096));
}

TEST(ReadFromStream, LimitOf0ReadsNothing) {
    TemporaryDirectory const directory;
    IFileStream stream(directory.file("source", "abc"));
    EXPECT_THAT(read_from_stream(stream, 0), IsEmpty());
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.get(), 'a');
}

TEST(ReadFromStream, StreamThatIsNotGoodIsNotRead) {
    TemporaryDirectory const directory;
    IFileStream missing(directory.path("missing"));
    EXPECT_TRUE(missing.fail());
    EXPECT_THAT(read_from_stream(missing, NO_LIMIT), IsEmpty());

    IFileStream stream(directory.file("source", "abc"));
    for (std::ios_base::iostate const state :
         {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
        stream.clear(state);
        EXPECT_THAT(read_from_stream(stream, NO_LIMIT), IsEmpty());
        EXPECT_THAT(read_from_stream(stream, 10), IsEmpty());
        EXPECT_EQ(stream.rdstate(), state);
    }
    stream.clear();
    EXPECT_EQ(textOf(read_from_stream(stream, NO_LIMIT)), "abc");
}

TEST(ReadFromStream, FailingSourceGivesTheBytesBefore) {
    TemporaryDirectory const directory;
    for (unsigned int const limit : {NO_LIMIT, 10'000U}) {
        IFileStream stream(directory.file("source", ""));
        FailingSource bytes(content(3000));
        static_cast<std::ios&>(stream).rdbuf(&bytes);
        std::string const got = textOf(read_from_stream(stream, limit));
        EXPECT_TRUE(stream.bad());
        EXPECT_GE(got.size(), CHUNK);
        EXPECT_EQ(got, content(got.size()));
    }
    IFileStream folder(directory.path(""));  // opens, but cannot be read
    EXPECT_THAT(read_from_stream(folder, NO_LIMIT), IsEmpty());
    EXPECT_FALSE(folder.good());
}

TEST(ReadFromStream, LogsNothing) {
    TemporaryDirectory const directory;
    LogCapture const log;
    IFileStream stream(directory.file("source", "abc"));
    (void)read_from_stream(stream, NO_LIMIT);
    EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
