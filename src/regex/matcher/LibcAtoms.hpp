#pragma once

#include <cstddef>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "SyntaxTree.hpp"

/// @file
/// The characters that parts of a pattern take, by querying libc.

namespace ZEBNS2 {

/// The properties of the locale that decide what a pattern means.
class LocaleMark {
public:
    /// The calling thread's current locale.
    static LocaleMark current() noexcept;

    bool operator==(LocaleMark const& other) const noexcept {
        return characters_ == other.characters_ && encoding_ == other.encoding_ &&
               collation_ == other.collation_;
    }

    bool isUTF8() const noexcept { return utf8_; }
    /// Whether each byte is a character.
    bool isSingleByte() const noexcept { return singleByte_; }
    /// Whether characters sort by their codes. Elsewhere a bracket may take two characters at once,
    /// as [a-d] does with the Czech ch.
    bool sortsByCode() const noexcept { return sortsByCode_; }

private:
    LocaleMark() = default;

    // Tables of the locale, identified by their addresses.
    void const* characters_ = nullptr;
    void const* encoding_ = nullptr;
    void const* collation_ = nullptr;
    bool utf8_ = false;
    bool singleByte_ = false;
    bool sortsByCode_ = false;
};

/// Queries libc about single atoms, each once.
class LibcAtoms {
public:
    /// @param flags flags of regcomp
    explicit LibcAtoms(int flags) noexcept : flags_(flags) {}

    /// The bytes that `text` takes as a pattern: one character, period, bracket or class, as
    /// written. In UTF-8 only ASCII bytes.
    /// @return nothing when regcomp refuses it, or memory is exhausted
    /// @throws std::bad_alloc
    std::optional<ByteSet> bytesOf(std::string_view text);

private:
    std::optional<ByteSet> ask(std::string const& text) const;

    int flags_;
    LocaleMark locale_ = LocaleMark::current();
    std::map<std::string, std::optional<ByteSet>, std::less<>> known_;
};

}  // namespace ZEBNS2
