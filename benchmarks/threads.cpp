// T: one RegularExpression shared by all threads, compared with one for each thread.

#include "bench.hpp"

#include <OrventoCommonRegex.hpp>

namespace bench {

namespace {

void matchInThreads(benchmark::State& state, bool shared) {
    static ZEBNS2::RegularExpression const common("([a-z]+)=([0-9]+)", 0);
    ZEBNS2::RegularExpression const own = common;
    ZEBNS2::RegularExpression const& expression = shared ? common : own;
    ZEBNS2::String const subject("Mar 14 09:26:53 node17 agent[4242]: quiet link id=5731");
    for ([[maybe_unused]] auto _ : state) {
        bool const found = expression.matches(subject);
        if (!found) {
            state.SkipWithError("no match");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}

void addThreads() {
    for (auto const& [name, title, shared] :
         {std::tuple("T1", "matches, one expression shared by the threads", true),
          std::tuple("T2", "matches, one expression for each thread", false)}) {
        if (wanted(name)) {
            benchmark::AddCustomContext(name, title);
            bool const isShared = shared;
            benchmark::RegisterBenchmark(
                (std::string(name) + '/' + LIBRARY).c_str(),
                [isShared](benchmark::State& state) { matchInThreads(state, isShared); })
                ->Threads(1)
                ->Threads(2)
                ->UseRealTime();
        }
    }
}

Family const threads(addThreads);

}  // namespace

}  // namespace bench
