#include "Excerpt.hpp"

#include "Streams.hpp"

#include <algorithm>

namespace zeb::cli {

namespace {

/// Columns of an excerpt on either side of its place.
constexpr std::size_t SIDE_WIDTH = 36;

/// The most bytes for so many columns: four a character.
constexpr std::size_t SIDE_BYTES = 4 * SIDE_WIDTH;

constexpr char CUT[] = "...";

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

/// Bytes of the printable character at the start of `text`, which is not empty; 0 when there is
/// none.
std::size_t printableLength(std::string_view text) {
    auto const byteAt = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    unsigned const first = byteAt(0);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7F ? 1 : 0;
    }
    unsigned const second = byteAt(1);
    // The first byte determines the length, and which second bytes would make an overlong form,
    // surrogate, character above U+10FFFF or control character.
    std::size_t const length = first < 0xC2   ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    unsigned const least = first == 0xC2 || first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    unsigned const most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (length == 0 || length > text.size() || second < least || second > most) {
        return 0;
    }
    bool const complete = std::all_of(
        text.begin() + 2, text.begin() + static_cast<std::ptrdiff_t>(length), isContinuation);
    return complete ? length : 0;
}

std::string escaped(char byte) {
    switch (byte) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            break;
    }
    constexpr char DIGITS[] = "0123456789abcdef";
    auto const value = static_cast<unsigned char>(byte);
    return std::string("\\x") + DIGITS[value >> 4U] + DIGITS[value & 0xFU];
}

/// Columns that printable text takes, one a character.
std::size_t widthOf(std::string_view text) {
    return text.size() -
           static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isContinuation));
}

/// The last `width` columns of printable text, marked when it is cut here or was cut before.
std::string tail(std::string text, std::size_t width, bool cut) {
    std::size_t excess = widthOf(text) > width ? widthOf(text) - width : 0;
    cut = cut || excess > 0;
    std::size_t from = 0;
    for (; excess > 0; --excess) {
        do {
            ++from;
        } while (from < text.size() && isContinuation(text[from]));
    }
    return (cut ? CUT : "") + text.substr(from);
}

/// The first `width` columns, likewise.
std::string head(std::string text, std::size_t width, bool cut) {
    std::size_t to = 0;
    for (std::size_t columns = 0; to < text.size(); ++to) {
        columns += isContinuation(text[to]) ? 0 : 1;
        if (columns > width) {
            cut = true;
            break;
        }
    }
    return text.substr(0, to) + (cut ? CUT : "");
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        std::size_t const length = printableLength(text);
        if (length == 0) {
            result += escaped(text.front());
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::string excerpt(std::string_view text, std::size_t offset, bool colored) {
    offset = std::min(offset, text.size());
    // A line may be gigabytes long, so no more is escaped than can be shown.
    std::size_t from = offset > SIDE_BYTES ? offset - SIDE_BYTES : 0;
    while (from > 0 && from < offset && isContinuation(text[from])) {
        ++from;
    }
    std::size_t const to = offset + std::min(SIDE_BYTES, text.size() - offset);
    std::string const before =
        tail(printable(text.substr(from, offset - from)), SIDE_WIDTH, from > 0);
    std::string const after =
        head(printable(text.substr(offset, to - offset)), SIDE_WIDTH, to < text.size());
    return "  " + before + after + "\n  " + std::string(widthOf(before), ' ') +
           painted(colored, MATCH_COLOR, "^") + "\n";
}

std::string shortened(std::string_view text) {
    std::string_view const part = text.substr(0, 2 * SIDE_BYTES);
    return head(printable(part), 2 * SIDE_WIDTH, part.size() < text.size());
}

std::string beginning(std::string_view text) { return "  " + shortened(text) + "\n"; }

}  // namespace zeb::cli
