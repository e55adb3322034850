#include "OrventoTextOperations.hpp"

#include <zeb/foundation/StringBuffer.hpp>

#include <cstddef>
#include <new>

namespace ZEBNS2 {

using zeb::foundation::StringBuffer;

String untokenize(StringArray const& parts, String const& separator) {
    if (parts.empty()) {
        return String();
    }
    std::size_t length = 0;
    bool overflow = __builtin_mul_overflow(separator.length(), parts.size() - 1, &length);
    for (String const& part : parts) {
        overflow |= __builtin_add_overflow(length, part.length(), &length);
    }
    if (overflow) {
        throw std::bad_alloc();
    }
    StringBuffer joined(length);
    bool first = true;
    for (String const& part : parts) {
        if (!first) {
            joined.append(separator);
        }
        joined.append(part);
        first = false;
    }
    return joined.releaseString();
}

}  // namespace ZEBNS2
