#pragma once

#include "Arguments.hpp"

#include <OrventoCommonRegex.hpp>

namespace zeb::cli {

/// @name Subcommands
/// Each parses its own arguments, writes its results to `out` and returns the exit status. Failures
/// that concern more than one input are thrown.
/// @{
Status edit(Words const& words, Output& out);
Status replace(Words const& words, Output& out);
Status match(Words const& words, Output& out);

Status wildcard(Words const& words, Output& out);
Status escape(Words const& words, Output& out);

Status flatten(Words const& words, Output& out);
Status unquote(Words const& words, Output& out);
Status tokens(Words const& words, Output& out);
Status searchReplace(Words const& words, Output& out);

Status unit(Words const& words, Output& out);
Status date(Words const& words, Output& out);
Status number(Words const& words, Output& out);
Status pad(Words const& words, Output& out);
Status environment(Words const& words, Output& out);

Status toUtf8(Words const& words, Output& out);
Status xmlFix(Words const& words, Output& out);

Status xmlCheck(Words const& words, Output& out);
Status xmlFind(Words const& words, Output& out);
/// @}

/// A UTF-16 text with its mark, as XML in UTF-16 must have, in UTF-8; other texts unchanged.
/// @throws std::exception when the UTF-16 is malformed
[[nodiscard]] ZEBNS2::String utf8ByMark(ZEBNS2::String const& text);

/// The options that choose how expressions are read.
struct Syntax {
    bool ignoreCase = false;
    bool basic = false;

    /// @param ignoreCaseName of the option to ignore the case, with its short form if any
    void declare(Arguments& arguments, char const* ignoreCaseName);
    [[nodiscard]] ZEBNS2::RegularExpression::CompilationOptions options() const;
};

}  // namespace zeb::cli
