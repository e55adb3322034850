#include "CompiledExpression.hpp"

namespace ZEBNS2 {

CompiledExpression::CompiledExpression(char const* pattern, int flags)
    : libc_(pattern, flags), matcher_(error() == 0 ? pattern : "", flags) {
    // Under REG_ICASE no letter is required.
    if (error() == 0 && (flags & REG_ICASE) == 0) {
        bool const extended = (flags & REG_EXTENDED) != 0;
        literal_ =
            RequiredLiteral(pattern, extended ? PatternSyntax::EXTENDED : PatternSyntax::BASIC);
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
    return libc_.search(subject, start, slots, slotCount, flags);
}

}  // namespace ZEBNS2
