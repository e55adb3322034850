#include <zeb/foundation/ByteSearch.hpp>

#include <zeb/foundation/StringBuffer.hpp>

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#ifndef __SSE2__
#include <cpuid.h>
#endif

namespace zeb::foundation::detail {

namespace {

constexpr std::size_t NONE = std::string_view::npos;

/// Places tested together.
constexpr std::size_t PLACES = 16;

/// Total bytes of failed comparisons before memmem takes over, in addition to the bytes passed.
constexpr std::size_t PATIENCE = 4096;

template <typename Word>
bool isSameWord(char const* a, char const* b) noexcept {
    Word first = 0;
    Word second = 0;
    std::memcpy(&first, a, sizeof(Word));
    std::memcpy(&second, b, sizeof(Word));
    return first == second;
}

/// Whether the `count` bytes at both places, at least `sizeof(Word)` and at most twice as many, are
/// the same.
template <typename Word>
bool areSameWords(char const* a, char const* b, std::size_t count) noexcept {
    std::size_t const second = count - sizeof(Word);
    return isSameWord<Word>(a, b) && isSameWord<Word>(a + second, b + second);
}

/// Whether the `count` bytes at both places are the same; without a call for few bytes.
bool areSame(char const* a, char const* b, std::size_t count) noexcept {
    if (count > 16) {
        return std::memcmp(a, b, count) == 0;
    }
    if (count >= 8) {
        return areSameWords<std::uint64_t>(a, b, count);
    }
    if (count >= 4) {
        return areSameWords<std::uint32_t>(a, b, count);
    }
    return count == 0 || (*a == *b && (count == 1 || areSameWords<std::uint16_t>(a, b, count)));
}

/// Whether `wanted`, not empty, is at `place`; its first and last byte are there.
bool isBetween(char const* place, std::string_view wanted) noexcept {
    return wanted.size() <= 2 || areSame(place + 1, wanted.data() + 1, wanted.size() - 2);
}

/// Calls `onHit(place)` for the places of `wanted` from `from` on, from left to right and none
/// within the one before, until that returns false.
template <typename OnHit>
void byMemmem(std::string_view text, std::string_view wanted, std::size_t from, OnHit& onHit) {
    while (from < text.size()) {
        void const* const hit =
            ::memmem(text.data() + from, text.size() - from, wanted.data(), wanted.size());
        if (hit == nullptr) {
            return;
        }
        auto const place = static_cast<std::size_t>(static_cast<char const*>(hit) - text.data());
        if (!onHit(place)) {
            return;
        }
        from = place + wanted.size();
    }
}

#define ZEB_SSE2 [[gnu::target("sse2")]]

ZEB_SSE2 inline __m128i load(char const* bytes) noexcept {
    return _mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes));
}

/// The first and the last byte wanted, each repeated sixteen times.
struct Ends {
    __m128i first;
    __m128i last;
    std::size_t distance;
};

/// All bits set in the bytes for those places from `start` on that have both ends.
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

/// The state of a search for one text.
struct Search {
    std::string_view text;
    std::string_view wanted;
    std::size_t next = 0;    ///< the first place where a hit may be
    std::size_t failed = 0;  ///< bytes that comparisons have cost in vain

    /// Tests the places after `start` whose bits are set in `hits`. @return false when `onHit` did
    template <typename OnHit>
    bool take(std::size_t start, unsigned int hits, OnHit& onHit) {
        for (; hits != 0; hits &= hits - 1) {
            std::size_t const place = start + static_cast<unsigned int>(__builtin_ctz(hits));
            if (place < next) {
                continue;
            }
            if (!isBetween(text.data() + place, wanted)) {
                failed += wanted.size();
                continue;
            }
            if (!onHit(place)) {
                return false;
            }
            next = place + wanted.size();
        }
        return true;
    }
};

/// Like `byMemmem`, but from the start.
/// @param wanted not empty, and at most as long as `text`
template <typename OnHit>
ZEB_SSE2 void byVectors(std::string_view text, std::string_view wanted, OnHit& onHit) {
    std::size_t const distance = wanted.size() - 1;
    std::size_t const places = text.size() - distance;
    Ends const ends{_mm_set1_epi8(wanted.front()), _mm_set1_epi8(wanted.back()), distance};
    Search search{text, wanted};
    std::size_t index = 0;
    std::size_t unknown = 0;  // the first place in no group of 64 with a candidate
    while (index < places && places - index >= PLACES) {
        char const* const start = text.data() + index;
        if (index >= unknown && places - index >= 4 * PLACES) {
            if (!isCandidateAmong64(start, ends)) {
                index += 4 * PLACES;
                continue;
            }
            unknown = index + 4 * PLACES;
        }
        auto const hits = static_cast<unsigned int>(_mm_movemask_epi8(candidates(start, ends)));
        if (!search.take(index, hits, onHit)) {
            return;
        }
        index = std::max(index + PLACES, search.next);
        if (search.failed > PATIENCE + index) {
            byMemmem(text, wanted, index, onHit);
            return;
        }
    }
    if (index < places && places >= PLACES) {
        // Some of these places were tested before, with the same result.
        std::size_t const last = places - PLACES;
        __m128i const hits = candidates(text.data() + last, ends);
        search.take(last, static_cast<unsigned int>(_mm_movemask_epi8(hits)), onHit);
        return;
    }
    for (; index < places; ++index) {
        char const* const start = text.data() + index;
        if (*start == wanted.front() && start[distance] == wanted.back() &&
            !search.take(index, 1, onHit)) {
            return;
        }
    }
}

#undef ZEB_SSE2

/// Whether the processor has SSE2, as every x86-64 has. Tested at the first use.
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

/// Calls `onHit(place)` for the places of `wanted`, which is not empty, from left to right and none
/// within the one before, until that returns false.
template <typename OnHit>
void forEachHit(std::string_view text, std::string_view wanted, OnHit onHit) {
    if (wanted.size() > text.size()) {
        return;
    }
    if (hasSSE2()) {
        byVectors(text, wanted, onHit);
    } else {
        byMemmem(text, wanted, 0, onHit);
    }
}

/// Appends texts that are mostly short: two vectors each, without a call, if both the text and the
/// room are long enough.
class ShortAppender {
public:
    /// Bytes copied for each text, which is also the longest text.
    static constexpr std::size_t SHORT = 32;

    ShortAppender(StringBuffer& out, std::string_view replacement)
        : out_(out), replacement_(replacement) {
        if (replacement.size() <= SHORT) {
            std::memcpy(padded_.data(), replacement.data(), replacement.size());
        }
    }

    /// Appends the first `count` of the `readable` bytes at `bytes`, and the replacement.
    void append(char const* bytes, std::size_t count, std::size_t readable) {
        if (count > SHORT || readable < SHORT || replacement_.size() > SHORT ||
            out_.capacity() - out_.length() < 2 * SHORT) {
            out_.append(std::string_view(bytes, count)).append(replacement_);
            return;
        }
        char* const room = out_.prepare(0);
        std::memcpy(room, bytes, SHORT);
        std::memcpy(room + count, padded_.data(), SHORT);
        out_.commit(count + replacement_.size());
    }

private:
    StringBuffer& out_;
    std::string_view replacement_;
    std::array<char, SHORT> padded_{};
};

}  // namespace

std::size_t findBytes(std::string_view text, std::string_view wanted) noexcept {
    if (wanted.size() == 1) {
        return text.find(wanted.front());
    }
    std::size_t found = NONE;
    forEachHit(text, wanted, [&found](std::size_t place) {
        found = place;
        return false;
    });
    return found;
}

bool appendReplaced(StringBuffer& out, std::string_view text, std::string_view wanted,
                    std::string_view replacement) {
    ShortAppender appender(out, replacement);
    std::size_t done = 0;
    forEachHit(text, wanted, [&](std::size_t place) {
        appender.append(text.data() + done, place - done, text.size() - done);
        done = place + wanted.size();
        return true;
    });
    if (done == 0) {
        return false;
    }
    out.append(text.substr(done));
    return true;
}

}  // namespace zeb::foundation::detail
