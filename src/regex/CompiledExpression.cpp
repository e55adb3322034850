#include "CompiledExpression.hpp"

#include <cstdint>

#include "OwnStackSearch.hpp"
#include "pattern/LibcCost.hpp"

// A text is never copied to be searched: regexec is told by REG_STARTEND where a subject ends, so
// that a line, or the rest of a line after a match, is matched where it lies. It also saves regexec
// from measuring the subject, which would make the replacement of all matches of a line quadratic.
// As the flag lets NUL bytes through, callers cut subjects at their first NUL; everything else is
// as if the subject were a string of its own.

namespace ZEBNS2 {

namespace {

PatternSyntax syntaxOf(int flags) noexcept {
    return (flags & REG_EXTENDED) != 0 ? PatternSyntax::EXTENDED : PatternSyntax::BASIC;
}

}  // namespace

int compileExpression(regex_t& compiled, char const* pattern, int flags, bool* recurses) {
    if (patternHazard(pattern, syntaxOf(flags), recurses) != PatternHazard::NONE) {
        return REG_ESPACE;
    }
    return ::regcomp(&compiled, pattern, flags);
}

CompilationError compilationError(int code, regex_t const& compiled) noexcept {
    CompilationError text{};
    ::regerror(code, &compiled, text.data(), text.size());
    return text;
}

CompiledExpression::CompiledExpression(char const* pattern, int flags) : matcher_(pattern, flags) {
    PatternSyntax const syntax = syntaxOf(flags);
    if (patternHazard(pattern, syntax, &recurses_) != PatternHazard::NONE) {
        error_ = REG_ESPACE;
        return;
    }
    // Under REG_ICASE no letter is required.
    if ((flags & REG_ICASE) == 0) {
        literal_ = RequiredLiteral(pattern, syntax);
    }
    error_ = ::regcomp(&expression_, pattern, flags);
}

CompiledExpression::~CompiledExpression() {
    if (error_ == 0) {
        ::regfree(&expression_);
    }
}

bool CompiledExpression::search(std::string_view subject, regmatch_t* slots, std::size_t slotCount,
                                int flags) const noexcept {
    if (subject.size() > MAX_SUBJECT_LENGTH) {
        return false;
    }
    if (!literal_.text().empty()) {
        std::size_t const at = literal_.find(subject);
        if (at == std::string_view::npos) {
            return false;
        }
        if (literal_.isWhole()) {
            slots[0] = {static_cast<regoff_t>(at),
                        static_cast<regoff_t>(at + literal_.text().size())};
            if (slotCount > 1) {
                slots[1].rm_so = -1;
            }
            return true;
        }
    }
    std::size_t start = 0;
    if (Matcher const* const matcher = matcher_.get(subject.size())) {
        switch (matcher->search(subject, slots, slotCount, flags)) {
            case Matcher::Answer::NO_MATCH:
                return false;
            case Matcher::Answer::MATCH:
                return true;
            case Matcher::Answer::ASK_GROUPS:
                start = static_cast<std::size_t>(slots[0].rm_so);
                break;
            case Matcher::Answer::ASK_LIBC:
                break;
        }
    }
    return searchByLibc(subject, start, slots, slotCount, flags);
}

bool CompiledExpression::searchByLibc(std::string_view subject, std::size_t start,
                                      regmatch_t* slots, std::size_t slotCount,
                                      int flags) const noexcept {
    auto const length = static_cast<regoff_t>(subject.size());
    slots[0].rm_so = static_cast<regoff_t>(start);
    slots[0].rm_eo = length;
    flags |= REG_STARTEND;
    std::uint64_t const stack = std::uint64_t{subject.size()} * LibcLimits::LOOP_STACK_PER_BYTE;
    int const result = recurses_ && stack > CALLERS_STACK
                           ? searchOnOwnStack(expression_, subject.data(), slotCount, slots, flags,
                                              stack + FIXED_STACK)
                           : ::regexec(&expression_, subject.data(), slotCount, slots, flags);
    // Reject offsets outside the subject, whatever libc answers.
    return result == 0 && 0 <= slots[0].rm_so && slots[0].rm_so <= slots[0].rm_eo &&
           slots[0].rm_eo <= length;
}

}  // namespace ZEBNS2
