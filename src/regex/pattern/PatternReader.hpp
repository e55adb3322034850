#pragma once

#include <langinfo.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <utility>
#include <vector>

/// @file
/// The one parser of POSIX patterns, in extended and basic syntax, as glibc's regcomp reads them.
///
/// The reader scans the pattern once and reports each construct to a builder, which turns it into a
/// Fragment of any type: sums of costs, a position in a syntax tree, a text. The reader keeps the
/// fragments of open groups on an explicit stack, so that no pattern makes it recurse. For
/// "(a|b*)c" it calls, in this order:
///
///     openGroup(1)  character(a)  sequence({}, a)  character(b)  repeat(b, 0, UNLIMITED)
///     sequence({}, b*)  choice(a, b*)  closeGroup(a|b*)  sequence({}, group)  character(c)
///     sequence(group, c)
///
/// The members of a builder. `Fragment` and `Group` are default-constructible and movable; a
/// default-constructed fragment is the empty text, an empty alternative or the rest of `a{0}`. The
/// reader passes each fragment on once, by std::move; a builder takes it by value or by const
/// reference. PatternBuilder has defaults for members marked with a star.
///
///     Fragment                          a part of the pattern, or the whole pattern
///     Group                             the builder's data for an open group
///     Members                        *  the members of a bracket, see NoMembers
///     bool stopped() const           *  true ends the reading, before the next token
///     Fragment character(std::string_view bytes, bool escaped)
///     Fragment period()
///     Members openBracket(bool negated) *
///     Fragment bracket(std::string_view text, Members const&)   text from [ to ], both included
///     Fragment classEscape(char letter)               one of w W s S
///     Fragment anchor(PatternAnchor)
///     Fragment backReference(std::uint32_t number)    1 to 9, whether or not there is such a group
///     Group openGroup(Group const& outer, Fragment const& before, std::uint32_t number)
///                      numbered from 1; `before` precedes it in its branch
///     Fragment closeGroup(Group const& group, Fragment inner)
///     Fragment sequence(Fragment first, Fragment second)       from the left: ((a b) c)
///     Fragment choice(Fragment first, Fragment second)         from the left: ((a|b)|c)
///     Fragment repeat(Fragment item, int least, int most)      most may be PATTERN_UNLIMITED
///     void dollars(std::size_t row)  *  in basic syntax, after the row-th $ of a row
///
/// What counts as a character:
/// - `bytes` of a character is one byte, or a first byte of UTF-8 (0xC0 to 0xFF) with the
///   continuation bytes that follow it, three at most. glibc repeats a character of the locale as a
///   whole and any other byte alone; a builder to which this matters queries the locale.
/// - `escaped` distinguishes \d from d. They differ under REG_ICASE, where glibc folds the pattern
///   except after a backslash: \d then matches nothing.
/// - An anchor is never repeated. In basic syntax a repeat with nothing to repeat is a character,
///   unescaped even if it was written with a backslash.
///
/// The reader accepts some patterns that regcomp refuses: basic a**, ranges out of order, unknown
/// classes, references to groups that are still open. A builder's result describes libc's matches
/// only if regcomp accepts the pattern.
///
/// Cost: linear in the pattern; memory for the open groups.

namespace ZEBNS2 {

/// Whether a character of the current locale can take several bytes.
inline bool hasMultibyteCharacters() noexcept {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): safe as long as no thread changes the locale
    return MB_CUR_MAX > 1;
}

/// Whether an ASCII byte of a text is always a character. It is in UTF-8 and in all except a few
/// other encodings that contain ASCII; in Shift JIS, Big5, GB18030 and similar ones `[`, `\\` and
/// `{` may be the second byte of a character.
inline bool isASCIITransparent() noexcept {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): safe as long as no thread changes the locale
    return !hasMultibyteCharacters() || std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0;
}

enum class PatternSyntax { BASIC, EXTENDED };

enum class PatternAnchor {
    LINE_START,         ///< ^
    LINE_END,           ///< $
    SUBJECT_START,      ///< \`
    SUBJECT_END,        ///< \'
    WORD_START,         ///< \<
    WORD_END,           ///< \>
    WORD_BOUNDARY,      ///< \b, for glibc an alternative of two anchors
    NOT_WORD_BOUNDARY,  ///< \B, likewise
};

/// The upper bound of a repeat without one.
constexpr int PATTERN_UNLIMITED = -1;

/// How reading a pattern ended.
enum class PatternEnd {
    COMPLETE,
    OPEN_GROUP,  ///< at the end of the pattern, with unclosed groups
    REFUSED,     ///< at a place where regcomp refuses the pattern in any case
    STOPPED,     ///< by the builder
};

/// A builder's Members when it ignores the members of a bracket.
struct NoMembers {
    /// A character is a range of one; a multi-byte character is passed byte by byte.
    void range(unsigned char /*first*/, unsigned char /*last*/) noexcept {}
    /// @param name as in [:alpha:]
    void characterClass(std::string_view /*name*/) noexcept {}
    /// An element that the locale defines: [=a=], [.a.], or the end of a range in this form.
    void localeElement() noexcept {}
};

/// Defaults shared by most builders. A builder derives from it and hides the members that it
/// implements itself; nothing here is virtual.
struct PatternBuilder {
    using Members = NoMembers;
    bool stopped() const noexcept { return false; }
    Members openBracket(bool /*negated*/) noexcept { return {}; }
    void dollars(std::size_t /*row*/) noexcept {}
};

template <class Builder>
class PatternReader {
public:
    using Fragment = typename Builder::Fragment;
    using Group = typename Builder::Group;

    /// @param pattern its bytes up to the NUL, which is what regcomp sees; must outlive the reader
    PatternReader(std::string_view pattern, PatternSyntax syntax, Builder& builder)
        : pattern_(pattern), extended_(syntax == PatternSyntax::EXTENDED), builder_(builder) {}

    /// Reads the pattern; call it once.
    /// @param whole set to the whole pattern when the result is COMPLETE
    /// @throws std::bad_alloc, and what the builder throws
    PatternEnd read(Fragment& whole) {
        while (!atEnd() && !builder_.stopped()) {
            if (!readToken()) {
                return PatternEnd::REFUSED;
            }
        }
        if (builder_.stopped()) {
            return PatternEnd::STOPPED;
        }
        if (!outer_.empty()) {
            return PatternEnd::OPEN_GROUP;
        }
        whole = closeBranches();
        return PatternEnd::COMPLETE;
    }

    std::size_t openGroups() const noexcept { return outer_.size(); }

    /// Offset of the parenthesis (in basic syntax, of its backslash) of the outermost open group;
    /// valid only while there is one.
    std::size_t outermostOpening() const noexcept {
        return outer_.size() > 1 ? outer_[1].opening : frame_.opening;
    }

private:
    /// An open group, or the whole pattern.
    struct Frame {
        Fragment alternatives{};  ///< the complete ones
        Fragment branch{};        ///< the alternative being read, up to `item`
        Fragment item{};          ///< the operand of a repeat
        Group group{};
        std::size_t opening = 0;
        bool hasAlternatives = false;
        bool atStart = true;  ///< of the branch
        bool hasItem = false;
    };

    /// RE_DUP_MAX of glibc.
    static constexpr int MAX_REPEAT = 32767;

    /// Operators in extended syntax, and after a backslash in basic syntax.
    static bool isOperator(char byte) noexcept {
        return byte == '(' || byte == ')' || byte == '|' || byte == '+' || byte == '?' ||
               byte == '{';
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
    bool isByte(unsigned int low, unsigned int high, std::size_t offset = 0) const noexcept {
        unsigned int const byte = static_cast<unsigned char>(pattern_[at_ + offset]);
        return byte >= low && byte <= high;
    }

    void addItem(Fragment item) {
        closeItem();
        frame_.item = std::move(item);
        frame_.hasItem = true;
    }

    /// The byte before the reader's position, as a character.
    void addLastByte(bool escaped = false) {
        addItem(builder_.character(pattern_.substr(at_ - 1, 1), escaped));
    }

    /// No repeat applies to it.
    void addAnchor(PatternAnchor anchor) {
        addItem(builder_.anchor(anchor));
        closeItem();
    }

    void closeItem() {
        if (frame_.hasItem) {
            frame_.branch = builder_.sequence(std::move(frame_.branch), std::move(frame_.item));
            frame_.hasItem = false;
        }
        frame_.atStart = false;
    }

    Fragment closeBranches() {
        closeItem();
        return frame_.hasAlternatives
                   ? builder_.choice(std::move(frame_.alternatives), std::move(frame_.branch))
                   : std::move(frame_.branch);
    }

    void repeatItem(int least, int most) {
        frame_.item = builder_.repeat(std::move(frame_.item), least, most);
    }

    // The functions below return false where regcomp refuses the pattern in any case.

    bool readToken() {
        char const byte = pattern_[at_];
        if (extended_ && isOperator(byte)) {
            ++at_;
            return readOperator(byte, at_ - 1);
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
                return readRepeat(0, PATTERN_UNLIMITED);
            case '^':
                ++at_;
                if (extended_ || (frame_.atStart && !frame_.hasItem)) {
                    addAnchor(PatternAnchor::LINE_START);
                } else {
                    addLastByte();
                }
                return true;
            case '$':
                ++at_;
                readDollar();
                return true;
            case '.':
                ++at_;
                addItem(builder_.period());
                return true;
            default:
                readCharacter(/*escaped=*/false);
                return true;
        }
    }

    /// @param start its offset, including its backslash
    bool readOperator(char op, std::size_t start) {
        switch (op) {
            case '(':
                openGroup(start);
                return true;
            case ')':
                return closeGroup();
            case '|':
                frame_.alternatives = closeBranches();
                frame_.branch = Fragment();
                frame_.hasAlternatives = true;
                frame_.atStart = true;
                return true;
            case '+':
                return readRepeat(1, PATTERN_UNLIMITED);
            case '?':
                return readRepeat(0, 1);
            default:  // {
                return frame_.hasItem && readInterval();
        }
    }

    void openGroup(std::size_t start) {
        closeItem();
        Frame inner;
        inner.group = builder_.openGroup(frame_.group, frame_.branch, ++groups_);
        inner.opening = start;
        outer_.push_back(std::move(frame_));
        frame_ = std::move(inner);
    }

    bool closeGroup() {
        if (outer_.empty()) {
            // In extended syntax a character like any other.
            if (extended_) {
                addLastByte();
            }
            return extended_;
        }
        Fragment group = builder_.closeGroup(frame_.group, closeBranches());
        frame_ = std::move(outer_.back());
        outer_.pop_back();
        addItem(std::move(group));
        return true;
    }

    /// In basic syntax a repeat of nothing is a character like any other.
    bool readRepeat(int least, int most) {
        if (frame_.hasItem) {
            repeatItem(least, most);
        } else if (extended_) {
            return false;
        } else {
            addLastByte();
        }
        return true;
    }

    bool readInterval() {
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
        repeatItem(least, unlimited ? PATTERN_UNLIMITED : most);
        return true;
    }

    static constexpr int NO_NUMBER = -1;

    /// fetch_number of glibc reads tokens, so that \0 is a zero; the other digits after a backslash
    /// are back-references.
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

    bool readEscape() {
        if (atEnd()) {
            return false;
        }
        char const byte = pattern_[at_];
        if (!extended_ && isOperator(byte)) {
            ++at_;
            return readOperator(byte, at_ - 2);
        }
        switch (byte) {
            case 'w':
            case 'W':
            case 's':
            case 'S':
                ++at_;
                addItem(builder_.classEscape(byte));
                return true;
            case '`':
                ++at_;
                addAnchor(PatternAnchor::SUBJECT_START);
                return true;
            case '\'':
                ++at_;
                addAnchor(PatternAnchor::SUBJECT_END);
                return true;
            case '<':
                ++at_;
                addAnchor(PatternAnchor::WORD_START);
                return true;
            case '>':
                ++at_;
                addAnchor(PatternAnchor::WORD_END);
                return true;
            case 'b':
                ++at_;
                addAnchor(PatternAnchor::WORD_BOUNDARY);
                return true;
            case 'B':
                ++at_;
                addAnchor(PatternAnchor::NOT_WORD_BOUNDARY);
                return true;
            default:
                if (byte >= '1' && byte <= '9') {
                    ++at_;
                    addItem(builder_.backReference(static_cast<std::uint32_t>(byte - '0')));
                } else {
                    readCharacter(/*escaped=*/true);
                }
                return true;
        }
    }

    /// After the opening bracket. A backslash is a character here, and so is ] at the beginning.
    bool readBracket() {
        std::size_t const start = at_ - 1;
        typename Builder::Members members = builder_.openBracket(skip("^"));
        for (bool first = true; !atEnd(); first = false) {
            char const byte = pattern_[at_++];
            if (byte == ']' && !first) {
                addItem(builder_.bracket(pattern_.substr(start, at_ - start), members));
                return true;
            }
            if (byte == '[' && startsElement()) {
                bool const named = follows(":");
                std::string_view name;
                if (!readElement(name)) {
                    return false;
                }
                if (named) {
                    members.characterClass(name);
                } else {
                    members.localeElement();
                }
            } else if (!readMember(members, static_cast<unsigned char>(byte))) {
                return false;
            }
        }
        return false;
    }

    /// A character of a bracket, or a range that begins with it.
    template <class Members>
    bool readMember(Members& members, unsigned char first) {
        readTrail(members);
        bool const isRange = follows("-") && !follows("-]");
        if (!isRange) {
            members.range(first, first);
            return true;
        }
        ++at_;
        if (atEnd()) {
            return false;
        }
        char const byte = pattern_[at_++];
        if (byte == '[' && startsElement()) {
            std::string_view name;
            members.range(first, first);
            members.localeElement();
            return readElement(name);
        }
        members.range(first, static_cast<unsigned char>(byte));
        readTrail(members);
        return true;
    }

    bool startsElement() const noexcept { return follows(".") || follows("=") || follows(":"); }

    /// [:name:], [=name=] or [.name.], from the character after its bracket.
    bool readElement(std::string_view& name) noexcept {
        char const closing[] = {pattern_[at_], ']'};
        std::size_t const end = pattern_.find({closing, sizeof closing}, at_ + 1);
        if (end == std::string_view::npos) {
            return false;
        }
        name = pattern_.substr(at_ + 1, end - at_ - 1);
        at_ = end + sizeof closing;
        return true;
    }

    /// In basic syntax $ is an anchor only at an end. glibc's peek_token tests that by reading the
    /// next token, so it recurses once for each consecutive $.
    void readDollar() {
        dollars_ = at_ > 1 && pattern_[at_ - 2] == '$' ? dollars_ + 1 : 1;
        if (extended_ || atEnd() || follows("\\)") || follows("\\|")) {
            addAnchor(PatternAnchor::LINE_END);
        } else {
            addLastByte();
        }
        if (!extended_) {
            builder_.dollars(dollars_);
        }
    }

    void readCharacter(bool escaped) {
        std::size_t const bytes = isByte(0x80, 0xFF) ? characterLength() : 1;
        at_ += bytes;
        addItem(builder_.character(pattern_.substr(at_ - bytes, bytes), escaped));
    }

    /// Bytes of the character at the reader's position, which is not ASCII. Bytes that are no
    /// character in the locale are read one by one, like libc does.
    std::size_t characterLength() const noexcept {
        if (!isASCIITransparent()) {
            return lengthInLocale(at_);
        }
        std::size_t bytes = 1;
        if (isByte(0xC0, 0xFF)) {  // the first byte of a character in UTF-8
            while (bytes < 4 && at_ + bytes < pattern_.size() && isByte(0x80, 0xBF, bytes)) {
                ++bytes;
            }
        }
        return bytes;
    }

    std::size_t lengthInLocale(std::size_t at) const noexcept {
        std::mbstate_t state{};
        // NOLINTNEXTLINE(concurrency-mt-unsafe): it is, with its own state
        std::size_t const bytes = std::mbrlen(pattern_.data() + at, pattern_.size() - at, &state);
        return bytes <= pattern_.size() - at ? std::max<std::size_t>(bytes, 1) : 1;
    }

    /// The bytes in a bracket that continue a character: in UTF-8 none of them can be taken for
    /// anything else, so they are passed as members.
    template <class Members>
    void readTrail(Members& members) {
        if (static_cast<unsigned char>(pattern_[at_ - 1]) < 0x80 || isASCIITransparent()) {
            return;
        }
        for (std::size_t bytes = lengthInLocale(at_ - 1); bytes > 1; --bytes) {
            auto const byte = static_cast<unsigned char>(pattern_[at_++]);
            members.range(byte, byte);
        }
    }

    std::string_view pattern_;
    bool extended_;
    Builder& builder_;
    std::size_t at_ = 0;
    std::size_t dollars_ = 0;  ///< in a row, up to here
    std::uint32_t groups_ = 0;
    Frame frame_;               ///< of the innermost open group
    std::vector<Frame> outer_;  ///< of the groups around it, the outermost first
};

}  // namespace ZEBNS2
