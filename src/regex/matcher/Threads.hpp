#pragma once

#include <cstddef>
#include <string_view>

#include "Automaton.hpp"
#include "Positions.hpp"

/// @file
/// The search that is linear for every pattern: all starts run at the same time.
///
/// Each position keeps the earliest start that reaches it; a later start that reaches it cannot
/// find anything else and is dropped. So each byte costs at most the number of edges. Once a match
/// is found, later starts are dropped, and the search ends when no start is left that could give an
/// earlier or longer match.

namespace ZEBNS2 {

/// Like Automaton::find, from the offset `from` on.
/// @param positions the automaton's positions
/// @par Cost subject times edges in the worst case; 24 KB of stack
Found findByThreads(Positions const& positions, Automaton::Mode mode, std::string_view subject,
                    std::size_t from, bool notLineStart, Span& span) noexcept;

}  // namespace ZEBNS2
