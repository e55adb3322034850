#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include <zeb/foundation/String.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

using zeb::foundation::String;
using zeb::xmltoolkit::XMLNode;
using zeb::xmltoolkit::XMLParserDOM;

// The program's own malloc: it counts, and fails when told to. Everything in the process uses it,
// libexpat and operator new included.

namespace {

constexpr long NEVER = -1;

/// Allocations that still succeed; NEVER for all of them. The tests have one thread.
long allocationsLeft = NEVER;
long blocksInUse = 0;

bool mayAllocate() {
    if (allocationsLeft == 0) {
        errno = ENOMEM;
        return false;
    }
    if (allocationsLeft != NEVER) {
        --allocationsLeft;
    }
    return true;
}

void* counted(void* block) {
    blocksInUse += block == nullptr ? 0 : 1;
    return block;
}

}  // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) { return mayAllocate() ? counted(__libc_malloc(size)) : nullptr; }
void* calloc(std::size_t count, std::size_t size) {
    return mayAllocate() ? counted(__libc_calloc(count, size)) : nullptr;
}
void* realloc(void* block, std::size_t size) {
    if (!mayAllocate()) {
        return nullptr;
    }
    void* const moved = __libc_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}
void free(void* block) {
    blocksInUse -= block == nullptr ? 0 : 1;
    __libc_free(block);
}
}

namespace {

/// A text that makes every block of a tree grow.
String sample() {
    std::string xml =
        "<!DOCTYPE a [<!ENTITY e 'x<b/>y'><!ATTLIST b x CDATA 'd'>]><a>&e;<![CDATA[<]]>";
    for (int i = 0; i < 100; ++i) {
        std::string const number = std::to_string(i);
        xml += "<n" + number + " a" + number + "='" + std::string(50, 'v') + "'>t</n" + number +
               "><b>";
    }
    for (int i = 0; i < 100; ++i) {
        xml += "</b>";
    }
    return xml + "</a>";
}

/// Runs `action` with ever more memory until it succeeds.
/// @return how often it was refused memory
template <typename Action>
long refusals(Action action) {
    for (long allowed = 0;; ++allowed) {
        long const before = blocksInUse;
        allocationsLeft = allowed;
        bool refused = false;
        try {
            action();
        } catch (std::bad_alloc const&) {
            refused = true;
        }
        allocationsLeft = NEVER;
        EXPECT_EQ(blocksInUse, before) << "with " << allowed << " allocations";
        if (!refused) {
            return allowed;
        }
    }
}

TEST(XMLMemoryExhaustion, ParsingThrowsBadAllocAndLeaksNothing) {
    String const xml = sample();
    EXPECT_GT(refusals([&] { static_cast<void>(XMLParserDOM::parse(xml)); }), 30);
}

TEST(XMLMemoryExhaustion, ReadingThrowsBadAllocAndLeavesTheTree) {
    XMLNode const node = XMLParserDOM::parse(sample());
    String const rendered = node.toString();
    EXPECT_GT(refusals([&] { static_cast<void>(node.toString()); }), 1);
    EXPECT_GT(refusals([&] { static_cast<void>(node.getText()); }), 0);
    EXPECT_GT(refusals([&] { static_cast<void>(node.getName()); }), 0);
    XMLNode const child = node.getChild().getNext();
    EXPECT_GT(refusals([&] { static_cast<void>(child.getAttrs()); }), 1);
    EXPECT_EQ(node.toString(), rendered);
}

TEST(XMLMemoryExhaustion, WalkingAllocatesNothing) {
    XMLNode const node = XMLParserDOM::parse(sample());
    EXPECT_EQ(refusals([&] {
                  std::size_t attributes = 0;
                  for (XMLNode child = node.getChild(); child; child = child.getNext()) {
                      attributes += child.attributeCount() + child.nameView().size();
                  }
                  ASSERT_GT(attributes, 0u);
              }),
              0);
}

}  // namespace
