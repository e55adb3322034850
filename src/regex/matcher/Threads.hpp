#pragma once

#include <cstddef>
#include <string_view>

#include "Automaton.hpp"
#include "Positions.hpp"

/// @file
/// The search that is linear for every pattern: all starts go along at the same time.
///
/// Each position keeps the earliest start from which it can be reached; a later start that reaches
/// it, too, has no future of its own. So each byte costs no more than the number of edges. Once a
/// match is found, later starts are dropped, and it ends when none is left that is earlier or
/// longer.

namespace ZEBNS2 {

/// As Automaton::find, from the offset `from` on.
/// @param positions those that the automaton was made of
/// @par Cost subject times edges in the worst case; 24 KB of stack
Found findByThreads(Positions const& positions, Automaton::Mode mode, std::string_view subject,
                    std::size_t from, bool notLineStart, Span& span) noexcept;

}  // namespace ZEBNS2
