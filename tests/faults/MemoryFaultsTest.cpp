// Every allocation of every public function fails. A program of its own, because it replaces malloc
// and the C library's functions for expressions.

#include <OrventoTextOperations.hpp>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <regex.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <iostream>
#include <new>

#include <zeb/foundation/Logger.hpp>

#include "FailingMalloc.hpp"
#include "PublicCalls.hpp"

namespace {

/// Whether the expressions of the C library keep their memory in the present call.
bool sparesExpressions = false;

template <typename Function>
Function* libc(char const* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

class SparedExpression {
public:
    SparedExpression() : before_(zeb::test::sparesAllocations) {
        zeb::test::sparesAllocations = sparesExpressions;
    }
    SparedExpression(SparedExpression const&) = delete;
    SparedExpression& operator=(SparedExpression const&) = delete;
    ~SparedExpression() { zeb::test::sparesAllocations = before_; }

private:
    bool before_;
};

}  // namespace

extern "C" {

int regcomp(regex_t* expression, char const* pattern, int flags) {
    static auto* const function = libc<decltype(regcomp)>("regcomp");
    SparedExpression const spared;
    long const before = zeb::test::blocksInUse;
    int const result = function(expression, pattern, flags);
    if (result != 0) {
        // Of a failed compilation there is nothing to free, but the C library forgets some of it.
        zeb::test::blocksInUse = before;
    }
    return result;
}

int regexec(regex_t const* expression, char const* subject, std::size_t slotCount,
            regmatch_t* slots, int flags) {
    static auto* const function = libc<decltype(regexec)>("regexec");
    SparedExpression const spared;
    return function(expression, subject, slotCount, slots, flags);
}

}  // extern "C"

namespace {

using zeb::foundation::IntrusiveReference;
using zeb::foundation::LogAppender;
using zeb::foundation::Logger;
using zeb::foundation::LogMessage;
using zeb::test::allocationsLeft;
using zeb::test::allocationsRefused;
using zeb::test::blocksInUse;
using zeb::test::Inputs;
using zeb::test::PublicCall;
using zeb::test::publicCalls;
using zeb::test::UNLIMITED;

/// Memory for `allocations` of a call.
class Shortage : public zeb::test::Attempt {
public:
    explicit Shortage(long allocations) : allocations_(allocations) {}

    bool operator()(zeb::test::Action const& action) override {
        bool ended = true;
        allocationsLeft = allocations_;
        try {
            action();
        } catch (std::bad_alloc const&) {
            ended = false;
        }
        allocationsLeft = UNLIMITED;
        return ended;
    }

private:
    long allocations_;
};

/// What is formatted for it needs memory, it does not itself.
class Silence : public LogAppender {
public:
    void append(LogMessage const&) override {}
};

void setLevel(Logger::Level level) {
    Logger::setDefault(level, IntrusiveReference<LogAppender>(new Silence));
}

/// Runs `call` with memory for so many allocations.
/// @return whether one was refused
bool refusedWith(long allocations, PublicCall const& call, Inputs const& in) {
    long const before = allocationsRefused;
    sparesExpressions = call.sparesExpressions;
    Shortage shortage(allocations);
    call.use(shortage, in);
    sparesExpressions = false;
    return allocationsRefused != before;
}

TEST(MemoryFaults, OfAFirstUseAreForgottenByTheSecond) {
    if (testing::UnitTest::GetInstance()->test_to_run_count() > 1) {
        GTEST_SKIP() << "needs globals that no other test of this process has used";
    }
    ASSERT_EQ(ZEBNS2::TextOperations::COMPONENT_NAME.built, 0);
    Inputs const in;
    enum : int { ENDED, REFUSED, WRONG };
    for (PublicCall const& call : publicCalls()) {
        SCOPED_TRACE(call.function);
        int status = REFUSED;
        for (long allocations = 0; status == REFUSED; ++allocations) {
            pid_t const child = ::fork();
            ASSERT_NE(child, -1);
            if (child == 0) {
                bool const refused = refusedWith(allocations, call, in);
                refusedWith(UNLIMITED, call, in);
                ::_exit(HasFailure() || !in.isUntouched() ? WRONG : refused ? REFUSED : ENDED);
            }
            int state = 0;
            ASSERT_EQ(::waitpid(child, &state, 0), child);
            ASSERT_TRUE(WIFEXITED(state)) << "signal " << WTERMSIG(state);
            status = WEXITSTATUS(state);
        }
        ASSERT_EQ(status, ENDED);
    }
}

/// Fails each allocation of each call, with and without logging.
/// @param once whether the allocations after a failed one succeed
void failEach(bool once) {
    // The list of calls must keep allocating: fewer points would test less.
    static constexpr long LEAST_POINTS = 2000;
    Inputs const in;
    long points = 0;
    for (Logger::Level const level : {Logger::NO_LEVEL, Logger::DEBUG3_LEVEL}) {
        for (PublicCall const& call : publicCalls()) {
            setLevel(level);
            refusedWith(UNLIMITED, call, in);  // builds what stays
            bool refused = true;
            for (long allocations = 0; refused; ++allocations) {
                setLevel(level);  // a call may have changed it
                zeb::test::failsOnce = once;
                long const before = blocksInUse;
                refused = refusedWith(allocations, call, in);
                zeb::test::failsOnce = false;
                setLevel(level);
                EXPECT_EQ(blocksInUse, before) << "leaked";
                EXPECT_TRUE(in.isUntouched());
                ASSERT_FALSE(testing::Test::HasFailure())
                    << call.function << " at allocation " << allocations << ", level " << level;
                points += refused ? 1 : 0;
            }
        }
    }
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    std::cout << points << " allocations of " << publicCalls().size() << " calls have failed\n";
    EXPECT_GE(points, LEAST_POINTS);
}

TEST(MemoryFaults, OfOneAllocationLeaveNothingBehind) { failEach(/*once=*/true); }

TEST(MemoryFaults, OfAllAllocationsFromOneOnLeaveNothingBehind) { failEach(/*once=*/false); }

}  // namespace
