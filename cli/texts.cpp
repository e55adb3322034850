// The commands that cut, join and replace texts.

#include "Commands.hpp"
#include "Json.hpp"
#include "Reader.hpp"

#include <OrventoTextOperations.hpp>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>

namespace zeb::cli {

using ZEBNS2::String;
using ZEBNS2::StringArray;

namespace {

/// Finds how much of a text that is still being read can already be split into tokens: up to a
/// delimiter outside quotes. A quote whose end has not been read delays all text after it, since
/// without an end it is no quote.
class TokenBoundary {
public:
    explicit TokenBoundary(std::string const& delimiters) {
        for (char const byte : delimiters) {
            delimiter_[static_cast<unsigned char>(byte)] = true;
        }
    }

    /// Continues where the last call stopped.
    /// @param text begins at the last boundary
    /// @return length of the part that can be split; 0 when there is none yet
    std::size_t find(std::string_view text) {
        for (; position_ < text.size(); ++position_) {
            char const byte = text[position_];
            if (byte == '"') {
                std::size_t const end = closingQuote(text);
                if (end == std::string_view::npos) {
                    break;
                }
                position_ = end;
                searched_ = 0;
            } else if (delimiter_[static_cast<unsigned char>(byte)]) {
                boundary_ = position_ + 1;
            }
        }
        return boundary_;
    }

    /// Removes that part.
    void pass() {
        position_ -= boundary_;
        searched_ -= searched_ == 0 ? 0 : boundary_;
        boundary_ = 0;
    }

private:
    /// The quote that ends the one at position_; a backslash before it makes it none.
    std::size_t closingQuote(std::string_view text) {
        std::size_t at = text.find('"', searched_ == 0 ? position_ + 1 : searched_);
        while (at != std::string_view::npos && text[at - 1] == '\\') {
            at = text.find('"', at + 1);
        }
        searched_ = text.size();
        return at;
    }

    bool delimiter_[0x100] = {};
    std::size_t position_ = 0;  ///< end of the examined part
    std::size_t searched_ = 0;  ///< after an open quote; 0 without one
    std::size_t boundary_ = 0;
};

/// Reads text to its end.
/// @param boundary how much of the bytes read can be processed without the rest
void forEachPart(Reader& input, std::function<std::size_t(std::string_view)> const& boundary,
                 std::function<void(String const&)> const& work) {
    bool any = false;
    while (input.more()) {
        std::string_view const text(input.data(), input.size());
        std::size_t const length = input.atEnd() ? text.size() : boundary(text);
        if (length > 0 || (input.atEnd() && !any)) {
            any = true;
            work(String(text.substr(0, length)));
        }
        input.consume(length);
    }
}

/// How much of a text can be searched without the rest: no occurrence begins in it and ends after
/// it.
std::size_t searchableLength(std::string_view text, std::string const& search) {
    std::size_t end = 0;
    for (;;) {
        void const* const found =
            ::memmem(text.data() + end, text.size() - end, search.data(), search.size());
        if (found == nullptr || search.empty()) {
            break;
        }
        end =
            static_cast<std::size_t>(static_cast<char const*>(found) - text.data()) + search.size();
    }
    std::size_t const kept = search.empty() ? 0 : search.size() - 1;
    return std::max(end, text.size() - std::min(text.size(), kept));
}

}  // namespace

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
    Arguments arguments(
        "tokens",
        "Prints each token on a line of its own. Text in double quotes is not "
        "split, its quotes are kept;\nthere are no empty tokens. The exit status "
        "is 1 when there is no token.\nIt splits what people type, such as commands "
        "and lists; it is no reader of CSV.",
        "  zeb-text tokens --delimiters=: path\n"
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
    bool const allWell = forEachStream(out, files, [&](std::string const& name, Reader& input) {
        TokenBoundary tokenBoundary(delimiters);
        auto const boundary = [&tokenBoundary](std::string_view text) {
            std::size_t const length = tokenBoundary.find(text);
            tokenBoundary.pass();
            return length;
        };
        std::string object;
        forEachPart(input, boundary, [&](String const& text) {
            StringArray const list = ZEBNS2::quoted_string_tokenization(text, delimiters.c_str());
            found = found || !list.empty();
            for (String const& token : list) {
                if (json) {
                    object = "{";
                    appendJsonMember(object, "file", name);
                    object += ',';
                    appendJsonMember(object, "token", token);
                    out.line(object += '}');
                } else {
                    out.line(token);
                }
            }
        });
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

    auto const work = [&](String const& text) {
        out.write(ZEBNS2::search_replace(text, search, replacement));
    };
    bool allWell = false;
    if (arguments.traced()) {
        // The library logs its work on the whole text.
        allWell = forEachInput(out, files,
                               [&work](std::string const&, String const& text) { work(text); });
    } else {
        auto const boundary = [&search](std::string_view text) {
            return searchableLength(text, search);
        };
        allWell = forEachStream(out, files, [&](std::string const&, Reader& input) {
            forEachPart(input, boundary, work);
        });
    }
    return allWell ? DONE : FAILED;
}

}  // namespace zeb::cli
