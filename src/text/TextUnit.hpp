#pragma once

#include <zeb/common/JORLibraryException.hpp>
#include <zeb/foundation/Logger.hpp>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>

#include "OrventoTextOperations.hpp"

/// @file
/// Shared by the files of this source unit: its name in messages and exceptions, its logger, and
/// searches by sets of bytes.

namespace ZEBNS2::textunit {

/// The unit's name, which messages and exceptions record.
inline constexpr char UNIT[] = "OrventoTextOperations";

inline zeb::foundation::Logger makeLogger() {
    using zeb::foundation::Logger;
    String const& name = TextOperations::COMPONENT_NAME.get();
    // A logger keeps the level it is built with, so one that is off needs no name. Sharing the name
    // costs two atomic operations, a tenth of a short call.
    Logger nameless{String()};
    if (nameless.getLogLevel() == Logger::NO_LEVEL) {
        return nameless;
    }
    return Logger(name);
}

[[noreturn]] inline void throwLibraryException(int line, String const& message) {
    using zeb::foundation::Exception;
    throw zeb::common::JORLibraryException(UNIT, line, message.c_str(), Exception::NO_CODE, nullptr,
                                           Exception::NO_CODE);
}

/// An offset as `int`, for functions that return -1 for none; saturates.
inline int toIndex(std::size_t offset) {
    return static_cast<int>(std::min<std::size_t>(offset, INT_MAX));
}

/// Index of the first byte of `text` that is one of `set`; -1 when there is none.
inline int indexOfSet(char const* text, char const* set) {
    if (text == nullptr || set == nullptr) {
        return -1;
    }
    std::size_t const index = std::strcspn(text, set);
    return text[index] == '\0' ? -1 : toIndex(index);
}

/// The bytes that make an argument need quotes; LF is listed twice; harmless.
inline constexpr char QUOTING_SET[] = " \t\n\r\v\n\"";

}  // namespace ZEBNS2::textunit
