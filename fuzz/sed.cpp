// The settings' byte and the command up to the newline, then the text.

#include <OrventoCommonRegex.hpp>

#include <optional>
#include <vector>

#include "Expressions.hpp"
#include "Oracle.hpp"
#include "Property.hpp"

namespace {

using zeb::test::Oracle;

/// A literal text, or the number of a group.
struct Piece {
    std::string literal;
    std::optional<std::size_t> group;
};

struct Command {
    enum { SUBSTITUTE, DELETE, DELETE_RANGE } kind;
    std::string first;
    std::string second;
    std::vector<Piece> replacement;
    bool global = false;
};

std::optional<Command> parseSubstitute(std::string_view text) {
    if (text.empty() || text[0] != 's') {
        return std::nullopt;
    }
    Command command{Command::SUBSTITUTE, {}, {}, {}};
    if (text.size() == 1) {
        return command;
    }
    char const delimiter = text[1];
    std::size_t const end = std::min(text.find(delimiter, 2), text.size());
    command.first = text.substr(2, end - 2);
    std::size_t i = end + 1;
    for (; i < text.size() && text[i] != delimiter; ++i) {
        if (text[i] != '\\') {
            command.replacement.push_back({std::string(1, text[i]), std::nullopt});
            continue;
        }
        if (++i == text.size()) {
            return std::nullopt;
        }
        if (text[i] >= '0' && text[i] <= '9') {
            command.replacement.push_back({"", static_cast<std::size_t>(text[i] - '0')});
        } else if (text[i] == '\\') {
            command.replacement.push_back({"\\", std::nullopt});
        } else {
            command.replacement.push_back({{'\\', text[i]}, std::nullopt});
            break;
        }
    }
    if (i + 1 < text.size()) {
        if (text[i + 1] != 'g') {
            return std::nullopt;
        }
        command.global = true;
    }
    return command;
}

std::optional<Command> parseDelete(std::string_view text) {
    if (text.size() < 3 || text.front() != '/' || text.substr(text.size() - 2) != "/d") {
        return std::nullopt;
    }
    std::string_view const inner = text.substr(1, text.size() - 3);
    std::size_t const slash = inner.find('/');
    if (slash == std::string_view::npos) {
        return Command{Command::DELETE, std::string(inner), {}, {}};
    }
    std::string_view const behind = inner.substr(slash);
    if (behind.substr(0, 3) != "/,/" || behind.find('/', 3) != std::string_view::npos) {
        return std::nullopt;
    }
    return Command{Command::DELETE_RANGE,
                   std::string(inner.substr(0, slash)),
                   std::string(behind.substr(3)),
                   {}};
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    if (text.empty()) {
        return lines;
    }
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;) {
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    lines.emplace_back(text);
    return lines;
}

std::string joined(std::vector<std::string> const& lines) {
    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        text += (i == 0 ? "" : "\n") + lines[i];
    }
    return text;
}

std::string expanded(std::vector<Piece> const& pieces, std::string const& subject,
                     std::vector<ZEBNS2::OffsetPair> const& groups) {
    std::string text;
    for (Piece const& piece : pieces) {
        if (!piece.group) {
            text += piece.literal;
        } else if (*piece.group < groups.size()) {
            auto const [start, end] = groups[*piece.group];
            text += subject.substr(start, end - start);
        }
    }
    return text;
}

std::string substituted(std::string const& line, Command const& command, Oracle const& oracle) {
    std::string result;
    std::size_t position = 0;  // of the rest that is still to be searched
    std::size_t lastEnd = std::string::npos;
    for (;;) {
        std::string const rest = line.substr(position);
        auto const groups = oracle.allMatches(rest);
        if (groups.empty()) {
            return result + rest;
        }
        if (position + groups[0].second == lastEnd) {
            // Empty, and directly after the previous match.
            if (rest.empty()) {
                return result;
            }
            result += rest[0];
            ++position;
            continue;
        }
        result += rest.substr(0, groups[0].first) + expanded(command.replacement, rest, groups);
        position += groups[0].second;
        lastEnd = position;
        if (!command.global) {
            return result + line.substr(position);
        }
    }
}

std::vector<std::string> withoutRanges(std::vector<std::string> const& lines, Oracle const& start,
                                       Oracle const& end) {
    auto const matches = [&lines](Oracle const& oracle, std::size_t i) {
        return oracle.firstMatch(lines[i]).first >= 0;
    };
    std::vector<std::string> kept;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::size_t last = i + 1;
        if (matches(start, i)) {
            while (last < lines.size() && !matches(end, last)) {
                ++last;
            }
            if (last == lines.size()) {
                kept.insert(kept.end(), lines.begin() + static_cast<std::ptrdiff_t>(i),
                            lines.end());
                return kept;
            }
            i = last;
        } else {
            kept.push_back(lines[i]);
        }
    }
    return kept;
}

std::string edited(std::string_view text, Command const& command, Oracle const& first,
                   Oracle const& second) {
    std::vector<std::string> lines = linesOf(text);
    if (command.kind == Command::DELETE_RANGE) {
        return joined(withoutRanges(lines, first, second));
    }
    std::vector<std::string> kept;
    for (std::string const& line : lines) {
        if (command.kind == Command::SUBSTITUTE) {
            kept.push_back(substituted(line, command, first));
        } else if (first.firstMatch(line).first < 0) {
            kept.push_back(line);
        }
    }
    return joined(kept);
}

}  // namespace

void zeb::fuzz::sed(std::string_view input) {
    auto const [head, rest] = cutLine(input);
    if (!Settings::areIn(head)) {
        return;
    }
    // The first delete command fixes the locale in which such commands are recognized.
    [[maybe_unused]] static ZEBNS2::String const recognized = ZEBNS2::realSed("", "/x/d", 0);
    Settings const settings(head);
    std::string const text(upToNul(head.substr(1)));
    std::string_view const subject = upToNul(rest);
    std::optional<Command> command = parseSubstitute(text);
    if (!command) {
        command = parseDelete(text);
    }

    std::optional<std::string> result;
    try {
        result = std::string(std::string_view(ZEBNS2::realSed(subject, text, settings.options())));
    } catch (ZEBNS2::RegularExpressionException const& exception) {
        if (isHazard(exception)) {
            return;
        }
    }
    if (!command) {
        require(result == "", "gives nothing for what is no command");
        return;
    }
    Oracle const first(command->first, settings.options());
    Oracle const second(command->second, settings.options());
    if (!first.compiles() || !second.compiles()) {
        require(!result, "throws for a faulty expression");
        return;
    }
    require(result == edited(subject, *command, first, second), "edits as the model does");
}
