// The peak of memory during one call, each in a separate process: bytes of the input, of the result
// (of a tree, its memory), and the greatest rise of the resident memory above its size before the
// input was made.
//
// Prints a line "work <tab> title <tab> input <tab> output <tab> peak" for each.

#include "inputs.hpp"

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace {

using zeb::xmltoolkit::XMLParserDOM;
using ZEBNS2::Array;
using ZEBNS2::String;
using ZEBNS2::StringArray;
using ZEBNS2::XMLNode;

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

/// Resets the peak to the current resident memory.
void forgetPeak() {
    ::malloc_trim(0);
    std::ofstream clear("/proc/self/clear_refs");
    if (!(clear << 5 << std::flush)) {
        std::cerr << "zeb-peaks: cannot reset the peak through /proc/self/clear_refs\n";
        std::exit(EXIT_FAILURE);
    }
}

/// A tree and its memory.
struct Tree {
    XMLNode root;
    std::size_t bytes;
};

Tree parse(String const& xml) {
    std::size_t const before = memory("VmRSS:");
    XMLNode const root = XMLParserDOM::parse(xml);
    ::malloc_trim(0);
    return {root, memory("VmRSS:") - before};
}

/// @name Bytes of inputs and results
/// @{
std::size_t bytesOf(String const& text) { return text.length(); }
std::size_t bytesOf(Array<char> const& text) { return text.size(); }
std::size_t bytesOf(StringArray const& texts) {
    std::size_t bytes = 0;
    for (String const& text : texts) {
        bytes += text.length();
    }
    return bytes;
}
std::size_t bytesOf(Tree const& tree) { return tree.bytes; }
std::size_t bytesOf(std::filesystem::path const& file) {
    return static_cast<std::size_t>(std::filesystem::file_size(file));
}
/// @}

/// Measures in a child process. `make()` makes the input, `work(input)` is the call. This process
/// itself uses little memory, so that each child starts with a fresh heap.
template <typename Make, typename Work>
void measure(std::string const& name, std::string const& title, Make make, Work work) {
    std::cout.flush();
    pid_t const child = ::fork();
    if (child == 0) {
        std::size_t const before = memory("VmRSS:");
        auto const input = make();
        std::size_t const given = bytesOf(input);
        forgetPeak();
        auto const output = work(input);
        std::size_t const peak = memory("VmHWM:");
        std::cout << name << '\t' << title << '\t' << given << '\t' << bytesOf(output) << '\t'
                  << peak - before << '\n'
                  << std::flush;
        ::_exit(EXIT_SUCCESS);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
        std::cerr << "zeb-peaks: " << name << " failed\n";
        std::exit(EXIT_FAILURE);
    }
}

String fullLog() { return bench::logText(1000000); }

void measureRealSed(char const* name, char const* command) {
    measure(name, std::string("realSed ") + command, fullLog,
            [command](String const& text) { return ZEBNS2::realSed(text, command, 0); });
}

void measureFileEdit() {
    bench::TemporaryFile const file;
    measure(
        "A8", "unprivilegedSed, quiet by itself",
        [&file] {
            std::ofstream(file.path(), std::ios::binary) << fullLog();
            return std::filesystem::path(file.path());
        },
        [](std::filesystem::path const& path) {
            ZEBNS2::unprivilegedSed(path.c_str(), "quiet", "quiet");
            return path;
        });
}

void measureConversion(char const* name, std::string const& script, bench::Script kind,
                       bool bigEndian) {
    measure(
        name, "convertToUTF8 " + script + (bigEndian ? ", big-endian" : ", little-endian"),
        [=] { return bench::utf16Text(kind, bigEndian, std::size_t{64} << 20); },
        [](Array<char> const& text) { return ZEBNS2::convertToUTF8(text); });
}

void measureReplacement(char const* name, std::string const& title, std::size_t distance) {
    measure(
        name, "search_replace, " + title,
        [distance] { return bench::proseText(std::size_t{64} << 20, distance); },
        [](String const& text) {
            return ZEBNS2::search_replace(text, bench::NEEDLE, "replacement");
        });
}

std::size_t disks() { return bench::disksIn(std::size_t{20} << 20); }

String inventory() { return bench::inventoryXML(disks()); }

void measureSearch() {
    String const query =
        "config.disk[id=" + std::to_string(disks() - 1) + "].partition[n=p2].mount";
    measure(
        "X4", "XMLNodeSearch, the last of the disks of X1", [] { return parse(inventory()); },
        [query](Tree const& tree) { return ZEBNS2::XMLNodeSearch(tree.root, query).getText(); });
}

}  // namespace

int main() {
    measureRealSed("A1", R"(s/([a-z]+)=([0-9]+)/\2=\1/g)");
    measureRealSed("A2", "s/quiet/loud/g");
    measureRealSed("A3", "/quiet/d");
    measureRealSed("A4", "/begin/,/end/d");
    measureRealSed("A5", "/^#/d");
    measureRealSed("A6", "s/zebra[0-9]+/X/g");
    measureRealSed("A7", "s/[A-Z]+_[0-9]+/X/g");
    measureFileEdit();
    measureConversion("C1", "ASCII", bench::Script::ASCII, false);
    measureConversion("C2", "Latin and Greek", bench::Script::LATIN_GREEK, false);
    measureConversion("C3", "CJK", bench::Script::CJK, false);
    measureConversion("C4", "emoji", bench::Script::EMOJI, false);
    measureConversion("C5", "ASCII", bench::Script::ASCII, true);
    measureConversion("C6", "Latin and Greek", bench::Script::LATIN_GREEK, true);
    measureConversion("C7", "CJK", bench::Script::CJK, true);
    measureConversion("C8", "emoji", bench::Script::EMOJI, true);
    measureReplacement("D1", "none found", 0);
    measureReplacement("D2", "one in 4 KiB", 4096);
    measureReplacement("D3", "one in 32 bytes", 32);
    measure(
        "F1", "quoted_string_tokenization", [] { return bench::argumentText(10000000); },
        [](String const& text) { return ZEBNS2::quoted_string_tokenization(text, " "); });
    measure("X1", "parsing 20 MiB of XML into a tree", inventory, parse);
    measureSearch();
}
