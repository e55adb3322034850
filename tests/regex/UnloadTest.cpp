// Loads the library, uses it or not, and unloads it. The program is not linked to it, and its
// regfree takes the place of the C library's.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex.h>

#include <fstream>
#include <string>
#include <vector>

#include "LogCapture.hpp"

namespace {

/// Number of groups of each expression that was freed.
std::vector<std::size_t> freed;

}  // namespace

extern "C" void regfree(regex_t* expression) {
    freed.push_back(expression->re_nsub);
    static auto* const libcs = reinterpret_cast<decltype(regfree)*>(::dlsym(RTLD_NEXT, "regfree"));
    libcs(expression);
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

bool isMapped(std::string const& file) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(file) != std::string::npos) {
            return true;
        }
    }
    return false;
}

class Unload : public testing::Test {
protected:
    void load() {
        freed.clear();
        ASSERT_FALSE(isMapped("libzeb_text.so"));
        library_ = ::dlopen(ZEB_UNLOAD_USER, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library_, nullptr) << ::dlerror();
        ASSERT_TRUE(isMapped("libzeb_text.so"));
    }

    void useAll() {
        auto* const use = reinterpret_cast<bool (*)()>(::dlsym(library_, "useEveryGlobal"));
        ASSERT_NE(use, nullptr);
        EXPECT_TRUE(use());
    }

    void unload() {
        ASSERT_EQ(::dlclose(library_), 0);
        EXPECT_FALSE(isMapped("libzeb_text.so"));
        EXPECT_FALSE(isMapped("libzeb_xmltoolkit.so"));
        EXPECT_FALSE(isMapped("libzeb_common.so"));
    }

private:
    void* library_ = nullptr;
};

TEST_F(Unload, WithoutUseDeletesAndLogsNothing) {
    zeb::test::LogCapture const log;
    load();
    unload();
    EXPECT_THAT(freed, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Unload, DestroysTheGlobalsInReverseOrderAndLogsNothing) {
    load();
    useAll();
    freed.clear();
    {
        zeb::test::LogCapture const log;
        unload();
        EXPECT_THAT(log.lines(), IsEmpty());
    }
    EXPECT_THAT(freed, ElementsAre(2u, 1u)) << "the range expression before the other one";
}

TEST_F(Unload, LoadsAgainAsIfForTheFirstTime) {
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        load();
        useAll();
        useAll();
        unload();
    }
}

}  // namespace
