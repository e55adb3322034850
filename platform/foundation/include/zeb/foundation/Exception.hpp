#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <exception>
#include <memory>

/// @file
/// The base of all exceptions of the library, and the foundation's own.

namespace zeb::foundation {

/// An exception that knows where it was thrown, what went wrong and why.
///
/// Its texts end at their first NUL; the locale influences only reasons that come from the C
/// library. All this also applies to the library's classes derived from it.
/// @par Complexity the constructor is linear in its texts, all else constant, except that the last
///   copy also destroys the chained exceptions.
/// @par Thread safety one object may be read by several threads at once. Copying never throws.
class ZEB_EXPORT Exception : public std::exception {
public:
    /// "No subclass code" and "no error code".
    static constexpr int NO_CODE = -1;

    /// @param file name of the source unit that throws; copied, null is empty
    /// @param line line in it, 1-based
    /// @param message what went wrong; copied, null is empty
    /// @param subclassCode a code whose meaning the derived class defines, or `NO_CODE`
    /// @param chained the exception that led to this one; cloned, null when there is none. Omitted
    ///   when memory for the clone is exhausted.
    /// @param errorCode a code of the system or the caller, or `NO_CODE`
    /// @throws std::bad_alloc
    Exception(char const* file, int line, char const* message, int subclassCode,
              Exception const* chained, int errorCode);
    /// Costs three atomic increments; nothing is copied.
    Exception(Exception const&) noexcept;
    /// Costs what a copy does.
    Exception& operator=(Exception const&) noexcept;
    ~Exception() noexcept override;

    /// The same text as `getMessage()`.
    [[nodiscard]] char const* what() const noexcept override;
    /// Name of the most derived class, without its namespace.
    [[nodiscard]] virtual char const* type() const noexcept;
    /// The message, valid as long as this object or a copy of it lives.
    [[nodiscard]] virtual char const* getMessage() const noexcept;
    /// A copy on the heap, of the most derived class, which the caller owns; null when memory is
    /// exhausted.
    [[nodiscard]] virtual Exception* clone() const noexcept;
    /// Throws a copy as the most derived class.
    [[noreturn]] virtual void rethrow() const;

    /// The source unit that threw.
    [[nodiscard]] char const* getFile() const noexcept { return file_.c_str(); }
    /// The line in it, 1-based.
    [[nodiscard]] int getLine() const noexcept { return line_; }
    /// A code whose meaning the derived class defines, or `NO_CODE`.
    [[nodiscard]] int getSubclassCode() const noexcept { return subclassCode_; }
    /// A code of the system or the caller, or `NO_CODE`.
    [[nodiscard]] int getErrorCode() const noexcept { return errorCode_; }
    /// The exception that led to this one, owned by this one; null when there is none.
    [[nodiscard]] Exception const* getChained() const noexcept { return chained_.get(); }

private:
    String file_;
    String message_;
    std::shared_ptr<Exception const> chained_;
    int line_;
    int subclassCode_;
    int errorCode_;
};

/// An access outside an array or string; the message contains its size and the index.
class ZEB_EXPORT OutOfBoundsException : public Exception {
public:
    /// The arguments of `Exception`, passed on unchanged.
    OutOfBoundsException(char const* file, int line, char const* message, int subclassCode,
                         Exception const* chained, int errorCode);
    ~OutOfBoundsException() noexcept override;
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] OutOfBoundsException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;
};

/// A text that is not a number of the wanted type; the message names both.
class ZEB_EXPORT StringConversionException : public Exception {
public:
    /// The arguments of `Exception`, passed on unchanged.
    StringConversionException(char const* file, int line, char const* message, int subclassCode,
                              Exception const* chained, int errorCode);
    ~StringConversionException() noexcept override;
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] StringConversionException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;
};

/// A file that cannot be examined, read or written; the message names it and the reason. The error
/// code is the system's `errno` where a system call failed.
class ZEB_EXPORT FileSystemException : public Exception {
public:
    /// The arguments of `Exception`, passed on unchanged.
    FileSystemException(char const* file, int line, char const* message, int subclassCode,
                        Exception const* chained, int errorCode);
    ~FileSystemException() noexcept override;
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] FileSystemException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;
};

/// @name Exceptions that must go no further
/// Log, at error level under the component "zeb.foundation", an exception that was caught where
/// none may pass, such as in a destructor: `text`, then ": " and the exception's text if there is
/// one. All texts end at their first NUL; the locale has no influence. They never throw; when
/// logging itself fails the message is lost.
/// @par Complexity linear in the texts, plus the appender's cost; one comparison when the level is
///   disabled.
/// @par Thread safety several threads may call them at once.
/// @{
/// Logs `text`; null is empty.
ZEB_EXPORT void logErroneousException(char const* text) noexcept;
/// Logs `text` and the message of `exception`.
ZEB_EXPORT void logErroneousException(char const* text, Exception const& exception) noexcept;
/// Logs `text` and what `exception.what()` says.
ZEB_EXPORT void logErroneousException(char const* text, std::exception const& exception) noexcept;
/// @}

// -------------------------------------------------------------------- not API

namespace detail {

#ifdef __cpp_exceptions
/// Deletes `object`; an exception from its destructor is logged with `text` and caught.
template <typename T>
void deleteLogged(T* object, char const* text) noexcept {
    try {
        delete object;
    } catch (Exception const& exception) {
        logErroneousException(text, exception);
    } catch (std::exception const& exception) {
        logErroneousException(text, exception);
    } catch (...) {
        logErroneousException(text);
    }
}
#else
// A namespace of its own, since one program may contain code of both kinds.
inline namespace withoutExceptions {
/// Deletes `object`, in code that is compiled without exceptions and cannot catch one.
template <typename T>
void deleteLogged(T* object, char const*) noexcept {
    delete object;
}
}  // namespace withoutExceptions
#endif

}  // namespace detail

}  // namespace zeb::foundation
