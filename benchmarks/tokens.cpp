// F: quoted_string_tokenization compared with other readers of quoted arguments. The peers remove
// quotes and backslashes while they read; the library leaves that to remove_quotes, so the texts
// that its tokens mean are compared.

#include "bench.hpp"
#include "inputs.hpp"

#include <OrventoTextOperations.hpp>

#include <iomanip>
#include <sstream>

#ifdef ZEB_HAVE_BOOST
#include <boost/tokenizer.hpp>
#endif
#ifdef ZEB_HAVE_GLIB
#include <glib.h>

#include <memory>
#endif

namespace bench {

namespace {

using ZEBNS2::String;
using ZEBNS2::StringArray;

constexpr std::size_t BYTES = 10000000;

/// The texts that the library's tokens mean.
std::string meaning(StringArray const& tokens) {
    std::vector<String> texts;
    for (String const& token : tokens) {
        texts.push_back(ZEBNS2::search_replace(ZEBNS2::remove_quotes(token), "\\\"", "\""));
    }
    return asText(texts);
}

std::vector<std::string> byStdQuoted(std::string_view text) {
    std::vector<std::string> tokens;
    std::istringstream in{std::string(text)};
    std::string token;
    while (in >> std::quoted(token)) {
        tokens.push_back(std::move(token));
    }
    return tokens;
}

#ifdef ZEB_HAVE_BOOST
std::vector<std::string> byBoost(std::string_view text) {
    using Separator = boost::escaped_list_separator<char>;
    boost::tokenizer<Separator, std::string_view::const_iterator> const tokens(
        text.begin(), text.end(), Separator('\\', ' ', '"'));
    return {tokens.begin(), tokens.end()};
}
#endif

#ifdef ZEB_HAVE_GLIB
/// The arguments by g_shell_parse_argv.
class GlibArguments {
public:
    explicit GlibArguments(String const& text) {
        char** arguments = nullptr;
        if (g_shell_parse_argv(text.c_str(), &count_, &arguments, nullptr) == FALSE) {
            std::abort();
        }
        arguments_.reset(arguments);
    }
    char** begin() const { return arguments_.get(); }
    char** end() const { return arguments_.get() + count_; }

private:
    struct Free {
        void operator()(char** arguments) const { g_strfreev(arguments); }
    };
    int count_ = 0;
    std::unique_ptr<char*, Free> arguments_;
};
#endif

void addTokens() {
    for (auto const& [name, bytes] :
         {std::pair("F1@1", BYTES / 100), std::pair("F1@10", BYTES / 10), std::pair("F1", BYTES)}) {
        if (!wanted(name)) {
            continue;
        }
        String const text = argumentText(bytes);
        Contest contest(name, "quoted_string_tokenization", text.length());
        contest.add(
            LIBRARY, [text] { return ZEBNS2::quoted_string_tokenization(text, " "); },
            meaning(ZEBNS2::quoted_string_tokenization(text, " ")));
        if (bytes != BYTES) {
            continue;
        }
        contest.add("std::quoted", [text] { return byStdQuoted(text); });
#ifdef ZEB_HAVE_BOOST
        contest.add("boost", [text] { return byBoost(text); });
        contest.aim("boost", 1.0);
#endif
#ifdef ZEB_HAVE_GLIB
        contest.add("glib", [text] { return GlibArguments(text); });
#endif
    }
}

Family const tokens(addTokens);

}  // namespace

}  // namespace bench
