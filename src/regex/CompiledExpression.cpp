#include "CompiledExpression.hpp"

namespace ZEBNS2 {

namespace {

RequiredLiteral literalOf(char const* pattern, int flags) {
    // Under REG_ICASE no letter is required.
    if ((flags & REG_ICASE) != 0) {
        return RequiredLiteral();
    }
    bool const extended = (flags & REG_EXTENDED) != 0;
    return RequiredLiteral(pattern, extended ? PatternSyntax::EXTENDED : PatternSyntax::BASIC);
}

}  // namespace

CompiledExpression::CompiledExpression(char const* pattern, int flags)
    : libc_(pattern, flags),
      literal_(error() == 0 ? literalOf(pattern, flags) : RequiredLiteral()),
      matcher_(error() == 0 ? pattern : "", flags, literal_.text()) {}

bool CompiledExpression::search(std::string_view subject, regmatch_t* slots, std::size_t slotCount,
                                int flags) const noexcept {
    if (subject.size() > MAX_SUBJECT_LENGTH) {
        return false;
    }
    std::size_t literalAt = 0;
    if (!literal_.text().empty()) {
        literalAt = literal_.find(subject);
        if (literalAt == std::string_view::npos) {
            return false;
        }
        if (literal_.isWhole()) {
            slots[0] = {static_cast<regoff_t>(literalAt),
                        static_cast<regoff_t>(literalAt + literal_.text().size())};
            if (slotCount > 1) {
                slots[1].rm_so = -1;
            }
            return true;
        }
    }
    std::size_t start = 0;
    if (Matcher const* const matcher = matcher_.get(subject.size())) {
        switch (matcher->search(subject, slots, slotCount, flags, literalAt)) {
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
