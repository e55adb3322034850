#include "OwnStackSearch.hpp"

#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>

namespace ZEBNS2 {

namespace {

/// The arguments of a call of `regexec`, and its result.
struct Search {
    regex_t const& expression;
    char const* subject;
    std::size_t slotCount;
    regmatch_t* slots;
    int flags;
    int result;
};

/// @param high,low halves of the address of a Search: a context takes its arguments as integers
void entry(unsigned int high, unsigned int low) noexcept {
    auto const address = static_cast<std::uintptr_t>(std::uint64_t{high} << 32 | low);
    auto& search = *reinterpret_cast<Search*>(address);
    search.result =
        ::regexec(&search.expression, search.subject, search.slotCount, search.slots, search.flags);
}

void runOnStack(Search& search, std::size_t size) noexcept {
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
    auto const address = std::uint64_t{reinterpret_cast<std::uintptr_t>(&search)};
    ::makecontext(&context, reinterpret_cast<void (*)()>(&entry), 2,
                  static_cast<unsigned int>(address >> 32), static_cast<unsigned int>(address));
    ::swapcontext(&caller, &context);
    ::munmap(memory, guard + size);
}

}  // namespace

int searchOnOwnStack(regex_t const& expression, char const* subject, std::size_t slotCount,
                     regmatch_t* slots, int flags, std::uint64_t stack) noexcept {
    if (stack > MAX_OWN_STACK) {
        return REG_ESPACE;
    }
    Search search{expression, subject, slotCount, slots, flags, REG_ESPACE};
    int const before = errno;
    runOnStack(search, static_cast<std::size_t>(stack));
    errno = before;
    return search.result;
}

}  // namespace ZEBNS2
