#pragma once

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "SyntaxTree.hpp"

/// @file
/// Finds the next byte of a set in a text that contains no NUL.

namespace ZEBNS2 {

/// If the set or its complement is a few ranges, 16 bytes are tested at a time; otherwise each byte
/// is looked up.
/// @par Cost about a nanosecond, plus one or two for each 16 bytes; without vectors one for each
///   byte.
class ByteFinder {
public:
    ByteFinder() = default;

    /// @param wanted of bytes other than NUL
    explicit ByteFinder(ByteSet const& wanted) : wanted_(wanted) {
        ByteSet others = ~wanted;
        others.reset(0);
        wanted_.reset(0);
        isEmpty_ = wanted_.none();
        if (!setRanges(wanted_, 0x0000)) {
            setRanges(others, 0xFFFF);
        }
    }

    /// Whether a search tests several bytes at once.
    bool isFast() const noexcept { return isEmpty_ || rangeCount_ != 0; }

    /// @param begin of readable memory, at or before `at`
    /// @return the first byte of the set from `at` on; `end` when there is none
    unsigned char const* find(unsigned char const* begin, unsigned char const* at,
                              unsigned char const* end) const noexcept {
        if (isEmpty_) {
            return end;
        }
#ifdef __SSE2__
        switch (rangeCount_) {
            case 0:
                break;
            case 1:
                return findInVectors<1>(begin, at, end);
            case 2:
                return findInVectors<2>(begin, at, end);
            default:
                return findInVectors<MAX_RANGES>(begin, at, end);
        }
#else
        static_cast<void>(begin);
        if (isSingle_) {
            void const* const found =
                std::memchr(at, ranges_[0].low[0], static_cast<std::size_t>(end - at));
            return found != nullptr ? static_cast<unsigned char const*>(found) : end;
        }
#endif
        return findOneByOne(at, end);
    }

    /// The other way: searches from `end` down.
    /// @return the byte after the last one of the set before `end`; `begin` when there is none
    unsigned char const* findLast(unsigned char const* begin,
                                  unsigned char const* end) const noexcept {
        if (isEmpty_) {
            return begin;
        }
#ifdef __SSE2__
        switch (rangeCount_) {
            case 0:
                break;
            case 1:
                end = findLastInVectors<1>(begin, end);
                break;
            case 2:
                end = findLastInVectors<2>(begin, end);
                break;
            default:
                end = findLastInVectors<MAX_RANGES>(begin, end);
                break;
        }
#endif
        while (end != begin && !wanted_[end[-1]]) {
            --end;
        }
        return end;
    }

private:
    static constexpr std::size_t VECTOR = 16;
    static constexpr std::size_t MAX_RANGES = 4;

    struct Range {
        alignas(VECTOR) unsigned char low[VECTOR];
        alignas(VECTOR) unsigned char span[VECTOR];  ///< highest byte minus lowest
    };

    /// Takes the ranges of `set` unless there are too many.
    bool setRanges(ByteSet const& set, unsigned int inversion) noexcept {
        unsigned int lows[MAX_RANGES];
        unsigned int highs[MAX_RANGES];
        std::size_t count = 0;
        for (unsigned int byte = 1; byte < 256; ++byte) {
            if (!set[byte]) {
                continue;
            }
            if (byte == 1 || !set[byte - 1]) {
                if (count == MAX_RANGES) {
                    return false;
                }
                lows[count++] = byte;
            }
            highs[count - 1] = byte;
        }
        if (count == 0) {
            return false;
        }
        for (std::size_t i = 0; i < MAX_RANGES; ++i) {
            std::size_t const source = i < count ? i : count - 1;
            std::memset(ranges_[i].low, static_cast<int>(lows[source]), VECTOR);
            std::memset(ranges_[i].span, static_cast<int>(highs[source] - lows[source]), VECTOR);
        }
        rangeCount_ = static_cast<std::uint8_t>(count);
        isSingle_ = inversion == 0 && count == 1 && lows[0] == highs[0];
        inversion_ = inversion;
        return true;
    }

    unsigned char const* findOneByOne(unsigned char const* at,
                                      unsigned char const* end) const noexcept {
        while (at != end && !wanted_[*at]) {
            ++at;
        }
        return at;
    }

#ifdef __SSE2__
    /// One bit for each byte of a vector that is wanted, the first in the lowest bit.
    template <std::size_t COUNT>
    unsigned int wantedOf(unsigned char const* bytes) const noexcept {
        __m128i const vector = _mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes));
        __m128i found = _mm_setzero_si128();
        for (std::size_t i = 0; i < COUNT; ++i) {
            __m128i const low = _mm_load_si128(reinterpret_cast<__m128i const*>(ranges_[i].low));
            __m128i const span = _mm_load_si128(reinterpret_cast<__m128i const*>(ranges_[i].span));
            __m128i const distance = _mm_sub_epi8(vector, low);
            found = _mm_or_si128(found, _mm_cmpeq_epi8(_mm_min_epu8(distance, span), distance));
        }
        return static_cast<unsigned int>(_mm_movemask_epi8(found)) ^ inversion_;
    }

    template <std::size_t COUNT>
    unsigned char const* findInVectors(unsigned char const* begin, unsigned char const* at,
                                       unsigned char const* end) const noexcept {
        for (; static_cast<std::size_t>(end - at) >= VECTOR; at += VECTOR) {
            unsigned int const wanted = wantedOf<COUNT>(at);
            if (wanted != 0) {
                return at + __builtin_ctz(wanted);
            }
        }
        if (static_cast<std::size_t>(end - begin) < VECTOR) {
            return findOneByOne(at, end);
        }
        // The last vector of the text, without the bytes already tested.
        auto const seen = static_cast<unsigned int>(VECTOR - static_cast<std::size_t>(end - at));
        unsigned int const wanted = wantedOf<COUNT>(end - VECTOR) >> seen;
        return wanted != 0 ? at + __builtin_ctz(wanted) : end;
    }

    /// Searches whole vectors from the end down.
    /// @return the byte after the one found, or the end of what is left, less than a vector
    template <std::size_t COUNT>
    unsigned char const* findLastInVectors(unsigned char const* begin,
                                           unsigned char const* end) const noexcept {
        for (; static_cast<std::size_t>(end - begin) >= VECTOR; end -= VECTOR) {
            unsigned int const wanted = wantedOf<COUNT>(end - VECTOR);
            if (wanted != 0) {
                return end - VECTOR + (32 - __builtin_clz(wanted));
            }
        }
        return end;
    }
#endif

    ByteSet wanted_;
    bool isEmpty_ = true;
    bool isSingle_ = false;
    std::uint8_t rangeCount_ = 0;  ///< 0 when each byte is looked up
    unsigned int inversion_ = 0;
    Range ranges_[MAX_RANGES] = {};
};

}  // namespace ZEBNS2
