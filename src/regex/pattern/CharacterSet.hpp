#pragma once

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cwctype>
#include <iterator>
#include <string_view>

/// @file
/// The characters that a fragment of a pattern can take, as precisely as the model of libc's cost
/// needs.

namespace ZEBNS2 {

/// A set of characters: those of ASCII one by one, all others in three kinds. Over-approximates: a
/// letter adds both cases; i, k and s add the other letters, too, some of which Unicode folds to
/// them.
class CharacterSet {
public:
    /// Kinds of characters beyond ASCII. No character is of two kinds.
    enum Others : std::uint8_t { NO_OTHERS = 0, WORDS = 1, SPACES = 2, REST = 4, ALL_OTHERS = 7 };

    static CharacterSet all() noexcept {
        CharacterSet set;
        set.ascii_[0] = set.ascii_[1] = ~std::uint64_t{0};
        set.others_ = ALL_OTHERS;
        return set;
    }

    /// All but the characters of ASCII in `bytes`, of letters those of the very case.
    static CharacterSet without(std::bitset<128> const& bytes) noexcept {
        CharacterSet set = all();
        for (std::size_t byte = 0; byte < bytes.size(); ++byte) {
            if (bytes[byte]) {
                set.ascii_[byte / 64] &= ~(std::uint64_t{1} << byte % 64);
            }
        }
        return set;
    }

    /// @param byte of ASCII, or one of another character
    void add(unsigned char byte) noexcept {
        if (byte >= 128) {
            others_ = ALL_OTHERS;
            return;
        }
        set(byte);
        unsigned char const lower = byte | 0x20;
        if (lower >= 'a' && lower <= 'z') {
            set(lower);
            set(static_cast<unsigned char>(lower ^ 0x20));
            if (lower == 'i' || lower == 'k' || lower == 's') {
                add(WORDS);
            }
        }
    }

    void add(Others kinds) noexcept { others_ = static_cast<std::uint8_t>(others_ | kinds); }

    bool empty() const noexcept { return (ascii_[0] | ascii_[1]) == 0 && others_ == 0; }

    bool meets(CharacterSet const& other) const noexcept {
        return ((ascii_[0] & other.ascii_[0]) | (ascii_[1] & other.ascii_[1])) != 0 ||
               (others_ & other.others_) != 0;
    }

    /// Whether it contains a character of ASCII that `other` does not.
    bool exceeds(CharacterSet const& other) const noexcept {
        return ((ascii_[0] & ~other.ascii_[0]) | (ascii_[1] & ~other.ascii_[1])) != 0;
    }

    friend CharacterSet operator|(CharacterSet a, CharacterSet const& b) noexcept {
        a.ascii_[0] |= b.ascii_[0];
        a.ascii_[1] |= b.ascii_[1];
        a.others_ = static_cast<std::uint8_t>(a.others_ | b.others_);
        return a;
    }

private:
    void set(unsigned char byte) noexcept { ascii_[byte / 64] |= std::uint64_t{1} << byte % 64; }

    std::uint64_t ascii_[2] = {};
    std::uint8_t others_ = NO_OTHERS;
};

/// What a bracket lists.
class ListedCharacters {
public:
    /// In the order of bytes, which is that of libc's locales as far as it matters here.
    void addRange(unsigned char first, unsigned char last) noexcept {
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
        auto const* const known =
            std::find_if(std::begin(CLASSES), std::end(CLASSES),
                         [&](CharacterClass const& entry) { return name == entry.name; });
        if (known == std::end(CLASSES)) {
            addUnknown();
            return;
        }
        std::wctype_t const type = std::wctype(known->name);
        for (unsigned char byte = 0; byte < 128; ++byte) {
            if (std::iswctype(byte, type) != 0) {
                addRange(byte, byte);
            }
        }
        most_.add(known->others);
    }

    /// What may be any character.
    void addUnknown() noexcept { most_ = CharacterSet::all(); }

    CharacterSet characters(bool negated) const noexcept {
        return negated ? CharacterSet::without(least_) : most_;
    }

private:
    struct CharacterClass {
        char const* name;
        CharacterSet::Others others;  ///< the kinds of characters beyond ASCII that it can contain
    };
    static constexpr CharacterClass CLASSES[] = {
        {"alnum", CharacterSet::WORDS},      {"alpha", CharacterSet::WORDS},
        {"blank", CharacterSet::SPACES},     {"cntrl", CharacterSet::ALL_OTHERS},
        {"digit", CharacterSet::NO_OTHERS},  {"graph", CharacterSet::ALL_OTHERS},
        {"lower", CharacterSet::WORDS},      {"print", CharacterSet::ALL_OTHERS},
        {"punct", CharacterSet::ALL_OTHERS}, {"space", CharacterSet::SPACES},
        {"upper", CharacterSet::WORDS},      {"xdigit", CharacterSet::WORDS}};

    CharacterSet most_;       ///< all that it lists, or more
    std::bitset<128> least_;  ///< nothing but what it lists
};

}  // namespace ZEBNS2
