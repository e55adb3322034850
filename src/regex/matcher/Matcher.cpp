#include "Matcher.hpp"

#include <gnu/libc-version.h>

#include <cwchar>
#include <utility>

#include "../pattern/LibcLimits.hpp"
#include "../pattern/PatternReader.hpp"
#include "Threads.hpp"

namespace ZEBNS2 {

namespace {

/// Builds the syntax tree, unless the pattern contains something that is not handled.
class TreeBuilder : public PatternBuilder {
public:
    struct Fragment {
        SyntaxTree::Index node = SyntaxTree::NOTHING;
        bool isSplit = false;  ///< a character for the reader, several for the locale
    };
    struct Group {
        std::uint32_t number = 0;
    };
    /// Whether a bracket is not negated and lists only ASCII.
    struct Members {
        bool isPlain = true;
        bool isNegated = false;
        void range(unsigned char first, unsigned char last) noexcept {
            isPlain = isPlain && first < 0x80 && last < 0x80;
        }
        void characterClass(std::string_view /*name*/) noexcept { isPlain = false; }
        void localeElement() noexcept { isPlain = false; }
    };

    explicit TreeBuilder(int flags) : atoms_(flags), foldsCase_((flags & REG_ICASE) != 0) {
        failed_ = !locale_.isUTF8() && !locale_.isSingleByte();
    }

    bool stopped() const noexcept { return failed_; }

    Fragment character(std::string_view bytes, bool escaped) {
        auto const first = static_cast<unsigned char>(bytes[0]);
        // glibc folds case before it reads the escaped character: a backslash and a long s is `\S`.
        // In single-byte locales the backslash applies to the first byte only.
        failed_ = failed_ || (escaped && foldsCase_ && bytes.size() > 1);
        if (first >= 0x80 && locale_.isUTF8()) {
            return otherCharacter(bytes);
        }
        if (bytes.size() > 1) {
            Fragment whole;
            for (char const& byte : bytes) {
                whole = sequence(whole, atom({&byte, 1}, /*beyondASCII=*/false));
            }
            whole.isSplit = true;
            return whole;
        }
        bool const isLetter = (first | 0x20) >= 'a' && (first | 0x20) <= 'z';
        if (first < 0x80 && !(foldsCase_ && isLetter)) {
            Atom atom;
            atom.bytes.set(first);
            return {tree_.atom(atom)};
        }
        std::string written(escaped ? "\\" : "");
        written += bytes;
        return atom(written, /*beyondASCII=*/false);
    }
    Fragment period() { return atom(".", /*beyondASCII=*/true); }
    Members openBracket(bool negated) noexcept {
        Members members;
        members.isNegated = negated;
        return members;
    }
    Fragment bracket(std::string_view text, Members const& members) {
        failed_ = failed_ || !locale_.sortsByCode();
        return atom(text, !members.isPlain || members.isNegated);
    }
    Fragment classEscape(char letter) {
        failed_ = failed_ || !locale_.sortsByCode();
        char const text[] = {'\\', letter};
        return atom({text, sizeof text}, /*beyondASCII=*/true);
    }
    Fragment anchor(PatternAnchor anchor) {
        switch (anchor) {
            case PatternAnchor::LINE_START:
                return {tree_.lineStart()};
            case PatternAnchor::LINE_END:
                return {tree_.lineEnd()};
            default:
                failed_ = true;
                return {};
        }
    }
    Fragment backReference(std::uint32_t /*number*/) noexcept {
        failed_ = true;
        return {};
    }
    Group openGroup(Group const& /*outer*/, Fragment const& /*before*/,
                    std::uint32_t number) noexcept {
        return {number};
    }
    Fragment closeGroup(Group const& group, Fragment inner) {
        return {tree_.group(inner.node, group.number)};
    }
    Fragment sequence(Fragment first, Fragment second) {
        return {tree_.sequence(first.node, second.node)};
    }
    Fragment choice(Fragment first, Fragment second) {
        return {tree_.choice(first.node, second.node)};
    }
    Fragment repeat(Fragment item, int least, int most) {
        failed_ = failed_ || item.isSplit;
        return {tree_.repeat(item.node, least, most)};
    }

    SyntaxTree const& tree() const noexcept { return tree_; }
    LocaleMark const& locale() const noexcept { return locale_; }

private:
    Fragment atom(std::string_view written, bool beyondASCII) {
        std::optional<ByteSet> const bytes = atoms_.bytesOf(written);
        failed_ = failed_ || !bytes;
        return {tree_.atom({bytes.value_or(ByteSet()), beyondASCII && locale_.isUTF8()})};
    }

    /// A character that is not ASCII, in UTF-8.
    Fragment otherCharacter(std::string_view bytes) {
        std::mbstate_t state{};
        wchar_t code;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): it is, with its own state
        std::size_t const length = std::mbrtowc(&code, bytes.data(), bytes.size(), &state);
        failed_ = failed_ || length != bytes.size();
        // Some have an ASCII letter as their other case: the long s, the kelvin sign.
        return foldsCase_ ? atom(bytes, /*beyondASCII=*/true)
                          : Fragment{tree_.atom({ByteSet(), /*beyondASCII=*/true})};
    }

    LocaleMark locale_ = LocaleMark::current();
    LibcAtoms atoms_;
    bool foldsCase_;
    bool failed_ = false;
    SyntaxTree tree_;
};

bool isASCII(std::string_view text) noexcept {
    // The compiler vectorises it.
    unsigned char bits = 0;
    for (char const byte : text) {
        bits = static_cast<unsigned char>(bits | static_cast<unsigned char>(byte));
    }
    return bits < 0x80;
}

/// Whether libc's order of preference is the one that was measured.
bool isMeasured() noexcept { return LibcLimits::isMeasured(::gnu_get_libc_version()); }

}  // namespace

std::unique_ptr<Matcher const> Matcher::of(std::string_view pattern, int flags,
                                           std::string_view literal) {
    TreeBuilder builder(flags);
    bool const extended = (flags & REG_EXTENDED) != 0;
    PatternReader<TreeBuilder> reader(
        pattern, extended ? PatternSyntax::EXTENDED : PatternSyntax::BASIC, builder);
    TreeBuilder::Fragment whole;
    if (reader.read(whole) != PatternEnd::COMPLETE || builder.stopped()) {
        return nullptr;
    }
    std::unique_ptr<Matcher> matcher(new Matcher);
    matcher->mode_ = {builder.locale().isUTF8(), (flags & REG_NEWLINE) != 0};
    matcher->onlyASCII_ = matcher->mode_.utf8 && (flags & REG_ICASE) != 0;
    matcher->positions_ = Positions::of(builder.tree(), whole.node);
    if (!matcher->positions_) {
        return nullptr;
    }
    matcher->automaton_ = Automaton::of(*matcher->positions_, matcher->mode_);
    if (!matcher->automaton_) {
        return nullptr;
    }
    matcher->beforeLiteral_ = BeforeLiteral(*matcher->positions_, literal);
    matcher->hasTags_ = builder.tree().groups() != 0;
    if (matcher->hasTags_) {
        matcher->groups_ = Groups::of(*matcher->positions_, *matcher->automaton_);
        if (!matcher->groups_ && builder.tree().hasSimpleAnchors() && isMeasured()) {
            matcher->preferredGroups_ = PreferredGroups::of(*matcher->positions_);
        }
    }
    matcher->automaton_->dropMembers();
    if (matcher->automaton_->isDominating()) {
        matcher->positions_.reset();
    }
    return matcher;
}

Matcher::Answer Matcher::search(std::string_view subject, regmatch_t* slots, std::size_t slotCount,
                                int flags, std::size_t literalAt) const noexcept {
    if (onlyASCII_ && !isASCII(subject)) {
        return Answer::ASK_LIBC;
    }
    bool const notLineStart = (flags & REG_NOTBOL) != 0;
    bool const wantsGroups = slotCount > 1 && groups_;
    Trail trail;
    Span span;
    Found found = automaton_->find(subject, firstStart(subject, literalAt), notLineStart, span,
                                   wantsGroups ? &trail : nullptr);
    if (found == Found::TOO_SLOW) {
        found = findByThreads(*positions_, mode_, subject, span.start, notLineStart, span);
        if (found == Found::YES && wantsGroups) {
            automaton_->trace(subject, notLineStart, span.start, trail);
        }
    }
    if (found != Found::YES) {
        return found == Found::NO ? Answer::NO_MATCH : Answer::ASK_LIBC;
    }
    slots[0] = {static_cast<regoff_t>(span.start), static_cast<regoff_t>(span.end)};
    if (slotCount == 1) {
        return Answer::MATCH;
    }
    if (!hasTags_) {
        slots[1] = {-1, -1};
        return Answer::MATCH;
    }
    if (groups_ && !trail.isFull()) {
        groups_->find(*automaton_, trail, span.end, slots, slotCount);
        return Answer::MATCH;
    }
    if (preferredGroups_) {
        bool const atLineEnd =
            span.end == subject.size() || (mode_.newline && subject[span.end] == '\n');
        bool const atLineStart =
            span.start == 0 ? !notLineStart : mode_.newline && subject[span.start - 1] == '\n';
        if (preferredGroups_->find(subject, span, atLineStart, atLineEnd, slots, slotCount)) {
            return Answer::MATCH;
        }
    }
    return Answer::ASK_GROUPS;
}

}  // namespace ZEBNS2
