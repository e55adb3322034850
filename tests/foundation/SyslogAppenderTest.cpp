#include <zeb/foundation/Logger.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// This program has the system's log in its own hands: it defines libc's functions. Hardened builds
// call the second instead of the first, or the third, by clang++ with glibc 2.40 and later.

namespace {

struct Entry {
    int priority;
    std::string format;
    std::string text;

    friend bool operator==(Entry const& a, Entry const& b) {
        return a.priority == b.priority && a.format == b.format && a.text == b.text;
    }
    friend std::ostream& operator<<(std::ostream& out, Entry const& entry) {
        return out << entry.priority << ' ' << entry.format << ' ' << entry.text;
    }
};

std::vector<Entry> entries;

void note(int priority, char const* format, std::va_list arguments) {
    char text[1024];
    std::vsnprintf(text, sizeof text, format, arguments);
    entries.push_back({priority, format, text});
}

}  // namespace

extern "C" {
void syslog(int priority, char const* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    note(priority, format, arguments);
    va_end(arguments);
}
void __syslog_chk(int priority, int, char const* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    note(priority, format, arguments);
    va_end(arguments);
}
void __vsyslog_chk(int priority, int, char const* format, std::va_list arguments) {
    note(priority, format, arguments);
}
}

namespace {

using testing::ElementsAre;
using zeb::foundation::IntrusiveReference;
using zeb::foundation::LogAppender;
using zeb::foundation::Logger;
using zeb::foundation::String;
using zeb::foundation::SyslogAppender;
using namespace std::string_view_literals;

class SyslogAppenderTest : public testing::Test {
protected:
    SyslogAppenderTest() { entries.clear(); }

    Logger const logger{"zeb.test", IntrusiveReference<LogAppender>(new SyslogAppender)};
};

TEST_F(SyslogAppenderTest, EveryCategoryHasItsPriority) {
    constexpr std::pair<char const*, int> ROWS[] = {
        {Logger::STR_FATAL_CATEGORY, LOG_CRIT},      {Logger::STR_ERROR_CATEGORY, LOG_ERR},
        {Logger::STR_WARNING_CATEGORY, LOG_WARNING}, {Logger::STR_INFO_CATEGORY, LOG_INFO},
        {Logger::STR_DEBUG_CATEGORY, LOG_DEBUG},     {Logger::STR_DEBUG2_CATEGORY, LOG_DEBUG},
        {Logger::STR_DEBUG3_CATEGORY, LOG_DEBUG},    {"a category of somebody's own", LOG_DEBUG},
    };
    for (auto const& [category, priority] : ROWS) {
        SCOPED_TRACE(category);
        entries.clear();
        logger.logMessage(category, "text", "Unit", 1, "f");
        EXPECT_THAT(entries, ElementsAre(Entry{priority, "%s: %s", "zeb.test: text"}));
    }
}

TEST_F(SyslogAppenderTest, AMessageIsNeverTakenForAFormat) {
    ZEB_LOG_DEBUG(logger, "Unit", "100%s %n %d %%");
    EXPECT_THAT(entries, ElementsAre(Entry{LOG_DEBUG, "%s: %s", "zeb.test: 100%s %n %d %%"}));
}

TEST_F(SyslogAppenderTest, NulBytesAreWrittenAsBlanks) {
    ZEB_LOG_DEBUG(logger, "Unit", String("a\0b\0"sv));
    EXPECT_THAT(entries, ElementsAre(Entry{LOG_DEBUG, "%s: %s", "zeb.test: a b "}));
}

TEST_F(SyslogAppenderTest, ServesAsTheProcessesDefault) {
    Logger::setDefault(Logger::WARNING_LEVEL, IntrusiveReference<LogAppender>(new SyslogAppender));
    Logger const other("zeb.other");
    ZEB_LOG(other, WARNING, "Unit", "let through");
    ZEB_LOG(other, INFO, "Unit", "held back");
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    EXPECT_THAT(entries, ElementsAre(Entry{LOG_WARNING, "%s: %s", "zeb.other: let through"}));
}

}  // namespace
