#include "Streams.hpp"

#include "Excerpt.hpp"
#include "Progress.hpp"

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <new>
#include <system_error>

namespace zeb::cli {

using foundation::String;
using foundation::StringBuffer;

namespace {

/// Bytes of one read or write.
constexpr std::size_t CHUNK = std::size_t{64} * 1024;

/// The value of --color.
std::string& colorChoice() {
    static std::string choice = "auto";
    return choice;
}

/// All bytes up to the end of the file.
/// @param what begins the message of a failure
String readAll(int descriptor, std::string const& name, std::string const& what) {
    std::uint64_t const size = remainingSize(descriptor);
    if (size >= std::numeric_limits<std::size_t>::max() / 2) {
        throw std::bad_alloc();
    }
    Progress progress(name, size);
    // The read that finds the end already has room.
    StringBuffer contents(static_cast<std::size_t>(size) + CHUNK);
    for (;;) {
        ssize_t const got = ::read(descriptor, contents.prepare(CHUNK), CHUNK);
        if (got == 0) {
            return contents.releaseString();
        }
        if (got > 0) {
            contents.commit(static_cast<std::size_t>(got));
            progress.show(contents.length());
        } else if (int const error = errno; error != EINTR) {
            throw Failure(what + systemReason(error));
        }
    }
}

void writeAll(std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t const put = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (put >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(put));
        } else if (int const error = errno; error == EPIPE) {
            throw ReaderGone(systemReason(error));
        } else if (error != EINTR) {
            throw OutputFailure("standard output: " + systemReason(error));
        }
    }
}

}  // namespace

std::string systemReason(int error) { return std::generic_category().message(error); }

std::uint64_t remainingSize(int descriptor) {
    struct stat status{};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return 0;
    }
    off_t const position = ::lseek(descriptor, 0, SEEK_CUR);
    return position >= 0 && position < status.st_size
               ? static_cast<std::uint64_t>(status.st_size - position)
               : 0;
}

Descriptor openForReading(std::string const& name) {
    Descriptor file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        throw Failure("Cannot read file " + name + ": " + systemReason(errno));
    }
    return file;
}

String readInput(std::string const& name) {
    if (name == "-") {
        return readAll(STDIN_FILENO, name, "-: ");
    }
    Descriptor const file = openForReading(name);
    return readAll(file.get(), name, "Cannot read file " + name + ": ");
}

void chooseColors(std::string const& when) { colorChoice() = when; }

bool isColored(int descriptor) {
    if (colorChoice() != "auto") {
        return colorChoice() == "always";
    }
    // There is one thread.
    char const* const unwanted = std::getenv("NO_COLOR");  // NOLINT(concurrency-mt-unsafe)
    char const* const terminal = std::getenv("TERM");      // NOLINT(concurrency-mt-unsafe)
    return (unwanted == nullptr || *unwanted == '\0') && terminal != nullptr &&
           std::string_view(terminal) != "dumb" && ::isatty(descriptor) != 0;
}

std::string painted(bool colored, char const* color, std::string_view text) {
    std::string const plain(text);
    return colored && !plain.empty() ? std::string("\033[") + color + "m" + plain + "\033[0m"
                                     : plain;
}

void note(std::string_view message) {
    std::cerr << std::string(PROGRAM) + ": " + printable(message) + "\n" << std::flush;
}

void report(std::string_view message, std::string_view place) {
    std::string const program =
        painted(isColored(STDERR_FILENO), MATCH_COLOR, std::string(PROGRAM) + ":");
    std::cerr << program + " " + printable(message) + "\n" + std::string(place) << std::flush;
}

void Output::write(std::string_view bytes) {
    used_ = used_ || !bytes.empty();
    if (buffer_.size() + bytes.size() < CHUNK) {
        buffer_ += bytes;
        return;
    }
    flush();
    writeAll(bytes);
}

void Output::line(std::string_view text) {
    write(text);
    write("\n");
}

void Output::flush() {
    writeAll(buffer_);
    buffer_.clear();
}

void Output::finish() {
    flush();
    // Some file systems report a full disk only now. Linux closes the file even on EINTR.
    if (used_ && ::close(STDOUT_FILENO) != 0 && errno != EINTR) {
        throw OutputFailure("standard output: " + systemReason(errno));
    }
}

bool forEachName(Output& out, Words const& names,
                 std::function<void(std::string const&)> const& work) {
    auto const tell = [&out](std::string_view message, std::string_view place = {}) {
        out.flush();
        report(message, place);
    };
    bool allWell = true;
    for (std::string const& name : names) {
        try {
            work(name);
            continue;
        } catch (OutputFailure const&) {
            throw;
        } catch (Failure const& failure) {
            tell(failure.what(), failure.place);
        } catch (foundation::FileSystemException const& exception) {
            tell(exception.what());  // names the file itself
        } catch (std::bad_alloc const&) {
            tell(name + ": out of memory");
        } catch (std::exception const& exception) {
            tell(name + ": " + exception.what());
        }
        allWell = false;
    }
    return allWell;
}

bool forEachInput(Output& out, Words const& files,
                  std::function<void(std::string const&, String const&)> const& work) {
    return forEachName(out, files.empty() ? Words{"-"} : files,
                       [&work](std::string const& name) { work(name, readInput(name)); });
}

Status searchStatus(bool allWell, bool found) {
    if (!allWell) {
        return FAILED;
    }
    return found ? DONE : NOTHING_FOUND;
}

}  // namespace zeb::cli
