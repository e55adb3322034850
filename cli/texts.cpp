// The commands that cut, join and replace texts.

#include "Commands.hpp"

#include <OrventoTextOperations.hpp>

#include <nlohmann/json.hpp>

namespace zeb::cli {

using ZEBNS2::String;
using ZEBNS2::StringArray;

Status flatten(Words const& words, Output& out) {
    Arguments arguments("flatten",
                        "Prints the arguments as one command line, those with blanks or quotes in "
                        "double quotes.",
                        "  zeb-text flatten -- ls -l 'my file'\n");
    Words list;
    arguments.rest("ARG", list, "The arguments; put -- before the first");
    arguments.parse(words);

    StringArray flattened;
    for (std::string const& argument : list) {
        flattened.append(argument);
    }
    out.line(ZEBNS2::CommandLine::flatten(flattened));
    return DONE;
}

Status unquote(Words const& words, Output& out) {
    Arguments arguments("unquote", "Prints TEXT without the double quotes around it, if any.",
                        "  zeb-text unquote '\"my file\"'\n");
    std::string text;
    arguments.word("TEXT", text, "The text");
    arguments.parse(words);

    out.line(ZEBNS2::remove_quotes(text));
    return DONE;
}

Status tokens(Words const& words, Output& out) {
    Arguments arguments("tokens",
                        "Prints each token on a line of its own. Text in double quotes is not "
                        "split, its quotes are kept;\nthere are no empty tokens. The exit status "
                        "is 1 when there is no token.",
                        "  zeb-text tokens --delimiters=, list.csv\n"
                        "  echo 'copy \"my file\" there' | zeb-text tokens\n");
    std::string delimiters = " \t\n";
    Words files;
    bool json = false;
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.option("--delimiters", "SET", delimiters,
                     "Bytes that separate tokens; without it, blank, tab and newline");
    arguments.flag("--json", json, "Print each token as an object: file, token");
    arguments.parse(words);

    bool found = false;
    bool const allWell = forEachInput(out, files, [&](std::string const& name, String const& text) {
        StringArray const list = ZEBNS2::quoted_string_tokenization(text, delimiters.c_str());
        found = found || !list.empty();
        for (String const& token : list) {
            if (json) {
                out.json({{"file", name}, {"token", std::string(token)}});
            } else {
                out.line(token);
            }
        }
    });
    return searchStatus(allWell, found);
}

Status searchReplace(Words const& words, Output& out) {
    Arguments arguments("search-replace",
                        "Prints the text with every occurrence of SEARCH replaced; both are "
                        "literal texts.",
                        "  zeb-text search-replace /usr/local /opt paths\n");
    std::string search;
    std::string replacement;
    Words files;
    arguments.word("SEARCH", search, "What to look for; when it is empty nothing changes");
    arguments.word("REPLACEMENT", replacement, "What each occurrence becomes");
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.parse(words);

    bool const allWell = forEachInput(out, files, [&](std::string const&, String const& text) {
        out.write(ZEBNS2::search_replace(text, search, replacement));
    });
    return allWell ? DONE : FAILED;
}

}  // namespace zeb::cli
