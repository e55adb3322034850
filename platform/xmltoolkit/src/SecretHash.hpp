#pragma once

#include <sys/random.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zeb::xmltoolkit {

/// A hash of names that come from a stranger.
///
/// The hash of a name is its value as a polynomial at a secret point, modulo the prime 2^31 - 1.
/// Two names of up to n bytes fall into the same one of m places for at most 2n of m points, so
/// nobody can write a text whose names all fall into one place. Each object has a point of its own;
/// copies share it.
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

    /// A number that who wrote the text cannot know. std::random_device would ask the processor for
    /// its abilities each time, which costs more than parsing a short text on a virtual machine.
    static std::uint32_t secretNumber() noexcept {
        std::uint32_t number = 0;
        if (::getentropy(&number, sizeof number) != 0) {  // COVERAGE: only old kernels fail
            // The place of the stack is random, too.
            auto const place = reinterpret_cast<std::uintptr_t>(&number);  // COVERAGE: old kernels
            number = static_cast<std::uint32_t>(place >> 4);               // COVERAGE: old kernels
        }
        return number;
    }

    std::uint64_t point_;
};

}  // namespace zeb::xmltoolkit
