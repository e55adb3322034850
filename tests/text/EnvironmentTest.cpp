#include <OrventoTextOperations.hpp>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Random.hpp"

namespace {

using namespace std::string_view_literals;
using ZEBNS2::extractEnv;
using ZEBNS2::extractPath;
using ZEBNS2::String;

std::vector<char> bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

/// The result of `extractEnv` for an `out` that contains "old", in both forms.
std::string valueOf(std::string_view environment, char const* name, char separator) {
    std::vector<char> out = bytesOf("old");
    extractEnv(bytesOf(environment), name, out, separator);
    String text("old");
    extractEnv(String(environment), name, text, separator);
    EXPECT_EQ(text, std::string_view(out.data(), out.size()));
    return std::string(out.begin(), out.end());
}

TEST(ExtractEnv, FindsTheValue) {
    struct Row {
        std::string_view environment;
        char const* name;
        char separator;
        std::string_view value;
    };
    constexpr Row ROWS[] = {
        {"HOME=/root\0PATH=/bin\0"sv, "HOME", '=', "/root"},
        {"HOME=/root\0PATH=/bin\0"sv, "PATH", '=', "/bin"},
        {"HOME=/root\0PATH=/bin"sv, "PATH", '=', "/bin"},  // ended by the block
        {"A=1=2\0"sv, "A", '=', "1=2"},
        {"A:1\0B:2\0"sv, "B", ':', "2"},
        {"A=\0B=2\0"sv, "A", '=', ""},  // an empty value
        {"A="sv, "A", '=', "old"},      // nothing after the separator
        {"A=1\0"sv, "B", '=', "old"},
        {"A=1\0"sv, "a", '=', "old"},
        {"A"sv, "A", '=', "old"},
        {""sv, "A", '=', "old"},
        {"A=1\0"sv, "A=1", '=', "old"},                  // the separator must follow
        {"MANPATH=/m\0PATH=/p\0"sv, "PATH", '=', "/m"},  // the key is not anchored
        {"X=PATH=/x\0PATH=/p\0"sv, "PATH", '=', "/x"},   // not even to a name
        {"XPATH=\0PATH=/p\0"sv, "PATH", '=', ""},
        {"A=1\0A=2\0"sv, "A", '=', "1"},   // the first one wins
        {"A=B=1\0"sv, "A=B", '=', "B=1"},  // a name that contains the separator
        {"A=1\0"sv, "", '=', "1"},         // an empty name
        {"A=1\0"sv, nullptr, '=', "1"},
        {"A\0001\0"sv, "A", '\0', "1"},  // a NUL separates
        {"A\0\0"sv, "A", '\0', ""},
        {"\xC3\xA4=\xFF\0"sv, "\xC3\xA4", '=', "\xFF"},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(testing::Message()
                     << row.environment << " at " << (row.name == nullptr ? "null" : row.name));
        EXPECT_EQ(valueOf(row.environment, row.name, row.separator), row.value);
    }
}

TEST(ExtractEnv, OutMayBeTheEnvironment) {
    std::vector<char> block = bytesOf("A=1\0B=22\0"sv);
    extractEnv(block, "B", block, '=');
    EXPECT_EQ(block, bytesOf("22"));

    String text("A=1\0B=22\0"sv);
    extractEnv(text, "B", text, '=');
    EXPECT_EQ(text, "22");
}

TEST(ExtractEnv, AgreesWithItsStepsOnRandomBlocks) {
    zeb::test::Random random(20230314);
    for (int i = 0; i < 200'000; ++i) {
        std::string const block = random.text("AB=\0"sv, random.below(12));
        std::string const name = random.text("AB=", random.below(3));
        std::string const key = name + '=';
        std::string expected = "old";
        std::size_t const hit = block.find(key);
        std::size_t const start =
            hit == std::string::npos ? block.size() : block.find('=', hit) + 1;
        if (start < block.size()) {
            expected = block.substr(start);
            expected = expected.substr(0, expected.find('\0'));
        }
        ASSERT_EQ(valueOf(block, name.c_str(), '='), expected)
            << testing::PrintToString(block) << " at " << name;
    }
}

TEST(ExtractPath, IsExtractEnvForPath) {
    auto const pathOf = [](std::string_view block) {
        std::vector<char> out = bytesOf("old");
        extractPath(bytesOf(block), out);
        return std::string(out.begin(), out.end());
    };
    EXPECT_EQ(pathOf("HOME=/root\0PATH=/bin:/usr/bin\0"sv), "/bin:/usr/bin");
    EXPECT_EQ(pathOf("MANPATH=/m\0PATH=/p\0"sv), "/m");
    EXPECT_EQ(pathOf("HOME=/root\0"sv), "old");
    EXPECT_EQ(pathOf("HOME=/root\0PATH="sv), "old");
    EXPECT_EQ(pathOf("PATH=\0"sv), "");
    EXPECT_EQ(pathOf("PATH:/bin\0"sv), "old");
}

}  // namespace
