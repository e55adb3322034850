#pragma once

#include <regex.h>

#include <cstddef>
#include <string>
#include <vector>

#include "regex/matcher/Matcher.hpp"
#include "regex/pattern/RequiredLiteral.hpp"

namespace zeb::test {

/// The literal that every match of a pattern contains, as far as it is known.
/// @param flags flags of regcomp
inline ZEBNS2::RequiredLiteral requiredLiteral(std::string const& pattern, int flags) {
    if ((flags & REG_ICASE) != 0) {
        return ZEBNS2::RequiredLiteral();
    }
    bool const extended = (flags & REG_EXTENDED) != 0;
    return ZEBNS2::RequiredLiteral(
        pattern, extended ? ZEBNS2::PatternSyntax::EXTENDED : ZEBNS2::PatternSyntax::BASIC);
}

/// A pattern as libc compiles it, and how the matcher's answers differ from libc's.
class MatcherOracle {
public:
    MatcherOracle(std::string const& pattern, int flags)
        : compiles_(::regcomp(&compiled_, pattern.c_str(), flags) == 0) {}
    MatcherOracle(MatcherOracle const&) = delete;
    MatcherOracle& operator=(MatcherOracle const&) = delete;
    ~MatcherOracle() {
        if (compiles_) {
            ::regfree(&compiled_);
        }
    }

    bool compiles() const { return compiles_; }
    /// The match and all groups.
    std::size_t slots() const { return compiled_.re_nsub + 1; }

    /// Searches by libc, from an offset on.
    bool search(std::string const& subject, std::vector<regmatch_t>& slots, int flags,
                std::size_t from = 0) const {
        slots[0].rm_so = static_cast<regoff_t>(from);
        slots[0].rm_eo = static_cast<regoff_t>(subject.size());
        return ::regexec(&compiled_, subject.data(), slots.size(), slots.data(),
                         flags | REG_STARTEND) == 0;
    }

    /// What libc and the matcher disagree about; empty when they agree.
    /// @param literalAt where the matcher's literal begins in the subject, or 0
    std::string difference(ZEBNS2::Matcher const& matcher, std::string const& subject,
                           std::size_t slotCount, int flags, std::size_t literalAt = 0) const {
        using Answer = ZEBNS2::Matcher::Answer;
        std::vector<regmatch_t> expected(slotCount);
        std::vector<regmatch_t> found(slotCount, regmatch_t{-1, -1});
        Answer const answer = matcher.search(subject, found.data(), slotCount, flags, literalAt);
        if (answer == Answer::ASK_LIBC) {
            return "";
        }
        bool const matches = search(subject, expected, flags);
        if (matches != (answer != Answer::NO_MATCH)) {
            return matches ? "libc matches at " + text(expected) : "libc does not match";
        }
        if (!matches) {
            return "";
        }
        if (!isSame(expected[0], found[0])) {
            return text(expected) + " but the span is " + text(found);
        }
        if (answer == Answer::ASK_GROUPS) {
            // libc is going to be asked from the start of the span.
            auto const start = static_cast<std::size_t>(found[0].rm_so);
            if (!search(subject, found, flags, start)) {
                return "libc does not match from the span's start";
            }
        }
        for (std::size_t i = 1; i < slotCount; ++i) {
            if (!isSame(expected[i], found[i])) {
                return text(expected) + " but the groups are " + text(found);
            }
        }
        return "";
    }

private:
    static bool isSame(regmatch_t const& a, regmatch_t const& b) {
        return a.rm_so == b.rm_so && a.rm_eo == b.rm_eo;
    }
    static std::string text(std::vector<regmatch_t> const& slots) {
        std::string text;
        for (regmatch_t const& slot : slots) {
            text += '(' + std::to_string(slot.rm_so) + ',' + std::to_string(slot.rm_eo) + ')';
        }
        return text;
    }

    regex_t compiled_{};
    bool compiles_;
};

}  // namespace zeb::test
