#pragma once

#include <regex.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "Random.hpp"

namespace zeb::test {

/// Draws patterns in either syntax, and subjects for them, that go into the corners of libc: empty
/// alternatives and groups, repeats of repeats, anchors at any place, brackets of all kinds,
/// characters of several bytes and bytes that are none. Some patterns do not compile.
class RandomPatterns {
public:
    explicit RandomPatterns(Random& random) : random_(random) {}

    /// Draws a pattern; sets the flags of regcomp for it.
    std::string pattern(int& flags) {
        extended_ = !random_.oneIn(3);
        multibyte_ = random_.oneIn(3);
        static constexpr std::size_t ANCHOR_RATES[] = {0, 0, 30, 12, 6};
        anchorRate_ = random_.pick(ANCHOR_RATES);
        depth_ = random_.below(4);
        flags = (extended_ ? REG_EXTENDED : 0) | (random_.oneIn(4) ? REG_ICASE : 0) |
                (random_.oneIn(4) ? REG_NEWLINE : 0);
        std::string text = random_.oneIn(6) ? "^" : "";
        text += alternatives(0);
        return random_.oneIn(6) ? text + '$' : text;
    }

    /// Draws a subject for the pattern drawn last.
    std::string subject() {
        static constexpr std::string_view PIECES[] = {
            "a", "b", "c",  "ab",   "x", "a", "b", " ",    "1",    "=", ":",
            "A", "B", "\n", "d",    "_", "-", "]", "\\",   ".",    "k", "K",
            "i", "s", "é",  "\xE9", "ſ", "K", "€", "\x80", "\xC3", "É"};
        static constexpr std::size_t ASCII = 24;
        static constexpr std::size_t FEW = 9;
        std::size_t const variety = multibyte_         ? std::size(PIECES)
                                    : random_.oneIn(4) ? ASCII
                                    : random_.oneIn(3) ? 3
                                                       : FEW;
        std::size_t const length =
            random_.oneIn(12) ? random_.below(200) : random_.below(random_.oneIn(3) ? 24 : 9);
        std::string text;
        while (text.size() < length) {
            std::string_view const piece = PIECES[random_.below(variety)];
            for (std::size_t i = random_.oneIn(8) ? random_.between(1, 6) : 1; i > 0; --i) {
                text += piece;
            }
        }
        return text;
    }

private:
    std::string op(std::string_view name) { return (extended_ ? "" : "\\") + std::string(name); }

    std::string atom() {
        static constexpr std::string_view ATOMS[] = {
            "a",       "b",       "c",     "a",     "b",   "ab",          ".",
            "[ab]",    "[^a]",    "x",     "[b-d]", "\\.", " ",           "1",
            "=",       ":",       "[^ ]",  "[0-9]", "\\w", "[a-z]",       "\\W",
            "\\s",     "\\S",     "A",     "[A-Z]", "\\d", "\\n",         "\\R",
            "]",       "-",       "[]a]",  "[.]",   "[k]", "[^]b]",       "[a\\]",
            "_",       "\n",      "[^\n]", "\\_",   ",",   "K",           "k",
            "[[.a.]]", "[[=b=]]", "s",     "i",     "I",   "[[:alpha:]]", "[^[:space:]]"};
        static constexpr std::size_t USUAL = 9;
        static constexpr std::string_view MULTIBYTE[] = {"é", "\xE9", "[é]", "[^é]",  "[aé]",
                                                         "ſ", "K",    "€",   "[à-é]", "\x80"};
        static constexpr std::string_view BASIC[] = {"+", "?", "{", "(", ")", "|", "}"};
        if (multibyte_ && random_.oneIn(4)) {
            return std::string(random_.pick(MULTIBYTE));
        }
        if (!extended_ && random_.oneIn(20)) {
            return std::string(random_.pick(BASIC));
        }
        return std::string(ATOMS[random_.below(random_.oneIn(2) ? USUAL : std::size(ATOMS))]);
    }

    std::string repeat() {
        std::size_t const least = random_.below(3);
        switch (random_.below(10)) {
            case 0:
            case 1:
                return op("+");
            case 2:
            case 3:
                return op("?");
            case 4:
                return op("{") + std::to_string(least) + op("}");
            case 5:
                return op("{") + std::to_string(least) + ',' +
                       std::to_string(least + random_.below(4)) + op("}");
            case 6:
                return op("{") + std::to_string(least) + ',' + op("}");
            default:
                return "*";
        }
    }

    std::string item(std::size_t depth) {
        if (anchorRate_ != 0 && random_.oneIn(anchorRate_)) {
            return random_.oneIn(2) ? "^" : "$";
        }
        std::string text = depth < depth_ && random_.oneIn(3)
                               ? op("(") + alternatives(depth + 1) + op(")")
                               : atom();
        if (random_.oneIn(2)) {
            text += repeat();
            text += random_.oneIn(12) ? repeat() : "";
        }
        return text;
    }

    std::string sequence(std::size_t depth) {
        std::string text;
        for (std::size_t i = random_.oneIn(15) ? 0 : random_.between(1, 4); i > 0; --i) {
            text += item(depth);
        }
        return text;
    }

    std::string alternatives(std::size_t depth) {
        std::string text = sequence(depth);
        while (random_.oneIn(depth == 0 ? 6 : 4)) {
            text += op("|") + sequence(depth);
        }
        return text;
    }

    Random& random_;
    bool extended_ = true;
    bool multibyte_ = false;
    std::size_t anchorRate_ = 0;
    std::size_t depth_ = 0;
};

}  // namespace zeb::test
