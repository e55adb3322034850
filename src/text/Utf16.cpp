#include "Utf16.hpp"

#include <zeb/foundation/StringBuffer.hpp>
#include <zeb/foundation/UTF8Utils.hpp>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>

namespace ZEBNS2::utf16 {

using zeb::foundation::StringBuffer;

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "units are loaded low byte first");

/// Four units in one word, 16 bits each.
using Word = std::uint64_t;
constexpr std::size_t WORD_UNITS = sizeof(Word) / sizeof(unsigned short);
/// A word that contains `unit` four times.
constexpr Word repeat(unsigned short unit) { return unit * Word{0x0001'0001'0001'0001}; }

/// Units tested together.
constexpr std::size_t BLOCK = 2 * WORD_UNITS;

/// Units in which pairs are counted before the narrow count is added to the total.
constexpr std::size_t COUNTED = 4096;

bool isLowSurrogate(unsigned short unit) { return (unit & 0xFC00) == 0xDC00; }
bool isSurrogate(unsigned short unit) { return (unit & 0xF800) == 0xD800; }

/// Whether the units are a high and a low surrogate; in one comparison, for vectors.
bool isPair(unsigned int high, unsigned int low) {
    return (((high ^ 0xD800) | (low ^ 0xDC00)) & 0xFC00) == 0;
}

/// The code point that a pair encodes.
unsigned int combine(unsigned short high, unsigned short low) {
    return ((high & 0x3FFU) << 10 | (low & 0x3FFU)) + 0x10000;
}

/// Whether a unit of `word` is a surrogate.
bool hasSurrogate(Word word) {
    Word const zeroIfSurrogate = (word & repeat(0xF800)) ^ repeat(0xD800);
    // The lowest unit that is zero borrows from no other, so its highest bit is set here.
    return ((zeroIfSurrogate - repeat(1)) & ~zeroIfSurrogate & repeat(0x8000)) != 0;
}

/// A text whose byte order is a compile-time constant.
template <ByteOrder ORDER>
struct Text {
    char const* bytes;
    std::size_t count;

    unsigned short operator[](std::size_t index) const {
        unsigned short unit = 0;
        std::memcpy(&unit, bytes + 2 * index, sizeof unit);
        return ORDER == ByteOrder::BIG ? __builtin_bswap16(unit) : unit;
    }
    Word word(std::size_t index) const {
        Word word = 0;
        std::memcpy(&word, bytes + 2 * index, sizeof word);
        return ORDER == ByteOrder::BIG ? (word & repeat(0x00FF)) << 8 | (word >> 8 & repeat(0x00FF))
                                       : word;
    }
    bool isASCIIBlock(std::size_t index) const {
        return ((word(index) | word(index + WORD_UNITS)) & repeat(0xFF80)) == 0;
    }
    bool isBlockWithoutSurrogates(std::size_t index) const {
        return !hasSurrogate(word(index)) && !hasSurrogate(word(index + WORD_UNITS));
    }
};

/// Calls `use` with `units` as a `Text` of their order.
template <typename Use>
auto withOrder(Units units, Use const& use) {
    return units.order == ByteOrder::BIG ? use(Text<ByteOrder::BIG>{units.bytes, units.count})
                                         : use(Text<ByteOrder::LITTLE>{units.bytes, units.count});
}

/// Reads the next code point from `text` and advances `index`, which is inside it, past its units.
/// @return false when only a high surrogate was left
template <ByteOrder ORDER>
bool decode(Text<ORDER> text, std::size_t& index, unsigned int& point, Repairs& repairs) {
    unsigned short const unit = text[index++];
    point = unit;
    if (!isSurrogate(unit)) {
        return true;
    }
    if (isLowSurrogate(unit)) {
        repairs.loneSurrogate(unit);
        point = REPLACEMENT;
        return true;
    }
    if (index == text.count) {
        return false;
    }
    unsigned short const next = text[index++];
    if (isLowSurrogate(next)) {
        point = combine(unit, next);
    } else {
        repairs.brokenPair(unit, next);
        point = REPLACEMENT;
    }
    return true;
}

/// Encodes the units from `index` to `end`, and one more for a pair across that border.
/// @return the end of the output
template <ByteOrder ORDER>
char* encodePiece(Text<ORDER> text, std::size_t& index, std::size_t end, char* out,
                  Repairs& repairs, Kernel kernel) {
    while (index < end) {
        Progress const progress = kernel({text.bytes + 2 * index, end - index, ORDER}, out);
        out = progress.out;
        index += progress.units;
        // The unit at which the kernel stopped is in the next block.
        std::size_t const blockEnd = index + std::min(end - index, BLOCK);
        if (blockEnd - index == BLOCK && text.isASCIIBlock(index)) {
            for (std::size_t i = 0; i < BLOCK; ++i) {
                out[i] = static_cast<char>(text[index + i]);
            }
            out += BLOCK;
            index = blockEnd;
        }
        while (index < blockEnd) {
            unsigned int point = 0;
            if (decode(text, index, point, repairs)) {
                out = zeb::foundation::UTF8Utils::encode(point, out);
            }
        }
    }
    return out;
}

}  // namespace

void regroup(Units units, unsigned short* out) noexcept {
    withOrder(units, [out](auto text) {
        for (std::size_t i = 0; i < text.count; ++i) {
            out[i] = text[i];
        }
    });
}

std::size_t mostPoints(Units units) noexcept {
    // Each low surrogate directly after a high one saves a point: it is the second unit of a pair,
    // or follows a high surrogate that was consumed with the previous one, which saved one as well.
    return withOrder(units, [](auto text) {
        std::size_t pairs = 0;
        for (std::size_t index = 1; index < text.count;) {
            std::size_t const end = index + std::min(text.count - index, COUNTED);
            unsigned short counted = 0;  // as wide as a unit, so that the compiler vectorises it
            for (; index < end; ++index) {
                bool const pair = isPair(text[index - 1], text[index]);
                counted = static_cast<unsigned short>(counted + (pair ? 1 : 0));
            }
            pairs += counted;
        }
        return text.count - pairs;
    });
}

std::size_t toUTF32(Units units, unsigned int* out, Repairs& repairs) {
    return withOrder(units, [out, &repairs](auto text) {
        std::size_t written = 0;
        for (std::size_t index = 0; index < text.count;) {
            if (text.count - index >= BLOCK && text.isBlockWithoutSurrogates(index)) {
                for (std::size_t i = 0; i < BLOCK; ++i) {
                    out[written + i] = text[index + i];
                }
                written += BLOCK;
                index += BLOCK;
                continue;
            }
            std::size_t const blockEnd = index + std::min(text.count - index, BLOCK);
            while (index < blockEnd) {
                written += decode(text, index, out[written], repairs);
            }
        }
        return written;
    });
}

zeb::foundation::String toUTF8(Units units, Repairs& repairs, Kernel kernel) {
    static constexpr std::size_t PIECE = 4096;
    static constexpr std::size_t SPARE = 1 + KERNEL_OVERRUN;
    StringBuffer buffer(units.count + 2 * std::min(units.count, PIECE) + SPARE);
    withOrder(units, [&buffer, &repairs, kernel](auto text) {
        for (std::size_t index = 0; index < text.count;) {
            std::size_t const pieceEnd = index + std::min(text.count - index, PIECE);
            std::size_t const room = 3 * (pieceEnd - index) + SPARE;
            char* const start = buffer.prepare(room);
            char* const end = encodePiece(text, index, pieceEnd, start, repairs, kernel);
            auto const written = static_cast<std::size_t>(end - start);
            assert(written <= room);
            buffer.commit(written);
        }
    });
    return buffer.releaseString();
}

}  // namespace ZEBNS2::utf16
