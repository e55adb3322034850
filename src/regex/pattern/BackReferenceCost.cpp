#include "BackReferenceCost.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace ZEBNS2 {

namespace {

using Fragment = BackReferenceCost::Fragment;
using Uncertainty = BackReferenceCost::Uncertainty;
using Width = BackReferenceCost::Width;

constexpr Width WIDE = BackReferenceCost::WIDE;

/// Bits of the ways that grow with the text.
constexpr std::uint32_t ENDLESS_WAYS = 1000;

Width saturated(std::uint64_t width) noexcept {
    return static_cast<Width>(std::min<std::uint64_t>(width, WIDE));
}

std::uint32_t saturatedCount(std::uint64_t count) noexcept {
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(count, std::numeric_limits<std::uint16_t>::max()));
}

/// Whether `next` can only begin at the last of the places.
bool endsUncertainty(Uncertainty const& place, Fragment const& next) noexcept {
    return !next.nullable && !place.characters.meets(next.alphabet);
}

/// The uncertainty of the end of `next` when that of its start is `place`.
Uncertainty after(Uncertainty const& place, Fragment const& next) noexcept {
    if (place.width == 0 || endsUncertainty(place, next)) {
        return next.end;
    }
    return {place.characters | next.alphabet,
            saturated(std::uint64_t{place.width} + next.end.width),
            saturatedCount(std::uint64_t{place.repeats} + next.end.repeats)};
}

/// The points for a number of items: the logarithm, rounded down; 0 for none.
std::uint32_t doublings(std::uint32_t count) noexcept {
    std::uint32_t bits = 0;
    for (; count > 1; count /= 2) {
        ++bits;
    }
    return bits;
}

/// Bits of the ways to split one text into a text of `a` and one of `b`, with given groups.
std::uint32_t waysToCut(Fragment const& a, Fragment const& b) noexcept {
    bool const decided =
        a.prefixFree || b.fixedOwnLength || a.end.width == 0 || !a.end.characters.meets(b.alphabet);
    return decided ? 0 : doublings(a.end.width) + 1;
}

Fragment oneOf(CharacterSet const& characters) noexcept {
    Fragment part;
    part.nullable = part.epsilonNullable = false;
    part.length = 1;
    part.alphabet = part.ownAlphabet = part.first = characters;
    part.needsCharacter = true;
    part.size = 1;
    return part;
}

}  // namespace

Fragment BackReferenceCost::character(std::string_view bytes, bool /*escaped*/) noexcept {
    CharacterSet characters;
    characters.add(static_cast<unsigned char>(bytes.front()));
    Fragment part = oneOf(characters);
    part.separators = characters;
    return part;
}

Fragment BackReferenceCost::period() noexcept { return oneOf(CharacterSet::all()); }

Fragment BackReferenceCost::bracket(std::string_view /*text*/, Members const& members) noexcept {
    return oneOf(members.characters());
}

Fragment BackReferenceCost::classEscape(char letter) noexcept {
    bool const word = letter == 'w' || letter == 'W';
    ListedCharacters listed;
    listed.addClass(word ? "alnum" : "space");
    if (word) {
        listed.addRange('_', '_');
    }
    return oneOf(listed.characters(letter == 'W' || letter == 'S'));
}

Fragment BackReferenceCost::anchor(PatternAnchor /*kind*/) noexcept { return {}; }

Fragment BackReferenceCost::backReference(std::uint32_t number) noexcept {
    Referent const& group = groups_[number];
    Fragment part;
    part.isReference = part.needsReference = true;
    part.references = 1;
    part.nullable = group.nullable;
    part.alphabet = part.first = group.alphabet;
    part.size = 1;
    part.fixedLength = group.fixedLength;
    part.length = group.characters;
    part.end = {group.alphabet, group.length, 0};
    part.referenced = 1U << number;
    part.pending[number] = 1;
    return part;
}

BackReferenceCost::Group BackReferenceCost::openGroup(Group const& outer, Fragment const& before,
                                                      std::uint32_t number) noexcept {
    return {number, after(outer.start, before)};
}

Fragment BackReferenceCost::closeGroup(Group const& group, Fragment const& inner) noexcept {
    Fragment part = inner;
    part.isReference = false;
    if (group.number <= MAX_GROUP) {
        if (inner.groups == 0 && inner.references == 0) {
            part.ownAlphabet = {};
        }
        part.groups |= 1U << group.number;
        Referent& referent = groups_[group.number];
        referent.alphabet = inner.alphabet;
        referent.place = endsUncertainty(group.start, inner) ? Width{0} : group.start.width;
        referent.length = inner.end.width;
        referent.fixedLength = inner.fixedLength;
        referent.characters = inner.length;
        referent.nullable = inner.nullable;
        referent.isLeaf = part.ownAlphabet.empty();
        part.waysSince[group.number] = 0;
    }
    return part;
}

Fragment BackReferenceCost::sequence(Fragment const& a, Fragment const& b) noexcept {
    Fragment part;
    part.needsReference = a.needsReference || b.needsReference;
    part.needsCharacter = a.needsCharacter || b.needsCharacter;
    part.hasReferenceStar = a.hasReferenceStar || b.hasReferenceStar;
    part.nullable = a.nullable && b.nullable;
    part.epsilonNullable = a.epsilonNullable && b.epsilonNullable;
    part.fixedLength = a.fixedLength && b.fixedLength;
    part.fixedOwnLength = a.fixedOwnLength && b.fixedOwnLength;
    part.separators = a.separators | b.separators;
    part.length = saturatedCount(std::uint64_t{a.length} + b.length);
    part.references = saturatedCount(std::uint64_t{a.references} + b.references);
    part.freedom = saturatedCount(std::uint64_t{a.freedom} + b.freedom);
    part.alphabet = a.alphabet | b.alphabet;
    part.ownAlphabet = a.ownAlphabet | b.ownAlphabet;
    part.end = after(a.end, b);
    part.endedRepeats = std::max(a.endedRepeats, b.endedRepeats);
    if (a.references != 0 && endsUncertainty(a.end, b)) {
        part.endedRepeats = std::max(part.endedRepeats, a.end.repeats);
    }
    part.referenced = a.referenced | b.referenced;
    part.groups = a.groups | b.groups;
    part.size = saturatedCount(std::uint64_t{a.size} + b.size);
    part.first = a.nullable ? a.first | b.first : a.first;
    part.prefixFree = b.prefixFree && (a.prefixFree || endsUncertainty(a.end, b));
    addWays(part, a, b);
    for (std::uint32_t n = 1; n <= MAX_GROUP; ++n) {
        bool const inA = (a.groups >> n & 1U) != 0;
        bool const inB = (b.groups >> n & 1U) != 0;
        // Between a group and the last of several consecutive references to it, only its length is
        // a choice.
        bool const row = b.isReference && b.pending[n] != 0;
        Width const further = row ? Width{0} : b.end.width;
        if (inA || inB) {
            std::uint64_t const sinceA = std::uint64_t{a.sinceGroup[n]} + further;
            part.sinceGroup[n] = inB ? b.sinceGroup[n] : saturated(sinceA);
        }
        Width const before = inA ? a.sinceGroup[n] : a.end.width;
        Width const distance = saturated(std::uint64_t{before} + b.untilReference[n]);
        std::uint32_t count = b.pending[n];
        if (inA && count != 0) {
            part.freedom = saturatedCount(part.freedom +
                                          std::uint64_t{count} * freedomOf(groups_[n], distance));
            count = 0;
        }
        part.pending[n] =
            static_cast<std::uint8_t>(std::min<std::uint32_t>(a.pending[n] + count, 255));
        part.untilReference[n] = std::max(a.untilReference[n], count != 0 ? distance : Width{0});
    }
    return part;
}

/// The text between a group of `a` and a reference to it in `b` can be taken in `a`'s ways since
/// the group, times those of `b`. All of `b`'s count, although some may follow the reference.
void BackReferenceCost::addWays(Fragment& part, Fragment const& a, Fragment const& b) noexcept {
    std::uint32_t const further = b.ways + waysToCut(a, b);
    part.ways = saturatedCount(std::uint64_t{a.ways} + further);
    bool const separates = a.end.width != 0 && !a.end.characters.meets(b.alphabet);
    for (std::uint32_t n = 1; n <= MAX_GROUP; ++n) {
        bool const inA = (a.groups >> n & 1U) != 0;
        // Only the last place after the group leads into a nonempty `b`.
        bool const decided = separates && a.sinceGroup[n] == 0;
        std::uint32_t const since =
            saturatedCount(std::uint64_t{a.waysSince[n]} + (decided ? 0 : further));
        if (inA && decided && !b.nullable) {
            groups_[n].endIsDecided = true;
        }
        if (inA && b.pending[n] != 0 && groups_[n].isLoose() && since > LibcLimits::MAX_WAYS) {
            refuse(PatternHazard::BACK_REFERENCES);
        }
        part.waysSince[n] = (b.groups >> n & 1U) != 0 ? b.waysSince[n] : since;
    }
}

Fragment BackReferenceCost::choice(Fragment const& a, Fragment const& b) noexcept {
    Fragment part;
    part.needsReference = a.needsReference && b.needsReference;
    part.needsCharacter = a.needsCharacter && b.needsCharacter;
    part.hasReferenceStar = a.hasReferenceStar || b.hasReferenceStar;
    part.nullable = a.nullable || b.nullable;
    part.epsilonNullable = a.epsilonNullable || b.epsilonNullable;
    part.references = saturatedCount(std::uint64_t{a.references} + b.references);
    part.freedom = saturatedCount(std::uint64_t{a.freedom} + b.freedom);
    part.alphabet = a.alphabet | b.alphabet;
    part.ownAlphabet = a.ownAlphabet | b.ownAlphabet;
    part.length = a.length;
    part.fixedLength = a.fixedLength && b.fixedLength && a.length == b.length;
    part.fixedOwnLength = part.fixedLength;
    if (!part.fixedLength) {
        bool const known = a.fixedLength && b.fixedLength;
        part.end = {
            part.alphabet,
            known ? saturated(std::max(a.length, b.length) - std::min(a.length, b.length)) : WIDE,
            saturatedCount(std::uint64_t{a.end.repeats} + b.end.repeats)};
    }
    part.endedRepeats = std::max(a.endedRepeats, b.endedRepeats);
    part.referenced = a.referenced | b.referenced;
    part.groups = a.groups | b.groups;
    part.size = saturatedCount(std::uint64_t{a.size} + b.size);
    part.first = a.first | b.first;
    bool const disjoint = !a.first.meets(b.first) && !(a.nullable && b.nullable);
    part.prefixFree = disjoint && !part.nullable && a.prefixFree && b.prefixFree;
    part.ways = std::max(a.ways, b.ways) + (disjoint ? 0 : 1);
    for (std::uint32_t n = 1; n <= MAX_GROUP; ++n) {
        part.waysSince[n] = std::max(a.waysSince[n], b.waysSince[n]);
        part.sinceGroup[n] = std::max(a.sinceGroup[n], b.sinceGroup[n]);
        part.pending[n] = static_cast<std::uint8_t>(std::min(a.pending[n] + b.pending[n], 255));
        part.untilReference[n] = std::max(a.untilReference[n], b.untilReference[n]);
    }
    return part;
}

Fragment BackReferenceCost::repeat(Fragment const& item, int least, int most) noexcept {
    if (most == 0) {
        return {};
    }
    if (least == 1 && most == 1) {
        return item;
    }
    bool const unlimited = most == PATTERN_UNLIMITED;
    // libc writes a{2,} as aaa*.
    auto const copies = static_cast<std::uint32_t>(unlimited ? least + 1 : most);
    if (unlimited) {
        checkStar(item);
    }
    if (item.hasReferenceStar && copies > 1) {
        refuse(PatternHazard::BACK_REFERENCES_IN_STAR);
    }
    Fragment part = item;
    part.hasReferenceStar = item.hasReferenceStar || (unlimited && item.references != 0);
    part.needsReference = item.needsReference && least > 0;
    part.needsCharacter = item.needsCharacter && least > 0;
    part.nullable = item.nullable || least == 0;
    part.epsilonNullable = item.epsilonNullable || least == 0;
    part.references = saturatedCount(std::uint64_t{item.references} * copies);
    // A star that may contain a reference leaves no choice beyond that of the first iteration.
    std::uint32_t const choices = unlimited ? 1 : copies;
    part.freedom = saturatedCount(std::uint64_t{item.freedom} * choices);
    part.length = saturatedCount(std::uint64_t{item.length} * static_cast<unsigned int>(least));
    part.fixedLength = item.fixedLength && least == most;
    part.fixedOwnLength = item.fixedOwnLength && least == most;
    part.separators = least > 0 ? item.separators : CharacterSet();
    std::uint32_t const repeats =
        saturatedCount(std::uint64_t{item.end.repeats} * copies + (unlimited ? 1U : 0U));
    if (unlimited) {
        part.end = {item.alphabet, WIDE, repeats};
    } else if (least != most) {
        std::uint64_t const optional = static_cast<unsigned int>(most - least);
        part.end = {item.alphabet, item.fixedLength ? saturated(optional * item.length) : WIDE,
                    repeats};
    } else if (item.end.width != 0) {
        part.end = {item.alphabet, saturated(std::uint64_t{item.end.width} * copies), repeats};
    }
    part.size = saturatedCount(std::uint64_t{item.size} * copies);
    part.prefixFree = item.prefixFree && least == most;
    std::uint32_t const ways = item.ways + waysToCut(item, item);
    part.ways =
        unlimited && ways != 0 ? ENDLESS_WAYS : saturatedCount(std::uint64_t{ways} * copies);
    for (std::uint32_t n = 1; n <= MAX_GROUP; ++n) {
        part.waysSince[n] = copies > 1 || unlimited ? part.ways : item.waysSince[n];
        part.pending[n] =
            static_cast<std::uint8_t>(std::min<std::uint32_t>(item.pending[n] * choices, 255));
        if (part.pending[n] != 0 && !item.isReference) {
            std::uint64_t const between = std::uint64_t{item.end.width} * (choices - 1);
            part.untilReference[n] = saturated(item.untilReference[n] + between);
        }
        if ((item.groups >> n & 1U) != 0) {
            groups_[n].place = std::max({groups_[n].place, part.end.width, Width{1}});
            groups_[n].copies = saturatedCount(std::uint64_t{groups_[n].copies} * copies);
            if (unlimited && groups_[n].length != 0) {
                groups_[n].length = WIDE;  // each iteration has another one
            }
        }
    }
    return part;
}

/// The points of one reference. A group whose place is free costs more if its length or distance is
/// free too: libc tries each pair.
std::uint32_t BackReferenceCost::freedomOf(Referent const& group, Width distance) const noexcept {
    auto const pointsOf = [](Width width) {
        return width == 0 ? 0U : width < 4 ? 1U : width < WIDE ? 2U : 3U;
    };
    bool const anywhere = group.place == WIDE;
    std::uint32_t points = pointsOf(group.place) + pointsOf(group.length) + pointsOf(distance);
    points += distance == WIDE ? 1U : 0U;
    points += anywhere && group.length == WIDE ? 3U : 0U;
    points += anywhere && distance == WIDE ? 3U : 0U;
    // Measured: the time grows with the third power of the copies.
    points += 3 * doublings(group.copies / 2);
    return points;
}

/// The characters that a fragment takes outside its references and group `except`.
CharacterSet BackReferenceCost::alphabetOutside(Fragment const& part,
                                                std::uint32_t except) const noexcept {
    CharacterSet characters = part.ownAlphabet;
    for (std::uint32_t n = 1; n <= MAX_GROUP; ++n) {
        if (n != except && groups_[n].isLeaf && (part.groups >> n & 1U) != 0) {
            characters = characters | groups_[n].alphabet;
        }
    }
    return characters;
}

void BackReferenceCost::checkStar(Fragment const& body) noexcept {
    if (body.epsilonNullable && !body.isReference) {
        hasNullableStar_ = true;
        CharacterSet const characters = alphabetOutside(body, /*except=*/0);
        nullableStarAlphabet_ = nullableStarAlphabet_ | characters;
        if (characters.empty() && body.references != 0) {
            refuse(PatternHazard::BACK_REFERENCE_AND_NULLABLE_STAR);
        }
    }
    if (body.references == 0) {
        return;
    }
    std::uint32_t number = 1;
    while ((body.referenced >> number & 1U) == 0) {
        ++number;
    }
    Referent const& group = groups_[number];
    CharacterSet const others = alphabetOutside(body, number);
    bool const separated = (!others.empty() && !others.meets(group.alphabet)) ||
                           (body.fixedOwnLength && body.separators.exceeds(group.alphabet));
    bool const inBody = (body.groups >> number & 1U) != 0;
    bool const oneWay = group.length == 0 ? body.isReference || body.fixedLength || separated
                                          : separated && body.needsCharacter && !inBody;
    bool const sound = body.references == 1 && body.needsReference && group.place == 0 && oneWay &&
                       (!group.nullable || body.fixedOwnLength) &&
                       (body.isReference || !body.nullable) &&
                       (body.isReference || !group.alphabet.empty());
    if (!sound || hasReferenceStar_) {
        refuse(PatternHazard::BACK_REFERENCES_IN_STAR);
    }
    hasReferenceStar_ = true;
}

/// With a star over a nullable body regexec can loop forever when it backtracks, for example
/// `(a)?*+\1` on "aa"; but not if the star cannot take the characters of the references.
void BackReferenceCost::finish(Fragment const& pattern) noexcept {
    if (pattern.freedom != 0) {
        std::uint32_t const repeats = std::max(pattern.end.repeats, pattern.endedRepeats);
        freedom_ = pattern.freedom + 2 * repeats + 2 * doublings(pattern.size / 16);
    }
    if (freedom_ > LibcLimits::MAX_FREEDOM) {
        refuse(PatternHazard::BACK_REFERENCES);
    }
    for (std::uint32_t n = 1; n <= MAX_GROUP; ++n) {
        bool const referenced = (pattern.referenced >> n & 1U) != 0;
        if (hasNullableStar_ && referenced && nullableStarAlphabet_.meets(groups_[n].alphabet)) {
            refuse(PatternHazard::BACK_REFERENCE_AND_NULLABLE_STAR);
        }
    }
}

void BackReferenceCost::refuse(PatternHazard hazard) noexcept {
    if (hazard_ == PatternHazard::NONE) {
        hazard_ = hazard;
    }
}

}  // namespace ZEBNS2
