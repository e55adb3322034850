// The settings' byte and the pattern up to the newline, then the subject.

#include <OrventoCommonRegex.hpp>

#include <optional>

#include "Expressions.hpp"
#include "Oracle.hpp"
#include "Property.hpp"

namespace {

std::vector<ZEBNS2::OffsetPair> list(ZEBNS2::Array<ZEBNS2::OffsetPair> const& ranges) {
    return {ranges.begin(), ranges.end()};
}

}  // namespace

void zeb::fuzz::expression(std::string_view input) {
    auto const [head, rest] = cutLine(input);
    if (!Settings::areIn(head)) {
        return;
    }
    Settings const settings(head);
    std::string const pattern(upToNul(head.substr(1)));
    std::string const subject(upToNul(rest));

    std::optional<ZEBNS2::RegularExpression> expression;
    bool refused = false;
    try {
        expression.emplace(ZEBNS2::String(pattern), settings.options());
    } catch (ZEBNS2::RegularExpressionException const& exception) {
        if (isHazard(exception)) {
            return;
        }
        refused = true;
    }
    zeb::test::Oracle const oracle(pattern, settings.options());
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
