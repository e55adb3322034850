#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "CharacterSet.hpp"
#include "LibcLimits.hpp"
#include "PatternReader.hpp"

/// @file
/// Finds the patterns whose back-references would keep regexec busy for seconds on a short text.
///
/// regexec tries every way to use the back-references of a pattern, one after the other: get_subexp
/// records each text that the group could have, and sift_states_bkref follows each record
/// separately. So the time is the product of the choices that the references leave. A reference
/// leaves a choice where
///
/// - the place of its group is uncertain: in `.*(.)\1` any character can be the group;
/// - the length of its group is uncertain: in `(.+)\1` the group can end anywhere;
/// - its distance from its group is uncertain: in `(.).*\1` it can be anywhere after the group.
///
/// Each choice costs points, more when it grows with the subject; so does each unlimited repeat
/// whose end is uncertain, because it multiplies the ways to each place. A pattern may have
/// LibcLimits::MAX_FREEDOM points. `.*(.).*\1` has 14, and libc takes 6 milliseconds for it on 64
/// equal characters; `.*(.).*\1.*\1` has 26 and takes 1.4 seconds.
///
/// A star multiplies the choices of each iteration, so a star may contain a reference only if it
/// leaves none: the place of its group is certain, and each iteration has one way to take it,
/// either because the whole iteration has one length, or because its other characters cannot be in
/// the group. `([a-z]+)( \1)+` passes: no group contains the blank. `(.+)(,\1)+` does not: on
/// commas the time grows 1.6-fold with each comma.
///
/// A choice ends where the text decides: after `[^,]*,` the place is certain, because the first
/// part cannot take the comma.
///
/// Each copy of a group that a counted repeat makes is one more group to try, and each node is one
/// more to visit for each choice: `([ab]){1,120}\1` keeps libc busy for seconds. So copies and size
/// cost points too, where references leave a choice.
///
/// When regexec determines the groups, sets of nodes no longer help: where the reference does not
/// fit the group that was tried first, it backtracks through each way of taking the text between
/// them. `(.+)(a+)*\1` has 2^n. So ways are counted in bits, by Fragment::ways: a place where one
/// text can be split in several ways has some, and an unlimited repeat multiplies them without
/// limit. Between a group that can be tried wrongly and its reference LibcLimits::MAX_WAYS are
/// allowed.
///
/// Cost: linear in the pattern; only patterns with back-references are read.

namespace ZEBNS2 {

class BackReferenceCost : public PatternBuilder {
public:
    /// The numbers of groups that back-references can refer to.
    static constexpr std::uint32_t MAX_GROUP = 9;

    /// The number of bytes by which a place can differ; saturates at WIDE.
    using Width = std::uint8_t;
    static constexpr Width WIDE = 9;

    /// Where something can be: `width` bytes from the first place to the last, with `characters`
    /// between them.
    struct Uncertainty {
        CharacterSet characters;
        Width width = 0;
        std::uint32_t repeats = 0;  ///< unlimited ones that cause it
    };

    struct Fragment {
        bool isReference = false;       ///< and nothing else
        bool needsReference = false;    ///< each text that it takes goes through one
        bool needsCharacter = false;    ///< each takes a character outside of references
        bool hasReferenceStar = false;  ///< a star over a body with a reference
        bool nullable = true;
        bool epsilonNullable = true;  ///< for libc, which treats a reference as an epsilon step
        bool fixedLength = true;
        std::uint32_t length = 0;      ///< in characters, when fixed
        std::uint32_t references = 0;  ///< copies by repeats included
        std::uint32_t freedom = 0;     ///< points of references to groups that it contains
        bool fixedOwnLength = true;    ///< fixed outside of references
        CharacterSet separators;       ///< single characters that each text contains
        CharacterSet alphabet;         ///< characters that it takes
        CharacterSet ownAlphabet;      ///< ... outside of references and of leaf groups
        Uncertainty end;               ///< of its end, if its start is certain
        /// Unlimited repeats that made a place uncertain, which ended after a reference.
        std::uint32_t endedRepeats = 0;
        std::uint32_t referenced = 0;  ///< numbers of groups that it refers to, 1 << n for group n
        std::uint32_t groups = 0;      ///< that it contains, likewise
        std::uint32_t size = 0;        ///< characters to take, copies by repeats included
        CharacterSet first;            ///< characters that it can begin with
        bool prefixFree = true;        ///< no text that it takes begins another
        std::uint32_t ways = 0;        ///< bits: to take one text, its two ends given
        /// ... from the end of each of its groups to its end.
        std::array<std::uint32_t, MAX_GROUP + 1> waysSince{};
        /// From the end of each of its groups to its end.
        std::array<Width, MAX_GROUP + 1> sinceGroup{};
        /// References to groups that precede it: how many, and the widest way from its start.
        std::array<std::uint8_t, MAX_GROUP + 1> pending{};
        std::array<Width, MAX_GROUP + 1> untilReference{};
    };

    /// An open group.
    struct Group {
        std::uint32_t number = 0;
        Uncertainty start;
    };

    /// The members of a bracket.
    class Members {
    public:
        explicit Members(bool negated) noexcept : negated_(negated) {}
        void range(unsigned char first, unsigned char last) noexcept {
            listed_.addRange(first, last);
        }
        void characterClass(std::string_view name) noexcept { listed_.addClass(name); }
        void localeElement() noexcept { listed_.addUnknown(); }
        CharacterSet characters() const noexcept { return listed_.characters(negated_); }

    private:
        ListedCharacters listed_;
        bool negated_;
    };

    /// The first limit that was exceeded.
    PatternHazard hazard() const noexcept { return hazard_; }

    /// Points of the whole pattern, once it is finished.
    std::uint32_t freedom() const noexcept { return freedom_; }

    bool stopped() const noexcept { return hazard_ != PatternHazard::NONE; }
    Fragment character(std::string_view bytes, bool escaped) noexcept;
    Fragment period() noexcept;
    Members openBracket(bool negated) const noexcept { return Members(negated); }
    Fragment bracket(std::string_view text, Members const& members) noexcept;
    Fragment classEscape(char letter) noexcept;
    Fragment anchor(PatternAnchor kind) noexcept;
    Fragment backReference(std::uint32_t number) noexcept;
    Group openGroup(Group const& outer, Fragment const& before, std::uint32_t number) noexcept;
    Fragment closeGroup(Group const& group, Fragment const& inner) noexcept;
    Fragment sequence(Fragment const& a, Fragment const& b) noexcept;
    Fragment choice(Fragment const& a, Fragment const& b) noexcept;
    Fragment repeat(Fragment const& item, int least, int most) noexcept;

    /// Adds the points that depend on the whole pattern.
    void finish(Fragment const& pattern) noexcept;

private:
    /// The properties of a closed group.
    struct Referent {
        CharacterSet alphabet;
        Width place = 0;
        Width length = 0;
        bool fixedLength = true;
        std::uint32_t characters = 0;  ///< its length, when fixed
        bool nullable = true;
        bool isLeaf = false;        ///< contains neither groups nor references
        bool endIsDecided = false;  ///< by the text after it
        std::uint32_t copies = 1;   ///< by repeats
        /// Whether regexec can try it with a text that the reference does not have.
        bool isLoose() const noexcept { return place != 0 || (length != 0 && !endIsDecided); }
    };

    CharacterSet alphabetOutside(Fragment const& part, std::uint32_t except) const noexcept;
    void refuse(PatternHazard hazard) noexcept;
    void checkStar(Fragment const& body) noexcept;
    void addWays(Fragment& part, Fragment const& a, Fragment const& b) noexcept;
    std::uint32_t freedomOf(Referent const& group, Width distance) const noexcept;

    PatternHazard hazard_ = PatternHazard::NONE;
    std::uint32_t freedom_ = 0;
    bool hasReferenceStar_ = false;
    bool hasNullableStar_ = false;
    CharacterSet nullableStarAlphabet_;  ///< of all stars over bodies that are nullable for libc
    std::array<Referent, MAX_GROUP + 1> groups_{};
};

}  // namespace ZEBNS2
