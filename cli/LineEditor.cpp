#include "LineEditor.hpp"

#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace zeb::cli {

using ZEBNS2::RegularExpression;
using ZEBNS2::String;
using ZEBNS2::StringArray;

namespace {

class Substitution : public LineEditor {
public:
    Substitution(std::string const& command, Options options)
        : command_(command), options_(options) {}

    void edit(Piece const& piece, Sink const& sink) override {
        std::string_view const lines = piece.text().substr(0, piece.size - (piece.last ? 0 : 1));
        if (!lines.empty()) {
            sink(ZEBNS2::realSed(lines, command_, options_));
        } else if (!piece.last || any_) {
            sink(editedEmptyLine());
        }
        if (!piece.last) {
            sink("\n");
        }
        any_ = true;
    }

private:
    [[nodiscard]] String editedEmptyLine() const {
        String const twice = ZEBNS2::realSed("\n", command_, options_);
        return twice.substring(0, (twice.length() - 1) / 2);
    }

    String command_;
    Options options_;
    bool any_ = false;  ///< whether the text has begun
};

/// Deletes the lines that match, or those from one that matches to one that matches the end.
class Deletion : public LineEditor {
public:
    Deletion(String const& from, Options options) : from_(from, options) {}
    Deletion(String const& from, String const& to, Options options)
        : from_(from, options), to_(std::in_place, to, options) {}

    void edit(Piece const& piece, Sink const& sink) override {
        if (piece.size == 0 && !any_) {
            return;  // the empty text has no lines
        }
        any_ = true;
        char* const end = piece.data + piece.size;
        start_ = piece.data;
        char* line = piece.data;
        while (line < end) {
            void* const newline = std::memchr(line, '\n', static_cast<std::size_t>(end - line));
            if (newline == nullptr) {
                break;
            }
            auto* const stop = static_cast<char*>(newline);
            *stop = '\0';
            judge(line, stop + 1, sink);
            *stop = '\n';
            line = stop + 1;
        }
        // The last piece has one more line, which may be empty.
        bool const kept = !piece.last || !judge(line, end + 1, sink);
        if (open_) {
            held_.append(start_, static_cast<std::size_t>(end - start_));
            if (piece.last) {
                write(held_, sink);  // a range without an end is kept
            }
        } else if (piece.last ? kept : start_ < end) {
            write(textFrom(start_, piece.last ? end + 1 : end), sink);
        }
    }

private:
    /// Lines without the newline, or NUL, of the last one.
    static std::string_view textFrom(char const* begin, char const* next) {
        return {begin, static_cast<std::size_t>(next - begin) - 1};
    }

    /// Begins, continues or ends a range; without a last line it ends at once.
    /// @param line ends with a NUL
    /// @param next where the line after it begins
    /// @return whether the line is to be deleted, as far as known
    bool judge(char* line, char* next, Sink const& sink) {
        RegularExpression const& expression = open_ ? *to_ : from_;
        bool const matches = expression.first_match(line).first >= 0;
        if (open_) {
            if (matches) {
                open_ = false;
                held_.clear();
                start_ = next;
            }
            return true;
        }
        if (matches) {
            if (start_ < line) {
                write(textFrom(start_, line), sink);
            }
            open_ = to_.has_value();
            start_ = open_ ? line : next;
        }
        return matches;
    }

    void write(std::string_view lines, Sink const& sink) {
        if (newlineDue_) {
            sink("\n");
        }
        sink(lines);
        newlineDue_ = true;
    }

    RegularExpression from_;
    std::optional<RegularExpression> to_;
    bool any_ = false;         ///< whether the text has begun
    bool open_ = false;        ///< whether a range is
    bool newlineDue_ = false;  ///< whether a line was written, so that the next one needs it
    char* start_ = nullptr;    ///< in the piece, of the lines to keep or of the open range
    std::string held_;         ///< the part of the open range in earlier pieces
};

/// Keeps the whole text for one call of the library, which logs what it does.
class WholeText : public LineEditor {
public:
    WholeText(Words const& commands, Options options) : commands_(commands), options_(options) {}

    void edit(Piece const& piece, Sink const& sink) override {
        text_ += piece.text();
        if (!piece.last) {
            return;
        }
        String text = text_;
        for (std::string const& command : commands_) {
            text = ZEBNS2::realSed(text, command, options_);
        }
        sink(text);
    }

private:
    Words commands_;
    Options options_;
    std::string text_;
};

/// Passes the result of `first` to `second`.
class Chain : public LineEditor {
public:
    Chain(std::unique_ptr<LineEditor> first, std::unique_ptr<LineEditor> second)
        : first_(std::move(first)), second_(std::move(second)) {}

    void edit(Piece const& piece, Sink const& sink) override {
        first_->edit(piece, [this](std::string_view text) { between_ += text; });
        std::size_t const length = piece.last ? between_.size() : between_.find_last_of('\n') + 1;
        if (length > 0 || piece.last) {
            second_->edit({between_.data(), length, piece.last}, sink);
            between_.erase(0, length);
        }
    }

private:
    std::unique_ptr<LineEditor> first_;
    std::unique_ptr<LineEditor> second_;
    std::string between_;
};

std::unique_ptr<LineEditor> editorFor(std::string const& command, LineEditor::Options options) {
    if (command.front() == 's') {
        return std::make_unique<Substitution>(command, options);
    }
    StringArray const range =
        RegularExpression("^/([^/]*)/,/([^/]*)/d$", RegularExpression::EXTENDED_SYNTAX)
            .all_matching_substrings(String(command));
    if (!range.empty()) {
        return std::make_unique<Deletion>(range[1], range[2], options);
    }
    return std::make_unique<Deletion>(String(command.substr(1, command.size() - 3)), options);
}

}  // namespace

std::unique_ptr<LineEditor> sedEditor(Words const& commands, LineEditor::Options options,
                                      bool whole) {
    if (whole) {
        return std::make_unique<WholeText>(commands, options);
    }
    std::unique_ptr<LineEditor> editor;
    for (std::string const& command : commands) {
        std::unique_ptr<LineEditor> next = editorFor(command, options);
        editor =
            editor ? std::make_unique<Chain>(std::move(editor), std::move(next)) : std::move(next);
    }
    return editor;
}

// No word of the command line contains a NUL, so it is a delimiter that never needs protection.
std::string sedCommand(std::string const& pattern, std::string_view replacement, bool all) {
    std::string command("s\0", 2);
    command += pattern;
    command += '\0';
    for (std::size_t i = 0; i < replacement.size(); ++i) {
        char const byte = replacement[i];
        char const next = i + 1 < replacement.size() ? replacement[i + 1] : '\0';
        if (byte == '\\') {
            command += "\\\\";
        } else if (byte == '%' && next >= '0' && next <= '9') {
            command += '\\';
        } else if (byte == '%' && next == '%') {
            command += '%';
            ++i;
        } else {
            command += byte;
        }
    }
    command += '\0';
    return command + (all ? "g" : "");
}

}  // namespace zeb::cli
