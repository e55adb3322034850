// What all commands of zeb-text have in common: help, words of the command line, files, pipes.

#include <gtest/gtest.h>

#include "ZebText.hpp"

namespace zeb::test {
namespace {

constexpr char const* COMMANDS[] = {"edit",           "replace",   "match",   "wildcard", "escape",
                                    "search-replace", "tokens",    "flatten", "unquote",  "pad",
                                    "number",         "unit",      "date",    "env",      "utf8",
                                    "xml-fix",        "xml check", "xml find"};

TEST(Program, HelpListsEveryCommand) {
    ProcessResult const help = zebText({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_EQ(zebText({"-h"}), help);
    for (std::string const command : COMMANDS) {
        EXPECT_NE(help.out.find("\n  " + command + " "), std::string::npos) << command;
    }
}

TEST(Program, EveryCommandHasHelpWithExamples) {
    for (std::string const command : COMMANDS) {
        SCOPED_TRACE(command);
        ProcessResult const help = shell("exec \"$0\" $1 --help", command);
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.err, "");
        EXPECT_NE(help.out.find("\nUsage: zeb-text " + command + " "), std::string::npos);
        EXPECT_NE(help.out.find("\n  --trace debug|debug2|debug3"), std::string::npos);
        EXPECT_NE(help.out.find("\nExamples:\n  "), std::string::npos);
        EXPECT_NE(help.out.find("zeb-text " + command, help.out.find("Examples:")),
                  std::string::npos);
    }
}

TEST(Program, HelpOfACommandIsReadable) {
    EXPECT_EQ(
        zebText({"unquote", "--help"}),
        prints("Prints TEXT without the double quotes around it, if any.\n"
               "Usage: zeb-text unquote [OPTIONS] TEXT\n"
               "\n"
               "Positionals:\n"
               "  TEXT REQUIRED               The text\n"
               "\n"
               "Options:\n"
               "  --help                      Print this help and exit\n"
               "  --color auto|always|never   Color matches and errors; without it auto: on a "
               "terminal, unless NO_COLOR is set\n"
               "  --trace debug|debug2|debug3 Write the library's messages up to this "
               "level to standard error\n"
               "\n"
               "Examples:\n"
               "  zeb-text unquote '\"my file\"'\n"
               "\n"));
    EXPECT_NE(
        zebText({"replace", "--help"})
            .out.find("Usage: zeb-text replace [OPTIONS] EXPRESSION TEMPLATE FILE [FILES...]\n"),
        std::string::npos);
    EXPECT_NE(zebText({"edit", "--help"})
                  .out.find("Usage: zeb-text edit [OPTIONS] [COMMAND] "
                            "[FILE...]\n"),
              std::string::npos);
}

TEST(Program, HelpOfACommandHasTwoForms) {
    for (std::string const command : COMMANDS) {
        EXPECT_EQ(shell("exec \"$0\" help $1", command), shell("exec \"$0\" $1 --help", command));
    }
    EXPECT_EQ(zebText({"help"}), zebText({"--help"}));
    EXPECT_EQ(zebText({"help", "frobnicate"}),
              failsWith("unknown command frobnicate (see zeb-text --help)"));
}

TEST(Program, AGroupListsItsCommands) {
    ProcessResult const group = prints(
        "Usage: zeb-text xml COMMAND [ARGUMENT...]\n"
        "\n"
        "Commands:\n"
        "  xml check       tell whether files are well-formed XML\n"
        "  xml find        find elements by a query\n"
        "\n"
        "zeb-text help xml COMMAND says more of each.\n");
    EXPECT_EQ(zebText({"xml"}), group);
    EXPECT_EQ(zebText({"xml", "--help"}), group);
    EXPECT_EQ(zebText({"help", "xml"}), group);
}

TEST(Program, ANameThatIsNearlyRightIsRecognised) {
    struct Row {
        char const* typed;
        char const* meant;
    };
    constexpr Row ROWS[] = {
        {"matc", "match"},
        {"macth", "match"},
        {"mtach", "match"},
        {"uft8", "utf8"},
        {"utf-8", "utf8"},
        {"unqoute", "unquote"},
        {"search", "search-replace"},
        {"xml chek", "xml check"},
        {"dat", "date"},
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(shell("exec \"$0\" $1", row.typed),
                  failsWith(std::string("unknown command ") + row.typed + "; did you mean " +
                            row.meant + "? (see zeb-text --help)"));
    }
}

TEST(Program, TellsItsVersion) {
    EXPECT_EQ(zebText({"-V"}), zebText({"--version"}));
    EXPECT_EQ(zebText({"--version"}), prints("zeb-text " ZEB_TEXT_VERSION "\n"));
}

TEST(Program, NeedsAKnownCommand) {
    EXPECT_EQ(zebText({}), failsWith("COMMAND is required (see zeb-text --help)"));
    EXPECT_EQ(zebText({"frobnicate"}),
              failsWith("unknown command frobnicate (see zeb-text --help)"));
    EXPECT_EQ(zebText({""}), failsWith("unknown command  (see zeb-text --help)"));
    EXPECT_EQ(zebText({"xml", "frobnicate"}),
              failsWith("unknown command xml frobnicate (see zeb-text --help)"));
}

TEST(Program, RefusesArgumentsThatItDoesNotKnow) {
    EXPECT_EQ(zebText({"edit"}), failsWith("edit: COMMAND is required (see zeb-text edit --help)"));
    EXPECT_EQ(zebText({"edit", "--frobnicate", "s/a/b/"}),
              failsWith("edit: unknown option --frobnicate; put -- before it if it is no option "
                        "(see zeb-text edit --help)"));
    EXPECT_EQ(zebText({"edit", "s/a/b/", "-n"}),
              failsWith("edit: unknown option -n; put -- before it if it is no option (see "
                        "zeb-text edit --help)"));
    EXPECT_EQ(zebText({"match", "-x"}), failsWith("match: unknown option -x; put -- before it if "
                                                  "it is no option (see zeb-text match --help)"));
    EXPECT_EQ(zebText({"unquote", "-x"}),
              failsWith("unquote: unknown option -x; put -- before it if it is no option (see "
                        "zeb-text unquote --help)"));
    EXPECT_EQ(zebText({"unquote", "a", "b"}),
              failsWith("unquote: The following argument was not expected: b (see zeb-text "
                        "unquote --help)"));
    EXPECT_EQ(zebText({"pad", "--left"}),
              failsWith("pad: --left: 1 required WIDTH missing (see zeb-text pad --help)"));
}

// Words that an argument parser is tempted to interpret.
constexpr char const* STRANGE_WORDS[] = {"[a]", "[a,b]", "[]",    "[",   "{}",       "%%", "++",
                                         "{a}", "\"a\"", "'a'",   "a=b", "@file",    "#x", "edit",
                                         "xml", "/foo",  "a\\nb", " ",   "\xFF\xFE", "-5", "true"};

TEST(Program, WordsArriveUnchanged) {
    for (std::string const word : STRANGE_WORDS) {
        SCOPED_TRACE(word);
        // As an argument of its own, in a list, as the value of an option, and after "--".
        EXPECT_EQ(zebText({"search-replace", word, "<" + word + ">"}, "z" + word),
                  prints("z<" + word + ">"));
        EXPECT_EQ(zebText({"pad", "--left", "0", "--", word}), prints(word + "\n"));
        EXPECT_EQ(zebText({"tokens", "--delimiters", word}, "z").out, "z\n");
        if (word != " " && word != "\"a\"" && word != "-5") {
            EXPECT_EQ(zebText({"flatten", word, word, "--", word}),
                      prints(word + " " + word + " " + word + "\n"));
        }
    }
}

TEST(Program, FilesMayHaveStrangeNames) {
    for (std::string const name : {"[a,b]", "{}", "%%", "++", "edit", "xml", "\xE4", "a b"}) {
        SCOPED_TRACE(name);
        TemporaryDirectory const folder;
        folder.file(name, "line\n");
        folder.file("other", "other line\n");
        ProcessResult const result =
            runProcess({"sh", "-c", "cd \"$1\" && exec \"$0\" match line \"$2\" other \"$2\"",
                        ZEB_TEXT_PROGRAM, folder.path("."), name});
        EXPECT_EQ(result, prints(name + ":line\nother:other line\n" + name + ":line\n"));
    }
}

TEST(Program, AHyphenBeginsAWordBehindADoubleHyphen) {
    EXPECT_EQ(zebText({"match", "--", "-a"}, "-a\nb\n"), prints("-a\n"));
    EXPECT_EQ(zebText({"match", "--", "--numbers"}, "--numbers\n"), prints("--numbers\n"));
    EXPECT_EQ(zebText({"escape", "--", "--"}), prints("--\n"));
    EXPECT_EQ(zebText({"flatten", "--", "-a", "--", "-b"}), prints("-a -- -b\n"));
    TemporaryDirectory const folder;
    folder.file("-f", "text");
    EXPECT_EQ(shell("cd \"$1\" && \"$0\" edit s/t/T/ -- -f", folder.path(".")), prints("Text"));
    EXPECT_EQ(shell("cd \"$1\" && \"$0\" edit s/t/T/ ./-f -- -f", folder.path(".")),
              prints("TextText"));
}

TEST(Program, OptionsMayStandAnywhere) {
    EXPECT_EQ(zebText({"match", "a", "-", "--numbers"}, "b\na\n"), prints("2:a\n"));
    EXPECT_EQ(zebText({"match", "--numbers", "a", "--ignore-case", "-"}, "b\nA\n"),
              prints("2:A\n"));
}

TEST(Program, UnreadableFilesAreReportedAndTheOthersRead) {
    TemporaryDirectory const folder;
    std::string const good = folder.file("good", "a\n");
    std::string const missing = folder.path("missing");
    std::string const directory = folder.path(".");
    ProcessResult const expected{2, "b\n",
                                 "zeb-text: Cannot read file " + missing +
                                     ": No such file or directory\n"
                                     "zeb-text: Cannot read file " +
                                     directory + ": Is a directory\n"};
    EXPECT_EQ(zebText({"edit", "s/a/b/", missing, directory, good}), expected);
}

TEST(Program, ADirectoryAsStandardInputIsAnError) {
    EXPECT_EQ(shell("exec \"$0\" edit s/a/b/ </"), failsWith("-: Is a directory"));
}

TEST(Program, ClosedStandardInputIsAnError) {
    EXPECT_EQ(shell("exec \"$0\" edit s/a/b/ <&-"), failsWith("-: Bad file descriptor"));
}

TEST(Program, ReadsFromAPipeAndFromWhereAFileStands) {
    EXPECT_EQ(shell("{ printf 'a\\n'; sleep 0.1; printf 'a\\n'; } | \"$0\" edit s/a/b/"),
              prints("b\nb\n"));
    TemporaryDirectory const folder;
    std::string const file = folder.file("f", "first\nsecond\n");
    EXPECT_EQ(shell("{ read -r line; exec \"$0\" edit s/s/S/; } <\"$1\"", file),
              prints("Second\n"));
}

TEST(Program, AFullDiskIsAnError) {
    ProcessResult const expected = failsWith("standard output: No space left on device");
    EXPECT_EQ(shell("echo a | \"$0\" edit s/a/b/ >/dev/full"), expected);
    EXPECT_EQ(shell("head -c 1000000 /dev/zero | \"$0\" edit s/a/b/ >/dev/full"), expected);
    EXPECT_EQ(shell("\"$0\" --help >/dev/full"), expected);
    EXPECT_EQ(shell("\"$0\" edit --help >/dev/full"), expected);
    EXPECT_EQ(shell("echo '<a/>' | \"$0\" xml check - - - >/dev/full"), expected);
}

TEST(Program, ClosedStandardOutputIsAnError) {
    EXPECT_EQ(shell("echo a | \"$0\" edit s/a/b/ >&-"),
              failsWith("standard output: Bad file descriptor"));
}

// It is its own choice, as with head.
TEST(Program, OfAReaderThatGoesAwayOnlyTheStatusTells) {
    ProcessResult const expected{0, "", "2\n"};
    EXPECT_EQ(shell("head -c 3000000 /dev/zero | "
                    "{ \"$0\" edit s/a/b/; echo $? >&2; } | head -c 1 >/dev/null"),
              expected);
}

TEST(Program, WritesAllThatItHasBeforeItFails) {
    EXPECT_EQ(zebText({"utf8", "-", "/nonexistent"}, "text").out, "text");
    EXPECT_EQ(shell("echo '<a/>' | \"$0\" xml check - /nonexistent - 2>&1").out,
              "-: ok\nzeb-text: Cannot read file /nonexistent: No such file or directory\n"
              "-:1:1: no element found\n  \n  ^\n");
}

}  // namespace
}  // namespace zeb::test
