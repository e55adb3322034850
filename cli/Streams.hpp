#pragma once

#include <zeb/foundation/String.hpp>

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
    using std::runtime_error::runtime_error;
};

/// Standard output cannot be written, so that there is no use in going on.
struct OutputFailure : Failure {
    using Failure::Failure;
};

/// Writes "zeb-text: message" as one line to standard error.
void report(std::string_view message);

/// Standard output, collected into large writes. Only what `finish` has seen is surely written.
class Output {
public:
    void write(std::string_view bytes);
    void line(std::string_view text);
    /// Writes what is left; afterwards there is no standard output any more.
    void finish();

private:
    void flush();

    std::string buffer_;
    bool used_ = false;
};

/// Hands the name and contents of each of `files`, of standard input for "-" and when there are
/// none, to `work`. What is wrong with one of them is reported and the others are still done.
/// @return whether nothing was wrong
bool forEachInput(
    Words const& files,
    std::function<void(std::string const& name, foundation::String const& contents)> const& work);

/// Calls `work` for each of `names`, as `forEachInput` does, and reads nothing.
bool forEachName(Words const& names, std::function<void(std::string const& name)> const& work);

/// The exit status of a command that looks for something.
[[nodiscard]] Status searchStatus(bool allWell, bool found);

}  // namespace zeb::cli
