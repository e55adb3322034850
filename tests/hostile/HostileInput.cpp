// Hostile patterns, texts and XML, each in a child process, in a thread with a small stack and with
// limits on processor time and memory.
//
//   hostile_input           through the library alone
//   hostile_input --table   with libc or libexpat alone as well, as the rows of a table
//
// Both fail when the library does with an input what is not expected of it, and name the input.

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>

#include <expat.h>
#include <pthread.h>
#include <regex.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Repeat.hpp"
#include "Sanitized.hpp"

namespace {

using zeb::test::repeat;
using ZEBNS2::RegularExpression;
using ZEBNS2::String;

/// Exit codes of the children, none of which a sanitizer or a failed start would leave.
enum class Outcome { WORKS = 40, REFUSED, OUT_OF_MEMORY, CANNOT_START };
constexpr Outcome WORKS = Outcome::WORKS;
constexpr Outcome REFUSED = Outcome::REFUSED;

/// What is done with an input, by the library or without it.
using Way = std::function<Outcome()>;

struct Input {
    std::string name;
    Way alone;  ///< may be empty
    Way library;
    Outcome expected;  ///< of the library
};

/// Makes a text in the child that needs it, lest large ones count as memory of all others.
using Text = std::function<std::string()>;

std::vector<std::string> subjects() {
    return {"", "a", "b", "aa", ",a", std::string(60, 'a') + ";", std::string(20000, 'a')};
}

Outcome compileAndSearch(std::string const& pattern, RegularExpression::CompilationOptions syntax) {
    regex_t compiled;
    int const error = ::regcomp(&compiled, pattern.c_str(),
                                syntax == RegularExpression::EXTENDED_SYNTAX ? REG_EXTENDED : 0);
    if (error != 0) {
        return error == REG_ESPACE ? Outcome::OUT_OF_MEMORY : REFUSED;
    }
    std::vector<regmatch_t> slots(compiled.re_nsub + 1);
    for (std::string const& subject : subjects()) {
        ::regexec(&compiled, subject.c_str(), slots.size(), slots.data(), 0);
    }
    ::regfree(&compiled);
    return WORKS;
}

Outcome searchWithLibrary(std::string const& pattern,
                          RegularExpression::CompilationOptions syntax) {
    RegularExpression const expression(pattern, syntax);
    for (std::string const& subject : subjects()) {
        static_cast<void>(expression.first_match(subject.c_str()));
    }
    return WORKS;
}

Input pattern(std::string const& name, Text const& text, Outcome expected,
              RegularExpression::CompilationOptions syntax) {
    return {"`" + name + "`", [text, syntax] { return compileAndSearch(text(), syntax); },
            [text, syntax] { return searchWithLibrary(text(), syntax); }, expected};
}

Input pattern(std::string const& name, std::string const& text, Outcome expected) {
    return pattern(name, [text] { return text; }, expected, RegularExpression::EXTENDED_SYNTAX);
}

Input pattern(std::string const& text, Outcome expected) { return pattern(text, text, expected); }

Input xml(std::string const& name, Text const& document, Outcome expected) {
    return {name,
            [document] {
                std::string const text = document();
                XML_Parser const parser = ::XML_ParserCreate(nullptr);
                ::XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_ALWAYS);
                auto const status =
                    ::XML_Parse(parser, text.data(), static_cast<int>(text.size()), XML_TRUE);
                ::XML_ParserFree(parser);
                return status == XML_STATUS_OK ? WORKS : REFUSED;
            },
            [document] {
                String message;
                return ZEBNS2::validateXML(document(), message) ? WORKS : REFUSED;
            },
            expected};
}

Input sed(std::string const& name, std::string const& text, std::string const& commands,
          Outcome expected) {
    return {name,
            {},
            [text, commands] {
                static_cast<void>(ZEBNS2::realSed(text, commands, 0));
                return WORKS;
            },
            expected};
}

std::string entities(bool inAttribute) {
    std::string text = "<!DOCTYPE r [<!ENTITY e0 \"ha\">";
    for (int i = 1; i < 30; ++i) {
        std::string const reference = "&e" + std::to_string(i - 1) + ";";
        text += "<!ENTITY e" + std::to_string(i) + " \"" + repeat(reference, 10) + "\">";
    }
    return text + (inAttribute ? "]><r a=\"&e29;\"/>" : "]><r>&e29;</r>");
}

/// Entities each of which refers to the one before.
std::string chain(std::size_t links, std::string const& before, std::string const& behind) {
    std::string text = "<!DOCTYPE r [<!ENTITY e0 'x'>";
    for (std::size_t i = 1; i < links; ++i) {
        text += "<!ENTITY e" + std::to_string(i) + " '" + before + "&e" + std::to_string(i - 1) +
                ";" + behind + "'>";
    }
    return text;
}

/// The same with parameter entities.
std::string parameterChain(std::size_t links) {
    std::string text = "<!DOCTYPE r [<!ENTITY % e0 '<!--x-->'>";
    for (std::size_t i = 1; i < links; ++i) {
        text += "<!ENTITY % e" + std::to_string(i) + " '&#37;e" + std::to_string(i - 1) + ";'>";
    }
    return text;
}

constexpr std::size_t LINKS = 200000;
std::string const LAST = "e" + std::to_string(LINKS - 1) + ";";

/// `text`, in UTF-16 with its mark, with the unit "@" replaced by a lone surrogate.
std::string withLoneSurrogate(std::string_view text) {
    std::string bytes = "\xFF\xFE";
    for (char const byte : text) {
        bytes += byte == '@' ? std::string("\x3D\xD8") : std::string{byte, '\0'};
    }
    return bytes;
}

std::string numbered(std::size_t count, std::string_view before, std::string_view after) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text.append(before).append(std::to_string(i)).append(after);
    }
    return text;
}

constexpr std::size_t MILLION = 1000000;

std::vector<Input> inputs() {
    return {
        pattern("(^12568 a )^12568", repeat("(", 12568) + "a" + repeat(")", 12568), REFUSED),
        pattern(
            "\\(^12568 a \\)^12568, basic",
            [] { return repeat("\\(", 12568) + "a" + repeat("\\)", 12568); }, REFUSED,
            RegularExpression::BASIC_SYNTAX),
        pattern("(^12568 a, not closed", repeat("(", 12568) + "a", REFUSED),
        pattern("(a*)^8000", repeat("(a*)", 8000), REFUSED),
        pattern("()^32000", repeat("()", 32000), REFUSED),
        pattern("a?^32000", repeat("a?", 32000), REFUSED),
        pattern("a*^32000", repeat("a*", 32000), REFUSED),
        pattern("a +^50", "a" + repeat("+", 50), REFUSED),
        pattern("nested (..)+^16", repeat("(", 16) + "a" + repeat(")+", 16), REFUSED),
        pattern("a *^4000", "a" + repeat("*", 4000), REFUSED),
        pattern("a{0,32767}", REFUSED),
        pattern("(a{1000}){1000}", REFUSED),
        pattern("nested (..){2}^24", repeat("(", 24) + "a" + repeat("){2}", 24), REFUSED),
        pattern("((a{1,200}){1,200}){1,200}", REFUSED),
        pattern("\\b^60", repeat("\\b", 60), REFUSED),
        pattern("^ 500 times", repeat("^", 500), REFUSED),
        pattern("a|^999 a", repeat("a|", 999) + "a", WORKS),
        pattern("a|^4999 a", repeat("a|", 4999) + "a", REFUSED),
        pattern(
            "a^10000000", [] { return std::string(10 * MILLION, 'a'); }, REFUSED,
            RegularExpression::EXTENDED_SYNTAX),
        pattern("(|)(\\1\\1)*", REFUSED),
        pattern("(^)(\\1\\1)+", REFUSED),
        pattern("(\\b)(\\1\\1)*", REFUSED),
        pattern("((|)\\2\\2)*", REFUSED),
        pattern("(a?)(\\1\\1)*", REFUSED),
        pattern("(|)(|)(\\1\\2)*", REFUSED),
        pattern("(|)(\\1x?\\1)*", REFUSED),
        pattern("(a*)(\\1\\1)*", REFUSED),
        pattern("(|)(\\1|\\1\\1)*", REFUSED),
        pattern("(|)((\\1)+)+", REFUSED),
        pattern("((a*)*\\2)*", REFUSED),
        pattern("(\"?)(\\1?[a-z])*;", REFUSED),
        pattern("(a*)(\\1)*", REFUSED),
        pattern("(a+)(\\1\\1)*", REFUSED),
        pattern("(a*|b|c*)*", REFUSED),
        pattern("((^|,)*)*", REFUSED),
        pattern("(^|$|\\<|\\>|\\`)*", REFUSED),
        pattern("(.)\\1+", WORKS),
        xml(
            "XML, depth 1,000,000", [] { return repeat("<a>", MILLION) + repeat("</a>", MILLION); },
            REFUSED),
        xml(
            "XML, depth 1,000,000, not closed", [] { return repeat("<a>", MILLION); }, REFUSED),
        xml(
            "XML, billion laughs", [] { return entities(false); }, REFUSED),
        xml(
            "XML, billion laughs in an attribute", [] { return entities(true); }, REFUSED),
        xml(
            "XML, quadratic blow-up",
            [] {
                return "<!DOCTYPE r [<!ENTITY e \"" + std::string(100000, 'x') + "\">]><r>" +
                       repeat("&e;", 100000) + "</r>";
            },
            REFUSED),
        xml(
            "XML, 1,000,000 attributes",
            [] { return "<r" + numbered(MILLION, " a", "=\"\"") + "/>"; }, WORKS),
        xml(
            "XML, 1,000,000 distinct names",
            [] { return "<r>" + numbered(MILLION, "<n", "/>") + "</r>"; }, WORKS),
        xml(
            "XML, 200,000 entities nested in content",
            [] { return chain(LINKS, "", "") + "]><r>&" + LAST + "</r>"; }, REFUSED),
        xml(
            "XML, 200,000 entities nested, each with an element",
            [] { return chain(LINKS, "<b>", "</b>") + "]><r>&" + LAST + "</r>"; }, REFUSED),
        xml(
            "XML, 200,000 entities nested in an attribute",
            [] { return chain(LINKS, "", "") + "]><r a='&" + LAST + "'/>"; }, REFUSED),
        xml(
            "XML, 200,000 entities nested in a default value",
            [] { return chain(LINKS, "", "") + "<!ATTLIST r a CDATA '&" + LAST + "'>]><r/>"; },
            REFUSED),
        xml(
            "XML, 200,000 parameter entities nested",
            [] { return parameterChain(LINKS) + "%" + LAST + "]><r/>"; }, REFUSED),
        xml(
            "XML, 200,000 parameter entities nested in a value",
            [] {
                return parameterChain(LINKS) + "<!ENTITY % t '<!ENTITY z \"&#37;" + LAST +
                       "\">'>%t;]><r/>";
            },
            REFUSED),
        xml(
            "XML, 200,000 entities nested, never referred to",
            [] { return chain(LINKS, "", "") + "]><r/>"; }, WORKS),
        xml(
            "XML, 200,000 entities that refer to one",
            [] {
                return "<!DOCTYPE r [<!ENTITY e 'x'>" + numbered(LINKS, "<!ENTITY e", " '&e;'>") +
                       "]><r>&e5;</r>";
            },
            WORKS),
        xml(
            "XML, a lone surrogate before a tag, in UTF-16",
            [] { return withLoneSurrogate("<r>@<b/></r>"); }, REFUSED),
        xml(
            "XML, a mark of UTF-8 and `encoding='ISO-8859-1'`",
            [] {
                return std::string("\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><r/>");
            },
            REFUSED),
        xml(
            "XML, `version='9'`", [] { return "<?xml version='9'?><r/>"; }, REFUSED),
        sed("sed, `s/(.)\\1+/\\1/g` on 1,000 runs", repeat("aab", 1000), "s/(.)\\1+/\\1/g", WORKS),
        sed("sed, `s/((a*)*\\2)*/x/`", "b", "s/((a*)*\\2)*/x/", REFUSED),
        sed("sed, 1,000,000 semicolons", "a", repeat(";", MILLION), WORKS),
        {"UTF-16, 1,000,001 bytes DC",
         {},
         [] {
             std::string const bytes(MILLION + 1, '\xDC');
             ZEBNS2::Array<char> data;
             for (char const byte : bytes) {
                 data.push_back(byte);
             }
             static_cast<void>(
                 ZEBNS2::UTF16ToUTF32(ZEBNS2::regroupUTF16(data, ZEBNS2::BOM_UTF16_LE)));
             return WORKS;
         },
         REFUSED},
    };
}

void* threadMain(void* argument) {
    auto const& way = *static_cast<Way const*>(argument);
    Outcome outcome = REFUSED;
    try {
        outcome = way();
    } catch (std::bad_alloc const&) {
        outcome = Outcome::OUT_OF_MEMORY;
    } catch (zeb::foundation::Exception const&) {
        // The input was answered with the library's own exception.
    }
    ::_exit(static_cast<int>(outcome));
}

/// Runs in the child, which ends with the outcome as its code.
[[noreturn]] void run(Way const& way, unsigned seconds) {
    constexpr std::size_t STACK = 256 * 1024;
    constexpr rlim_t MEMORY = rlim_t{1536} * 1024 * 1024;
    rlimit const noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    rlimit const time{seconds, seconds + 1};
    ::setrlimit(RLIMIT_CPU, &time);
    if (!zeb::test::SANITIZED) {
        rlimit const memory{MEMORY, MEMORY};
        ::setrlimit(RLIMIT_AS, &memory);
    }
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, STACK);
    pthread_t thread;
    if (::pthread_create(&thread, &attributes, threadMain, const_cast<Way*>(&way)) == 0) {
        ::pthread_join(thread, nullptr);
    }
    ::_exit(static_cast<int>(Outcome::CANNOT_START));
}

char const* word(Outcome outcome) {
    switch (outcome) {
        case WORKS:
            return "works";
        case REFUSED:
            return "refused";
        case Outcome::OUT_OF_MEMORY:
            return "memory exhausted";
        case Outcome::CANNOT_START:
            return "no thread";
    }
    return "";
}

struct Result {
    std::string text;
    std::optional<Outcome> outcome;  ///< empty when the child did not end by itself
};

Result tryInChild(Way const& way, unsigned seconds, bool withFigures) {
    pid_t const child = ::fork();
    if (child == 0) {
        run(way, seconds);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child) {
        return {"no process", {}};
    }
    if (WIFSIGNALED(status)) {
        int const signal = WTERMSIG(status);
        return {signal == SIGXCPU || signal == SIGKILL
                    ? "no end in " + std::to_string(seconds) + " s"
                    : "crash, signal " + std::to_string(signal),
                {}};
    }
    int const code = WEXITSTATUS(status);
    auto const outcome = static_cast<Outcome>(code);
    if (outcome < WORKS || outcome > Outcome::CANNOT_START) {
        return {"exit code " + std::to_string(code), {}};
    }
    std::string text = word(outcome);
    if (withFigures) {
        auto const milliseconds = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000 +
                                  (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000;
        text += ", " + std::to_string(milliseconds) + " ms, " +
                std::to_string(usage.ru_maxrss / 1024) + " MB";
    }
    return {text, outcome};
}

}  // namespace

int main(int argc, char**) {
    ::setlocale(LC_ALL, "C.UTF-8");
    bool const table = argc > 1;
    int failures = 0;
    for (Input const& input : inputs()) {
        Result const library = tryInChild(input.library, table ? 5 : 60, table);
        if (library.outcome != input.expected) {
            ++failures;
            std::fprintf(stderr, "%s: %s, expected: %s\n", input.name.c_str(), library.text.c_str(),
                         word(input.expected));
        }
        if (table) {
            std::string name = input.name;
            for (std::size_t i = 0; (i = name.find('|', i)) != std::string::npos; i += 2) {
                name.insert(i, "\\");
            }
            std::printf("| %s | %s | %s |\n", name.c_str(),
                        input.alone ? tryInChild(input.alone, 5, true).text.c_str() : "-",
                        library.text.c_str());
            std::fflush(stdout);
        }
    }
    return failures == 0 ? 0 : 1;
}
