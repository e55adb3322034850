// A program of its own, because its malloc takes the place of the C library's. libc itself leaks
// when an allocation fails in regcomp or regexec; its functions are replaced by some that count the
// leaks.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <regex.h>

#include <string>

#include "FailingMalloc.hpp"
#include "regex/matcher/LazyMatcher.hpp"
#include "regex/pattern/RequiredLiteral.hpp"

namespace {

/// Blocks that libc has leaked.
long leakedByLibc = 0;
/// Blocks before the expression was compiled that is in use.
long beforeCompilation = 0;

template <typename Function>
Function* libc(char const* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int regcomp(regex_t* expression, char const* pattern, int flags) {
    beforeCompilation = zeb::test::blocksInUse;
    int const result = libc<decltype(regcomp)>("regcomp")(expression, pattern, flags);
    if (result != 0) {
        leakedByLibc += zeb::test::blocksInUse - beforeCompilation;
    }
    return result;
}

void regfree(regex_t* expression) {
    libc<decltype(regfree)>("regfree")(expression);
    leakedByLibc += zeb::test::blocksInUse - beforeCompilation;
}

}  // extern "C"

namespace {

using ZEBNS2::LazyMatcher;
using ZEBNS2::Matcher;

constexpr std::size_t ENOUGH = LazyMatcher::WORTHWHILE;
/// All that asks for memory: atoms of several kinds, both ways to the groups, the slow search.
constexpr char const* PATTERNS[] = {"([a-z]+)=([0-9]+)", "^(.*)=(.*)$", "(aa)*[bc]|\\w.x{2,3}"};

/// What a matcher finds, and with which groups.
std::string answer(Matcher const& matcher) {
    std::string text;
    for (char const* subject : {"x ab=12", "=", "aab", "aa1xxx", "nothing"}) {
        regmatch_t slots[3] = {{-1, -1}, {-1, -1}, {-1, -1}};
        text += std::to_string(static_cast<int>(matcher.search(subject, slots, 3, 0)));
        for (regmatch_t const& slot : slots) {
            text += ' ' + std::to_string(slot.rm_so) + ',' + std::to_string(slot.rm_eo);
        }
    }
    return text;
}

class MatcherExhaustion : public testing::TestWithParam<bool> {};

TEST_P(MatcherExhaustion, AnyFailedAllocationLeavesNoMatcherOrAWholeOne) {
    for (char const* pattern : PATTERNS) {
        SCOPED_TRACE(pattern);
        ZEBNS2::RequiredLiteral const literal(pattern, ZEBNS2::PatternSyntax::EXTENDED);
        std::string const whole = answer(*Matcher::of(pattern, REG_EXTENDED));
        long failures = 0;
        for (bool refused = true; refused; ++failures) {
            LazyMatcher lazy(pattern, REG_EXTENDED, literal.text());
            long const before = zeb::test::blocksInUse - leakedByLibc;
            long const refusedBefore = zeb::test::allocationsRefused;
            zeb::test::failsOnce = GetParam();
            zeb::test::allocationsLeft = failures;
            Matcher const* const matcher = lazy.get(ENOUGH);
            zeb::test::allocationsLeft = zeb::test::UNLIMITED;
            refused = zeb::test::allocationsRefused != refusedBefore;
            if (matcher == nullptr) {
                ASSERT_TRUE(refused) << failures;
                EXPECT_EQ(zeb::test::blocksInUse - leakedByLibc, before) << failures;
            } else {
                EXPECT_EQ(answer(*matcher), whole) << failures;
            }
        }
        EXPECT_GT(failures, 100);
    }
}

TEST(MatcherRetry, MakesItOnceThereIsMemory) {
    LazyMatcher const lazy("[a-z]=", REG_EXTENDED, {});
    zeb::test::failsOnce = false;
    zeb::test::allocationsLeft = 0;
    EXPECT_EQ(lazy.get(ENOUGH), nullptr);
    zeb::test::allocationsLeft = zeb::test::UNLIMITED;
    EXPECT_NE(lazy.get(ENOUGH), nullptr);
}

INSTANTIATE_TEST_SUITE_P(OneOrAll, MatcherExhaustion, testing::Bool());

}  // namespace
