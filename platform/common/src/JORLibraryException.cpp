#include <zeb/common/JORLibraryException.hpp>

#include <new>

namespace zeb::common {

JORLibraryException::JORLibraryException(char const* file, int line, char const* message,
                                         int subclassCode, foundation::Exception const* chained,
                                         int errorCode)
    : Exception(file, line, message, subclassCode, chained, errorCode) {}

JORLibraryException::~JORLibraryException() noexcept = default;

char const* JORLibraryException::type() const noexcept { return "JORLibraryException"; }

JORLibraryException* JORLibraryException::clone() const noexcept {
    return new (std::nothrow) JORLibraryException(*this);
}

void JORLibraryException::rethrow() const { throw *this; }

}  // namespace zeb::common
