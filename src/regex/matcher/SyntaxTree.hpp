#pragma once

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <vector>

/// @file
/// A pattern as a tree, restricted to what the matcher handles.

namespace ZEBNS2 {

using ByteSet = std::bitset<256>;

/// A part of a pattern that takes one character.
struct Atom {
    ByteSet bytes;
    /// In UTF-8, whether it may take a character that is not ASCII; only libc knows which.
    bool beyondASCII = false;
};

/// A flat vector of nodes. A node is made after its children and identified by its index; NOTHING
/// is the empty text, an empty alternative and the rest of `a{0}`, like glibc's null tree.
class SyntaxTree {
public:
    using Index = std::uint32_t;
    static constexpr Index NOTHING = UINT32_MAX;
    static constexpr int UNLIMITED = -1;

    enum class Kind : std::uint8_t {
        ATOM,
        LINE_START,
        LINE_END,
        GROUP,     ///< of `first`; NOTHING for `()`
        SEQUENCE,  ///< `first`, then `second`; none of them is NOTHING
        CHOICE,    ///< `first`, or else `second`
        REPEAT     ///< of `first`, which is not NOTHING
    };

    struct Node {
        Kind kind;
        bool hasAnchor;       ///< it, or a node below it
        std::uint32_t depth;  ///< recursion depth of a walk that loops along `first`
        Index first;          ///< of an atom, its index among the atoms; of a group, what is in it
        Index second;         ///< of a group, its number from 1
        int least;
        int most;
    };

    Index atom(Atom const& atom) {
        atoms_.push_back(atom);
        return add({Kind::ATOM, false, 1, static_cast<Index>(atoms_.size() - 1), 0, 0, 0});
    }
    Index lineStart() {
        ++lineStarts_;
        return add({Kind::LINE_START, true, 1, 0, 0, 0, 0});
    }
    Index lineEnd() {
        ++lineEnds_;
        return add({Kind::LINE_END, true, 1, 0, 0, 0, 0});
    }

    Index group(Index inner, std::uint32_t number) {
        groups_ = std::max(groups_, number);
        return add({Kind::GROUP, hasAnchor(inner), depth(inner) + 1, inner, number, 0, 0});
    }
    Index sequence(Index first, Index second) {
        if (first == NOTHING || second == NOTHING) {
            return first == NOTHING ? second : first;
        }
        return pair(Kind::SEQUENCE, first, second);
    }
    Index choice(Index first, Index second) {
        anchorInChoice_ = anchorInChoice_ || hasAnchor(first) || hasAnchor(second);
        return pair(Kind::CHOICE, first, second);
    }

    /// @param most UNLIMITED, or not below `least`
    Index repeat(Index inner, int least, int most) {
        if (inner == NOTHING || most == 0) {
            return NOTHING;
        }
        return add({Kind::REPEAT, hasAnchor(inner), depth(inner) + 1, inner, 0, least, most});
    }

    Node const& operator[](Index index) const noexcept { return nodes_[index]; }
    std::vector<Atom> const& atoms() const noexcept { return atoms_; }
    /// The highest number of a group.
    std::uint32_t groups() const noexcept { return groups_; }
    /// Whether there is at most one `^` and one `$`, and none in an alternative.
    bool hasSimpleAnchors() const noexcept {
        return lineStarts_ <= 1 && lineEnds_ <= 1 && !anchorInChoice_;
    }
    bool hasAnchor(Index index) const noexcept {
        return index != NOTHING && nodes_[index].hasAnchor;
    }
    std::uint32_t depth(Index index) const noexcept {
        return index == NOTHING ? 0 : nodes_[index].depth;
    }

private:
    Index add(Node const& node) {
        nodes_.push_back(node);
        return static_cast<Index>(nodes_.size() - 1);
    }
    Index pair(Kind kind, Index first, Index second) {
        bool const anchored = hasAnchor(first) || hasAnchor(second);
        std::uint32_t const deep = std::max(depth(first), depth(second) + 1);
        return add({kind, anchored, deep, first, second, 0, 0});
    }

    std::vector<Node> nodes_;
    std::vector<Atom> atoms_;
    std::uint32_t groups_ = 0;
    std::uint32_t lineStarts_ = 0;
    std::uint32_t lineEnds_ = 0;
    bool anchorInChoice_ = false;
};

}  // namespace ZEBNS2
