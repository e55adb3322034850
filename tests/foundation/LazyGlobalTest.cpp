#include <zeb/foundation/LazyGlobal.hpp>
#include <zeb/foundation/String.hpp>

#include <LogCapture.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "ThrowingDestructor.hpp"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::foundation::LazyGlobal;
using zeb::foundation::String;
using zeb::test::LogCapture;
using zeb::test::Thrown;

using Global = LazyGlobal<String>;

// The members, their order and their sizes: an aggregate as a C compiler would lay it out.
struct Expected {
    char const* parameter;
    String* object;
    std::int32_t built;
    pthread_mutex_t mutex;
};
static_assert(std::is_aggregate_v<Global>);
static_assert(std::is_standard_layout_v<Global>);
static_assert(std::is_same_v<decltype(Global::parameter), char const*>);
static_assert(std::is_same_v<decltype(Global::object), String*>);
static_assert(std::is_same_v<decltype(Global::built), std::atomic<std::int32_t>>);
static_assert(std::is_same_v<decltype(Global::mutex), pthread_mutex_t>);
static_assert(sizeof(Global::built) == 4 && std::atomic<std::int32_t>::is_always_lock_free);
static_assert(offsetof(Global, parameter) == offsetof(Expected, parameter));
static_assert(offsetof(Global, object) == offsetof(Expected, object));
static_assert(offsetof(Global, built) == offsetof(Expected, built));
static_assert(offsetof(Global, mutex) == offsetof(Expected, mutex));
static_assert(sizeof(Global) == sizeof(Expected));

Global staticGlobal = {"parameter", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};

TEST(LazyGlobal, IsBuiltFromItsParameterAtFirstUse) {
    EXPECT_EQ(staticGlobal.object, nullptr);
    EXPECT_EQ(staticGlobal.built, 0);
    EXPECT_EQ(staticGlobal.get(), "parameter");
    EXPECT_EQ(staticGlobal.built, 1);
    EXPECT_EQ(&staticGlobal.get(), staticGlobal.object);
}

TEST(LazyGlobal, EveryUseGivesTheSameObject) {
    Global global = {"parameter", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
    String& first = global.get();
    EXPECT_EQ(&global.get(), &first);
}

/// A place for a global whose bytes can be compared before and after its life.
template <typename LazyGlobalType>
class Storage {
public:
    Storage() {
        std::memset(bytes_, 0, sizeof bytes_);
        global_ = ::new (bytes_) LazyGlobalType{"parameter", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
        std::memcpy(atStart_, bytes_, sizeof bytes_);
    }
    LazyGlobalType* operator->() { return global_; }

    /// Destroys the global and reports whether its bytes are what they were at the start.
    bool isAsAtStartWhenDestroyed() {
        global_->~LazyGlobalType();
        unsigned char const* bytes = bytes_;
        // Hides from the optimiser that an object has just ended here, whose bytes mean nothing.
        asm volatile("" : "+r"(bytes) : : "memory");
        return std::memcmp(bytes, atStart_, sizeof bytes_) == 0;
    }

private:
    alignas(LazyGlobalType) unsigned char bytes_[sizeof(LazyGlobalType)];
    unsigned char atStart_[sizeof(LazyGlobalType)];
    LazyGlobalType* global_;
};

TEST(LazyGlobalTeardown, LeavesTheStateOfTheStart) {
    LogCapture const log;
    Storage<Global> global;
    EXPECT_EQ(global->get(), "parameter");
    EXPECT_TRUE(global.isAsAtStartWhenDestroyed());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(LazyGlobalTeardown, OfAnUnusedGlobalDeletesAndLogsNothing) {
    LogCapture const log;
    Storage<Global> global;
    EXPECT_TRUE(global.isAsAtStartWhenDestroyed());
    EXPECT_THAT(log.lines(), IsEmpty());
}

/// Fails at its end in the way that the test chooses.
struct Failing {
    explicit Failing(char const*) {}
    ~Failing() noexcept(false) { zeb::test::throwFromDestructor(thrown); }
    static inline Thrown thrown = Thrown::NOTHING;
};

std::vector<std::string> linesOfTeardown(Thrown thrown) {
    LogCapture const log;
    Failing::thrown = thrown;
    Storage<LazyGlobal<Failing>> global;
    global->get();
    EXPECT_TRUE(global.isAsAtStartWhenDestroyed());
    return log.lines();
}

TEST(LazyGlobalTeardown, LogsAnExceptionOfTheFamily) {
    EXPECT_THAT(linesOfTeardown(Thrown::FOUNDATION_EXCEPTION),
                ElementsAre("ERROR zeb.foundation: Caught exception in the LazyGlobal destructor: "
                            "of the foundation"));
}

TEST(LazyGlobalTeardown, LogsAStandardException) {
    EXPECT_THAT(linesOfTeardown(Thrown::STANDARD_EXCEPTION),
                ElementsAre("ERROR zeb.foundation: Caught exception in the LazyGlobal destructor: "
                            "of the standard library"));
}

TEST(LazyGlobalTeardown, LogsAnythingElseByTheTextAlone) {
    EXPECT_THAT(linesOfTeardown(Thrown::NUMBER),
                ElementsAre("ERROR zeb.foundation: Caught exception in the LazyGlobal destructor"));
}

TEST(LazyGlobalTeardown, LogsNothingOtherwise) {
    EXPECT_THAT(linesOfTeardown(Thrown::NOTHING), IsEmpty());
}

/// Gets its parameter and throws as often as the test chooses.
struct Reluctant {
    static String* create(char const* parameter) {
        ++calls;
        if (failuresLeft > 0) {
            --failuresLeft;
            throw std::runtime_error("not yet");
        }
        return new String(String(parameter) + " by the factory");
    }
    static inline int calls = 0;
    static inline int failuresLeft = 0;
};

TEST(LazyGlobalFactory, IsCalledOnce) {
    Reluctant::calls = 0;
    LazyGlobal<String, Reluctant> global = {"made", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
    EXPECT_EQ(global.get(), "made by the factory");
    EXPECT_EQ(global.get(), "made by the factory");
    EXPECT_EQ(Reluctant::calls, 1);
}

TEST(LazyGlobalFactory, ThatThrowsLeavesTheGlobalUnbuiltAndIsTriedAgain) {
    Reluctant::calls = 0;
    Reluctant::failuresLeft = 2;
    LazyGlobal<String, Reluctant> global = {"made", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
    for (int i = 0; i < 2; ++i) {
        EXPECT_THROW(global.get(), std::runtime_error);
        EXPECT_EQ(global.object, nullptr);
        EXPECT_EQ(global.built, 0);
        EXPECT_EQ(::pthread_mutex_trylock(&global.mutex), 0) << "the mutex was not released";
        ::pthread_mutex_unlock(&global.mutex);
    }
    EXPECT_EQ(global.get(), "made by the factory");
    EXPECT_EQ(Reluctant::calls, 3);
}

TEST(LazyGlobalFactory, GetsANullParameterToo) {
    LazyGlobal<String> global = {nullptr, nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
    EXPECT_EQ(global.get(), "");
}

TEST(LazyGlobal, AccessAfterItIsBuiltTakesNoLock) {
    LazyGlobal<String> global = {"parameter", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
    global.get();
    ASSERT_EQ(::pthread_mutex_lock(&global.mutex), 0);
    EXPECT_EQ(global.get(), "parameter");  // would wait forever
    ::pthread_mutex_unlock(&global.mutex);
}

/// Writes down the order of its ends.
struct Ordered {
    explicit Ordered(char const* name) : name_(name) {}
    ~Ordered() { ends.emplace_back(name_); }
    static inline std::vector<std::string> ends;

private:
    char const* name_;
};

TEST(LazyGlobalTeardown, HappensInReverseOrderOfDefinition) {
    {
        LazyGlobal<Ordered> first = {"first", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
        LazyGlobal<Ordered> second = {"second", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
        LazyGlobal<Ordered> unused = {"unused", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
        first.get();
        second.get();
    }
    EXPECT_THAT(Ordered::ends, ElementsAre("second", "first"));
}

}  // namespace
