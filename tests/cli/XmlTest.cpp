#include <gtest/gtest.h>

#include <algorithm>

#include "ZebText.hpp"

using namespace std::string_literals;

namespace zeb::test {
namespace {

constexpr char DISKS[] =
    "<?xml version='1.0'?>\n"
    "<config>\n"
    "  <disk id='1' type='raw'><partition n='p1'/></disk>\n"
    "  <disk id='2'><partition n='p2'>first</partition><partition n='p3'/></disk>\n"
    "</config>\n";

TEST(XmlCheck, TellsOfEachFileWhetherItIsWellFormed) {
    TemporaryDirectory const folder;
    std::string const good = folder.file("good.xml", DISKS);
    std::string const bad = folder.file("bad.xml", "<a>\n  <b></a>\n");
    ProcessResult const result = zebText({"xml", "check", good, bad});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out,
              good + ": ok\n" + bad + ":2:8: mismatched tag\n    <b></a>\n         ^\n");
    EXPECT_EQ(result.err, "");
}

TEST(XmlCheck, ReadsStandardInput) {
    EXPECT_EQ(zebText({"xml", "check"}, DISKS), prints("-: ok\n"));
    EXPECT_EQ(zebText({"xml", "check"}, "").status, 1);
}

TEST(XmlCheck, AnUnreadableFileIsAnError) {
    TemporaryDirectory const folder;
    std::string const missing = folder.path("missing.xml");
    ProcessResult const expected{
        2, "-: ok\n", "zeb-text: Cannot read file " + missing + ": No such file or directory\n"};
    EXPECT_EQ(zebText({"xml", "check", missing, "-"}, DISKS), expected);
}

TEST(XmlFind, PrintsTheElement) {
    EXPECT_EQ(zebText({"xml", "find", "config.disk[id=2].partition"}, DISKS),
              prints("<partition n=\"p2\">first</partition>\n"));
    EXPECT_EQ(zebText({"xml", "find", "CONFIG.Disk.partition[N=P3]"}, DISKS),
              prints("<partition n=\"p3\"/>\n"));
}

TEST(XmlFind, PrintsTheText) {
    EXPECT_EQ(zebText({"xml", "find", "--text", "config.disk[id=2].partition"}, DISKS),
              prints("first\n"));
    EXPECT_EQ(zebText({"xml", "find", "--text", "config.disk.partition"}, DISKS), prints("\n"));
}

TEST(XmlFind, PrintsAnAttribute) {
    EXPECT_EQ(zebText({"xml", "find", "--attribute", "TYPE", "config.disk[id=1]"}, DISKS),
              prints("raw\n"));
}

TEST(XmlFind, FindsNothing) {
    EXPECT_EQ(zebText({"xml", "find", "disk"}, DISKS), findsNothing());
    EXPECT_EQ(zebText({"xml", "find", "config.disk[id=3]"}, DISKS), findsNothing());
    EXPECT_EQ(zebText({"xml", "find", "--attribute", "size", "config.disk"}, DISKS),
              findsNothing());
}

TEST(XmlFind, AnEmptyNameIsTheNameOfNoAttribute) {
    EXPECT_EQ(zebText({"xml", "find", "--attribute=", "a"}, "<a x='1'/>"), findsNothing());
    EXPECT_EQ(zebText({"xml", "find", "--attribute", "", "a"}, "<a x='1'/>"), findsNothing());
}

TEST(XmlFind, AllPrintsEveryFitInTheOrderOfTheDocument) {
    EXPECT_EQ(zebText({"xml", "find", "--all", "config.disk.partition"}, DISKS),
              prints("<partition n=\"p1\"/>\n<partition n=\"p2\">first</partition>\n"
                     "<partition n=\"p3\"/>\n"));
    EXPECT_EQ(zebText({"xml", "find", "--all", "--attribute", "TYPE", "config.disk"}, DISKS),
              prints("raw\n"));
    EXPECT_EQ(zebText({"xml", "find", "--all", "--text", "config.disk[id=2].partition"}, DISKS),
              prints("first\n\n"));
    EXPECT_EQ(zebText({"xml", "find", "--all", "disk"}, DISKS), findsNothing());
    EXPECT_EQ(
        zebText({"xml", "find", "--all", "--attribute", "x", "a", "-", "-"}, "<a x='1'/>").status,
        2)
        << "the second input is empty";
    EXPECT_EQ(zebText({"xml", "find", "--all", "config.disk[id=1=2]"}, DISKS),
              zebText({"xml", "find", "config.disk[id=1=2]"}, DISKS));
    EXPECT_EQ(zebText({"xml", "find", "--all", "nothing.disk[id=1=2]"}, DISKS).status, 2)
        << "the whole query is read before anything is searched";
}

// A dead end at any level must not hide what comes later, nor a step of the query be lost.
TEST(XmlFind, TheFirstOfAllIsWhatIsFoundWithoutTheOption) {
    constexpr char TREE[] =
        "<a x='1'><b/><b><c.d/></b><e><c/></e><b y='2'><c z='1'>1</c><f/><C z='2'>2</C></b>"
        "<b><c>3</c></b></a>";
    struct Row {
        char const* query;
        std::size_t fits;
    };
    constexpr Row ROWS[] = {
        {"", 1},                 // the top element itself
        {".", 1},                //
        {"\"\"", 1},             //
        {"a", 1},                //
        {".a..b.", 4},           // empty steps do not count
        {"a.\"\".b", 4},         //
        {"a.b.c", 3},            //
        {"a.b.c[z]", 2},         //
        {"a.b[y=2].c[z=2]", 1},  //
        {"a.b.\"c.d\"", 1},      // a quoted full stop separates nothing
        {"a.\"\"[y]", 1},        // any name
        {"A[X=1].B[].C[,]", 3},  //
        {"a.e.c.d", 0},          //
        {"b", 0},                //
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.query);
        std::string const all = zebText({"xml", "find", "--all", row.query}, TREE).out;
        EXPECT_EQ(static_cast<std::size_t>(std::count(all.begin(), all.end(), '\n')), row.fits);
        EXPECT_EQ(zebText({"xml", "find", row.query}, TREE).out, all.substr(0, all.find('\n') + 1));
    }
}

TEST(XmlFind, SearchesEachFile) {
    TemporaryDirectory const folder;
    std::string const a = folder.file("a.xml", "<a x='1'/>");
    std::string const b = folder.file("b.xml", "<b x='2'/>");
    std::string const c = folder.file("c.xml", "<a x='3'/>");
    EXPECT_EQ(zebText({"xml", "find", "--attribute", "x", "a", a, b, c}), prints("1\n3\n"));
}

TEST(XmlFind, MalformedXmlIsAnError) {
    ProcessResult const result = zebText({"xml", "find", "a"}, "<a>\n</b>");
    EXPECT_EQ(result, failsWith("-:2:3: mismatched tag", "  </b>\n    ^\n"));
}

TEST(XmlCheck, AMarkIsACharacterButNotSeen) {
    ProcessResult const expected{1, "-:1:7: mismatched tag\n  <a></b>\n       ^\n", ""};
    EXPECT_EQ(zebText({"xml", "check"}, "\xEF\xBB\xBF<a></b>"), expected);
    EXPECT_EQ(zebText({"xml", "check"}, "\xFE\xFF\0<\0a\0>\0<\0/\0b\0>"s), expected);
}

TEST(XmlCheck, MalformedUtf16IsShownByItsBytes) {
    ProcessResult const expected{1,
                                 "-:1:7: mismatched tag\n"
                                 "  \\xff\\xfe<\\x00a\\x00>\\x00<\\x00/\\x00b\\x00>\\x00x\n"
                                 "                    ^\n",
                                 ""};
    EXPECT_EQ(zebText({"xml", "check"}, "\xFF\xFE<\0a\0>\0<\0/\0b\0>\0x"s), expected);
}

TEST(XmlFind, ShowsThePlaceInAnyEncodingAndBehindEveryLineEnd) {
    EXPECT_EQ(zebText({"xml", "find", "a"}, "<a>\r\n\r<b>\xC3\xA4\xE2\x82\xAC&</b></a>"),
              failsWith("-:3:7: not well-formed (invalid token)",
                        "  <b>\u00E4\u20AC&</b></a>\n        ^\n"));
    std::string utf16 = "\xFF\xFE";
    for (char const byte : std::string("<a>\n</b>")) {
        utf16 += byte;
        utf16 += '\0';
    }
    EXPECT_EQ(zebText({"xml", "find", "a"}, utf16),
              failsWith("-:2:3: mismatched tag", "  </b>\n    ^\n"));
}

TEST(XmlFind, AFaultyQueryIsAnError) {
    EXPECT_EQ(zebText({"xml", "find", "config.disk[id=1=2]"}, DISKS),
              failsWith("-: Too many attribute values in attribute specifier (3): id=1=2"));
}

TEST(XmlFind, TextOrAttributeAtMost) {
    EXPECT_EQ(zebText({"xml", "find", "--text", "--attribute", "x", "a"}, DISKS),
              failsWith("xml find: --text excludes --attribute (see zeb-text xml find --help)"));
}

TEST(XmlFind, TracesTheSearch) {
    ProcessResult const result = zebText({"xml", "find", "--trace", "debug", "b"}, "<a/>");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "DEBUG zeb.common: XMLNodeSearch: Using xml query \"b\" on node: <a/>\n"
              "DEBUG zeb.common: XMLQueryParser: Parsing the XML query: \"b\"\n"
              "DEBUG zeb.common: XMLQueryParser: Parsing node specifier from \"b\"\n"
              "DEBUG zeb.common: XMLNodeSearch: Querying node: <a/>\n"
              "DEBUG zeb.common: XMLNodeSearch: XML query found no results.\n");
}

TEST(XmlFind, TakesMegabytes) {
    std::string text = "<list>";
    for (int i = 0; text.size() < 3'000'000; ++i) {
        text += "<item n='" + std::to_string(i) + "'>some text</item>";
    }
    EXPECT_EQ(zebText({"xml", "find", "--text", "list.item[n=50000]"}, text + "</list>"),
              prints("some text\n"));
}

}  // namespace
}  // namespace zeb::test
