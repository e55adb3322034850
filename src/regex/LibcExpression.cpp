#include "LibcExpression.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>

#include "OwnStack.hpp"

namespace ZEBNS2 {

namespace {

/// The part of the growing stack that is taken from the caller, whose thread may have only 64 KiB.
constexpr std::size_t CALLERS_STACK = std::size_t{16} * 1024;

/// Stack of a search that does not grow with the subject.
constexpr std::size_t FIXED_STACK = std::size_t{128} * 1024;

/// Bytes of a state: its table of transitions for each byte, and everything else except its nodes.
constexpr std::uint64_t STATE_SIZE = 256 * sizeof(void*) + 256;
/// Bytes of a state for each of its nodes.
constexpr std::uint64_t NODE_SIZE = 12;

/// No expression is compiled again for its memory before this time, nor before so many times the
/// time of its compilation.
constexpr std::chrono::milliseconds SHORTEST_USE(20);
constexpr int COMPILATIONS_PER_USE = 8;

PatternSyntax syntaxOf(int flags) noexcept {
    return (flags & REG_EXTENDED) != 0 ? PatternSyntax::EXTENDED : PatternSyntax::BASIC;
}

}  // namespace

int compileExpression(regex_t& compiled, char const* pattern, int flags, LibcNeeds& needs) {
    if (patternHazard(pattern, syntaxOf(flags), &needs) != PatternHazard::NONE) {
        return REG_ESPACE;
    }
    int error = REG_ESPACE;
    auto compile = [&]() noexcept { error = ::regcomp(&compiled, pattern, flags); };
    if (needs.compilesDeep) {
        callOnOwnStack(LibcLimits::COMPILATION_STACK, compile);
    } else {
        compile();
    }
    return error;
}

CompilationError compilationError(int code, regex_t const& compiled) noexcept {
    CompilationError text{};
    ::regerror(code, &compiled, text.data(), text.size());
    return text;
}

LibcExpression::LibcExpression(char const* pattern, int flags)
    // A longer pattern is refused anyway.
    : pattern_(pattern, ::strnlen(pattern, LibcLimits::MAX_LENGTH + 1)),
      flags_(flags),
      error_(compile()),
      groups_(expression_.re_nsub) {}

LibcExpression::~LibcExpression() {
    if (isReady_) {
        ::regfree(&expression_);
    }
}

int LibcExpression::compile() const {
    Clock::time_point const start = Clock::now();
    int const error = compileExpression(expression_, pattern_.c_str(), flags_, needs_);
    isReady_ = error == 0;
    kept_ = 0;
    compiledAt_ = Clock::now();
    compilation_ = compiledAt_ - start;
    return error;
}

bool LibcExpression::compileAgain() const noexcept {
    try {
        return compile() == 0;
    } catch (std::exception const&) {
        return false;
    }
}

bool LibcExpression::search(std::string_view subject, std::size_t start, regmatch_t* slots,
                            std::size_t slotCount, int flags) const noexcept {
    int const before = errno;
    std::lock_guard<std::mutex> const lock(mutex_);
    if (!isReady_ && !compileAgain()) {
        errno = before;
        return false;
    }
    auto const length = static_cast<regoff_t>(subject.size());
    slots[0].rm_so = static_cast<regoff_t>(start);
    slots[0].rm_eo = length;
    errno = 0;
    bool const claimed = ask(subject, slotCount, slots, flags | REG_STARTEND) == 0;
    // Reject offsets outside the subject, even if libc returns them.
    bool const found = claimed && 0 <= slots[0].rm_so && slots[0].rm_so <= slots[0].rm_eo &&
                       slots[0].rm_eo <= length;
    bool const isSpent = errno == ENOMEM || claimed != found;
    if (isSpent) {
        giveUp();
    } else {
        keepToBudget((found ? static_cast<std::size_t>(slots[0].rm_eo) : subject.size()) - start);
    }
    errno = before;
    return found && !isSpent;
}

/// regexec, with the stack that it needs. The slots are then its result.
int LibcExpression::ask(std::string_view subject, std::size_t slotCount, regmatch_t* slots,
                        int flags) const noexcept {
    int result = REG_NOMATCH;
    auto search = [&]() noexcept {
        result = ::regexec(&expression_, subject.data(), slotCount, slots, flags);
    };
    std::uint64_t const stack = std::uint64_t{subject.size()} * LibcLimits::LOOP_STACK_PER_BYTE;
    if (needs_.recurses && stack > CALLERS_STACK) {
        callOnOwnStack(stack + FIXED_STACK, search);
    } else {
        search();
    }
    return result;
}

/// Marks the expression to be compiled before its next search.
void LibcExpression::giveUp() const noexcept {
    ::regfree(&expression_);
    isReady_ = false;
}

void LibcExpression::keepToBudget(std::size_t searched) const noexcept {
    kept_ += searched * (STATE_SIZE + NODE_SIZE * needs_.nodes);
    if (kept_ <= MEMORY_BUDGET) {
        return;
    }
    Clock::duration const use = Clock::now() - compiledAt_;
    if (use < std::max<Clock::duration>(SHORTEST_USE, COMPILATIONS_PER_USE * compilation_)) {
        kept_ = MEMORY_BUDGET / 2;  // enough time before the clock is read again
        return;
    }
    // In another locale the pattern may mean something else.
    if (LocaleMark::current() == locale_) {
        giveUp();
        static_cast<void>(compileAgain());
    }
}

}  // namespace ZEBNS2
