#pragma once

#include "Streams.hpp"

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace zeb::cli {

/// The user asked for help; the message is the help text.
struct HelpRequest : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The properties of an option that completion of command lines needs.
struct DescribedOption {
    std::vector<std::string> names;  ///< with their hyphens, short ones first
    std::string label;               ///< of the value, or the choices with "|" between them
    bool optional;                   ///< whether the value may be left out
    bool repeated;
    std::string description;
};

/// The arguments of one subcommand.
///
/// Declare the arguments, each with the variable that it sets, then `parse`. Every subcommand has
/// the options `--help`, `--color` and `--trace` as well. A name such as "-i,--ignore-case" gives
/// an option a short form. All values are byte for byte those that the shell passed; a word that
/// begins with '-' and is no option goes after `--`.
class Arguments {
public:
    /// @param command as the user types it, such as "xml find"
    /// @param examples lines of the help text
    Arguments(std::string const& command, std::string const& description,
              std::string const& examples);
    ~Arguments();

    /// A required word; words are taken in the order of declaration.
    void word(char const* name, std::string& value, char const* description);
    /// An optional word; only `rest` may be declared after it.
    void word(char const* name, std::optional<std::string>& value, char const* description);
    /// All words after those declared with `word`, if any.
    void rest(char const* name, Words& values, char const* description);
    /// An option with a value, which the help text calls `label`.
    void option(char const* name, char const* label, std::string& value, char const* description);
    /// The same for an optional one; absent is not the same as empty.
    void option(char const* name, char const* label, std::optional<std::string>& value,
                char const* description);
    /// An option that may be given several times.
    void option(char const* name, char const* label, Words& values, char const* description);
    /// An option whose value may be left out, which gives it `standard`; the value follows a `=`.
    void option(char const* name, char const* label, char const* standard,
                std::optional<std::string>& value, char const* description);
    /// An option whose value is one of `choices`.
    void option(char const* name, Words const& choices, std::string& value,
                char const* description);
    void flag(char const* name, bool& value, char const* description);
    /// At most one of these options may be given.
    void exclusive(std::initializer_list<char const*> names);

    /// Sets the variables, the colours and the requested trace.
    /// @throws HelpRequest
    /// @throws Failure when the words do not match the declarations
    void parse(Words const& words);

    /// Whether the library's messages are wanted.
    [[nodiscard]] bool traced() const { return !trace_.empty(); }

    /// Lets the library write its messages of the level of `--trace`, if any, to standard error.
    void startTrace() const;

    /// The options that a subcommand declares.
    /// @param command runs it without words
    [[nodiscard]] static std::vector<DescribedOption> described(
        std::function<void()> const& command);

    /// @throws Failure that names the reason and the help
    [[noreturn]] void fail(std::string const& reason) const;

private:
    /// An option whose value may be left out, and the word that replaces it.
    struct Optional {
        std::string name;
        std::string standard;
    };

    [[nodiscard]] std::vector<DescribedOption> options() const;
    [[nodiscard]] Words withAllValues(Words const& words) const;
    void refuseUnknownOptions() const;
    void takeRest();

    std::string command_;
    std::string color_ = "auto";
    std::string trace_;
    std::unique_ptr<CLI::App> app_;
    std::vector<Optional> optionals_;
    Words* rest_ = nullptr;
};

}  // namespace zeb::cli
