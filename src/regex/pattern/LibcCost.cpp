#include "LibcCost.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "BackReferenceCost.hpp"

namespace ZEBNS2 {

namespace {

using Fragment = LibcCost::Fragment;

/// Also true for text that only looks like a back-reference, such as `\\1`.
bool mayHoldBackReference(std::string_view pattern) noexcept {
    for (std::size_t at = pattern.find('\\'); at < pattern.size();
         at = pattern.find('\\', at + 1)) {
        if (at + 1 < pattern.size() && pattern[at + 1] >= '1' && pattern[at + 1] <= '9') {
            return true;
        }
    }
    return false;
}

/// A builder's result for a pattern.
template <class Builder>
PatternHazard hazardOf(std::string_view pattern, PatternSyntax syntax, Builder& builder) {
    typename Builder::Fragment whole;
    if (PatternReader<Builder>(pattern, syntax, builder).read(whole) == PatternEnd::COMPLETE) {
        builder.finish(whole);
    }
    return builder.hazard();
}

std::uint64_t product(std::uint64_t a, std::uint64_t b) noexcept { return a * b; }

/// Whether its only empty path leads through its only anchor, as in `^|x`, and it contains no star
/// over a nullable body. A star over such a body always ends: exhaustive trials in all contexts
/// found no endless search.
bool isEmptyAtAnchor(Fragment const& body) noexcept {
    return body.anchors == 1 && body.emptyPaths == 1 && body.unanchoredEmptyPaths == 0 &&
           !body.hasNullableStar;
}

}  // namespace

// ---- leaves: create_token_tree

/// The nodes of one character of `bytes` bytes.
Fragment LibcCost::characterNode(std::uint32_t bytes) noexcept {
    addNodes(bytes);
    Fragment part;
    part.nodes = part.closures = bytes;
    part.entryClosure = part.entryDepth = part.depth = 1;
    part.emptyPaths = part.unanchoredEmptyPaths = 0;
    return part;
}

Fragment LibcCost::character(std::string_view bytes, bool /*escaped*/) noexcept {
    return characterNode(static_cast<std::uint32_t>(bytes.size()));
}

Fragment LibcCost::period() noexcept {
    Fragment part = characterNode();
    part.multibyteNodes = 1;
    return part;
}

/// In a UTF-8 locale parse_bracket_exp and build_charclass_op make a choice between single bytes
/// and longer characters.
Fragment LibcCost::bracketNodes(bool multibyte) noexcept {
    Fragment part = choice(characterNode(), characterNode());
    part.multibyteNodes = multibyte ? 1 : 0;
    return part;
}

Fragment LibcCost::bracket(std::string_view /*text*/, Members const& members) noexcept {
    return bracketNodes(members.multibyte());
}

Fragment LibcCost::classEscape(char /*letter*/) noexcept {
    return bracketNodes(/*multibyte=*/true);
}

Fragment LibcCost::epsilonNode() noexcept {
    addNodes(1);
    Fragment part;
    part.nodes = part.entryClosure = part.exitPaths = part.closures = 1;
    part.entryDepth = part.emptyDepth = part.exitDepth = part.depth = 1;
    return part;
}

Fragment LibcCost::anchorNode() noexcept {
    Fragment part = epsilonNode();
    part.anchorExitPaths = part.anchorClosures = part.anchors = 1;
    part.unanchoredEmptyPaths = 0;
    return part;
}

/// parse_expression makes \b and \B a choice between two anchors.
Fragment LibcCost::anchor(PatternAnchor kind) noexcept {
    auto const restrict = [this](PatternAnchor constraint) {
        anchorConstraints_.set(static_cast<std::size_t>(constraint));
    };
    switch (kind) {
        case PatternAnchor::WORD_BOUNDARY:
            restrict(PatternAnchor::WORD_START);
            restrict(PatternAnchor::WORD_END);
            return choice(anchorNode(), anchorNode());
        case PatternAnchor::NOT_WORD_BOUNDARY:
            // Two constraints; WORD_BOUNDARY itself is none, so its bit counts the second.
            restrict(PatternAnchor::WORD_BOUNDARY);
            restrict(PatternAnchor::NOT_WORD_BOUNDARY);
            return choice(anchorNode(), anchorNode());
        default:
            restrict(kind);
            return anchorNode();
    }
}

Fragment LibcCost::backReference(std::uint32_t /*number*/) noexcept {
    Fragment part = epsilonNode();
    part.backReferences = 1;
    part.isBackReference = true;
    return part;
}

// ---- groups: parse_sub_exp, lower_subexp

LibcCost::Group LibcCost::openGroup(Group const& outer, Fragment const& /*before*/,
                                    std::uint32_t /*number*/) noexcept {
    if (outer.depth == LibcLimits::MAX_NESTING) {
        refuse(PatternHazard::NESTING);
    }
    return {outer.depth + 1};
}

/// lower_subexp puts a node at each end of a group.
Fragment LibcCost::closeGroup(Group const& /*group*/, Fragment const& inner) noexcept {
    return sequence(sequence(epsilonNode(), inner), epsilonNode());
}

// ---- sequences and choices: parse_branch, parse_reg_exp; calc_eclosure

Fragment LibcCost::sequence(Fragment const& a, Fragment const& b) noexcept {
    // Nothing comes before the first item of a branch.
    return a.nodes == 0 ? first(b) : joined(a, b);
}

/// The sums for a sequence of nothing and `a`.
Fragment LibcCost::first(Fragment const& a) noexcept {
    checkBackReferences(a);
    Fragment part = a;
    part.isBackReference = false;
    return part;
}

Fragment LibcCost::joined(Fragment const& a, Fragment const& b) noexcept {
    Fragment part;
    part.nodes = a.nodes + b.nodes;
    part.multibyteNodes = a.multibyteNodes + b.multibyteNodes;
    part.backReferences = a.backReferences + b.backReferences;
    checkBackReferences(part);
    part.entryClosure = inClosures(a.entryClosure + product(a.emptyPaths, b.entryClosure));
    part.emptyPaths = inClosures(product(a.emptyPaths, b.emptyPaths));
    part.unanchoredEmptyPaths = inClosures(product(a.unanchoredEmptyPaths, b.unanchoredEmptyPaths));
    part.anchors = a.anchors + b.anchors;
    part.branches = a.branches + b.branches;
    part.exitPaths = inClosures(b.exitPaths + product(a.exitPaths, b.emptyPaths));
    std::uint64_t const fromAIntoB = product(a.exitPaths, b.entryClosure);
    part.closures = inClosures(a.closures + b.closures + fromAIntoB);
    // A node of `a` with a path to its exit reaches the nullable stars of `b`. Which nodes these
    // are is unknown here, so all nodes of `a` count.
    part.loopClosures = inLoopClosures(b.entersNullableStar && a.exitPaths != 0
                                           ? a.closures + b.loopClosures + fromAIntoB
                                           : std::uint64_t{a.loopClosures} + b.loopClosures);
    part.anchorExitPaths = inClosures(b.anchorExitPaths + product(a.anchorExitPaths, b.emptyPaths));
    part.anchorClosures = inAnchorClosures(a.anchorClosures + b.anchorClosures +
                                           product(a.anchorExitPaths, b.entryClosure));
    part.entryDepth = std::max(a.entryDepth, a.nullable() ? a.emptyDepth + b.entryDepth : 0);
    part.emptyDepth = part.nullable() ? a.emptyDepth + b.emptyDepth : 0;
    part.exitDepth = std::max(b.exitDepth, b.nullable() ? a.exitDepth + b.emptyDepth : 0);
    part.depth = inDepth(std::max({a.depth, b.depth, a.exitDepth + b.entryDepth}));
    part.entersNullableStar = a.entersNullableStar || (a.nullable() && b.entersNullableStar);
    part.hasNullableStar = a.hasNullableStar || b.hasNullableStar;
    part.skipsSecond = part.nullable() && (a.skipsSecond || b.skipsSecond);
    part.skipsFirstLater = part.nullable() && (a.skipsFirstLater || b.skipsFirstLater);
    return part;
}

void LibcCost::checkBackReferences(Fragment const& part) noexcept {
    if (part.backReferences > LibcLimits::MAX_BACK_REFERENCES) {
        refuse(PatternHazard::BACK_REFERENCES);
    }
}

/// `a|b`, or `a?` when b is nothing: one OP_ALT node.
Fragment LibcCost::choice(Fragment const& a, Fragment const& b) noexcept {
    addNodes(1);
    Fragment part;
    part.nodes = 1 + a.nodes + b.nodes;
    part.multibyteNodes = a.multibyteNodes + b.multibyteNodes;
    part.backReferences = a.backReferences + b.backReferences;
    part.entryClosure = inClosures(std::uint64_t{1} + a.entryClosure + b.entryClosure);
    part.emptyPaths = inClosures(std::uint64_t{a.emptyPaths} + b.emptyPaths);
    part.unanchoredEmptyPaths =
        inClosures(std::uint64_t{a.unanchoredEmptyPaths} + b.unanchoredEmptyPaths);
    part.anchors = a.anchors + b.anchors;
    part.branches = 1 + a.branches + b.branches;
    part.exitPaths = inClosures(std::uint64_t{a.exitPaths} + b.exitPaths + part.emptyPaths);
    part.closures = inClosures(std::uint64_t{a.closures} + b.closures + part.entryClosure);
    part.entersNullableStar = a.entersNullableStar || b.entersNullableStar;
    part.hasNullableStar = a.hasNullableStar || b.hasNullableStar;
    part.loopClosures = inLoopClosures(std::uint64_t{a.loopClosures} + b.loopClosures +
                                       (part.entersNullableStar ? part.entryClosure : 0));
    part.anchorExitPaths = inClosures(std::uint64_t{a.anchorExitPaths} + b.anchorExitPaths);
    part.anchorClosures = inAnchorClosures(std::uint64_t{a.anchorClosures} + b.anchorClosures);
    part.entryDepth = 1 + std::max(a.entryDepth, b.entryDepth);
    part.emptyDepth = part.nullable() ? 1 + std::max(a.emptyDepth, b.emptyDepth) : 0;
    part.exitDepth = std::max({a.exitDepth, b.exitDepth, part.emptyDepth});
    part.depth = inDepth(std::max({a.depth, b.depth, part.entryDepth}));
    // The nodes of an empty alternative follow the choice, so that libc tries it last. At a choice
    // that it has visited before, proceed_next_node takes the second alternative without trying the
    // first again.
    Fragment const& first = a.nodes != 0 ? a : b;
    Fragment const& second = a.nodes != 0 ? b : a;
    part.skipsSecond = a.skipsSecond || b.skipsSecond || (first.nullable() && second.nodes != 0);
    part.skipsFirstLater =
        a.skipsFirstLater || b.skipsFirstLater || (first.skipsSecond && second.nullable());
    return part;
}

// ---- repeats: parse_dup_op, duplicate_tree

Fragment LibcCost::repeat(Fragment const& item, int least, int most) noexcept {
    if (item.nodes == 0 || most == 0) {
        return {};
    }
    if (least == 1 && most == 1) {
        return item;
    }
    return expanded(item, least, most);
}

/// duplicate_tree
Fragment LibcCost::copy(Fragment const& a) noexcept {
    addNodes(a.nodes);
    copiedAnchor_ = copiedAnchor_ || a.anchorClosures != 0;
    return a;
}

/// `a{least,most}` as parse_dup_op writes it: a{2,4} as aa(a(a)?)?, a{2,} as aaa*.
Fragment LibcCost::expanded(Fragment const& a, int least, int most) noexcept {
    Fragment required = a;
    for (int i = 1; i < least && !stopped(); ++i) {
        required = sequence(required, copy(a));
    }
    if (least == most) {
        return required;
    }
    bool const plainPlus = least == 1 && most == PATTERN_UNLIMITED && isEmptyAtAnchor(a);
    bool const copiedAnchorBefore = copiedAnchor_;
    Fragment optional = least > 0 ? copy(a) : a;
    if (plainPlus) {
        copiedAnchor_ = copiedAnchorBefore;  // `(^|,)+` is sound
    }
    if (most == PATTERN_UNLIMITED) {
        optional = star(optional);
    } else {
        optional = choice(optional, {});
        for (int i = least + 1; i < most && !stopped(); ++i) {
            optional = choice(sequence(optional, copy(a)), {});
        }
    }
    return least > 0 ? sequence(required, optional) : optional;
}

/// `a*`: one OP_DUP_ASTERISK node, from which paths lead into the body and past it.
Fragment LibcCost::star(Fragment const& a) noexcept {
    addNodes(1);
    bool const overNullable = a.nullable() && !a.isBackReference;
    if (overNullable) {
        checkNullableStar(a);
    }
    Fragment part;
    part.nodes = 1 + a.nodes;
    part.multibyteNodes = a.multibyteNodes;
    part.backReferences = a.backReferences;
    needs_.recurses = needs_.recurses || a.backReferences != 0;
    part.entryClosure = inClosures(std::uint64_t{1} + a.entryClosure);
    part.emptyPaths = inClosures(std::uint64_t{1} + a.emptyPaths);
    part.unanchoredEmptyPaths = inClosures(std::uint64_t{1} + a.unanchoredEmptyPaths);
    part.anchors = a.anchors;
    part.branches = 1 + a.branches;
    part.exitPaths = inClosures(std::uint64_t{1} + a.exitPaths);
    part.closures = inClosures(a.closures + product(part.exitPaths, part.entryClosure));
    part.entersNullableStar = overNullable || a.entersNullableStar;
    part.hasNullableStar = overNullable || a.hasNullableStar;
    part.loopClosures = inLoopClosures(part.entersNullableStar ? part.closures : a.loopClosures);
    part.anchorExitPaths = a.anchorExitPaths;
    part.anchorClosures =
        inAnchorClosures(a.anchorClosures + product(a.anchorExitPaths, part.entryClosure));
    part.entryDepth = 1 + a.entryDepth;
    part.emptyDepth = 1;
    part.exitDepth = 1 + a.exitDepth;
    part.depth = inDepth(std::max(a.depth, a.exitDepth + part.entryDepth));
    part.skipsSecond = a.skipsSecond;
    part.skipsFirstLater = a.skipsFirstLater || a.skipsSecond;
    return part;
}

void LibcCost::checkNullableStar(Fragment const& body) noexcept {
    ++nullableStars_;
    if (body.anchorExitPaths != 0) {
        anchorInNullableStar_ = anchorInNullableStar_ || !isEmptyAtAnchor(body);
        if (std::max(body.anchorExitPaths, body.emptyPaths) > LibcLimits::MAX_ANCHOR_PATHS) {
            refuse(PatternHazard::ANCHOR_IN_NULLABLE_STAR);
        }
    }
    if (body.skipsFirstLater) {
        refuse(PatternHazard::ENDLESS_STAR);
    }
}

// ---- the whole pattern

void LibcCost::dollars(std::size_t row) noexcept {
    if (row > LibcLimits::MAX_DOLLARS) {
        refuse(PatternHazard::DOLLARS);
    }
}

/// An estimate of the nodes that duplicate_node_closure copies: it copies one path from each
/// anchor, and one from each branch for each combination of constraints. Where a path leads past an
/// anchor, libc makes more: 5,017 for `(y*|\b){8}`, whose estimate is 3,520, and 14,315 for
/// `(x?|\b){7}(\>){12}`, which is allowed. A search for many more found no
/// pattern that takes 0.6 s or 60 MB.
std::uint64_t LibcCost::anchorCopies(Fragment const& pattern) const noexcept {
    std::uint64_t const combinations = (std::uint64_t{1} << anchorConstraints_.count()) - 1;
    return (pattern.branches * combinations + pattern.anchors) * pattern.depth;
}

void LibcCost::finish(Fragment const& pattern) noexcept {
    Fragment const whole = sequence(pattern, characterNode());  // END_OF_RE
    needs_.nodes = nodes_;
    needs_.compilesDeep = whole.depth > LibcLimits::MAX_EPSILON_DEPTH_OF_CALLER;
    // check_arrival_expand_ecl_sub recurses along epsilon steps.
    if (needs_.compilesDeep && pattern.backReferences != 0) {
        refuse(PatternHazard::EPSILON_DEPTH);
    }
    if (hasMultibyteCharacters()) {
        limited(product(pattern.multibyteNodes, pattern.nodes), LibcLimits::MAX_MULTIBYTE_SETS,
                PatternHazard::MULTIBYTE_SETS);
    }
    if (pattern.anchorClosures > LibcLimits::MAX_ANCHOR_CLOSURES &&
        anchorCopies(whole) > LibcLimits::MAX_ANCHOR_CLOSURES) {
        refuse(PatternHazard::ANCHOR_CLOSURES);
    }
    if (nullableStars_ != 0 &&
        pattern.anchorClosures > LibcLimits::MAX_ANCHOR_CLOSURES_WITH_NULLABLE_STAR) {
        refuse(PatternHazard::ANCHOR_CLOSURES);
    }
    if (anchorInNullableStar_ && nullableStars_ > 1) {
        refuse(PatternHazard::ANCHOR_IN_NULLABLE_STAR);
    }
    if (copiedAnchor_ && nullableStars_ != 0) {
        refuse(PatternHazard::COPIED_ANCHOR_AND_NULLABLE_STAR);
    }
}

// ---- bounds

void LibcCost::refuse(PatternHazard hazard) noexcept {
    if (hazard_ == PatternHazard::NONE) {
        hazard_ = hazard;
    }
}

void LibcCost::addNodes(std::uint32_t nodes) noexcept {
    nodes_ = limited(std::uint64_t{nodes_} + nodes, LibcLimits::MAX_NODES, PatternHazard::NODES);
}

std::uint32_t LibcCost::limited(std::uint64_t value, std::uint32_t limit,
                                PatternHazard hazard) noexcept {
    if (value > limit) {
        refuse(hazard);
        return limit;
    }
    return static_cast<std::uint32_t>(value);
}

// There are never more paths than nodes on them, so one bound serves both.
std::uint32_t LibcCost::inClosures(std::uint64_t value) noexcept {
    return limited(value, LibcLimits::MAX_CLOSURES, PatternHazard::CLOSURES);
}
std::uint32_t LibcCost::inLoopClosures(std::uint64_t value) noexcept {
    return limited(value, LibcLimits::MAX_LOOP_CLOSURES, PatternHazard::LOOP_CLOSURES);
}
std::uint32_t LibcCost::inAnchorClosures(std::uint64_t value) noexcept {
    return limited(value, LibcLimits::MAX_ANCHOR_CLOSURE_PATHS, PatternHazard::ANCHOR_CLOSURES);
}
std::uint32_t LibcCost::inDepth(std::uint32_t value) noexcept {
    return limited(value, LibcLimits::MAX_EPSILON_DEPTH, PatternHazard::EPSILON_DEPTH);
}

PatternHazard patternHazard(char const* pattern, PatternSyntax syntax, LibcNeeds* needs) {
    std::size_t const length = ::strnlen(pattern, LibcLimits::MAX_LENGTH + 1);
    if (length > LibcLimits::MAX_LENGTH) {
        return PatternHazard::LENGTH;
    }
    std::string_view const text(pattern, length);
    LibcCost cost;
    PatternHazard hazard = hazardOf(text, syntax, cost);
    if (hazard == PatternHazard::NONE && mayHoldBackReference(text)) {
        BackReferenceCost references;
        hazard = hazardOf(text, syntax, references);
    }
    if (needs != nullptr) {
        *needs = cost.needs();
    }
    return hazard;
}

}  // namespace ZEBNS2
