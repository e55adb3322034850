#pragma once

#include "Descriptor.hpp"

#include <zeb/foundation/String.hpp>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zeb::cli {

using Words = std::vector<std::string>;

inline constexpr char PROGRAM[] = "zeb-text";

/// Exit status of the program, like those of grep and sed.
enum Status { DONE = 0, NOTHING_FOUND = 1, FAILED = 2 };

/// The complete message for the user before the program ends.
struct Failure : std::runtime_error {
    /// @param shown whole lines that show the place, see `excerpt`; may be empty
    explicit Failure(std::string const& message, std::string shown = {})
        : std::runtime_error(message), place(std::move(shown)) {}

    std::string place;
};

/// Standard output cannot be written, so the program ends.
struct OutputFailure : Failure {
    using Failure::Failure;
};

/// The reader of standard output has closed it, which is not reported.
struct ReaderGone : OutputFailure {
    using OutputFailure::OutputFailure;
};

/// @name Colours
/// @{
inline constexpr char MATCH_COLOR[] = "1;31";  ///< red, bold; for errors too
inline constexpr char NAME_COLOR[] = "35";     ///< magenta
inline constexpr char NUMBER_COLOR[] = "32";   ///< green

/// Chooses whether there are colours.
/// @param when "always", "never", or "auto": on a terminal that is not a dumb one, unless NO_COLOR
///   is in the environment and not empty
void chooseColors(std::string const& when);

/// Whether output to that file gets colours.
[[nodiscard]] bool isColored(int descriptor);

/// `text`, in a color when `colored`; an empty one stays empty.
[[nodiscard]] std::string painted(bool colored, char const* color, std::string_view text);
/// @}

/// Writes "zeb-text: message" as one line to standard error, bytes that are not printable escaped.
void note(std::string_view message);

/// The same for an error.
/// @param place as in `Failure`
void report(std::string_view message, std::string_view place = {});

/// Standard output, collected into large writes. Output is surely written only after `finish`.
class Output {
public:
    void write(std::string_view bytes);
    void line(std::string_view text);
    /// Writes the rest and closes standard output.
    void finish();
    /// Writes the rest; output may continue.
    void flush();

private:
    std::string buffer_;
    bool used_ = false;
};

/// Passes the name and contents of each of `files`, of standard input for "-" and when there are
/// none, to `work`. An error in one of them is reported, after the output so far, and the others
/// are still processed. While a large one is read, a line on standard error shows the progress, if
/// that is a terminal.
/// @return whether there was no error
bool forEachInput(
    Output& out, Words const& files,
    std::function<void(std::string const& name, foundation::String const& contents)> const& work);

/// Calls `work` for each of `names`, like `forEachInput`, but reads nothing.
bool forEachName(Output& out, Words const& names,
                 std::function<void(std::string const& name)> const& work);

/// The system's text for an error number.
[[nodiscard]] std::string systemReason(int error);

/// Bytes from the file's current position to its end; 0 when unknown, as for a pipe.
[[nodiscard]] std::uint64_t remainingSize(int descriptor);

/// The contents of a file; of standard input for "-". @throws Failure
[[nodiscard]] foundation::String readInput(std::string const& name);

/// @throws Failure "Cannot read file NAME: reason"
[[nodiscard]] Descriptor openForReading(std::string const& name);

/// The exit status of a command that searches.
[[nodiscard]] Status searchStatus(bool allWell, bool found);

}  // namespace zeb::cli
