#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "regex/pattern/PatternReader.hpp"

namespace zeb::test {

/// Writes what PatternReader reads: "a|b*" is `alt{lit{a}rep0,{lit{b}}}`, nothing is `{}`. Parts of
/// a sequence follow one another; a repeat shows its bounds.
class PatternDump : public ZEBNS2::PatternBuilder {
public:
    using Fragment = std::string;
    using Group = std::uint32_t;

    static std::string of(std::string_view pattern, ZEBNS2::PatternSyntax syntax) {
        PatternDump dump;
        std::string whole;
        ZEBNS2::PatternReader<PatternDump> reader(pattern, syntax, dump);
        switch (reader.read(whole)) {
            case ZEBNS2::PatternEnd::COMPLETE:
                return whole;
            case ZEBNS2::PatternEnd::OPEN_GROUP:
                return "open group at " + std::to_string(reader.outermostOpening());
            default:
                return "refused";
        }
    }

    Fragment character(std::string_view bytes, bool escaped) {
        return named(escaped ? "esc" : "lit", bytes);
    }
    Fragment period() { return "any{}"; }
    Fragment bracket(std::string_view text, Members const&) { return named("set", text); }
    Fragment classEscape(char letter) { return named("class", {&letter, 1}); }
    Fragment anchor(ZEBNS2::PatternAnchor kind) {
        static constexpr char const* NAMES[] = {"^", "$", "`", "'", "<", ">", "b", "B"};
        return named("at", NAMES[static_cast<int>(kind)]);
    }
    Fragment backReference(std::uint32_t number) { return named("ref", std::to_string(number)); }
    Group openGroup(Group /*outer*/, Fragment const& /*before*/, std::uint32_t number) {
        return number;
    }
    Fragment closeGroup(Group group, Fragment const& inner) {
        return named("group" + std::to_string(group), inner);
    }
    Fragment sequence(Fragment const& first, Fragment const& second) { return first + second; }
    Fragment choice(Fragment const& first, Fragment const& second) {
        return named("alt", part(first) + part(second));
    }
    Fragment repeat(Fragment const& item, int least, int most) {
        std::string const last = most == ZEBNS2::PATTERN_UNLIMITED ? "" : std::to_string(most);
        return named("rep" + std::to_string(least) + ',' + last, item);
    }

private:
    static std::string part(std::string const& fragment) {
        return fragment.empty() ? "{}" : fragment;
    }
    static std::string named(std::string const& name, std::string_view text) {
        return name + '{' + std::string(text) + '}';
    }
};

}  // namespace zeb::test
