#include "LazyMatcher.hpp"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>

namespace ZEBNS2 {

namespace {

std::atomic<LazyMatcher::Making> currentMaking{LazyMatcher::Making::WHEN_IT_PAYS};

}  // namespace

void LazyMatcher::setMaking(Making making) noexcept {
    currentMaking.store(making, std::memory_order_relaxed);
}

LazyMatcher::Making LazyMatcher::making() noexcept {
    return currentMaking.load(std::memory_order_relaxed);
}

LazyMatcher::~LazyMatcher() { delete matcher_.load(std::memory_order_acquire); }

Matcher const* LazyMatcher::count(std::size_t length) const noexcept {
    auto const bytes =
        static_cast<std::int32_t>(std::min<std::size_t>(length, WORTHWHILE)) + SEARCH;
    std::int32_t const left = credit_.load(std::memory_order_relaxed) - bytes;
    credit_.store(left > 0 ? left : WORTHWHILE, std::memory_order_relaxed);
    if (left > 0 || closed_.exchange(true, std::memory_order_relaxed)) {
        return nullptr;
    }
    int const before = errno;
    Matcher const* const matcher = make();
    errno = before;
    return matcher;
}

Matcher const* LazyMatcher::make() const noexcept {
    // In another locale the pattern may mean something else than libc's compiled expression.
    if (!(LocaleMark::current() == locale_)) {
        closed_.store(false, std::memory_order_relaxed);
        return nullptr;
    }
    try {
        Matcher const* const matcher = Matcher::of(pattern_, flags_, literal_).release();
        matcher_.store(matcher, std::memory_order_release);
        return matcher;
    } catch (std::exception const&) {
        closed_.store(false, std::memory_order_relaxed);
        return nullptr;
    }
}

}  // namespace ZEBNS2
