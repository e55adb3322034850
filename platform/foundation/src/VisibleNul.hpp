#pragma once

#include <zeb/foundation/String.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <string_view>

namespace zeb::foundation::detail {

/// `text` with `\0` written for each NUL byte: an exception takes its message up to the first NUL
/// and would lose the reason after it.
inline String withVisibleNul(String const& text) {
    StringBuffer visible(text.length());
    for (char const byte : std::string_view(text)) {
        if (byte == '\0') {
            visible.append("\\0");
        } else {
            visible.append(byte);
        }
    }
    return visible.releaseString();
}

}  // namespace zeb::foundation::detail
