// Loads the library, uses it or not, and unloads it. The program is not linked to it, and its
// regfree and free take the place of the C library's.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <regex.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
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

#ifdef ZEB_WATCHES_FREE
namespace {

/// The name of a log component in each block that was freed while somebody was watching.
std::vector<std::string_view> freedNames;
bool watchesFree = false;

/// The name in a block, "" when there is none.
std::string_view nameIn(std::string_view block) {
    using namespace std::string_view_literals;
    for (std::string_view const name : {"zeb.common\0"sv, "zeb.common.TextOperations\0"sv}) {
        if (block.find(name) != std::string_view::npos) {
            return name.substr(0, name.size() - 1);
        }
    }
    return "";
}

}  // namespace

extern "C" void __libc_free(void* block);

extern "C" void free(void* block) noexcept {
    if (block != nullptr) {
        std::size_t const size = ::malloc_usable_size(block);
        if (watchesFree) {
            if (std::string_view const name = nameIn({static_cast<char const*>(block), size});
                !name.empty()) {
                freedNames.push_back(name);
            }
        }
        // A later use finds nothing, nor does a later block inherit a name.
        std::memset(block, 0xDD, size);
    }
    __libc_free(block);
}
#endif

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

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

#ifdef ZEB_WATCHES_FREE  // a sanitizer watches by itself

TEST_F(Unload, FreesEachNameOfALogComponentOnce) {
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        load();
        useAll();
        freedNames.clear();
        watchesFree = true;
        unload();
        watchesFree = false;
        EXPECT_THAT(freedNames, UnorderedElementsAre("zeb.common", "zeb.common.TextOperations"));
    }
}

TEST_F(Unload, WithoutUseThereIsNoNameToFree) {
    load();
    freedNames.clear();
    watchesFree = true;
    unload();
    watchesFree = false;
    EXPECT_THAT(freedNames, IsEmpty());
}

#endif

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
