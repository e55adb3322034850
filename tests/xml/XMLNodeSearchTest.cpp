#include <OrventoXMLOperations.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <zeb/foundation/Logger.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include "LogCapture.hpp"
#include "Repeat.hpp"

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::StartsWith;
using zeb::foundation::Logger;
using zeb::test::LogCapture;
using zeb::test::repeat;
using zeb::xmltoolkit::XMLParserDOM;
using ZEBNS2::OrventoXMLException;
using ZEBNS2::String;
using ZEBNS2::XMLNode;
using ZEBNS2::XMLNodeSearch;

constexpr char CONFIG[] =
    "<config>"
    "<disk id=\"1\" type=\"raw\"><partition n=\"p1\"/></disk>"
    "<disk id=\"2\"><partition n=\"p2\"/><partition n=\"p3\"/></disk>"
    "</config>";

XMLNode config() { return XMLParserDOM::parse(CONFIG); }

// ------------------------------------------------------------------------------------- Results

TEST(XMLNodeSearchTest, FindsWhatTheQueryDescribes) {
    struct Row {
        char const* query;
        char const* found;
    };
    constexpr Row ROWS[] = {
        {"config.disk.partition", "<partition n=\"p1\"/>"},  // first in document order
        {"config.disk[id=2].partition", "<partition n=\"p2\"/>"},
        {"config.disk.partition[n=p3]", "<partition n=\"p3\"/>"},  // after the first disk failed
        {"CONFIG.Disk[ID=2]", "<disk id=\"2\"><partition n=\"p2\"/><partition n=\"p3\"/></disk>"},
        {"config.disk[type=RAW]", "<disk id=\"1\" type=\"raw\"><partition n=\"p1\"/></disk>"},
        {"config.disk[type]", "<disk id=\"1\" type=\"raw\"><partition n=\"p1\"/></disk>"},
        {"config.disk[id,id]", "<disk id=\"1\" type=\"raw\"><partition n=\"p1\"/></disk>"},
        {"config.\"\"[id=2].\"\"[n=p3]", "<partition n=\"p3\"/>"},
        {"config.disk[size]", ""},
        {"config", CONFIG},
        {"", CONFIG},
        {".", CONFIG},
        {"disk", ""},  // the first step is never tried on children
        {"partition", ""},
        {"config.partition", ""},  // no step skips a level
        {"config.disk.partition.x", ""},
        {"config.disk[id=3]", ""},
        {"config.disk[id=1][type=x]", ""},
    };
    for (Row const& row : ROWS) {
        EXPECT_EQ(XMLNodeSearch(config(), row.query).toString(), row.found) << row.query;
    }
}

TEST(XMLNodeSearchTest, SearchesTheSiblingsThatFollowTheStartNode) {
    XMLNode const first = config().getChild();
    XMLNode const second = first.getNext();
    EXPECT_EQ(XMLNodeSearch(first, "\"\"[id=2]").toString(), second.toString());
    EXPECT_EQ(XMLNodeSearch(first, "disk.partition[n=p3]").toString(), "<partition n=\"p3\"/>");
    // Not those before it.
    EXPECT_TRUE(XMLNodeSearch(second, "disk[id=1]").isNull());
}

TEST(XMLNodeSearchTest, NeverGoesUpFromTheStartNode) {
    XMLNode const tree = XMLParserDOM::parse("<a><b><c/></b><d><e/></d></a>");
    EXPECT_TRUE(XMLNodeSearch(tree.getChild().getChild(), "d").isNull());
    EXPECT_TRUE(XMLNodeSearch(tree.getChild().getChild(), "c.d").isNull());
    EXPECT_EQ(XMLNodeSearch(tree.getChild(), "d.e").getName(), "e");
}

TEST(XMLNodeSearchTest, AnyWordStandsForTheSameCharactersOfEitherCase) {
    XMLNode const tree = XMLParserDOM::parse("<Map KEY='Value'/>");
    EXPECT_TRUE(XMLNodeSearch(tree, "mAP[key=vALUE]"));
    EXPECT_TRUE(XMLNodeSearch(tree, "map[key=values]").isNull());
    EXPECT_TRUE(XMLNodeSearch(tree, "map[keys]").isNull());
    EXPECT_TRUE(XMLNodeSearch(tree, "ma").isNull());
    // Letters beyond ASCII have one case.
    EXPECT_TRUE(XMLNodeSearch(XMLParserDOM::parse("<\xC3\xA4/>"), "\xC3\x84").isNull());
}

TEST(XMLNodeSearchTest, AttributesThatDifferInCaseAloneAreBothCounted) {
    XMLNode const same = XMLParserDOM::parse("<x id='1' ID='1'/>");
    XMLNode const different = XMLParserDOM::parse("<x id='1' ID='2'/>");
    EXPECT_TRUE(XMLNodeSearch(same, "x[id=1]").isNull());
    EXPECT_TRUE(XMLNodeSearch(different, "x[id=1]"));
    EXPECT_TRUE(XMLNodeSearch(different, "x[id=2]"));
    EXPECT_TRUE(XMLNodeSearch(different, "x[id]").isNull());
    // Equality of counts, not of the attributes: two for one demand, none for the other.
    EXPECT_TRUE(XMLNodeSearch(same, "x[id,size]"));
}

TEST(XMLNodeSearchTest, ANullStartNodeFindsNothing) {
    EXPECT_TRUE(XMLNodeSearch(XMLNode(), "config").isNull());
    EXPECT_TRUE(XMLNodeSearch(XMLNode(), "").isNull());
}

TEST(XMLNodeSearchTest, TheResultKeepsTheTreeAlive) {
    EXPECT_EQ(XMLNodeSearch(config(), "config.disk.partition").getAttrs()[0].second, "p1");
}

TEST(XMLNodeSearchTest, AFaultyQueryThrowsBeforeAnyNodeIsExamined) {
    LogCapture const log;
    try {
        static_cast<void>(XMLNodeSearch(config(), "config.disk[id=1=2]"));
        FAIL() << "accepted";
    } catch (OrventoXMLException const& exception) {
        EXPECT_STREQ(exception.getMessage(),
                     "Too many attribute values in attribute specifier (3): id=1=2");
        EXPECT_STREQ(exception.getFile(), "OrventoXMLOperations");
        EXPECT_GT(exception.getLine(), 0);
        EXPECT_EQ(exception.getSubclassCode(), -1);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getChained(), nullptr);
    }
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            std::string("DEBUG zeb.common: XMLNodeSearch: Using xml query "
                        "\"config.disk[id=1=2]\" on node: ") +
                CONFIG,
            "DEBUG zeb.common: XMLQueryParser: Parsing the XML query: "
            "\"config.disk[id=1=2]\"",
            "DEBUG zeb.common: XMLQueryParser: Parsing node specifier from \"config\"",
            "DEBUG zeb.common: XMLQueryParser: Parsing node specifier from \"disk[id=1=2]\"",
            "DEBUG zeb.common: XMLQueryParser: Parsing attribute specifier from \"id=1=2\""));
}

// ------------------------------------------------------------------------------------ Messages

/// What a search logs at `level`, without what parsing its query does.
std::vector<std::string> searchMessages(XMLNode const& node, char const* query,
                                        Logger::Level level) {
    LogCapture const log(level);
    static_cast<void>(XMLNodeSearch(node, query));
    std::vector<std::string> lines;
    for (std::string const& line : log.lines()) {
        if (line.find(": XMLQueryParser: ") == std::string::npos) {
            lines.push_back(line);
        }
    }
    return lines;
}

TEST(XMLNodeSearchMessages, OfASearchThatSucceedsBelowTheSecondCandidate) {
    XMLNode const tree = XMLParserDOM::parse("<a><b/><b x='1'>t<c/></b></a>");
    std::string const a = "<a><b/><b x=\"1\">t<c/></b></a>";
    EXPECT_THAT(
        searchMessages(tree, "a.b.c", Logger::DEBUG2_LEVEL),
        ElementsAre(
            "DEBUG zeb.common: XMLNodeSearch: Using xml query \"a.b.c\" on node: " + a,
            "DEBUG zeb.common: XMLNodeSearch: Querying node: " + a,
            "DEBUG2 zeb.common: XMLNodeSearch: Comparing Name=a to " + a,
            "DEBUG2 zeb.common: XMLNodeSearch: Node matched.  The node name and all required "
            "attributes are match.",
            "DEBUG zeb.common: XMLNodeSearch: Node matches query entry... Recursing for further "
            "checks: " +
                a,
            "DEBUG zeb.common: XMLNodeSearch: Querying node: <b/>",
            "DEBUG2 zeb.common: XMLNodeSearch: Comparing Name=b to <b/>",
            "DEBUG2 zeb.common: XMLNodeSearch: Node matched.  The node name and all required "
            "attributes are match.",
            "DEBUG zeb.common: XMLNodeSearch: Node matches query entry... Recursing for further "
            "checks: <b/>",
            "DEBUG zeb.common: XMLNodeSearch: Have more query than children for node \"b\".  "
            "Checking next sibling.",
            "DEBUG2 zeb.common: XMLNodeSearch: Comparing Name=b to <b x=\"1\">t<c/></b>",
            "DEBUG2 zeb.common: XMLNodeSearch: Node matched.  The node name and all required "
            "attributes are match.",
            "DEBUG zeb.common: XMLNodeSearch: Node matches query entry... Recursing for further "
            "checks: <b x=\"1\">t<c/></b>",
            "DEBUG zeb.common: XMLNodeSearch: Querying node: <c/>",
            "DEBUG2 zeb.common: XMLNodeSearch: Comparing Name=c to <c/>",
            "DEBUG2 zeb.common: XMLNodeSearch: Node matched.  The node name and all required "
            "attributes are match.",
            "DEBUG zeb.common: XMLNodeSearch: Node matches query entry... Recursing for further "
            "checks: <c/>",
            "DEBUG zeb.common: XMLNodeSearch: Ran out of query... Must be a match: <c/>",
            "DEBUG zeb.common: XMLNodeSearch: Recursive checks found a match...",
            "DEBUG zeb.common: XMLNodeSearch: Recursive checks found a match...",
            "DEBUG zeb.common: XMLNodeSearch: Found desired node: <c/>"));
}

TEST(XMLNodeSearchMessages, OfComparingAttributes) {
    XMLNode const tree = XMLParserDOM::parse("<x id='1' ID='1' type='RAW'/>");
    std::string const x = "<x id=\"1\" ID=\"1\" type=\"RAW\"/>";
    EXPECT_THAT(
        searchMessages(tree, "x[id=1,type]", Logger::DEBUG2_LEVEL),
        ElementsAre(
            "DEBUG zeb.common: XMLNodeSearch: Using xml query \"x[id=1,type]\" on node: " + x,
            "DEBUG zeb.common: XMLNodeSearch: Querying node: " + x,
            "DEBUG2 zeb.common: XMLNodeSearch: Comparing Name=x[id=1,type=] to " + x,
            "DEBUG2 zeb.common: XMLNodeSearch: XML attribute matched required name (id) and value "
            "(1)",
            "DEBUG2 zeb.common: XMLNodeSearch: XML attribute matched required name (id) and value "
            "(1)",
            "DEBUG2 zeb.common: XMLNodeSearch: XML attribute matched required name (type)",
            "DEBUG2 zeb.common: XMLNodeSearch: Not a match: only matched 3 of 2 required "
            "attributes.",
            "DEBUG zeb.common: XMLNodeSearch: XML query found no results."));
    EXPECT_THAT(
        searchMessages(XMLParserDOM::parse("<x id='1' ID='1'/>"), "x[id=1]", Logger::DEBUG2_LEVEL),
        Contains("DEBUG2 zeb.common: XMLNodeSearch: Not a match: only matched 2 of 1 "
                 "required attributes."));
}

TEST(XMLNodeSearchMessages, ADifferentNameIsNotExplained) {
    EXPECT_THAT(searchMessages(XMLParserDOM::parse("<a x='1'/>"), "b[x=1]", Logger::DEBUG3_LEVEL),
                ElementsAre("DEBUG zeb.common: XMLNodeSearch: Using xml query \"b[x=1]\" on node: "
                            "<a x=\"1\"/>",
                            "DEBUG zeb.common: XMLNodeSearch: Querying node: <a x=\"1\"/>",
                            "DEBUG2 zeb.common: XMLNodeSearch: Comparing Name=b[x=1] to "
                            "<a x=\"1\"/>",
                            "DEBUG zeb.common: XMLNodeSearch: XML query found no results."));
}

TEST(XMLNodeSearchMessages, ComparisonsAreOnlyLoggedAtTheSecondDebugLevel) {
    XMLNode const tree = XMLParserDOM::parse("<a><b/></a>");
    std::vector<std::string> const lines = searchMessages(tree, "a.b", Logger::DEBUG_LEVEL);
    EXPECT_THAT(lines, Each(StartsWith("DEBUG zeb.common: ")));
    EXPECT_EQ(lines.size(), 8u);
    EXPECT_EQ(searchMessages(tree, "a.b", Logger::DEBUG2_LEVEL).size(), 12u);
    EXPECT_THAT(searchMessages(tree, "a.b", Logger::INFO_LEVEL), IsEmpty());
}

TEST(XMLNodeSearchMessages, AnEmptyQueryLogsNothingBehindTheParser) {
    EXPECT_THAT(
        searchMessages(XMLParserDOM::parse("<a/>"), ".", Logger::DEBUG3_LEVEL),
        ElementsAre("DEBUG zeb.common: XMLNodeSearch: Using xml query \".\" on node: <a/>"));
}

TEST(XMLNodeSearchMessages, ANullStartNodeIsLoggedAsNothing) {
    EXPECT_THAT(searchMessages(XMLNode(), "a", Logger::DEBUG3_LEVEL),
                ElementsAre("DEBUG zeb.common: XMLNodeSearch: Using xml query \"a\" on node: ",
                            "DEBUG zeb.common: XMLNodeSearch: Querying node: ",
                            "DEBUG zeb.common: XMLNodeSearch: XML query found no results."));
}

TEST(XMLNodeSearchMessages, EachPartitionOfATooLongQueryIsReported) {
    std::vector<std::string> reports;
    for (std::string const& line :
         searchMessages(config(), "config.disk.partition.x", Logger::DEBUG_LEVEL)) {
        if (line.find("Have more query") != std::string::npos) {
            reports.push_back(line);
        }
    }
    std::string const report =
        "DEBUG zeb.common: XMLNodeSearch: Have more query than children for node \"partition\".  "
        "Checking next sibling.";
    EXPECT_THAT(reports, ElementsAre(report, report, report));
}

TEST(XMLNodeSearchMessages, NameTheFunctionAndTheUnit) {
    LogCapture const log;
    static_cast<void>(XMLNodeSearch(config(), "config.disk[id=2]"));
    std::vector<std::pair<std::string_view, std::string_view>> const origins = {
        {"XMLNodeSearch: Using", "::XMLNodeSearch("},
        {"XMLNodeSearch: Found", "::XMLNodeSearch("},
        {"XMLNodeSearch: Querying", "RecursiveNodeSearch("},
        {"XMLNodeSearch: Ran out", "RecursiveNodeSearch("},
        {"XMLNodeSearch: Comparing", "XMLQueryEntryMatches("},
        {"XMLNodeSearch: XML attribute", "XMLQueryEntryMatches("},
        {"XMLQueryParser: Parsing the XML query", "parseXMLQuery("},
        {"XMLQueryParser: Parsing node", "XMLQuery_parse_node_specifier("},
        {"XMLQueryParser: Parsing attribute", "XMLQuery_parse_attribute_specifier("},
    };
    for (auto const& [text, function] : origins) {
        bool seen = false;
        for (zeb::test::CapturedMessage const& message : log.messages()) {
            EXPECT_EQ(message.file, "OrventoXMLOperations");
            EXPECT_GT(message.line, 0);
            if (message.text.rfind(text, 0) == 0) {
                EXPECT_NE(message.function.find(function), std::string::npos)
                    << message.function << " for " << text;
                seen = true;
            }
        }
        EXPECT_TRUE(seen) << text;
    }
}

TEST(XMLNodeSearchMessages, LeaveErrnoAsItWas) {
    using zeb::foundation::CallbackAppender;
    using zeb::foundation::IntrusiveReference;
    using zeb::foundation::LogAppender;
    int messages = 0;
    Logger::setDefault(Logger::DEBUG3_LEVEL, IntrusiveReference<LogAppender>(new CallbackAppender(
                                                 [&](zeb::foundation::LogMessage const&) {
                                                     ++messages;
                                                     errno = EIO;
                                                 })));
    errno = EDOM;
    XMLNode const found = XMLNodeSearch(config(), "config.disk[id=2,id].partition");
    EXPECT_EQ(errno, EDOM);
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    EXPECT_EQ(found.toString(), "<partition n=\"p2\"/>");
    EXPECT_GT(messages, 20);
}

// ---------------------------------------------------------------------------------------- Size

TEST(XMLNodeSearchTest, AHundredThousandStepsOnADeepTreeNeedNoStack) {
    std::size_t const depth = XMLParserDOM::MAXIMUM_DEPTH;
    XMLNode const tree =
        XMLParserDOM::parse(repeat("<a>", depth - 1) + "<a x='1'/>" + repeat("</a>", depth - 1));
    EXPECT_TRUE(XMLNodeSearch(tree, repeat("a.", 100'000)).isNull());
    EXPECT_EQ(XMLNodeSearch(tree, repeat("a.", depth)).attributeCount(), 1u);
    EXPECT_EQ(XMLNodeSearch(tree, repeat("a.", depth - 1) + "a[x=1]").toString(), "<a x=\"1\"/>");
    EXPECT_TRUE(XMLNodeSearch(tree, repeat("a.", depth - 1) + "a[x=2]").isNull());
}

TEST(XMLNodeSearchTest, EveryNodeIsComparedOnceWhenABroadAndDeepTreeFails) {
    // 2 ^ 12 paths, each of which fits up to its last step.
    std::string xml = "<b/>";
    std::size_t nodes = 1;
    for (int level = 0; level < 12; ++level) {
        xml = "<a>" + xml + xml + "</a>";
        nodes = 2 * nodes + 1;
    }
    XMLNode const tree = XMLParserDOM::parse(xml);
    std::string const query = repeat("a.", 12) + "c";
    std::size_t comparisons = 0;
    {
        using zeb::foundation::CallbackAppender;
        using zeb::foundation::IntrusiveReference;
        using zeb::foundation::LogAppender;
        Logger::setDefault(
            Logger::DEBUG2_LEVEL,
            IntrusiveReference<LogAppender>(
                new CallbackAppender([&](zeb::foundation::LogMessage const& message) {
                    comparisons += message.text.startsWith("XMLNodeSearch: Comparing") ? 1 : 0;
                })));
        EXPECT_TRUE(XMLNodeSearch(tree, query).isNull());
        Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    }
    EXPECT_EQ(comparisons, nodes);
}

TEST(XMLNodeSearchMessages, ComeOncePerLevelUnwound) {
    XMLNode const tree = XMLParserDOM::parse(repeat("<a>", 100) + repeat("</a>", 100));
    std::vector<std::string> const lines =
        searchMessages(tree, repeat("a.", 100).c_str(), Logger::DEBUG_LEVEL);
    ASSERT_GT(lines.size(), 101u);
    std::vector<std::string> expected(
        99, "DEBUG zeb.common: XMLNodeSearch: Recursive checks found a match...");
    expected.insert(expected.begin(),
                    "DEBUG zeb.common: XMLNodeSearch: Ran out of query... Must be a match: <a/>");
    expected.push_back("DEBUG zeb.common: XMLNodeSearch: Found desired node: <a/>");
    EXPECT_THAT(std::vector<std::string>(lines.end() - 101, lines.end()),
                ElementsAreArray(expected));
}

}  // namespace
