#include "regex/pattern/PatternReader.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "PatternDump.hpp"
#include "Repeat.hpp"

namespace {

using zeb::test::PatternDump;
using zeb::test::repeat;
using ZEBNS2::PatternSyntax;

struct Row {
    char const* pattern;
    char const* dump;
};

void expectDumps(PatternSyntax syntax, Row const* rows, std::size_t count) {
    for (Row const* row = rows; row != rows + count; ++row) {
        EXPECT_EQ(PatternDump::of(row->pattern, syntax), row->dump) << row->pattern;
    }
}

TEST(PatternReader, ExtendedSyntax) {
    static constexpr Row ROWS[] = {
        {"", ""},
        {"ab", "lit{a}lit{b}"},
        {"(a|b*)c", "group1{alt{lit{a}rep0,{lit{b}}}}lit{c}"},
        {"a|b|c", "alt{alt{lit{a}lit{b}}lit{c}}"},
        {"a||b", "alt{alt{lit{a}{}}lit{b}}"},
        {"|", "alt{{}{}}"},
        {"()", "group1{}"},
        {"((a)(b))", "group1{group2{lit{a}}group3{lit{b}}}"},
        {"a+?", "rep0,1{rep1,{lit{a}}}"},
        {"ab*", "lit{a}rep0,{lit{b}}"},
        {"a{3}", "rep3,3{lit{a}}"},
        {"a{3,}", "rep3,{lit{a}}"},
        {"a{,3}", "rep0,3{lit{a}}"},
        {"a{,}", "rep0,{lit{a}}"},
        {"a{3,4}", "rep3,4{lit{a}}"},
        {"a{0}", "rep0,0{lit{a}}"},
        {"a{2\\0}", "rep20,20{lit{a}}"},
        {"a{1\\,2}", "rep1,2{lit{a}}"},
        {"a{32767}", "rep32767,32767{lit{a}}"},
        {"a{32768}", "refused"},
        {"a{2,1}", "refused"},
        {"a{}", "refused"},
        {"a{1", "refused"},
        {"a{x}", "refused"},
        {"a{1\\}", "refused"},
        {"{1}", "refused"},
        {"*a", "refused"},
        {"a|*b", "refused"},
        {"(+a)", "refused"},
        {"^*", "refused"},
        {"a)", "lit{a}lit{)}"},
        {")*", "rep0,{lit{)}}"},
        {"}", "lit{}}"},
        {"a^b$c", "lit{a}at{^}lit{b}at{$}lit{c}"},
        {"\\`\\'\\<\\>\\b\\B", "at{`}at{'}at{<}at{>}at{b}at{B}"},
        {"\\w\\W\\s\\S", "class{w}class{W}class{s}class{S}"},
        {"(a)\\1\\9", "group1{lit{a}}ref{1}ref{9}"},
        {"\\0\\d\\.\\(\\{", "esc{0}esc{d}esc{.}esc{(}esc{{}"},
        {"\\", "refused"},
        {".", "any{}"},
        {"\xC3\xA9*", "rep0,{lit{\xC3\xA9}}"},
        {"\\\xC3\xA9*", "rep0,{esc{\xC3\xA9}}"},
        {"\xA9\xA9*", "lit{\xA9}rep0,{lit{\xA9}}"},
        {"\xF0\x9F\x98\x80\x80", "lit{\xF0\x9F\x98\x80}lit{\x80}"},
        {"\xC3", "lit{\xC3}"},
        {"(a", "open group at 0"},
        {"a(b)(c(d", "open group at 4"},
        {"[(](", "open group at 3"},
        {"\\((", "open group at 2"},
        {"(a|*", "refused"},
    };
    expectDumps(PatternSyntax::EXTENDED, ROWS, std::size(ROWS));
}

TEST(PatternReader, BasicSyntax) {
    static constexpr Row ROWS[] = {
        {"a+?{1}(b)|c", "lit{a}lit{+}lit{?}lit{{}lit{1}lit{}}lit{(}lit{b}lit{)}lit{|}lit{c}"},
        {"a\\+b\\?c\\{1,2\\}", "rep1,{lit{a}}rep0,1{lit{b}}rep1,2{lit{c}}"},
        {"\\(a\\|b\\)\\1", "group1{alt{lit{a}lit{b}}}ref{1}"},
        {"*a", "lit{*}lit{a}"},
        {"\\(*a\\)", "group1{lit{*}lit{a}}"},
        {"a\\|*b", "alt{lit{a}lit{*}lit{b}}"},
        {"**", "rep0,{lit{*}}"},
        {"\\+a", "lit{+}lit{a}"},
        {"\\?a", "lit{?}lit{a}"},
        {"\\{1\\}", "refused"},
        {"^*", "at{^}lit{*}"},
        {"^a^", "at{^}lit{a}lit{^}"},
        {"\\(^a\\|^b\\)", "group1{alt{at{^}lit{a}at{^}lit{b}}}"},
        {"a\\(^b\\)", "lit{a}group1{at{^}lit{b}}"},
        {"a$", "lit{a}at{$}"},
        {"a$b", "lit{a}lit{$}lit{b}"},
        {"$*", "rep0,{lit{$}}"},
        {"\\(a$\\)$\\|b$", "alt{group1{lit{a}at{$}}at{$}lit{b}at{$}}"},
        {"\\}", "esc{}}"},
        {"a\\)", "refused"},
        {"a\\{1}", "refused"},
        {"a\\{1,2", "refused"},
        {"a\\(b", "open group at 1"},
        {"\\(a\\)\\(b\\(c\\)", "open group at 5"},
    };
    expectDumps(PatternSyntax::BASIC, ROWS, std::size(ROWS));
}

TEST(PatternReader, Brackets) {
    static constexpr Row ROWS[] = {
        {"[a-c]", "set{[a-c]}"},
        {"[]a]]", "set{[]a]}lit{]}"},
        {"[^]a]b", "set{[^]a]}lit{b}"},
        {"[[:alpha:]0]", "set{[[:alpha:]0]}"},
        {"[[.].]]x", "set{[[.].]]}lit{x}"},
        {"[[=]=]]x", "set{[[=]=]]}lit{x}"},
        {"[a-[.].]]x", "set{[a-[.].]]}lit{x}"},
        {"[\\]]", "set{[\\]}lit{]}"},  // no escapes in brackets
        {"[a-]x", "set{[a-]}lit{x}"},
        {"[--a]x", "set{[--a]}lit{x}"},
        {"[]-a]x", "set{[]-a]}lit{x}"},
        {"[[-a]x", "set{[[-a]}lit{x}"},
        {"[^]", "refused"},
        {"[a", "refused"},
        {"[a-", "refused"},
        {"[[:alpha:", "refused"},
        {"[[:alpha:]", "refused"},
        {"[a-[.b]", "refused"},
        {"[", "refused"},
    };
    for (PatternSyntax const syntax : {PatternSyntax::EXTENDED, PatternSyntax::BASIC}) {
        expectDumps(syntax, ROWS, std::size(ROWS));
    }
}

/// Writes what a bracket lists.
class MemberDump : public PatternDump {
public:
    struct Members {
        std::string text;

        void range(unsigned char first, unsigned char last) {
            text += static_cast<char>(first);
            if (last != first) {
                text += '-';
                text += static_cast<char>(last);
            }
            text += ' ';
        }
        void characterClass(std::string_view name) { text += std::string(name) + ' '; }
        void localeElement() { text += "? "; }
    };

    Members openBracket(bool negated) { return {negated ? "not " : ""}; }
    Fragment bracket(std::string_view, Members const& members) { return members.text; }
};

TEST(PatternReader, MembersOfBrackets) {
    static constexpr Row ROWS[] = {
        {"[abc]", "a b c "},      {"[^]-]", "not ] - "},
        {"[a-c-e]", "a-c - e "},  {"[a-c--]", "a-c - - "},
        {"[+--]", "+-- "},        {"[]-a]", "]-a "},
        {"[[-a]", "[-a "},        {"[[:digit:]a]", "digit a "},
        {"[[=a=][.b.]]", "? ? "}, {"[a-[.b.]c]", "a ? c "},
        {"[[.a.]-z]", "? - z "},
    };
    for (Row const& row : ROWS) {
        MemberDump dump;
        std::string members;
        ZEBNS2::PatternReader<MemberDump> reader(row.pattern, PatternSyntax::EXTENDED, dump);
        EXPECT_EQ(reader.read(members), ZEBNS2::PatternEnd::COMPLETE) << row.pattern;
        EXPECT_EQ(members, row.dump) << row.pattern;
    }
}

/// Stops after some characters.
class Stopping : public PatternDump {
public:
    explicit Stopping(int characters) : left_(characters) {}
    bool stopped() const { return left_ == 0; }
    Fragment character(std::string_view bytes, bool escaped) {
        --left_;
        return PatternDump::character(bytes, escaped);
    }
    int left() const { return left_; }

private:
    int left_;
};

TEST(PatternReader, BuilderCanStopIt) {
    std::string whole = "unchanged";
    Stopping stopping(2);
    EXPECT_EQ(ZEBNS2::PatternReader<Stopping>("abc)(", PatternSyntax::BASIC, stopping).read(whole),
              ZEBNS2::PatternEnd::STOPPED);
    EXPECT_EQ(stopping.left(), 0);
    EXPECT_EQ(whole, "unchanged");
}

TEST(PatternReader, DepthTakesNoStack) {
    std::size_t const depth = 65536;
    std::string const dump = PatternDump::of(repeat("(", depth), PatternSyntax::EXTENDED);
    EXPECT_EQ(dump, "open group at 0");
}

}  // namespace
