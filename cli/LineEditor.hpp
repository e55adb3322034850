#pragma once

#include "Reader.hpp"

#include <OrventoCommonRegex.hpp>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace zeb::cli {

/// Edits a text that comes in pieces. All that it writes together is what the library makes of the
/// whole text.
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

/// What ZEBNS2::realSed does with each of `commands`, one after the other.
///
/// Substitutions keep nothing back. Deletions keep back the newline behind the last line written,
/// which belongs to the result only when another line follows; a range is kept back, too, as long
/// as its end has not been seen.
/// @param commands at least one, all of them known to the library
/// @param whole whether the library gets the whole text at once, for the sake of its messages
[[nodiscard]] std::unique_ptr<LineEditor> sedEditor(Words const& commands,
                                                    LineEditor::Options options, bool whole);

/// The sed command that does to a text what ZEBNS2::sed does to each of its lines.
/// @param replacement template with %0 to %9 and %%
/// @param all whether it replaces every match of a line
[[nodiscard]] std::string sedCommand(std::string const& pattern, std::string_view replacement,
                                     bool all);

}  // namespace zeb::cli
