#pragma once

#include <sys/random.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zeb::xmltoolkit {

/// A hash of untrusted names.
///
/// The hash of a name is its value as a polynomial at a secret point, modulo the prime 2^31 - 1.
/// Two names of up to n bytes fall into the same one of m slots for at most 2n of m points, so no
/// text can be prepared whose names all collide. Each object has its own point; copies share it.
class SecretHash {
public:
    SecretHash() noexcept : point_(secretNumber() % (PRIME - 1) + 1) {}

    [[nodiscard]] std::size_t operator()(std::string_view name) const noexcept {
        std::uint64_t value = 0;
        for (char const byte : name) {
            value = value * point_ + static_cast<unsigned char>(byte);
            // The product is below 2^62, and the sum below twice the prime.
            value = (value & PRIME) + (value >> 31);
            value -= value >= PRIME ? PRIME : 0;
        }
        return static_cast<std::size_t>(value);
    }

private:
    static constexpr std::uint64_t PRIME = (std::uint64_t{1} << 31) - 1;

    /// A hash seed that the text's author cannot predict. std::random_device would query the
    /// processor's features each time, which on a virtual machine costs more than parsing a short
    /// text.
    static std::uint32_t secretNumber() noexcept {
        std::uint32_t number = 0;
        if (::getentropy(&number, sizeof number) != 0) {  // COVERAGE: only old kernels fail
            // The address of the stack is random too.
            auto const place = reinterpret_cast<std::uintptr_t>(&number);  // COVERAGE: old kernels
            number = static_cast<std::uint32_t>(place >> 4);               // COVERAGE: old kernels
        }
        return number;
    }

    std::uint64_t point_;
};

}  // namespace zeb::xmltoolkit
