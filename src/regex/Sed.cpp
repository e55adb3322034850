#include "OrventoCommonRegex.hpp"

#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <cstddef>
#include <fstream>
#include <ios>
#include <optional>
#include <string_view>

#include "Lines.hpp"
#include "SedCommand.hpp"
#include "SedOperations.hpp"

// The sed engine, part of the source unit OrventoCommonRegex, which messages and exceptions name.

namespace ZEBNS2 {

using zeb::foundation::Exception;
using zeb::foundation::FileInformation;
using zeb::foundation::FileSystemException;
namespace FileSystem = zeb::foundation::FileSystem;

namespace {

[[noreturn]] void throwFileSystemException(char const* what, String const& fileName) {
    String const message = Format(what, fileName);
    throw FileSystemException(UNIT, __LINE__, message.c_str(), Exception::NO_CODE, nullptr,
                              Exception::NO_CODE);
}

}  // namespace

String realSed(String const& text, String const& sedString,
               RegularExpression::CompilationOptions options) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG(logger, UNIT, Format("regex: Running sed \"%1\" on \"%2\"", sedString, text));
    SedOperationMode mode = SED_SEARCH;
    String first;
    String second;
    if (parseSedSearch(sedString, mode, first, second)) {
        return doSedSearch(text, sedString, options, mode, first, second);
    }
    if (parseSedDelete(sedString, mode, first, second)) {
        return mode == SED_DELETE_RANGE
                   ? doSedDeleteRange(text, sedString, options, mode, first, second)
                   : doSedDelete(text, sedString, options, mode, first);
    }
    ZEB_LOG_DEBUG(logger, UNIT,
                  Format("regex: Unknown sed operation (ignored): \"%1\"", sedString));
    // Not the text, despite the message: kept for compatibility.
    return String();
}

String sed(String const& text, RegularExpression const& expression, String const& replacement) {
    Replacer replacer(expression, replacement);
    StringBuffer edited(text.length());
    return appendWithReplacement(edited, text, upToNul(text), replacer) ? edited.releaseString()
                                                                        : text;
}

String sed(String const& text, String const& expression, String const& replacement) {
    return sed(text, RegularExpression(expression, RegularExpression::EXTENDED_SYNTAX),
               replacement);
}

void unprivilegedSed(String const& fileName, RegularExpression const& expression,
                     String const& replacement) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG(logger, UNIT, Format("regex: Getting info for file \"%1\"", fileName));
    if (FileSystem::getFileInformation(fileName).type != FileInformation::REGULAR_FILE) {
        throwFileSystemException("File is not a regular file: %1", fileName);
    }
    ZEB_LOG_DEBUG2(logger, UNIT, Format("regex: Checking write status for \"%1\"", fileName));
    if (!FileSystem::canWrite(fileName)) {
        throwFileSystemException("File cannot be written file: %1", fileName);
    }
    ZEB_LOG_DEBUG2(logger, UNIT, Format("regex: Getting lines for \"%1\"", fileName));
    String const contents = FileSystem::getFileContents(fileName);
    Replacer replacer(expression, replacement);
    RequiredLiteral const required = skippingLiteral(logger, replacer.requiredLiteral());
    std::optional<String> result = replacedAtOnce(contents, required, replacer, /*all=*/false);
    if (!result) {
        LineWriter edited(contents.length());
        for (LineReader lines(contents, required); lines.next();) {
            StringBuffer& out = edited.beginLine();
            std::size_t const begin = out.length();
            if (lines.isBlock() ||
                !appendWithReplacement(out, lines.line(), lines.visible(), replacer)) {
                out.append(lines.line());
            }
            ZEB_LOG_DEBUG3(logger, UNIT,
                           Format("regex: Replacing line:\n<--%1\n-->%2", lines.line(),
                                  std::string_view(out).substr(begin)));
        }
        result = edited.releaseText();
    }
    ZEB_LOG_DEBUG2(logger, UNIT, Format("regex: Writing results in \"%1\"", fileName));
    // Failures from here on are not reported: kept for compatibility. Without a buffer of its own,
    // the stream would allocate one after emptying the file, which may fail.
    char buffer[1024];
    std::ofstream file;
    file.rdbuf()->pubsetbuf(buffer, sizeof buffer);
    file.open(fileName.c_str(), std::ios::binary | std::ios::trunc);
    file.write(result->c_str(), static_cast<std::streamsize>(result->length()));
}

void unprivilegedSed(String const& fileName, String const& expression, String const& replacement) {
    Logger const logger(COMPONENT);
    ZEB_LOG_DEBUG2(
        logger, UNIT,
        Format("regex: Using regex \"%1\" with replacement \"%2\" on sed of file \"%3\" ",
               expression, replacement, fileName));
    unprivilegedSed(fileName, RegularExpression(expression, RegularExpression::EXTENDED_SYNTAX),
                    replacement);
}

}  // namespace ZEBNS2
