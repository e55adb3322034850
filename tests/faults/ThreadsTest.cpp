// Every public function is called by several threads at once, with the same inputs.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

#include "PublicCalls.hpp"

namespace {

using zeb::test::Inputs;
using zeb::test::PublicCall;
using zeb::test::publicCalls;

class Undisturbed : public zeb::test::Attempt {
public:
    bool operator()(zeb::test::Action const& action) override {
        action();
        return true;
    }
};

void callInThreads(PublicCall const& call, Inputs const& in) {
    static constexpr int THREADS = 8;
    static constexpr int ROUNDS = 5;
    std::atomic<int> waiting{THREADS};
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number) {
        threads.emplace_back([&] {
            Undisturbed attempt;
            for (--waiting; waiting > 0;) {
                std::this_thread::yield();
            }
            for (int round = 0; round < ROUNDS; ++round) {
                call.use(attempt, in);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Each call has a process of its own, where all globals are built by one of the threads.
TEST(ThreadsAtOnce, CallAnyPublicFunctionEvenForTheFirstTime) {
    Inputs const in;
    for (PublicCall const& call : publicCalls()) {
        SCOPED_TRACE(call.function);
        std::fflush(nullptr);
        pid_t const child = ::fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            callInThreads(call, in);
            // Not _exit: the thread sanitizer adds its verdict to the status.
            std::exit(HasFailure() || !in.isUntouched() ? 1 : 0);
        }
        int state = 0;
        ASSERT_EQ(::waitpid(child, &state, 0), child);
        ASSERT_TRUE(WIFEXITED(state)) << "signal " << WTERMSIG(state);
        ASSERT_EQ(WEXITSTATUS(state), 0);
    }
}

}  // namespace
