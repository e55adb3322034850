#include "regex/matcher/LazyMatcher.hpp"

#include <gtest/gtest.h>
#include <regex.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "WithLocale.hpp"

namespace {

using zeb::test::WithLocale;
using ZEBNS2::LazyMatcher;
using ZEBNS2::Matcher;

constexpr std::size_t ENOUGH = LazyMatcher::WORTHWHILE;

TEST(LazyMatcherMaking, FollowsAfterEnoughBytes) {
    LazyMatcher const lazy("[a-z]=", REG_EXTENDED, {});
    EXPECT_EQ(lazy.get(0), nullptr);
    EXPECT_EQ(lazy.get(ENOUGH / 2), nullptr);
    EXPECT_NE(lazy.get(ENOUGH / 2), nullptr);
    EXPECT_EQ(lazy.get(0), lazy.get(0));
}

TEST(LazyMatcherMaking, FollowsAfterManySearches) {
    LazyMatcher const lazy("[a-z]=", REG_EXTENDED, {});
    std::size_t searches = 1;
    while (lazy.get(0) == nullptr) {
        ++searches;
    }
    EXPECT_EQ(searches, ENOUGH / LazyMatcher::SEARCH);
}

TEST(LazyMatcherMaking, IsNotTriedAgainForAPatternThatIsLibcs) {
    LazyMatcher const lazy("(a)\\1", REG_EXTENDED, {});
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(lazy.get(ENOUGH), nullptr);
    }
}

TEST(LazyMatcherMaking, CanBeChosen) {
    LazyMatcher::setMaking(LazyMatcher::Making::NEVER);
    LazyMatcher const never("[a-z]=", REG_EXTENDED, {});
    LazyMatcher::setMaking(LazyMatcher::Making::AT_ONCE);
    LazyMatcher const atOnce("[a-z]=", REG_EXTENDED, {});
    LazyMatcher::setMaking(LazyMatcher::Making::WHEN_IT_PAYS);
    LazyMatcher const later("[a-z]=", REG_EXTENDED, {});
    EXPECT_NE(atOnce.get(0), nullptr);
    EXPECT_EQ(later.get(0), nullptr);
    EXPECT_NE(later.get(ENOUGH), nullptr);
    EXPECT_EQ(never.get(ENOUGH), nullptr);
    EXPECT_EQ(never.get(ENOUGH), nullptr);
}

TEST(LazyMatcherMaking, WaitsForTheLocaleOfTheExpression) {
    LazyMatcher const lazy("[a-z]=", REG_EXTENDED, {});
    {
        WithLocale const other("C.UTF-8");
        ASSERT_TRUE(other.isKnown());
        EXPECT_EQ(lazy.get(ENOUGH), nullptr);
    }
    EXPECT_NE(lazy.get(ENOUGH), nullptr);
}

TEST(LazyMatcherMaking, HappensOnceForManyThreads) {
    for (int round = 0; round < 20; ++round) {
        LazyMatcher const lazy("([a-z]+)=([0-9]+)", REG_EXTENDED, {});
        std::atomic<Matcher const*> first{nullptr};
        std::atomic<int> wrong{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                std::string const subject = "x ab=12 y";
                for (int search = 0; search < 200; ++search) {
                    Matcher const* const matcher = lazy.get(subject.size());
                    if (matcher == nullptr) {
                        continue;
                    }
                    Matcher const* none = nullptr;
                    bool const isFirst = first.compare_exchange_strong(none, matcher);
                    regmatch_t slots[3];
                    bool const found =
                        matcher->search(subject, slots, 3, 0) == Matcher::Answer::MATCH;
                    wrong += !found || slots[2].rm_so != 5 || (!isFirst && none != matcher) ? 1 : 0;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_NE(lazy.get(0), nullptr);
    }
}

}  // namespace
