// The commands that make expressions from other texts.

#include "Commands.hpp"

#include <RE.hpp>

namespace zeb::cli {

using ZEBNS2::RegularExpression;

Status wildcard(Words const& words, Output& out) {
    Arguments arguments("wildcard",
                        "Prints the expression that matches a whole text as the wildcard PATTERN "
                        "does.\n* is any text and ? any character.",
                        "  zeb-text wildcard --win32 'logs\\*.txt'\n"
                        "  zeb-text wildcard --re 'disk#?'\n");
    std::string pattern;
    bool win32 = false;
    bool re = false;
    bool basic = false;
    arguments.word("PATTERN", pattern, "The wildcard pattern");
    arguments.flag("--win32", win32, "A backslash is a backslash (this is so without an option)");
    arguments.flag("--re", re, "A backslash takes the next character literally, # is a digit");
    arguments.flag("--basic", basic, "The expression shall be in POSIX basic syntax");
    arguments.exclusive({"--win32", "--re"});
    arguments.exclusive({"--basic", "--re"});
    arguments.parse(words);

    out.line(re ? ZEBNS2::wild2re(pattern)
                : RegularExpression::convertWin32WildcardExpression(
                      pattern, Syntax{/*ignoreCase=*/false, basic}.options()));
    return DONE;
}

Status escape(Words const& words, Output& out) {
    Arguments arguments("escape", "Prints the expression that matches TEXT itself.",
                        "  zeb-text match \"$(zeb-text escape 'a.b*c')\" file\n");
    std::string text;
    bool basic = false;
    arguments.word("TEXT", text, "The literal text");
    arguments.flag("--basic", basic, "Escape backslashes alone, for POSIX basic syntax");
    arguments.parse(words);

    out.line(RegularExpression::escapeRegexSpecialCharacters(
        text, Syntax{/*ignoreCase=*/false, basic}.options()));
    return DONE;
}

}  // namespace zeb::cli
