#pragma once

#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace zeb::foundation {

/// A text under construction: bytes are appended, then taken as a `String` without a copy.
///
/// It contains any bytes, NUL included; the locale has no influence.
/// @par Complexity the room doubles when it is used up, so appending is amortised constant time per
///   byte. Making room and `toString` are linear in the contents, and so is `releaseString` when it
///   frees unused room; all else is constant.
/// @par Exceptions `std::bad_alloc`; the contents are unchanged then.
/// @par Thread safety one thread at a time.
class ZEB_EXPORT StringBuffer {
public:
    /// Default capacity of the first allocation.
    static constexpr std::size_t INITIAL_CAPACITY = 128;

    /// An empty buffer; memory for `capacity` bytes is allocated at the first append.
    explicit StringBuffer(std::size_t capacity = INITIAL_CAPACITY) noexcept
        : initialCapacity_(capacity) {}
    StringBuffer(StringBuffer const&) = delete;
    StringBuffer& operator=(StringBuffer const&) = delete;
    ~StringBuffer();

    /// Number of bytes so far.
    [[nodiscard]] std::size_t length() const noexcept { return length_; }
    /// Whether there is no byte.
    [[nodiscard]] bool empty() const noexcept { return length_ == 0; }
    /// Bytes that fit without another allocation.
    [[nodiscard]] std::size_t capacity() const noexcept { return capacity_; }

    /// The bytes so far; valid until the next non-const operation.
    // NOLINTNEXTLINE(google-explicit-constructor): every text is read as a view
    operator std::string_view() const noexcept { return {text_, length_}; }

    /// Appends one byte.
    StringBuffer& append(char byte) {
        if (length_ == capacity_) {
            grow(1);
        }
        text_[length_++] = byte;
        return *this;
    }
    /// Appends bytes that are not part of this buffer.
    StringBuffer& append(std::string_view bytes) {
        if (bytes.empty()) {
            return *this;
        }
        if (bytes.size() > capacity_ - length_) {
            grow(bytes.size());
        }
        std::memcpy(text_ + length_, bytes.data(), bytes.size());
        length_ += bytes.size();
        return *this;
    }
    /// The operator form of `append`.
    StringBuffer& operator+=(char byte) { return append(byte); }
    /// The operator form of `append`.
    StringBuffer& operator+=(std::string_view bytes) { return append(bytes); }

    /// Makes room for `count` more bytes and returns where to write them; `commit` then adds those
    /// actually written. For converters whose output size has a known bound.
    [[nodiscard]] char* prepare(std::size_t count) {
        if (count > capacity_ - length_) {
            grow(count);
        }
        return text_ + length_;
    }
    /// Adds `count` written bytes, at most as many as were prepared.
    void commit(std::size_t count) noexcept { length_ += count; }

    /// A copy of the contents.
    [[nodiscard]] String toString() const { return String(text_, length_); }
    /// The contents as a `String` that takes over the memory; the buffer is empty afterwards.
    /// Unused room is freed when there is much of it.
    [[nodiscard]] String releaseString();

    /// Makes the buffer empty; keeps its memory.
    void clear() noexcept { length_ = 0; }

    // ---------------------------------------------------------------- not API

private:
    void grow(std::size_t count);

    String::Block* block_ = nullptr;
    char* text_ = nullptr;
    std::size_t length_ = 0;
    std::size_t capacity_ = 0;
    std::size_t initialCapacity_;
};

}  // namespace zeb::foundation
