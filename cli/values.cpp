// The commands that read, find and format single values.

#include "Commands.hpp"
#include "Json.hpp"

#include <OrventoTextOperations.hpp>

#include <charconv>
#include <iterator>
#include <optional>
#include <type_traits>

namespace zeb::cli {

using ZEBNS2::String;

namespace {

/// Reads `text` as a `T` and prints it in decimal, with enough digits to identify it.
template <typename T>
std::string normalized(String const& text, int base) {
    T const value = ZEBNS2::string_to_number<T>(text, base);
    char digits[64];
    auto const end = [&] {
        if constexpr (std::is_floating_point_v<T>) {
            return std::to_chars(std::begin(digits), std::end(digits), value).ptr;
        } else {
            return std::to_chars(std::begin(digits), std::end(digits), +value).ptr;
        }
    }();
    return {digits, end};
}

struct NumberType {
    char const* name;
    std::string (*normalized)(String const& text, int base);
};

constexpr NumberType NUMBER_TYPES[] = {
    {"int8", normalized<signed char>},    {"int16", normalized<short>},
    {"int32", normalized<int>},           {"int64", normalized<long long>},
    {"uint8", normalized<unsigned char>}, {"uint16", normalized<unsigned short>},
    {"uint32", normalized<unsigned int>}, {"uint64", normalized<unsigned long long>},
    {"real32", normalized<float>},        {"real64", normalized<double>},
};

}  // namespace

Status unit(Words const& words, Output& out) {
    Arguments arguments("unit",
                        "Prints how many bytes the size unit in TEXT means (powers of 1024); "
                        "a number in TEXT does not count.\nThe exit status is 1 when there is no "
                        "unit.",
                        "  zeb-text unit megabytes\n"
                        "  zeb-text unit 10GB\n");
    std::string text;
    bool json = false;
    arguments.word("TEXT", text, "A unit such as K, kb or kilobytes");
    arguments.flag("--json", json, "Print an object: text, bytes");
    arguments.parse(words);

    unsigned long long const bytes = ZEBNS2::get_unit_size(text);
    if (bytes == 0) {
        return NOTHING_FOUND;
    }
    if (json) {
        out.line(JsonObject().add("text", text).addJson("bytes", std::to_string(bytes)).text());
    } else {
        out.line(std::to_string(bytes));
    }
    return DONE;
}

Status date(Words const& words, Output& out) {
    Arguments arguments("date",
                        "Prints the first date of each input, such as \"Tue Mar 14 09:26:53 2023\" "
                        "or with a zone before the year.\nThe exit status is 1 when there is none.",
                        "  zeb-text date log\n");
    Words files;
    bool json = false;
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.flag("--json", json, "Print each date as an object: file, date");
    arguments.parse(words);

    bool found = false;
    bool const allWell = forEachInput(out, files, [&](std::string const& name, String const& text) {
        String const first = ZEBNS2::extractGenericDate(text);
        if (!first.empty()) {
            found = true;
            if (json) {
                out.line(JsonObject().add("file", name).add("date", first).text());
            } else {
                out.line(first);
            }
        }
    });
    return searchStatus(allWell, found);
}

Status number(Words const& words, Output& out) {
    Arguments arguments("number", "Reads TEXT as a number and prints it in decimal.",
                        "  zeb-text number --base 16 ff\n"
                        "  zeb-text number --type real64 1e-3\n");
    std::string text;
    std::string base = "10";
    std::string type = "int64";
    bool json = false;
    Words names;
    for (NumberType const& known : NUMBER_TYPES) {
        names.emplace_back(known.name);
    }
    arguments.word("TEXT", text, "The number and nothing else");
    arguments.option("--base", "N", base, "Base of an integer, 2 to 36; without it, 10");
    arguments.option("--type", names, type, "What the number must fit; without it, int64");
    arguments.flag("--json", json,
                   "Print an object: text, type, value (a number, or \"inf\", \"-inf\", \"nan\")");
    arguments.parse(words);

    int const radix = ZEBNS2::string_to_number<int>(base, /*base=*/10);
    for (NumberType const& known : NUMBER_TYPES) {
        if (type == known.name) {
            std::string const value = known.normalized(text, radix);
            if (json) {
                out.line(JsonObject()
                             .add("text", text)
                             .add("type", type)
                             .addJson("value", jsonNumber(value))
                             .text());
            } else {
                out.line(value);
            }
        }
    }
    return DONE;
}

Status pad(Words const& words, Output& out) {
    Arguments arguments("pad",
                        "Prints TEXT, filled up to WIDTH bytes; a longer one stays as it is.\n"
                        "One of --left, --right and --center says where TEXT is placed.",
                        "  zeb-text pad --right 8 --fill 0 42\n");
    struct Layout {
        char const* option;
        char const* description;
        String (*apply)(String const& text, unsigned int width, char fill);
        std::optional<std::string> width;
    };
    Layout layouts[] = {
        {"--left", "Left-aligned in WIDTH bytes", ZEBNS2::leftText, {}},
        {"--right", "Right-aligned in WIDTH bytes", ZEBNS2::rightText, {}},
        {"--center", "In the middle of WIDTH bytes", ZEBNS2::centerText, {}},
    };
    std::string text;
    std::string fill = " ";
    arguments.word("TEXT", text, "The text");
    for (Layout& layout : layouts) {
        arguments.option(layout.option, "WIDTH", layout.width, layout.description);
    }
    arguments.exclusive({"--left", "--right", "--center"});
    arguments.option("--fill", "C", fill, "What to fill with, one byte; without it, a blank");
    arguments.parse(words);

    if (fill.size() != 1) {
        arguments.fail("--fill takes one byte");
    }
    for (Layout const& layout : layouts) {
        if (layout.width) {
            auto const width = ZEBNS2::string_to_number<unsigned int>(*layout.width, /*base=*/10);
            out.line(layout.apply(text, width, fill.front()));
            return DONE;
        }
    }
    arguments.fail("--left, --right or --center is required");
}

Status environment(Words const& words, Output& out) {
    Arguments arguments("env",
                        "Prints the value of NAME in an environment block: entries NAME=value, "
                        "each ended by a NUL byte.\nThe first occurrence of \"NAME=\" counts, even "
                        "at the end of a longer name.\nThe exit status is 1 when there is none.",
                        "  zeb-text env PATH /proc/self/environ\n");
    std::string name;
    Words files;
    bool json = false;
    arguments.word("NAME", name, "The variable");
    arguments.rest("FILE", files, "Files to read; without one, standard input");
    arguments.flag("--json", json, "Print each value as an object: file, name, value");
    arguments.parse(words);

    // No value contains a NUL byte, so it remains only when there was no value.
    String const none("", 1);
    bool found = false;
    bool const allWell =
        forEachInput(out, files, [&](std::string const& file, String const& block) {
            String value = none;
            ZEBNS2::extractEnv(block, name.c_str(), value, '=');
            if (value != none) {
                found = true;
                if (json) {
                    out.line(JsonObject()
                                 .add("file", file)
                                 .add("name", name)
                                 .add("value", value)
                                 .text());
                } else {
                    out.line(value);
                }
            }
        });
    return searchStatus(allWell, found);
}

}  // namespace zeb::cli
