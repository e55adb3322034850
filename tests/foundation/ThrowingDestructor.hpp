#pragma once

#include <zeb/foundation/Exception.hpp>

#include <stdexcept>

namespace zeb::test {

/// What a destructor throws.
enum class Thrown { NOTHING, FOUNDATION_EXCEPTION, STANDARD_EXCEPTION, NUMBER };

/// Throws that; the texts are "of the foundation" and "of the standard library".
inline void throwFromDestructor(Thrown what) {
    switch (what) {
        case Thrown::NOTHING:
            return;
        case Thrown::FOUNDATION_EXCEPTION:
            throw foundation::Exception("Unit", 1, "of the foundation",
                                        foundation::Exception::NO_CODE, nullptr,
                                        foundation::Exception::NO_CODE);
        case Thrown::STANDARD_EXCEPTION:
            throw std::runtime_error("of the standard library");
        case Thrown::NUMBER:
            throw 42;
    }
}

}  // namespace zeb::test
