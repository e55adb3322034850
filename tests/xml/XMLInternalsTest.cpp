#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "LogCapture.hpp"
#include "Random.hpp"
#include "xml/XMLQuery.hpp"

namespace ZEBNS2 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::test::LogCapture;
using zeb::test::Random;
using zeb::xmltoolkit::XMLParserDOM;

std::string rendered(XMLQueryEntry const& entry) {
    std::ostringstream stream;
    stream << entry;
    return stream.str();
}

std::vector<std::string> renderedQuery(String const& query) {
    std::vector<std::string> steps;
    for (XMLQueryEntry const& entry : parseXMLQuery(query)) {
        steps.push_back(rendered(entry));
    }
    return steps;
}

// --------------------------------------------------------------------------------------- Parser

TEST(XMLQuery, IsParsedIntoSteps) {
    struct Row {
        char const* query;
        std::vector<std::string> steps;
    };
    std::vector<Row> const rows = {
        {"config.disk[id=5].partition", {"Name=config", "Name=disk[id=5]", "Name=partition"}},
        {"disk[id=5,type]", {"Name=disk[id=5,type=]"}},
        {"disk[id=5,type=raw]", {"Name=disk[id=5,type=raw]"}},
        {"disk[id=5][type=raw]", {"Name=disk[id=5,type=raw]"}},
        {"disk,id=5,type=raw", {"Name=disk[id=5,type=raw]"}},
        {"disk,id=5", {"Name=disk[id=5]"}},
        {"disk[id=5", {"Name=disk[id=5]"}},  // brackets need not balance
        {"]disk]id=5[", {"Name=disk[id=5]"}},
        {"[id=5]", {"Name=id=5"}},        // the first piece is the name
        {"\"\"[id=5]", {"Name=[id=5]"}},  // any name
        {"disk[ip=\"10.0.0.1\"]", {"Name=disk[ip=10.0.0.1]"}},
        {"disk[ip=10.0.0.1]", {"Name=disk[ip=10]", "Name=0", "Name=0", "Name=1"}},
        {"\"a.b\"[x=1]", {"Name=a.b[x=1]"}},
        {"a..b", {"Name=a", "Name=b"}},
        {"a. .b", {"Name=a", "Name=b"}},
        {"a.\"\".b", {"Name=a", "Name=b"}},
        {"a.[].b", {"Name=a", "Name=b"}},
        {"a.[,].b", {"Name=a", "Name=b"}},
        {".a.", {"Name=a"}},
        {" a \t.\n b ", {"Name=a", "Name=b"}},    // trimmed at both ends of a step
        {"disk [id=5]", {"Name=disk [id=5]"}},    // the blank belongs to the name
        {"disk[id = 5]", {"Name=disk[id = 5]"}},  // the blanks belong to name and value
        {"disk[ id=5 ]", {"Name=disk[id=5]"}},
        {"disk[=5]", {"Name=disk[5=]"}},
        {"disk[id=]", {"Name=disk[id=]"}},
        {"disk[\"\"=\"x\"]", {"Name=disk[=x]"}},  // a demand with an empty name
        {"disk[\"\"=\"\"]", {"Name=disk"}},
        {"disk[]", {"Name=disk"}},
        {"disk[,]", {"Name=disk"}},
        {"disk[ = ]", {"Name=disk"}},
        {"[ = ]", {"Name= = "}},  // the first piece is always the name
        {"disk[a==b]", {"Name=disk[a=b]"}},
        {"Disk[ID=5]", {"Name=Disk[ID=5]"}},
        {"disk[id=\"1=2\"]", {"Name=disk[id=1=2]"}},
        {"disk[\"a,b\"=\"[c]\"]", {"Name=disk[a,b=[c]]"}},
        {"a\\\"b.c", {"Name=a\\\"b", "Name=c"}},        // no closing quote: an ordinary byte
        {"\"a\\\".b\".c", {"Name=a\\\".b", "Name=c"}},  // the escaped one does not close
        {"\"a.b\\\".c", {"Name=a.b\\", "Name=c"}},      // ... unless no other follows
        {"\"a.b", {"Name=\"a", "Name=b"}},
        {"\"\"\"\"", {"Name=\"\""}},  // one pair is taken off
        {"", {}},
        {".", {}},
        {" ", {}},
        {"\"\"", {}},
        {"[]", {}},
        {"[,]", {}},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(renderedQuery(row.query), row.steps) << row.query;
    }
}

TEST(XMLQuery, NulIsAByteLikeAnyOther) {
    Array<XMLQueryEntry> const entries = parseXMLQuery(String("a\0b[c=\0]", 8));
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name, String("a\0b", 3));
    ASSERT_EQ(entries[0].attributes.size(), 1u);
    EXPECT_EQ(entries[0].attributes[0].second, String("\0", 1));
}

TEST(XMLQuery, TheAttributesOfAStepAreInTheOrderWritten) {
    XMLQueryEntry const entry = XMLQuery_parse_node_specifier(" disk[b=1][a][c=\"\"] ");
    EXPECT_EQ(entry.name, "disk");
    EXPECT_EQ(entry.attributes,
              (Array<std::pair<String, String>>{{"b", "1"}, {"a", ""}, {"c", ""}}));
}

TEST(XMLQuery, AStepOfNothingHasNoNameAndNoAttributes) {
    for (char const* const specifier : {"", " ", "[]", " ,[ ", "\"\""}) {
        XMLQueryEntry const entry = XMLQuery_parse_node_specifier(specifier);
        EXPECT_EQ(entry.name, "") << specifier;
        EXPECT_TRUE(entry.attributes.empty()) << specifier;
    }
}

TEST(XMLQuery, AnAttributeSpecifierIsNameAndValue) {
    using Pair = std::pair<String, String>;
    EXPECT_EQ(XMLQuery_parse_attribute_specifier(" id=5 "), Pair("id", "5"));
    EXPECT_EQ(XMLQuery_parse_attribute_specifier("id"), Pair("id", ""));
    EXPECT_EQ(XMLQuery_parse_attribute_specifier("\"id\"=\"a b\""), Pair("id", "a b"));
    EXPECT_EQ(XMLQuery_parse_attribute_specifier("="), Pair("", ""));
    EXPECT_EQ(XMLQuery_parse_attribute_specifier(" \t"), Pair("", ""));
    EXPECT_EQ(XMLQuery_parse_attribute_specifier("\"\""), Pair("", ""));
}

TEST(XMLQuery, MoreThanOneEqualsSignIsAnError) {
    struct Row {
        char const* query;
        char const* message;
    };
    constexpr Row ROWS[] = {
        {"disk[id=1=2]", "Too many attribute values in attribute specifier (3): id=1=2"},
        {"a.b[ x = 1 = 2 = ]", "Too many attribute values in attribute specifier (3): x = 1 = 2 ="},
        {"disk[a=b=c=d]", "Too many attribute values in attribute specifier (4): a=b=c=d"},
        {"disk[\"a=b\"=c=d]", "Too many attribute values in attribute specifier (3): \"a=b\"=c=d"},
        {"a[b,c==d==e]", "Too many attribute values in attribute specifier (3): c==d==e"},
    };
    for (Row const& row : ROWS) {
        try {
            static_cast<void>(parseXMLQuery(row.query));
            ADD_FAILURE() << row.query << " is accepted";
        } catch (OrventoXMLException const& exception) {
            EXPECT_STREQ(exception.getMessage(), row.message);
            EXPECT_STREQ(exception.getFile(), "OrventoXMLOperations");
            EXPECT_EQ(exception.getSubclassCode(), -1);
            EXPECT_EQ(exception.getErrorCode(), -1);
            EXPECT_EQ(exception.getChained(), nullptr);
        }
    }
}

TEST(XMLQuery, EntriesAreRenderedForMessages) {
    EXPECT_EQ(rendered({"disk", {{"id", "5"}, {"type", ""}}}), "Name=disk[id=5,type=]");
    EXPECT_EQ(rendered({"disk", {}}), "Name=disk");
    EXPECT_EQ(rendered({"", {{"id", "5"}}}), "Name=[id=5]");
    EXPECT_EQ(rendered({"", {}}), "Name=");
    EXPECT_EQ(String(Format("%1", XMLQueryEntry{"a", {{"b", "%1"}}})), "Name=a[b=%1]");
}

TEST(XMLQuery, EachStepOfTheParserIsLogged) {
    LogCapture const log;
    static_cast<void>(parseXMLQuery(" a . b [ id=5 , ] . "));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            "DEBUG zeb.common: XMLQueryParser: Parsing the XML query: \" a . b [ id=5 , ] . \"",
            "DEBUG zeb.common: XMLQueryParser: Parsing node specifier from \"a\"",
            "DEBUG zeb.common: XMLQueryParser: Parsing node specifier from \"b [ id=5 , ]\"",
            "DEBUG zeb.common: XMLQueryParser: Parsing attribute specifier from \"id=5\"",
            "DEBUG zeb.common: XMLQueryParser: Parsing attribute specifier from \"\"",
            "DEBUG zeb.common: XMLQueryParser: parse_attribute_specifier: Query empty.",
            "DEBUG zeb.common: XMLQueryParser: Parsing node specifier from \"\""));
}

TEST(XMLQuery, NothingIsLoggedBelowTheDebugLevel) {
    LogCapture const log(Logger::INFO_LEVEL);
    static_cast<void>(parseXMLQuery("a.b[ ]"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

// --------------------------------------------------------------------------------------- Search

TEST(XMLQueryEntryMatchesTest, DecidesByNameAndAttributes) {
    XMLNode const node = XMLParserDOM::parse("<Disk id='5' Type='raw'/>");
    EXPECT_TRUE(XMLQueryEntryMatches(node, {"disk", {}}));
    EXPECT_TRUE(XMLQueryEntryMatches(node, {"", {}}));
    EXPECT_TRUE(XMLQueryEntryMatches(node, {"", {{"ID", ""}}}));
    EXPECT_TRUE(XMLQueryEntryMatches(node, {"disk", {{"type", "RAW"}, {"id", "5"}}}));
    EXPECT_TRUE(XMLQueryEntryMatches(node, {"disk", {{"id", ""}, {"id", ""}}}));
    EXPECT_FALSE(XMLQueryEntryMatches(node, {"disk", {{"type", "x"}}}));
    EXPECT_FALSE(XMLQueryEntryMatches(node, {"disks", {}}));
    EXPECT_FALSE(XMLQueryEntryMatches(node, {"", {{"", "5"}}}));
    EXPECT_FALSE(XMLQueryEntryMatches(XMLNode(), {"disk", {}}));
}

TEST(RecursiveNodeSearchTest, WritesTheResultOnlyOnSuccess) {
    XMLNode const tree = XMLParserDOM::parse("<a><b/></a>");
    XMLNode const before = XMLParserDOM::parse("<before/>");
    XMLNode found = before;
    Array<XMLQueryEntry> const query = parseXMLQuery("a.c");
    EXPECT_FALSE(RecursiveNodeSearch(tree, query.begin(), query.end(), found));
    EXPECT_EQ(found.getName(), "before");
    EXPECT_FALSE(RecursiveNodeSearch(tree, query.end(), query.end(), found));
    EXPECT_EQ(found.getName(), "before");
    EXPECT_TRUE(RecursiveNodeSearch(tree, query.begin(), query.begin() + 1, found));
    EXPECT_EQ(found.getName(), "a");
}

TEST(RecursiveNodeSearchTest, WithoutStepsLogsTheNodeAlone) {
    LogCapture const log;
    XMLNode found;
    Array<XMLQueryEntry> const query;
    EXPECT_FALSE(
        RecursiveNodeSearch(XMLParserDOM::parse("<a/>"), query.begin(), query.end(), found));
    EXPECT_THAT(log.lines(), ElementsAre("DEBUG zeb.common: XMLNodeSearch: Querying node: <a/>"));
}

/// The search as it is described, level by level, by real recursion: what the loop must equal.
class ReferenceSearch {
public:
    bool search(XMLNode const& node, XMLQueryIterator current, XMLQueryIterator end,
                XMLNode& found) {
        say("Querying node: ", node.toString());
        if (current == end) {
            return false;
        }
        for (XMLNode candidate = node; !candidate.isNull(); candidate = candidate.getNext()) {
            if (!matches(candidate, *current)) {
                continue;
            }
            say("Node matches query entry... Recursing for further checks: ", candidate.toString());
            if (current + 1 == end) {
                say("Ran out of query... Must be a match: ", candidate.toString());
                found = candidate;
                return true;
            }
            XMLNode const child = candidate.getChild();
            if (child.isNull()) {
                say("Have more query than children for node \"",
                    candidate.getName() + "\".  Checking next sibling.");
            } else if (search(child, current + 1, end, found)) {
                say("Recursive checks found a match...", "");
                return true;
            }
        }
        return false;
    }

    std::vector<std::string> const& messages() const { return messages_; }

private:
    static bool matches(XMLNode const& node, XMLQueryEntry const& entry) {
        if (!entry.name.empty() && !node.getName().equalsIgnoreCase(entry.name)) {
            return false;
        }
        std::size_t count = 0;
        for (auto const& [name, value] : entry.attributes) {
            for (auto const& [nodeName, nodeValue] : node.getAttrs()) {
                bool const fits = nodeName.equalsIgnoreCase(name) &&
                                  (value.empty() || nodeValue.equalsIgnoreCase(value));
                count += fits ? 1 : 0;
            }
        }
        return count == entry.attributes.size();
    }

    void say(char const* text, String const& rest) {
        messages_.push_back("DEBUG zeb.common: XMLNodeSearch: " + std::string(text) +
                            std::string(std::string_view(rest)));
    }

    std::vector<std::string> messages_;
};

std::string randomTree(Random& random, int depth) {
    static constexpr std::string_view NAMES[] = {"a", "b", "A"};
    std::string xml = "<" + std::string(random.pick(NAMES));
    std::string const name = xml.substr(1);
    static constexpr std::string_view ATTRIBUTES[] = {
        "", "", " x='1'", " x='1' X='2'", " y='1'", " x='1' X='1'"};
    xml += random.pick(ATTRIBUTES);
    xml += " serial='" + random.text("0123456789", 6) + "'>";
    for (std::size_t i = depth == 0 ? 0 : random.below(4); i > 0; --i) {
        xml += randomTree(random, depth - 1);
    }
    return xml + "</" + name + ">";
}

std::string randomQuery(Random& random) {
    static constexpr std::string_view STEPS[] = {"a",    "b",      "\"\"[x]",     "a[x=1]",
                                                 "B[y]", "a[x,x]", "\"\"[serial]"};
    std::string query;
    for (std::size_t i = random.between(1, 5); i > 0; --i) {
        query += std::string(random.pick(STEPS)) + ".";
    }
    return query;
}

TEST(RecursiveNodeSearchTest, EqualsRealRecursionOnRandomTrees) {
    int successes = 0;
    for (std::uint32_t seed = 0; seed < 4000; ++seed) {
        Random random(seed);
        std::string const xml = randomTree(random, 5);
        XMLNode const tree = XMLParserDOM::parse(xml);
        String const text = randomQuery(random);
        SCOPED_TRACE("seed " + std::to_string(seed) + ", query " + text.c_str() + " on " + xml);
        Array<XMLQueryEntry> const query = parseXMLQuery(text);

        ReferenceSearch reference;
        XMLNode expected;
        bool const expectedResult = reference.search(tree, query.begin(), query.end(), expected);
        LogCapture const log(Logger::DEBUG_LEVEL);
        XMLNode found;
        ASSERT_EQ(RecursiveNodeSearch(tree, query.begin(), query.end(), found), expectedResult);
        ASSERT_EQ(found.toString(), expected.toString());
        ASSERT_EQ(log.lines(), reference.messages());
        successes += expectedResult ? 1 : 0;
    }
    EXPECT_GT(successes, 400);
    EXPECT_LT(successes, 3600);
}

}  // namespace

}  // namespace ZEBNS2
