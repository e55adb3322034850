// C: convertToUTF8 compared with ICU, iconv and a plain loop, each into new memory every time.

#include "bench.hpp"
#include "inputs.hpp"

#include <OrventoTextOperations.hpp>

#include <iconv.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#ifdef ZEB_HAVE_ICU
#include <unicode/ustring.h>
#endif

namespace bench {

namespace {

using ZEBNS2::Array;

constexpr std::size_t BYTES = std::size_t{64} << 20;
constexpr std::size_t MARK = 2;  // bytes of the byte order mark, which no answer contains

/// A text in uninitialised memory; std::string would write it twice.
class Output {
public:
    explicit Output(std::size_t room) : bytes_(new char[room]) {}
    char* data() { return bytes_.get(); }
    void setEnd(char const* end) { length_ = static_cast<std::size_t>(end - bytes_.get()); }
    operator std::string_view() const { return {bytes_.get(), length_}; }

private:
    std::unique_ptr<char[]> bytes_;
    std::size_t length_ = 0;
};

/// Bytes that the text of `bytes` bytes of UTF-16 may need in UTF-8.
std::size_t room(std::size_t bytes) { return bytes / 2 * 3; }

template <bool BIG_ENDIAN_TEXT>
std::uint32_t unitAt(unsigned char const* in) {
    return BIG_ENDIAN_TEXT ? static_cast<std::uint32_t>(in[0] << 8 | in[1])
                           : static_cast<std::uint32_t>(in[1] << 8 | in[0]);
}

template <bool BIG_ENDIAN_TEXT>
Output plainLoop(Array<char> const& text) {
    Output result(room(text.size()));
    char* out = result.data();
    auto const put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
    auto const* in = reinterpret_cast<unsigned char const*>(text.data()) + MARK;
    auto const* const end = in + text.size() - MARK;
    while (in < end) {
        std::uint32_t point = unitAt<BIG_ENDIAN_TEXT>(in);
        in += 2;
        if (point < 0x80) {
            put(point);
            continue;
        }
        if (point < 0x800) {
            put(0xC0 | point >> 6);
            put(0x80 | (point & 0x3F));
            continue;
        }
        if (point - 0xD800 < 0x400 && in < end) {
            point = 0x10000 + ((point - 0xD800) << 10) + (unitAt<BIG_ENDIAN_TEXT>(in) - 0xDC00);
            in += 2;
            put(0xF0 | point >> 18);
            put(0x80 | (point >> 12 & 0x3F));
        } else {
            put(0xE0 | point >> 12);
        }
        put(0x80 | (point >> 6 & 0x3F));
        put(0x80 | (point & 0x3F));
    }
    result.setEnd(out);
    return result;
}

Output byIconv(Array<char> const& text, char const* encoding) {
    iconv_t const converter = ::iconv_open("UTF-8", encoding);
    Output result(room(text.size()));
    char* in = const_cast<char*>(text.data()) + MARK;  // iconv does not write there
    std::size_t inLeft = text.size() - MARK;
    char* out = result.data();
    std::size_t outLeft = room(text.size());
    if (::iconv(converter, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) {
        std::abort();
    }
    ::iconv_close(converter);
    result.setEnd(out);
    return result;
}

#ifdef ZEB_HAVE_ICU
/// ICU converts units in the machine's byte order, which is little-endian on x86; others are
/// swapped into a piece of memory that stays in the cache.
Output byIcu(Array<char> const& text, bool bigEndian) {
    Output result(room(text.size()));
    char* out = result.data();
    auto const units = static_cast<std::int32_t>((text.size() - MARK) / 2);
    auto const* const in = reinterpret_cast<UChar const*>(text.data() + MARK);
    auto const convert = [&](UChar const* from, std::int32_t count) {
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t length = 0;
        u_strToUTF8(out, 3 * count, &length, from, count, &error);
        if (U_FAILURE(error)) {
            std::abort();
        }
        out += length;
    };
    if (!bigEndian) {
        convert(in, units);
    } else {
        constexpr std::int32_t PIECE = 4096;
        UChar piece[PIECE];
        for (std::int32_t start = 0; start < units;) {
            std::int32_t count = units - start < PIECE ? units - start : PIECE;
            for (std::int32_t i = 0; i < count; ++i) {
                piece[i] = static_cast<UChar>(__builtin_bswap16(in[start + i]));
            }
            if (start + count < units && U16_IS_LEAD(piece[count - 1])) {
                --count;
            }
            convert(piece, count);
            start += count;
        }
    }
    result.setEnd(out);
    return result;
}
#endif

void addUnicode() {
    struct Row {
        char const* name;
        char const* title;
        Script script;
        bool bigEndian;
    };
    static constexpr Row ROWS[] = {
        {"C1", "convertToUTF8 ASCII, little-endian", Script::ASCII, false},
        {"C2", "convertToUTF8 Latin and Greek, little-endian", Script::LATIN_GREEK, false},
        {"C3", "convertToUTF8 CJK, little-endian", Script::CJK, false},
        {"C4", "convertToUTF8 emoji, little-endian", Script::EMOJI, false},
        {"C5", "convertToUTF8 ASCII, big-endian", Script::ASCII, true},
        {"C6", "convertToUTF8 Latin and Greek, big-endian", Script::LATIN_GREEK, true},
        {"C7", "convertToUTF8 CJK, big-endian", Script::CJK, true},
        {"C8", "convertToUTF8 emoji, big-endian", Script::EMOJI, true},
    };
    for (Row const& row : ROWS) {
        for (auto const& [suffix, bytes] :
             {std::pair("@1", BYTES / 100), std::pair("@10", BYTES / 10), std::pair("", BYTES)}) {
            std::string const name = std::string(row.name) + suffix;
            if (!wanted(name)) {
                continue;
            }
            auto const text = utf16Text(row.script, row.bigEndian, bytes & ~std::size_t{1});
            bool const bigEndian = row.bigEndian;
            Contest contest(name, row.title, text.size());
            contest.add(LIBRARY, [text] { return ZEBNS2::convertToUTF8(text); });
            if (bytes != BYTES) {
                continue;
            }
            contest.add("plain loop", [text, bigEndian] {
                return bigEndian ? plainLoop<true>(text) : plainLoop<false>(text);
            });
            contest.add("iconv", [text, bigEndian] {
                return byIconv(text, bigEndian ? "UTF-16BE" : "UTF-16LE");
            });
#ifdef ZEB_HAVE_ICU
            contest.add("ICU", [text, bigEndian] { return byIcu(text, bigEndian); });
            contest.aim("ICU", 1.0);
#endif
        }
    }
}

Family const unicode(addUnicode);

}  // namespace

}  // namespace bench
