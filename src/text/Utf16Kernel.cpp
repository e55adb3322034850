#include "Utf16Kernel.hpp"

#include <cpuid.h>
#include <immintrin.h>

#include <array>
#include <cstdint>

namespace ZEBNS2::utf16 {

namespace {

#define ZEB_SSSE3 [[gnu::target("ssse3")]]

constexpr std::size_t BLOCK = 8;
constexpr std::size_t LANES = 4;  // that one shuffle moves

/// For each byte of the shuffled vector its source: an index, or `NOWHERE`.
struct Shuffle {
    alignas(16) std::uint8_t from[16];
};
constexpr std::uint8_t NOWHERE = 0x80;
/// The byte of a shuffle of four lanes, which keeps at most 12 bytes, that contains their number.
constexpr std::size_t LENGTH = 15;

/// The shuffles by the lengths of four lanes: bit i of the index is set when lane i has more than
/// one byte, bit i + 4 when it has three.
constexpr std::array<Shuffle, 256> makeShuffles() {
    std::array<Shuffle, 256> shuffles{};
    for (std::size_t lengths = 0; lengths < shuffles.size(); ++lengths) {
        auto& from = shuffles[lengths].from;
        std::size_t count = 0;
        for (std::size_t lane = 0; lane < LANES; ++lane) {
            std::size_t const dropped = 2 - (lengths >> lane & 1) - (lengths >> (lane + LANES) & 1);
            for (std::size_t byte = dropped; byte < 3; ++byte) {
                from[count++] = static_cast<std::uint8_t>(4 * lane + byte);
            }
        }
        for (std::size_t i = count; i < LENGTH; ++i) {
            from[i] = NOWHERE;
        }
        from[LENGTH] = static_cast<std::uint8_t>(count);
    }
    return shuffles;
}

constexpr std::array<Shuffle, 256> SHUFFLES = makeShuffles();
static_assert(SHUFFLES[0x46].from[LENGTH] == 1 + 2 + 3 + 1, "the example above");

/// The shuffles of eight lanes of two bytes: bit i of the index is set when both bytes of lane i
/// are kept; otherwise its first is.
constexpr std::array<Shuffle, 256> makePairShuffles() {
    std::array<Shuffle, 256> shuffles{};
    for (std::size_t both = 0; both < shuffles.size(); ++both) {
        auto& from = shuffles[both].from;
        std::size_t count = 0;
        for (std::size_t lane = 0; lane < BLOCK; ++lane) {
            from[count++] = static_cast<std::uint8_t>(2 * lane);
            if ((both >> lane & 1) != 0) {
                from[count++] = static_cast<std::uint8_t>(2 * lane + 1);
            }
        }
        for (; count < sizeof from; ++count) {
            from[count] = NOWHERE;
        }
    }
    return shuffles;
}

/// The number of bytes that the shuffles of the same indexes keep.
constexpr std::array<std::uint8_t, 256> makePairCounts() {
    std::array<std::uint8_t, 256> counts{};
    for (std::size_t both = 0; both < counts.size(); ++both) {
        std::size_t count = BLOCK;
        for (std::size_t lane = 0; lane < BLOCK; ++lane) {
            count += both >> lane & 1;
        }
        counts[both] = static_cast<std::uint8_t>(count);
    }
    return counts;
}

constexpr std::array<Shuffle, 256> PAIR_SHUFFLES = makePairShuffles();
constexpr std::array<std::uint8_t, 256> PAIR_COUNTS = makePairCounts();

/// All lanes with the same bits.
ZEB_SSSE3 inline __m128i all(unsigned int bits) { return _mm_set1_epi16(static_cast<short>(bits)); }

/// All bits of each lane that is zero, none of the others.
ZEB_SSSE3 inline __m128i whereZero(__m128i lanes) {
    return _mm_cmpeq_epi16(lanes, _mm_setzero_si128());
}

/// Two bits for each lane of a mask of whole lanes.
ZEB_SSSE3 inline unsigned int bitsOf(__m128i mask) {
    return static_cast<unsigned int>(_mm_movemask_epi8(mask));
}
constexpr unsigned int ALL_LANES = 0xFFFF;

ZEB_SSSE3 inline __m128i select(__m128i mask, __m128i where, __m128i elsewhere) {
    return _mm_or_si128(_mm_and_si128(mask, where), _mm_andnot_si128(mask, elsewhere));
}

template <ByteOrder ORDER>
ZEB_SSSE3 inline __m128i load(char const* bytes) {
    __m128i const lanes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes));
    return ORDER == ByteOrder::BIG
               ? _mm_or_si128(_mm_slli_epi16(lanes, 8), _mm_srli_epi16(lanes, 8))
               : lanes;
}

ZEB_SSSE3 inline void store(char* out, __m128i bytes) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
}

/// Whether no unit has any of `bits`.
ZEB_SSSE3 inline bool haveNone(__m128i units, unsigned int bits) {
    return bitsOf(whereZero(_mm_and_si128(units, all(bits)))) == ALL_LANES;
}

/// Writes the kept bytes of four lanes of 32 bits.
ZEB_SSSE3 inline char* writeLanes(__m128i lanes, unsigned int lengths, char* out) {
    Shuffle const& shuffle = SHUFFLES[lengths];
    auto const* const from = reinterpret_cast<__m128i const*>(shuffle.from);
    store(out, _mm_shuffle_epi8(lanes, _mm_load_si128(from)));
    return out + shuffle.from[LENGTH];
}

ZEB_SSSE3 inline __m128i pairShuffle(unsigned int both) {
    return _mm_load_si128(reinterpret_cast<__m128i const*>(PAIR_SHUFFLES[both].from));
}

/// Encodes eight units below 0x800.
ZEB_SSSE3 inline char* writePairs(__m128i units, char* out) {
    __m128i const isShort = whereZero(_mm_and_si128(units, all(0xFF80)));
    __m128i const first = _mm_or_si128(_mm_srli_epi16(units, 6), all(0x80C0));
    __m128i const second = _mm_and_si128(_mm_slli_epi16(units, 8), all(0x3F00));
    unsigned int const both = ~bitsOf(_mm_packs_epi16(isShort, isShort)) & 0xFF;
    __m128i const lanes = select(isShort, units, _mm_or_si128(first, second));
    store(out, _mm_shuffle_epi8(lanes, pairShuffle(both)));
    out += PAIR_COUNTS[both];
    return out;
}

/// The three bytes of each of eight units, and which of them are kept.
struct Encoded {
    __m128i firstAndSecond;  ///< in the low and the high byte of each lane
    __m128i third;
    __m128i isShort;    ///< lanes of one byte
    __m128i isNotLong;  ///< lanes of one or two bytes
};

/// Puts the surrogates of `units`, all of which belong to pairs, into `encoded`.
/// @param before the units of the previous block, whose last is the high surrogate for a low one at
///   the start
ZEB_SSSE3 inline void encodePairs(__m128i units, __m128i before, __m128i isSurrogate,
                                  __m128i isHigh, Encoded& encoded) {
    __m128i const high = _mm_add_epi16(_mm_and_si128(units, all(0x3FF)), all(0x40));
    __m128i const highSecond = _mm_or_si128(_mm_and_si128(high, all(0xFF00)), all(0xF000));
    __m128i const highThird =
        _mm_or_si128(_mm_and_si128(_mm_srli_epi16(high, 2), all(0x3F)), all(0x80));
    __m128i const preceding = _mm_alignr_epi8(units, before, 14);
    __m128i const lowSecond = _mm_or_si128(
        _mm_or_si128(_mm_slli_epi16(_mm_and_si128(preceding, all(3)), 12), all(0x8000)),
        _mm_and_si128(_mm_slli_epi16(units, 2), all(0x0F00)));
    encoded.firstAndSecond =
        select(isSurrogate, select(isHigh, highSecond, lowSecond), encoded.firstAndSecond);
    encoded.third = select(isHigh, highThird, encoded.third);
    encoded.isNotLong = _mm_or_si128(encoded.isNotLong, isSurrogate);
}

/// Encodes all units as if none were a surrogate.
ZEB_SSSE3 inline Encoded encodeUnits(__m128i units) {
    __m128i const isShort = whereZero(_mm_and_si128(units, all(0xFF80)));
    __m128i const isNotLong = whereZero(_mm_and_si128(units, all(0xF800)));
    __m128i const second = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(units, 2), all(0x3F00)),
                                        _mm_and_si128(isNotLong, all(0x4000)));
    __m128i const first = _mm_or_si128(_mm_srli_epi16(units, 12), all(0x80E0));
    __m128i const third = _mm_or_si128(_mm_and_si128(units, all(0x3F)), all(0x80));
    return {_mm_or_si128(first, second), select(isShort, units, third), isShort, isNotLong};
}

template <ByteOrder ORDER>
ZEB_SSSE3 Progress encode(char const* bytes, std::size_t count, char* out) noexcept {
    static constexpr unsigned int PENDING = 3;  // a high surrogate in the last lane, as in `bitsOf`
    unsigned int pending = 0;
    __m128i before = _mm_setzero_si128();
    std::size_t index = 0;
    while (count - index >= BLOCK) {
        __m128i const units = load<ORDER>(bytes + 2 * index);
        if (pending == 0 && haveNone(units, 0xFF80)) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(units, units));
            out += BLOCK;
            index += BLOCK;
            continue;
        }
        if (pending == 0 && haveNone(units, 0xF800)) {
            out = writePairs(units, out);
            index += BLOCK;
            continue;
        }
        Encoded encoded = encodeUnits(units);
        __m128i const isSurrogate = _mm_cmpeq_epi16(_mm_and_si128(units, all(0xF800)), all(0xD800));
        unsigned int const surrogates = bitsOf(isSurrogate);
        if ((surrogates | pending) != 0) {
            __m128i const isHigh = _mm_cmpeq_epi16(_mm_and_si128(units, all(0xFC00)), all(0xD800));
            unsigned int const highs = bitsOf(isHigh);
            if (((highs << 2 | pending) & ALL_LANES) != (surrogates ^ highs)) {
                break;
            }
            encodePairs(units, before, isSurrogate, isHigh, encoded);
            pending = highs >> 14;
            before = units;
        }
        unsigned int const kept =
            ~bitsOf(_mm_packs_epi16(encoded.isShort, encoded.isNotLong)) & ALL_LANES;
        __m128i const firstAndSecond = encoded.firstAndSecond;
        out = writeLanes(_mm_unpacklo_epi16(firstAndSecond, encoded.third),
                         (kept & 0x0F) | (kept >> 4 & 0xF0), out);
        out = writeLanes(_mm_unpackhi_epi16(firstAndSecond, encoded.third),
                         (kept >> 4 & 0x0F) | (kept >> 8 & 0xF0), out);
        index += BLOCK;
    }
    return pending == PENDING ? Progress{index - 1, out - 2} : Progress{index, out};
}

#undef ZEB_SSSE3

}  // namespace

Progress encodeBySSSE3(Units units, char* out) noexcept {
    return units.order == ByteOrder::BIG ? encode<ByteOrder::BIG>(units.bytes, units.count, out)
                                         : encode<ByteOrder::LITTLE>(units.bytes, units.count, out);
}

Progress encodeNothing(Units, char* out) noexcept { return {0, out}; }

bool hasSSSE3() noexcept {
    // Tested at the first use, since under a hypervisor the query may take microseconds.
    static bool const has = [] {
        unsigned int features[4] = {};
        return __get_cpuid(1, &features[0], &features[1], &features[2], &features[3]) != 0 &&
               (features[2] & bit_SSSE3) != 0;
    }();
    return has;
}

Kernel bestKernel() noexcept { return hasSSSE3() ? encodeBySSSE3 : encodeNothing; }

}  // namespace ZEBNS2::utf16
