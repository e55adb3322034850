#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <vector>

#include "RunProcess.hpp"

/// @file
/// Runs a program with standard output and standard error on a terminal.

namespace zeb::test {

/// Runs a script of the shell, in which "$0" is `program`, on a terminal that changes no bytes.
/// @return exit status, or 1000 and the number of the signal that ended it; and as `out` all that
///   was written to the terminal
inline ProcessResult runOnTerminal(std::string const& script, std::string const& program) {
    auto const check = [](int result, char const* what) {
        if (result < 0) {
            throw std::system_error(errno, std::generic_category(), what);
        }
        return result;
    };
    int const master = check(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "posix_openpt");
    check(::grantpt(master), "grantpt");
    check(::unlockpt(master), "unlockpt");
    int const slave = check(::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC), "open");
    termios mode{};
    check(::tcgetattr(slave, &mode), "tcgetattr");
    ::cfmakeraw(&mode);
    check(::tcsetattr(slave, TCSANOW, &mode), "tcsetattr");

    std::vector<std::string> words{"sh", "-c", script, program};
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t redirections;
    posix_spawn_file_actions_init(&redirections);
    posix_spawn_file_actions_addopen(&redirections, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&redirections, slave, 1);
    posix_spawn_file_actions_adddup2(&redirections, slave, 2);
    pid_t child = 0;
    int const error =
        ::posix_spawnp(&child, "sh", &redirections, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&redirections);
    ::close(slave);
    if (error != 0) {
        ::close(master);
        throw std::system_error(error, std::generic_category(), "sh");
    }

    // Reading fails when the last writer has closed the terminal.
    std::string written;
    char chunk[4096];
    for (;;) {
        ssize_t const got = ::read(master, chunk, sizeof chunk);
        if (got > 0) {
            written.append(chunk, static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    ::close(master);
    int state = 0;
    while (::waitpid(child, &state, 0) == -1) {
        check(errno == EINTR ? 0 : -1, "waitpid");
    }
    return {WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state), written, ""};
}

}  // namespace zeb::test
