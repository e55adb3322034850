#include "LineSearch.hpp"

#include <langinfo.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

namespace zeb::cli {

using ZEBNS2::OffsetPair;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

namespace {

/// The user's encoding, by libc's name.
std::string_view encoding() {
    return ::nl_langinfo(CODESET);  // NOLINT(concurrency-mt-unsafe): the program has one thread
}

/// Whether a byte below 0x80 is always a character. In some encodings it may also be the second
/// byte of one.
bool isAsciiSafe() { return MB_CUR_MAX == 1 || encoding() == "UTF-8"; }

/// Whether the pattern, apart from the case of letters, matches exactly where a text contains its
/// bytes.
bool standsForItself(std::string const& pattern, LineSearch::Options options) {
    auto const plain = [](char byte) {
        return static_cast<unsigned char>(byte) < 0x80 && byte != '\n';
    };
    return (options & RegularExpression::BASIC_SYNTAX) == 0 && isAsciiSafe() &&
           std::all_of(pattern.begin(), pattern.end(), plain) &&
           RegularExpression::escapeRegexSpecialCharacters(
               pattern, RegularExpression::EXTENDED_SYNTAX) == String(pattern);
}

/// ASCII only, in every locale.
char smallLetter(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

unsigned char capitalLetter(unsigned char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<unsigned char>(byte - 'a' + 'A') : byte;
}

/// The longest part of a literal, in small letters, that matches only its own bytes in either case.
/// These letters may also match a character that is not ASCII: the Kelvin sign, the dotless i, the
/// long s.
std::string asciiPart(std::string const& literal) {
    constexpr std::string_view AMBIGUOUS = "ikIKsS";
    bool const ascii = encoding() == "ANSI_X3.4-1968";
    std::string_view longest;
    std::string_view rest = literal;
    while (!rest.empty()) {
        std::size_t const found = ascii ? std::string_view::npos : rest.find_first_of(AMBIGUOUS);
        std::size_t const length = std::min(found, rest.size());
        if (length > longest.size()) {
            longest = rest.substr(0, length);
        }
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    std::string part(longest);
    std::transform(part.begin(), part.end(), part.begin(), smallLetter);
    return part;
}

bool isBetter(OffsetPair const& a, OffsetPair const& b) {
    return a.first < b.first || (a.first == b.first && a.second > b.second);
}

void addMatch(LineSearch::Matches& matches, std::size_t begin, std::size_t end) {
    if (begin < end) {
        matches.append({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end)});
    }
}

/// Adds the matches of an expression that begin at an offset or later, without any start of a line.
/// An empty match ends the library's enumeration, which begins again after the next byte, but never
/// after a NUL.
void addFurther(LineSearch::Matches& matches, RegularExpression const& expression,
                std::string_view line, std::size_t from) {
    std::size_t const length = std::string_view(line.data()).size();
    for (; from < length; ++from) {
        LineSearch::Matches const further =
            expression.all_unique_matches(String(line.substr(from)));
        for (auto const& [first, last] : further) {
            addMatch(matches, from + first, from + last);
        }
        if (further.empty() || further.back().first < further.back().second) {
            break;
        }
        from += further.back().second;
    }
}

/// The matches of an expression that begin at an offset or later. In the enumeration `^` never
/// matches, so a match at the start of a line comes from first_match.
LineSearch::Matches allFrom(RegularExpression const& expression, std::string_view line,
                            std::size_t from) {
    LineSearch::Matches matches;
    if (from == 0) {
        auto const [start, end] = expression.first_match(line.data());
        if (start < 0) {
            return matches;
        }
        addMatch(matches, static_cast<std::size_t>(start), static_cast<std::size_t>(end));
        from = static_cast<std::size_t>(end);
    }
    addFurther(matches, expression, line, from);
    return matches;
}

}  // namespace

LineSearch::LineSearch(std::vector<std::string> const& patterns, Options options) {
    expressions_.reserve(patterns.size());
    for (std::string const& pattern : patterns) {
        expressions_.emplace_back(String(pattern), options);
        hasGroups_ = hasGroups_ || pattern.find('(') != std::string::npos;
    }
    if (patterns.size() == 1 && standsForItself(patterns[0], options)) {
        require(patterns[0], options);
    }
}

// The search of Boyer, Moore and Horspool, for bytes of either case: the byte at the place of the
// last required byte determines the distance to the next possible place, mostly the whole length.
void LineSearch::require(std::string const& literal, Options options) {
    anyCase_ = (options & RegularExpression::CASE_INSENSITIVE) != 0;
    literal_ = !anyCase_ && !literal.empty();
    required_ = anyCase_ ? asciiPart(literal) : literal;
    if (!anyCase_ || required_.empty()) {
        return;
    }
    shifts_.fill(required_.size());
    for (std::size_t i = 0; i + 1 < required_.size(); ++i) {
        auto const byte = static_cast<unsigned char>(required_[i]);
        shifts_[byte] = required_.size() - 1 - i;
        shifts_[capitalLetter(byte)] = required_.size() - 1 - i;
    }
}

char const* LineSearch::nextCandidate(char const* begin, char const* end) const {
    if (anyCase_) {
        return nextInEitherCase(begin, end);
    }
    void const* const found =
        ::memmem(begin, static_cast<std::size_t>(end - begin), required_.data(), required_.size());
    return found == nullptr ? end : static_cast<char const*>(found);
}

char const* LineSearch::nextInEitherCase(char const* begin, char const* end) const {
    std::size_t const length = required_.size();
    char const last = required_.back();
    while (static_cast<std::size_t>(end - begin) >= length) {
        char const byte = begin[length - 1];
        if (smallLetter(byte) == last &&
            std::equal(required_.begin(), required_.end() - 1, begin,
                       [](char wanted, char there) { return wanted == smallLetter(there); })) {
            return begin;
        }
        begin += shifts_[static_cast<unsigned char>(byte)];
    }
    return end;
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

LineSearch::Matches LineSearch::allLiteral(std::string_view line, std::size_t from) const {
    Matches matches;
    line = line.data();  // up to a NUL
    while (from != std::string_view::npos) {
        addMatch(matches, from, from + required_.size());
        from = line.find(required_, from + required_.size());
    }
    return matches;
}

LineSearch::Matches LineSearch::all(std::string_view line, std::pair<int, int> const& first) const {
    if (literal_) {
        return allLiteral(line, static_cast<std::size_t>(first.first));
    }
    if (expressions_.size() == 1) {
        Matches matches;
        auto const end = static_cast<std::size_t>(first.second);
        addMatch(matches, static_cast<std::size_t>(first.first), end);
        addFurther(matches, expressions_[0], line, end);
        return matches;
    }
    std::vector<Matches> lists;
    for (RegularExpression const& expression : expressions_) {
        lists.push_back(allFrom(expression, line, /*from=*/0));
    }
    std::vector<std::size_t> next(lists.size(), 0);  // for each list, the first not yet passed
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
