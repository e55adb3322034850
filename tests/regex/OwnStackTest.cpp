#include <OrventoCommonRegex.hpp>

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

#include "Repeat.hpp"
#include "Sanitized.hpp"

namespace {

using zeb::test::repeat;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using Offsets = std::pair<int, int>;

constexpr Offsets NONE(-1, -1);

/// Runs `work` in a thread with so much stack.
template <typename Work>
void inThread(std::size_t stack, Work work) {
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, stack), 0);
    pthread_t thread;
    auto const run = [](void* argument) -> void* {
        (*static_cast<Work*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(::pthread_create(&thread, &attributes, run, &work), 0);
    ::pthread_attr_destroy(&attributes);
    ASSERT_EQ(::pthread_join(thread, nullptr), 0);
}

TEST(OwnStackSearch, AnswersDoNotDependOnTheLength) {
    RegularExpression const run("(.)\\1+", 0);
    RegularExpression const words("([a-z]+)( \\1)+", 0);
    for (int const length : {2, 30, 31, 32, 33, 256, 257, 1000}) {
        std::string const subject = '-' + std::string(static_cast<std::size_t>(length), 'a') + 'b';
        EXPECT_EQ(run.first_match(subject.c_str()), Offsets(1, 1 + length));
        EXPECT_EQ(run.all_matches(subject).size(), 2u);
        if (length <= 257) {  // libc's time grows with the square
            std::string const repeated = repeat("ab ", static_cast<std::size_t>(length));
            EXPECT_EQ(words.first_match(repeated.c_str()), Offsets(0, 3 * length - 1));
        }
    }
    EXPECT_EQ(run.first_match(repeat("ab", 300).c_str()), NONE);
}

TEST(OwnStackSearch, SmallStackOfTheCallerSuffices) {
    inThread(256 * 1024, [] {
        // libc takes 440 bytes for each a, 280 on 32-bit x86.
        std::string const text = std::string(1000, 'a') + "bcc\n" + std::string(256, 'd');
        EXPECT_EQ(ZEBNS2::realSed(text, "s/(.)\\1+/<\\1>/g", 0), "<a>b<c>\n<d>");
    });
}

TEST(OwnStackSearch, AThreadOf64KiBSuffices) {
    if (zeb::test::SANITIZED) {
        GTEST_SKIP() << "a sanitizer needs more stack";
    }
    inThread(64 * 1024, [] {
        RegularExpression const run("(.)\\1*", 0);
        for (int const length : {1, 31, 32, 33, 64, 128, 250, 300}) {
            std::string const subject(static_cast<std::size_t>(length), 'a');
            ASSERT_EQ(run.first_match(subject.c_str()), Offsets(0, length));
        }
    });
}

TEST(OwnStackSearch, LocaleIsTheCallers) {
    inThread(256 * 1024, [] {
        locale_t const utf8 = ::newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
        ASSERT_NE(utf8, nullptr);
        locale_t const before = ::uselocale(utf8);
        std::string const subject = repeat("\xC3\xA9", 200);
        EXPECT_EQ(RegularExpression("^(.)\\1+$", 0).first_match(subject.c_str()), Offsets(0, 400));
        ::uselocale(before);
        ::freelocale(utf8);
    });
}

TEST(OwnStackSearch, NothingIsFoundWhereTheStackWouldBeTooLarge) {
    std::size_t const longest =
        (sizeof(void*) == 4 ? std::size_t{256} : std::size_t{1024}) * 1024 * 1024 / 512;
    RegularExpression const expression("(.)\\1+", 0);
    EXPECT_EQ(expression.first_match(std::string(longest, 'a').c_str()), NONE);
    // Another expression has no such limit.
    EXPECT_EQ(RegularExpression("a+", 0).first_match(std::string(longest, 'a').c_str()),
              Offsets(0, static_cast<int>(longest)));
}

/// For a child process: with few addresses left, whether a long subject has no match, and
/// a short one is found as ever.
[[noreturn]] void exitWithoutAStack() {
    RegularExpression const expression("(.)\\1+", 0);
    String const subject("aa" + repeat("bc", 1000000));
    rlimit before{};
    ::getrlimit(RLIMIT_AS, &before);
    rlimit const limit{64 * 1024 * 1024, before.rlim_max};
    ::setrlimit(RLIMIT_AS, &limit);
    bool const sound = !expression.matches(subject) && expression.matches("aa");
    ::setrlimit(RLIMIT_AS, &before);
    std::exit(sound ? 0 : 1);  // which lets a coverage build write its counts
}

TEST(OwnStackSearch, NothingIsFoundWhereThereIsNoStack) {
    if (zeb::test::SANITIZED) {
        GTEST_SKIP() << "a sanitizer needs the addresses";
    }
    EXPECT_EXIT(exitWithoutAStack(), testing::ExitedWithCode(0), "");
}

/// `count` different words of lower-case letters, separated by bars, the last one "zzz".
std::string alternatives(std::size_t count) {
    std::string words;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        words += {static_cast<char>('a' + i / 26 / 26), static_cast<char>('a' + i / 26 % 26),
                  static_cast<char>('a' + i % 26), '|'};
    }
    return words + "zzz";
}

TEST(OwnStackCompilation, LongListsAndCountsNeedNoStackOfTheCaller) {
    struct Row {
        std::string pattern;
        std::string matching;
        std::string other;
    };
    Row const rows[] = {
        {"\\.(" + alternatives(1440) + ")$", "host.zzz", "host.zzy"},
        {"^(" + alternatives(1110) + ")$", "zzz", "azzz"},
        {"^https?://.{1,2083}$", "https://" + std::string(2083, 'x'),
         "https://" + std::string(2084, 'x')},
        {"^[^ ]{0,1500}$", std::string(1500, 'x'), std::string(1501, 'x')},
        {"^(ssh-rsa) [A-Za-z0-9+/]{100,2000}={0,2}$",
         "ssh-rsa " + std::string(2000, 'A') + "==", "ssh-rsa " + std::string(2001, 'A') + "=="},
    };
    std::size_t const stack = zeb::test::SANITIZED ? 256 * 1024 : 64 * 1024;
    inThread(stack, [&rows] {
        for (Row const& row : rows) {
            SCOPED_TRACE(row.pattern.substr(0, 40));
            RegularExpression const expression(row.pattern, 0);
            for (int i = 0; i < 2; ++i) {  // later by the matcher, where it can
                ASSERT_TRUE(expression.matches(row.matching));
                ASSERT_FALSE(expression.matches(row.other));
            }
            EXPECT_EQ(expression.all_matching_substrings(row.matching)[0],
                      row.matching.substr(row.pattern[0] == '^' ? 0 : 4));
        }
    });
}

/// For a child process: without addresses for its stack, an expression does not compile.
[[noreturn]] void exitUncompiled() {
    rlimit before{};
    ::getrlimit(RLIMIT_AS, &before);
    rlimit const limit{1024 * 1024, before.rlim_max};
    ::setrlimit(RLIMIT_AS, &limit);
    bool sound = false;
    try {
        RegularExpression const expression("^a{0,2000}$", 0);
    } catch (ZEBNS2::RegularExpressionException const&) {
        sound = true;
    }
    ::setrlimit(RLIMIT_AS, &before);
    std::exit(sound ? 0 : 1);
}

TEST(OwnStackCompilation, FailsWhereThereIsNoStack) {
    if (zeb::test::SANITIZED) {
        GTEST_SKIP() << "a sanitizer needs the addresses";
    }
    EXPECT_EXIT(exitUncompiled(), testing::ExitedWithCode(0), "");
}

/// What a handler of signals has seen.
volatile sig_atomic_t signalsOfOthers = 0;
volatile sig_atomic_t signalsOnOwnStack = 0;
pthread_t caller;
std::uintptr_t stackBegin = 0;
std::uintptr_t stackEnd = 0;

void noteSignal(int /*signal*/) {
    auto const here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (!::pthread_equal(::pthread_self(), caller)) {
        signalsOfOthers = signalsOfOthers + 1;
    } else if (here < stackBegin || here >= stackEnd) {
        signalsOnOwnStack = signalsOnOwnStack + 1;
    }
}

TEST(OwnStackSearch, SignalsStayWithTheCaller) {
    caller = ::pthread_self();
    pthread_attr_t attributes;
    void* begin = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(::pthread_getattr_np(caller, &attributes), 0);
    ASSERT_EQ(::pthread_attr_getstack(&attributes, &begin, &size), 0);
    ::pthread_attr_destroy(&attributes);
    stackBegin = reinterpret_cast<std::uintptr_t>(begin);
    stackEnd = stackBegin + size;

    struct sigaction action{};
    struct sigaction before{};
    action.sa_handler = noteSignal;
    ASSERT_EQ(::sigaction(SIGALRM, &action, &before), 0);
    RegularExpression const expression("(.)\\1+", 0);
    std::string const subject(500, 'a');
    itimerval const every{{0, 200}, {0, 200}};
    itimerval const never{};
    ::setitimer(ITIMER_REAL, &every, nullptr);
    for (int i = 0; i < 10000 && signalsOnOwnStack < 3; ++i) {
        ASSERT_EQ(expression.first_match(subject.c_str()), Offsets(0, 500));
    }
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before, nullptr);
    EXPECT_GE(signalsOnOwnStack, 3);
    EXPECT_EQ(signalsOfOthers, 0);
}

}  // namespace
