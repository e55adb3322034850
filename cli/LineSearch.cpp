#include "LineSearch.hpp"

#include <langinfo.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace zeb::cli {

using ZEBNS2::OffsetPair;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

namespace {

/// Whether a byte below 0x80 is always a character of its own. In some encodings it may also be the
/// second byte of one.
bool isAsciiSafe() {
    return MB_CUR_MAX == 1 || std::string_view(::nl_langinfo(CODESET)) == "UTF-8";
}

/// Whether the pattern matches just where it stands in a text byte for byte.
bool isLiteral(std::string const& pattern, LineSearch::Options options) {
    auto const plain = [](char byte) {
        return static_cast<unsigned char>(byte) < 0x80 && byte != '\n';
    };
    return options == RegularExpression::EXTENDED_SYNTAX && isAsciiSafe() &&
           std::all_of(pattern.begin(), pattern.end(), plain) &&
           RegularExpression::escapeRegexSpecialCharacters(pattern, options) == String(pattern);
}

bool isBetter(OffsetPair const& a, OffsetPair const& b) {
    return a.first < b.first || (a.first == b.first && a.second > b.second);
}

}  // namespace

LineSearch::LineSearch(std::vector<std::string> const& patterns, Options options) {
    expressions_.reserve(patterns.size());
    for (std::string const& pattern : patterns) {
        expressions_.emplace_back(String(pattern), options);
        hasGroups_ = hasGroups_ || pattern.find('(') != std::string::npos;
    }
    if (patterns.size() == 1 && isLiteral(patterns[0], options)) {
        required_ = patterns[0];
    }
}

std::pair<int, int> LineSearch::first(char const* line) const {
    std::pair<int, int> best(-1, -1);
    for (RegularExpression const& expression : expressions_) {
        std::pair<int, int> const match = expression.first_match(line);
        bool const found = match.first >= 0;
        if (found && (best.first < 0 || match.first < best.first ||
                      (match.first == best.first && match.second > best.second))) {
            best = match;
        }
    }
    return best;
}

// The enumeration knows no start of a line, so that `^` would match nowhere: a match at the start
// comes from first_match, which does.
LineSearch::Matches LineSearch::allFrom(RegularExpression const& expression, String const& line,
                                        std::uint32_t from) {
    Matches matches;
    auto const add = [&matches](std::uint32_t begin, std::uint32_t end) {
        if (begin < end) {
            matches.append({begin, end});
        }
    };
    if (from == 0) {
        auto const [start, end] = expression.first_match(line.c_str());
        if (start < 0) {
            return matches;
        }
        add(static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end));
        from = static_cast<std::uint32_t>(end);
    }
    // An empty match ends the enumeration, which begins again behind the next byte, but never
    // behind a NUL.
    std::size_t const length = std::string_view(line.c_str()).size();
    for (; from < length; ++from) {
        Matches const further = expression.all_unique_matches(line.substring(from));
        for (auto const& [first, last] : further) {
            add(from + first, from + last);
        }
        if (further.empty() ||
            further[further.size() - 1].first < further[further.size() - 1].second) {
            break;
        }
        from += further[further.size() - 1].second;
    }
    return matches;
}

LineSearch::Matches LineSearch::all(String const& line) const {
    if (expressions_.size() == 1) {
        return allFrom(expressions_[0], line, /*from=*/0);
    }
    std::vector<Matches> lists;
    for (RegularExpression const& expression : expressions_) {
        lists.push_back(allFrom(expression, line, /*from=*/0));
    }
    std::vector<std::size_t> next(lists.size(), 0);  // of each list, the first not yet passed
    Matches result;
    for (std::uint32_t end = 0;;) {
        std::optional<OffsetPair> best;
        for (std::size_t i = 0; i < lists.size(); ++i) {
            while (next[i] < lists[i].size() && lists[i][next[i]].second <= end) {
                ++next[i];
            }
            if (next[i] < lists[i].size() && lists[i][next[i]].first < end) {
                // A match of another expression has cut it off.
                lists[i] = allFrom(expressions_[i], line, end);
                next[i] = 0;
            }
            if (next[i] < lists[i].size() && (!best || isBetter(lists[i][next[i]], *best))) {
                best = lists[i][next[i]];
            }
        }
        if (!best) {
            return result;
        }
        result.append(*best);
        end = best->second;
    }
}

StringArray LineSearch::groups(String const& line) const {
    for (RegularExpression const& expression : expressions_) {
        StringArray texts = expression.all_matching_substrings(line);
        if (!texts.empty()) {
            return texts;
        }
    }
    return {};
}

}  // namespace zeb::cli
