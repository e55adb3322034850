#include <zeb/foundation/Array.hpp>

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/Format.hpp>

namespace zeb::foundation::detail {

void throwOutOfBounds(std::size_t size, std::size_t index) {
    String const message = Format("Index out of bounds: size %1, index %2", size, index);
    throw OutOfBoundsException("Array", __LINE__, message.c_str(), Exception::NO_CODE, nullptr,
                               Exception::NO_CODE);
}

}  // namespace zeb::foundation::detail
