// The manual and the shell completions list everything that the program has, and nothing else.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>

#include "ZebText.hpp"

namespace zeb::test {
namespace {

using Names = std::set<std::string>;

std::string fileContents(std::string const& path) {
    std::ifstream stream(std::string(ZEB_SOURCE_DIR "/") + path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The commands that --help lists.
std::vector<std::string> commands() {
    std::istringstream help(zebText({"--help"}).out);
    std::vector<std::string> names;
    std::string line;
    while (std::getline(help, line) && line != "Commands:") {
    }
    while (std::getline(help, line) && !line.empty()) {
        std::string const name = line.substr(2, 16);
        names.push_back(name.substr(0, name.find_last_not_of(' ') + 1));
    }
    return names;
}

/// All words of a text that begin with a hyphen or two, and a letter.
Names optionsIn(std::string const& text) {
    Names names;
    for (std::size_t at = text.find('-'); at != std::string::npos; at = text.find('-', at + 1)) {
        if (at > 0 &&
            (std::isalnum(static_cast<unsigned char>(text[at - 1])) != 0 || text[at - 1] == '-')) {
            continue;
        }
        std::size_t const begin = std::min(text.find_first_not_of('-', at), text.size());
        std::size_t end = begin;
        while (end < text.size() &&
               (std::isalnum(static_cast<unsigned char>(text[end])) != 0 || text[end] == '-')) {
            ++end;
        }
        if (end > begin) {
            names.insert(text.substr(at, end - at));
        }
    }
    return names;
}

/// The options that a command's own help text lists.
Names optionsOf(std::string const& command) {
    std::string const help = shell("exec \"$0\" $1 --help", command).out;
    std::istringstream lines(help.substr(help.find("\nOptions:\n")));
    Names names;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("  -", 0) == 0) {
            std::istringstream list(line.substr(2, line.find(' ', 2) - 2));
            for (std::string name; std::getline(list, name, ',');) {
                names.insert(name);
            }
        }
    }
    return names;
}

/// The manual as plain text, with its hyphens as they are typed.
std::string manual() {
    std::string text = fileContents("man/zeb-text.1");
    text.erase(std::remove(text.begin(), text.end(), '\\'), text.end());
    return text;
}

std::string sectionOf(std::string const& text, std::string const& heading) {
    std::size_t const start = text.find("\n" + heading);
    if (start == std::string::npos) {
        return "";
    }
    return text.substr(start, text.find("\n.S", start + 1) - start);
}

TEST(Manual, HasEveryCommandWithItsOptionsAndNoOthers) {
    std::string const text = manual();
    Names const common = optionsIn(sectionOf(text, ".SH OPTIONS OF EVERY COMMAND"));
    EXPECT_EQ(common, (Names{"--help", "--color", "--trace"}));
    ASSERT_EQ(commands().size(), 18U);
    for (std::string const& command : commands()) {
        SCOPED_TRACE(command);
        std::string const section = sectionOf(text, ".SS " + command + " ");
        ASSERT_FALSE(section.empty());
        Names described;
        std::istringstream lines(section);
        for (std::string line, before; std::getline(lines, line); before = line) {
            if (before == ".TP" && line.find(" --") != std::string::npos) {
                described.merge(optionsIn(line));
            }
        }
        described.insert(common.begin(), common.end());
        EXPECT_EQ(described, optionsOf(command));
    }
}

TEST(Manual, HasNoCommandThatIsUnknown) {
    std::string const text = manual();
    std::size_t sections = 0;
    for (std::size_t at = text.find("\n.SS "); at != std::string::npos;
         at = text.find("\n.SS ", at + 1)) {
        ++sections;
    }
    EXPECT_EQ(sections, commands().size());
}

TEST(Manual, IsCleanForMandoc) {
    if (shell("command -v mandoc").status != 0) {
        GTEST_SKIP() << "mandoc is not installed";
    }
    EXPECT_EQ(shell("mandoc -T lint \"$1\"", ZEB_SOURCE_DIR "/man/zeb-text.1"), prints(""));
}

TEST(Manual, IsCleanForGroff) {
    if (shell("command -v groff").status != 0) {
        GTEST_SKIP() << "groff is not installed";
    }
    EXPECT_EQ(shell("groff -ww -man -Tutf8 -z \"$1\"", ZEB_SOURCE_DIR "/man/zeb-text.1"),
              prints(""));
}

/// What bash offers for the last of `words`, the rest of the command line.
Names offeredByBash(std::vector<std::string> words) {
    std::vector<std::string> command{
        "bash", "-c",
        ". \"$0\"; COMP_WORDS=(zeb-text \"$@\"); COMP_CWORD=$#; _zeb_text; "
        "printf '%s\\n' \"${COMPREPLY[@]}\"",
        ZEB_SOURCE_DIR "/completions/zeb-text.bash"};
    command.insert(command.end(), words.begin(), words.end());
    ProcessResult const result = runProcess(command);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    std::istringstream lines(result.out);
    Names names;
    for (std::string line; std::getline(lines, line);) {
        names.insert(line);
    }
    return names;
}

std::vector<std::string> wordsOf(std::string const& text) {
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

TEST(BashCompletion, OffersEveryCommand) {
    Names first{"help", "--help", "--version", "--completion"};
    Names second;
    for (std::string const& command : commands()) {
        std::vector<std::string> const words = wordsOf(command);
        first.insert(words[0]);
        if (words.size() > 1) {
            second.insert(words[1]);
        }
    }
    EXPECT_EQ(offeredByBash({""}), first);
    EXPECT_EQ(offeredByBash({"xml", ""}), second);
    EXPECT_EQ(offeredByBash({"help", "xml", ""}), second);
    EXPECT_EQ(offeredByBash({"--completion", ""}), (Names{"bash", "zsh"}));
    EXPECT_EQ(offeredByBash({"un"}), (Names{"unit", "unquote"}));
}

TEST(BashCompletion, OffersTheOptionsOfEachCommand) {
    for (std::string const& command : commands()) {
        SCOPED_TRACE(command);
        std::vector<std::string> words = wordsOf(command);
        words.emplace_back("-");
        EXPECT_EQ(offeredByBash(words), optionsOf(command));
    }
}

TEST(BashCompletion, OffersTheValuesOfAnOption) {
    EXPECT_EQ(offeredByBash({"match", "--color", ""}), (Names{"auto", "always", "never"}));
    EXPECT_EQ(offeredByBash({"match", "--color", "=", ""}), (Names{"auto", "always", "never"}));
    EXPECT_EQ(offeredByBash({"match", "--color", "="}), (Names{"auto", "always", "never"}));
    EXPECT_EQ(offeredByBash({"match", "--color", "=", "n"}), (Names{"never"}));
    EXPECT_EQ(offeredByBash({"edit", "--trace", "debug3"}), (Names{"debug3"}));
    EXPECT_EQ(offeredByBash({"number", "--type", "u"}),
              (Names{"uint8", "uint16", "uint32", "uint64"}));
    EXPECT_EQ(offeredByBash({"pad", "--left", ""}), Names{""});
}

TEST(BashCompletion, OffersFiles) {
    EXPECT_EQ(offeredByBash({"match", "a", ZEB_SOURCE_DIR "/READ"}),
              Names{ZEB_SOURCE_DIR "/README.md"});
}

TEST(Completion, TheScriptsAreThoseOfThisProgram) {
    EXPECT_EQ(zebText({"--completion", "bash"}), prints(fileContents("completions/zeb-text.bash")));
    EXPECT_EQ(zebText({"--completion", "zsh"}), prints(fileContents("completions/_zeb-text")));
    EXPECT_EQ(zebText({"--completion"}),
              failsWith("--completion takes bash or zsh (see zeb-text --help)"));
    EXPECT_EQ(zebText({"--completion", "fish"}).status, 2);
}

/// What the function for zsh offers: the functions that add to the list print what they were given.
std::vector<std::string> givenByZsh(std::string const& command, int current) {
    ProcessResult const result = runProcess(
        {"zsh", "-f", "-c",
         "_describe() { print -rl -- $commands; }; _arguments() { print -rl -- \"$@\"; }; "
         "words=(zeb-text ${=1}); CURRENT=$2; . \"$0\"",
         ZEB_SOURCE_DIR "/completions/_zeb-text", command, std::to_string(current)});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    std::istringstream lines(result.out);
    std::vector<std::string> given;
    for (std::string line; std::getline(lines, line);) {
        given.push_back(line);
    }
    return given;
}

/// The names among it, which a description follows.
Names offeredByZsh(std::string const& command, int current) {
    Names names;
    for (std::string line : givenByZsh(command, current)) {
        if (line == "*:file:_files") {
            continue;
        }
        // "(-a --all)-a[..." or "*-e+[..." or "command:..."
        line.erase(0, line[0] == '(' ? line.find(')') + 1 : line[0] == '*' ? 1 : 0);
        std::size_t const end = line.find_first_of("=+[:");
        EXPECT_LT(end + 4, line.size()) << "no description: " << line;
        names.insert(line.substr(0, end));
    }
    return names;
}

TEST(ZshCompletion, OffersCommandsAndTheirOptionsWithDescriptions) {
    if (shell("command -v zsh").status != 0) {
        GTEST_SKIP() << "zsh is not installed";
    }
    EXPECT_EQ(offeredByZsh("", 2), offeredByBash({""}));
    EXPECT_EQ(offeredByZsh("xml", 3), offeredByBash({"xml", ""}));
    EXPECT_EQ(offeredByZsh("help xml", 4), offeredByBash({"xml", ""}));
    for (std::string const& command : commands()) {
        SCOPED_TRACE(command);
        EXPECT_EQ(offeredByZsh(command, static_cast<int>(wordsOf(command).size()) + 2),
                  optionsOf(command));
    }
}

// What is in brackets, and a colon, must not end the description.
TEST(ZshCompletion, IsUnderstoodByZsh) {
    if (shell("command -v zsh").status != 0) {
        GTEST_SKIP() << "zsh is not installed";
    }
    EXPECT_EQ(shell("zsh -f -n \"$1\"", ZEB_SOURCE_DIR "/completions/_zeb-text"), prints(""));
    for (std::string const& line : givenByZsh("match", 3)) {
        SCOPED_TRACE(line);
        for (std::size_t at = line.find('['); at < line.size() && line[at] != ']'; ++at) {
            at += line[at] == '\\' ? 1 : 0;
            EXPECT_TRUE(line[at] != ':' || line[at - 1] == '\\');
        }
    }
}

}  // namespace
}  // namespace zeb::test
