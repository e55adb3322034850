#include "Progress.hpp"

#include "Excerpt.hpp"
#include "Streams.hpp"

#include <unistd.h>

#include <iostream>
#include <limits>

namespace zeb::cli {

namespace {

/// Only the end of a longer name is shown, so that the line fits on a terminal and can be erased.
constexpr std::size_t NAME_WIDTH = 40;

std::string shortened(std::string const& name) {
    return name.size() <= NAME_WIDTH ? name : "..." + name.substr(name.size() - NAME_WIDTH);
}

}  // namespace

Progress::Progress(std::string const& name, std::uint64_t size)
    : name_(printable(shortened(name))), size_(size), next_(size >= LEAST_SIZE ? 0 : LEAST_SIZE) {
    bool const small = size > 0 && size < LEAST_SIZE;
    if (small || ::isatty(STDERR_FILENO) == 0) {
        next_ = std::numeric_limits<std::uint64_t>::max();
    }
}

Progress::~Progress() {
    if (width_ > 0) {
        std::cerr << "\r" + std::string(width_, ' ') + "\r" << std::flush;
    }
}

void Progress::show(std::uint64_t bytes) {
    if (bytes < next_) {
        return;
    }
    next_ = bytes + STEP;
    std::string text =
        std::string(PROGRAM) + ": " + name_ + ": " + std::to_string(bytes / 1'000'000) + " MB read";
    // A file may grow while it is read.
    if (size_ > 0 && bytes <= size_) {
        text += ", " + std::to_string(bytes * 100 / size_) + "%";
    }
    std::string const rest(width_ > text.size() ? width_ - text.size() : 0, ' ');
    width_ = text.size() + rest.size();
    std::cerr << "\r" + text + rest << std::flush;
}

}  // namespace zeb::cli
