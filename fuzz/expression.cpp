// The digit of the options and the pattern up to the newline, and behind it the subject.

#include <OrventoCommonRegex.hpp>

#include <optional>

#include "Oracle.hpp"
#include "Property.hpp"

namespace {

std::vector<ZEBNS2::OffsetPair> list(ZEBNS2::Array<ZEBNS2::OffsetPair> const& ranges) {
    return {ranges.begin(), ranges.end()};
}

}  // namespace

void zeb::fuzz::expression(std::string_view input) {
    auto const [head, rest] = cutLine(input);
    if (head.empty() || head[0] < '0' || head[0] > '7') {
        return;
    }
    auto const options = static_cast<unsigned int>(head[0] - '0');
    std::string const pattern(upToNul(head.substr(1)));
    std::string const subject(upToNul(rest));

    std::optional<ZEBNS2::RegularExpression> expression;
    bool refused = false;
    try {
        expression.emplace(ZEBNS2::String(pattern), options);
    } catch (ZEBNS2::RegularExpressionException const& exception) {
        static constexpr std::string_view HAZARD =
            "Error creating regular expression: Memory exhausted";
        if (std::string_view(exception.getMessage()).substr(0, HAZARD.size()) == HAZARD) {
            return;  // libc would not survive it
        }
        refused = true;
    }
    zeb::test::Oracle const oracle(pattern, options);
    require(refused != oracle.compiles(), "compiles what libc compiles");
    if (refused) {
        return;
    }
    auto const first = oracle.firstMatch(subject);
    require(expression->first_match(subject.c_str()) == first, "finds the first match");
    require(expression->matches(subject) == (first.first >= 0), "tells whether there is a match");
    require(list(expression->all_matches(subject)) == oracle.allMatches(subject),
            "finds the groups");
    require(list(expression->all_unique_matches(subject)) == oracle.allUniqueMatches(subject),
            "finds the successive matches");
}
