#pragma once

#include "Reader.hpp"

#include <OrventoCommonRegex.hpp>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

/// @file
/// Sed commands for texts that arrive in pieces.
///
/// The library edits whole texts. It edits each piece as a text of its own, which is valid because
/// only ranges look farther than one line. Two cases need care:
/// - After a final newline a text has one more, empty line. In the middle of the input there is
///   none, so a piece is passed to the library without its last newline.
/// - The empty text has no lines, while a piece that is one empty line has one. Such a piece is
///   edited as two empty lines, and half of the result is taken.
///
/// Deletions are made here, line by line with the library's expressions: the text that the library
/// returns does not show whether it has no lines or one empty line.

namespace zeb::cli {

/// Edits a text that comes in pieces. Its output as a whole is the library's result for the whole
/// text.
class LineEditor {
public:
    using Sink = std::function<void(std::string_view)>;
    using Options = ZEBNS2::RegularExpression::CompilationOptions;

    LineEditor() = default;
    LineEditor(LineEditor const&) = delete;
    LineEditor& operator=(LineEditor const&) = delete;
    virtual ~LineEditor() = default;

    virtual void edit(Piece const& piece, Sink const& sink) = 0;
};

/// Applies each of `commands`, one after the other, like ZEBNS2::realSed.
///
/// Substitutions delay nothing. Deletions delay the newline after the last line written, which
/// belongs to the result only when another line follows, and an open range until its end is found.
/// @param commands at least one, all of them known to the library
/// @param whole whether the library gets the whole text at once, so that its messages show it
[[nodiscard]] std::unique_ptr<LineEditor> sedEditor(Words const& commands,
                                                    LineEditor::Options options, bool whole);

/// The sed command that is equivalent to ZEBNS2::sed on each line of a text.
/// @param replacement template with %0 to %9 and %%
/// @param all whether it replaces every match of a line
[[nodiscard]] std::string sedCommand(std::string const& pattern, std::string_view replacement,
                                     bool all);

}  // namespace zeb::cli
