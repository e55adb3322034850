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
    {"<!-- alone -->", "line 1, column 15: no element found"},
    {"<?pi alone?>", "line 1, column 13: no element found"},
    {"<!DOCTYPE a []>text<a/>", "line 1, column 20: not well-formed (invalid token)"},
    {"<a/></a>", "line 1, column 6: not well-formed (invalid token)"},
    {"<a/>]]>", "line 1, column 5: junk after document element"},
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
    {"<a>\xC3", "line 1, column 4: partial character"},  // the text ends in it
    {"<a/>\xE2\x82", "line 1, column 5: partial character"},
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
    {"<a><![CDATA[x]]>]]></a>",
     "line 1, column 19: not well-formed (invalid token)"},  // they are not nested
    {"<a><![INCLUDE[x]]></a>", "line 1, column 7: not well-formed (invalid token)"},
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
    {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&g;'><!ENTITY g '&e;'>]><a>&e;</a>",
     "line 1, column 70: recursive entity reference"},
    {"<!DOCTYPE a [<!ENTITY % p '&#37;q;'><!ENTITY % q '&#37;p;'>%p;]><a/>",
     "line 1, column 60: recursive entity reference"},
    {"<!DOCTYPE a [<!ENTITY % p 'text'>%p;]><a/>",
     "line 1, column 34: syntax error"},  // no declarations
    {"<!DOCTYPE a [<!ENTITY e '&#60;b>'>]><a>&e;</a>", "line 1, column 40: asynchronous entity"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA '&e;'><!ENTITY e ''>]><a/>",
     "line 1, column 34: undefined entity"},  // declared too late
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 'f'><!ENTITY g '&e;'>]><a x='&g;'/>",
     "line 1, column 55: reference to external entity in attribute"},
};
INSTANTIATE_TEST_SUITE_P(Entities, Rejected, testing::ValuesIn(ENTITIES));

constexpr Row DECLARED_ELEMENTS[] = {
    {"<!DOCTYPE a [<!ELEMENT>]><a/>", "line 1, column 23: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ELEMENT a EMPTY >x]><a/>",
     "line 1, column 34: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ELEMENT a empty>]><a/>", "line 1, column 26: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a ()>]><a/>", "line 1, column 27: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (b,c|d)>]><a/>", "line 1, column 30: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (b c)>]><a/>", "line 1, column 29: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (b,)>]><a/>", "line 1, column 29: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (b>]><a/>", "line 1, column 28: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a b>]><a/>", "line 1, column 26: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (b) *>]><a/>", "line 1, column 30: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ELEMENT a (b * )>]><a/>",
     "line 1, column 29: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ELEMENT a (b?+)>]><a/>", "line 1, column 29: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ELEMENT a (#PCDATA|b)>]><a/>", "line 1, column 36: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (b|#PCDATA)*>]><a/>", "line 1, column 29: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (#PCDATA,b)*>]><a/>",
     "line 1, column 34: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ELEMENT a (#PCDATA)+>]><a/>", "line 1, column 34: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (#pcdata)>]><a/>", "line 1, column 27: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (#CDATA)>]><a/>", "line 1, column 27: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a ANY EMPTY>]><a/>", "line 1, column 30: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a ANY -- x -->]><a/>", "line 1, column 30: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a (b&c)>]><a/>", "line 1, column 28: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ELEMENT (a|b) ANY>]><a/>", "line 1, column 24: syntax error"},
    {"<!DOCTYPE a [<!ELEMENT a - - ANY>]><a/>", "line 1, column 26: syntax error"},
    {"<!DOCTYPE a [<!ELEMENTa ANY>]><a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE a [<!ENTITY % p '<!ELEMENT b '>%p; ANY>]><a/>",
     "line 1, column 42: incomplete markup in parameter entity"},
    {"<!DOCTYPE a [<!ENTITY % p 'ANY'><!ELEMENT b %p;>]><a/>",
     "line 1, column 45: illegal parameter entity reference"},
    {"<a/><!ELEMENT a ANY>", "line 1, column 5: junk after document element"},
    {"<a><!ELEMENT a ANY></a>", "line 1, column 6: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(DeclaredElements, Rejected, testing::ValuesIn(DECLARED_ELEMENTS));

constexpr Row DECLARED_ATTRIBUTES[] = {
    {"<!DOCTYPE a [<!ATTLIST a x>]><a/>", "line 1, column 27: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x NUMBER '1'>]><a/>", "line 1, column 28: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA #required>]><a/>", "line 1, column 34: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA #FIXED>]><a/>", "line 1, column 40: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA #CURRENT>]><a/>", "line 1, column 34: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x () 'b'>]><a/>", "line 1, column 29: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x (b,c) 'b'>]><a/>", "line 1, column 30: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x (b|'c') 'b'>]><a/>",
     "line 1, column 34: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ATTLIST a x (b c) 'b'>]><a/>", "line 1, column 31: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x (b|c)'b'>]><a/>",
     "line 1, column 33: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ATTLIST a x NOTATION () 'b'>]><a/>", "line 1, column 38: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x NOTATION(b) 'b'>]><a/>",
     "line 1, column 36: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA b>]><a/>", "line 1, column 34: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x cdata 'b'>]><a/>", "line 1, column 28: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA 'b' y>]><a/>", "line 1, column 39: syntax error"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA 'b'y CDATA 'c'>]><a/>",
     "line 1, column 37: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA '&u;'>]><a/>", "line 1, column 34: undefined entity"},
    {"<!DOCTYPE a [<!ATTLIST a x CDATA '&'>]><a/>",
     "line 1, column 35: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ATTLIST (a|b) x CDATA 'c'>]><a/>", "line 1, column 24: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 'f'><!ATTLIST a x CDATA '&e;'>]><a/>",
     "line 1, column 57: reference to external entity in attribute"},
    {"<!DOCTYPE a [<!ENTITY e '&e;'><!ATTLIST a x CDATA '&e;'>]><a/>",
     "line 1, column 51: recursive entity reference"},
};
INSTANTIATE_TEST_SUITE_P(DeclaredAttributes, Rejected, testing::ValuesIn(DECLARED_ATTRIBUTES));

constexpr Row DECLARED_NOTATIONS[] = {
    {"<!DOCTYPE a [<!NOTATION>]><a/>", "line 1, column 24: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!NOTATION n>]><a/>", "line 1, column 26: syntax error"},
    {"<!DOCTYPE a [<!NOTATION n PUBLIC>]><a/>", "line 1, column 33: syntax error"},
    {"<!DOCTYPE a [<!NOTATION n PUBLIC '\x7F'>]><a/>",
     "line 1, column 35: illegal character(s) in public id"},
    {"<!DOCTYPE a [<!NOTATION n SYSTEM>]><a/>", "line 1, column 33: syntax error"},
    {"<!DOCTYPE a [<!NOTATION n 'x'>]><a/>", "line 1, column 27: syntax error"},
};
INSTANTIATE_TEST_SUITE_P(DeclaredNotations, Rejected, testing::ValuesIn(DECLARED_NOTATIONS));

constexpr Row DECLARED_ENTITIES[] = {
    {"<!DOCTYPE a [<!ENTITY>]><a/>", "line 1, column 22: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e>]><a/>", "line 1, column 24: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e v>]><a/>", "line 1, column 25: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e 'v' NDATA n>]><a/>", "line 1, column 29: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e SYSTEM>]><a/>", "line 1, column 31: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e PUBLIC 'p'>]><a/>", "line 1, column 35: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e PUBLIC '\x07' 's'>]><a/>",
     "line 1, column 33: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 's'NDATA n>]><a/>",
     "line 1, column 35: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 's' ndata n>]><a/>", "line 1, column 36: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 's' NDATA>]><a/>", "line 1, column 41: syntax error"},
    {"<!DOCTYPE a [<!ENTITY % e SYSTEM 's' NDATA n>]><a/>", "line 1, column 38: syntax error"},
    {"<!DOCTYPE a [<!ENTITY %e 'v'>]><a/>", "line 1, column 25: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY 1e 'v'>]><a/>", "line 1, column 23: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e '&'>]><a/>", "line 1, column 26: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e '&#x;'>]><a/>", "line 1, column 29: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e '%'>]><a/>", "line 1, column 26: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e '%u;'>]><a/>",
     "line 1, column 26: illegal parameter entity reference"},
    {"<!DOCTYPE a [<!ENTITY e 'v' 'w'>]><a/>", "line 1, column 29: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e \"v'>]><a/>", "line 1, column 25: unclosed token"},
    {"<!DOCTYPE a [<!ENTITY e '\x01'>]><a/>", "line 1, column 26: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!entity e 'v'>]><a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 'f'>]><a x='&e;'/>",
     "line 1, column 44: reference to external entity in attribute"},
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 'f' NDATA n>]><a x='&e;'/>",
     "line 1, column 52: reference to binary entity"},
    {"<!DOCTYPE a [<!ENTITY e '<b/>'>]><a x='&e;'/>",
     "line 1, column 34: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e '</a><a>'>]><a>&e;</a>", "line 1, column 40: asynchronous entity"},
    {"<!DOCTYPE a [<!ENTITY e '<!--'>]><a>&e;--></a>", "line 1, column 37: unclosed token"},
    {"<!DOCTYPE a [<!ENTITY e '<![CDATA['>]><a>&e;]]></a>",
     "line 1, column 42: unclosed CDATA section"},
    {"<!DOCTYPE a [<!ENTITY e '<?xml version=\"1.0\"?>'>]><a>&e;</a>",
     "line 1, column 54: XML or text declaration not at start of entity"},
    {"<!DOCTYPE a [<!ENTITY e '&#38;'>]><a>&e;</a>", "line 1, column 38: unclosed token"},
    {"<!DOCTYPE a [<!ENTITY e '&u;'>]><a>&e;</a>", "line 1, column 36: undefined entity"},
    {"<!DOCTYPE a [<!ENTITY e ']]&#62;'>]><a>&e;</a>",
     "line 1, column 40: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<!ENTITY e '&e;'>]><a x='&e;'/>",
     "line 1, column 33: recursive entity reference"},
    {"<!DOCTYPE a [<!ENTITY % p '%p;'> %p;]><a/>",
     "line 1, column 28: illegal parameter entity reference"},
    {"<!DOCTYPE a [<!ENTITY % p \"&#37;p;\"> %p;]><a/>",
     "line 1, column 38: recursive entity reference"},
    {"<?xml version='1.0' standalone='yes'?><!DOCTYPE a [<!ENTITY % p SYSTEM 's'> %p;]><a>&e;</a>",
     "line 1, column 85: undefined entity"},
};
INSTANTIATE_TEST_SUITE_P(DeclaredEntities, Rejected, testing::ValuesIn(DECLARED_ENTITIES));

constexpr Row XML_DECLARATIONS[] = {
    {"<?Xml version='1.0'?><a/>", "line 1, column 6: not well-formed (invalid token)"},
    {"<?xML x?><a/>", "line 1, column 6: not well-formed (invalid token)"},
    {"<a/><?xml version='1.0'?>", "line 1, column 5: junk after document element"},
    {"<!-- x --><?xml version='1.0'?><a/>",
     "line 1, column 11: XML or text declaration not at start of entity"},
    {"<?xml version=\"1.0' ?><a/>", "line 1, column 19: XML declaration not well-formed"},
    {"<?xml version='1.0'encoding='utf-8'?><a/>",
     "line 1, column 20: XML declaration not well-formed"},
    {"<?xml version='1.0' version='1.0'?><a/>",
     "line 1, column 21: XML declaration not well-formed"},
    {"<?xml version='1.0' encoding='utf-8' encoding='utf-8'?><a/>",
     "line 1, column 38: XML declaration not well-formed"},
    {"<?xml version='1.0' encoding=''?><a/>", "line 1, column 31: XML declaration not well-formed"},
    {"<?xml version='1.0' encoding='1utf'?><a/>",
     "line 1, column 31: XML declaration not well-formed"},
    {"<?xml version='1.0' encoding=utf-8?><a/>",
     "line 1, column 30: XML declaration not well-formed"},
    {"<?xml version='1.0' standalone='YES'?><a/>",
     "line 1, column 33: XML declaration not well-formed"},
    {"<?xml version='1.0' standalone=''?><a/>",
     "line 1, column 33: XML declaration not well-formed"},
    {"<?xml version='1.0' foo='bar'?><a/>", "line 1, column 21: XML declaration not well-formed"},
    {"<?xml version='1.0'><a/>", "line 1, column 1: unclosed token"},
    {"<?xml version='1.0'", "line 1, column 1: unclosed token"},
    {"<?xml Version='1.0'?><a/>", "line 1, column 7: XML declaration not well-formed"},
    {"<?xml version=''?><a/>", "line 1, column 1: XML version is not 1.x"},
    {"<?xml version='1.0' ><a/>", "line 1, column 1: unclosed token"},
    {"<?xml version = '1.0' encoding = \"x y\"?><a/>",
     "line 1, column 36: XML declaration not well-formed"},
    {"<?xml version='1.0' encoding='us-ascii'?><a>\xE9</a>",
     "line 1, column 45: not well-formed (invalid token)"},
    {"<?xml version='1.0' encoding='utf-8'?><a>\xE9</a>",
     "line 1, column 42: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<?xml version='1.0'?>]><a/>",
     "line 1, column 14: XML or text declaration not at start of entity"},
    {"<!DOCTYPE a [<?XML x?>]><a/>", "line 1, column 19: not well-formed (invalid token)"},
    {"<?xml version='1.0' standalone='yes'?><!DOCTYPE a SYSTEM 's'><a>&e;</a>",
     "line 1, column 65: undefined entity"},
};
INSTANTIATE_TEST_SUITE_P(XMLDeclarations, Rejected, testing::ValuesIn(XML_DECLARATIONS));

constexpr Row SUBSETS[] = {
    {"<!DOCTYPE a SYSTEM><a/>", "line 1, column 19: syntax error"},
    {"<!DOCTYPE a PUBLIC 'p'><a/>", "line 1, column 23: syntax error"},
    {"<!DOCTYPE a PUBLIC '{' 's'><a/>", "line 1, column 21: illegal character(s) in public id"},
    {"<!DOCTYPE a PUBLIC 'p''s'><a/>", "line 1, column 23: not well-formed (invalid token)"},
    {"<!DOCTYPE a SYSTEM 's' 't'><a/>", "line 1, column 24: syntax error"},
    {"<!DOCTYPE a SYSTEM \"s><a/>", "line 1, column 20: unclosed token"},
    {"<!DOCTYPE a [>]><a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE a [x]><a/>", "line 1, column 15: not well-formed (invalid token)"},
    {"<!DOCTYPE a []", "line 1, column 15: no element found"},
    {"<!DOCTYPE a [] [] ><a/>", "line 1, column 16: syntax error"},
    {"<!DOCTYPE a [<! ELEMENT a ANY>]><a/>", "line 1, column 16: not well-formed (invalid token)"},
    {"<!DOCTYPE a [% p;]><a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE a [%p]><a/>", "line 1, column 16: not well-formed (invalid token)"},
    {"<!DOCTYPE a [&e;]><a/>", "line 1, column 14: not well-formed (invalid token)"},
    {"<!DOCTYPE a [&#32;]><a/>", "line 1, column 14: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<![IGNORE[x]]>]><a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE a [<![CDATA[x]]>]><a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE a [<!-- x -- y -->]><a/>", "line 1, column 23: not well-formed (invalid token)"},
    {"<!DOCTYPE a [<a/>]><a/>", "line 1, column 14: syntax error"},
    {"<!DOCTYPE 1a><a/>", "line 1, column 11: syntax error"},
    {"<!DOCTYPEa><a/>", "line 1, column 11: not well-formed (invalid token)"},
    {"<!DOCTYPE a>", "line 1, column 13: no element found"},
    {"<a><!DOCTYPE a></a>", "line 1, column 6: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(Subsets, Rejected, testing::ValuesIn(SUBSETS));

constexpr Row COMMENTS_AND_INSTRUCTIONS[] = {
    {"<!-- \x01 --><a/>", "line 1, column 6: not well-formed (invalid token)"},
    {"<?pi \x01?><a/>", "line 1, column 6: not well-formed (invalid token)"},
    {"<!-- -- --><a/>", "line 1, column 8: not well-formed (invalid token)"},
    {"<!--><a/>", "line 1, column 1: unclosed token"},
    {"<!-><a/>", "line 1, column 4: not well-formed (invalid token)"},
    {"<! -- x --><a/>", "line 1, column 3: not well-formed (invalid token)"},
    {"<!- x --><a/>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a/><!-- x", "line 1, column 5: unclosed token"},
    {"<a/><?pi", "line 1, column 5: unclosed token"},
    {"<?"
     "?><a/>",
     "line 1, column 3: not well-formed (invalid token)"},
    {"<?1?><a/>", "line 1, column 3: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(CommentsAndInstructions, Rejected,
                         testing::ValuesIn(COMMENTS_AND_INSTRUCTIONS));

constexpr Row MORE_REFERENCES[] = {
    {"<a>&lt;</a", "line 1, column 8: unclosed token"},
    {"<a/>&e;", "line 1, column 5: not well-formed (invalid token)"},
    {"&e;<a/>", "line 1, column 1: not well-formed (invalid token)"},
    {"&#97;", "line 1, column 1: not well-formed (invalid token)"},
    {"<a>&#x;</a>", "line 1, column 7: not well-formed (invalid token)"},
    {"<a>&#xG;</a>", "line 1, column 7: not well-formed (invalid token)"},
    {"<a>&#X41;</a>", "line 1, column 6: not well-formed (invalid token)"},
    {"<a>&#-1;</a>", "line 1, column 6: not well-formed (invalid token)"},
    {"<a>&#65536000000;</a>", "line 1, column 4: reference to invalid character number"},
    {"<a>&#11;</a>", "line 1, column 4: reference to invalid character number"},
    {"<a>&#xDFFF;</a>", "line 1, column 4: reference to invalid character number"},
    {"<a>&#xFFFF;</a>", "line 1, column 4: reference to invalid character number"},
    {"<a>& amp;</a>", "line 1, column 5: not well-formed (invalid token)"},
    {"<a>&amp ;</a>", "line 1, column 8: not well-formed (invalid token)"},
    {"<a>&1;</a>", "line 1, column 5: not well-formed (invalid token)"},
    {"<a>&.e;</a>", "line 1, column 5: not well-formed (invalid token)"},
    {"<a>%e;]]></a>", "line 1, column 9: not well-formed (invalid token)"},
    {"<a>]]&gt;]]></a>", "line 1, column 12: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(ReferencesAndText, Rejected, testing::ValuesIn(MORE_REFERENCES));

constexpr Row ENCODED_CHARACTERS[] = {
    {"<a x='\x01'/>", "line 1, column 7: not well-formed (invalid token)"},
    {"<a x='\xFF'/>", "line 1, column 7: not well-formed (invalid token)"},
    {bytes("<a\x00/>"), "line 1, column 3: not well-formed (invalid token)"},
    {"<a\xC3\x97/>", "line 1, column 3: not well-formed (invalid token)"},
    {"<\xCC\x80"
     "a/>",
     "line 1, column 2: not well-formed (invalid token)"},
    {"<a\xEF\xBF\xBF/>", "line 1, column 3: not well-formed (invalid token)"},
    {"<a>\x1F</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a>\xEF\xBF\xBF</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a><![CDATA[\x01]]></a>", "line 1, column 13: not well-formed (invalid token)"},
    {"\xEF\xBB\xBF\xEF\xBB\xBF<a/>", "line 1, column 2: not well-formed (invalid token)"},
    {"\xEF\xBB<a/>", "line 1, column 1: not well-formed (invalid token)"},
    {"<a>\xF8\x88\x80\x80\x80</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a>\xE0\x80\x80</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a>\xF0\x80\x80\x80</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a>\x80</a>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a>\xE2\x82</a>", "line 1, column 4: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(EncodedCharacters, Rejected, testing::ValuesIn(ENCODED_CHARACTERS));

constexpr Row MORE_TAGS[] = {
    {"<a x='1' x='1'></a>", "line 1, column 10: duplicate attribute"},
    {"<a b:c='1' b:c='2'/>", "line 1, column 12: duplicate attribute"},
    {"<a><b/></a></b>", "line 1, column 13: not well-formed (invalid token)"},
    {"<a></>", "line 1, column 6: not well-formed (invalid token)"},
    {"<>", "line 1, column 2: not well-formed (invalid token)"},
    {"<a =''/>", "line 1, column 4: not well-formed (invalid token)"},
    {"<a x =/>", "line 1, column 7: not well-formed (invalid token)"},
    {"<a x=''' />", "line 1, column 8: not well-formed (invalid token)"},
    {"<a x=\"a\"b\"/>", "line 1, column 9: not well-formed (invalid token)"},
    {"<a x='1' / >", "line 1, column 11: not well-formed (invalid token)"},
    {"<a<b/>", "line 1, column 3: not well-formed (invalid token)"},
};
INSTANTIATE_TEST_SUITE_P(TagsAndAttributes, Rejected, testing::ValuesIn(MORE_TAGS));

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
        "<!DOCTYPE a><b/>",
        "<p:a xmlns:p=''/>",       // namespaces are ignored
        "<!DOCTYPE a [%p;]><a/>",  // an undeclared parameter entity makes it invalid only
        "<!DOCTYPE a SYSTEM 's'><a>&e;</a>",  // it may be declared where nothing is read
        "<!DOCTYPE a [<!ENTITY % p SYSTEM 's'> %p; <!ENTITY e 'v'>]><a>&e;</a>"};
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
