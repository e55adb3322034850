#pragma once

#include <zeb/foundation/String.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "pattern/RequiredLiteral.hpp"

/// @file
/// Splits a text into lines, and joins lines to a text.

namespace ZEBNS2 {

#ifdef __SSE2__
/// A bit for each of sixteen bytes that is a newline or NUL.
inline std::uint64_t newlinesAndNuls(char const* bytes) noexcept {
    __m128i const vector = _mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes));
    __m128i const found = _mm_or_si128(_mm_cmpeq_epi8(vector, _mm_set1_epi8('\n')),
                                       _mm_cmpeq_epi8(vector, _mm_setzero_si128()));
    return static_cast<unsigned int>(_mm_movemask_epi8(found));
}
#endif

/// Offset of the first newline or NUL of `text`; npos when there is none.
inline std::size_t findNewlineOrNul(std::string_view text) noexcept {
#ifdef __SSE2__
    std::size_t index = 0;
    // By four vectors, since where a line ends cannot be predicted.
    static constexpr std::size_t LANES = 16;
    for (; text.size() - index >= 4 * LANES; index += 4 * LANES) {
        char const* const bytes = text.data() + index;
        std::uint64_t const found = newlinesAndNuls(bytes) |
                                    newlinesAndNuls(bytes + LANES) << LANES |
                                    newlinesAndNuls(bytes + 2 * LANES) << 2 * LANES |
                                    newlinesAndNuls(bytes + 3 * LANES) << 3 * LANES;
        if (found != 0) {
            return index + static_cast<unsigned int>(__builtin_ctzll(found));
        }
    }
    for (; text.size() - index >= LANES; index += LANES) {
        std::uint64_t const found = newlinesAndNuls(text.data() + index);
        if (found != 0) {
            return index + static_cast<unsigned int>(__builtin_ctzll(found));
        }
    }
    for (; index < text.size(); ++index) {
        if (text[index] == '\n' || text[index] == '\0') {
            return index;
        }
    }
    return std::string_view::npos;
#else
    std::size_t const newline = text.find('\n');
    return std::min(newline, text.substr(0, newline).find('\0'));
#endif
}

/// Iterates over the lines of a text, the parts between newlines, without copying them. The empty
/// text has no line; after a final newline there is an empty one.
///
/// Lines without a literal that is required may be skipped as a block: one search for the literal
/// and one copy instead of those for each line. Where the literal is in most lines that search is
/// wasted, so after each search that finds no block more lines, up to 15, are read singly.
class LineReader {
public:
    explicit LineReader(std::string_view text) noexcept : rest_(text), atEnd_(text.empty()) {}

    /// Lines without `required` may be skipped as blocks; if it has no text, none are.
    LineReader(std::string_view text, RequiredLiteral const& required) noexcept
        : rest_(text),
          atEnd_(text.empty()),
          required_(required.text().empty() ? nullptr : &required) {}

    /// Moves to the next line or block of lines, at first to the first one; false when there is
    /// none.
    bool next() noexcept {
        if (atEnd_) {
            return false;
        }
        isBlock_ = required_ != nullptr && nextBlock();
        if (!isBlock_) {
            nextLine();
        }
        return true;
    }

    /// Whether `line` is one or more lines without the literal.
    bool isBlock() const noexcept { return isBlock_; }

    std::string_view line() const noexcept { return line_; }
    /// The part of the line before its first NUL, which the C library sees. Not of a block.
    std::string_view visible() const noexcept { return line_.substr(0, visible_); }
    /// 0-based number of the line, if none was skipped in a block.
    std::size_t number() const noexcept { return linesRead_ - 1; }

    /// The same place in the text, with no blocks from there on.
    LineReader withoutBlocks() const noexcept {
        LineReader reader = *this;
        reader.required_ = nullptr;
        return reader;
    }
    /// Moves to where `other` is in the same text.
    void moveTo(LineReader const& other) noexcept {
        rest_ = other.rest_;
        atEnd_ = other.atEnd_;
        linesRead_ = other.linesRead_;
    }

private:
    /// Blocks stay in the processor's cache between search and copy.
    static constexpr std::size_t LONGEST_BLOCK = std::size_t{32} << 10;
    /// Lines read without a search, at most.
    static constexpr unsigned int LONGEST_WAIT = 15;

    void nextLine() noexcept {
        visible_ = findNewlineOrNul(rest_);
        std::size_t newline = visible_;
        if (newline != std::string_view::npos && rest_[newline] == '\0') {
            newline = rest_.find('\n', newline);
        }
        take(newline);
        ++linesRead_;
    }

    /// Moves over whole lines without the literal. @return whether there are any
    bool nextBlock() noexcept {
        if (waiting_ != 0) {
            --waiting_;
            return false;
        }
        std::string_view const block = rest_.substr(0, LONGEST_BLOCK);
        std::size_t const found = required_->find(block);
        if (found == std::string_view::npos && block.size() == rest_.size()) {
            take(found);
            return true;
        }
        void const* const newline = ::memrchr(block.data(), '\n', std::min(found, block.size()));
        if (newline == nullptr) {
            wait_ = std::min(2 * wait_ + 1, LONGEST_WAIT);
            waiting_ = wait_;
            return false;
        }
        wait_ = 0;
        waiting_ = found == std::string_view::npos ? 0 : 1;  // the next line has the literal
        take(static_cast<std::size_t>(static_cast<char const*>(newline) - block.data()));
        return true;
    }

    /// Takes what is before `newline`; npos is all.
    void take(std::size_t newline) noexcept {
        line_ = rest_.substr(0, newline);
        atEnd_ = newline == std::string_view::npos;
        if (!atEnd_) {
            rest_.remove_prefix(newline + 1);
        }
    }

    std::string_view rest_;
    bool atEnd_;
    bool isBlock_ = false;
    RequiredLiteral const* required_ = nullptr;
    std::string_view line_;
    std::size_t visible_ = 0;
    std::size_t linesRead_ = 0;
    unsigned int wait_ = 0;     ///< lines to read singly after the last search that found no block
    unsigned int waiting_ = 0;  ///< how many of them are left
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
