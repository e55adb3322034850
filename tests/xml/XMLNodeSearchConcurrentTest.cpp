#include <OrventoXMLOperations.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include "LogCapture.hpp"

namespace {

using zeb::xmltoolkit::XMLParserDOM;
using ZEBNS2::String;
using ZEBNS2::validateXML;
using ZEBNS2::XMLNode;
using ZEBNS2::XMLNodeSearch;

constexpr int THREADS = 8;

XMLNode manyDisks() {
    std::string xml = "<config>";
    for (int i = 0; i < 100; ++i) {
        xml += "<disk id='" + std::to_string(i) + "'><partition/></disk>";
    }
    return XMLParserDOM::parse(xml + "</config>");
}

/// Calls `action` with the number of the thread in all threads at once.
template <typename Action>
void inThreads(Action action) {
    std::atomic<int> waiting{THREADS};
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number) {
        threads.emplace_back([&waiting, action, number] {
            for (--waiting; waiting > 0;) {
                std::this_thread::yield();
            }
            action(number);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(XMLNodeSearchConcurrent, ThreadsSearchOneTreeAndDropItsHandles) {
    XMLNode tree = manyDisks();
    std::atomic<int> failures{0};
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number) {
        threads.emplace_back([&failures, &ready, number, own = tree]() mutable {
            ++ready;
            for (int round = 0; round < 50; ++round) {
                std::string const id = std::to_string((number * 50 + round) % 100);
                std::string const query = "config.disk[id=" + id + "].partition";
                XMLNode const found = XMLNodeSearch(own, String(query));
                failures += found.getName() == "partition" ? 0 : 1;
                failures += XMLNodeSearch(own, "config.disk.x").isNull() ? 0 : 1;
            }
            // The last of all handles goes in one of the threads.
            own = XMLNode();
        });
    }
    while (ready < THREADS) {
        std::this_thread::yield();
    }
    tree = XMLNode();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

TEST(XMLNodeSearchConcurrent, ThreadsReadOneHandle) {
    XMLNode const tree = manyDisks();
    String const rendered = tree.toString();
    std::atomic<int> failures{0};
    inThreads([&](int) {
        int disks = 0;
        for (XMLNode disk = tree.getChild(); disk; disk = disk.getNext()) {
            disks += disk.getAttrs().size() == 1 ? 1 : 0;
        }
        failures += disks == 100 ? 0 : 1;
        failures += tree.toString() == rendered ? 0 : 1;
    });
    EXPECT_EQ(failures, 0);
}

TEST(XMLNodeSearchConcurrent, ThreadsParseAndLogAtOnce) {
    zeb::test::LogCapture const log;
    std::atomic<int> failures{0};
    inThreads([&](int number) {
        XMLNode const tree = XMLParserDOM::parse("<a><b x='1'/></a>");
        failures += XMLNodeSearch(tree, "a.b[x=1]") ? 0 : 1;
        String message;
        failures +=
            validateXML(number % 2 == 0 ? "<a>" : "<a/>", message) == (number % 2 != 0) ? 0 : 1;
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(log.messages().size() % THREADS, 0u);
    EXPECT_GT(log.messages().size(), 0u);
}

}  // namespace
