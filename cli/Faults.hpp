#pragma once

#include <OrventoCommonRegex.hpp>

#include <string>

namespace zeb::cli {

/// The expression of a search.
/// @throws Failure that tells why it does not compile, and shows where
[[nodiscard]] ZEBNS2::RegularExpression compiled(
    std::string const& pattern, ZEBNS2::RegularExpression::CompilationOptions options);

/// Makes sure that the library knows a sed command and that its expressions compile. Afterwards the
/// library writes no messages; see Arguments::startTrace.
/// @throws Failure that tells what is wrong, and shows where
void requireSedCommand(std::string const& command,
                       ZEBNS2::RegularExpression::CompilationOptions options);

}  // namespace zeb::cli
