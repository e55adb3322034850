// D: search_replace compared with a loop of memmem, absl and boost.

#include "bench.hpp"
#include "inputs.hpp"

#include <OrventoTextOperations.hpp>

#include <cstring>

#ifdef ZEB_HAVE_ABSL
#include <absl/strings/str_replace.h>
#endif
#ifdef ZEB_HAVE_BOOST
#include <boost/algorithm/string/replace.hpp>
#endif

namespace bench {

namespace {

using ZEBNS2::String;

constexpr std::size_t BYTES = std::size_t{64} << 20;
constexpr char REPLACEMENT[] = "replacement";

std::string findLoop(std::string_view text, std::string_view search, std::string_view replacement) {
    std::string result;
    result.reserve(text.size());
    for (;;) {
        std::size_t const found = text.find(search);
        if (found == std::string_view::npos) {
            return result.append(text);
        }
        result.append(text.substr(0, found)).append(replacement);
        text.remove_prefix(found + search.size());
    }
}

std::string memmemLoop(std::string_view text, std::string_view search,
                       std::string_view replacement) {
    std::string result;
    result.reserve(text.size());
    for (;;) {
        auto const* const found = static_cast<char const*>(
            ::memmem(text.data(), text.size(), search.data(), search.size()));
        if (found == nullptr) {
            return result.append(text);
        }
        auto const length = static_cast<std::size_t>(found - text.data());
        result.append(text.data(), length).append(replacement);
        text.remove_prefix(length + search.size());
    }
}

void addPeers(Contest& contest, String const& text) {
    contest.add("find loop", [text] { return findLoop(text, NEEDLE, REPLACEMENT); });
    contest.add("memmem loop", [text] { return memmemLoop(text, NEEDLE, REPLACEMENT); });
#ifdef ZEB_HAVE_ABSL
    contest.add("absl", [text] {
        return absl::StrReplaceAll(absl::string_view(text.c_str(), text.length()),
                                   {{NEEDLE, REPLACEMENT}});
    });
#endif
#ifdef ZEB_HAVE_BOOST
    contest.add("boost", [text] {
        std::string_view const view = text;
        std::string result;
        result.reserve(view.size());
        boost::replace_all_copy(std::back_inserter(result), view, NEEDLE, REPLACEMENT);
        return result;
    });
#endif
    contest.aim("*", 1 / 1.1);
}

void addLibrary(Contest& contest, String const& text) {
    contest.add(LIBRARY, [text] {
        static String const search(NEEDLE);
        static String const replacement(REPLACEMENT);
        return ZEBNS2::search_replace(text, search, replacement);
    });
}

struct Row {
    char const* name;
    char const* title;
    std::size_t distance;
};

void addShortReplace() {
    static constexpr std::size_t SHORT = 256;
    static constexpr Row ROWS[] = {
        {"D4", "search_replace in 256 bytes, none found", 0},
        {"D5", "search_replace in 256 bytes, one in 32 bytes", 32},
    };
    for (Row const& row : ROWS) {
        if (wanted(row.name)) {
            String const text = proseText(SHORT, row.distance).substring(0, SHORT);
            Contest contest(row.name, row.title, text.length());
            addLibrary(contest, text);
            addPeers(contest, text);
        }
    }
}

void addReplace() {
    static constexpr Row ROWS[] = {
        {"D1", "search_replace, none found", 0},
        {"D2", "search_replace, one in 4 KiB", 4096},
        {"D3", "search_replace, one in 32 bytes", 32},
    };
    for (Row const& row : ROWS) {
        for (auto const& [suffix, bytes] :
             {std::pair("@1", BYTES / 100), std::pair("@10", BYTES / 10), std::pair("", BYTES)}) {
            std::string const name = std::string(row.name) + suffix;
            if (!wanted(name)) {
                continue;
            }
            String const text = proseText(bytes, row.distance);
            Contest contest(name, row.title, text.length());
            addLibrary(contest, text);
            if (bytes == BYTES) {
                addPeers(contest, text);
            }
        }
    }
}

Family const replace(addReplace);
Family const shortReplace(addShortReplace);

}  // namespace

}  // namespace bench
