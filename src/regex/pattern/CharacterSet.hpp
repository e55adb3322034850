#pragma once

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cwctype>
#include <iterator>
#include <string_view>

/// @file
/// Which characters a fragment of a pattern can take, as far as the model of libc's cost asks.

namespace ZEBNS2 {

/// A set of characters, those of ASCII one by one and all others together. It is never too small:
/// a letter brings its other case along; i, k and s also bring the others, which in Unicode hold
/// further cases of them.
class CharacterSet {
public:
    static CharacterSet all() noexcept {
        CharacterSet set;
        set.bits_[0] = set.bits_[1] = ~std::uint64_t{0};
        return set;
    }

    /// All but the characters of ASCII in `bytes`, of letters those of the very case.
    static CharacterSet without(std::bitset<128> const& bytes) noexcept {
        CharacterSet set = all();
        for (std::size_t byte = 1; byte < bytes.size(); ++byte) {
            if (bytes[byte]) {
                set.bits_[byte / 64] &= ~(std::uint64_t{1} << byte % 64);
            }
        }
        return set;
    }

    /// @param byte of ASCII, or one of another character
    void add(unsigned char byte) noexcept {
        if (byte >= 128) {
            set(OTHERS);
            return;
        }
        set(byte);
        unsigned char const lower = byte | 0x20;
        if (lower >= 'a' && lower <= 'z') {
            set(lower);
            set(static_cast<unsigned char>(lower ^ 0x20));
            if (lower == 'i' || lower == 'k' || lower == 's') {
                set(OTHERS);
            }
        }
    }

    bool empty() const noexcept { return (bits_[0] | bits_[1]) == 0; }

    bool meets(CharacterSet const& other) const noexcept {
        return ((bits_[0] & other.bits_[0]) | (bits_[1] & other.bits_[1])) != 0;
    }

    friend CharacterSet operator|(CharacterSet a, CharacterSet const& b) noexcept {
        a.bits_[0] |= b.bits_[0];
        a.bits_[1] |= b.bits_[1];
        return a;
    }

private:
    /// The bit of NUL, which is in no pattern and in no subject, is that of all others.
    static constexpr unsigned char OTHERS = 0;

    void set(unsigned char byte) noexcept { bits_[byte / 64] |= std::uint64_t{1} << byte % 64; }

    std::uint64_t bits_[2] = {};
};

/// What a bracket lists.
class ListedCharacters {
public:
    /// @param wanted whether anybody asks for them: most patterns have no back-references
    explicit ListedCharacters(bool wanted) noexcept : wanted_(wanted) {}

    /// In the order of bytes, which is that of libc's locales as far as it matters here.
    void addRange(unsigned char first, unsigned char last) noexcept {
        if (!wanted_) {
            return;
        }
        if (first > last) {
            addUnknown();
        }
        bool const digits = first >= '0' && last <= '9';
        for (unsigned int byte = first; byte <= last; ++byte) {
            most_.add(static_cast<unsigned char>(byte));
            if (digits && byte < least_.size()) {
                least_.set(byte);
            }
        }
        if (first < least_.size()) {
            least_.set(first);
        }
    }

    /// A class by its name, such as "digit".
    void addClass(std::string_view name) noexcept {
        if (!wanted_) {
            return;
        }
        char const* const* const known = std::find(std::begin(CLASSES), std::end(CLASSES), name);
        if (known == std::end(CLASSES)) {
            addUnknown();
            return;
        }
        std::wctype_t const type = std::wctype(*known);
        for (unsigned char byte = 0; byte < 128; ++byte) {
            if (std::iswctype(byte, type) != 0) {
                addRange(byte, byte);
            }
        }
        if (name != "digit") {
            most_.add(0xFF);
        }
    }

    /// What may be any character.
    void addUnknown() noexcept { most_ = CharacterSet::all(); }

    /// Empty unless somebody asks.
    CharacterSet characters(bool negated) const noexcept {
        if (!wanted_) {
            return {};
        }
        return negated ? CharacterSet::without(least_) : most_;
    }

private:
    static constexpr char const* CLASSES[] = {"alnum", "alpha", "blank", "cntrl",
                                              "digit", "graph", "lower", "print",
                                              "punct", "space", "upper", "xdigit"};

    bool wanted_;
    CharacterSet most_;       ///< all that it lists, or more
    std::bitset<128> least_;  ///< nothing but what it lists
};

}  // namespace ZEBNS2
