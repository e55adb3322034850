// Every match operation against regexec itself, called as plainly as can be: on NUL-terminated
// texts, one after the other.

#include <OrventoCommonRegex.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Oracle.hpp"
#include "Random.hpp"
#include "RandomExpressions.hpp"
#include "Sanitized.hpp"

namespace {

using zeb::test::Oracle;
using zeb::test::Random;
using zeb::test::RandomExpressions;
using ZEBNS2::Array;
using ZEBNS2::OffsetPair;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::String;
using ZEBNS2::StringArray;

constexpr int CASES = zeb::test::SANITIZED ? 2000 : 10000;

template <typename T>
std::vector<T> list(Array<T> const& array) {
    return {array.begin(), array.end()};
}

std::vector<String> textsOf(std::string const& subject, std::vector<OffsetPair> const& ranges) {
    std::vector<String> texts;
    for (auto const& [start, end] : ranges) {
        texts.emplace_back(std::string_view(subject).substr(start, end - start));
    }
    return texts;
}

void compareSubject(RegularExpression const& expression, Oracle const& oracle,
                    std::string const& subject) {
    String const text(subject);
    auto const first = oracle.firstMatch(subject);
    bool const matches = first.first >= 0;
    EXPECT_EQ(expression.matches(text), matches);
    EXPECT_EQ(regex_matches(expression, text), matches);
    EXPECT_EQ(expression.first_match(subject.c_str()), first);
    auto const all = oracle.allMatches(subject);
    EXPECT_EQ(list(expression.all_matches(text)), all);
    EXPECT_EQ(list(expression.all_matching_substrings(text)), textsOf(subject, all));
    auto const unique = oracle.allUniqueMatches(subject);
    EXPECT_EQ(list(expression.all_unique_matches(text)), unique);
    EXPECT_EQ(list(expression.all_unique_matching_substrings(text)), textsOf(subject, unique));
    String const matched =
        matches ? text.substring(static_cast<std::size_t>(first.first),
                                 static_cast<std::size_t>(first.second - first.first))
                : String();
    EXPECT_EQ(expression.matching_substring(text), matched);
}

void compareLines(RegularExpression const& expression, Oracle const& oracle,
                  std::vector<std::string> const& subjects) {
    StringArray lines;
    std::vector<std::vector<String>> all;
    std::vector<std::vector<String>> unique;
    std::vector<String> matched;
    std::vector<String> matching;
    std::vector<String> others;
    std::vector<unsigned int> numbers;
    String first;
    for (std::string const& subject : subjects) {
        auto const [start, end] = oracle.firstMatch(subject);
        all.push_back(textsOf(subject, oracle.allMatches(subject)));
        unique.push_back(textsOf(subject, oracle.allUniqueMatches(subject)));
        matched.push_back(start < 0
                              ? String()
                              : String(subject.substr(static_cast<std::size_t>(start),
                                                      static_cast<std::size_t>(end - start))));
        if (start < 0) {
            others.emplace_back(subject);
        } else {
            if (numbers.empty()) {
                first = matched.back();
            }
            numbers.push_back(static_cast<unsigned int>(lines.size()));
            if (end > start) {
                matching.emplace_back(subject);
            }
        }
        lines.append(String(subject));
    }
    auto const listOfLists = [](Array<Array<String>> const& arrays) {
        std::vector<std::vector<String>> lists;
        for (Array<String> const& array : arrays) {
            lists.push_back(list(array));
        }
        return lists;
    };
    EXPECT_EQ(listOfLists(expression.all_matching_substrings(lines)), all);
    EXPECT_EQ(listOfLists(expression.all_unique_matching_substrings(lines)), unique);
    EXPECT_EQ(list(expression.matching_substring(lines)), matched);
    EXPECT_EQ(expression.first_matching_substring(lines), first);
    EXPECT_EQ(list(expression.all_matching_lines(lines)), matching);
    EXPECT_EQ(list(expression.non_matching_lines(lines)), others);
    EXPECT_EQ(list(expression.find_matching_line_numbers(lines)), numbers);
}

TEST(EnumerationDifferential, EveryOperationFindsWhatRegexecFinds) {
    static constexpr std::uint32_t SEED = 23;
    Random random(SEED);
    RandomExpressions expressions(random, {/*anchors=*/true, /*optionalGroups=*/true});
    int compiled = 0;
    int matched = 0;
    for (int i = 0; i < CASES; ++i) {
        std::string const pattern = expressions.draw();
        auto const options = static_cast<unsigned int>(random.below(8));
        std::vector<std::string> subjects;
        for (std::size_t count = random.between(1, 4); count > 0; --count) {
            // The library must see a text up to its NUL, as c_str() shows it.
            subjects.push_back(random.text("aaabbbcccdAB. x1\n", random.below(14)));
            if (random.oneIn(8)) {
                subjects.back() += std::string(1, '\0') + "abc";
            }
        }
        SCOPED_TRACE("seed " + std::to_string(SEED) + ", case " + std::to_string(i) + ", options " +
                     std::to_string(options) + ", pattern " + pattern + ", subject \"" +
                     subjects[0] + '"');
        Oracle const oracle(pattern, options);
        if (!oracle.compiles()) {
            EXPECT_THROW(RegularExpression(String(pattern), options), RegularExpressionException);
            --i;
            continue;
        }
        ++compiled;
        RegularExpression const expression(String(pattern), options);
        matched += oracle.firstMatch(subjects[0]).first >= 0 ? 1 : 0;
        compareSubject(expression, oracle, subjects[0]);
        compareLines(expression, oracle, subjects);
        if (HasFailure()) {
            break;
        }
    }
    EXPECT_GE(compiled, CASES);
    EXPECT_GT(matched, CASES / 5) << "the expressions hardly match";
}

}  // namespace
