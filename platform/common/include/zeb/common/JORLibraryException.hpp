#pragma once

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Export.hpp>

/// @file
/// The exception that the libraries of the suite have in common.

namespace zeb::common {

/// Thrown by a library of the suite that cannot do what it was asked.
///
/// It adds only its type to its base: source unit, line, message, codes and chained exception are
/// the base's, and so are cost, NUL bytes and the influence of the locale.
/// @par Thread safety one object may be read by several threads at once. Copying never throws.
class ZEB_EXPORT JORLibraryException : public foundation::Exception {
public:
    /// The arguments of `foundation::Exception`, passed on unchanged.
    JORLibraryException(char const* file, int line, char const* message, int subclassCode,
                        foundation::Exception const* chained, int errorCode);
    ~JORLibraryException() noexcept override;
    /// "JORLibraryException"
    [[nodiscard]] char const* type() const noexcept override;
    [[nodiscard]] JORLibraryException* clone() const noexcept override;
    [[noreturn]] void rethrow() const override;
};

}  // namespace zeb::common
