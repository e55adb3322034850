#pragma once

#include <string>
#include <string_view>

#include "Random.hpp"
#include "regex/pattern/LibcCost.hpp"

namespace zeb::test {

/// Draws regular expressions in extended syntax that compile in no time and match quickly: repeats
/// and groups are nested a few levels deep, a back-reference is never repeated, and what the guard
/// refuses is drawn again.
class RandomExpressions {
public:
    struct Features {
        bool anchors;         ///< `^` and word boundaries
        bool optionalGroups;  ///< groups that may take no part in a match
        /// word boundaries in groups: repeat such a group, and the C library is wrong about it
        bool boundariesInGroups = true;
        bool multibyte = false;  ///< characters of several bytes in UTF-8, and letters akin to them
    };

    RandomExpressions(Random& random, Features features) : random_(random), features_(features) {}

    std::string draw() {
        std::string expression = drawAny();
        while (ZEBNS2::patternHazard(expression.c_str(), ZEBNS2::PatternSyntax::EXTENDED) !=
               ZEBNS2::PatternHazard::NONE) {
            expression = drawAny();
        }
        return expression;
    }

    /// Groups of the expression drawn last, 9 at most.
    std::size_t groups() const { return groups_; }

private:
    std::string drawAny() {
        groups_ = 0;
        std::string expression;
        if (features_.anchors && random_.oneIn(8)) {
            expression += '^';
        }
        expression += alternatives(/*depth=*/0, /*mandatory=*/true);
        if (groups_ > 0 && random_.oneIn(6)) {
            expression += '\\' + std::to_string(random_.between(1, groups_));
        }
        if (random_.oneIn(8)) {
            expression += '$';
        }
        return expression;
    }

    /// @param mandatory whether every match goes through it, so that its groups take part
    std::string alternatives(int depth, bool mandatory) {
        if (!random_.oneIn(depth == 0 ? 6 : 4)) {
            return sequence(depth, mandatory);
        }
        std::string text = sequence(depth, false);
        text += '|';
        text += sequence(depth, false);
        return text;
    }

    std::string sequence(int depth, bool mandatory) {
        std::string text;
        for (std::size_t i = random_.between(1, 3); i > 0; --i) {
            text += repeated(depth, mandatory);
        }
        return text;
    }

    std::string repeated(int depth, bool mandatory) {
        static constexpr std::string_view REPEATS[] = {"+", "{1,2}", "{2}", "*", "?", "{0,2}"};
        static constexpr std::size_t MANDATORY_REPEATS = 3;
        bool const boundaryAllowed =
            features_.anchors && (depth == 0 || features_.boundariesInGroups);
        if (boundaryAllowed && random_.oneIn(12)) {
            static constexpr std::string_view BOUNDARIES[] = {"\\<", "\\>", "\\b", "\\B"};
            return std::string(random_.pick(BOUNDARIES));
        }
        if (!random_.oneIn(3)) {
            return atom(depth, mandatory);
        }
        std::size_t const repeat = random_.below(std::size(REPEATS));
        return atom(depth, mandatory && repeat < MANDATORY_REPEATS) + std::string(REPEATS[repeat]);
    }

    std::string atom(int depth, bool mandatory) {
        static constexpr std::string_view ATOMS[] = {
            "a", "b", "c", "ab", ".", "[ab]", "[^a]", "[b-d]", "[[:alpha:]]", "\\.", "x", " ", "1"};
        // The long s and the sign of the kelvin differ from their kin in case alone.
        static constexpr std::string_view MULTIBYTE_ATOMS[] = {
            "é", "É", "aé", "[éü€]", "[^é]", "[aé]", "[[:upper:]]", "€", "😀", "s", "ſ", "k", "K"};
        bool const groupAllowed =
            depth < 2 && groups_ < 9 && (mandatory || features_.optionalGroups);
        if (!groupAllowed || !random_.oneIn(3)) {
            return std::string(features_.multibyte && random_.oneIn(2)
                                   ? random_.pick(MULTIBYTE_ATOMS)
                                   : random_.pick(ATOMS));
        }
        ++groups_;
        return '(' + alternatives(depth + 1, mandatory) + ')';
    }

    Random& random_;
    Features features_;
    std::size_t groups_ = 0;
};

}  // namespace zeb::test
