// K: small calls, each compared with the least that it must do: the underlying calls of libc or the
// standard library, and a String of the result if there is one.

#include "bench.hpp"

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>

#include <regex.h>
#include <strings.h>

#include <array>
#include <charconv>
#include <cstring>
#include <iterator>

namespace bench {

namespace {

using ZEBNS2::String;
using ZEBNS2::StringArray;

constexpr double NEAR = 1 / 1.3;
constexpr char DIRECT[] = "direct calls";

/// One expression, compiled, used for one search and thrown away.
String firstMatch(char const* pattern, int flags, char const* subject) {
    regex_t compiled;
    regmatch_t match;
    ::regcomp(&compiled, pattern, flags);
    bool const found = ::regexec(&compiled, subject, 1, &match, 0) == 0;
    ::regfree(&compiled);
    return found
               ? String(subject + match.rm_so, static_cast<std::size_t>(match.rm_eo - match.rm_so))
               : String();
}

constexpr char PATTERN[] = "([a-z]+)=([0-9]+)";
// 80 bytes, the match near the end.
constexpr char SUBJECT[] =
    "Mar 14 09:26:53 node17 agent[4242]: quiet link of cable 12 after 8812 ms id=5731";
static_assert(sizeof SUBJECT == 81);

void addRegex() {
    if (wanted("K1")) {
        Contest contest("K1", "RegularExpression from \"([a-z]+)=([0-9]+)\"", sizeof PATTERN - 1);
        contest.add(LIBRARY, [] { return ZEBNS2::RegularExpression(PATTERN, 0).getOptions(); });
        contest.add(DIRECT, [] {
            regex_t compiled;
            int const result = ::regcomp(&compiled, PATTERN, REG_EXTENDED);
            ::regfree(&compiled);
            return result;
        });
        contest.aim(DIRECT, NEAR);
    }
    if (wanted("K2")) {
        static String const subject(SUBJECT);
        static ZEBNS2::RegularExpression const expression(PATTERN, 0);
        static regex_t const compiled = [] {
            regex_t made;
            ::regcomp(&made, PATTERN, REG_EXTENDED);
            return made;
        }();
        Contest contest("K2", "matches on 80 bytes", subject.length());
        contest.add(LIBRARY, [] { return expression.matches(subject); });
        contest.add(DIRECT, [] {
            regmatch_t match;
            return ::regexec(&compiled, subject.c_str(), 1, &match, 0) == 0 && match.rm_so >= 0;
        });
        contest.aim(DIRECT, NEAR);
    }
}

constexpr char DATE_PATTERN[] =
    "((((Mon)|(Tue)|(Wed)|(Thu)|(Fri)|(Sat)|(Sun)) "
    "((Jan)|(Feb)|(Mar)|(Apr)|(May)|(Jun)|(Jul)|(Aug)|(Sep)|(Oct)|(Nov)|(Dec)) "
    "(([0-9])|([0-9][0-9])) ((([0-9][0-9])|([0-9])):[0-9][0-9]:[0-9][0-9]) "
    "([0-9][0-9][0-9][0-9]))|"
    "(((Mon)|(Tue)|(Wed)|(Thu)|(Fri)|(Sat)|(Sun)) "
    "((Jan)|(Feb)|(Mar)|(Apr)|(May)|(Jun)|(Jul)|(Aug)|(Sep)|(Oct)|(Nov)|(Dec)) "
    "(([0-9])|([0-9][0-9])) ((([0-9][0-9])|([0-9])):[0-9][0-9]:[0-9][0-9]) "
    "([A-Za-z][A-Za-z][A-Za-z]) ([0-9][0-9][0-9][0-9])))";

unsigned long long directUnitSize(String const& unit) {
    constexpr int FLAGS = REG_EXTENDED | REG_ICASE;
    String word = firstMatch("((kilo|mega|giga|peta|tera)(byte|bytes|b))", FLAGS, unit.c_str());
    if (word.empty()) {
        word = firstMatch("([kmgpt](byte|bytes|b))", FLAGS, unit.c_str());
    }
    constexpr char const* WORDS[] = {"kb", "k", "mb", "m", "gb"};
    for (std::size_t i = 0; i < std::size(WORDS); ++i) {
        if (::strcasecmp(word.c_str(), WORDS[i]) == 0) {
            return 1024ULL << (10 * (i / 2));
        }
    }
    return 0;
}

void addDatesAndUnits() {
    if (wanted("K3")) {
        static String const unit("10GB");
        Contest contest("K3", "get_unit_size of 10GB", unit.length());
        contest.add(LIBRARY, [] { return ZEBNS2::get_unit_size(unit); });
        contest.add(DIRECT, [] { return directUnitSize(unit); });
        contest.aim(DIRECT, NEAR);
    }
    if (wanted("K4")) {
        static String const text("last change: Tue Mar 14 09:26:53 UTC 2023 by root");
        Contest contest("K4", "extractGenericDate", text.length());
        contest.add(LIBRARY, [] { return ZEBNS2::extractGenericDate(text); });
        contest.add(DIRECT, [] { return firstMatch(DATE_PATTERN, REG_EXTENDED, text.c_str()); });
        contest.aim(DIRECT, NEAR);
    }
}

String directFlatten(StringArray const& arguments) {
    std::string line;
    for (std::string_view const argument : arguments) {
        if (!line.empty()) {
            line += ' ';
        }
        if (argument.find_first_of(" \t\n\r\v\"") == std::string_view::npos) {
            line += argument;
            continue;
        }
        line += '"';
        for (char const byte : argument) {
            if (byte == '"') {
                line += '\\';
            }
            line += byte;
        }
        line += '"';
    }
    return line;
}

void addTexts() {
    if (wanted("K5")) {
        static StringArray const arguments = {"tar",       "-czf",  "archive of today.tar.gz",
                                              "--exclude", "*.tmp", "say \"hi\"",
                                              "/var/log"};
        Contest contest("K5", "flatten 7 arguments",
                        ZEBNS2::CommandLine::flatten(arguments).length());
        contest.add(LIBRARY, [] { return ZEBNS2::CommandLine::flatten(arguments); });
        contest.add(DIRECT, [] { return directFlatten(arguments); });
        contest.aim(DIRECT, NEAR);
    }
    if (wanted("K6")) {
        static String const text("a heading");
        static unsigned int width = 72;
        Contest contest("K6", "centerText to 72 columns", width);
        contest.add(LIBRARY, [] {
            benchmark::DoNotOptimize(width);
            return ZEBNS2::centerText(text, width, '-');
        });
        contest.add(DIRECT, [] {
            benchmark::DoNotOptimize(width);
            std::array<char, 128> line;
            std::memset(line.data(), '-', width);
            std::memcpy(line.data() + (width - text.length()) / 2, text.c_str(), text.length());
            return String(line.data(), width);
        });
        contest.aim(DIRECT, NEAR);
    }
}

void addNumbers() {
    if (wanted("K7")) {
        static unsigned int value = 0xBEEF;
        Contest contest("K7", "Hexify<unsigned int>, padded", 8);
        contest.add(LIBRARY, [] {
            benchmark::DoNotOptimize(value);
            return ZEBNS2::Hexify<unsigned int>(value, true);
        });
        contest.add(DIRECT, [] {
            benchmark::DoNotOptimize(value);
            std::array<char, 8> digits;
            char* const end = std::to_chars(digits.begin(), digits.end(), value, 16).ptr;
            auto const count = static_cast<std::size_t>(end - digits.data());
            std::memmove(digits.end() - count, digits.data(), count);
            std::memset(digits.data(), '0', digits.size() - count);
            return String(digits.data(), digits.size());
        });
        contest.aim(DIRECT, NEAR);
    }
    if (wanted("K8")) {
        static String text("1234567");
        static int base = 10;
        Contest contest("K8", "string_to_number<int>", text.length());
        contest.add(LIBRARY, [] {
            benchmark::DoNotOptimize(text);
            return ZEBNS2::string_to_number<int>(text, base);
        });
        contest.add(DIRECT, [] {
            benchmark::DoNotOptimize(text);
            benchmark::DoNotOptimize(base);
            int number = 0;
            std::from_chars(text.c_str(), text.c_str() + text.length(), number, base);
            return number;
        });
        contest.aim(DIRECT, NEAR);
    }
}

Family const regex(addRegex);
Family const datesAndUnits(addDatesAndUnits);
Family const texts(addTexts);
Family const numbers(addNumbers);

}  // namespace

}  // namespace bench
