#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "SyntaxTree.hpp"

/// @file
/// Glushkov's automaton of a pattern: its states are the positions in the pattern that take a
/// character.
///
/// Each atom, once for each copy that a repeat makes of it, is a position. An edge leads from a
/// position to one that can take the next character, or to the end of the match. For "(a|b*)c" the
/// positions are a, b and c; the edges are start-a, start-b, start-c, a-c, b-b, b-c and c-MATCH.
/// There are no epsilon steps; the starts and ends of groups that a step passes are tags of the
/// edge: start-a begins group 1, a-c ends it.
///
/// The edges come from a graph with epsilon steps that is built just as glibc builds it, with the
/// same copies of repeats, and are listed in glibc's order of preference.
///
/// Anchors are handled if they restrict only the start or the end of the match: no character can be
/// taken before a `^` or after a `$`, and no repeat contains one. Elsewhere glibc's answer depends
/// on the number of slots. There are two starts, one for a match that begins at the start of a
/// line, and two ends.
///
/// Cost: the number of positions times the epsilon steps that can follow one; both are bounded.

namespace ZEBNS2 {

class Positions {
public:
    using Index = std::uint16_t;

    // Starts and ends; the positions of atoms follow.
    static constexpr Index START_OF_LINE = 0;  ///< start of a match where `^` is true
    static constexpr Index START = 1;          ///< elsewhere
    static constexpr Index FIRST = 2;
    static constexpr Index MATCH = 0;              ///< as a target: the end of the match
    static constexpr Index MATCH_AT_LINE_END = 1;  ///< where `$` is true

    static constexpr std::size_t MAX_POSITIONS = 1024;
    static constexpr std::size_t MAX_EDGES = 16384;
    static constexpr std::size_t MAX_NODES = 8192;  ///< of the graph with epsilon steps
    static constexpr std::size_t MAX_STEPS = 500000;
    static constexpr std::uint32_t MAX_DEPTH = 200;

    /// The start or end of a group.
    struct Tag {
        std::uint16_t group;
        bool isEnd;
    };

    struct Edge {
        Index source;
        Index target;
        std::uint32_t tags;  ///< index of the first of its tags
        std::uint32_t tagCount;
    };

    /// @return nothing when the pattern is not handled
    /// @throws std::bad_alloc
    static std::optional<Positions> of(SyntaxTree const& tree, SyntaxTree::Index root);

    /// Starts included.
    std::size_t size() const noexcept { return atoms_.size(); }
    Atom const& atom(Index position) const noexcept { return atoms_[position]; }

    std::vector<Edge> const& edges() const noexcept { return edges_; }
    std::uint32_t edgesBegin(Index position) const noexcept { return edgesBegin_[position]; }
    std::uint32_t edgesEnd(Index position) const noexcept { return edgesBegin_[position + 1U]; }

    std::vector<Tag> const& tags() const noexcept { return tags_; }

    /// Whether two different sequences of epsilon steps lead from one position to another. Then the
    /// positions do not determine the groups.
    bool hasEmptyChoice() const noexcept { return emptyChoice_; }

private:
    friend class PositionsBuilder;
    Positions() = default;

    std::vector<Atom> atoms_;  ///< empty for the starts
    std::vector<Edge> edges_;
    std::vector<std::uint32_t> edgesBegin_;
    std::vector<Tag> tags_;
    bool emptyChoice_ = false;
};

}  // namespace ZEBNS2
