#pragma once

#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// @file
/// Runs a program and captures its output.

extern "C" char** environ;

namespace zeb::test {

/// The result of a process.
struct ProcessResult {
    int status;       ///< exit status, or 1000 and the number of the signal that ended it
    std::string out;  ///< all of its standard output
    std::string err;  ///< all of its standard error

    friend bool operator==(ProcessResult const& a, ProcessResult const& b) {
        return a.status == b.status && a.out == b.out && a.err == b.err;
    }
    friend std::ostream& operator<<(std::ostream& stream, ProcessResult const& result) {
        return stream << "status " << result.status << "\n--- out\n"
                      << result.out << "\n--- err\n"
                      << result.err << "\n---";
    }
};

namespace detail {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// A file without a name. Unlike a pipe it takes any amount, so that no writer waits for a reader.
inline File temporaryFile() {
    File file(std::tmpfile(), std::fclose);
    if (!file) {
        throw std::system_error(errno, std::generic_category(), "tmpfile");
    }
    return file;
}

inline std::string contentsOf(std::FILE* file) {
    std::string contents;
    std::rewind(file);
    char chunk[65536];
    while (std::size_t const got = std::fread(chunk, 1, sizeof chunk, file)) {
        contents.append(chunk, got);
    }
    return contents;
}

}  // namespace detail

/// Runs `command`, a program's path and its arguments, with `input` as its standard input.
/// @throws std::system_error when it cannot be started
inline ProcessResult runProcess(std::vector<std::string> command, std::string_view input = {}) {
    detail::File const in = detail::temporaryFile();
    detail::File const out = detail::temporaryFile();
    detail::File const err = detail::temporaryFile();
    if (!input.empty()) {  // without a text its pointer may be null
        std::fwrite(input.data(), 1, input.size(), in.get());
    }
    std::rewind(in.get());

    std::vector<char*> arguments;
    for (std::string& word : command) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t redirections;
    posix_spawn_file_actions_init(&redirections);
    posix_spawn_file_actions_adddup2(&redirections, fileno(in.get()), 0);
    posix_spawn_file_actions_adddup2(&redirections, fileno(out.get()), 1);
    posix_spawn_file_actions_adddup2(&redirections, fileno(err.get()), 2);
    pid_t child = 0;
    int const error =
        posix_spawnp(&child, arguments[0], &redirections, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&redirections);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), command[0]);
    }

    int state = 0;
    while (::waitpid(child, &state, 0) == -1) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "waitpid");
        }
    }
    int const status = WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state);
    return {status, detail::contentsOf(out.get()), detail::contentsOf(err.get())};
}

}  // namespace zeb::test
