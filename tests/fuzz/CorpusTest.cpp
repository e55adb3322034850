// The fuzzers' properties are true for every input of their corpora, under any compiler.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <string_view>

#include "Property.hpp"

namespace {

struct Target {
    char const* name;
    void (*property)(std::string_view);
    /// Names of tests contain only the name: addresses would differ from build to build.
    friend std::ostream& operator<<(std::ostream& stream, Target const& target) {
        return stream << target.name;
    }
};

class Corpus : public testing::TestWithParam<Target> {};

TEST_P(Corpus, HasThePropertyInEveryInput) {
    std::filesystem::path const folder = std::filesystem::path(ZEB_CORPUS) / GetParam().name;
    int inputs = 0;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        std::string const input{std::istreambuf_iterator<char>(file), {}};
        ASSERT_TRUE(file.good() || file.eof()) << entry.path();
        EXPECT_NO_THROW(GetParam().property(input)) << entry.path();
        ++inputs;
    }
    EXPECT_GE(inputs, 10) << folder;
}

INSTANTIATE_TEST_SUITE_P(
    Fuzz, Corpus,
    testing::Values(Target{"commandline", zeb::fuzz::commandline},
                    Target{"dates", zeb::fuzz::dates},
                    Target{"environment", zeb::fuzz::environment},
                    Target{"expression", zeb::fuzz::expression},
                    Target{"numbers", zeb::fuzz::numbers}, Target{"query", zeb::fuzz::query},
                    Target{"sed", zeb::fuzz::sed}, Target{"tokenizing", zeb::fuzz::tokenizing},
                    Target{"utf16", zeb::fuzz::utf16}, Target{"wildcards", zeb::fuzz::wildcards},
                    Target{"xml", zeb::fuzz::xml}),
    [](auto const& row) { return std::string(row.param.name); });

}  // namespace
