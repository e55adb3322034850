#include <zeb/foundation/Logger.hpp>

#include <syslog.h>

#include <algorithm>
#include <atomic>
#include <ostream>
#include <string>
#include <utility>

namespace zeb::foundation {

namespace {

/// The process's default. The level is separate so that a disabled message costs one read.
class Default {
public:
    int level() const noexcept { return level_.load(std::memory_order_relaxed); }

    IntrusiveReference<LogAppender> appender() {
        std::lock_guard const lock(mutex_);
        return appender_;
    }

    void set(int level, IntrusiveReference<LogAppender> appender) noexcept {
        if (level == Logger::NO_LEVEL) {
            appender = IntrusiveReference<LogAppender>();
        }
        {
            std::lock_guard const lock(mutex_);
            level_.store(appender ? level : int{Logger::NO_LEVEL}, std::memory_order_relaxed);
            appender_.swap(appender);
        }
        // The old appender is destroyed here, outside the lock, since its destructor may log.
    }

    // A message from a later destructor finds logging switched off.
    ~Default() { set(Logger::NO_LEVEL, IntrusiveReference<LogAppender>()); }

private:
    std::atomic<int> level_{Logger::NO_LEVEL};
    std::mutex mutex_;
    IntrusiveReference<LogAppender> appender_;
};

Default processDefault;

int syslogPriority(String const& category) noexcept {
    if (category == Logger::STR_FATAL_CATEGORY) {
        return LOG_CRIT;
    }
    if (category == Logger::STR_ERROR_CATEGORY) {
        return LOG_ERR;
    }
    if (category == Logger::STR_WARNING_CATEGORY) {
        return LOG_WARNING;
    }
    if (category == Logger::STR_INFO_CATEGORY) {
        return LOG_INFO;
    }
    return LOG_DEBUG;
}

}  // namespace

LogAppender::LogAppender() = default;
LogAppender::~LogAppender() noexcept(false) = default;

StreamAppender::StreamAppender(std::ostream& stream) : stream_(stream) {}
StreamAppender::~StreamAppender() noexcept(false) = default;

void StreamAppender::append(LogMessage const& message) {
    std::lock_guard const lock(mutex_);
    stream_ << message.category << ' ' << message.component << ": " << message.text << '\n';
    stream_.flush();
}

SyslogAppender::SyslogAppender() = default;
SyslogAppender::~SyslogAppender() noexcept(false) = default;

void SyslogAppender::append(LogMessage const& message) {
    std::string text{std::string_view(message.text)};
    std::replace(text.begin(), text.end(), '\0', ' ');
    ::syslog(syslogPriority(message.category), "%s: %s", message.component.c_str(), text.c_str());
}

CallbackAppender::CallbackAppender(Callback callback) : callback_(std::move(callback)) {}
CallbackAppender::~CallbackAppender() noexcept(false) = default;

void CallbackAppender::append(LogMessage const& message) {
    if (callback_) {
        callback_(message);
    }
}

Logger::Logger(String component, IntrusiveReference<LogAppender> appender) noexcept
    : component_(std::move(component)),
      appender_(std::move(appender)),
      level_(appender_ ? int{DEBUG3_LEVEL} : processDefault.level()) {}

void Logger::logMessage(char const* category, String const& message, char const* file, int line,
                        char const* function) const {
    IntrusiveReference<LogAppender> const appender =
        appender_ ? appender_ : processDefault.appender();
    if (appender) {
        appender->append({component_, category, message, file, line, function});
    }
}

void Logger::setDefault(Level level, IntrusiveReference<LogAppender> appender) noexcept {
    processDefault.set(level, std::move(appender));
}

}  // namespace zeb::foundation
