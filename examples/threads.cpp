// Counting lines in several threads: each has an expression of its own, all share the lines.

#include <OrventoCommonRegex.hpp>

#include <cstddef>
#include <functional>
#include <iostream>
#include <thread>
#include <vector>

using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

namespace {

/// Counts the matches in every `step`-th line from `first` on.
void countErrors(StringArray const& lines, std::size_t first, std::size_t step, int& count) {
    // Compiled once in each thread: one shared expression would work too, but the C library lets
    // one thread at a time search with it.
    RegularExpression const error("^error: ", RegularExpression::EXTENDED_SYNTAX);
    for (std::size_t i = first; i < lines.size(); i += step) {
        count += error.matches(lines[i]) ? 1 : 0;
    }
}

}  // namespace

int main() {
    StringArray lines;
    for (int i = 0; i < 1000; ++i) {
        lines.append(i % 10 == 0 ? "error: disk full" : "info: all well");
    }

    constexpr std::size_t THREADS = 3;
    std::vector<int> counts(THREADS);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads.emplace_back(countErrors, std::cref(lines), i, THREADS, std::ref(counts[i]));
    }
    int total = 0;
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads[i].join();
        total += counts[i];
    }
    std::cout << total << " errors\n";
}
