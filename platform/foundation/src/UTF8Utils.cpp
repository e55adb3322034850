#include <zeb/foundation/UTF8Utils.hpp>

namespace zeb::foundation {

void UTF8Utils::UCS4toUTF8(unsigned int codePoint, StringBuffer& out) {
    static constexpr unsigned int REPLACEMENT = 0xFFFD;
    bool const surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    unsigned int const point = surrogate || codePoint > 0x10FFFF ? REPLACEMENT : codePoint;
    auto const lead = [](unsigned int mark, unsigned int bits) {
        return static_cast<char>(mark | bits);
    };
    auto const continuation = [point](unsigned int shift) {
        return static_cast<char>(0x80 | (point >> shift & 0x3F));
    };
    char* const bytes = out.prepare(4);
    if (point < 0x80) {
        bytes[0] = static_cast<char>(point);
        out.commit(1);
    } else if (point < 0x800) {
        bytes[0] = lead(0xC0, point >> 6);
        bytes[1] = continuation(0);
        out.commit(2);
    } else if (point < 0x10000) {
        bytes[0] = lead(0xE0, point >> 12);
        bytes[1] = continuation(6);
        bytes[2] = continuation(0);
        out.commit(3);
    } else {
        bytes[0] = lead(0xF0, point >> 18);
        bytes[1] = continuation(12);
        bytes[2] = continuation(6);
        bytes[3] = continuation(0);
        out.commit(4);
    }
}

}  // namespace zeb::foundation
