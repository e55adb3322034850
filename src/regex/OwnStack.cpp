#include "OwnStack.hpp"

#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>

namespace ZEBNS2 {

namespace {

struct Call {
    void (*function)(void*) noexcept;
    void* argument;
    int error;  ///< errno before the function, then after it
};

/// @param high,low halves of the address of a Call: a context takes its arguments as integers
void entry(unsigned int high, unsigned int low) noexcept {
    auto const address = static_cast<std::uintptr_t>(std::uint64_t{high} << 32 | low);
    auto& call = *reinterpret_cast<Call*>(address);
    errno = call.error;
    call.function(call.argument);
    call.error = errno;
}

bool runOnStack(Call& call, std::size_t size) noexcept {
    // A guard page below the stack, which grows downwards.
    auto const guard = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const memory =
        ::mmap(nullptr, guard + size, PROT_READ | PROT_WRITE,
               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, /*fd=*/-1, 0);
    if (memory == MAP_FAILED) {
        return false;
    }
    ::mprotect(memory, guard, PROT_NONE);
    ::ucontext_t caller{};
    ::ucontext_t context{};
    ::getcontext(&context);
    context.uc_stack.ss_sp = memory;
    context.uc_stack.ss_size = guard + size;
    context.uc_link = &caller;
    auto const address = std::uint64_t{reinterpret_cast<std::uintptr_t>(&call)};
    ::makecontext(&context, reinterpret_cast<void (*)()>(&entry), 2,
                  static_cast<unsigned int>(address >> 32), static_cast<unsigned int>(address));
    ::swapcontext(&caller, &context);
    ::munmap(memory, guard + size);
    return true;
}

}  // namespace

bool callOnOwnStack(std::uint64_t stack, void (*function)(void*) noexcept,
                    void* argument) noexcept {
    if (stack > MAX_OWN_STACK) {
        return false;
    }
    Call call{function, argument, errno};
    bool const called = runOnStack(call, static_cast<std::size_t>(stack));
    errno = call.error;
    return called;
}

}  // namespace ZEBNS2
