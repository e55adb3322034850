#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/IntrusiveReference.hpp>
#include <zeb/foundation/LazyGlobal.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/foundation/String.hpp>

#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <ostream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using zeb::foundation::CallbackAppender;
using zeb::foundation::Exception;
using zeb::foundation::IntrusiveCounted;
using zeb::foundation::IntrusiveReference;
using zeb::foundation::LazyGlobal;
using zeb::foundation::LogAppender;
using zeb::foundation::Logger;
using zeb::foundation::LogMessage;
using zeb::foundation::StreamAppender;
using zeb::foundation::String;
using zeb::foundation::StringArray;

constexpr int THREADS = 8;
constexpr int ROUNDS = 500;

/// Runs `action`, which gets the thread's number, in all threads at once.
template <typename Action>
void inAllThreads(Action action) {
    std::atomic<int> waiting{THREADS};
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number) {
        threads.emplace_back([&, number] {
            --waiting;
            while (waiting > 0) {
                std::this_thread::yield();
            }
            action(number);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(ConcurrentReferences, DestroyTheObjectOnceWhenTheLastIsDropped) {
    struct Object : IntrusiveCounted {
        explicit Object(std::atomic<int>* count) : destroyed(count) {}
        ~Object() { ++*destroyed; }
        std::atomic<int>* destroyed;
    };
    std::atomic<int> destroyed{0};
    for (int round = 0; round < 20; ++round) {
        destroyed = 0;
        std::vector<IntrusiveReference<Object>> own(
            THREADS, IntrusiveReference<Object>(new Object(&destroyed)));
        inAllThreads([&](int number) {
            IntrusiveReference<Object>& mine = own[static_cast<std::size_t>(number)];
            for (int i = 0; i < ROUNDS; ++i) {
                IntrusiveReference<Object> const copy(mine);
                EXPECT_EQ(*copy->destroyed, 0);
            }
            mine = IntrusiveReference<Object>();
        });
        EXPECT_EQ(destroyed, 1);
    }
}

TEST(ConcurrentStrings, CopiesAreIndependent) {
    String const text("shared text");
    inAllThreads([&](int number) {
        std::string const tail = std::to_string(number);
        for (int i = 0; i < ROUNDS; ++i) {
            String copy(text);
            String const another(copy);
            copy += tail;
            EXPECT_EQ(copy, "shared text" + tail);
            EXPECT_EQ(another, text);
        }
    });
    EXPECT_EQ(text, "shared text");
}

TEST(ConcurrentStrings, TheLastOwnerMayBeAnyThread) {
    for (int round = 0; round < 50; ++round) {
        std::vector<String> own(THREADS, String("handed over"));
        inAllThreads([&](int number) {
            String& mine = own[static_cast<std::size_t>(number)];
            mine += "!";  // the last one to come finds the bytes its own
            EXPECT_EQ(mine, "handed over!");
        });
    }
}

TEST(ConcurrentArrays, CopiesAreIndependent) {
    StringArray const array{"a", "b", "c"};
    inAllThreads([&](int number) {
        for (int i = 0; i < ROUNDS; ++i) {
            StringArray copy(array);
            copy[1] = String(std::to_string(number));
            copy.append("d");
            EXPECT_EQ(copy[1], std::to_string(number));
            EXPECT_EQ(copy.size(), 4u);
            EXPECT_EQ(array[1], "b");
        }
    });
    EXPECT_TRUE(array == (StringArray{"a", "b", "c"}));
}

TEST(ConcurrentExceptions, ShareTheirCause) {
    Exception const cause("Cause", 1, "cause", 0, nullptr, 0);
    Exception const exception("Unit", 1, "message", 0, &cause, 0);
    inAllThreads([&](int) {
        for (int i = 0; i < ROUNDS; ++i) {
            std::unique_ptr<Exception> const clone(exception.clone());
            EXPECT_STREQ(clone->getChained()->getMessage(), "cause");
        }
    });
}

/// Counts the objects made; the first ones fail when a test wants that.
struct CountingFactory {
    static String* create(char const* parameter) {
        ++calls;
        if (failuresLeft.fetch_sub(1) > 0) {
            throw std::runtime_error("not yet");
        }
        return new String(parameter);
    }
    static inline std::atomic<int> calls{0};
    static inline std::atomic<int> failuresLeft{0};
};

using Global = LazyGlobal<String, CountingFactory>;

TEST(ConcurrentLazyGlobal, IsBuiltOnce) {
    for (int round = 0; round < 100; ++round) {
        CountingFactory::calls = 0;
        CountingFactory::failuresLeft = 0;
        Global global = {"parameter", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
        std::vector<String const*> seen(THREADS);
        inAllThreads([&](int number) {
            String const& object = global.get();
            EXPECT_EQ(object, "parameter");
            seen[static_cast<std::size_t>(number)] = &object;
        });
        EXPECT_EQ(CountingFactory::calls, 1);
        EXPECT_EQ(std::set<String const*>(seen.begin(), seen.end()).size(), 1u);
    }
}

TEST(ConcurrentLazyGlobal, IsTriedAgainByTheNextThreadWhenBuildingThrows) {
    for (int round = 0; round < 50; ++round) {
        CountingFactory::calls = 0;
        CountingFactory::failuresLeft = 3;
        Global global = {"parameter", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
        std::atomic<int> failures{0};
        inAllThreads([&](int) {
            try {
                EXPECT_EQ(global.get(), "parameter");
            } catch (std::runtime_error const&) {
                ++failures;
            }
        });
        EXPECT_EQ(failures, 3);
        EXPECT_EQ(CountingFactory::calls, 4);
    }
}

TEST(ConcurrentLogging, LosesNoMessageWhenTheDefaultChanges) {
    std::atomic<int> received{0};
    auto const appender = [&] {
        return IntrusiveReference<LogAppender>(new CallbackAppender([&](LogMessage const& message) {
            EXPECT_EQ(message.text, "text");
            ++received;
        }));
    };
    Logger::setDefault(Logger::DEBUG_LEVEL, appender());
    inAllThreads([&](int number) {
        for (int i = 0; i < ROUNDS; ++i) {
            if (number == 0) {
                Logger::setDefault(i % 2 == 0 ? Logger::DEBUG_LEVEL : Logger::DEBUG3_LEVEL,
                                   appender());
            } else {
                Logger const logger("zeb.test");
                ZEB_LOG_DEBUG(logger, "Unit", "text");
            }
        }
    });
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    EXPECT_EQ(received, (THREADS - 1) * ROUNDS);
}

TEST(ConcurrentLogging, EndsWithItsAppenderWhenItIsSwitchedOff) {
    // An appender that is dropped while others still write to it must live until they are through.
    class Checked : public LogAppender {
    public:
        explicit Checked(std::atomic<int>* ends) : ends_(ends) {}
        ~Checked() noexcept(false) override {
            EXPECT_EQ(writers_, 0);
            ++*ends_;
        }
        void append(LogMessage const&) override {
            ++writers_;
            std::this_thread::yield();
            --writers_;
        }

    private:
        std::atomic<int> writers_{0};
        std::atomic<int>* ends_;
    };
    std::atomic<int> made{0};
    std::atomic<int> ended{0};
    inAllThreads([&](int number) {
        for (int i = 0; i < ROUNDS; ++i) {
            if (number < 2 && i % 2 == 0) {
                ++made;
                Logger::setDefault(Logger::DEBUG_LEVEL,
                                   IntrusiveReference<LogAppender>(new Checked(&ended)));
            } else if (number < 2) {
                Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
            } else {
                Logger const logger("zeb.test");
                ZEB_LOG_DEBUG(logger, "Unit", "text");
            }
        }
    });
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    EXPECT_EQ(ended, made);
}

/// Keeps what is written, and lets other threads go first after each piece.
class Yielding : public std::streambuf {
public:
    std::string bytes;

protected:
    std::streamsize xsputn(char const* piece, std::streamsize count) override {
        bytes.append(piece, static_cast<std::size_t>(count));
        std::this_thread::yield();
        return count;
    }
    int_type overflow(int_type byte) override {
        bytes.push_back(traits_type::to_char_type(byte));
        return byte;
    }
};

TEST(ConcurrentLogging, LinesOfAStreamStayWhole) {
    Yielding buffer;
    std::ostream stream(&buffer);
    Logger::setDefault(Logger::DEBUG_LEVEL,
                       IntrusiveReference<LogAppender>(new StreamAppender(stream)));
    inAllThreads([&](int number) {
        Logger const logger("zeb.test");
        String const text(std::string(50, static_cast<char>('a' + number)));
        for (int i = 0; i < ROUNDS; ++i) {
            ZEB_LOG_DEBUG(logger, "Unit", text);
        }
    });
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    std::istringstream lines(buffer.bytes);
    std::vector<int> count(THREADS);
    for (std::string line; std::getline(lines, line);) {
        ASSERT_EQ(line.size(), std::string_view("DEBUG zeb.test: ").size() + 50) << line;
        char const letter = line.back();
        ASSERT_EQ(line, "DEBUG zeb.test: " + std::string(50, letter));
        ++count[static_cast<std::size_t>(letter - 'a')];
    }
    EXPECT_EQ(count, std::vector<int>(THREADS, ROUNDS));
}

}  // namespace
