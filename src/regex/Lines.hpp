#pragma once

#include <zeb/foundation/String.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <cstddef>
#include <string_view>

/// @file
/// Splits a text into lines, and joins lines to a text.

namespace ZEBNS2 {

/// Iterates over the lines of a text, the parts between newlines, without copying them. The empty
/// text has no line; after a final newline there is an empty one.
class LineReader {
public:
    explicit LineReader(std::string_view text) noexcept : rest_(text), atEnd_(text.empty()) {}

    /// Moves to the next line, at first to the first one; false when there is none.
    bool next() noexcept {
        if (atEnd_) {
            return false;
        }
        std::size_t const newline = rest_.find('\n');
        line_ = rest_.substr(0, newline);
        atEnd_ = newline == std::string_view::npos;
        if (!atEnd_) {
            rest_.remove_prefix(newline + 1);
        }
        ++linesRead_;
        return true;
    }

    std::string_view line() const noexcept { return line_; }
    /// 0-based number of the line.
    std::size_t number() const noexcept { return linesRead_ - 1; }

private:
    std::string_view rest_;
    bool atEnd_;
    std::string_view line_;
    std::size_t linesRead_ = 0;
};

/// Joins lines with a newline between any two.
class LineWriter {
public:
    /// @param capacity bytes that are expected
    explicit LineWriter(std::size_t capacity) noexcept : text_(capacity) {}

    /// Begins the next line; append its bytes to the returned buffer.
    zeb::foundation::StringBuffer& beginLine() {
        if (!first_) {
            text_.append('\n');
        }
        first_ = false;
        return text_;
    }
    void addLine(std::string_view line) { beginLine().append(line); }

    zeb::foundation::String releaseText() { return text_.releaseString(); }

private:
    zeb::foundation::StringBuffer text_;
    bool first_ = true;
};

}  // namespace ZEBNS2
