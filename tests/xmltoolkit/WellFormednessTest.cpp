#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include "Parse.hpp"

using zeb::test::parse;
using zeb::test::rejection;
using zeb::test::sample;

namespace {

struct Row {
    std::string_view xml;
    char const* error;

    friend std::ostream& operator<<(std::ostream& out, Row const& row) { return out << row.xml; }
};

/// A row with an explicit length, for texts with NUL bytes.
template <std::size_t N>
constexpr std::string_view bytes(char const (&text)[N]) {
    return {text, N - 1};
}

class Rejected : public testing::TestWithParam<Row> {};

TEST_P(Rejected, WithLineColumnAndReason) {
    SCOPED_TRACE(GetParam().xml);
    EXPECT_EQ(rejection(GetParam().xml), GetParam().error);
}

constexpr Row DOCUMENT[] = {
    {"", "line 1, column 1: no element found"},
    {" \n  ", "line 2, column 3: no element found"},
    {"text", "line 1, column 1: syntax error"},
    {"<a>", "line 1, column 4: no element found"},
    {"<a/><b/>", "line 1, column 5: junk after document element"},
    {"<a/>text", "line 1, column 5: junk after document element"},
    {"text<a/>", "line 1, column 5: not well-formed (invalid token)"},
    {"<![CDATA[x]]><a/>", "line 1, column 1: syntax error"},
    {"<a/><![CDATA[x]]>", "line 1, column 5: junk after document element"},
    {"<a/>&#32;", "line 1, column 5: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(Document, Rejected, testing::ValuesIn(DOCUMENT));

constexpr Row TAGS[] = {
    {"<a></b>", "line 1, column 6: mismatched tag"},
    {"<A></a>", "line 1, column 6: mismatched tag"},  // case matters in XML
    {"<a><b></a></b>", "line 1, column 9: mismatched tag"},
    {"</a>", "line 1, column 2: not well-formed (invalid token)"},
    {"<a", "line 1, column 1: unclosed token"},
    {"<a\n\n", "line 1, column 1: unclosed token"},
    {"<1a/>", "line 1, column 2: not well-formed (invalid token)"},
    {"<-a/>", "line 1, column 2: not well-formed (invalid token)"},
    {"< a/>", "line 1, column 2: not well-formed (invalid token)"},
    {"<a/ >", "line 1, column 4: not well-formed (invalid token)"},
    {"<a></ a>", "line 1, column 6: not well-formed (invalid token)"},
    {"<a></a x='1'>", "line 1, column 8: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(Tags, Rejected, testing::ValuesIn(TAGS));

constexpr Row ATTRIBUTES[] = {
    {"<a x/>", "line 1, column 5: not well-formed (invalid token)"},
    {"<a x=1/>", "line 1, column 6: not well-formed (invalid token)"},
    {"<a x=\"1/>", "line 1, column 1: unclosed token"},
    {"<a x='1'y='2'/>", "line 1, column 9: not well-formed (invalid token)"},
    {"<a x='1' x='2'/>", "line 1, column 10: duplicate attribute"},
    {"<a x='<'/>", "line 1, column 7: not well-formed (invalid token)"},
    {"<a x='&'/>", "line 1, column 8: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(Attributes, Rejected, testing::ValuesIn(ATTRIBUTES));

constexpr Row REFERENCES[] = {
    {"<a>&</a>", "line 1, column 5: not well-formed (invalid token)"},
    {"<a>&lt</a>", "line 1, column 7: not well-formed (invalid token)"},
    {"<a>&;</a>", "line 1, column 5: not well-formed (invalid token)"},
    {"<a>&unknown;</a>", "line 1, column 4: undefined entity"},
    {"<a x='&unknown;'/>", "line 1, column 1: undefined entity"},
    {"<a>&#;</a>", "line 1, column 6: not well-formed (invalid token)"},
    {"<a>&#12a;</a>", "line 1, column 8: not well-formed (invalid token)"},
    {"<a>&#0;</a>", "line 1, column 4: reference to invalid character number"},
    {"<a>&#x1F;</a>", "line 1, column 4: reference to invalid character number"},
    {"<a>&#xD800;</a>", "line 1, column 4: reference to invalid character number"},
    {"<a>&#xFFFE;</a>", "line 1, column 4: reference to invalid character number"},
    {"<a>&#x110000;</a>", "line 1, column 4: reference to invalid character number"},
};
INSTANTIATE_TEST_SUITE_P(References, Rejected, testing::ValuesIn(REFERENCES));

constexpr Row CHARACTERS[] = {
    {"<a>\x01</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a>\xFF</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a>\xC3</a>", "line 1, column 4: not well-formed (invalid token)"},          // cut short
    {"<a>\xC0\x80</a>", "line 1, column 4: not well-formed (invalid token)"},      // overlong
    {"<a>\xED\xA0\x80</a>", "line 1, column 4: not well-formed (invalid token)"},  // surrogate
    {"<a>\xF4\x90\x80\x80</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a>\xEF\xBF\xBE</a>", "line 1, column 4: not well-formed (invalid token)"},  // U+FFFE
    {"<a>]]></a>", "line 1, column 6: not well-formed (invalid token)"},
    {bytes("\0"), "line 1, column 1: NUL character, or UTF-16 without its mark"},
    {bytes("\0<a/>"), "line 1, column 1: NUL character, or UTF-16 without its mark"},
    {bytes("<\0a/>"), "line 1, column 2: NUL character, or UTF-16 without its mark"},
    {bytes("<a\0/>"), "line 1, column 3: not well-formed (invalid token)"},
    {bytes("<a>x\0y</a>"), "line 1, column 5: not well-formed (invalid token)"},
    {bytes("<a x='\0'/>"), "line 1, column 7: not well-formed (invalid token)"},
    {bytes("<a/>\0"), "line 1, column 5: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(Characters, Rejected, testing::ValuesIn(CHARACTERS));

constexpr Row SECTIONS[] = {
    {"<a><![CDATA[", "line 1, column 13: unclosed CDATA section"},
    {"<a><![CDATA[x]]</a>", "line 1, column 20: unclosed CDATA section"},
    {"<a><![cdata[x]]></a>", "line 1, column 7: not well-formed (invalid token)"},
    {"<a><!-- x -- y --></a>", "line 1, column 13: not well-formed (invalid token)"},
    {"<a><!-- x ---></a>", "line 1, column 13: not well-formed (invalid token)"},
    {"<a><!-- x </a>", "line 1, column 4: unclosed token"},
    {"<a><?pi</a>", "line 1, column 8: not well-formed (invalid token)"},
    {"<a><? pi?></a>", "line 1, column 6: not well-formed (invalid token)"},
    {"<?XML version='1.0'?><a/>", "line 1, column 6: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(SectionsCommentsInstructions, Rejected, testing::ValuesIn(SECTIONS));

constexpr Row DECLARATIONS[] = {
    {" <?xml version='1.0'?><a/>",
     "line 1, column 2: XML or text declaration not at start of entity"},
    {"<a><?xml version='1.0'?></a>",
     "line 1, column 4: XML or text declaration not at start of entity"},
    {"<?xml?><a/>", "line 1, column 6: XML declaration not well-formed"},
    {"<?xml encoding='utf-8'?><a/>", "line 1, column 7: XML declaration not well-formed"},
    {"<?xml version=1.0?><a/>", "line 1, column 15: XML declaration not well-formed"},
    {"<?xml version='1.0' standalone='maybe'?><a/>",
     "line 1, column 33: XML declaration not well-formed"},
    {"<?xml version='1.0' standalone='yes' encoding='utf-8'?><a/>",
     "line 1, column 38: XML declaration not well-formed"},
    {"<?xml version='9'?><a/>", "line 1, column 1: XML version is not 1.x"},
    {"<?xml version='2.0'?><a/>", "line 1, column 1: XML version is not 1.x"},
    {"<?xml version='1.'?><a/>", "line 1, column 1: XML version is not 1.x"},
    {"<?xml version='1'?><a/>", "line 1, column 1: XML version is not 1.x"},
    {"<?xml version='1x0'?><a/>", "line 1, column 1: XML version is not 1.x"},
    {"<?xml version='1.0a'?><a/>", "line 1, column 1: XML version is not 1.x"},
    {"<?xml version='1.0' encoding='klingon'?><a/>", "line 1, column 31: unknown encoding"},
    {"<?xml version='1.0' encoding='utf-16'?><a/>",
     "line 1, column 31: encoding specified in XML declaration is incorrect"},
};
INSTANTIATE_TEST_SUITE_P(Declarations, Rejected, testing::ValuesIn(DECLARATIONS));

constexpr Row DOCUMENT_TYPES[] = {
    {"<!DOCTYPE><a/>", "line 1, column 10: not well-formed (invalid token)"},
    {"<!doctype a><a/>", "line 1, column 1: syntax error"},
    {"<!DOCTYPE a [<a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE a []><!DOCTYPE a []><a/>", "line 1, column 16: syntax error"},
    {"<a/><!DOCTYPE a>", "line 1, column 5: junk after document element"},
    {"<!DOCTYPE a [<!ELEMENT a>]><a/>", "line 1, column 25: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA>]><a/>", "line 1, column 33: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA '<'>]><a/>",
     "line 1, column 35: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<![INCLUDE[<!ELEMENT b ANY>]]>]><a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE a [<!ENTITY % p '<!ENTITY e \"%p;\">'> %p;]><a/>",
     "line 1, column 40: illegal parameter entity reference"},
};
INSTANTIATE_TEST_SUITE_P(DocumentTypes, Rejected, testing::ValuesIn(DOCUMENT_TYPES));

constexpr Row ENTITIES[] = {
    {"<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>", "line 1, column 36: recursive entity reference"},
    {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a>&e;</a>",
     "line 1, column 53: recursive entity reference"},
    {"<!DOCTYPE a [<!ENTITY e '<b>'>]><a>&e;</a>", "line 1, column 36: asynchronous entity"},
    {"<!DOCTYPE a [<!ENTITY e '<b></a>'>]><a>&e;", "line 1, column 40: mismatched tag"},
    {"<!DOCTYPE a [<!ENTITY e '&#60;'>]><a x='&e;'/>",
     "line 1, column 35: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 'f' NDATA n>]><a>&e;</a>",
     "line 1, column 49: reference to binary entity"},
};
INSTANTIATE_TEST_SUITE_P(Entities, Rejected, testing::ValuesIn(ENTITIES));

TEST(WellFormedness, AcceptsWhatLooksOdd) {
    constexpr std::string_view ACCEPTED[] = {
        "<a.b-c_d/>",
        "<:a/>",
        "<p:a q:b='1'/>",
        "<a></a >",
        "<a\n/>",
        "<a>]]</a>",
        "<a>></a>",
        "<a x='>'/>",
        "<a x=\"'\"/>",
        "<a>\x7F</a>",
        "\xEF\xBB\xBF<a/>",
        "<a/>\n<!-- x --><?pi?>\n",
        "<?xml version='1.1'?><a/>",
        "<?xml version='1.0123456789'?><a/>",
        "<?xml version='1.0' encoding='UTF-8' standalone='yes' ?><a/>",
        "<!DOCTYPE a><b/>"};
    for (std::string_view const xml : ACCEPTED) {
        EXPECT_EQ(rejection(xml), "") << xml;
    }
}

TEST(WellFormedness, EveryTruncationOfASampleIsRejected) {
    std::string const xml = sample();
    ASSERT_EQ(rejection(xml), "");
    for (std::size_t length = 0; length < xml.size(); ++length) {
        EXPECT_NE(rejection(std::string_view(xml).substr(0, length)), "") << length;
    }
}

TEST(WellFormedness, EveryByteOfASampleReplacedByNulIsRejected) {
    std::string const xml = sample();
    for (std::size_t position = 0; position < xml.size(); ++position) {
        std::string damaged = xml;
        damaged[position] = '\0';
        EXPECT_NE(rejection(damaged), "") << position;
    }
}

TEST(WellFormedness, EveryByteOfASampleReplacedByAnotherGivesAnAnswer) {
    std::string const xml = sample();
    std::size_t rejected = 0;
    for (std::size_t position = 0; position < xml.size(); ++position) {
        std::string damaged = xml;
        damaged[position] = "<>&'\"\xC3%;x"[position % 9];
        rejected += rejection(damaged).empty() ? 0 : 1;
    }
    EXPECT_GT(rejected, xml.size() / 4);
    EXPECT_LT(rejected, xml.size());
}

TEST(WellFormedness, LinesEndAtAnyLineEndAndColumnsCountCharacters) {
    EXPECT_EQ(rejection("<a>\n\r\n\r</b>"), "line 4, column 3: mismatched tag");
    EXPECT_EQ(rejection("<a>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80</b>"),
              "line 1, column 9: mismatched tag");
    EXPECT_EQ(rejection("<a>\n\n  &x;</a>"), "line 3, column 3: undefined entity");
}

}  // namespace
