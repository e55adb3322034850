#include "bench.hpp"

#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <regex>
#include <sstream>

namespace bench {

namespace {

std::vector<void (*)()>& families() {
    static std::vector<void (*)()> registered;
    return registered;
}

std::regex& selection() {
    static std::regex works(".*");
    return works;
}

}  // namespace

Usage used() {
    Usage sum;
    for (int const who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage one{};
        ::getrusage(who, &one);
        for (timeval const& time : {one.ru_utime, one.ru_stime}) {
            sum.processorSeconds +=
                static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        }
        sum.pageFaults += static_cast<double>(one.ru_minflt);
    }
    return sum;
}

Family::Family(void (*registerWorks)()) { families().push_back(registerWorks); }

bool wanted(std::string_view name) {
    return std::regex_match(name.begin(), name.end(), selection());
}

Contest::Contest(std::string name, std::string const& title, std::size_t bytes)
    : name_(std::move(name)), description_(title), bytes_(bytes) {}

Contest::~Contest() { benchmark::AddCustomContext(name_, description_); }

Contest& Contest::aim(std::string const& contestant, double factor) {
    std::ostringstream text;
    text << '\t' << contestant << '\t' << factor;
    description_ += text.str();
    return *this;
}

void Contest::compare(std::string const& contestant, std::string const& answer) {
    if (!hasExpected_) {
        expected_ = answer;
        hasExpected_ = true;
        return;
    }
    if (answer == expected_) {
        return;
    }
    auto const length = std::min(answer.size(), expected_.size());
    auto const offset = static_cast<std::size_t>(
        std::mismatch(answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(length),
                      expected_.begin())
            .first -
        answer.begin());
    std::size_t const shown = offset < 20 ? 0 : offset - 20;
    std::cerr << "zeb-bench: " << name_ << ": the answers differ at byte " << offset << "\n  "
              << LIBRARY << " (" << expected_.size() << " bytes): ..."
              << expected_.substr(shown, 60) << "\n  " << contestant << " (" << answer.size()
              << " bytes): ..." << answer.substr(shown, 60) << '\n';
    std::exit(EXIT_FAILURE);
}

}  // namespace bench

// zeb-bench [works] [--benchmark_...]: works is a regular expression for the names of those wanted.
// zeb-bench --first-drop <contestant>: what the work X6 runs; prints seconds.
int main(int argc, char** argv) {
    if (argc == 3 && argv[1] == bench::FIRST_DROP) {
        std::cout << bench::firstDrop(argv[2]) << '\n';
        return EXIT_SUCCESS;
    }
    benchmark::Initialize(&argc, argv);
    if (argc > 1 && argv[1][0] != '-') {
        bench::selection() = argv[1];
        argv[1] = argv[0];
        ++argv;
        --argc;
    }
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    benchmark::AddCustomContext("compiler", __VERSION__);
    for (auto* const registerWorks : bench::families()) {
        registerWorks();
    }
    return benchmark::RunSpecifiedBenchmarks() == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
