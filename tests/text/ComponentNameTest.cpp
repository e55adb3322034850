#include <OrventoTextOperations.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "UnicodeBytes.hpp"

namespace {

using ZEBNS2::String;
using ZEBNS2::TextOperations::COMPONENT_NAME;

static_assert(std::is_aggregate_v<std::remove_reference_t<decltype(COMPONENT_NAME)>>);

TEST(ComponentName, IsBuiltOnceByThreadsThatUseItTogether) {
    if (testing::UnitTest::GetInstance()->test_to_run_count() > 1) {
        GTEST_SKIP() << "needs a name that no other test of this process has used";
    }
    EXPECT_STREQ(COMPONENT_NAME.parameter, "zeb.common.TextOperations");
    EXPECT_EQ(COMPONENT_NAME.built, 0);
    EXPECT_EQ(COMPONENT_NAME.object, nullptr);

    std::atomic<bool> go = false;
    std::vector<String*> objects(8);
    std::vector<std::thread> threads;
    for (String*& object : objects) {
        threads.emplace_back([&go, &object] {
            while (!go) {
                std::this_thread::yield();
            }
            object = &COMPONENT_NAME.get();
        });
    }
    go = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (String const* const object : objects) {
        EXPECT_EQ(object, objects[0]);
    }
    EXPECT_EQ(*objects[0], "zeb.common.TextOperations");
    EXPECT_EQ(COMPONENT_NAME.built, 1);
}

TEST(ComponentName, OperationsAreReentrant) {
    auto const data = zeb::test::arrayOf(zeb::test::bytesOf(
        u'\xFEFF' + std::u16string(1000, u'\x20AC') + u"\xDC00", ZEBNS2::BOM_UTF16_BE));
    String const text("a,b,\"c,d\"");
    String const converted = ZEBNS2::convertToUTF8(data);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                wrong += ZEBNS2::convertToUTF8(data) != converted;
                wrong += ZEBNS2::search_replace(text, ",", ";") != "a;b;\"c;d\"";
                wrong += ZEBNS2::quoted_string_tokenization(text, ",").size() != 3;
                wrong += ZEBNS2::get_unit_size("kb") != 1024;
                wrong += ZEBNS2::extractGenericDate("at Tue Mar 14 09:26:53 2023.") !=
                         "Tue Mar 14 09:26:53 2023";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
