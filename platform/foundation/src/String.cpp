#include <zeb/foundation/String.hpp>

#include <zeb/foundation/ByteSearch.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/TwoWaySearch.hpp>

#ifdef __i386__
#include <fpu_control.h>
#endif

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstring>
#include <functional>
#include <istream>
#include <limits>
#include <new>
#include <ostream>
#include <string>
#include <system_error>

#include "VisibleNul.hpp"

namespace zeb::foundation {

namespace {

constexpr std::string_view WHITE_SPACE = " \t\n\v\f\r";

constexpr char UNIT[] = "String";

char toLower(char byte) noexcept {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

[[noreturn]] void throwConversion(String const& text, char const* type, char const* reason) {
    String const message =
        Format("Cannot convert \"%1\" to %2: %3", detail::withVisibleNul(text), type, reason);
    throw StringConversionException(UNIT, __LINE__, message.c_str(), Exception::NO_CODE, nullptr,
                                    Exception::NO_CODE);
}

/// @param digits the number without its plus sign
template <typename T, typename... Parameters>
T parseWith(String const& text, std::string_view digits, char const* type,
            Parameters... parameters) {
    T value{};
    char const* const end = digits.data() + digits.size();
    auto const [stop, error] = std::from_chars(digits.data(), end, value, parameters...);
    // from_chars reads a number out of range to its end.
    if (error == std::errc::invalid_argument || stop != end) {
        throwConversion(text, type, "not a number");
    }
    if (error == std::errc::result_out_of_range) {
        throwConversion(text, type, "out of range");
    }
    return value;
}

template <typename T>
T parseInteger(String const& text, int base, char const* type) {
    if (base < 2 || base > 36) {
        throwConversion(text, type, "base is not 2 to 36");
    }
    std::string_view digits = text;
    bool const negative = std::is_signed_v<T> && !digits.empty() && digits.front() == '-';
    if (negative || (!digits.empty() && digits.front() == '+')) {
        digits.remove_prefix(1);
    }
    if (base == 16 && (digits.substr(0, 2) == "0x" || digits.substr(0, 2) == "0X")) {
        digits.remove_prefix(2);
    }
    // The magnitude is read as unsigned: from_chars accepts "-80" but not "-0x80", and for an
    // unsigned type no sign, so a second sign is refused.
    using Magnitude = std::make_unsigned_t<T>;
    auto const magnitude = parseWith<Magnitude>(text, digits, type, base);
    auto const limit = static_cast<Magnitude>(std::numeric_limits<T>::max());
    if (!negative) {
        if (magnitude > limit) {
            throwConversion(text, type, "out of range");
        }
        return static_cast<T>(magnitude);
    }
    if (magnitude > static_cast<Magnitude>(limit + 1U)) {
        throwConversion(text, type, "out of range");
    }
    return static_cast<T>(static_cast<Magnitude>(0U - magnitude));
}

#ifdef __i386__
/// During its lifetime the coprocessor rounds each result to a double. The 32-bit from_chars relies
/// on that, and is one bit off when a product is rounded twice, for example for "332000e22".
class DoubleRounding {
public:
    DoubleRounding() noexcept {
        _FPU_GETCW(saved_);
        auto const precise = static_cast<fpu_control_t>((saved_ & ~_FPU_EXTENDED) | _FPU_DOUBLE);
        _FPU_SETCW(precise);
    }
    DoubleRounding(DoubleRounding const&) = delete;
    DoubleRounding& operator=(DoubleRounding const&) = delete;
    ~DoubleRounding() { _FPU_SETCW(saved_); }

private:
    fpu_control_t saved_ = 0;
};
#endif

template <typename T>
T parseReal(String const& text, char const* type) {
#ifdef __i386__
    DoubleRounding const rounding;
#endif
    std::string_view digits = text;
    if (!digits.empty() && digits.front() == '+') {
        digits.remove_prefix(1);
        if (!digits.empty() && digits.front() == '-') {
            throwConversion(text, type, "not a number");
        }
    }
    if (digits.find('(') != std::string_view::npos) {
        throwConversion(text, type, "not a number");  // from_chars accepts "nan(...)"
    }
    return parseWith<T>(text, digits, type, std::chars_format::general);
}

}  // namespace

String::Block* String::allocate(std::size_t capacity) {
    void* const memory = detail::allocateBlock(detail::blockSize(sizeof(Block) + 1, capacity, 1));
    return ::new (memory) Block(capacity);
}

String::Block* String::resize(Block* block, std::size_t capacity) {
    if (block == nullptr) {
        return allocate(capacity);
    }
    auto* const resized = static_cast<Block*>(
        detail::resizeBlock(block, detail::blockSize(sizeof(Block) + 1, capacity, 1)));
    resized->capacity = capacity;
    return resized;
}

void String::release(Block* block) noexcept {
    if (block->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        detail::freeBlock(block);
    }
}

String::String(char const* text) : String(text, text == nullptr ? 0 : std::strlen(text)) {}

String::String(char const* bytes, std::size_t count) {
    if (bytes == nullptr || count == 0) {
        return;
    }
    block_ = allocate(count);
    std::memcpy(block_->text(), bytes, count);
    block_->text()[count] = '\0';
    block_->length = count;
}

String::String(std::string_view text) : String(text.data(), text.size()) {}

String::String(std::string const& text) : String(text.data(), text.size()) {}

std::size_t String::indexOf(char wanted, std::size_t from) const noexcept {
    return std::string_view(*this).find(wanted, from);
}

std::size_t String::indexOf(std::string_view wanted, std::size_t from) const noexcept {
    if (from > length()) {
        return npos;
    }
    if (wanted.empty()) {
        return from;
    }
    std::size_t const found = detail::findBytes(std::string_view(*this).substr(from), wanted);
    return found == npos ? npos : from + found;
}

std::size_t String::lastIndexOf(char wanted, std::size_t from) const noexcept {
    return std::string_view(*this).rfind(wanted, from);
}

std::size_t String::lastIndexOf(std::string_view wanted, std::size_t from) const noexcept {
    std::string_view const text = *this;
    if (wanted.empty()) {
        return std::min(from, text.size());
    }
    if (wanted.size() > text.size()) {
        return npos;
    }
    // An occurrence that starts at or before `from` ends before this.
    std::size_t const end = std::min(from, text.size() - wanted.size()) + wanted.size();
    auto const length = static_cast<std::ptrdiff_t>(end);
    auto const wantedLength = static_cast<std::ptrdiff_t>(wanted.size());
    std::ptrdiff_t const fromEnd = detail::firstOccurrence(
        detail::Reversed(text.substr(0, end)), length, detail::Reversed(wanted), wantedLength);
    return fromEnd < 0 ? npos : static_cast<std::size_t>(length - wantedLength - fromEnd);
}

String String::substring(std::size_t start, std::size_t count) const {
    if (start >= length()) {
        return {};
    }
    std::size_t const clipped = count < length() - start ? count : length() - start;
    return clipped == length() ? *this : String(c_str() + start, clipped);
}

bool String::equalsIgnoreCase(std::string_view other) const noexcept {
    if (other.size() != length()) {
        return false;
    }
    char const* const bytes = c_str();
    for (std::size_t i = 0; i < other.size(); ++i) {
        if (bytes[i] != other[i] && toLower(bytes[i]) != toLower(other[i])) {
            return false;
        }
    }
    return true;
}

bool String::startsWith(std::string_view prefix) const noexcept {
    return std::string_view(*this).substr(0, prefix.size()) == prefix;
}

bool String::endsWith(std::string_view suffix) const noexcept {
    return length() >= suffix.size() &&
           std::string_view(*this).substr(length() - suffix.size()) == suffix;
}

String& String::operator+=(std::string_view text) {
    if (text.empty()) {
        return *this;
    }
    if (block_ == nullptr) {
        // A string's first text gets exactly the room it needs.
        return *this = String(text);
    }
    std::size_t const oldLength = block_->length;
    std::size_t const newLength = detail::blockSize(oldLength, text.size(), 1);
    std::size_t const newCapacity = detail::grownCapacity(oldLength, newLength);
    bool const shared = block_->references.load(std::memory_order_acquire) != 1;
    bool const full = newLength > block_->capacity;
    // `text` may be part of this string: keep the old block until it is copied.
    bool const ownText = std::less_equal<>()(c_str(), text.data()) &&
                         std::less_equal<>()(text.data(), c_str() + oldLength);
    if (shared || (full && ownText)) {
        Block* const grown = allocate(newCapacity);
        std::memcpy(grown->text(), c_str(), oldLength);
        std::memcpy(grown->text() + oldLength, text.data(), text.size());
        release(std::exchange(block_, grown));
    } else {
        if (full) {
            block_ = resize(block_, newCapacity);
        }
        std::memmove(block_->text() + oldLength, text.data(), text.size());
    }
    block_->length = newLength;
    block_->text()[newLength] = '\0';
    return *this;
}

char const detail::EMPTY_TEXT[1] = {};

String detail::prepended(std::string_view head, String const& tail) {
    if (head.empty()) {
        return tail;
    }
    StringBuffer both(head.size() + tail.length());
    both.append(head).append(tail);
    return both.releaseString();
}

String String::trim() const {
    std::string_view const text = *this;
    std::size_t const first = text.find_first_not_of(WHITE_SPACE);
    if (first == std::string_view::npos) {
        return {};
    }
    return substring(first, text.find_last_not_of(WHITE_SPACE) - first + 1);
}

StringArray String::tokenize(std::string_view delimiters, ReturnDelimiters returnDelimiters,
                             ReturnEmptyTokens returnEmptyTokens) const {
    StringArray tokens;
    if (empty()) {
        return tokens;
    }
    std::array<bool, UCHAR_MAX + 1> isDelimiter{};
    for (char const delimiter : delimiters) {
        isDelimiter[static_cast<unsigned char>(delimiter)] = true;
    }
    std::string_view const text = *this;
    auto const endOfToken = [&](std::size_t start) {
        if (delimiters.size() == 1) {
            // Mostly lines; searching a single byte is much faster than looking up each byte.
            return std::min(text.find(delimiters[0], start), text.size());
        }
        while (start < text.size() && !isDelimiter[static_cast<unsigned char>(text[start])]) {
            ++start;
        }
        return start;
    };
    for (std::size_t start = 0;;) {
        std::size_t const end = endOfToken(start);
        if (end > start || returnEmptyTokens == RETURN_EMPTY_TOKENS) {
            tokens.append(substring(start, end - start));
        }
        if (end == text.size()) {
            return tokens;
        }
        if (returnDelimiters == RETURN_DELIMITERS) {
            tokens.append(substring(end, 1));
        }
        start = end + 1;
    }
}

double String::toReal64() const { return parseReal<double>(*this, "a 64-bit real number"); }
float String::toReal32() const { return parseReal<float>(*this, "a 32-bit real number"); }
std::int8_t String::toInt8(int base) const {
    return parseInteger<std::int8_t>(*this, base, "an 8-bit integer");
}
std::int16_t String::toInt16(int base) const {
    return parseInteger<std::int16_t>(*this, base, "a 16-bit integer");
}
std::int32_t String::toInt32(int base) const {
    return parseInteger<std::int32_t>(*this, base, "a 32-bit integer");
}
std::int64_t String::toInt64(int base) const {
    return parseInteger<std::int64_t>(*this, base, "a 64-bit integer");
}
std::uint8_t String::toUInt8(int base) const {
    return parseInteger<std::uint8_t>(*this, base, "an unsigned 8-bit integer");
}
std::uint16_t String::toUInt16(int base) const {
    return parseInteger<std::uint16_t>(*this, base, "an unsigned 16-bit integer");
}
std::uint32_t String::toUInt32(int base) const {
    return parseInteger<std::uint32_t>(*this, base, "an unsigned 32-bit integer");
}
std::uint64_t String::toUInt64(int base) const {
    return parseInteger<std::uint64_t>(*this, base, "an unsigned 64-bit integer");
}

std::ostream& operator<<(std::ostream& out, String const& text) {
    return out << std::string_view(text);
}

std::istream& operator>>(std::istream& in, String& text) {
    std::string word;
    if (in >> word) {
        text = word;
    }
    return in;
}

std::istream& getline(std::istream& in, String& text, char delimiter) {
    std::string line;
    if (std::getline(in, line, delimiter)) {
        text = line;
    }
    return in;
}

}  // namespace zeb::foundation
