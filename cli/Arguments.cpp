#include "Arguments.hpp"

#include <zeb/foundation/Logger.hpp>

// Only the needed parts of CLI11; CLI/CLI.hpp takes twice as long to compile.
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <iostream>

namespace zeb::cli {

using foundation::IntrusiveReference;
using foundation::LogAppender;
using foundation::Logger;
using foundation::StreamAppender;

namespace {

/// Stores a value unchanged: CLI11's own conversion to a string or number would change some, such
/// as "010", which it reads as octal.
template <typename Value>
CLI::callback_t store(Value& value) {
    return [&value](CLI::results_t const& results) {
        value = results.front();
        return true;
    };
}

/// Thrown by `parse` instead of doing its work while `describing` is set.
struct OptionsDescribed {
    std::vector<DescribedOption> options;
};

bool describing = false;  // there is one thread

}  // namespace

Arguments::Arguments(std::string const& command, std::string const& description,
                     std::string const& examples)
    : command_(command),
      app_(std::make_unique<CLI::App>(description, std::string(PROGRAM) + " " + command)) {
    app_->set_help_flag("--help", "Print this help and exit");
    app_->footer("Examples:\n" + examples);
    option("--color", {"auto", "always", "never"}, color_,
           "Color matches and errors; without it auto: on a terminal, unless NO_COLOR is set");
    option("--trace", {"debug", "debug2", "debug3"}, trace_,
           "Write the library's messages up to this level to standard error");
}

Arguments::~Arguments() = default;

void Arguments::word(char const* name, std::string& value, char const* description) {
    app_->add_option(name, store(value), description)->required();
}

void Arguments::word(char const* name, std::optional<std::string>& value, char const* description) {
    app_->add_option(name, store(value), description);
}

// CLI11 would split a word such as "[a,b]" of a list, so it gets this argument for its help text
// only: expecting no word, it leaves all of them over.
void Arguments::rest(char const* name, Words& values, char const* description) {
    app_->add_option(name, CLI::callback_t(), description)->expected(0, -1);
    app_->allow_extras();
    rest_ = &values;
}

void Arguments::option(char const* name, char const* label, std::string& value,
                       char const* description) {
    app_->add_option(name, store(value), description)->type_name(label);
}

void Arguments::option(char const* name, char const* label, std::optional<std::string>& value,
                       char const* description) {
    app_->add_option(name, store(value), description)->type_name(label);
}

void Arguments::option(char const* name, char const* label, Words& values,
                       char const* description) {
    // A value such as "[a,b]" is one value.
    app_->add_option(
            name,
            [&values](CLI::results_t const& results) {
                values = results;
                return true;
            },
            description)
        ->type_name(label)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false);
}

void Arguments::option(char const* name, char const* label, char const* standard,
                       std::optional<std::string>& value, char const* description) {
    optionals_.push_back({name, standard});
    option(name, label, value, description);
}

void Arguments::option(char const* name, Words const& choices, std::string& value,
                       char const* description) {
    std::string label;
    for (std::string const& choice : choices) {
        label += (label.empty() ? "" : "|") + choice;
    }
    app_->add_option(name, store(value), description)
        ->type_name(label)
        ->check(CLI::Validator(
            [choices, label](std::string& given) {
                bool const known =
                    std::find(choices.begin(), choices.end(), given) != choices.end();
                return known ? std::string() : "'" + given + "' is none of " + label;
            },
            ""));
}

void Arguments::flag(char const* name, bool& value, char const* description) {
    app_->add_flag(name, value, description);
}

void Arguments::exclusive(std::initializer_list<char const*> names) {
    for (char const* const a : names) {
        for (char const* const b : names) {
            if (a != b) {
                app_->get_option(a)->excludes(app_->get_option(b));
            }
        }
    }
}

std::vector<DescribedOption> Arguments::described(std::function<void()> const& command) {
    describing = true;
    try {
        command();
    } catch (OptionsDescribed const& result) {
        describing = false;
        return result.options;
    }
    throw std::logic_error("a command without arguments");
}

std::vector<DescribedOption> Arguments::options() const {
    std::vector<DescribedOption> list;
    for (CLI::Option const* const option : app_->get_options()) {
        if (option->get_positional()) {
            continue;
        }
        DescribedOption described{};
        for (std::string const& name : option->get_snames()) {
            described.names.push_back("-" + name);
        }
        for (std::string const& name : option->get_lnames()) {
            described.names.push_back("--" + name);
        }
        described.label = option->get_items_expected_max() > 0 ? option->get_type_name() : "";
        described.optional = std::any_of(
            optionals_.begin(), optionals_.end(),
            [&](Optional const& known) { return known.name == described.names.back(); });
        described.repeated = option->get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
        described.description = option->get_description();
        list.push_back(described);
    }
    return list;
}

void Arguments::parse(Words const& words) {
    if (describing) {
        throw OptionsDescribed{options()};
    }
    try {
        Words lastFirst = withAllValues(words);
        std::reverse(lastFirst.begin(), lastFirst.end());
        app_->parse(lastFirst);
    } catch (CLI::CallForHelp const&) {
        throw HelpRequest(app_->help());
    } catch (CLI::ParseError const& error) {
        refuseUnknownOptions();  // which may be why a word is missing
        fail(error.what());
    }
    takeRest();
    chooseColors(color_);
    startTrace();
}

// CLI11 takes "--name=" for "--name" and would then take the next word as its value, as it would
// when the value is left out.
Words Arguments::withAllValues(Words const& words) const {
    Words result;
    bool options = true;
    for (std::string const& word : words) {
        options = options && word != "--";
        auto const optional =
            std::find_if(optionals_.begin(), optionals_.end(),
                         [&word](Optional const& known) { return known.name == word; });
        if (options && word.size() > 3 && word.compare(0, 2, "--") == 0 &&
            word.find('=') == word.size() - 1) {
            result.push_back(word.substr(0, word.size() - 1));
            result.emplace_back();
        } else if (options && optional != optionals_.end()) {
            result.push_back(word);
            result.push_back(optional->standard);
        } else {
            result.push_back(word);
        }
    }
    return result;
}

// CLI11 leaves over words, unknown options and the mark "--".
void Arguments::refuseUnknownOptions() const {
    for (std::string const& word : app_->remaining()) {
        if (word == "--") {
            return;
        }
        if (word.size() > 1 && word.front() == '-') {
            fail("unknown option " + word + "; put -- before it if it is no option");
        }
    }
}

void Arguments::takeRest() {
    if (rest_ == nullptr) {
        return;
    }
    refuseUnknownOptions();
    bool options = true;
    for (std::string const& word : app_->remaining()) {
        if (options && word == "--") {
            options = false;
        } else {
            rest_->push_back(word);
        }
    }
}

void Arguments::startTrace() const {
    if (trace_.empty()) {
        Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
        return;
    }
    Logger::Level const level = trace_ == "debug"    ? Logger::DEBUG_LEVEL
                                : trace_ == "debug2" ? Logger::DEBUG2_LEVEL
                                                     : Logger::DEBUG3_LEVEL;
    Logger::setDefault(level, IntrusiveReference<LogAppender>(new StreamAppender(std::cerr)));
}

void Arguments::fail(std::string const& reason) const {
    throw Failure(command_ + ": " + reason + " (see " + PROGRAM + " " + command_ + " --help)");
}

}  // namespace zeb::cli
