#include <zeb/foundation/FileSystem.hpp>

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "VisibleNul.hpp"

namespace zeb::foundation {

namespace {

constexpr char UNIT[] = "FileSystem";

/// Room for the first read of a file that reports no size, and for one that outgrows its size. Many
/// of the kernel's own files cannot be read in smaller pieces.
constexpr std::size_t LEAST_READ = 4096;

[[noreturn]] void throwFailure(char const* what, String const& path, int error) {
    String const message = Format("%1 %2: %3", what, detail::withVisibleNul(path),
                                  std::generic_category().message(error));
    throw FileSystemException(UNIT, __LINE__, message.c_str(), Exception::NO_CODE, nullptr, error);
}

void refuseNul(char const* what, String const& path) {
    if (path.indexOf('\0') != String::npos) {
        throwFailure(what, path, EINVAL);
    }
}

FileInformation::Type typeOf(mode_t mode) noexcept {
    switch (mode & S_IFMT) {
        case S_IFREG:
            return FileInformation::REGULAR_FILE;
        case S_IFDIR:
            return FileInformation::DIRECTORY;
        case S_IFCHR:
            return FileInformation::CHARACTER_DEVICE;
        case S_IFBLK:
            return FileInformation::BLOCK_DEVICE;
        case S_IFIFO:
            return FileInformation::FIFO;
        case S_IFSOCK:
            return FileInformation::SOCKET;
        default:
            return FileInformation::OTHER;
    }
}

class Descriptor {
public:
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }
    int get() const noexcept { return number_; }

private:
    int number_;
};

int openForReading(String const& path) noexcept {
    for (;;) {
        int const number = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (number >= 0 || errno != EINTR) {
            return number;
        }
    }
}

ssize_t readSome(int descriptor, char* bytes, std::size_t count) noexcept {
    for (;;) {
        ssize_t const got = ::read(descriptor, bytes, count);
        if (got >= 0 || errno != EINTR) {
            return got;
        }
    }
}

/// The size that the file reports, as initial room; a hint, never trusted.
std::size_t expectedSize(int descriptor) noexcept {
    struct stat status{};
    if (::fstat(descriptor, &status) != 0 || status.st_size <= 0 ||
        static_cast<std::uint64_t>(status.st_size) > static_cast<std::size_t>(-1) / 2) {
        return 0;
    }
    return static_cast<std::size_t>(status.st_size);
}

}  // namespace

FileInformation FileSystem::getFileInformation(String const& path) {
    static constexpr char WHAT[] = "Cannot get information for file";
    refuseNul(WHAT, path);
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0) {
        throwFailure(WHAT, path, errno);
    }
    return {typeOf(status.st_mode), static_cast<std::uint64_t>(status.st_size)};
}

bool FileSystem::canWrite(String const& path) {
    refuseNul("Cannot check file", path);
    return ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

String FileSystem::getFileContents(String const& path) {
    static constexpr char WHAT[] = "Cannot read file";
    refuseNul(WHAT, path);
    Descriptor const file(openForReading(path));
    if (file.get() < 0) {
        throwFailure(WHAT, path, errno);
    }
    std::size_t const expected = expectedSize(file.get());
    StringBuffer contents(0);
    // One byte more than expected, so that the end is detected without growing.
    std::size_t wanted = expected > 0 ? expected + 1 : LEAST_READ;
    for (;;) {
        ssize_t const got = readSome(file.get(), contents.prepare(wanted), wanted);
        if (got < 0) {
            throwFailure(WHAT, path, errno);
        }
        if (got == 0) {
            return contents.releaseString();
        }
        contents.commit(static_cast<std::size_t>(got));
        std::size_t const room = contents.capacity() - contents.length();
        wanted = room > 0 ? room : LEAST_READ;
    }
}

}  // namespace zeb::foundation
