// The unit under test, with what it keeps in its unnamed namespace: a text of several pieces would
// be longer than a test can bear.
#include "XMLParserDOM.cpp"

#include <gtest/gtest.h>

#include <string>

#include "Parse.hpp"

namespace zeb::xmltoolkit {

namespace {

/// All that a tree holds, or why the text was rejected.
std::string outcome(std::string_view xml, std::size_t pieceSize) {
    try {
        std::shared_ptr<XMLDocument const> const document = Parsing(xml, pieceSize).run();
        std::string result{std::string_view(document->text)};
        for (XMLDocument::Record const& record : document->records) {
            result += '\n' + std::to_string(record.name) + ' ' + std::to_string(record.position) +
                      ' ' + std::to_string(record.size);
        }
        return result;
    } catch (DOMException const& exception) {
        return exception.what();
    }
}

TEST(XMLPieces, GiveTheSameTreeWhateverTheirSize) {
    std::string const xml = test::sample();
    std::string const expected = outcome(xml, PIECE_SIZE);
    for (std::size_t pieceSize = 1; pieceSize <= xml.size() + 1; ++pieceSize) {
        ASSERT_EQ(outcome(xml, pieceSize), expected) << pieceSize;
    }
}

TEST(XMLPieces, GiveTheSameErrorWhateverTheirSize) {
    std::string const xml = test::sample() + "\n<junk/>";
    std::string const expected = outcome(xml, PIECE_SIZE);
    ASSERT_NE(expected.find(": junk after document element"), std::string::npos);
    for (std::size_t pieceSize = 1; pieceSize <= xml.size() + 1; ++pieceSize) {
        ASSERT_EQ(outcome(xml, pieceSize), expected) << pieceSize;
    }
}

TEST(XMLPieces, MayBeEmpty) {
    EXPECT_EQ(outcome("", 1), "line 1, column 1: no element found");
    EXPECT_EQ(outcome("", PIECE_SIZE), "line 1, column 1: no element found");
}

TEST(XMLPieces, MayCutALongToken) {
    std::string const xml = "<a x='" + std::string(8'000'000, 'v') + "'/>";
    EXPECT_EQ(outcome(xml, 65'536), outcome(xml, PIECE_SIZE));
}

}  // namespace

}  // namespace zeb::xmltoolkit
