#include "ByteSearch.hpp"

#include <immintrin.h>

#include <cstring>
#ifndef __SSE2__
#include <cpuid.h>
#endif

// Sixteen places are looked at together: where the first and the last byte wanted both are, the
// bytes between them are compared. Looking for "needle" in "a needle", the vectors of the places 0
// to 2 have "n" at 2 and "e" five bytes behind 2 alone, so that one comparison is made.
//
// That costs a quarter of what libc's memmem does, which besides prepares a table of 256 bytes in
// each call: dear where hits are dense. But it is not linear: "ab...b" in a text of nothing but "b"
// and "a" can fail late at every place. So failed comparisons are counted, and once they have cost
// more than the search itself, memmem, which is linear, takes the rest.

namespace zeb::foundation::detail {

namespace {

constexpr std::size_t NONE = std::string_view::npos;

/// Places looked at together.
constexpr std::size_t PLACES = 16;

/// Bytes that failed comparisons may cost in all before memmem takes over, beyond those passed.
constexpr std::size_t PATIENCE = 4096;

std::size_t byMemmem(std::string_view text, std::string_view wanted, std::size_t from) noexcept {
    void const* const hit =
        ::memmem(text.data() + from, text.size() - from, wanted.data(), wanted.size());
    return hit == nullptr ? NONE
                          : static_cast<std::size_t>(static_cast<char const*>(hit) - text.data());
}

/// Whether `wanted`, of two bytes or more, is at `place`; its first and last byte are there.
bool isBetween(char const* place, std::string_view wanted) noexcept {
    return std::memcmp(place + 1, wanted.data() + 1, wanted.size() - 2) == 0;
}

#define ZEB_SSE2 [[gnu::target("sse2")]]

ZEB_SSE2 inline __m128i load(char const* bytes) noexcept {
    return _mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes));
}

/// The first and the last byte wanted, each sixteen times.
struct Ends {
    __m128i first;
    __m128i last;
    std::size_t distance;
};

/// All bits of the bytes of `start` and the places after it where both ends are.
ZEB_SSE2 inline __m128i candidates(char const* start, Ends const& ends) noexcept {
    return _mm_and_si128(_mm_cmpeq_epi8(load(start), ends.first),
                         _mm_cmpeq_epi8(load(start + ends.distance), ends.last));
}

ZEB_SSE2 inline bool isCandidateAmong64(char const* start, Ends const& ends) noexcept {
    __m128i const one = _mm_or_si128(candidates(start, ends), candidates(start + PLACES, ends));
    __m128i const other =
        _mm_or_si128(candidates(start + 2 * PLACES, ends), candidates(start + 3 * PLACES, ends));
    return _mm_movemask_epi8(_mm_or_si128(one, other)) != 0;
}

/// @param wanted two bytes or more, at most as many as `text` has
ZEB_SSE2 std::size_t byVectors(std::string_view text, std::string_view wanted) noexcept {
    std::size_t const distance = wanted.size() - 1;
    std::size_t const places = text.size() - distance;
    Ends const ends{_mm_set1_epi8(wanted.front()), _mm_set1_epi8(wanted.back()), distance};
    std::size_t failed = 0;
    std::size_t index = 0;
    while (places - index >= PLACES) {
        char const* const start = text.data() + index;
        if (places - index >= 4 * PLACES && !isCandidateAmong64(start, ends)) {
            index += 4 * PLACES;
            continue;
        }
        for (auto hits = static_cast<unsigned int>(_mm_movemask_epi8(candidates(start, ends)));
             hits != 0; hits &= hits - 1) {
            auto const place = static_cast<std::size_t>(__builtin_ctz(hits));
            if (isBetween(start + place, wanted)) {
                return index + place;
            }
            failed += wanted.size();
        }
        index += PLACES;
        if (failed > PATIENCE + index) {
            return byMemmem(text, wanted, index);
        }
    }
    for (; index < places; ++index) {
        char const* const start = text.data() + index;
        if (*start == wanted.front() && start[distance] == wanted.back() &&
            isBetween(start, wanted)) {
            return index;
        }
    }
    return NONE;
}

#undef ZEB_SSE2

/// Whether the processor has SSE2, as all of x86-64 have. Asked at the first use.
bool hasSSE2() noexcept {
#ifdef __SSE2__
    return true;
#else
    static bool const has = [] {
        unsigned int features[4] = {};
        return __get_cpuid(1, &features[0], &features[1], &features[2], &features[3]) != 0 &&
               (features[3] & bit_SSE2) != 0;
    }();
    return has;
#endif
}

}  // namespace

std::size_t findBytes(std::string_view text, std::string_view wanted) noexcept {
    if (wanted.size() > text.size()) {
        return NONE;
    }
    if (wanted.size() == 1) {
        return text.find(wanted.front());
    }
    return hasSSE2() ? byVectors(text, wanted) : byMemmem(text, wanted, 0);
}

}  // namespace zeb::foundation::detail
