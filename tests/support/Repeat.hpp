#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zeb::test {

/// `count` copies of `text`.
inline std::string repeat(std::string_view text, std::size_t count) {
    std::string repeated;
    repeated.reserve(text.size() * count);
    for (; count > 0; --count) {
        repeated += text;
    }
    return repeated;
}

}  // namespace zeb::test
