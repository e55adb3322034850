#pragma once

#include <regex.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#ifdef ZEB_HAVE_PCRE2
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#endif
#ifdef ZEB_HAVE_RE2
#include <re2/re2.h>
#endif

/// @file
/// Regular-expression libraries with one small interface, and a plain line editor that uses it:
/// `test(line)` reports whether there is a match, `find(line)` where, and `group(i)` returns the
/// text of group i of the match found.

namespace bench {

/// libc's regexec with as many slots as the expression has groups, or with a given number.
class PosixMatcher {
public:
    explicit PosixMatcher(char const* pattern, std::size_t slots = 0) {
        if (::regcomp(&compiled_, pattern, REG_EXTENDED) != 0) {
            std::abort();  // the patterns of the benchmarks are constants
        }
        slots_.resize(slots == 0 ? compiled_.re_nsub + 1 : slots);
    }
    PosixMatcher(PosixMatcher const&) = delete;
    PosixMatcher& operator=(PosixMatcher const&) = delete;
    ~PosixMatcher() { ::regfree(&compiled_); }

    bool test(std::string_view line) { return search(line, 0); }
    bool find(std::string_view line) {
        line_ = line;
        return search(line, slots_.size());
    }
    std::string_view group(std::size_t index) const {
        auto const start = static_cast<std::size_t>(slots_[index].rm_so);
        return line_.substr(start, static_cast<std::size_t>(slots_[index].rm_eo) - start);
    }

private:
    // Start and end are passed, so that a line needs no NUL and no copy.
    bool search(std::string_view line, std::size_t slots) {
        slots_[0].rm_so = 0;
        slots_[0].rm_eo = static_cast<regoff_t>(line.size());
        return ::regexec(&compiled_, line.data(), slots, slots_.data(), REG_STARTEND) == 0;
    }

    regex_t compiled_{};
    std::vector<regmatch_t> slots_;
    std::string_view line_;
};

/// The standard library's.
class StdMatcher {
public:
    explicit StdMatcher(char const* pattern) : compiled_(pattern, std::regex::optimize) {}

    bool test(std::string_view line) {
        return std::regex_search(line.data(), line.data() + line.size(), compiled_);
    }
    bool find(std::string_view line) {
        return std::regex_search(line.data(), line.data() + line.size(), match_, compiled_);
    }
    std::string_view group(std::size_t index) const {
        return {match_[index].first, static_cast<std::size_t>(match_[index].length())};
    }

private:
    std::regex compiled_;
    std::cmatch match_;
};

#ifdef ZEB_HAVE_PCRE2
/// PCRE2 with its compiler to machine code.
class Pcre2Matcher {
public:
    explicit Pcre2Matcher(char const* pattern) {
        int error = 0;
        PCRE2_SIZE offset = 0;
        compiled_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED,
                                      0, &error, &offset, nullptr));
        if (compiled_ == nullptr || pcre2_jit_compile(compiled_.get(), PCRE2_JIT_COMPLETE) != 0) {
            std::abort();
        }
        match_.reset(pcre2_match_data_create_from_pattern(compiled_.get(), nullptr));
    }

    bool test(std::string_view line) { return find(line); }
    bool find(std::string_view line) {
        line_ = line;
        return pcre2_jit_match(compiled_.get(), reinterpret_cast<PCRE2_SPTR>(line.data()),
                               line.size(), 0, 0, match_.get(), nullptr) > 0;
    }
    std::string_view group(std::size_t index) const {
        PCRE2_SIZE const* const offsets = pcre2_get_ovector_pointer(match_.get());
        return line_.substr(offsets[2 * index], offsets[2 * index + 1] - offsets[2 * index]);
    }

private:
    struct Free {
        void operator()(pcre2_code* code) const { pcre2_code_free(code); }
        void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
    };
    std::unique_ptr<pcre2_code, Free> compiled_;
    std::unique_ptr<pcre2_match_data, Free> match_;
    std::string_view line_;
};
#endif

#ifdef ZEB_HAVE_RE2
/// RE2, in its Latin-1 mode: bytes, like the others.
class Re2Matcher {
public:
    explicit Re2Matcher(char const* pattern)
        : compiled_(pattern, RE2::Latin1),
          groups_(static_cast<std::size_t>(compiled_.NumberOfCapturingGroups()) + 1) {}

    bool test(std::string_view line) { return search(line, 0); }
    bool find(std::string_view line) { return search(line, static_cast<int>(groups_.size())); }
    std::string_view group(std::size_t index) const {
        return {groups_[index].data(), groups_[index].size()};
    }

private:
    bool search(std::string_view line, int groups) {
        return compiled_.Match(re2::StringPiece(line.data(), line.size()), 0, line.size(),
                               RE2::UNANCHORED, groups_.data(), groups);
    }

    RE2 compiled_;
    std::vector<re2::StringPiece> groups_;
};
#endif

/// Calls `line` with every line of `text`, without its newline; a text that ends in a newline has
/// an empty last line.
template <typename Line>
void forEachLine(std::string_view text, Line line) {
    char const* at = text.data();
    char const* const end = at + text.size();
    for (;;) {
        auto const* const newline =
            static_cast<char const*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        char const* const stop = newline == nullptr ? end : newline;
        line(std::string_view(at, static_cast<std::size_t>(stop - at)));
        if (newline == nullptr) {
            return;
        }
        at = newline + 1;
    }
}

/// Lines joined with newlines.
class LineJoiner {
public:
    explicit LineJoiner(std::size_t bytes) { text_.reserve(bytes); }

    void next() {
        if (!first_) {
            text_.push_back('\n');
        }
        first_ = false;
    }
    void append(std::string_view part) { text_.append(part); }
    void addLine(std::string_view line) {
        next();
        append(line);
    }
    std::string release() { return std::move(text_); }

private:
    std::string text_;
    bool first_ = true;
};

/// A part of a replacement: a group's text, or a literal one when `group` is negative.
struct Piece {
    int group;
    std::string_view literal;
};

/// Appends `rest` up to the end of the match that was found in it, with the replacement in place of
/// the match, and removes that part.
template <typename Matcher>
void replaceMatch(LineJoiner& out, std::string_view& rest, Matcher const& matcher,
                  std::vector<Piece> const& replacement) {
    std::string_view const match = matcher.group(0);
    out.append({rest.data(), static_cast<std::size_t>(match.data() - rest.data())});
    for (Piece const& piece : replacement) {
        out.append(piece.group < 0 ? piece.literal
                                   : matcher.group(static_cast<std::size_t>(piece.group)));
    }
    rest.remove_prefix(static_cast<std::size_t>(match.data() + match.size() - rest.data()));
}

/// Replaces every match in every line; the expression must not match the empty text.
template <typename Matcher>
std::string substituteAll(std::string_view text, Matcher& matcher,
                          std::vector<Piece> const& replacement) {
    LineJoiner out(text.size());
    forEachLine(text, [&](std::string_view rest) {
        out.next();
        while (matcher.find(rest)) {
            replaceMatch(out, rest, matcher, replacement);
        }
        out.append(rest);
    });
    return out.release();
}

/// Replaces the first match in every line.
template <typename Matcher>
std::string substituteFirst(std::string_view text, Matcher& matcher,
                            std::vector<Piece> const& replacement) {
    LineJoiner out(text.size());
    forEachLine(text, [&](std::string_view rest) {
        out.next();
        if (matcher.find(rest)) {
            replaceMatch(out, rest, matcher, replacement);
        }
        out.append(rest);
    });
    return out.release();
}

/// Drops the lines that match.
template <typename Matcher>
std::string deleteLines(std::string_view text, Matcher& matcher) {
    LineJoiner out(text.size());
    forEachLine(text, [&](std::string_view line) {
        if (!matcher.test(line)) {
            out.addLine(line);
        }
    });
    return out.release();
}

/// Drops the lines from each that matches `start` to the next that matches `end`.
template <typename Matcher>
std::string deleteRanges(std::string_view text, Matcher& start, Matcher& end) {
    LineJoiner out(text.size());
    bool inside = false;
    forEachLine(text, [&](std::string_view line) {
        if (inside) {
            inside = !end.test(line);
        } else if (start.test(line)) {
            inside = true;
        } else {
            out.addLine(line);
        }
    });
    return out.release();
}

}  // namespace bench
