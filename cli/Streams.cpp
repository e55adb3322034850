#include "Streams.hpp"

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <new>
#include <system_error>

namespace zeb::cli {

using foundation::FileSystemException;
using foundation::String;
using foundation::StringBuffer;

namespace {

/// Bytes of one read or write.
constexpr std::size_t CHUNK = 64 * 1024;

std::string systemReason(int error) { return std::generic_category().message(error); }

String readStandardInput() {
    StringBuffer contents;
    for (;;) {
        ssize_t const got = ::read(STDIN_FILENO, contents.prepare(CHUNK), CHUNK);
        if (got == 0) {
            return contents.releaseString();
        }
        if (got > 0) {
            contents.commit(static_cast<std::size_t>(got));
        } else if (int const error = errno; error != EINTR) {
            throw Failure("-: " + systemReason(error));
        }
    }
}

void writeAll(std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t const put = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (put >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(put));
        } else if (int const error = errno; error != EINTR) {
            throw OutputFailure("standard output: " + systemReason(error));
        }
    }
}

}  // namespace

void report(std::string_view message) {
    std::string line = std::string(PROGRAM) + ": " + std::string(message);
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::cerr << line + "\n" << std::flush;
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
    // Some file systems tell of a full disk only now. Linux has closed the file even on EINTR.
    if (used_ && ::close(STDOUT_FILENO) != 0 && errno != EINTR) {
        throw OutputFailure("standard output: " + systemReason(errno));
    }
}

bool forEachName(Words const& names, std::function<void(std::string const&)> const& work) {
    bool allWell = true;
    for (std::string const& name : names) {
        try {
            work(name);
            continue;
        } catch (OutputFailure const&) {
            throw;
        } catch (Failure const& failure) {
            report(failure.what());
        } catch (FileSystemException const& exception) {
            report(exception.what());  // names the file itself
        } catch (std::bad_alloc const&) {
            report(name + ": out of memory");
        } catch (std::exception const& exception) {
            report(name + ": " + exception.what());
        }
        allWell = false;
    }
    return allWell;
}

bool forEachInput(Words const& files,
                  std::function<void(std::string const&, String const&)> const& work) {
    return forEachName(files.empty() ? Words{"-"} : files, [&work](std::string const& name) {
        work(name,
             name == "-" ? readStandardInput() : foundation::FileSystem::getFileContents(name));
    });
}

Status searchStatus(bool allWell, bool found) {
    if (!allWell) {
        return FAILED;
    }
    return found ? DONE : NOTHING_FOUND;
}

}  // namespace zeb::cli
