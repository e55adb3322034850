#pragma once

#include "OrventoCommonRegex.hpp"

#include <pthread.h>

#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/LazyGlobal.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <algorithm>
#include <cstddef>

/// @file
/// The parser of sed commands.
///
/// A part of Sed.cpp: only that and tests include it. Its functions are in an unnamed namespace
/// because the log records their signatures.

namespace ZEBNS2 {
// Included by one source.
namespace {  // NOLINT(cert-dcl59-cpp): the log records the signatures

using zeb::foundation::Format;
using zeb::foundation::LazyGlobal;
using zeb::foundation::Logger;
using zeb::foundation::StringBuffer;

constexpr char const* UNIT = RegularExpressionException::SOURCE_UNIT;
constexpr char COMPONENT[] = "zeb.common.regex";

struct ExtendedSyntaxFactory {
    static RegularExpression* create(char const* pattern) {
        return new RegularExpression(pattern, RegularExpression::EXTENDED_SYNTAX);
    }
};

using LazyExpression = LazyGlobal<RegularExpression, ExtendedSyntaxFactory>;

LazyExpression SED_DELETE_EXPR = {"^/([^/]*)/d$", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
LazyExpression SED_DELETE_RANGE_EXPR = {"^/([^/]*)/,/([^/]*)/d$", nullptr, 0,
                                        PTHREAD_MUTEX_INITIALIZER};

enum SedOperationMode {
    SED_SEARCH = 0,         ///< replace the first match in each line
    SED_GLOBAL_SEARCH = 1,  ///< replace every match in each line
    SED_DELETE = 2,         ///< delete each line that matches
    SED_DELETE_RANGE = 3    ///< delete from one matching line to another
};

/// Parses a delete command; the outputs are unchanged when it is none.
inline bool parseSedDelete(String const& sedString, SedOperationMode& mode, String& firstExpression,
                           String& secondExpression) {
    Logger const logger(COMPONENT);
    Array<String> parts = SED_DELETE_EXPR.get().all_matching_substrings(sedString);
    if (!parts.empty()) {
        mode = SED_DELETE;
        firstExpression = parts[1];
        secondExpression = String();
        ZEB_LOG_DEBUG(
            logger, UNIT,
            Format("regex: Parsed sed delete operation for expression \"%1\"", firstExpression));
        return true;
    }
    parts = SED_DELETE_RANGE_EXPR.get().all_matching_substrings(sedString);
    if (!parts.empty()) {
        mode = SED_DELETE_RANGE;
        firstExpression = parts[1];
        secondExpression = parts[2];
        ZEB_LOG_DEBUG(logger, UNIT,
                      Format("regex: Parsed sed delete (range) operation for expression \"%1\", "
                             "and \"%2\"",
                             firstExpression, secondExpression));
        return true;
    }
    return false;
}

/// Appends the replacement of a substitute command, as a template for ArrayFormat.
/// @param i offset of its first byte; becomes that of the byte that ended it
/// @return false when a backslash is the last byte of the command
inline bool takeReplacement(String const& sedString, std::size_t& i, StringBuffer& format) {
    std::size_t const length = sedString.length();
    char const delimiter = sedString[1];
    for (; i < length && sedString[i] != delimiter; ++i) {
        char const byte = sedString[i];
        if (byte == '%') {
            format.append("%%");
        } else if (byte != '\\') {
            format.append(byte);
        } else if (++i == length) {
            return false;
        } else if (sedString[i] == '\\') {
            format.append('\\');
        } else if (sedString[i] >= '0' && sedString[i] <= '9') {
            format.append('%').append(sedString[i]);
        } else {
            // Ends the replacement here: kept for compatibility.
            format.append('\\').append(sedString[i]);
            break;
        }
    }
    return true;
}

/// Parses a substitute command. When it is none, `mode` and `searchExpression` may have been
/// written.
/// @param replacement template for ArrayFormat
inline bool parseSedSearch(String const& sedString, SedOperationMode& mode,
                           String& searchExpression, String& replacement) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG(logger, UNIT,
                  Format("regex: Checking for search operation in \"%1\"", sedString));
    std::size_t const length = sedString.length();
    if (length == 0) {
        ZEB_LOG_DEBUG3(logger, UNIT, Format("regex: Sed string is empty"));
        return false;
    }
    if (sedString[0] != 's') {
        ZEB_LOG_DEBUG(
            logger, UNIT,
            Format("regex: Not a search operation: '%1' in \"%2\"", sedString[0], sedString));
        return false;
    }
    mode = SED_SEARCH;
    if (length < 2) {
        ZEB_LOG_DEBUG(logger, UNIT, Format("regex: Malformed sed string \"%1\"", sedString));
    }
    // For the command "s" alone this is the terminating NUL.
    char const delimiter = sedString[1];

    std::size_t const expressionEnd = std::min(sedString.indexOf(delimiter, 2), length);
    searchExpression = sedString.substring(2, expressionEnd - std::min<std::size_t>(2, length));

    StringBuffer format;
    std::size_t i = expressionEnd + 1;
    if (!takeReplacement(sedString, i, format)) {
        ZEB_LOG_DEBUG(logger, UNIT,
                      Format("regex: Malformed sed string (trailing escape): \"%1\"", sedString));
        return false;
    }
    replacement = format.releaseString();

    std::size_t const flag = i + 1;
    if (flag >= length) {
        return true;
    }
    if (sedString[flag] != 'g') {
        ZEB_LOG_DEBUG(
            logger, UNIT,
            Format("regex: Malformed sed string (unknown trailing character) \"%1\"", sedString));
        return false;
    }
    if (mode != SED_SEARCH) {  // COVERAGE: it has just been set
        ZEB_LOG_DEBUG(         // COVERAGE: mode is SED_SEARCH
            logger, UNIT,
            Format("regex: Global replacement for non-search in sed string \"%1\"", sedString));
        return false;  // COVERAGE: mode is SED_SEARCH
    }
    mode = SED_GLOBAL_SEARCH;
    if (flag + 1 < length) {
        ZEB_LOG_DEBUG(logger, UNIT,
                      Format("regex: Invalid traling garbage (\"%1\") in sed string \"%2\"",
                             sedString.substring(flag + 1), sedString));
    }
    return true;
}

}  // namespace
}  // namespace ZEBNS2
