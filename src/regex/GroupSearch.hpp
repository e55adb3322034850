#pragma once

#include "OrventoCommonRegex.hpp"

#include <regex.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "CompiledExpression.hpp"

/// @file
/// Shared by the two sources of the unit OrventoCommonRegex: searches for an expression and its
/// groups, and the offsets and texts found.

namespace ZEBNS2 {

/// The part of a text that the C library sees.
inline std::string_view upToNul(std::string_view text) noexcept {
    return text.substr(0, text.find('\0'));
}

/// The offsets of a match that took part, plus `base` bytes.
inline OffsetPair offsetsOf(regmatch_t const& match, std::size_t base = 0) noexcept {
    return {static_cast<std::uint32_t>(base + static_cast<std::size_t>(match.rm_so)),
            static_cast<std::uint32_t>(base + static_cast<std::size_t>(match.rm_eo))};
}

/// The text of a match; an invalid end, before the start or beyond the subject, means the subject's
/// end.
inline std::string_view textOf(std::string_view subject, OffsetPair const& range) noexcept {
    std::size_t const start = std::min<std::size_t>(range.first, subject.size());
    return subject.substr(start, range.second - range.first);
}

inline Array<String> getAllSubstrings(std::string_view subject, Array<OffsetPair> const& ranges) {
    Array<String> texts;
    texts.reserve(ranges.size());
    for (OffsetPair const& range : ranges) {
        texts.append(textOf(subject, range));
    }
    return texts;
}

static_assert(RegularExpression::MAX_SUBJECT_LENGTH == CompiledExpression::MAX_SUBJECT_LENGTH);

class RegularExpression::Compiled : public CompiledExpression {
public:
    using CompiledExpression::CompiledExpression;

    /// The first match in `subject` up to its NUL.
    bool find(std::string_view subject, regmatch_t& match) const noexcept {
        return search(upToNul(subject), &match, 1, /*flags=*/0);
    }
};

/// An expression and the slots for its match and groups, reused by one search after another.
class RegularExpression::Search {
public:
    /// With as many slots as the expression can fill.
    explicit Search(RegularExpression const& expression)
        : Search(expression, expression.compiled_ ? expression.compiled_->groups() + 1 : 1) {}

    Search(RegularExpression const& expression, std::size_t slotCount)
        : compiled_(expression.compiled_.get()),
          slotCount_(slotCount),
          slots_(new regmatch_t[slotCount]) {}

    /// Whether there is a match in `subject`, which contains no NUL.
    bool find(std::string_view subject) noexcept {
        return compiled_ != nullptr &&
               compiled_->search(subject, slots_.get(), slotCount_, /*flags=*/0);
    }

    /// What every match contains.
    RequiredLiteral requiredLiteral() const noexcept {
        return compiled_ != nullptr ? compiled_->requiredLiteral() : RequiredLiteral();
    }

    /// The match found last.
    OffsetPair match() const noexcept { return offsetsOf(slots_[0]); }

    /// The match found last, then its groups up to the first that took no part in it.
    Array<OffsetPair> groups() const {
        Array<OffsetPair> ranges;
        for (std::size_t i = 0, count = groupCount(); i < count; ++i) {
            ranges.append(group(i));
        }
        return ranges;
    }

    /// How many `groups` there are, and the one at `index`.
    std::size_t groupCount() const noexcept {
        std::size_t count = 0;
        while (count < slotCount_ && slots_[count].rm_so >= 0) {
            ++count;
        }
        return count;
    }
    OffsetPair group(std::size_t index) const noexcept { return offsetsOf(slots_[index]); }

private:
    Compiled const* compiled_;
    std::size_t slotCount_;
    std::unique_ptr<regmatch_t[]> slots_;
};

}  // namespace ZEBNS2
