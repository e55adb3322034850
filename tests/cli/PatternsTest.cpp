#include <gtest/gtest.h>

#include "ZebText.hpp"

namespace zeb::test {
namespace {

TEST(Wildcard, BackslashIsLiteralForWin32AndWithoutOption) {
    EXPECT_EQ(zebText({"wildcard", "logs\\*.txt"}), prints("^logs\\\\.*\\.txt$\n"));
    EXPECT_EQ(zebText({"wildcard", "--win32", "logs\\*.t?t,#"}),
              prints("^logs\\\\.*\\.t.t\\,#$\n"));
    EXPECT_EQ(zebText({"wildcard", "--win32", "--basic", "logs\\*.txt"}),
              prints("^logs\\\\.*.txt$\n"));
    EXPECT_EQ(zebText({"wildcard", ""}), prints("^$\n"));
}

TEST(Wildcard, ReKnowsDigitsAndEscapes) {
    EXPECT_EQ(zebText({"wildcard", "--re", "ab#?\\*,"}), prints("^ab[[:digit:]].\\*,$\n"));
}

TEST(Wildcard, OneKindAtMost) {
    EXPECT_EQ(zebText({"wildcard", "--re", "--win32", "a"}),
              failsWith("wildcard: --win32 excludes --re (see zeb-text wildcard --help)"));
    EXPECT_EQ(zebText({"wildcard", "--re", "--basic", "a"}),
              failsWith("wildcard: --re excludes --basic (see zeb-text wildcard --help)"));
}

TEST(Wildcard, TheExpressionMatchesAsTheWildcardDoes) {
    EXPECT_EQ(shell("printf 'disk1\\ndisk12\\ndiskx\\n' | "
                    "\"$0\" match \"$(\"$0\" wildcard --re 'disk#')\""),
              prints("disk1\n"));
}

TEST(Escape, MakesOperatorsLiteral) {
    EXPECT_EQ(zebText({"escape", "x.y*z\\,"}), prints("x\\.y\\*z\\\\\\,\n"));
    EXPECT_EQ(zebText({"escape", "--basic", "x.y*z\\"}), prints("x.y*z\\\\\n"));
    EXPECT_EQ(zebText({"escape", ""}), prints("\n"));
}

TEST(Escape, TheExpressionMatchesTheText) {
    EXPECT_EQ(shell("printf 'a.b*(c)\\naxbb(c)\\n' | \"$0\" match \"$(\"$0\" escape 'a.b*(c)')\""),
              prints("a.b*(c)\n"));
}

}  // namespace
}  // namespace zeb::test
