// The commands that edit lines: to standard output, in files, or as a preview.

#include "Commands.hpp"
#include "Difference.hpp"
#include "Faults.hpp"
#include "FileReplacement.hpp"
#include "LineEditor.hpp"

#include <unistd.h>

#include <string_view>
#include <utility>

namespace zeb::cli {

using ZEBNS2::RegularExpression;
using ZEBNS2::String;

namespace {

/// What to do with the edited text.
struct Destination {
    bool inPlace = false;
    bool preview = false;
    bool count = false;
    ReplacementOptions file;

    void declare(Arguments& arguments) {
        arguments.option("--backup", "SUFFIX", "~", file.backup,
                         "Keep the old text of each file that is written, under its name with "
                         "SUFFIX appended; without SUFFIX, ~");
        arguments.flag("--in-place-write", file.overwrite,
                       "Write over each file where it is, for files that no new one can take the "
                       "place of");
        arguments.flag("--diff", preview, "Write nothing and print what would change");
        arguments.flag("--dry-run", count, "Write nothing and print how many lines would change");
        arguments.exclusive({"--diff", "--dry-run"});
    }

    void check(Arguments const& arguments) const {
        if (file.backup && (file.backup->empty() || file.backup->find('/') != std::string::npos)) {
            arguments.fail("--backup takes a suffix that is not empty and has no /");
        }
    }
};

/// The commands and how to apply them.
struct Script {
    Words commands;
    RegularExpression::CompilationOptions options;
    bool whole;

    [[nodiscard]] std::unique_ptr<LineEditor> editor() const {
        return sedEditor(commands, options, whole);
    }
};

bool editFiles(Output& out, Words const& files, Script const& script,
               ReplacementOptions const& options) {
    return forEachName(out, files, [&](std::string const& name) {
        FileReplacement file(name, options);
        Reader input(out, file.descriptor(), name, "Cannot read file " + name + ": ");
        std::unique_ptr<LineEditor> const editor = script.editor();
        std::string edited;
        input.forEachPiece([&](Piece const& piece) {
            edited.clear();
            editor->edit(piece, [&edited](std::string_view text) { edited += text; });
            file.add(piece.text(), edited);
            return true;
        });
        file.commit(input.total());
    });
}

bool previewEdits(Output& out, Words const& files, Script const& script,
                  Destination const& destination) {
    return forEachInput(out, files, [&](std::string const& name, String const& text) {
        std::string before(text);
        std::string after;
        script.editor()->edit({before.data(), before.size(), /*last=*/true},
                              [&after](std::string_view edited) { after += edited; });
        Difference const difference =
            differenceOf(before, after, name, destination.preview && isColored(STDOUT_FILENO));
        if (destination.preview) {
            out.write(difference.unified);
        } else {
            out.line(name + ": " + std::to_string(difference.lines) +
                     (difference.lines == 1 ? " line" : " lines") + " would change");
        }
    });
}

Status run(Output& out, Words const& files, Script const& script, Destination const& destination) {
    bool allWell = false;
    if (destination.preview || destination.count) {
        allWell = previewEdits(out, files, script, destination);
    } else if (destination.inPlace) {
        allWell = editFiles(out, files, script, destination.file);
    } else {
        allWell = forEachStream(out, files, [&](std::string const&, Reader& input) {
            std::unique_ptr<LineEditor> const editor = script.editor();
            input.forEachPiece([&](Piece const& piece) {
                editor->edit(piece, [&out](std::string_view text) { out.write(text); });
                return true;
            });
        });
    }
    return allWell ? DONE : FAILED;
}

}  // namespace

Status edit(Words const& words, Output& out) {
    Arguments arguments("edit",
                        "Applies one sed command to every line and prints the edited text.\n"
                        "COMMAND is s/EXPRESSION/REPLACEMENT/ or s/EXPRESSION/REPLACEMENT/g (with "
                        "any delimiter;\n\\0 is the match, \\1 to \\9 are its groups), "
                        "/EXPRESSION/d or /FROM/,/TO/d.",
                        "  zeb-text edit 's/([a-z]+)=([0-9]+)/\\2=\\1/g' settings\n"
                        "  zeb-text edit --ignore-case '/^debug:/d' <log\n"
                        "  zeb-text edit '/BEGIN TRACE/,/END TRACE/d' log\n"
                        "  zeb-text edit --in-place --backup 's/^port=.*/port=80/' *.conf\n");
    std::optional<std::string> command;
    Words commands;
    Words files;
    Syntax syntax;
    Destination destination;
    arguments.word("COMMAND", command, "The sed command, unless -e gives it");
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.option("-e,--expression", "COMMAND", commands,
                     "A sed command; several are applied one after the other");
    arguments.flag("-i,--in-place", destination.inPlace,
                   "Write the edited text into the files instead of printing it");
    destination.declare(arguments);
    syntax.declare(arguments, "-I,--ignore-case");
    arguments.parse(words);

    if (commands.empty() && !command) {
        arguments.fail("COMMAND is required");
    }
    if (command) {
        commands.empty() ? commands.push_back(*command)
                         : static_cast<void>(files.insert(files.begin(), *command));
    }
    destination.check(arguments);
    if (destination.inPlace && files.empty()) {
        arguments.fail("FILE is required for --in-place");
    }
    if (!destination.inPlace && (destination.file.overwrite || destination.file.backup)) {
        arguments.fail("--backup and --in-place-write go with --in-place");
    }
    for (std::string const& each : commands) {
        requireSedCommand(each, syntax.options());
    }
    arguments.startTrace();
    return run(out, files, {commands, syntax.options(), arguments.traced()}, destination);
}

Status replace(Words const& words, Output& out) {
    Arguments arguments("replace",
                        "Rewrites files: in each line the first match of EXPRESSION becomes "
                        "TEMPLATE,\nin which %0 is the match, %1 to %9 are its groups and %% is a "
                        "percent sign.\nA file without a match is not written.",
                        "  zeb-text replace '^timeout=.*' 'timeout=30' service.conf\n"
                        "  zeb-text replace '([a-z]+)\\.old' '%1.new' *.list\n"
                        "  zeb-text replace --all --diff colour color *.txt\n");
    std::string pattern;
    std::string replacement;
    std::string file;
    Words files;
    bool all = false;
    Syntax syntax;
    Destination destination;
    arguments.word("EXPRESSION", pattern, "What to look for in each line");
    arguments.word("TEMPLATE", replacement, "What the match becomes");
    arguments.word("FILE", file, "A file to rewrite");
    arguments.rest("FILES", files, "More files to rewrite");
    arguments.flag("-g,--all", all, "Replace every match of each line");
    destination.declare(arguments);
    syntax.declare(arguments, "-I,--ignore-case");
    arguments.parse(words);

    files.insert(files.begin(), file);
    destination.inPlace = true;
    destination.check(arguments);
    static_cast<void>(compiled(pattern, syntax.options()));
    Words const commands{sedCommand(pattern, replacement, all)};
    return run(out, files, {commands, syntax.options(), arguments.traced()}, destination);
}

}  // namespace zeb::cli
