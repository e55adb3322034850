#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "CharacterSet.hpp"

/// @file
/// Tells the patterns that the C library's regular expressions would not survive, before regcomp
/// sees them.
///
/// regcomp and regexec recurse as deep as a pattern makes them, copy what a repeat repeats, and
/// keep for each node of their automaton its closure: the nodes that can be reached from it without
/// taking a character. A few dozen bytes so exhaust the stack, the memory or the patience of any
/// process, and some make regexec go round for ever. tests/regex/patterns/refused.txt holds some.
///
/// The guard reads a pattern once, just as libc reads it, and adds up what libc is going to build.
/// Each sum of a part follows from the sums of its own parts, so that one frame per open group is
/// all the memory it takes. For "(a|b*)c" these are 7 nodes: the ends of the group, the choice, the
/// repeat and three characters. The longest chain of empty steps is group, choice, repeat, end of
/// the group and the try of c, 5 in all; libc recurses once for each.
///
/// Where libc's reading depends on the locale the dearer reading counts: a bracket is the three
/// nodes of a UTF-8 locale, the bytes of a UTF-8 character are repeated together. Locales whose
/// characters may end in a byte that is an operator in ASCII (Shift JIS and its like) are read
/// wrongly.
///
/// Cost: linear in the pattern and in the nodes that libc would make of it, at most MAX_NODES.

namespace ZEBNS2 {

/// Why a pattern is refused, named after the bound of PatternBounds that it exceeds.
enum class PatternHazard {
    NONE,
    LENGTH,
    NESTING,
    DOLLARS,
    NODES,
    CHAIN,
    CLOSURES,
    CIRCLES,
    ANCHORED,
    WILD,
    BACK_REFERENCES,
    /// Anchors in an idle loop, with more than MAX_ANCHORED_WAYS or beside another idle loop: libc
    /// copies the loop for each set of anchors met on the way, and the copies of their copies. Five
    /// kinds of anchors take it minutes, `((^|,)*)*` has no end on ",a".
    ANCHOR_IN_IDLE_LOOP,
    /// An idle loop whose choices can turn away from each other: regexec goes round for ever, for
    /// example `(x*|y|z*)*` on "y".
    ENDLESS_LOOP,
    /// Back-references in an unlimited repeat, unless the repeat is the only one and each round has
    /// one back-reference: alone, to a group of one place and one length, or beside a character and
    /// to a group that is not always empty. `(|)(\1\1)*` has no end at all.
    BACK_REFERENCES_IN_LOOP,
    /// A back-reference and an idle loop: regexec goes round for ever when it has to try again, for
    /// example `(a)?*+\1` on "aa".
    BACK_REFERENCE_AND_IDLE_LOOP,
    /// An anchor in what a repeat copies, and an idle loop: libc forgets the anchor of the copy
    /// when it searches and remembers it when it looks for the groups, and goes round for ever
    /// instead of leaving the loop, for example `(x?*^a){2}` on "aa".
    COPIED_ANCHOR_AND_IDLE_LOOP
};

/// What libc is trusted with: at any one of these bounds it compiles with 256 KB of stack and less
/// than 128 MB of memory, on x86-64 and on 32-bit x86. Measured with glibc 2.36.
struct PatternBounds {
    /// Bytes of the pattern. The largest copies that libc makes of it take 16 bytes each.
    static constexpr std::size_t MAX_LENGTH = 65536;
    /// Groups in groups: 680 bytes of stack for each (460 on 32-bit x86).
    static constexpr std::size_t MAX_NESTING = 100;
    /// Dollars in a row in basic syntax: libc looks behind each for the next, 112 bytes of stack.
    static constexpr std::size_t MAX_DOLLARS = 100;
    /// Nodes, copies by repeats included: 250 bytes of memory for each.
    static constexpr std::uint32_t MAX_NODES = 50000;
    /// Empty steps in a row: 128 bytes of stack for each (105 on 32-bit x86).
    static constexpr std::uint32_t MAX_CHAIN = 1100;
    /// Nodes in all closures together: 14 bytes of memory for each.
    static constexpr std::uint32_t MAX_CLOSURES = 4000000;
    /// The same for closures that lead into an idle loop. libc cannot keep those while they are
    /// incomplete and works them out anew for each node on the way: 1 to 2 microseconds for each.
    static constexpr std::uint32_t MAX_CIRCLES = 100000;
    /// Nodes in the closures of anchors together. libc copies them all, to note the anchor in them,
    /// and looks for each copy among all the copies.
    static constexpr std::uint32_t MAX_ANCHORED = 8000;
    /// The same in a pattern with an idle loop: `$y*****+*z******+**`, with a few more than this,
    /// takes libc 0.3 seconds, with four times as many 5 seconds.
    static constexpr std::uint32_t MAX_ANCHORED_BESIDE_IDLE_LOOP = 2000;
    /// Nodes times wild ones, those that could take a character of several bytes: `.`, `[^x]` and
    /// the like. In a UTF-8 locale regexec makes a set of nodes for each wild node that can take
    /// such a character, and keeps the sets: 2.4 bytes on the average, for each such character of a
    /// text.
    static constexpr std::uint32_t MAX_WILD = 10000000;
    /// Ways through an idle loop that holds anchors, and ways out of its anchors: `(^|,)*` has one,
    /// \b is two. With two, libc compiles in 2 ms whatever stands around the loop; with eight,
    /// `(^|$|\<|\>|\`|\'|\B)*`, it takes minutes; on `(\`||b*)*$`, with four, regexec has no end.
    static constexpr std::uint32_t MAX_ANCHORED_WAYS = 2;
    /// Back-references, copies by repeats included. In regexec they take 490 bytes of stack each,
    /// and every two of them can double the time: `($)\1{0,32}` takes a second on any text.
    static constexpr std::uint32_t MAX_BACK_REFERENCES = 32;
    /// Those to groups that can match texts of several lengths or at several places: `(.+)\1{0,9}`
    /// takes 0.1 seconds on a run of 40 equal characters, `(.+)\1{0,31}` 11 seconds on one of 24.
    static constexpr std::uint32_t MAX_LOOSE_BACK_REFERENCES = 9;
    /// With a back-reference in an unlimited repeat, as in `(.)\1*`, regexec recurses for each time
    /// round: 440 bytes of stack for each (280 on 32-bit x86), so for each byte of the subject.
    static constexpr std::size_t LOOP_STACK_PER_BYTE = 512;
};

/// The arithmetic of the guard: what the parts of a pattern add up to, as libc puts them together.
class PatternSum {
public:
    /// A part of a pattern. A way leads from its entry to its exit, or from a node within to the
    /// exit, without taking a character; an idle loop is an unlimited repeat of what can be empty.
    struct Part {
        std::uint32_t nodes = 0;
        std::uint32_t wild = 0;
        std::uint32_t backReferences = 0;

        std::uint32_t visits = 0;         ///< nodes met from the entry, counted once for each way
        std::uint32_t waysThrough = 1;    ///< 0 when the part has to take a character
        std::uint32_t waysOut = 0;        ///< of all nodes together
        std::uint32_t closures = 0;       ///< visits from all nodes together
        std::uint32_t circles = 0;        ///< of these, the ones that lead into an idle loop
        std::uint32_t anchorWaysOut = 0;  ///< waysOut of the anchors alone
        std::uint32_t anchored = 0;       ///< closures of the anchors alone

        std::uint32_t chainIn = 0;  ///< longest chain of empty steps that begins at the entry
        std::uint32_t chainThrough = 0;
        std::uint32_t chainOut = 0;
        std::uint32_t chain = 0;  ///< the longest of all

        bool isBackReference = false;  ///< and nothing else
        bool mustRefer = false;        ///< each way through takes a back-reference
        bool recurses = false;         ///< holds an unlimited repeat of a back-reference

        std::uint32_t length = 0;  ///< of what it takes, in characters, while `slack` is empty
        CharacterSet characters;   ///< that it can take
        /// Empty when the place where it ends follows from the one where it starts. Otherwise all
        /// that can stand between the first place and the last.
        CharacterSet slack;
        std::uint32_t groups = 0;    ///< their numbers, 1 << n for group n
        std::uint32_t referred = 0;  ///< groups that back-references are to, likewise
        std::uint32_t looseReferences = 0;

        bool idles = false;      ///< an idle loop can be reached from the entry
        bool turnsAway = false;  ///< one way through passes by an alternative behind the first
        bool staysAway = false;  ///< ... and at the next time round a choice passes by all of that
    };

    /// The first bound that was exceeded. From then on the sums are of no use.
    PatternHazard hazard() const noexcept { return hazard_; }

    /// Whether there is an unlimited repeat of a back-reference.
    bool recurses() const noexcept { return recurses_; }

    /// The numbers of groups that back-references can refer to.
    static constexpr std::uint32_t MAX_REFERRED = 9;

    void refuse(PatternHazard hazard) noexcept {
        if (hazard_ == PatternHazard::NONE) {
            hazard_ = hazard;
        }
    }

    /// One character of so many bytes.
    Part character(CharacterSet const& characters, std::uint32_t bytes = 1) noexcept {
        build(bytes);
        Part part;
        part.characters = characters;
        part.nodes = part.closures = bytes;
        part.visits = part.chainIn = part.chain = part.length = 1;
        part.waysThrough = 0;
        return part;
    }

    /// Any character.
    Part period() noexcept {
        Part part = character(CharacterSet::all());
        part.wild = 1;
        return part;
    }

    /// A choice between single bytes and longer characters.
    Part bracket(CharacterSet const& characters, bool wild) noexcept {
        Part part = choice(character(characters), character(characters));
        part.wild = wild ? 1 : 0;
        return part;
    }

    Part anchor() noexcept {
        Part part = emptyStep();
        part.anchorWaysOut = part.anchored = 1;
        return part;
    }

    /// \b and \B, each a choice between two anchors.
    Part wordAnchor() noexcept { return choice(anchor(), anchor()); }

    Part backReference(std::uint32_t number) noexcept {
        Part part = emptyStep();
        part.backReferences = 1;
        part.isBackReference = part.mustRefer = true;
        part.referred = 1U << number;
        part.length = groupLengths_[number];
        part.characters = groupCharacters_[number];
        part.looseReferences = (looseGroups_ & part.referred) != 0 ? 1 : 0;
        part.slack = part.looseReferences != 0 ? part.characters : CharacterSet();
        return part;
    }

    /// @param slack of all that stands before it
    Part group(Part const& inner, std::uint32_t number, CharacterSet const& slack) noexcept {
        Part part = sequence(sequence(emptyStep(), inner), emptyStep());
        if (number <= MAX_REFERRED) {
            std::uint32_t const group = 1U << number;
            part.groups |= group;
            bool const displaced = !slack.empty() && !settles(slack, inner);
            looseGroups_ |= displaced || !inner.slack.empty() ? group : 0;
            emptyGroups_ |= inner.characters.empty() ? group : 0;
            groupLengths_[number] = inner.length;
            groupCharacters_[number] = inner.characters;
        }
        return part;
    }

    Part sequence(Part const& a, Part const& b) noexcept {
        Part part;
        part.nodes = a.nodes + b.nodes;
        part.wild = a.wild + b.wild;
        part.backReferences = a.backReferences + b.backReferences;
        part.looseReferences = a.looseReferences + b.looseReferences;
        if (part.backReferences > PatternBounds::MAX_BACK_REFERENCES ||
            part.looseReferences > PatternBounds::MAX_LOOSE_BACK_REFERENCES) {
            refuse(PatternHazard::BACK_REFERENCES);
        }
        part.recurses = a.recurses || b.recurses;
        part.mustRefer = a.mustRefer || b.mustRefer;
        part.length = a.length + b.length;
        part.characters = a.characters | b.characters;
        part.slack = slackBehind(a.slack, b);
        part.groups = a.groups | b.groups;
        part.referred = a.referred | b.referred;
        part.visits = count(a.visits + product(a.waysThrough, b.visits));
        part.waysThrough = count(product(a.waysThrough, b.waysThrough));
        part.waysOut = count(b.waysOut + product(a.waysOut, b.waysThrough));
        std::uint64_t const beyond = product(a.waysOut, b.visits);
        part.closures = count(a.closures + b.closures + beyond);
        // A node with a way out meets the idle loops of b. Which nodes these are is not known here.
        part.circles =
            countCircles(b.idles && a.waysOut != 0 ? a.closures + b.circles + beyond
                                                   : std::uint64_t{a.circles} + b.circles);
        part.anchorWaysOut = count(b.anchorWaysOut + product(a.anchorWaysOut, b.waysThrough));
        part.anchored = countAnchored(a.anchored + b.anchored + product(a.anchorWaysOut, b.visits));
        bool const aEmpty = a.waysThrough != 0;
        bool const empty = part.waysThrough != 0;
        part.chainIn = std::max(a.chainIn, aEmpty ? a.chainThrough + b.chainIn : 0);
        part.chainThrough = empty ? a.chainThrough + b.chainThrough : 0;
        part.chainOut = std::max(b.chainOut, b.waysThrough != 0 ? a.chainOut + b.chainThrough : 0);
        part.chain = countChain(std::max({a.chain, b.chain, a.chainOut + b.chainIn}));
        part.idles = a.idles || (aEmpty && b.idles);
        part.turnsAway = empty && (a.turnsAway || b.turnsAway);
        part.staysAway = empty && (a.staysAway || b.staysAway);
        return part;
    }

    /// `a|b`, or `a?` when b is nothing.
    Part choice(Part const& a, Part const& b) noexcept {
        build(1);
        Part part;
        part.nodes = 1 + a.nodes + b.nodes;
        part.wild = a.wild + b.wild;
        part.backReferences = a.backReferences + b.backReferences;
        part.looseReferences = a.looseReferences + b.looseReferences;
        part.recurses = a.recurses || b.recurses;
        part.mustRefer = a.mustRefer && b.mustRefer;
        part.length = a.length;
        part.characters = a.characters | b.characters;
        if (!a.slack.empty() || !b.slack.empty() || a.length != b.length) {
            part.slack = part.characters;
        }
        part.groups = a.groups | b.groups;
        part.referred = a.referred | b.referred;
        part.visits = count(std::uint64_t{1} + a.visits + b.visits);
        part.waysThrough = count(std::uint64_t{a.waysThrough} + b.waysThrough);
        part.waysOut = count(std::uint64_t{a.waysOut} + b.waysOut + part.waysThrough);
        part.closures = count(std::uint64_t{a.closures} + b.closures + part.visits);
        part.idles = a.idles || b.idles;
        part.circles =
            countCircles(std::uint64_t{a.circles} + b.circles + (part.idles ? part.visits : 0));
        part.anchorWaysOut = count(std::uint64_t{a.anchorWaysOut} + b.anchorWaysOut);
        part.anchored = countAnchored(std::uint64_t{a.anchored} + b.anchored);
        part.chainIn = 1 + std::max(a.chainIn, b.chainIn);
        part.chainThrough =
            part.waysThrough == 0 ? 0 : 1 + std::max(a.chainThrough, b.chainThrough);
        part.chainOut = std::max({a.chainOut, b.chainOut, part.chainThrough});
        part.chain = countChain(std::max({a.chain, b.chain, part.chainIn}));
        // The nodes of an empty alternative lie behind, so that libc tries it last. At a choice
        // where it has been before, libc takes the second alternative without another look at the
        // first.
        Part const& first = a.nodes != 0 ? a : b;
        Part const& second = a.nodes != 0 ? b : a;
        part.turnsAway =
            a.turnsAway || b.turnsAway || (first.waysThrough != 0 && second.nodes != 0);
        part.staysAway = a.staysAway || b.staysAway || (first.turnsAway && second.waysThrough != 0);
        return part;
    }

    static constexpr int UNLIMITED = -1;

    Part repeat(Part a, int least, int most) noexcept {
        if (a.nodes == 0 || most == 0) {
            return {};
        }
        if (least == 1 && most == 1) {
            return a;
        }
        if ((a.groups & a.referred) != 0) {
            a.looseReferences = a.backReferences;
        }
        Part const repeated = writtenOut(a, least, most);
        looseGroups_ |= a.groups;
        return repeated;
    }

    /// The slack of what has `slack` and of `next` together.
    static CharacterSet slackBehind(CharacterSet const& slack, Part const& next) noexcept {
        return slack.empty() || settles(slack, next) ? next.slack : slack | next.characters;
    }

    /// What only the whole pattern tells, and the node behind its end.
    void finish(Part const& pattern) noexcept {
        sequence(pattern, character({}));
        limited(product(pattern.wild, pattern.nodes), PatternBounds::MAX_WILD, PatternHazard::WILD);
        if (idleLoops_ != 0 && pattern.anchored > PatternBounds::MAX_ANCHORED_BESIDE_IDLE_LOOP) {
            refuse(PatternHazard::ANCHORED);
        }
        if (idleAnchors_ && idleLoops_ > 1) {
            refuse(PatternHazard::ANCHOR_IN_IDLE_LOOP);
        }
        if (pattern.backReferences != 0 && idleLoops_ != 0) {
            refuse(PatternHazard::BACK_REFERENCE_AND_IDLE_LOOP);
        }
        if (copiedAnchor_ && idleLoops_ != 0) {
            refuse(PatternHazard::COPIED_ANCHOR_AND_IDLE_LOOP);
        }
    }

private:
    /// Whether `next` can only start where the slack has an end.
    static bool settles(CharacterSet const& slack, Part const& next) noexcept {
        return next.waysThrough == 0 && !slack.meets(next.characters);
    }

    Part emptyStep() noexcept {
        build(1);
        Part part;
        part.nodes = part.visits = part.waysOut = part.closures = 1;
        part.chainIn = part.chainThrough = part.chainOut = part.chain = 1;
        return part;
    }

    Part copy(Part const& a) noexcept {
        build(a.nodes);
        copiedAnchor_ = copiedAnchor_ || a.anchored != 0;
        if (a.recurses) {
            refuse(PatternHazard::BACK_REFERENCES_IN_LOOP);
        }
        return a;
    }

    /// `a{least,most}` as libc writes it: a{2,4} as aa(a(a)?)?, a{2,} as aaa*.
    Part writtenOut(Part const& a, int least, int most) noexcept {
        Part required = a;
        for (int i = 1; i < least && hazard_ == PatternHazard::NONE; ++i) {
            required = sequence(required, copy(a));
        }
        if (least == most) {
            return required;
        }
        Part optional = least > 0 ? copy(a) : a;
        if (most == UNLIMITED) {
            optional = loop(optional);
        } else {
            optional = choice(optional, {});
            for (int i = least + 1; i < most && hazard_ == PatternHazard::NONE; ++i) {
                optional = choice(sequence(optional, copy(a)), {});
            }
        }
        return least > 0 ? sequence(required, optional) : optional;
    }

    /// `a*`
    Part loop(Part const& a) noexcept {
        build(1);
        if (a.backReferences != 0) {
            // Where a round can pass by the back-reference, as in `("?)(\1?[a-z])*;`, or is of
            // nothing but one to a loose group, as in `(.+)\1*` and `.*(.)\1+`, regexec tries each
            // way at each round: the time doubles with every byte or two of the subject. So it does
            // with `(.+)(,\1)*`, but only on commas in a row, and with `()(,+\1)*`, where the
            // reference is idle.
            bool const sound =
                a.backReferences == 1 && a.mustRefer &&
                (a.isBackReference ? a.looseReferences == 0
                                   : a.waysThrough == 0 && (a.referred & emptyGroups_) == 0);
            if (!sound || recurses_) {
                refuse(PatternHazard::BACK_REFERENCES_IN_LOOP);
            }
            recurses_ = true;
        }
        bool const idle = a.waysThrough != 0 && !a.isBackReference;
        if (idle) {
            ++idleLoops_;
            idleAnchors_ = idleAnchors_ || a.anchorWaysOut != 0;
            if (a.anchorWaysOut != 0 &&
                std::max(a.anchorWaysOut, a.waysThrough) > PatternBounds::MAX_ANCHORED_WAYS) {
                refuse(PatternHazard::ANCHOR_IN_IDLE_LOOP);
            }
            if (a.staysAway) {
                refuse(PatternHazard::ENDLESS_LOOP);
            }
        }
        Part part;
        part.nodes = 1 + a.nodes;
        part.wild = a.wild;
        part.backReferences = a.backReferences;
        part.recurses = a.backReferences != 0;
        part.characters = part.slack = a.characters;
        part.groups = a.groups;
        part.referred = a.referred;
        part.looseReferences = a.looseReferences;
        part.visits = count(std::uint64_t{1} + a.visits);
        part.waysThrough = count(std::uint64_t{1} + a.waysThrough);
        part.waysOut = count(std::uint64_t{1} + a.waysOut);
        part.closures = count(a.closures + product(part.waysOut, part.visits));
        part.idles = idle || a.idles;
        part.circles = countCircles(part.idles ? part.closures : a.circles);
        part.anchorWaysOut = a.anchorWaysOut;
        part.anchored = countAnchored(a.anchored + product(a.anchorWaysOut, part.visits));
        part.chainIn = 1 + a.chainIn;
        part.chainThrough = 1;
        part.chainOut = 1 + a.chainOut;
        part.chain = countChain(std::max(a.chain, a.chainOut + part.chainIn));
        part.turnsAway = a.turnsAway;
        part.staysAway = a.staysAway || a.turnsAway;
        return part;
    }

    /// Counts nodes when they are built: libc keeps those of `a{0}` too.
    void build(std::uint32_t nodes) noexcept {
        built_ =
            limited(std::uint64_t{built_} + nodes, PatternBounds::MAX_NODES, PatternHazard::NODES);
    }

    std::uint32_t limited(std::uint64_t value, std::uint32_t limit, PatternHazard hazard) noexcept {
        if (value > limit) {
            refuse(hazard);
            return limit;
        }
        return static_cast<std::uint32_t>(value);
    }

    // Visits and ways are never more than the closures, so one bound serves them all.
    std::uint32_t count(std::uint64_t value) noexcept {
        return limited(value, PatternBounds::MAX_CLOSURES, PatternHazard::CLOSURES);
    }
    std::uint32_t countCircles(std::uint64_t value) noexcept {
        return limited(value, PatternBounds::MAX_CIRCLES, PatternHazard::CIRCLES);
    }
    std::uint32_t countAnchored(std::uint64_t value) noexcept {
        return limited(value, PatternBounds::MAX_ANCHORED, PatternHazard::ANCHORED);
    }
    std::uint32_t countChain(std::uint32_t value) noexcept {
        return limited(value, PatternBounds::MAX_CHAIN, PatternHazard::CHAIN);
    }

    static std::uint64_t product(std::uint64_t a, std::uint64_t b) noexcept { return a * b; }

    PatternHazard hazard_ = PatternHazard::NONE;
    std::uint32_t built_ = 0;
    std::uint32_t idleLoops_ = 0;
    bool idleAnchors_ = false;  ///< in one of the idle loops
    bool copiedAnchor_ = false;
    bool recurses_ = false;
    /// Groups that can match texts of several lengths, or at several places in one match.
    std::uint32_t looseGroups_ = 0;
    /// Groups that match nothing but the empty text.
    std::uint32_t emptyGroups_ = 0;
    std::uint32_t groupLengths_[MAX_REFERRED + 1] = {};
    CharacterSet groupCharacters_[MAX_REFERRED + 1];
};

/// Reads a pattern as libc reads it.
class PatternReader {
public:
    PatternReader(std::string_view pattern, bool extended) noexcept
        : pattern_(pattern), extended_(extended), refers_(holdsReference(pattern)) {}

    bool recurses() const noexcept { return sum_.recurses(); }

    PatternHazard read() {
        while (!atEnd() && sum_.hazard() == PatternHazard::NONE) {
            if (!readToken()) {
                return sum_.hazard();
            }
        }
        if (outer_.empty()) {
            sum_.finish(closeBranches());
        }
        return sum_.hazard();
    }

private:
    using Part = PatternSum::Part;

    /// A group that is open, or the whole pattern.
    struct Frame {
        Part alternatives;  ///< those that are complete
        Part branch;        ///< the alternative being read, up to `item`
        Part item;          ///< what a repeat would repeat
        bool hasAlternatives = false;
        bool atStart = true;  ///< of the branch
        bool hasItem = false;
        std::uint32_t number = 0;  ///< of the group
        CharacterSet slack;        ///< of what stands before the group
    };

    /// Operators in extended syntax, and behind a backslash in basic syntax.
    static bool isOperator(char byte) noexcept {
        return std::string_view("()|+?{").find(byte) != std::string_view::npos;
    }

    static constexpr int MAX_REPEAT = 32767;

    /// True also for what only looks like a back-reference, such as `\\1`.
    static bool holdsReference(std::string_view pattern) noexcept {
        for (std::size_t at = pattern.find('\\'); at < pattern.size();
             at = pattern.find('\\', at + 1)) {
            if (at + 1 < pattern.size() && pattern[at + 1] >= '1' && pattern[at + 1] <= '9') {
                return true;
            }
        }
        return false;
    }

    bool atEnd() const noexcept { return at_ == pattern_.size(); }

    bool follows(std::string_view text) const noexcept {
        return pattern_.compare(at_, text.size(), text) == 0;
    }
    bool skip(std::string_view text) noexcept {
        bool const found = follows(text);
        at_ += found ? text.size() : 0;
        return found;
    }

    void addItem(Part const& item) noexcept {
        closeItem();
        frame_.item = item;
        frame_.hasItem = true;
    }

    /// A character.
    void addByte(char byte, std::uint32_t bytes = 1) noexcept {
        CharacterSet character;
        character.add(static_cast<unsigned char>(byte));
        addItem(sum_.character(character, bytes));
    }

    /// A part that no repeat applies to.
    void addAnchor(Part const& anchor) noexcept {
        addItem(anchor);
        closeItem();
    }

    void closeItem() noexcept {
        if (frame_.hasItem) {
            frame_.branch = sum_.sequence(frame_.branch, frame_.item);
            frame_.hasItem = false;
        }
        frame_.atStart = false;
    }

    Part closeBranches() noexcept {
        closeItem();
        return frame_.hasAlternatives ? sum_.choice(frame_.alternatives, frame_.branch)
                                      : frame_.branch;
    }

    void repeatItem(int least, int most) noexcept {
        frame_.item = sum_.repeat(frame_.item, least, most);
    }

    // The functions below return false where libc itself refuses the pattern, whatever follows.

    bool readToken() {
        char const byte = pattern_[at_];
        if (extended_ && isOperator(byte)) {
            ++at_;
            return readOperator(byte);
        }
        switch (byte) {
            case '\\':
                ++at_;
                return readEscape();
            case '[':
                ++at_;
                return readBracket();
            case '*':
                ++at_;
                return readRepeat(0, PatternSum::UNLIMITED);
            case '^':
                ++at_;
                if (extended_ || (frame_.atStart && !frame_.hasItem)) {
                    addAnchor(sum_.anchor());
                } else {
                    addByte(byte);
                }
                return true;
            case '$':
                readDollar();
                return true;
            case '.':
                ++at_;
                addItem(sum_.period());
                return true;
            default:
                readCharacter();
                return true;
        }
    }

    bool readOperator(char op) {
        switch (op) {
            case '(':
                openGroup();
                return true;
            case ')':
                return closeGroup();
            case '|': {
                Frame next;
                next.alternatives = closeBranches();
                next.hasAlternatives = true;
                next.number = frame_.number;
                next.slack = frame_.slack;
                frame_ = next;
                return true;
            }
            case '+':
                return readRepeat(1, PatternSum::UNLIMITED);
            case '?':
                return readRepeat(0, 1);
            default:  // {
                return frame_.hasItem && readInterval();
        }
    }

    void openGroup() {
        closeItem();
        if (outer_.size() == PatternBounds::MAX_NESTING) {
            sum_.refuse(PatternHazard::NESTING);
            return;
        }
        Frame inner;
        inner.number = ++groups_;
        inner.slack = PatternSum::slackBehind(frame_.slack, frame_.branch);
        outer_.push_back(frame_);
        frame_ = inner;
    }

    bool closeGroup() noexcept {
        if (outer_.empty()) {
            // In extended syntax a character like any other.
            if (extended_) {
                addByte(')');
            }
            return extended_;
        }
        Part const group = sum_.group(closeBranches(), frame_.number, frame_.slack);
        frame_ = outer_.back();
        outer_.pop_back();
        addItem(group);
        return true;
    }

    /// In basic syntax a repeat of nothing is a character like any other.
    bool readRepeat(int least, int most) noexcept {
        if (frame_.hasItem) {
            repeatItem(least, most);
        } else if (extended_) {
            return false;
        } else {
            addByte(pattern_[at_ - 1]);
        }
        return true;
    }

    bool readInterval() noexcept {
        int least = readNumber();
        int most = least;
        if (skip(",") || skip("\\,")) {
            least = std::max(least, 0);
            most = readNumber();
        } else if (least == NO_NUMBER) {
            return false;
        }
        bool const unlimited = most == NO_NUMBER;
        if (!skip(extended_ ? "}" : "\\}") || std::max(least, most) > MAX_REPEAT ||
            (most < least && !unlimited)) {
            return false;
        }
        repeatItem(least, unlimited ? PatternSum::UNLIMITED : most);
        return true;
    }

    static constexpr int NO_NUMBER = -1;

    /// libc reads tokens here, so that \0 is a zero; the other digits would be back-references.
    int readNumber() noexcept {
        int number = NO_NUMBER;
        while (!atEnd()) {
            bool const zero = skip("\\0");
            char const digit = zero ? '0' : pattern_[at_];
            if (digit < '0' || digit > '9') {
                break;
            }
            number = std::min(std::max(number, 0) * 10 + (digit - '0'), MAX_REPEAT + 1);
            at_ += zero ? 0 : 1;
        }
        return number;
    }

    bool readEscape() noexcept {
        if (atEnd()) {
            return false;
        }
        char const byte = pattern_[at_];
        if (!extended_ && isOperator(byte)) {
            ++at_;
            return readOperator(byte);
        }
        if (byte >= '1' && byte <= '9') {
            ++at_;
            addItem(sum_.backReference(static_cast<std::uint32_t>(byte - '0')));
        } else if (std::strchr("wWsS", byte) != nullptr) {
            ++at_;
            ListedCharacters listed(refers_);
            listed.addClass(byte == 'w' || byte == 'W' ? "alnum" : "space");
            if (byte == 'w' || byte == 'W') {
                listed.addRange('_', '_');
            }
            addItem(sum_.bracket(listed.characters(byte == 'W' || byte == 'S'), /*wild=*/true));
        } else if (std::strchr("<>`'", byte) != nullptr) {
            ++at_;
            addAnchor(sum_.anchor());
        } else if (byte == 'b' || byte == 'B') {
            ++at_;
            addAnchor(sum_.wordAnchor());
        } else {
            readCharacter();
        }
        return true;
    }

    /// Behind the opening bracket. A backslash is a character here, and so is ] at the beginning.
    bool readBracket() noexcept {
        bool const negated = skip("^");
        bool wild = negated;
        ListedCharacters listed(refers_);
        int start = NO_START;  // of a range that may follow
        bool inRange = false;
        for (bool first = true; !atEnd(); first = false) {
            wild = wild || isByte(0x80, 0xFF);
            char const byte = pattern_[at_++];
            if (byte == ']' && !first) {
                addItem(sum_.bracket(listed.characters(negated), wild));
                return true;
            }
            if (byte == '[' && (follows(".") || follows("=") || follows(":"))) {
                char const closing[] = {pattern_[at_], ']'};
                std::size_t const end = pattern_.find({closing, sizeof closing}, at_ + 1);
                if (end == std::string_view::npos) {
                    return false;
                }
                if (closing[0] == ':' && !inRange) {
                    listed.addClass(pattern_.substr(at_ + 1, end - at_ - 1));
                } else {
                    listed.addUnknown();
                }
                at_ = end + sizeof closing;
                wild = true;
                start = NO_START;
                inRange = false;
            } else if (byte == '-' && start != NO_START && !inRange && !follows("]")) {
                inRange = true;
            } else {
                auto const last = static_cast<unsigned char>(byte);
                listed.addRange(inRange ? static_cast<unsigned char>(start) : last, last);
                start = inRange ? NO_START : last;
                inRange = false;
            }
        }
        return false;
    }

    static constexpr int NO_START = -1;

    /// In basic syntax an anchor only at an end.
    void readDollar() noexcept {
        dollars_ = at_ != 0 && pattern_[at_ - 1] == '$' ? dollars_ + 1 : 1;
        ++at_;
        if (extended_ || atEnd() || follows("\\)") || follows("\\|")) {
            addAnchor(sum_.anchor());
        } else {
            addByte('$');
        }
        if (!extended_ && dollars_ > PatternBounds::MAX_DOLLARS) {
            sum_.refuse(PatternHazard::DOLLARS);
        }
    }

    void readCharacter() noexcept {
        char const first = pattern_[at_];
        std::uint32_t bytes = 1;
        if (isByte(0xC0, 0xFF)) {  // the first byte of a character in UTF-8
            while (bytes < 4 && at_ + bytes < pattern_.size() && isByte(0x80, 0xBF, bytes)) {
                ++bytes;
            }
        }
        at_ += bytes;
        addByte(first, bytes);
    }
    bool isByte(unsigned int low, unsigned int high, std::size_t offset = 0) const noexcept {
        unsigned int const byte = static_cast<unsigned char>(pattern_[at_ + offset]);
        return byte >= low && byte <= high;
    }

    std::string_view pattern_;
    bool extended_;
    bool refers_;
    std::size_t at_ = 0;
    std::size_t dollars_ = 0;  ///< in a row, up to here
    std::uint32_t groups_ = 0;
    PatternSum sum_;
    Frame frame_;               ///< of the innermost open group
    std::vector<Frame> outer_;  ///< of the groups around it, the outermost first
};

/// Whether libc would survive a pattern: compiling it, and matching any text with it.
/// @param pattern its bytes up to the NUL, which is what regcomp sees
/// @param extended whether regcomp is going to read it in extended syntax
/// @param recurses if not null, set to whether regexec takes LOOP_STACK_PER_BYTE for each byte of
///   the subject; only so much stack survives matching then
/// @return NONE when it would; a pattern that libc refuses of its own accord counts as harmless
/// @throws std::bad_alloc (a pattern without groups takes no memory)
/// @par Thread safety reentrant.
inline PatternHazard patternHazard(char const* pattern, bool extended, bool* recurses = nullptr) {
    std::size_t const length = ::strnlen(pattern, PatternBounds::MAX_LENGTH + 1);
    if (length > PatternBounds::MAX_LENGTH) {
        return PatternHazard::LENGTH;
    }
    PatternReader reader({pattern, length}, extended);
    PatternHazard const hazard = reader.read();
    if (recurses != nullptr) {
        *recurses = reader.recurses();
    }
    return hazard;
}

}  // namespace ZEBNS2
