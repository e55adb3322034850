#include "RequiredLiteral.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace ZEBNS2 {

namespace {

/// How common a byte is in texts, roughly: searching for the rarest byte gives the fewest false
/// hits.
std::size_t commonness(char byte) noexcept {
    constexpr std::string_view COMMON = "zqjxkvbpygfwmucldrhsnioate 0123456789";
    return COMMON.find(byte) + 1;  // 0 for any other
}

/// Consecutive literal characters of the pattern: a range of `LiteralBuilder::bytes`.
struct Run {
    std::size_t begin = 0;
    std::size_t end = 0;

    std::size_t length() const noexcept { return end - begin; }

    /// Whether `next` continues this run; an empty run joins any.
    bool joins(Run const& next) const noexcept {
        return end == next.begin || length() == 0 || next.length() == 0;
    }
    /// Both as one; they must join.
    Run with(Run const& next) const noexcept {
        if (length() == 0) {
            return next;
        }
        return next.length() == 0 ? *this : Run{begin, next.end};
    }
};

/// The literals of the fragments of a pattern.
class LiteralBuilder : public PatternBuilder {
public:
    struct Fragment {
        Run prefix;         ///< with which all its texts begin
        Run suffix;         ///< with which all its texts end
        Run longest;        ///< that all its texts contain
        bool exact = true;  ///< its only text is all three
    };
    struct Group {};

    std::string const& bytes() const noexcept { return bytes_; }

    /// Whether there were only characters so far.
    bool plain() const noexcept { return plain_; }

    /// Bytes beyond ASCII are not literal: the locale decides what they mean.
    Fragment character(std::string_view bytes, bool /*escaped*/) {
        if ((bytes.front() & 0x80) != 0) {
            return unknown();
        }
        bytes_ += bytes;
        Run const run{bytes_.size() - 1, bytes_.size()};
        return {run, run, run, /*exact=*/true};
    }
    Fragment period() noexcept { return unknown(); }
    Fragment bracket(std::string_view /*text*/, Members const& /*members*/) noexcept {
        return unknown();
    }
    Fragment classEscape(char /*letter*/) noexcept { return unknown(); }
    Fragment backReference(std::uint32_t /*number*/) noexcept { return unknown(); }
    /// It takes nothing, so the parts before and after it are adjacent in the text.
    Fragment anchor(PatternAnchor /*kind*/) noexcept {
        plain_ = false;
        return {};
    }
    Group openGroup(Group /*outer*/, Fragment const& /*before*/,
                    std::uint32_t /*number*/) noexcept {
        plain_ = false;
        return {};
    }
    Fragment closeGroup(Group /*group*/, Fragment const& inner) noexcept { return inner; }
    Fragment choice(Fragment const& /*first*/, Fragment const& /*second*/) noexcept {
        return unknown();
    }
    Fragment repeat(Fragment item, int least, int most) noexcept {
        if (least == 0) {
            return unknown();
        }
        plain_ = false;
        item.exact = item.exact && most == 1;
        return item;
    }
    Fragment sequence(Fragment const& a, Fragment const& b) noexcept {
        bool const joined = a.suffix.joins(b.prefix);
        Run const middle = joined ? a.suffix.with(b.prefix) : Run{};
        if (a.exact && b.exact && joined) {
            return {middle, middle, middle, /*exact=*/true};
        }
        Fragment whole;
        whole.exact = false;
        whole.prefix = a.exact && joined ? middle : a.prefix;
        whole.suffix = b.exact && joined ? middle : b.suffix;
        whole.longest = longer(longer(a.longest, middle), b.longest);
        return whole;
    }

private:
    Fragment unknown() noexcept {
        plain_ = false;
        Fragment fragment;
        fragment.exact = false;
        return fragment;
    }
    static Run longer(Run const& a, Run const& b) noexcept {
        return b.length() > a.length() ? b : a;
    }

    std::string bytes_;  ///< the literal characters, in the order of the pattern
    bool plain_ = true;
};

}  // namespace

RequiredLiteral::RequiredLiteral(std::string_view pattern, PatternSyntax syntax) {
    if (!isASCIITransparent()) {
        return;
    }
    LiteralBuilder builder;
    LiteralBuilder::Fragment whole;
    if (PatternReader<LiteralBuilder>(pattern, syntax, builder).read(whole) !=
        PatternEnd::COMPLETE) {
        return;
    }
    length_ = std::min(whole.longest.length(), MAX_LENGTH);
    std::copy_n(builder.bytes().data() + whole.longest.begin, length_, bytes_.begin());
    isWhole_ = builder.plain() && length_ != 0 && whole.longest.length() == length_;
    for (std::size_t i = 1; i < length_; ++i) {
        if (commonness(bytes_[i]) < commonness(bytes_[rarest_])) {
            rarest_ = i;
        }
    }
}

std::size_t RequiredLiteral::find(std::string_view subject) const noexcept {
    if (subject.size() < length_) {
        return std::string_view::npos;
    }
    char const* const begin = subject.data();
    char const* const end = begin + (subject.size() - length_) + rarest_ + 1;
    for (char const* at = begin + rarest_; at < end; ++at) {
        at = static_cast<char const*>(
            std::memchr(at, bytes_[rarest_], static_cast<std::size_t>(end - at)));
        if (at == nullptr) {
            break;
        }
        if (std::memcmp(at - rarest_, bytes_.data(), length_) == 0) {
            return static_cast<std::size_t>(at - begin) - rarest_;
        }
    }
    return std::string_view::npos;
}

}  // namespace ZEBNS2
