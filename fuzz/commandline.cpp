// Arguments, one a line, joined to a command line.

#include <OrventoTextOperations.hpp>

#include "Property.hpp"

void zeb::fuzz::commandline(std::string_view input) {
    ZEBNS2::StringArray arguments;
    std::string expected;
    while (!input.empty()) {
        auto const [argument, rest] = cutLine(input);
        input = rest;
        arguments.append(argument);

        std::string escaped(argument);
        if (upToNul(argument).find_first_of(" \t\v\r\"") != std::string_view::npos) {
            escaped = '"';
            for (char const byte : argument) {
                escaped += byte == '"' ? "\\\"" : std::string(1, byte);
            }
            escaped += '"';
        }
        require(ZEBNS2::CommandLine::escapeArgument(argument) == escaped, "escapes an argument");
        expected += (expected.empty() ? "" : " ") + escaped;
    }
    require(ZEBNS2::CommandLine::flatten(arguments) == expected, "joins the escaped arguments");
}
