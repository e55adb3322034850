#include "CommandTable.hpp"

#include "Commands.hpp"

#include <OrventoTextOperations.hpp>

#include <algorithm>
#include <string_view>

namespace zeb::cli {

namespace {

/// The beginning of a line of the list of commands.
std::string listed(Command const& command) {
    return "  " + std::string(ZEBNS2::leftText(command.name, /*width=*/16, ' ')) + command.summary +
           "\n";
}

bool isIn(std::string const& group, Command const& command) {
    return std::string_view(command.name).substr(0, group.size() + 1) == group + " ";
}

/// The number of letters to insert, remove, change or swap with the next one.
std::size_t typingErrors(std::string_view typed, std::string_view meant) {
    std::vector<std::vector<std::size_t>> errors(typed.size() + 1,
                                                 std::vector<std::size_t>(meant.size() + 1));
    for (std::size_t i = 0; i <= typed.size(); ++i) {
        for (std::size_t j = 0; j <= meant.size(); ++j) {
            if (i == 0 || j == 0) {
                errors[i][j] = i + j;
                continue;
            }
            bool const equal = typed[i - 1] == meant[j - 1];
            errors[i][j] = std::min({errors[i - 1][j] + 1, errors[i][j - 1] + 1,
                                     errors[i - 1][j - 1] + (equal ? 0 : 1)});
            if (i > 1 && j > 1 && typed[i - 1] == meant[j - 2] && typed[i - 2] == meant[j - 1]) {
                errors[i][j] = std::min(errors[i][j], errors[i - 2][j - 2] + 1);
            }
        }
    }
    return errors.back().back();
}

/// " (did you mean NAME?)" when a command is near or begins with the word, otherwise nothing.
std::string suggestion(std::string const& typed) {
    constexpr std::size_t LONGEST_NAME = 32;
    if (typed.empty() || typed.size() > LONGEST_NAME) {
        return "";
    }
    std::size_t const tolerated = typed.size() < 4 ? 1 : 2;
    char const* best = nullptr;
    std::size_t least = tolerated + 1;
    for (Command const& command : commands()) {
        bool const begun = std::string_view(command.name).substr(0, typed.size()) == typed;
        std::size_t const errors = begun ? 0 : typingErrors(typed, command.name);
        if (errors < least) {
            least = errors;
            best = command.name;
        }
    }
    return best == nullptr ? "" : std::string("; did you mean ") + best + "?";
}

}  // namespace

std::vector<Command> const& commands() {
    static std::vector<Command> const table{
        {"edit", "edit lines by sed commands, also in files", edit},
        {"replace", "replace the first match of each line, or all, in files", replace},
        {"match", "print lines that match, or what matches", match},
        {"wildcard", "turn a wildcard pattern into an expression", wildcard},
        {"escape", "turn literal text into an expression", escape},
        {"search-replace", "replace every occurrence of a text", searchReplace},
        {"tokens", "split text into tokens, quotes respected", tokens},
        {"flatten", "join arguments into one command line", flatten},
        {"unquote", "remove one pair of quotes", unquote},
        {"pad", "pad text to a width", pad},
        {"number", "read a number", number},
        {"unit", "print the bytes of a size unit", unit},
        {"date", "find the first date", date},
        {"env", "find a variable in an environment block", environment},
        {"utf8", "turn UTF-16 into UTF-8", toUtf8},
        {"xml-fix", "replace characters that XML forbids", xmlFix},
        {"xml check", "tell whether files are well-formed XML", xmlCheck},
        {"xml find", "find elements by a query", xmlFind},
    };
    return table;
}

Command const& takeCommand(Words& words) {
    std::string name = words.at(0);
    std::size_t length = 1;
    if (words.size() > 1 && !groupUsage(name).empty()) {
        name += " " + words[1];
        length = 2;
    }
    for (Command const& command : commands()) {
        if (name == command.name) {
            words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(length));
            return command;
        }
    }
    throw Failure("unknown command " + name + suggestion(name) + " (see zeb-text --help)");
}

std::string usage() {
    std::string text =
        "Text services on the command line: files or standard input in, standard output out.\n"
        "Usage: zeb-text COMMAND [ARGUMENT...]\n"
        "       zeb-text COMMAND --help, or zeb-text help COMMAND\n"
        "       zeb-text --version\n"
        "       zeb-text --completion bash|zsh\n"
        "\n"
        "Commands:\n";
    for (Command const& command : commands()) {
        text += listed(command);
    }
    return text +
           "\n"
           "A FILE of - is standard input. The exit status is 0, or 1 when nothing was found,\n"
           "or 2 after an error. The manual, zeb-text(1), says more.\n"
           "\n"
           "Example:\n"
           "  zeb-text match --numbers 'error|warning' log\n";
}

std::string groupUsage(std::string const& group) {
    std::string list;
    for (Command const& command : commands()) {
        list += isIn(group, command) ? listed(command) : "";
    }
    return list.empty() ? ""
                        : "Usage: zeb-text " + group + " COMMAND [ARGUMENT...]\n\nCommands:\n" +
                              list + "\nzeb-text help " + group + " COMMAND says more of each.\n";
}

}  // namespace zeb::cli
