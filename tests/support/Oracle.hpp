#pragma once

#include <OrventoCommonRegex.hpp>

#include <regex.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zeb::test {

/// The expected results of the match operations, computed with `regexec`.
class Oracle {
public:
    Oracle(std::string const& pattern, unsigned int options) {
        int const flags = ((options & 1) != 0 ? 0 : REG_EXTENDED) |
                          ((options & 2) != 0 ? REG_ICASE : 0) |
                          ((options & 4) != 0 ? REG_NEWLINE : 0);
        compiles_ = ::regcomp(&compiled_, pattern.c_str(), flags) == 0;
    }
    Oracle(Oracle const&) = delete;
    Oracle& operator=(Oracle const&) = delete;
    ~Oracle() {
        if (compiles_) {
            ::regfree(&compiled_);
        }
    }

    bool compiles() const { return compiles_; }

    bool matches(std::string const& subject) const { return firstMatch(subject).first >= 0; }

    std::pair<int, int> firstMatch(std::string const& subject) const {
        regmatch_t match;
        if (::regexec(&compiled_, subject.c_str(), 1, &match, 0) != 0 || match.rm_so < 0) {
            return {-1, -1};
        }
        return {match.rm_so, match.rm_eo};
    }

    std::vector<ZEBNS2::OffsetPair> allMatches(std::string const& subject) const {
        // As many slots as can be filled, and one more.
        std::vector<regmatch_t> slots(compiled_.re_nsub + 2);
        std::vector<ZEBNS2::OffsetPair> ranges;
        if (::regexec(&compiled_, subject.c_str(), slots.size(), slots.data(), 0) == 0) {
            for (std::size_t i = 0; i < slots.size() && slots[i].rm_so >= 0; ++i) {
                ranges.emplace_back(static_cast<std::uint32_t>(slots[i].rm_so),
                                    static_cast<std::uint32_t>(slots[i].rm_eo));
            }
        }
        return ranges;
    }

    std::vector<ZEBNS2::OffsetPair> allUniqueMatches(std::string const& subject) const {
        std::vector<ZEBNS2::OffsetPair> ranges;
        std::size_t offset = 0;
        while (offset < subject.size()) {
            regmatch_t match;
            if (::regexec(&compiled_, subject.c_str() + offset, 1, &match, REG_NOTBOL) != 0) {
                break;
            }
            ranges.emplace_back(
                static_cast<std::uint32_t>(offset + static_cast<std::size_t>(match.rm_so)),
                static_cast<std::uint32_t>(offset + static_cast<std::size_t>(match.rm_eo)));
            if (match.rm_eo == 0) {
                break;
            }
            offset += static_cast<std::size_t>(match.rm_eo);
        }
        return ranges;
    }

private:
    regex_t compiled_{};
    bool compiles_;
};

}  // namespace zeb::test
