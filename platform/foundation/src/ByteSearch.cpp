#include <zeb/foundation/ByteSearch.hpp>

#include <zeb/foundation/StringBuffer.hpp>

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#ifndef __SSE2__
#include <cpuid.h>
#endif

namespace zeb::foundation::detail {

namespace {

constexpr std::size_t NONE = std::string_view::npos;

/// Places tested by one vector, and together.
constexpr std::size_t LANES = 16;
constexpr std::size_t PLACES = 4 * LANES;

/// In fewer places the choice of a pair would cost more than a good one saves.
constexpr std::size_t WORTH_A_CHOICE = 512;

/// Only so many bytes wanted, the first, are considered for the pair.
constexpr std::size_t CHOICE = 64;

/// Bytes of the text that are counted for another choice of the pair, and places that are compared.
constexpr std::size_t SAMPLE = 1024;
constexpr std::size_t COMPARED = 32;

/// Failed comparisons before another choice, in addition to one in `PLACES`. Each choice adds as
/// many as there were.
constexpr std::size_t MISTAKES = 256;

/// Cost of failed comparisons before memmem takes over, in addition to the bytes passed.
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

/// For each byte how often it occurs, in whatever unit.
template <typename Count>
using Frequencies = std::array<Count, UCHAR_MAX + 1>;

/// A guess at the frequencies in texts, from the common letters to what is neither letter, digit
/// nor blank. Bytes of characters beyond ASCII are common where they occur at all: the first ones
/// more than the others.
constexpr Frequencies<std::uint8_t> makeUsualFrequencies() {
    constexpr std::string_view BY_FREQUENCY = " etaoinsrhldcumfgpwyb,.v\nk0123-=\"x/459786jqz";
    Frequencies<std::uint8_t> usual{};
    for (std::size_t byte = 0; byte < usual.size(); ++byte) {
        usual[byte] = byte >= 0xC0 ? 64 : byte >= 0x80 ? 32 : byte >= 'A' && byte <= 'Z' ? 16 : 1;
    }
    for (std::size_t i = 0; i < BY_FREQUENCY.size(); ++i) {
        usual[static_cast<unsigned char>(BY_FREQUENCY[i])] =
            static_cast<std::uint8_t>(16 + BY_FREQUENCY.size() - i);
    }
    usual[0] = 64;
    return usual;
}

constexpr Frequencies<std::uint8_t> USUAL = makeUsualFrequencies();
static_assert(USUAL[' '] > USUAL['e'] && USUAL['z'] > USUAL['Z'] && USUAL['Z'] > USUAL['#']);

Frequencies<std::uint16_t> frequenciesIn(std::string_view sample) noexcept {
    Frequencies<std::uint16_t> counts{};
    for (char const byte : sample) {
        ++counts[static_cast<unsigned char>(byte)];
    }
    return counts;
}

/// The indexes of two bytes wanted, the same for a single one.
struct Pair {
    std::size_t one;
    std::size_t other;
};

/// The two rarest of the first bytes wanted; different ones unless all are the same.
template <typename Count>
Pair rarestPair(std::string_view wanted, Frequencies<Count> const& frequencies) noexcept {
    std::string_view const bytes = wanted.substr(0, CHOICE);
    auto const frequency = [&](std::size_t index) {
        return frequencies[static_cast<unsigned char>(bytes[index])];
    };
    std::size_t one = 0;
    for (std::size_t i = 1; i < bytes.size(); ++i) {
        one = frequency(i) < frequency(one) ? i : one;
    }
    std::size_t other = one == 0 ? bytes.size() - 1 : 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != bytes[one] &&
            (bytes[other] == bytes[one] || frequency(i) < frequency(other))) {
            other = i;
        }
    }
    return {one, other};
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

/// The two bytes of a pair, each repeated in all lanes.
struct Probe {
    __m128i one;
    __m128i other;
    Pair at;
};

ZEB_SSE2 inline Probe makeProbe(std::string_view wanted, Pair at) noexcept {
    return {_mm_set1_epi8(wanted[at.one]), _mm_set1_epi8(wanted[at.other]), at};
}

/// All bits set in the bytes for those places from `start` on that have both bytes of the pair.
ZEB_SSE2 inline __m128i candidates(char const* start, Probe const& probe) noexcept {
    return _mm_and_si128(_mm_cmpeq_epi8(load(start + probe.at.one), probe.one),
                         _mm_cmpeq_epi8(load(start + probe.at.other), probe.other));
}

/// A bit for each byte.
ZEB_SSE2 inline std::uint64_t bitsOf(__m128i bytes) noexcept {
    return static_cast<unsigned int>(_mm_movemask_epi8(bytes));
}

/// A bit for each of `LANES` places from `start` on that has both bytes of the pair.
ZEB_SSE2 inline std::uint64_t candidatesInVector(char const* start, Probe const& probe) noexcept {
    return bitsOf(candidates(start, probe));
}

ZEB_SSE2 inline bool isCandidateAmongPlaces(char const* start, Probe const& probe) noexcept {
    __m128i const one = _mm_or_si128(candidates(start, probe), candidates(start + LANES, probe));
    __m128i const other =
        _mm_or_si128(candidates(start + 2 * LANES, probe), candidates(start + 3 * LANES, probe));
    return bitsOf(_mm_or_si128(one, other)) != 0;
}

/// A bit for each of `PLACES` places.
ZEB_SSE2 inline std::uint64_t candidatesInVectors(char const* start, Probe const& probe) noexcept {
    std::uint64_t hits = 0;
    for (std::size_t i = 0; i < PLACES; i += LANES) {
        hits |= candidatesInVector(start + i, probe) << i;
    }
    return hits;
}

/// The state of a search for one text.
class Search {
public:
    ZEB_SSE2 Search(std::string_view text, std::string_view wanted) noexcept
        : text_(text),
          wanted_(wanted),
          places_(text.size() - wanted.size() + 1),
          probe_(makeProbe(wanted, places_ < WORTH_A_CHOICE ? Pair{0, wanted.size() - 1}
                                                            : rarestPair(wanted, USUAL))) {}

    /// As `forEachHit`.
    template <typename OnHit>
    ZEB_SSE2 void run(OnHit& onHit) {
        std::size_t index = 0;
        while ((index = skip(index)) + PLACES <= places_) {
            std::uint64_t const hits = candidatesInVectors(text_.data() + index, probe_);
            if (!take(index, hits, onHit)) {
                return;
            }
            index = std::max(index + PLACES, next_);
            if (mistakes_ > allowed_ + index / PLACES) {
                chooseAgain(index);
            }
            if (cost_ > PATIENCE + index) {
                byMemmem(text_, wanted_, index, onHit);
                return;
            }
        }
        finish(index, onHit);
    }

private:
    /// Passes groups of `PLACES` without a candidate. @return the first place not passed
    ZEB_SSE2 std::size_t skip(std::size_t index) const noexcept {
        Probe const probe = probe_;
        std::size_t const places = places_;
        char const* const text = text_.data();
        while (index + PLACES <= places && !isCandidateAmongPlaces(text + index, probe)) {
            index += PLACES;
        }
        return index;
    }

    /// Searches the places from `index` on, fewer than `PLACES`.
    template <typename OnHit>
    ZEB_SSE2 void finish(std::size_t index, OnHit& onHit) {
        for (; index < places_ && places_ >= LANES; index += LANES) {
            // Some of the last places were tested before, with the same result.
            index = std::min(index, places_ - LANES);
            if (!take(index, candidatesInVector(text_.data() + index, probe_), onHit)) {
                return;
            }
        }
        for (; index < places_; ++index) {
            if (text_[index] == wanted_.front() && !take(index, 1, onHit)) {
                return;
            }
        }
    }

    /// Tests the places after `start` whose bits are set in `hits`. @return false when `onHit` did
    template <typename OnHit>
    bool take(std::size_t start, std::uint64_t hits, OnHit& onHit) {
        for (; hits != 0; hits &= hits - 1) {
            std::size_t const place = start + static_cast<unsigned int>(__builtin_ctzll(hits));
            if (place < next_) {
                continue;
            }
            if (!areSame(text_.data() + place, wanted_.data(), wanted_.size())) {
                ++mistakes_;
                cost_ += FAILURE + wanted_.size() / FAILURE;
                continue;
            }
            if (!onHit(place)) {
                return false;
            }
            next_ = place + wanted_.size();
        }
        return true;
    }

    /// Chooses the byte wanted that is rarest after `index`, and the one that differs most often
    /// where that byte is.
    ZEB_SSE2 void chooseAgain(std::size_t index) noexcept {
        Pair pair = rarestPair(wanted_, frequenciesIn(text_.substr(index, SAMPLE)));
        std::size_t const end = std::min(index + SAMPLE, places_);
        std::size_t compared = 0;
        std::array<unsigned int, CHOICE> differences{};
        for (std::size_t place = index; place < end && compared < COMPARED; ++place) {
            if (text_[place + pair.one] == wanted_[pair.one]) {
                ++compared;
                for (std::size_t i = 0; i < std::min(CHOICE, wanted_.size()); ++i) {
                    differences[i] += text_[place + i] != wanted_[i] ? 1 : 0;
                }
            }
        }
        auto const* const most = std::max_element(differences.begin(), differences.end());
        if (*most != 0) {
            pair.other = static_cast<std::size_t>(most - differences.begin());
        }
        probe_ = makeProbe(wanted_, pair);
        allowed_ += mistakes_;
    }

    /// Cost of a failed comparison of few bytes, in bytes passed; also the bytes that are compared
    /// in the time of one passed.
    static constexpr std::size_t FAILURE = 8;

    std::string_view text_;
    std::string_view wanted_;
    std::size_t places_;
    Probe probe_;
    std::size_t next_ = 0;      ///< the first place where a hit may be
    std::size_t mistakes_ = 0;  ///< failed comparisons
    std::size_t allowed_ = MISTAKES;
    std::size_t cost_ = 0;  ///< of the failed comparisons, in bytes passed
};

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
        Search(text, wanted).run(onHit);
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
