// Fixed works whose instructions callgrind counts (tools/bench --counts).
//
// zeb-counts lists them: name, and what one unit is zeb-counts <name> does one, once to warm up and
// once inside zeb_counted, and prints its units

#include "inputs.hpp"

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <string_view>

namespace {

using ZEBNS2::Array;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

/// Prevents a result from being optimised away.
template <typename T>
void use(T const& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

struct Entry {
    std::string_view name;
    std::string_view unit;
    /// Does the work and returns the number of units done. The first call makes the input, so that
    /// only the second one counts.
    std::function<std::size_t()> work;
};

/// `call()` a hundred times.
template <typename Call>
std::function<std::size_t()> calls(Call call) {
    return [call] {
        constexpr std::size_t TIMES = 100;
        for (std::size_t i = 0; i < TIMES; ++i) {
            use(call());
        }
        return TIMES;
    };
}

std::function<std::size_t()> edit(char const* command) {
    return [command] {
        constexpr std::size_t LINES = 2000;
        static String const text = bench::logText(LINES);
        use(ZEBNS2::realSed(text, command, 0));
        return LINES;
    };
}

template <bench::Script SCRIPT, bool BIG_ENDIAN_TEXT>
std::size_t convert() {
    static Array<char> const text = bench::utf16Text(SCRIPT, BIG_ENDIAN_TEXT, 65536);
    use(ZEBNS2::convertToUTF8(text));
    return text.size() / 2;
}

template <std::size_t DISTANCE>
std::size_t replace() {
    static String const text = bench::proseText(65536, DISTANCE);
    static String const needle(bench::NEEDLE);
    static String const replacement("replacement");
    use(ZEBNS2::search_replace(text, needle, replacement));
    return text.length() / 1024;
}

std::size_t tokenize() {
    static String const text = bench::argumentText(65536);
    return ZEBNS2::quoted_string_tokenization(text, " ").size();
}

std::size_t repair() {
    static Array<unsigned short> const units(10000, 'x');
    static String const prefix;
    Array<unsigned short> repaired = units;
    ZEBNS2::replaceInvalidXMLCharacters(repaired, prefix);
    return units.size();
}

constexpr std::size_t DISKS = 200;

std::size_t parseXML() {
    static String const text = bench::inventoryXML(DISKS);
    use(zeb::xmltoolkit::XMLParserDOM::parse(text));
    return text.length() / 1024;
}

/// The wanted disk is the last one.
std::size_t searchXML() {
    static ZEBNS2::XMLNode const tree =
        zeb::xmltoolkit::XMLParserDOM::parse(bench::inventoryXML(DISKS));
    static String const query("config.disk[id=199].partition[n=p2].mount");
    use(ZEBNS2::XMLNodeSearch(tree, query));
    return DISKS;
}

constexpr char PATTERN[] = "([a-z]+)=([0-9]+)";

String const& line() {
    static String const text(
        "Mar 14 09:26:53 node17 agent[4242]: quiet link of cable 12 after 8812 ms id=5731");
    return text;
}

RegularExpression const& expression() {
    static RegularExpression const compiled(PATTERN, 0);
    return compiled;
}

Entry const ENTRIES[] = {
    {"realSed-swap", "line", edit(R"(s/([a-z]+)=([0-9]+)/\2=\1/g)")},
    {"realSed-literal", "line", edit("s/quiet/loud/g")},
    {"realSed-delete", "line", edit("/quiet/d")},
    {"realSed-range", "line", edit("/begin/,/end/d")},
    {"realSed-no-match", "line", edit("s/zebra[0-9]+/X/g")},
    {"convert-ascii", "UTF-16 unit", convert<bench::Script::ASCII, false>},
    {"convert-latin-greek", "UTF-16 unit", convert<bench::Script::LATIN_GREEK, false>},
    {"convert-cjk", "UTF-16 unit", convert<bench::Script::CJK, false>},
    {"convert-emoji", "UTF-16 unit", convert<bench::Script::EMOJI, false>},
    {"convert-cjk-big-endian", "UTF-16 unit", convert<bench::Script::CJK, true>},
    {"replace-none", "KiB", replace<0>},
    {"replace-sparse", "KiB", replace<4096>},
    {"replace-dense", "KiB", replace<32>},
    {"tokenize", "token", tokenize},
    {"repair-xml", "UTF-16 unit", repair},
    {"parse-xml", "KiB", parseXML},
    {"search-xml", "disk", searchXML},
    {"expression", "call", calls([] { return RegularExpression(PATTERN, 0).getOptions(); })},
    {"matches", "call", calls([] { return expression().matches(line()); })},
    {"all-matches", "call", calls([] { return expression().all_matches(line()); })},
    {"sed", "call", calls([] { return ZEBNS2::sed(line(), expression(), "%2=%1"); })},
    {"unit-size", "call", calls([] {
         static String const unit("10GB");
         return ZEBNS2::get_unit_size(unit);
     })},
    {"date", "call", calls([] {
         static String const text("last change: Tue Mar 14 09:26:53 UTC 2023 by root");
         return ZEBNS2::extractGenericDate(text);
     })},
    {"flatten", "call", calls([] {
         static StringArray const arguments = {"tar", "-czf", "archive of today.tar.gz", "*.tmp"};
         return ZEBNS2::CommandLine::flatten(arguments);
     })},
    {"center", "call", calls([] {
         static String const text("a heading");
         return ZEBNS2::centerText(text, 72, '-');
     })},
    {"hexify", "call", calls([] { return ZEBNS2::Hexify<unsigned int>(0xBEEF, true); })},
    {"number", "call", calls([] {
         static String const text("1234567");
         return ZEBNS2::string_to_number<int>(text, 10);
     })},
};

}  // namespace

/// The function that callgrind counts.
extern "C" [[gnu::noinline]] std::size_t zeb_counted(std::function<std::size_t()> const& work) {
    return work();
}

int main(int argc, char** argv) {
    if (argc == 1) {
        for (Entry const& entry : ENTRIES) {
            std::cout << entry.name << '\t' << entry.unit << '\n';
        }
        return EXIT_SUCCESS;
    }
    for (Entry const& entry : ENTRIES) {
        if (entry.name == argv[1]) {
            entry.work();
            std::cout << zeb_counted(entry.work) << '\n';
            return EXIT_SUCCESS;
        }
    }
    std::cerr << "zeb-counts: no work " << argv[1] << '\n';
    return EXIT_FAILURE;
}
