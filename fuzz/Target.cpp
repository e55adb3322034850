// The program that libFuzzer makes of one property.

#include "Property.hpp"

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    zeb::fuzz::ZEB_FUZZ_PROPERTY({reinterpret_cast<char const*>(data), size});
    return 0;
}
