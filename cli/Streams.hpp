#pragma once

#include "Descriptor.hpp"

#include <zeb/foundation/String.hpp>

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zeb::cli {

using Words = std::vector<std::string>;

inline constexpr char PROGRAM[] = "zeb-text";

/// Exit status of the program, as that of grep and sed.
enum Status { DONE = 0, NOTHING_FOUND = 1, FAILED = 2 };

/// What the user is to be told before the program ends, in full.
struct Failure : std::runtime_error {
    /// @param shown whole lines that show where the trouble is, see `excerpt`; none without them
    explicit Failure(std::string const& message, std::string shown = {})
        : std::runtime_error(message), place(std::move(shown)) {}

    std::string place;
};

/// Standard output cannot be written, so that there is no use in going on.
struct OutputFailure : Failure {
    using Failure::Failure;
};

/// The reader of standard output has gone away, of which nobody needs to be told.
struct ReaderGone : OutputFailure {
    using OutputFailure::OutputFailure;
};

/// @name Colours
/// @{
inline constexpr char MATCH_COLOR[] = "1;31";  ///< red, bold; for errors too
inline constexpr char NAME_COLOR[] = "35";     ///< magenta
inline constexpr char NUMBER_COLOR[] = "32";   ///< green

/// Sets when there are colours.
/// @param when "always", "never", or "auto": on a terminal that is not a dumb one, unless NO_COLOR
///   is in the environment and not empty
void chooseColors(std::string const& when);

/// Whether what is written to that file gets colours.
[[nodiscard]] bool isColored(int descriptor);

/// `text`, in a color when `colored`; an empty one stays empty.
[[nodiscard]] std::string painted(bool colored, char const* color, std::string_view text);
/// @}

/// Writes "zeb-text: message" as one line to standard error, bytes that are not printable escaped.
void note(std::string_view message);

/// The same for an error.
/// @param place as in `Failure`
void report(std::string_view message, std::string_view place = {});

/// Standard output, collected into large writes. Only what `finish` has seen is surely written.
class Output {
public:
    void write(std::string_view bytes);
    void line(std::string_view text);
    /// Writes an object as one line of JSON, each malformed piece of UTF-8 in it as U+FFFD. Behind
    /// such a member there is one with its bytes in base64, as `appendJsonMember` makes it.
    void json(nlohmann::ordered_json const& object);
    /// Writes what is left; afterwards there is no standard output any more.
    void finish();
    /// Writes what is left and goes on.
    void flush();

private:
    std::string buffer_;
    bool used_ = false;
};

/// Hands the name and contents of each of `files`, of standard input for "-" and when there are
/// none, to `work`. What is wrong with one of them is reported, behind what `out` has got so far,
/// and the others are still done. While a large one is read, a line on standard error tells how far
/// that is, if that is a terminal.
/// @return whether nothing was wrong
bool forEachInput(
    Output& out, Words const& files,
    std::function<void(std::string const& name, foundation::String const& contents)> const& work);

/// Calls `work` for each of `names`, as `forEachInput` does, and reads nothing.
bool forEachName(Output& out, Words const& names,
                 std::function<void(std::string const& name)> const& work);

/// The system's text for an error number.
[[nodiscard]] std::string systemReason(int error);

/// Bytes from where the file stands to its end; 0 where that is not known, as for a pipe.
[[nodiscard]] std::uint64_t remainingSize(int descriptor);

/// The contents of a file; of standard input for "-". @throws Failure
[[nodiscard]] foundation::String readInput(std::string const& name);

/// @throws Failure "Cannot read file NAME: reason"
[[nodiscard]] Descriptor openForReading(std::string const& name);

/// The exit status of a command that looks for something.
[[nodiscard]] Status searchStatus(bool allWell, bool found);

}  // namespace zeb::cli
