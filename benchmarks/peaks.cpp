// The peak of memory during one call, in a process of its own for each: bytes of the input, of the
// result, and how far the resident memory rose at most above what it was before the input was made.
//
// Prints a line "name <tab> input <tab> output <tab> peak" for each.

#include "inputs.hpp"

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>

namespace {

using ZEBNS2::String;

/// A field of /proc/self/status such as "VmHWM:", in bytes.
std::size_t memory(std::string const& field) {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        if (word == field) {
            std::size_t kibibytes = 0;
            status >> kibibytes;
            return kibibytes * 1024;
        }
    }
    std::cerr << "zeb-peaks: no " << field << " in /proc/self/status\n";
    std::exit(EXIT_FAILURE);
}

/// Makes the peak start anew at what is resident now.
void forgetPeak() {
    ::malloc_trim(0);
    std::ofstream clear("/proc/self/clear_refs");
    if (!(clear << 5 << std::flush)) {
        std::cerr << "zeb-peaks: cannot reset the peak through /proc/self/clear_refs\n";
        std::exit(EXIT_FAILURE);
    }
}

/// Measures in a child process. `make()` makes the input, `bytes(input)` tells its size,
/// `work(input)` is the call and returns the size of its result.
template <typename Make, typename Bytes, typename Work>
void measure(std::string const& name, Make make, Bytes bytes, Work work) {
    std::cout.flush();
    pid_t const child = ::fork();
    if (child == 0) {
        std::size_t const before = memory("VmRSS:");
        auto const input = make();
        forgetPeak();
        std::size_t const output = work(input);
        std::size_t const peak = memory("VmHWM:");
        std::cout << name << '\t' << bytes(input) << '\t' << output << '\t' << peak - before << '\n'
                  << std::flush;
        ::_exit(EXIT_SUCCESS);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
        std::cerr << "zeb-peaks: " << name << " failed\n";
        std::exit(EXIT_FAILURE);
    }
}

template <typename Make, typename Work>
void measureText(std::string const& name, Make make, Work work) {
    measure(
        name, make, [](String const& text) { return text.length(); },
        [work](String const& text) { return work(text).length(); });
}

void measureRealSed(char const* command) {
    measureText(
        std::string("realSed ") + command, [] { return bench::logText(1000000); },
        [command](String const& text) { return ZEBNS2::realSed(text, command, 0); });
}

void measureConversion(char const* script, bench::Script kind) {
    measure(
        std::string("convertToUTF8 ") + script,
        [kind] { return bench::utf16Text(kind, /*bigEndian=*/false, std::size_t{64} << 20); },
        [](auto const& text) { return text.size(); },
        [](auto const& text) { return ZEBNS2::convertToUTF8(text).length(); });
}

void measureFile() {
    char path[] = "/tmp/zeb-peaks.XXXXXX";
    ::close(::mkstemp(path));
    measure(
        "unprivilegedSed",
        [&path] {
            std::ofstream(path, std::ios::binary) << bench::logText(1000000);
            return String(path);
        },
        [](String const& file) {
            std::ifstream in(file.c_str(), std::ios::binary | std::ios::ate);
            return static_cast<std::size_t>(in.tellg());
        },
        [](String const& file) {
            ZEBNS2::unprivilegedSed(file, "quiet", "calm");
            std::ifstream in(file.c_str(), std::ios::binary | std::ios::ate);
            return static_cast<std::size_t>(in.tellg());
        });
    ::unlink(path);
}

}  // namespace

int main() {
    measureRealSed(R"(s/([a-z]+)=([0-9]+)/\2=\1/g)");
    measureRealSed("s/quiet/loud/g");
    measureRealSed("/quiet/d");
    measureRealSed("/begin/,/end/d");
    measureRealSed("/^#/d");
    measureFile();
    measureConversion("ASCII", bench::Script::ASCII);
    measureConversion("Latin and Greek", bench::Script::LATIN_GREEK);
    measureConversion("CJK", bench::Script::CJK);
    measureConversion("emoji", bench::Script::EMOJI);
    measureText(
        "search_replace, one in 32 bytes",
        [] { return bench::proseText(std::size_t{64} << 20, 32); },
        [](String const& text) {
            return ZEBNS2::search_replace(text, bench::NEEDLE, "replacement");
        });
    measure(
        "quoted_string_tokenization", [] { return bench::argumentText(10000000); },
        [](String const& text) { return text.length(); },
        [](String const& text) {
            std::size_t bytes = 0;
            for (String const& token : ZEBNS2::quoted_string_tokenization(text, " ")) {
                bytes += token.length();
            }
            return bytes;
        });
}
