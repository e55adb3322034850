#include <zeb/xmltoolkit/DOMException.hpp>

#include <new>

namespace zeb::xmltoolkit {

DOMException::DOMException(char const* file, int line, char const* message, int subclassCode,
                           foundation::Exception const* chained, int errorCode)
    : Exception(file, line, message, subclassCode, chained, errorCode) {}

DOMException::~DOMException() noexcept = default;

char const* DOMException::type() const noexcept { return "DOMException"; }

DOMException* DOMException::clone() const noexcept {
    return new (std::nothrow) DOMException(*this);
}

void DOMException::rethrow() const { throw *this; }

}  // namespace zeb::xmltoolkit
