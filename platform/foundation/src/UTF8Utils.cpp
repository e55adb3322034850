#include <zeb/foundation/UTF8Utils.hpp>

namespace zeb::foundation {

void UTF8Utils::UCS4toUTF8(unsigned int codePoint, StringBuffer& out) {
    char* const start = out.prepare(MAX_LENGTH);
    out.commit(static_cast<std::size_t>(encode(codePoint, start) - start));
}

}  // namespace zeb::foundation
