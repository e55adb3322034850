#pragma once

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "RunProcess.hpp"
#include "TemporaryDirectory.hpp"

/// @file
/// How the tests of zeb-text run the built program.

namespace zeb::test {

/// The tests give their own locale where they want another one.
inline int const LOCALE = ::setenv("LC_ALL", "C", /*overwrite=*/1);

/// Runs zeb-text.
inline ProcessResult zebText(std::vector<std::string> arguments, std::string_view input = {}) {
    arguments.insert(arguments.begin(), ZEB_TEXT_PROGRAM);
    return runProcess(std::move(arguments), input);
}

/// Runs a script of the shell, in which "$0" is zeb-text and "$1" is `argument`.
inline ProcessResult shell(std::string const& script, std::string const& argument = {}) {
    return runProcess({"sh", "-c", script, ZEB_TEXT_PROGRAM, argument});
}

/// What zeb-text gives when all is well.
inline ProcessResult prints(std::string out) { return {0, std::move(out), ""}; }

/// What zeb-text gives when nothing was found.
inline ProcessResult findsNothing() { return {1, "", ""}; }

/// What zeb-text gives when it fails with that message.
/// @param place lines that show where the trouble is
inline ProcessResult failsWith(std::string const& message, std::string const& place = {}) {
    return {2, "", "zeb-text: " + message + "\n" + place};
}

}  // namespace zeb::test
