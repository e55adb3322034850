#include "LibcAtoms.hpp"

#include <ctype.h>
#include <langinfo.h>
#include <regex.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace ZEBNS2 {

LocaleMark LocaleMark::current() noexcept {
    // NOLINTBEGIN(concurrency-mt-unsafe): safe as long as no thread changes the locale
    LocaleMark mark;
    char const* const encoding = ::nl_langinfo(CODESET);
    mark.characters_ = *::__ctype_b_loc();
    mark.encoding_ = encoding;
    mark.collation_ = ::nl_langinfo(_NL_COLLATE_CODESET);
    mark.utf8_ = std::strcmp(encoding, "UTF-8") == 0;
    mark.singleByte_ = MB_CUR_MAX == 1;
    // The item is a number, returned in place of the pointer.
    auto const rules = reinterpret_cast<std::uintptr_t>(::nl_langinfo(_NL_COLLATE_NRULES));
    mark.sortsByCode_ = static_cast<std::uint32_t>(rules) == 0;
    // NOLINTEND(concurrency-mt-unsafe)
    return mark;
}

std::optional<ByteSet> LibcAtoms::bytesOf(std::string_view text) {
    auto known = known_.find(text);
    if (known == known_.end()) {
        std::string key(text);
        std::optional<ByteSet> const bytes = ask(key);
        known = known_.emplace(std::move(key), bytes).first;
    }
    return known->second;
}

std::optional<ByteSet> LibcAtoms::ask(std::string const& text) const {
    // Optional, so that every query matches: when memory is exhausted, regexec also reports no
    // match.
    bool const extended = (flags_ & REG_EXTENDED) != 0;
    std::string const pattern = extended ? "(" + text + ")?" : "\\(" + text + "\\)\\{0,1\\}";
    regex_t compiled;
    if (::regcomp(&compiled, pattern.c_str(), flags_) != 0) {
        return std::nullopt;
    }
    ByteSet bytes;
    bool answered = true;
    unsigned int const highest = locale_.isUTF8() ? 0x7F : 0xFF;
    for (unsigned int byte = 1; byte <= highest && answered; ++byte) {
        char const subject[] = {static_cast<char>(byte), '\0'};
        regmatch_t match;
        match.rm_so = 0;
        match.rm_eo = 1;
        answered = ::regexec(&compiled, subject, 1, &match, REG_STARTEND) == 0 &&
                   match.rm_so == 0 && (match.rm_eo == 0 || match.rm_eo == 1);
        bytes[byte] = match.rm_eo == 1;
    }
    ::regfree(&compiled);
    return answered ? std::optional<ByteSet>(bytes) : std::nullopt;
}

}  // namespace ZEBNS2
