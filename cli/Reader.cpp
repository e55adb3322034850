#include "Reader.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace zeb::cli {

namespace {

bool isRegular(int descriptor) {
    struct stat status{};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// The size for `Progress`, or one that is too small for it. There is no line while results appear
/// on a terminal, even through a pager.
std::uint64_t sizeToShow(int descriptor) {
    struct stat status{};
    bool const unseen = ::fstat(STDOUT_FILENO, &status) == 0 && !S_ISFIFO(status.st_mode) &&
                        ::isatty(STDOUT_FILENO) == 0;
    return unseen ? remainingSize(descriptor) : 1;
}

/// Waits so many milliseconds, or without a limit for -1.
/// @return whether there is something to read, including the end or an error
bool waitForInput(int descriptor, int timeout) {
    pollfd input{descriptor, POLLIN, 0};
    return ::poll(&input, 1, timeout) != 0;
}

}  // namespace

Reader::Reader(Output& out, int descriptor, std::string const& name, std::string what)
    : out_(out),
      descriptor_(descriptor),
      name_(name),
      what_(std::move(what)),
      regular_(isRegular(descriptor)),
      progress_(name, sizeToShow(descriptor)),
      buffer_(static_cast<char*>(std::malloc(HEADROOM + CAPACITY + 1))) {
    if (!buffer_) {
        throw std::bad_alloc();
    }
}

void Reader::makeRoom() {
    if (begin_ > 0) {
        std::memmove(buffer_.get() + HEADROOM, data(), size());
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ < capacity_) {
        return;
    }
    // realloc moves pages of a large block instead of copying it.
    std::size_t const grown = capacity_ * 2;
    char* const memory =
        grown < capacity_ ? nullptr
                          : static_cast<char*>(std::realloc(buffer_.get(), HEADROOM + grown + 1));
    if (memory == nullptr) {
        throw Failure(name_ + ": out of memory: more than " + std::to_string(capacity_) +
                      " bytes without an end of line");
    }
    static_cast<void>(buffer_.release());
    buffer_.reset(memory);
    capacity_ = grown;
}

bool Reader::wouldWait() const { return !regular_ && !waitForInput(descriptor_, /*timeout=*/0); }

bool Reader::more() {
    if (atEnd_) {
        return false;
    }
    makeRoom();
    std::size_t const before = end_;
    while (end_ < capacity_) {
        if (wouldWait()) {
            if (end_ > before) {
                break;
            }
            out_.flush();
        }
        ssize_t const got = ::read(descriptor_, buffer_.get() + HEADROOM + end_, capacity_ - end_);
        if (got > 0) {
            end_ += static_cast<std::size_t>(got);
            total_ += static_cast<std::uint64_t>(got);
            progress_.show(total_);
        } else if (got == 0) {
            atEnd_ = true;
            buffer_.get()[HEADROOM + end_] = '\0';
            break;
        } else if (int const error = errno; error == EAGAIN) {
            // Another process that has the terminal or pipe open has made it non-blocking.
            static_cast<void>(waitForInput(descriptor_, /*timeout=*/-1));
        } else if (error != EINTR) {
            throw Failure(what_ + systemReason(error));
        }
    }
    fresh_ = end_ - before;
    return true;
}

void Reader::forEachPiece(std::function<bool(Piece const&)> const& work) {
    while (more()) {
        std::size_t length = size();
        if (!atEnd()) {
            // The earlier bytes contain no newline.
            void const* const newline = ::memrchr(data() + size() - fresh(), '\n', fresh());
            if (newline == nullptr) {
                continue;
            }
            length = static_cast<std::size_t>(static_cast<char const*>(newline) - data()) + 1;
        }
        if (!work({data(), length, atEnd()})) {
            return;
        }
        consume(length);
    }
}

bool forEachStream(Output& out, Words const& files,
                   std::function<void(std::string const&, Reader&)> const& work) {
    return forEachName(out, files.empty() ? Words{"-"} : files, [&](std::string const& name) {
        if (name == "-") {
            Reader input(out, STDIN_FILENO, name, "-: ");
            work(name, input);
            return;
        }
        Descriptor const file = openForReading(name);
        Reader input(out, file.get(), name, "Cannot read file " + name + ": ");
        work(name, input);
    });
}

}  // namespace zeb::cli
