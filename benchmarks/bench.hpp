#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

/// @file
/// The parts of every benchmark: a work, done by the library and by its peers on the same input;
/// their answers are compared before anything is timed.

namespace bench {

/// The library's name in every contest.
inline constexpr char LIBRARY[] = "library";

/// Whether the command line selects the work `name` (by default it selects all), so that unneeded
/// inputs are not made.
[[nodiscard]] bool wanted(std::string_view name);

/// Resources that this process and its finished child processes have used so far.
struct Usage {
    double processorSeconds = 0;
    /// Pages of memory that the kernel had to provide, because they were touched for the first
    /// time.
    double pageFaults = 0;
};
[[nodiscard]] Usage used();

/// The option that makes the program only call `firstDrop`.
inline constexpr std::string_view FIRST_DROP = "--first-drop";

/// Lets `contestant` parse 20 MiB of XML into a tree as the first action of this process, and
/// returns the seconds of processor time that dropping the tree takes.
[[nodiscard]] double firstDrop(std::string_view contestant);

/// A function that registers the works of a source file; main calls it.
struct Family {
    explicit Family(void (*registerWorks)());
};

/// @name Answers as texts, so that different types can be compared
/// @{
template <typename Answer, std::enable_if_t<std::is_arithmetic_v<Answer>, int> = 0>
std::string asText(Answer answer) {
    return std::to_string(answer);
}
inline std::string asText(std::string_view answer) { return std::string(answer); }
template <typename List, std::enable_if_t<!std::is_arithmetic_v<List> &&
                                              !std::is_convertible_v<List const&, std::string_view>,
                                          int> = 0>
std::string asText(List const& answers) {
    std::string text;
    for (auto const& answer : answers) {
        text.append(asText(answer)).push_back('\n');
    }
    return text;
}
/// @}

/// One work and its contestants. The first contestant is the library; each further one's answer
/// must equal the library's, or the program prints both and exits.
class Contest {
public:
    /// @param name short and unique; "A1@10" is work A1 at ten times its smallest size
    /// @param title for the table
    /// @param bytes that one run of the work processes
    Contest(std::string name, std::string const& title, std::size_t bytes);
    Contest(Contest const&) = delete;
    Contest& operator=(Contest const&) = delete;

    /// Publishes the title and the aims; table.py treats an aim for the library as its limit.
    ~Contest();

    /// Adds a contestant; `work()` is timed, its result's destruction included, and returns the
    /// answer. Everything it refers to must live as long as the program.
    template <typename Work>
    Contest& add(std::string const& contestant, Work work) {
        return add(contestant, work, asText(work()));
    }

    /// Adds a contestant whose timed run has no answer, such as a process that writes to /dev/null;
    /// `answer` comes from another run of it.
    template <typename Work>
    Contest& add(std::string const& contestant, Work work, std::string const& answer) {
        compare(contestant, answer);
        std::string const benchmarkName = name_ + '/' + contestant;
        std::size_t const bytes = bytes_;
        auto* const registered = benchmark::RegisterBenchmark(
            benchmarkName.c_str(), [work, bytes](benchmark::State& state) mutable {
                Usage const start = used();
                for ([[maybe_unused]] auto _ : state) {
                    benchmark::DoNotOptimize(work());
                }
                Usage const end = used();
                auto const runs = static_cast<double>(state.iterations());
                state.counters["processor_seconds"] =
                    (end.processorSeconds - start.processorSeconds) / runs;
                state.counters["page_faults"] = (end.pageFaults - start.pageFaults) / runs;
                state.counters["bytes"] = static_cast<double>(bytes);
                state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
            });
        // Measured by this process's own processor time, a contestant that starts others would
        // never run long enough.
        registered->UseRealTime();
        return *this;
    }

    /// The library is to be at least `factor` times as fast as `contestant`; as the best peer when
    /// that is "*".
    Contest& aim(std::string const& contestant, double factor);

    /// The library is to take at most `milliseconds`.
    Contest& limit(double milliseconds) { return aim(LIBRARY, milliseconds); }

private:
    void compare(std::string const& contestant, std::string const& answer);

    std::string name_;
    std::string description_;
    std::size_t bytes_;
    bool hasExpected_ = false;
    std::string expected_;
};

}  // namespace bench
