#include "Faults.hpp"

#include "Excerpt.hpp"
#include "Streams.hpp"
#include "regex/pattern/LibcCost.hpp"
#include "regex/pattern/PatternReader.hpp"

#include <zeb/foundation/Logger.hpp>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace zeb::cli {

using foundation::CallbackAppender;
using foundation::IntrusiveReference;
using foundation::LogAppender;
using foundation::Logger;
using foundation::LogMessage;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::String;

namespace {

using Options = RegularExpression::CompilationOptions;

/// Finding the place of a fault may take this long; a huge expression is then shown without it.
constexpr std::chrono::seconds PATIENCE(1);

/// Length of the longest prefix for which `holds` is true; none when none was found in time.
std::optional<std::size_t> longestPrefix(std::string const& text,
                                         std::function<bool(std::string const&)> const& holds) {
    auto const deadline = std::chrono::steady_clock::now() + PATIENCE;
    for (std::size_t length = text.size() + 1; length-- > 0;) {
        if (std::chrono::steady_clock::now() > deadline) {
            return std::nullopt;
        }
        if (holds(text.substr(0, length))) {
            return length;
        }
    }
    return std::nullopt;
}

ZEBNS2::PatternSyntax syntaxOf(Options options) noexcept {
    return (options & RegularExpression::BASIC_SYNTAX) != 0 ? ZEBNS2::PatternSyntax::BASIC
                                                            : ZEBNS2::PatternSyntax::EXTENDED;
}

/// The reason why the library refuses a pattern that the C library would try, and a remedy. The
/// library itself reports exhausted memory for all.
char const* wordsFor(ZEBNS2::PatternHazard hazard) noexcept {
    using ZEBNS2::PatternHazard;
    switch (hazard) {
        case PatternHazard::LENGTH:
            return "it is longer than 65536 bytes; search for its parts one after the other";
        case PatternHazard::NESTING:
            return "its groups are nested more than 100 deep; take parentheses away";
        case PatternHazard::DOLLARS:
            return "it has more than 100 dollars in a row; write [$] and a count";
        case PatternHazard::NODES:
            return "it is too large when its repeats are written out; lower their counts";
        case PatternHazard::EPSILON_DEPTH:
        case PatternHazard::CLOSURES:
        case PatternHazard::LOOP_CLOSURES:
        case PatternHazard::MULTIBYTE_SETS:
            return "its alternatives and what may be left out would exhaust memory; lower the "
                   "counts "
                   "of its repeats, or search for its parts one after the other";
        case PatternHazard::ANCHOR_CLOSURES:
            return "too many anchors can meet in one place; take repeated anchors away";
        case PatternHazard::ANCHOR_IN_NULLABLE_STAR:
        case PatternHazard::COPIED_ANCHOR_AND_NULLABLE_STAR:
            return "an anchor and a repeat of what can be empty would send the C library round for "
                   "ever; repeat only what takes a character, or move the anchor out of the repeat";
        case PatternHazard::ENDLESS_STAR:
            return "a repeat of what can be empty would send the C library round for ever; repeat "
                   "only what takes a character, as in (a|b+)* for (a*|b+)*";
        case PatternHazard::BACK_REFERENCES:
            return "its back-references leave too many choices, which the C library would all try; "
                   "use fewer of them, or groups that match less";
        case PatternHazard::BACK_REFERENCES_IN_STAR:
            return "a back-reference in an unlimited repeat leaves too many choices, which the C "
                   "library would all try; limit the repeat, as in {0,4}, or begin it with a "
                   "character";
        case PatternHazard::BACK_REFERENCE_AND_NULLABLE_STAR:
            return "a back-reference next to a repeat of what can be empty would send the C "
                   "library "
                   "round for ever; repeat only what takes a character";
        case PatternHazard::NONE:
            break;
    }
    return nullptr;
}

bool compiles(std::string const& pattern, Options options) {
    try {
        RegularExpression const expression(pattern, options);
        return true;
    } catch (RegularExpressionException const&) {
        return false;
    }
}

/// Reads a pattern for its groups only.
struct GroupReader : ZEBNS2::PatternBuilder {
    struct Fragment {};
    struct Group {};

    static Fragment character(std::string_view /*bytes*/, bool /*escaped*/) { return {}; }
    static Fragment period() { return {}; }
    static Fragment bracket(std::string_view /*text*/, Members /*members*/) { return {}; }
    static Fragment classEscape(char /*letter*/) { return {}; }
    static Fragment anchor(ZEBNS2::PatternAnchor /*kind*/) { return {}; }
    static Fragment backReference(std::uint32_t /*number*/) { return {}; }
    static Group openGroup(Group /*outer*/, Fragment /*before*/, std::uint32_t /*number*/) {
        return {};
    }
    static Fragment closeGroup(Group /*group*/, Fragment /*inner*/) { return {}; }
    static Fragment sequence(Fragment /*first*/, Fragment /*second*/) { return {}; }
    static Fragment choice(Fragment /*first*/, Fragment /*second*/) { return {}; }
    static Fragment repeat(Fragment /*item*/, int /*least*/, int /*most*/) { return {}; }
};

/// The groups that are open at the end of a pattern, or at its error.
struct OpenGroups {
    std::size_t count;
    std::size_t outermost;  ///< offset of the first of them
};

OpenGroups openGroups(std::string const& pattern, Options options) {
    GroupReader builder;
    GroupReader::Fragment whole;
    ZEBNS2::PatternReader reader(pattern, syntaxOf(options), builder);
    static_cast<void>(reader.read(whole));
    return {reader.openGroups(), reader.outermostOpening()};
}

/// The text that closes the open groups.
std::string groupClosers(std::string const& pattern, Options options) {
    bool const basic = syntaxOf(options) == ZEBNS2::PatternSyntax::BASIC;
    std::string closers;
    for (std::size_t i = openGroups(pattern, options).count; i > 0; --i) {
        closers += basic ? "\\)" : ")";
    }
    return closers;
}

bool endsInBackslash(std::string const& text) {
    std::size_t const last = text.find_last_not_of('\\');
    std::size_t const behind = last == std::string::npos ? 0 : last + 1;
    return (text.size() - behind) % 2 != 0;
}

/// The byte at which an expression is faulty.
std::optional<std::size_t> faultOf(std::string const& pattern, Options options) {
    bool const basic = syntaxOf(options) == ZEBNS2::PatternSyntax::BASIC;
    auto const alone = [&](std::string const& prefix) { return compiles(prefix, options); };
    // A backslash at the end would take the closer away.
    auto const closedBy = [&](std::string const& prefix, std::string const& closer) {
        return !endsInBackslash(prefix) &&
               compiles(prefix + closer + groupClosers(prefix, options), options);
    };
    auto const groupsClosed = [&](std::string const& prefix) { return closedBy(prefix, ""); };
    auto const sound = longestPrefix(pattern, [&](std::string const& prefix) {
        return alone(prefix) || groupsClosed(prefix) || closedBy(prefix, "]") ||
               closedBy(prefix, ":]]") || closedBy(prefix, ".]]") || closedBy(prefix, "=]]") ||
               closedBy(prefix, basic ? "\\}" : "}");
    });
    if (!sound || *sound < pattern.size()) {
        return sound;
    }
    return groupsClosed(pattern) ? openGroups(pattern, options).outermost
                                 : longestPrefix(pattern, groupsClosed);
}

/// The library's message without the pattern.
struct Complaint {
    explicit Complaint(RegularExpressionException const& exception) {
        std::string const message = exception.what();
        std::size_t const end = message.find("  The faulty expression (");
        std::size_t const quote = message.find('"', end);
        reason = message.substr(0, end);
        if (quote != std::string::npos) {
            pattern = message.substr(quote + 1, message.size() - quote - 2);
        }
    }

    std::string reason;
    std::string pattern;
};

/// @param text that contains the faulty expression
/// @param start its offset
[[noreturn]] void failAt(Complaint const& complaint, std::string const& text, std::size_t start,
                         Options options) {
    std::optional<std::size_t> const fault = faultOf(complaint.pattern, options);
    char const* const refusal =
        wordsFor(ZEBNS2::patternHazard(complaint.pattern.c_str(), syntaxOf(options)));
    throw Failure(
        refusal != nullptr ? std::string("the expression is refused: ") + refusal
                           : complaint.reason,
        fault ? excerpt(text, start + *fault, isColored(STDERR_FILENO)) : beginning(text));
}

/// Whether the library accepts the command. For an unknown one it yields an empty text and logs a
/// message at debug level; that needs no input.
bool isSedCommand(std::string const& command, Options options) {
    auto const known = std::make_shared<bool>(true);
    Logger::setDefault(
        Logger::DEBUG_LEVEL,
        IntrusiveReference<LogAppender>(new CallbackAppender([known](LogMessage const& message) {
            *known = *known && !message.text.startsWith("regex: Unknown sed operation");
        })));
    static_cast<void>(ZEBNS2::realSed(String(), command, options));
    return *known;
}

/// Whether it is the beginning of a command that the library accepts.
bool beginsSedCommand(std::string const& prefix, Options options) {
    for (char const* const end : {"", "s/a/b/", "/a/b/", "a/d", "/d", "d", "/a/d", ",/a/d"}) {
        try {
            if (isSedCommand(prefix + end, options)) {
                return true;
            }
        } catch (RegularExpressionException const&) {
            return true;  // not a fault of the command
        }
    }
    return false;
}

}  // namespace

RegularExpression compiled(std::string const& pattern, Options options) {
    try {
        return RegularExpression(String(pattern), options);
    } catch (RegularExpressionException const& exception) {
        failAt(Complaint(exception), pattern, /*start=*/0, options);
    }
}

void requireSedCommand(std::string const& command, Options options) {
    try {
        if (isSedCommand(command, options)) {
            return;
        }
    } catch (RegularExpressionException const& exception) {
        // In a command the expression follows its delimiter.
        Complaint const complaint(exception);
        std::size_t const start =
            command.find(command.substr(command.front() == 's' ? 1 : 0, 1) + complaint.pattern) + 1;
        failAt(complaint, command, start, options);
    }
    auto const sound = longestPrefix(command, [options](std::string const& prefix) {
        return beginsSedCommand(prefix, options);
    });
    std::string const column = sound ? " at column " + std::to_string(*sound + 1) : "";
    throw Failure("edit: unknown sed command \"" + shortened(command) + "\"" + column + " (see " +
                      PROGRAM + " edit --help)",
                  sound ? excerpt(command, *sound, isColored(STDERR_FILENO)) : beginning(command));
}

}  // namespace zeb::cli
