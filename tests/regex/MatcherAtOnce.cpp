// Linked into tests of the library, it lets the first search of each expression make the matcher.

#include "regex/matcher/LazyMatcher.hpp"

namespace {

struct MatcherAtOnce {
    MatcherAtOnce() { ZEBNS2::LazyMatcher::setMaking(ZEBNS2::LazyMatcher::Making::AT_ONCE); }
} const matcherAtOnce;

}  // namespace
