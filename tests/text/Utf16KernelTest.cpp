// Every kernel of the conversion to UTF-8 against the plain way, which the other tests compare with
// models of their own.

#include "text/Utf16Kernel.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Random.hpp"
#include "Sanitized.hpp"

namespace ZEBNS2::utf16 {
namespace {

using zeb::foundation::String;
using zeb::test::SANITIZED;

/// A pair of units for each repair; the first is zero for a lone surrogate.
class RecordedRepairs final : public Repairs {
public:
    void loneSurrogate(unsigned short unit) override { units.push_back({0, unit}); }
    void brokenPair(unsigned short high, unsigned short next) override {
        units.push_back({high, next});
    }
    std::vector<std::pair<unsigned short, unsigned short>> units;
};

class Utf16Kernel : public testing::TestWithParam<ByteOrder> {
protected:
    void SetUp() override {
        if (!hasSSSE3()) {
            GTEST_SKIP() << "this processor has no SSSE3";
        }
    }

    /// Whether the kernel and the plain way agree on `units`, at an odd address and in memory that
    /// ends with them, so that a tool sees what is read beyond.
    static bool agrees(std::u16string_view units) {
        std::size_t const size = 2 * units.size();
        std::unique_ptr<char[]> const memory(new char[size + 1]);
        char* const bytes = memory.get() + 1;
        for (std::size_t i = 0; i < units.size(); ++i) {
            bool const big = GetParam() == ByteOrder::BIG;
            bytes[2 * i + (big ? 1 : 0)] = static_cast<char>(units[i] & 0xFF);
            bytes[2 * i + (big ? 0 : 1)] = static_cast<char>(units[i] >> 8);
        }
        Units const text{bytes, units.size(), GetParam()};
        RecordedRepairs plainRepairs;
        RecordedRepairs repairs;
        String const plain = toUTF8(text, plainRepairs, encodeNothing);
        String const vectors = toUTF8(text, repairs, encodeBySSSE3);
        // What the kernel itself promises: no byte beyond what it may write, no pair cut.
        std::size_t const room = 3 * units.size() + KERNEL_OVERRUN;
        std::unique_ptr<char[]> const out(new char[room]);
        Progress const progress = encodeBySSSE3(text, out.get());
        bool const cut = progress.units != 0 && progress.units < units.size() &&
                         (units[progress.units - 1] & 0xFC00) == 0xD800;
        std::string_view const written(out.get(),
                                       static_cast<std::size_t>(progress.out - out.get()));
        return plain == vectors && repairs.units == plainRepairs.units && !cut &&
               std::string_view(plain).substr(0, written.size()) == written;
    }
};

INSTANTIATE_TEST_SUITE_P(BothOrders, Utf16Kernel,
                         testing::Values(ByteOrder::LITTLE, ByteOrder::BIG),
                         [](auto const& tested) {
                             return tested.param == ByteOrder::BIG ? "Big" : "Little";
                         });

constexpr char16_t BACKGROUNDS[] = {u'a', u'\x00E9', u'\x4E2D'};

TEST_P(Utf16Kernel, EachUnitInEachLane) {
    for (unsigned int value = 0; value <= 0xFFFF; value += SANITIZED ? 7 : 1) {
        std::u16string units(8, BACKGROUNDS[value % 3]);
        for (std::size_t lane = 0; lane < 8; ++lane) {
            std::u16string with = units;
            with[lane] = static_cast<char16_t>(value);
            ASSERT_TRUE(agrees(with)) << value << " in lane " << lane;
        }
    }
}

TEST_P(Utf16Kernel, EachPairInTwoPlaces) {
    for (unsigned int high = 0xD800; high < 0xDC00; ++high) {
        std::u16string units;
        for (unsigned int low = 0xDC00; low < 0xE000; ++low) {
            units += {static_cast<char16_t>(high), static_cast<char16_t>(low)};
        }
        ASSERT_TRUE(agrees(units)) << high;
        ASSERT_TRUE(agrees(u'x' + units)) << high;
    }
}

TEST_P(Utf16Kernel, EachOrderOfFourLengthsInBothHalves) {
    constexpr std::u16string_view KINDS[] = {u"b", u"\x03B1", u"\x20AC", u"\xD83D\xDE00"};
    for (unsigned int kinds = 0; kinds < 1 << 16; kinds += 1 + kinds % 3) {
        std::u16string units;
        for (unsigned int rest = kinds, i = 0; i < 8; ++i, rest /= 4) {
            units += KINDS[rest % 4];
        }
        ASSERT_TRUE(agrees(units)) << kinds;
    }
}

TEST_P(Utf16Kernel, WhatIsMalformedAtEachPlaceOfEachLength) {
    constexpr std::u16string_view MALFORMED[] = {u"\xDC00",
                                                 u"\xDFFF\xDC00",
                                                 u"\xD800",
                                                 u"\xDBFF\xD800",
                                                 u"\xD800\x20AC",
                                                 u"\xDC00\xD800",
                                                 u"\xD800\xDBFF\xDC00",
                                                 u"\xD800\xDC00\xDC00"};
    constexpr std::u16string_view AROUND[] = {u"a", u"\x00E9", u"\x20AC", u"\xD83D\xDE00"};
    for (std::u16string_view const around : AROUND) {
        std::u16string text;
        while (text.size() < 36) {
            text += around;
        }
        for (std::u16string_view const sequence : MALFORMED) {
            for (std::size_t length = 0; length <= text.size(); ++length) {
                for (std::size_t index = 0; index <= length; ++index) {
                    std::u16string units = text.substr(0, length);
                    units.insert(index, sequence);
                    ASSERT_TRUE(agrees(units)) << length << " at " << index;
                }
            }
        }
    }
}

TEST_P(Utf16Kernel, RandomTexts) {
    zeb::test::Random random(23);
    constexpr char16_t SALT[] = {0,      0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800,
                                 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFEFF, 0xFFFE, 0xFFFF};
    for (int i = 0; i < 30'000; ++i) {
        std::u16string units;
        std::size_t const kind = random.below(4);
        for (std::size_t count = random.below(80); count > 0; --count) {
            if (kind == 3 && random.oneIn(2)) {
                units += static_cast<char16_t>(random.between(0xD800, 0xDBFF));
                units += static_cast<char16_t>(random.between(0xDC00, 0xDFFF));
            } else if (random.oneIn(kind == 0 ? 4 : 30)) {
                units += random.pick(SALT);
            } else {
                units += static_cast<char16_t>(random.below(kind == 1 ? 0x800 : 0xD800));
            }
        }
        ASSERT_TRUE(agrees(units)) << "text " << i;
    }
}

}  // namespace
}  // namespace ZEBNS2::utf16
