#pragma once

#include <regex.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

/// @file
/// Searches for expressions whose need of stack grows with the subject.

namespace ZEBNS2 {

/// Calls `regexec` in the caller's thread, but on a stack of its own: more than the caller may
/// have. The kernel gives the memory as it is used.
class DeepSearch {
public:
    /// Stack that every caller is expected to have left.
    static constexpr std::size_t CALLERS_STACK = std::size_t{128} * 1024;
    /// The largest stack: half of the addresses of a 32-bit process would be too much to ask.
    static constexpr std::size_t MAX_STACK =
        (sizeof(void*) == 4 ? std::size_t{256} : std::size_t{1024}) * 1024 * 1024;

    /// As `regexec`; `errno` stays as it was.
    /// @param stack bytes that the search may take
    /// @return the code of `regexec`; REG_ESPACE when there is no such stack
    static int run(regex_t const& expression, char const* subject, std::size_t slotCount,
                   regmatch_t* slots, int flags, std::uint64_t stack) noexcept {
        if (stack > MAX_STACK) {
            return REG_ESPACE;
        }
        DeepSearch search(expression, subject, slotCount, slots, flags);
        int const before = errno;
        search.runOnStack(static_cast<std::size_t>(stack));
        errno = before;
        return search.result_;
    }

private:
    DeepSearch(regex_t const& expression, char const* subject, std::size_t slotCount,
               regmatch_t* slots, int flags) noexcept
        : expression_(expression),
          subject_(subject),
          slotCount_(slotCount),
          slots_(slots),
          flags_(flags) {}

    void runOnStack(std::size_t size) noexcept {
        // Below the stack, which grows downwards, a page that nobody may touch.
        auto const guard = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        void* const memory =
            ::mmap(nullptr, guard + size, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, /*fd=*/-1, 0);
        if (memory == MAP_FAILED) {
            return;
        }
        ::mprotect(memory, guard, PROT_NONE);
        ::ucontext_t caller{};
        ::ucontext_t context{};
        ::getcontext(&context);
        context.uc_stack.ss_sp = memory;
        context.uc_stack.ss_size = guard + size;
        context.uc_link = &caller;
        // A context takes its arguments as integers.
        auto const self = std::uint64_t{reinterpret_cast<std::uintptr_t>(this)};
        ::makecontext(&context, reinterpret_cast<void (*)()>(&DeepSearch::entry), 2,
                      static_cast<unsigned int>(self >> 32), static_cast<unsigned int>(self));
        ::swapcontext(&caller, &context);
        ::munmap(memory, guard + size);
    }

    static void entry(unsigned int high, unsigned int low) noexcept {
        auto const address = static_cast<std::uintptr_t>(std::uint64_t{high} << 32 | low);
        auto& self = *reinterpret_cast<DeepSearch*>(address);
        self.result_ =
            ::regexec(&self.expression_, self.subject_, self.slotCount_, self.slots_, self.flags_);
    }

    regex_t const& expression_;
    char const* subject_;
    std::size_t slotCount_;
    regmatch_t* slots_;
    int flags_;
    int result_ = REG_ESPACE;
};

}  // namespace ZEBNS2
