// Substitutions against GNU sed, which stands on the same C library.
//
// Left out is what legitimately differs: `^` and word boundaries in a global substitution (a rest
// is a line of its own here), groups that may take no part in a match (they end the list of groups
// here), `&` and sed's own escapes, and the final newline.

#include <OrventoCommonRegex.hpp>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "Random.hpp"
#include "RandomExpressions.hpp"
#include "RunProcess.hpp"

namespace {

using zeb::test::Random;
using zeb::test::RandomExpressions;
using ZEBNS2::realSed;
using ZEBNS2::String;

constexpr int EXPRESSIONS = 400;
constexpr int LINES = 25;  // a case is one line by one expression

std::string randomReplacement(Random& random, std::size_t groups) {
    static constexpr std::string_view LITERALS[] = {"X",  "<",    ">", "%", "%1",
                                                    "%%", "\\\\", "-", ""};
    std::string text;
    for (std::size_t i = random.below(4); i > 0; --i) {
        if (random.oneIn(2)) {
            text += '\\' + std::to_string(random.below(groups + 1));
        } else {
            text += random.pick(LITERALS);
        }
    }
    return text;
}

std::vector<std::string> split(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;) {
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    return lines;
}

void compareWithSed(std::uint32_t seed, RandomExpressions::Features features,
                    std::string const& flag) {
    Random random(seed);
    RandomExpressions expressions(random, features);
    int cases = 0;
    int changed = 0;
    for (int i = 0; i < EXPRESSIONS; ++i) {
        std::string const expression = expressions.draw();
        char const delimiter = random.pick(std::string_view("/#!,@"));
        if (expression.find(delimiter) != std::string::npos) {
            --i;
            continue;
        }
        std::string const command = std::string("s") + delimiter + expression + delimiter +
                                    randomReplacement(random, expressions.groups()) + delimiter +
                                    flag;
        std::string text;
        for (int line = 0; line < LINES; ++line) {
            text += random.text("aaabbbccd. 1\t\xe9", random.below(16)) + '\n';
        }
        zeb::test::ProcessResult const theirs =
            zeb::test::runProcess({"env", "LC_ALL=C", "sed", "-E", command}, text);
        ASSERT_EQ(theirs.status, 0) << command << '\n' << theirs.err;
        // Each line of a file ends in a newline; here a newline stands between lines.
        String const ours =
            realSed(String(std::string_view(text).substr(0, text.size() - 1)), String(command), 0);
        std::vector<std::string> const before = split(text);
        std::vector<std::string> const expected = split(theirs.out);
        std::vector<std::string> const got = split(std::string(std::string_view(ours)) + '\n');
        ASSERT_EQ(expected.size(), before.size());
        ASSERT_EQ(got.size(), before.size()) << "seed " << seed << ", command " << command;
        for (std::size_t line = 0; line < before.size(); ++line) {
            EXPECT_EQ(got[line], expected[line])
                << "seed " << seed << ", command " << command << ", line \"" << before[line] << '"';
            ++cases;
            changed += got[line] != before[line] ? 1 : 0;
        }
    }
    EXPECT_EQ(cases, EXPRESSIONS * LINES);
    EXPECT_GT(changed, cases / 4) << "the expressions hardly match";
}

TEST(SedDifferential, FirstMatchIsReplacedAsByGnuSed) {
    compareWithSed(20, {/*anchors=*/true, /*optionalGroups=*/false}, "");
}

TEST(SedDifferential, EveryMatchIsReplacedAsByGnuSed) {
    compareWithSed(21, {/*anchors=*/false, /*optionalGroups=*/false}, "g");
}

TEST(SedDifferential, LinesAreDeletedAsByGnuSed) {
    Random random(22);
    RandomExpressions expressions(random, {/*anchors=*/true, /*optionalGroups=*/true});
    for (int i = 0; i < EXPRESSIONS; ++i) {
        std::string const command = '/' + expressions.draw() + "/d";
        std::string text;
        for (int line = 0; line < LINES; ++line) {
            text += random.text("abcd. 1", random.below(6)) + '\n';
        }
        zeb::test::ProcessResult const theirs =
            zeb::test::runProcess({"env", "LC_ALL=C", "sed", "-E", command}, text);
        String const ourText(std::string_view(text).substr(0, text.size() - 1));
        if (theirs.status != 0) {
            // A back-reference to a group of the other alternative.
            EXPECT_THROW(static_cast<void>(realSed(ourText, String(command), 0)),
                         ZEBNS2::RegularExpressionException)
                << command << '\n'
                << theirs.err;
            --i;
            continue;
        }
        String const ours = realSed(ourText, String(command), 0);
        std::string const expected = theirs.out.substr(0, theirs.out.size() - 1);
        EXPECT_EQ(ours, theirs.out.empty() ? "" : expected)
            << "command " << command << ", text \"" << text << '"';
    }
}

}  // namespace
