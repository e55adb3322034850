// The scripts that complete command lines of the program in bash and zsh.

#include "Arguments.hpp"
#include "CommandTable.hpp"

#include <algorithm>
#include <set>
#include <utility>

namespace zeb::cli {

namespace {

using Described = std::vector<DescribedOption>;

/// The options of every command.
bool isCommon(DescribedOption const& option) {
    return option.names.back() == "--help" || option.names.back() == "--color" ||
           option.names.back() == "--trace";
}

Described optionsOf(Command const& command, Output& out) {
    return Arguments::described([&] { command.run({}, out); });
}

Described commonOptions(Output& out) {
    Described common;
    for (DescribedOption const& option : optionsOf(commands().front(), out)) {
        if (isCommon(option)) {
            common.push_back(option);
        }
    }
    return common;
}

/// The names of the commands; a group's only once.
std::string firstWords() {
    std::string list;
    std::set<std::string> known;
    for (Command const& command : commands()) {
        std::string const name = command.name;
        std::string const word = name.substr(0, name.find(' '));
        if (known.insert(word).second) {
            list += word + " ";
        }
    }
    return list + "help";
}

/// The groups with the second words of their commands.
std::vector<std::pair<std::string, std::vector<Command>>> groups() {
    std::vector<std::pair<std::string, std::vector<Command>>> result;
    for (Command const& command : commands()) {
        std::string const name = command.name;
        std::size_t const blank = name.find(' ');
        if (blank == std::string::npos) {
            continue;
        }
        std::string const group = name.substr(0, blank);
        if (result.empty() || result.back().first != group) {
            result.push_back({group, {}});
        }
        result.back().second.push_back(command);
    }
    return result;
}

std::string secondWord(Command const& command) {
    std::string const name = command.name;
    return name.substr(name.find(' ') + 1);
}

std::string choices(std::string label) {
    for (char& byte : label) {
        byte = byte == '|' ? ' ' : byte;
    }
    return label;
}

bool hasChoices(DescribedOption const& option) {
    return option.label.find('|') != std::string::npos;
}

/// The branches of bash's script for the values of options.
std::string bashValues(std::string const& command, Described const& options) {
    std::string text;
    for (DescribedOption const& option : options) {
        std::string pattern;
        for (std::string const& name : option.names) {
            pattern += (pattern.empty() ? "" : " | ") + ("'" + command + ":" + name + "'");
        }
        if (command == "*") {
            pattern = "*:" + option.names.back();
        }
        if (hasChoices(option)) {
            text += "        " + pattern + ") values='" + choices(option.label) + "' ;;\n";
        } else if (!option.label.empty() && !option.optional && option.label != "FILE") {
            text += "        " + pattern + ") return ;;\n";
        }
    }
    return text;
}

std::string bashNames(Described const& options, bool common) {
    std::string list;
    for (DescribedOption const& option : options) {
        if (isCommon(option) == common) {
            for (std::string const& name : option.names) {
                list += (list.empty() ? "" : " ") + name;
            }
        }
    }
    return list;
}

/// A text in single quotes of the shell.
std::string quoted(std::string const& text) {
    std::string result = "'";
    for (char const byte : text) {
        result += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    }
    return result + "'";
}

/// A text within an argument of zsh's _arguments, in which some bytes are special.
std::string zshText(std::string const& text) {
    std::string result;
    for (char const byte : text) {
        result += byte == ':' || byte == '[' || byte == ']' || byte == '\\' ? "\\" : "";
        result += byte;
    }
    return result;
}

std::string zshOptions(Described const& options, bool common) {
    std::string list;
    for (DescribedOption const& option : options) {
        if (isCommon(option) != common) {
            continue;
        }
        for (std::string const& name : option.names) {
            std::string others;
            for (std::string const& other : option.names) {
                others += (others.empty() ? "" : " ") + other;
            }
            std::string argument = option.repeated ? "*" : "(" + others + ")";
            argument += name;
            if (!option.label.empty()) {
                argument += name.size() > 2 ? (option.optional ? "=-" : "=") : "+";
            }
            argument += "[" + zshText(option.description) + "]";
            if (!option.label.empty()) {
                argument += std::string(option.optional ? "::" : ":") +
                            (hasChoices(option) ? "value" : option.label) + ":" +
                            (hasChoices(option)       ? "(" + choices(option.label) + ")"
                             : option.label == "FILE" ? "_files"
                                                      : "");
            }
            list += "\n                " + quoted(argument);
        }
    }
    return list;
}

std::string zshCommands(std::vector<Command> const& list, bool seconds) {
    std::string text;
    for (Command const& command : list) {
        std::string const name = seconds ? secondWord(command) : command.name;
        text += "\n            " + quoted(name + ":" + zshText(command.summary));
    }
    return text;
}

constexpr char MADE[] = "# Made by zeb-text --completion from its own table of commands.\n";

}  // namespace

std::string bashCompletion(Output& out) {
    std::string seconds;
    std::string values;
    std::string options;
    for (auto const& [group, members] : groups()) {
        std::string list;
        for (Command const& command : members) {
            list += (list.empty() ? "" : " ") + secondWord(command);
        }
        seconds += "        " + group + ") seconds='" + list + "' ;;\n";
    }
    for (Command const& command : commands()) {
        Described list = optionsOf(command, out);
        std::string const names = bashNames(list, /*common=*/false);
        if (!names.empty()) {
            options += "        '" + std::string(command.name) + "') options='" + names + "' ;;\n";
        }
        list.erase(std::remove_if(list.begin(), list.end(), isCommon), list.end());
        values += bashValues(command.name, list);
    }
    Described const common = commonOptions(out);
    return std::string("# Completion of zeb-text in bash.\n") + MADE +
           "\n"
           "_zeb_text() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    local command=${COMP_WORDS[1]} first=1\n"
           "    local seconds='' values='' options=''\n"
           "    COMPREPLY=()\n"
           "\n"
           "    if [ \"$command\" = help ] && [ \"$COMP_CWORD\" -gt 1 ]; then\n"
           "        command=${COMP_WORDS[2]} first=2\n"
           "    fi\n"
           "    if [ \"$COMP_CWORD\" -eq \"$first\" ]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W '" +
           firstWords() +
           " --help --version --completion' -- \"$current\")\n"
           "        return\n"
           "    fi\n"
           "    case $command in\n" +
           seconds +
           "        --completion) seconds='bash zsh' ;;\n"
           "    esac\n"
           "    if [ -n \"$seconds\" ]; then\n"
           "        if [ \"$COMP_CWORD\" -eq $((first + 1)) ]; then\n"
           "            mapfile -t COMPREPLY < <(compgen -W \"$seconds\" -- \"$current\")\n"
           "            return\n"
           "        fi\n"
           "        command=\"$command ${COMP_WORDS[first + 1]}\"\n"
           "    fi\n"
           "\n"
           "    # bash takes --name=value apart into three words.\n"
           "    if [ \"$current\" = = ]; then\n"
           "        current=\n"
           "    elif [ \"$previous\" = = ]; then\n"
           "        previous=${COMP_WORDS[COMP_CWORD - 2]}\n"
           "    fi\n"
           "    case $command:$previous in\n" +
           bashValues("*", common) + values +
           "    esac\n"
           "    if [ -n \"$values\" ]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$values\" -- \"$current\")\n"
           "        return\n"
           "    fi\n"
           "\n"
           "    case $command in\n" +
           options +
           "    esac\n"
           "    if [[ $current == -* ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$options " +
           bashNames(common, /*common=*/true) +
           "\" -- \"$current\")\n"
           "    else\n"
           "        mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
           "    fi\n"
           "}\n"
           "\n"
           "complete -o filenames -F _zeb_text zeb-text\n";
}

std::string zshCompletion(Output& out) {
    std::vector<Command> singles;
    for (Command const& command : commands()) {
        if (std::string(command.name).find(' ') == std::string::npos) {
            singles.push_back(command);
        }
    }
    std::string groupNames;
    std::string seconds;
    for (auto const& [group, members] : groups()) {
        groupNames += "\n            " + quoted(group + ":commands for " + group);
        seconds += "        (" + group + ")\n            commands=(" +
                   zshCommands(members, /*seconds=*/true) + "\n            ) ;;\n";
    }
    std::string options;
    for (Command const& command : commands()) {
        std::string const list = zshOptions(optionsOf(command, out), /*common=*/false);
        if (!list.empty()) {
            options += "        ('" + std::string(command.name) + "')\n            options=(" +
                       list + "\n            ) ;;\n";
        }
    }
    return std::string("#compdef zeb-text\n# Completion of zeb-text in zsh.\n") + MADE +
           "\n"
           "_zeb-text() {\n"
           "    local -a commands options\n"
           "    local command=${words[2]}\n"
           "    integer first=2\n"
           "    if [[ $command == help ]] && ((CURRENT > 2)); then\n"
           "        command=${words[3]} first=3\n"
           "    fi\n"
           "\n"
           "    if ((CURRENT == first)); then\n"
           "        commands=(" +
           zshCommands(singles, /*seconds=*/false) + groupNames +
           "\n            'help:explain a command'"
           "\n            '--help:list the commands'"
           "\n            '--version:print the version'"
           "\n            '--completion:print a completion script'"
           "\n        )\n"
           "        _describe -t commands command commands\n"
           "        return\n"
           "    fi\n"
           "    case $command in\n" +
           seconds +
           "        (--completion) commands=(bash zsh) ;;\n"
           "    esac\n"
           "    if ((${#commands})); then\n"
           "        if ((CURRENT == first + 1)); then\n"
           "            _describe -t commands command commands\n"
           "            return\n"
           "        fi\n"
           "        command=\"$command ${words[first + 1]}\"\n"
           "    fi\n"
           "\n"
           "    case $command in\n" +
           options +
           "    esac\n"
           "    options+=(" +
           zshOptions(commonOptions(out), /*common=*/true) +
           "\n    )\n"
           "    _arguments $options '*:file:_files'\n"
           "}\n"
           "\n"
           "_zeb-text \"$@\"\n";
}

}  // namespace zeb::cli
