#pragma once

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

/// @file
/// Runs a program and does something to one of its system calls.

namespace zeb::test {

/// What happens to a system call.
struct Fault {
    enum Kind { KILL_BEFORE, KILL_AFTER, FAIL };

    Kind kind;
    std::size_t call;  ///< which one, from 0
    int error = 0;     ///< of FAIL
};

/// What has become of the program.
struct TracedResult {
    int status;         ///< as of ProcessResult
    std::size_t calls;  ///< system calls that were made
};

namespace detail {

#ifdef __x86_64__
inline long callOf(user_regs_struct const& registers) {
    return static_cast<long>(registers.orig_rax);
}
inline void setCall(user_regs_struct& registers, long value) {
    registers.orig_rax = static_cast<unsigned long long>(value);
}
inline void setResult(user_regs_struct& registers, long value) {
    registers.rax = static_cast<unsigned long long>(value);
}
#else
inline long callOf(user_regs_struct const& registers) { return registers.orig_eax; }
inline void setCall(user_regs_struct& registers, long value) { registers.orig_eax = value; }
inline void setResult(user_regs_struct& registers, long value) { registers.eax = value; }
#endif

/// Whether the kernel reports errors of the call that the child is making; the C library relies on
/// that it reports none of these.
inline bool mayFail(pid_t child) {
    user_regs_struct registers{};
    ::ptrace(PTRACE_GETREGS, child, nullptr, &registers);
    return callOf(registers) != SYS_brk && callOf(registers) != SYS_futex;
}

inline void changeRegisters(pid_t child, void (*set)(user_regs_struct&, long), long value) {
    user_regs_struct registers{};
    ::ptrace(PTRACE_GETREGS, child, nullptr, &registers);
    set(registers, value);
    ::ptrace(PTRACE_SETREGS, child, nullptr, &registers);
}

}  // namespace detail

/// Runs a program without output, and `meanwhile` before each of its system calls.
inline TracedResult runWithFault(
    std::vector<std::string> words, Fault const& fault,
    std::function<void(std::size_t call)> const& meanwhile = [](std::size_t) {}) {
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t const child = ::fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        int const nowhere = ::open("/dev/null", O_RDWR);
        ::dup2(nowhere, 0);
        ::dup2(nowhere, 1);
        ::dup2(nowhere, 2);
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    auto const ended = [child](int& state) {
        while (::waitpid(child, &state, 0) == -1 && errno == EINTR) {
        }
        return WIFEXITED(state) || WIFSIGNALED(state);
    };
    int state = 0;
    std::size_t calls = 0;
    bool entered = false;
    bool failing = false;
    if (!ended(state)) {  // it stops at its first instruction
        ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
        long signal = 0;
        while (::ptrace(PTRACE_SYSCALL, child, nullptr, signal) == 0 && !ended(state)) {
            signal = 0;
            if (WSTOPSIG(state) != (SIGTRAP | 0x80)) {
                signal = WSTOPSIG(state);
                continue;
            }
            entered = !entered;
            bool const now = calls == fault.call;
            if (entered) {
                meanwhile(calls);
            }
            if (now && fault.kind == (entered ? Fault::KILL_BEFORE : Fault::KILL_AFTER)) {
                ::kill(child, SIGKILL);
            } else if (now && fault.kind == Fault::FAIL && (failing || detail::mayFail(child))) {
                failing = true;
                detail::changeRegisters(child, entered ? detail::setCall : detail::setResult,
                                        entered ? -1 : -fault.error);
            }
            calls += entered ? 0 : 1;
        }
    }
    return {WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state), calls};
}

}  // namespace zeb::test
