#include <zeb/foundation/Exception.hpp>

#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>

#include <new>

namespace zeb::foundation {

namespace {

constexpr char UNIT[] = "Exception";
constexpr char COMPONENT[] = "zeb.foundation";

/// A copy of `chained` on the heap; null for null, and when memory is exhausted.
std::shared_ptr<Exception const> copyOf(Exception const* chained) {
    Exception const* const copy = chained == nullptr ? nullptr : chained->clone();
    // Even a shared_ptr to null would allocate.
    return copy == nullptr ? nullptr : std::shared_ptr<Exception const>(copy);
}

void logError(char const* text, char const* reason) noexcept {
    try {
        Logger const logger{String(COMPONENT)};
        ZEB_LOG(logger, ERROR, UNIT,
                reason == nullptr ? String(text) : String(Format("%1: %2", text, reason)));
    } catch (...) {
        // There is no way left to report it.
    }
}

}  // namespace

Exception::Exception(char const* file, int line, char const* message, int subclassCode,
                     Exception const* chained, int errorCode)
    : file_(file),
      message_(message),
      chained_(copyOf(chained)),
      line_(line),
      subclassCode_(subclassCode),
      errorCode_(errorCode) {}

Exception::Exception(Exception const&) noexcept = default;
Exception& Exception::operator=(Exception const&) noexcept = default;
Exception::~Exception() noexcept = default;

char const* Exception::what() const noexcept { return getMessage(); }

char const* Exception::type() const noexcept { return "Exception"; }

char const* Exception::getMessage() const noexcept { return message_.c_str(); }

Exception* Exception::clone() const noexcept { return new (std::nothrow) Exception(*this); }

void Exception::rethrow() const { throw *this; }

OutOfBoundsException::OutOfBoundsException(char const* file, int line, char const* message,
                                           int subclassCode, Exception const* chained,
                                           int errorCode)
    : Exception(file, line, message, subclassCode, chained, errorCode) {}

OutOfBoundsException::~OutOfBoundsException() noexcept = default;

char const* OutOfBoundsException::type() const noexcept { return "OutOfBoundsException"; }

OutOfBoundsException* OutOfBoundsException::clone() const noexcept {
    return new (std::nothrow) OutOfBoundsException(*this);
}

void OutOfBoundsException::rethrow() const { throw *this; }

StringConversionException::StringConversionException(char const* file, int line,
                                                     char const* message, int subclassCode,
                                                     Exception const* chained, int errorCode)
    : Exception(file, line, message, subclassCode, chained, errorCode) {}

StringConversionException::~StringConversionException() noexcept = default;

char const* StringConversionException::type() const noexcept { return "StringConversionException"; }

StringConversionException* StringConversionException::clone() const noexcept {
    return new (std::nothrow) StringConversionException(*this);
}

void StringConversionException::rethrow() const { throw *this; }

FileSystemException::FileSystemException(char const* file, int line, char const* message,
                                         int subclassCode, Exception const* chained, int errorCode)
    : Exception(file, line, message, subclassCode, chained, errorCode) {}

FileSystemException::~FileSystemException() noexcept = default;

char const* FileSystemException::type() const noexcept { return "FileSystemException"; }

FileSystemException* FileSystemException::clone() const noexcept {
    return new (std::nothrow) FileSystemException(*this);
}

void FileSystemException::rethrow() const { throw *this; }

void logErroneousException(char const* text) noexcept { logError(text, nullptr); }

void logErroneousException(char const* text, Exception const& exception) noexcept {
    logError(text, exception.getMessage());
}

void logErroneousException(char const* text, std::exception const& exception) noexcept {
    logError(text, exception.what());
}

}  // namespace zeb::foundation
