// Small pieces: with their real size a text of several would be too long for a test.

#include <zeb/xmltoolkit/DOMException.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "Parse.hpp"
#include "Random.hpp"
#include "Sanitized.hpp"
#include "XMLParsing.hpp"

namespace zeb::xmltoolkit {

namespace {

/// The contents of a tree, or why the text was rejected.
std::string outcome(std::string_view xml, std::size_t pieceSize) {
    try {
        std::shared_ptr<XMLDocument const> const document = documentOf(xml, pieceSize);
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

/// `text`, given as UTF-16, in bytes, with its mark.
std::string inBytes(std::u16string const& text, bool littleEndian) {
    std::string bytes;
    for (char16_t const unit : u"\uFEFF" + text) {
        char const high = static_cast<char>(unit >> 8);
        char const low = static_cast<char>(unit & 0xFF);
        bytes += littleEndian ? low : high;
        bytes += littleEndian ? high : low;
    }
    return bytes;
}

TEST(XMLPieces, DoNotChangeTheAnswerToDamagedUTF16) {
    std::u16string const sample =
        u"<?xml version='1.0' encoding='UTF-16'?><!DOCTYPE a [<!ENTITY e '\u00E9<b/>'>]><a "
        u"x='\u20AC'>"
        u"\xD83D\xDC3C&e;<!--\xD83D\xDC3C--><![CDATA[\xD83D\xDC3C]]><?p \xD83D\xDC3C?></a>";
    constexpr char16_t UNITS[] = {0xD83D, 0xDC3C, 0xD800, 0xDFFF, '<', '&', ']', 0, 0xFFFF, 0xAA};
    test::Random random(1);
    std::size_t accepted = 0;
    for (int i = 0; i < 1'000; ++i) {
        std::u16string damaged = sample;
        for (std::size_t n = random.below(3); n > 0; --n) {
            std::size_t const at = random.below(damaged.size());
            damaged.replace(at, random.below(2), 1, random.pick(UNITS));
        }
        std::string bytes = inBytes(damaged, random.oneIn(2));
        bytes.resize(bytes.size() - (random.oneIn(4) ? random.below(5) : 0));
        std::string const expected = outcome(bytes, PIECE_SIZE);
        accepted += expected.compare(0, 5, "line ") == 0 ? 0 : 1;
        for (std::size_t const pieceSize : {1U, 2U, 3U, 7U, 64U}) {
            ASSERT_EQ(outcome(bytes, pieceSize), expected) << i << ", " << pieceSize;
        }
    }
    EXPECT_GT(accepted, 200u);
    EXPECT_LT(accepted, 800u);
}

TEST(XMLPieces, ASurrogateAtTheEndOfAFullPieceMeansTheSame) {
    std::u16string const start = u"<a>" + std::u16string(PIECE_SIZE / 2 - 6, 'x');
    // The sanitizers try the shift that ends the piece between the two halves of a pair.
    for (std::size_t shift : {0U, 1U, 2U}) {
        if (test::SANITIZED && shift != 1) {
            continue;
        }
        std::u16string const before = start + std::u16string(shift, 'x');
        EXPECT_EQ(outcome(inBytes(before + u"\xD83D</a>", true), PIECE_SIZE),
                  "line 1, column " + std::to_string(before.size() + 2) +
                      ": not well-formed (invalid token)");
        std::string const tree = outcome(inBytes(before + u"\xD83D\xDC3C</a>", true), PIECE_SIZE);
        EXPECT_NE(tree.find("x\xF0\x9F\x90\xBC"), std::string::npos);
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
