#pragma once

#include <OrventoCommonRegex.hpp>

#include <string>

/// @file
/// Finds where an expression or a sed command is faulty. The library reports why, not where, so it
/// is asked about prefixes of the text.
///
/// A prefix is sound when it is accepted, or would be if everything open in it were closed: for
/// `x[b-a]y` that is true up to `x[b-`, which only lacks a `]`, and for nothing longer. The fault
/// is the byte after the longest sound prefix, here the `a`. When the whole text is sound,
/// something in it was never closed; the place shown in an expression is then where that opens:
/// after the longest prefix in which nothing of its kind is open.

namespace zeb::cli {

/// The expression of a search.
/// @throws Failure with the reason why it does not compile, and the place
[[nodiscard]] ZEBNS2::RegularExpression compiled(
    std::string const& pattern, ZEBNS2::RegularExpression::CompilationOptions options);

/// Makes sure that the library knows a sed command and that its expressions compile. Afterwards the
/// library writes no messages; see Arguments::startTrace.
/// @throws Failure with the error and its place
void requireSedCommand(std::string const& command,
                       ZEBNS2::RegularExpression::CompilationOptions options);

}  // namespace zeb::cli
