#pragma once

#include <pthread.h>
#include <regex.h>

#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdint>

/// @file
/// Searches for expressions whose need of stack grows with the subject.

namespace ZEBNS2 {

/// Calls `regexec` in a thread that has more stack than the caller may have, and waits for it.
/// Starting the thread takes some 20 microseconds; the kernel gives its stack memory as it is used.
class DeepSearch {
public:
    /// Stack that every caller is expected to have left.
    static constexpr std::size_t CALLERS_STACK = std::size_t{128} * 1024;
    /// What a thread may be started with: half of the addresses of a 32-bit process would be too
    /// much to ask.
    static constexpr std::size_t MAX_STACK =
        (sizeof(void*) == 4 ? std::size_t{256} : std::size_t{1024}) * 1024 * 1024;

    /// As `regexec`.
    /// @param stack bytes that the search may take
    /// @return the code of `regexec`; REG_ESPACE when there is no such stack
    static int run(regex_t const& expression, char const* subject, std::size_t slotCount,
                   regmatch_t* slots, int flags, std::uint64_t stack) noexcept {
        if (stack > MAX_STACK) {
            return REG_ESPACE;
        }
        DeepSearch search(expression, subject, slotCount, slots, flags);
        return search.runInThread(static_cast<std::size_t>(stack)) ? search.result_ : REG_ESPACE;
    }

private:
    DeepSearch(regex_t const& expression, char const* subject, std::size_t slotCount,
               regmatch_t* slots, int flags) noexcept
        : expression_(expression),
          subject_(subject),
          slotCount_(slotCount),
          slots_(slots),
          flags_(flags),
          locale_(::uselocale(nullptr)) {}

    /// No signal is handled in the thread, and whoever cancels the caller waits for its end.
    bool runInThread(std::size_t stack) noexcept {
        ::sigset_t signals;
        ::sigfillset(&signals);
        ::pthread_attr_t attributes;
        ::pthread_attr_init(&attributes);  // cannot fail in glibc
        ::pthread_t thread{};
        bool const started =
            ::pthread_attr_setstacksize(&attributes, stack) == 0 &&
            ::pthread_attr_setsigmask_np(&attributes, &signals) == 0 &&
            ::pthread_create(&thread, &attributes, &DeepSearch::threadMain, this) == 0;
        ::pthread_attr_destroy(&attributes);
        if (started) {
            int cancelState = 0;
            ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
            ::pthread_join(thread, nullptr);
            ::pthread_setcancelstate(cancelState, nullptr);
        }
        return started;
    }

    static void* threadMain(void* search) {
        auto& self = *static_cast<DeepSearch*>(search);
        ::uselocale(self.locale_);
        self.result_ =
            ::regexec(&self.expression_, self.subject_, self.slotCount_, self.slots_, self.flags_);
        return nullptr;
    }

    regex_t const& expression_;
    char const* subject_;
    std::size_t slotCount_;
    regmatch_t* slots_;
    int flags_;
    ::locale_t locale_;
    int result_ = REG_ESPACE;
};

}  // namespace ZEBNS2
