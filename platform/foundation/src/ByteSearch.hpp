#pragma once

#include <cstddef>
#include <string_view>

namespace zeb::foundation::detail {

/// @param wanted not empty
/// @return the offset of the first occurrence of `wanted` in `text`; npos when there is none
/// @par Complexity linear in both. @par Thread safety reentrant.
std::size_t findBytes(std::string_view text, std::string_view wanted) noexcept;

}  // namespace zeb::foundation::detail
