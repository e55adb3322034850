#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// @file
/// The limits on the patterns that libc gets, and the names of the hazards.
///
/// At any one of these bounds glibc compiles with less than 160 MB of memory, and with 256 KB of
/// stack unless it gets COMPILATION_STACK, on x86-64 and on 32-bit x86, and every pattern below all
/// of them is matched in reasonable time. The figures were measured; glibc promises none of them.
/// The tests search for patterns that pass and kill libc.

namespace ZEBNS2 {

/// The reasons to refuse a pattern. The list is the only table of hazards: X(name) for each.
#define ZEB_PATTERN_HAZARDS(X)                                                                     \
    X(NONE)                                                                                        \
    /* Beyond the bound of their name in LibcLimits, or of MAX_FREEDOM or MAX_WAYS. */             \
    X(LENGTH)                                                                                      \
    X(NESTING)                                                                                     \
    X(DOLLARS)                                                                                     \
    X(NODES)                                                                                       \
    X(EPSILON_DEPTH)                                                                               \
    X(CLOSURES)                                                                                    \
    X(LOOP_CLOSURES)                                                                               \
    X(ANCHOR_CLOSURES)                                                                             \
    X(MULTIBYTE_SETS)                                                                              \
    X(BACK_REFERENCES)                                                                             \
    /* Anchors in a star over a nullable body, with more than MAX_ANCHOR_PATHS or next to another  \
       such star: calc_eclosure_iter copies the loop for each set of anchors met on the way, and   \
       the copies of their copies. Five kinds of anchors take it minutes, on `((^|,)*)*` and       \
       ",a" it loops forever. */                                                                   \
    X(ANCHOR_IN_NULLABLE_STAR)                                                                     \
    /* A star over a nullable body whose choices can skip each other in turn: regexec loops        \
       forever, for example `(x*|y|z*)*` on "y". */                                                \
    X(ENDLESS_STAR)                                                                                \
    /* Back-references in a star, unless the star is the only one with any and each iteration      \
       takes one: alone, to a group of one place and one length, or next to a character and to a   \
       group that is not always empty. On `(|)(\1\1)*` it always loops forever. */                 \
    X(BACK_REFERENCES_IN_STAR)                                                                     \
    /* A back-reference and a star over a nullable body: regexec loops forever when it             \
       backtracks, for example `(a)?*+\1` on "aa". */                                              \
    X(BACK_REFERENCE_AND_NULLABLE_STAR)                                                            \
    /* An anchor in the operand of a repeat, and a star over a nullable body: libc ignores the     \
       anchor of the copy when it searches and applies it when it determines the groups, and loops \
       forever instead of leaving the star, for example `(x?*^a){2}` on "aa". */                   \
    X(COPIED_ANCHOR_AND_NULLABLE_STAR)

enum class PatternHazard {
#define ZEB_ENUMERATOR(name) name,
    ZEB_PATTERN_HAZARDS(ZEB_ENUMERATOR)
#undef ZEB_ENUMERATOR
};

/// Name of each hazard; the index is its value.
constexpr char const* PATTERN_HAZARD_NAMES[] = {
#define ZEB_NAME(name) #name,
    ZEB_PATTERN_HAZARDS(ZEB_NAME)
#undef ZEB_NAME
};

struct LibcLimits {
    /// The releases of glibc that the figures below were measured with, and the matcher's order of
    /// preference.
    static constexpr std::string_view MEASURED_WITH[] = {"2.36", "2.41"};  // Debian 12 and 13
    static constexpr bool isMeasured(std::string_view glibc) noexcept {
        for (std::string_view const release : MEASURED_WITH) {
            if (glibc == release) {
                return true;
            }
        }
        return false;
    }

    /// Bytes of the pattern. The largest copies that libc makes of it take 16 bytes each.
    static constexpr std::size_t MAX_LENGTH = 65536;
    /// Nested groups: parse_sub_exp takes 680 bytes of stack for each (460 on 32-bit x86).
    static constexpr std::size_t MAX_NESTING = 100;
    /// Consecutive dollars in basic syntax: peek_token recurses for each, 112 bytes of stack.
    static constexpr std::size_t MAX_DOLLARS = 100;
    /// Nodes, copies by repeats included: 250 bytes of memory for each.
    static constexpr std::uint32_t MAX_NODES = 50000;
    /// Consecutive epsilon steps: calc_eclosure_iter takes 128 bytes of stack for each (105 on
    /// 32-bit x86).
    static constexpr std::uint32_t MAX_EPSILON_DEPTH = 2200;
    /// The same on the caller's stack. A deeper pattern is compiled on a stack of its own; searches
    /// do not recurse, except where they follow back-references: those are refused beyond this.
    static constexpr std::uint32_t MAX_EPSILON_DEPTH_OF_CALLER = 1100;
    /// Bytes of the stack on which deeper patterns are compiled.
    static constexpr std::size_t COMPILATION_STACK = std::size_t{1024} * 1024;
    /// Nodes in all epsilon closures together: 14 bytes of memory for each.
    static constexpr std::uint32_t MAX_CLOSURES = 8000000;
    /// The same for closures that lead into a star over a nullable body. calc_eclosure_iter cannot
    /// keep those while they are incomplete and computes them again for each node on the way: 1 to
    /// 2 microseconds for each.
    static constexpr std::uint32_t MAX_LOOP_CLOSURES = 100000;
    /// Nodes in the closures of anchors together. duplicate_node_closure copies them all, to record
    /// the anchor in them, and search_duplicated_node searches for each copy among all copies. The
    /// smaller of two counts is compared: that of the nodes, one for each path that leads to them,
    /// and LibcCost::anchorCopies.
    static constexpr std::uint32_t MAX_ANCHOR_CLOSURES = 8000;
    /// The bound of the first of these counts, whatever the second is.
    static constexpr std::uint32_t MAX_ANCHOR_CLOSURE_PATHS = 200000;
    /// The same in a pattern with a star over a nullable body: `$y*****+*z******+**`, with a few
    /// more than this, takes libc 0.3 seconds, with four times as many 5 seconds.
    static constexpr std::uint32_t MAX_ANCHOR_CLOSURES_WITH_NULLABLE_STAR = 2000;
    /// Nodes times multibyte nodes, those that could take a multi-byte character, such as `.` and
    /// `[^x]`. In a UTF-8 locale transit_state_mb makes a set of nodes for each multibyte node that
    /// can take such a character, and keeps the sets: 2.4 bytes on the average, for each such
    /// character of a subject. Locales of single bytes have no such nodes and no such limit.
    static constexpr std::uint32_t MAX_MULTIBYTE_SETS = 10000000;
    /// Epsilon paths through a star over a nullable body that contains anchors, and from its
    /// anchors to its end: `(^|,)*` has one, \b is two. With two, libc compiles in 2 ms in any
    /// context; with eight, `(^|$|\<|\>|\`|\'|\B)*`, it takes minutes; on `(\`||b*)*$`, with four,
    /// regexec loops forever.
    static constexpr std::uint32_t MAX_ANCHOR_PATHS = 2;
    /// Back-references, copies by repeats included. In regexec they take 490 bytes of stack each,
    /// and every two of them can double the time: `($)\1{0,32}` takes a second on any subject.
    static constexpr std::uint32_t MAX_BACK_REFERENCES = 32;
    /// Points of the choices that back-references leave open, see BackReferenceCost. `.*(.).*\1`
    /// and `(.+)\1{0,4}` are below it; the first random pattern that takes a second on 64 bytes has
    /// 17.
    static constexpr std::uint32_t MAX_FREEDOM = 16;
    /// Bits of the ways to take the text between a group and a reference to it, if regexec can try
    /// the group wrongly first: `(.+)(aa?){20}\1` takes 0.25 seconds on 64 bytes, twice as long for
    /// each further copy.
    static constexpr std::uint32_t MAX_WAYS = 20;
    /// With a back-reference in a star, as in `(.)\1*`, regexec recurses for each iteration: 440
    /// bytes of stack for each (280 on 32-bit x86), so for each byte of the subject.
    static constexpr std::size_t LOOP_STACK_PER_BYTE = 512;
};

}  // namespace ZEBNS2
