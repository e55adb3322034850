#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace zeb::test {

/// Random choices that are the same on every machine: the standard's engine is specified bit by
/// bit, its distributions are not.
class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    /// 0 to `bound` - 1.
    std::size_t below(std::size_t bound) { return engine_() % bound; }
    /// `low` to `high`.
    std::size_t between(std::size_t low, std::size_t high) { return low + below(high - low + 1); }
    /// True once in `times`.
    bool oneIn(std::size_t times) { return below(times) == 0; }

    template <typename Container>
    auto const& pick(Container const& choices) {
        return choices[below(std::size(choices))];
    }

    /// `count` bytes out of `alphabet`.
    std::string text(std::string_view alphabet, std::size_t count) {
        std::string bytes;
        while (bytes.size() < count) {
            bytes += pick(alphabet);
        }
        return bytes;
    }

private:
    std::mt19937 engine_;
};

}  // namespace zeb::test
