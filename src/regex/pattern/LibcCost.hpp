#pragma once

#include <bitset>
#include <cstdint>
#include <string_view>

#include "LibcLimits.hpp"
#include "PatternReader.hpp"

/// @file
/// The cost model: finds the patterns that the C library's regular expressions would not survive,
/// before regcomp sees them.
///
/// regcomp and regexec recurse as deep as a pattern makes them, copy what a repeat repeats, and
/// keep for each node of their automaton its epsilon closure: the nodes that can be reached from it
/// without taking a character. So a few dozen bytes can exhaust the stack, the memory or the time
/// of any process, and some make regexec loop forever. tests/regex/patterns/refused.txt lists
/// examples.
///
/// LibcCost is a builder for PatternReader that sums what libc would build. The sums of a fragment
/// follow from the sums of its parts, so it needs memory only for one frame per open group. For
/// "(a|b*)c" there are 7 nodes: the two ends of the group, the choice, the star and three
/// characters. The longest chain of epsilon steps is group, choice, star, end of the group and the
/// step to c: the epsilon depth is 5, the recursion depth of calc_eclosure_iter.
///
/// Invariant: no sum is smaller than what libc builds, except anchorCopies, an estimate. Where
/// libc's reading depends on the locale, the guard assumes the more expensive reading: a bracket is
/// the three nodes of a UTF-8 locale, the bytes of a UTF-8 character are repeated together. The
/// exception is MAX_MULTIBYTE_SETS, which applies in multibyte locales only. In locales whose
/// characters may end in a byte that is an operator in ASCII (such as Shift JIS) the pattern is
/// read only as in the current locale.
///
/// Cost: linear in the pattern and in the nodes that libc would make of it, at most
/// LibcLimits::MAX_NODES.

namespace ZEBNS2 {

/// The resources that libc needs for a pattern that it survives.
struct LibcNeeds {
    std::uint32_t nodes = 0;  ///< of the automaton, at most
    /// It must be compiled with LibcLimits::COMPILATION_STACK.
    bool compilesDeep = false;
    /// A search takes LibcLimits::LOOP_STACK_PER_BYTE for each byte of the subject.
    bool recurses = false;
};

/// The sums over the fragments of a pattern, combined as libc combines them.
class LibcCost : public PatternBuilder {
public:
    /// The sums of a fragment. A path consists of epsilon steps; a node that takes a character ends
    /// it. Each node of a fragment is reached from its entry; what follows it is reached from its
    /// exit. A nullable star is an unlimited repeat of a nullable body.
    struct Fragment {
        std::uint32_t nodes = 0;
        std::uint32_t multibyteNodes = 0;
        std::uint32_t backReferences = 0;

        std::uint32_t entryClosure = 0;  ///< nodes on the paths from the entry, once for each path
        std::uint32_t emptyPaths = 1;    ///< from entry to exit; 0 unless the fragment is nullable
        std::uint32_t unanchoredEmptyPaths = 1;  ///< those of them that pass no anchor
        std::uint32_t anchors = 0;               ///< nodes of anchors
        std::uint32_t branches = 0;              ///< nodes with two epsilon edges
        std::uint32_t exitPaths = 0;             ///< from all nodes to the exit, in total
        std::uint32_t closures = 0;              ///< nodes on the paths from all nodes, in total
        std::uint32_t loopClosures = 0;     ///< of these, for paths that lead into a nullable star
        std::uint32_t anchorExitPaths = 0;  ///< exitPaths of the anchors alone
        std::uint32_t anchorClosures = 0;   ///< closures of the anchors alone

        std::uint32_t entryDepth = 0;  ///< steps of the longest path from the entry
        std::uint32_t emptyDepth = 0;  ///< ... from entry to exit
        std::uint32_t exitDepth = 0;   ///< ... from any node to the exit
        std::uint32_t depth = 0;       ///< ... of all

        bool isBackReference = false;  ///< and nothing else

        bool hasNullableStar = false;     ///< contains a star over a nullable body
        bool entersNullableStar = false;  ///< a path from the entry does
        /// An empty path takes the first alternative of a choice and so skips the second.
        bool skipsSecond = false;
        /// ... and in the next iteration a choice skips all of that.
        bool skipsFirstLater = false;

        bool nullable() const noexcept { return emptyPaths != 0; }
    };

    /// A group that is open.
    struct Group {
        std::uint32_t depth = 0;
    };

    /// The members of a bracket, as far as they decide whether it can take a multi-byte character.
    class Members {
    public:
        explicit Members(bool negated) noexcept : multibyte_(negated) {}
        void range(unsigned char first, unsigned char last) noexcept {
            multibyte_ = multibyte_ || ((first | last) & 0x80) != 0;
        }
        void characterClass(std::string_view /*name*/) noexcept { multibyte_ = true; }
        void localeElement() noexcept { multibyte_ = true; }
        bool multibyte() const noexcept { return multibyte_; }

    private:
        bool multibyte_;
    };

    /// The first limit that was exceeded. After that the sums are meaningless.
    PatternHazard hazard() const noexcept { return hazard_; }

    /// The needs when there is no hazard.
    LibcNeeds const& needs() const noexcept { return needs_; }

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
    void dollars(std::size_t row) noexcept;

    /// Adds the sums that depend on the whole pattern, and the node after its end.
    void finish(Fragment const& pattern) noexcept;

private:
    Fragment characterNode(std::uint32_t bytes = 1) noexcept;
    Fragment bracketNodes(bool multibyte) noexcept;
    Fragment epsilonNode() noexcept;
    Fragment first(Fragment const& a) noexcept;
    Fragment joined(Fragment const& a, Fragment const& b) noexcept;
    Fragment anchorNode() noexcept;
    std::uint64_t anchorCopies(Fragment const& pattern) const noexcept;
    Fragment copy(Fragment const& a) noexcept;
    Fragment expanded(Fragment const& a, int least, int most) noexcept;
    Fragment star(Fragment const& a) noexcept;
    void checkBackReferences(Fragment const& part) noexcept;
    void checkNullableStar(Fragment const& body) noexcept;
    void addNodes(std::uint32_t nodes) noexcept;
    void refuse(PatternHazard hazard) noexcept;
    std::uint32_t limited(std::uint64_t value, std::uint32_t limit, PatternHazard hazard) noexcept;
    std::uint32_t inClosures(std::uint64_t value) noexcept;
    std::uint32_t inLoopClosures(std::uint64_t value) noexcept;
    std::uint32_t inAnchorClosures(std::uint64_t value) noexcept;
    std::uint32_t inDepth(std::uint32_t value) noexcept;

    PatternHazard hazard_ = PatternHazard::NONE;
    std::uint32_t nodes_ = 0;  ///< all nodes that libc makes; it also keeps those of `a{0}`
    std::uint32_t nullableStars_ = 0;
    std::bitset<8> anchorConstraints_;  ///< kinds of constraints that anchors put on nodes
    bool anchorInNullableStar_ = false;
    bool copiedAnchor_ = false;
    LibcNeeds needs_;
};

/// Whether libc would survive a pattern: compiling it, and matching any text with it.
/// @param pattern its bytes up to the NUL, which is what regcomp sees
/// @param syntax in which regcomp will read it
/// @param needs if not null, set to the resources that libc needs; valid when the result is NONE
/// @return NONE when it would; a pattern that libc refuses of its own accord counts as harmless
/// @throws std::bad_alloc (a pattern without groups takes no memory)
/// @par Thread safety reentrant.
PatternHazard patternHazard(char const* pattern, PatternSyntax syntax, LibcNeeds* needs = nullptr);

}  // namespace ZEBNS2
