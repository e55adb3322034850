#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/StringBuffer.hpp>

namespace zeb::foundation::UTF8Utils {

/// Appends the UTF-8 encoding (RFC 3629, 1 to 4 bytes) of `codePoint` to `out`. A surrogate and a
/// value above 0x10FFFF are no characters: EF BF BD, the encoding of U+FFFD, is appended for them.
/// @throws std::bad_alloc; `out` is unchanged then
/// @par Thread safety reentrant.
ZEB_EXPORT void UCS4toUTF8(unsigned int codePoint, StringBuffer& out);

}  // namespace zeb::foundation::UTF8Utils
