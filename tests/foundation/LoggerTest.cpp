#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>

#include <LogCapture.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::foundation::CallbackAppender;
using zeb::foundation::ErrnoGuard;
using zeb::foundation::Format;
using zeb::foundation::IntrusiveReference;
using zeb::foundation::LogAppender;
using zeb::foundation::Logger;
using zeb::foundation::LogMessage;
using zeb::foundation::StreamAppender;
using zeb::foundation::String;
using zeb::test::LogCapture;
using namespace std::string_view_literals;

using AppenderReference = IntrusiveReference<LogAppender>;

static_assert(Logger::NO_LEVEL == 0 && Logger::FATAL_LEVEL == 1 && Logger::ERROR_LEVEL == 2 &&
              Logger::WARNING_LEVEL == 3 && Logger::INFO_LEVEL == 4 && Logger::DEBUG_LEVEL == 5 &&
              Logger::DEBUG2_LEVEL == 6 && Logger::DEBUG3_LEVEL == 7);
static_assert(std::is_same_v<decltype(std::declval<Logger const&>().getLogLevel()), int>);
static_assert(noexcept(std::declval<Logger const&>().getLogLevel()));

/// Switches logging off when a test ends, however it ends.
class LoggerTest : public testing::Test {
protected:
    ~LoggerTest() override { Logger::setDefault(Logger::NO_LEVEL, AppenderReference()); }
};
using LoggerDefault = LoggerTest;
using LoggerMacros = LoggerTest;

TEST(LoggerCategories, HaveTheirNames) {
    EXPECT_STREQ(Logger::STR_FATAL_CATEGORY, "FATAL");
    EXPECT_STREQ(Logger::STR_ERROR_CATEGORY, "ERROR");
    EXPECT_STREQ(Logger::STR_WARNING_CATEGORY, "WARNING");
    EXPECT_STREQ(Logger::STR_INFO_CATEGORY, "INFO");
    EXPECT_STREQ(Logger::STR_DEBUG_CATEGORY, "DEBUG");
    EXPECT_STREQ(Logger::STR_DEBUG2_CATEGORY, "DEBUG2");
    EXPECT_STREQ(Logger::STR_DEBUG3_CATEGORY, "DEBUG3");
}

// ---------------------------------------------------------------- the process's default

TEST_F(LoggerDefault, IsOff) {
    Logger const logger("component");
    EXPECT_EQ(logger.getLogLevel(), 0);
    logger.logMessage(Logger::STR_FATAL_CATEGORY, "nobody listens", "Unit", 1, "f");
}

TEST_F(LoggerDefault, GivesItsLevel) {
    for (int level = Logger::FATAL_LEVEL; level <= Logger::DEBUG3_LEVEL; ++level) {
        LogCapture const log(static_cast<Logger::Level>(level));
        EXPECT_EQ(Logger("component").getLogLevel(), level);
    }
    EXPECT_EQ(Logger("component").getLogLevel(), 0);
}

TEST_F(LoggerDefault, IsOffWithoutALevel) {
    int calls = 0;
    Logger::setDefault(
        Logger::DEBUG3_LEVEL,
        AppenderReference(new CallbackAppender([&](LogMessage const&) { ++calls; })));
    Logger const before("component");
    Logger::setDefault(
        Logger::NO_LEVEL,
        AppenderReference(new CallbackAppender([&](LogMessage const&) { ++calls; })));
    EXPECT_EQ(Logger("component").getLogLevel(), 0);
    before.logMessage(Logger::STR_FATAL_CATEGORY, "x", "Unit", 1, "f");
    EXPECT_EQ(calls, 0);
}

TEST_F(LoggerDefault, IsOffWithoutAnAppender) {
    Logger::setDefault(Logger::DEBUG3_LEVEL, AppenderReference());
    EXPECT_EQ(Logger("component").getLogLevel(), 0);
}

TEST_F(LoggerDefault, LoggersBuiltBeforeKeepTheirLevelAndFollowTheAppender) {
    LogCapture const first(Logger::INFO_LEVEL);
    Logger const logger("component");
    LogCapture const second(Logger::DEBUG3_LEVEL);
    EXPECT_EQ(logger.getLogLevel(), 4);
    EXPECT_EQ(Logger("component").getLogLevel(), 7);
    logger.logMessage(Logger::STR_INFO_CATEGORY, "x", "Unit", 1, "f");
    EXPECT_THAT(first.lines(), IsEmpty());
    EXPECT_THAT(second.lines(), ElementsAre("INFO component: x"));
}

TEST_F(LoggerDefault, DropsItsAppenderForTheNext) {
    class Told : public LogAppender {
    public:
        explicit Told(bool* ended) : ended_(ended) {}
        ~Told() noexcept(false) override { *ended_ = true; }
        void append(LogMessage const&) override {}

    private:
        bool* ended_;
    };
    bool ended = false;
    Logger::setDefault(Logger::INFO_LEVEL, AppenderReference(new Told(&ended)));
    EXPECT_FALSE(ended);
    Logger::setDefault(Logger::NO_LEVEL, AppenderReference());
    EXPECT_TRUE(ended);
}

TEST_F(LoggerDefault, AnAppenderMayLogWhenItIsDropped) {
    class Talkative : public LogAppender {
    public:
        ~Talkative() noexcept(false) override {
            Logger("end").logMessage(Logger::STR_INFO_CATEGORY, "good bye", "Unit", 1, "f");
        }
        void append(LogMessage const&) override {}
    };
    Logger::setDefault(Logger::INFO_LEVEL, AppenderReference(new Talkative));
    LogCapture const log;  // replaces it; a lock taken meanwhile would never be released
    EXPECT_THAT(log.lines(), ElementsAre("INFO end: good bye"));
}

// ---------------------------------------------------------------- messages

TEST_F(LoggerTest, HandsOverEveryPartOfAMessage) {
    LogCapture const log;
    Logger const logger(String("com\0ponent"sv));
    logger.logMessage(Logger::STR_DEBUG2_CATEGORY, "te\nx\0t"sv, "Unit", 42, "void f(int)");
    ASSERT_EQ(log.messages().size(), 1u);
    auto const message = log.messages()[0];
    EXPECT_EQ(message.component, "com\0ponent"sv);
    EXPECT_EQ(message.category, "DEBUG2");
    EXPECT_EQ(message.text, "te\nx\0t"sv);
    EXPECT_EQ(message.file, "Unit");
    EXPECT_EQ(message.line, 42);
    EXPECT_EQ(message.function, "void f(int)");
}

TEST_F(LoggerTest, LogMessageItselfAsksForNoLevel) {
    LogCapture const log(Logger::FATAL_LEVEL);
    Logger const logger("component");
    logger.logMessage(Logger::STR_DEBUG3_CATEGORY, "x", "Unit", 1, "f");
    EXPECT_THAT(log.lines(), ElementsAre("DEBUG3 component: x"));
}

TEST_F(LoggerTest, WithAnAppenderOfItsOwnLetsEverythingThrough) {
    LogCapture const log(Logger::FATAL_LEVEL);
    std::vector<std::string> own;
    Logger const logger("component",
                        AppenderReference(new CallbackAppender([&](LogMessage const& message) {
                            own.emplace_back(std::string_view(message.text));
                        })));
    EXPECT_EQ(logger.getLogLevel(), 7);
    ZEB_LOG_DEBUG3(logger, "Unit", "mine");
    EXPECT_THAT(own, ElementsAre("mine"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LoggerTest, SharesItsAppenderWithItsCopies) {
    int calls = 0;
    Logger const logger(
        "component", AppenderReference(new CallbackAppender([&](LogMessage const&) { ++calls; })));
    {
        Logger const copy(logger);
        ZEB_LOG_DEBUG(copy, "Unit", "x");
    }
    ZEB_LOG_DEBUG(logger, "Unit", "x");
    EXPECT_EQ(calls, 2);
}

TEST_F(LoggerTest, WhatAnAppenderThrowsReachesTheFunctionThatLogs) {
    Logger const logger("component", AppenderReference(new CallbackAppender([](LogMessage const&) {
                            throw std::runtime_error("no room");
                        })));
    EXPECT_THROW(ZEB_LOG_DEBUG(logger, "Unit", "x"), std::runtime_error);
}

// ---------------------------------------------------------------- macros

TEST_F(LoggerMacros, LogFromTheirLevelOn) {
    std::vector<std::string> const all = {"FATAL c: 1", "ERROR c: 2",  "WARNING c: 3", "INFO c: 4",
                                          "DEBUG c: 5", "DEBUG2 c: 6", "DEBUG3 c: 7"};
    for (int level = Logger::FATAL_LEVEL; level <= Logger::DEBUG3_LEVEL; ++level) {
        LogCapture const log(static_cast<Logger::Level>(level));
        Logger const logger("c");
        ZEB_LOG(logger, FATAL, "Unit", "1");
        ZEB_LOG(logger, ERROR, "Unit", "2");
        ZEB_LOG(logger, WARNING, "Unit", "3");
        ZEB_LOG(logger, INFO, "Unit", "4");
        ZEB_LOG_DEBUG(logger, "Unit", "5");
        ZEB_LOG_DEBUG2(logger, "Unit", "6");
        ZEB_LOG_DEBUG3(logger, "Unit", "7");
        EXPECT_EQ(log.lines(), std::vector<std::string>(all.begin(), all.begin() + level));
    }
}

TEST_F(LoggerMacros, TellUnitLineAndFunction) {
    LogCapture const log;
    Logger const logger("c");
    int const line = __LINE__ + 1;
    ZEB_LOG_DEBUG(logger, "Unit", "x");
    ASSERT_EQ(log.messages().size(), 1u);
    EXPECT_EQ(log.messages()[0].file, "Unit");
    EXPECT_EQ(log.messages()[0].line, line);
    EXPECT_EQ(log.messages()[0].function, __PRETTY_FUNCTION__);
}

TEST_F(LoggerMacros, EvaluateTheMessageOnceAndOnlyWhenItIsLetThrough) {
    int evaluations = 0;
    auto const message = [&] {
        ++evaluations;
        return Format("%1", evaluations);
    };
    {
        Logger const logger("c");  // logging is off
        ZEB_LOG(logger, FATAL, "Unit", message());
        ZEB_LOG_DEBUG3(logger, "Unit", message());
        EXPECT_EQ(evaluations, 0);
    }
    LogCapture const log(Logger::DEBUG2_LEVEL);
    Logger const logger("c");
    ZEB_LOG_DEBUG3(logger, "Unit", message());
    EXPECT_EQ(evaluations, 0);
    ZEB_LOG_DEBUG2(logger, "Unit", message());
    EXPECT_EQ(evaluations, 1);
    EXPECT_THAT(log.lines(), ElementsAre("DEBUG2 c: 1"));
}

TEST_F(LoggerMacros, KeepErrno) {
    Logger const logger(
        "c", AppenderReference(new CallbackAppender([](LogMessage const&) { errno = EDOM; })));
    auto const message = [] {
        errno = EIO;
        return String("x");
    };
    errno = ENOENT;
    ZEB_LOG_DEBUG(logger, "Unit", message());
    EXPECT_EQ(errno, ENOENT);
    Logger::setDefault(Logger::NO_LEVEL, AppenderReference());
    errno = 0;
    ZEB_LOG_DEBUG(logger, "Unit", message());
    EXPECT_EQ(errno, 0);
}

TEST_F(LoggerMacros, KeepErrnoWhenTheAppenderThrows) {
    Logger const logger("c", AppenderReference(new CallbackAppender([](LogMessage const&) {
                            errno = EDOM;
                            throw std::runtime_error("no room");
                        })));
    errno = ENOENT;
    try {
        ZEB_LOG_DEBUG(logger, "Unit", "x");
        ADD_FAILURE();
    } catch (std::runtime_error const&) {
        EXPECT_EQ(errno, ENOENT);
    }
}

TEST_F(LoggerMacros, AreOneStatement) {
    LogCapture const log;
    Logger const logger("c");
    if (log.lines().empty())
        ZEB_LOG_DEBUG(logger, "Unit", "then");
    else
        ZEB_LOG_DEBUG(logger, "Unit", "else");
    EXPECT_THAT(log.lines(), ElementsAre("DEBUG c: then"));
}

TEST(ErrnoGuard, BringsTheOldNumberBack) {
    errno = ERANGE;
    {
        ErrnoGuard const guard;
        errno = EINVAL;
    }
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
}

// ---------------------------------------------------------------- appenders

TEST_F(LoggerTest, StreamAppenderWritesALineForEachMessage) {
    std::ostringstream stream;
    Logger::setDefault(Logger::DEBUG3_LEVEL, AppenderReference(new StreamAppender(stream)));
    Logger const logger("zeb.test");
    ZEB_LOG(logger, ERROR, "Unit", "first");
    ZEB_LOG_DEBUG2(logger, "Unit", String("two\nlines and a NUL\0."sv));
    EXPECT_EQ(stream.str(), "ERROR zeb.test: first\nDEBUG2 zeb.test: two\nlines and a NUL\0.\n"sv);
}

/// A stream buffer that counts how often it is asked to write everything out.
class Flushed : public std::stringbuf {
public:
    int count = 0;

protected:
    int sync() override {
        ++count;
        return 0;
    }
};

TEST_F(LoggerTest, StreamAppenderWritesEachMessageOutAtOnce) {
    Flushed buffer;
    std::ostream stream(&buffer);
    Logger const logger("c", AppenderReference(new StreamAppender(stream)));
    ZEB_LOG_DEBUG(logger, "Unit", "1");
    EXPECT_EQ(buffer.count, 1);
    ZEB_LOG_DEBUG(logger, "Unit", "2");
    EXPECT_EQ(buffer.count, 2);
}

/// A stream buffer whose first write fails.
class FailingOnce : public std::stringbuf {
protected:
    std::streamsize xsputn(char const* bytes, std::streamsize count) override {
        if (!std::exchange(hasFailed_, true)) {
            throw std::runtime_error("no room");
        }
        return std::stringbuf::xsputn(bytes, count);
    }

private:
    bool hasFailed_ = false;
};

TEST_F(LoggerTest, StreamAppenderIsUsableAgainWhenItsStreamHasThrown) {
    FailingOnce buffer;
    std::ostream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    Logger const logger("c", AppenderReference(new StreamAppender(stream)));
    EXPECT_THROW(ZEB_LOG_DEBUG(logger, "Unit", "lost"), std::runtime_error);
    stream.clear();
    ZEB_LOG_DEBUG(logger, "Unit", "kept");  // a lock taken then would never be released
    EXPECT_EQ(buffer.str(), "DEBUG c: kept\n");
}

TEST_F(LoggerTest, CallbackAppenderCallsItsFunction) {
    std::vector<std::string> lines;
    Logger::setDefault(
        Logger::DEBUG_LEVEL, AppenderReference(new CallbackAppender([&](LogMessage const& message) {
            lines.push_back(std::string(
                std::string_view(Format("%1|%2|%3|%4|%5|%6", message.component, message.category,
                                        message.text, message.file, message.line, message.function)
                                     .toString())));
        })));
    Logger("c").logMessage(Logger::STR_INFO_CATEGORY, "t", "Unit", 7, "f");
    EXPECT_THAT(lines, ElementsAre("c|INFO|t|Unit|7|f"));
}

TEST_F(LoggerTest, CallbackAppenderWithoutAFunctionDropsMessages) {
    Logger const logger("c", AppenderReference(new CallbackAppender(CallbackAppender::Callback())));
    EXPECT_NO_THROW(ZEB_LOG_DEBUG(logger, "Unit", "x"));
}

}  // namespace
