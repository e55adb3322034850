#pragma once

#include "Streams.hpp"

#include <string>
#include <vector>

namespace zeb::cli {

/// A command of the program. The usage, the completions and the manual's test come from the table
/// of these and from the options that each command declares.
struct Command {
    /// As the user types it; one of two words, such as "xml find", belongs to the group of the
    /// first.
    char const* name;
    char const* summary;
    Status (*run)(Words const& words, Output& out);
};

[[nodiscard]] std::vector<Command> const& commands();

/// Takes the name of a command from the front of `words`.
/// @throws Failure with a suggestion when there is no such command
[[nodiscard]] Command const& takeCommand(Words& words);

/// The text of --help.
[[nodiscard]] std::string usage();

/// The text for a group's name alone; empty when there is no such group.
[[nodiscard]] std::string groupUsage(std::string const& group);

/// @name Completion
/// A script for the shell, generated from all commands and their options.
/// @{
[[nodiscard]] std::string bashCompletion(Output& out);
[[nodiscard]] std::string zshCompletion(Output& out);
/// @}

}  // namespace zeb::cli
