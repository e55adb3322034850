#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/IntrusiveReference.hpp>
#include <zeb/foundation/String.hpp>

#include <cerrno>
#include <functional>
#include <iosfwd>
#include <mutex>

/// @file
/// Log messages: their source, their destination, and the test by which a disabled level costs next
/// to nothing. Messages may contain NUL bytes; the locale has no influence.

namespace zeb::foundation {

/// One message on its way to an appender.
struct LogMessage {
    String component;      ///< the logger's name, such as "zeb.common.regex"
    String category;       ///< one of the category constants of `Logger`
    String text;           ///< the message; may contain newlines and NUL bytes
    char const* file;      ///< source unit, a constant
    int line;              ///< line in it, 1-based
    char const* function;  ///< signature of the logging function, a constant
};

/// The destination of messages. Derive from it to route them into a log of your own.
///
/// What `append` throws reaches the function that logged.
/// @par Complexity `append` of the appenders below is linear in the message, plus the cost of the
///   stream, the system or the function that receives it; all else is constant.
/// @par Thread safety `append` may be called by several threads at once.
class ZEB_EXPORT LogAppender : public IntrusiveCounted {
public:
    LogAppender();
    /// May throw in a derived class; the thread that drops the last reference logs that.
    virtual ~LogAppender() noexcept(false);
    LogAppender(LogAppender const&) = delete;
    LogAppender& operator=(LogAppender const&) = delete;

    /// Takes one message; `message` is valid during the call only.
    virtual void append(LogMessage const& message) = 0;
};

/// Writes a line "category component: text" for each message to a stream, which must outlive it.
/// NUL bytes are written as they are.
/// @par Thread safety several threads may log at once, but none may use the stream otherwise
///   meanwhile.
class ZEB_EXPORT StreamAppender : public LogAppender {
public:
    /// Writes to `stream`.
    explicit StreamAppender(std::ostream& stream);
    ~StreamAppender() noexcept(false) override;
    /// Writes a line, whole even when several threads log.
    void append(LogMessage const& message) override;

private:
    std::mutex mutex_;
    std::ostream& stream_;
};

/// Sends each message as "component: text" to the system's log daemon, with the priority of its
/// category. NUL bytes of the text are written as blanks; the component ends at its first NUL.
/// @par Thread safety several threads may log at once.
class ZEB_EXPORT SyslogAppender : public LogAppender {
public:
    SyslogAppender();
    ~SyslogAppender() noexcept(false) override;
    /// Passes the message to `syslog`.
    void append(LogMessage const& message) override;
};

/// Calls a function for each message, which arrives unchanged, NUL bytes included.
/// @par Thread safety as safe as the function, which may be called by several threads at once.
class ZEB_EXPORT CallbackAppender : public LogAppender {
public:
    /// What is called for each message.
    using Callback = std::function<void(LogMessage const&)>;
    /// Calls `callback`, which must not be empty.
    explicit CallbackAppender(Callback callback);
    ~CallbackAppender() noexcept(false) override;
    /// Calls the function; what it throws reaches the function that logged.
    void append(LogMessage const& message) override;

private:
    Callback callback_;
};

/// A named source of messages, constructed in the function that logs.
///
/// Test the level first, so that a message whose level is disabled costs one comparison:
/// ```cpp
/// Logger const logger("my.component");
/// if (logger.getLogLevel() >= Logger::DEBUG_LEVEL) {
///     logger.logMessage(Logger::STR_DEBUG_CATEGORY, "text", "Unit", __LINE__, __func__);
/// }
/// ```
/// @par Complexity constant, plus the appender's cost.
/// @par Thread safety a logger belongs to one thread; `setDefault` may be called by any thread at
///   any time.
class ZEB_EXPORT Logger {
public:
    /// Which messages are logged; each level includes the lower ones.
    enum Level {
        NO_LEVEL = 0,
        FATAL_LEVEL = 1,
        ERROR_LEVEL = 2,
        WARNING_LEVEL = 3,
        INFO_LEVEL = 4,
        DEBUG_LEVEL = 5,
        DEBUG2_LEVEL = 6,
        DEBUG3_LEVEL = 7
    };

    /// Category of messages of `FATAL_LEVEL`.
    static constexpr char STR_FATAL_CATEGORY[] = "FATAL";
    /// Category of messages of `ERROR_LEVEL`.
    static constexpr char STR_ERROR_CATEGORY[] = "ERROR";
    /// Category of messages of `WARNING_LEVEL`.
    static constexpr char STR_WARNING_CATEGORY[] = "WARNING";
    /// Category of messages of `INFO_LEVEL`.
    static constexpr char STR_INFO_CATEGORY[] = "INFO";
    /// Category of messages of `DEBUG_LEVEL`.
    static constexpr char STR_DEBUG_CATEGORY[] = "DEBUG";
    /// Category of messages of `DEBUG2_LEVEL`.
    static constexpr char STR_DEBUG2_CATEGORY[] = "DEBUG2";
    /// Category of messages of `DEBUG3_LEVEL`.
    static constexpr char STR_DEBUG3_CATEGORY[] = "DEBUG3";

    /// @param component the name that the messages carry
    /// @param appender where they go; null for the process's default. A logger with an appender of
    ///   its own logs every level.
    explicit Logger(String component, IntrusiveReference<LogAppender> appender =
                                          IntrusiveReference<LogAppender>()) noexcept;

    /// The level when the logger was built, as an integer: one read of memory.
    [[nodiscard]] int getLogLevel() const noexcept { return level_; }

    /// Passes a message to the appender without testing the level. Does nothing when there is no
    /// appender.
    /// @param category one of the category constants, or any other text up to its NUL
    /// @param file,function constants that outlive the message
    /// @throws std::bad_alloc and whatever the appender throws
    void logMessage(char const* category, String const& message, char const* file, int line,
                    char const* function) const;

    /// Sets, for the whole process, the level and the appender. A null appender or `NO_LEVEL`
    /// switches logging off, which is the initial state. Existing loggers keep their level, but
    /// their messages go to the appender that is the default when they log.
    static void setDefault(Level level, IntrusiveReference<LogAppender> appender) noexcept;

private:
    String component_;
    IntrusiveReference<LogAppender> appender_;
    int level_;
};

/// Restores `errno` on destruction, so that logging never changes what a caller sees.
/// @par Complexity constant.
/// @par Thread safety each thread has an `errno` of its own; make and destroy it in one thread.
class ErrnoGuard {
public:
    ErrnoGuard() noexcept : saved_(errno) {}
    ErrnoGuard(ErrnoGuard const&) = delete;
    ErrnoGuard& operator=(ErrnoGuard const&) = delete;
    ~ErrnoGuard() { errno = saved_; }

private:
    int saved_;
};

/// @name Logging statements
/// Log `message`, an expression that is evaluated only when the level of `logger` includes it,
/// under the source unit `unit`. `errno` is unchanged.
/// @par Complexity one comparison when the level is disabled, otherwise that of `message` and
///   `Logger::logMessage`.
/// @par Thread safety that of the logger.
/// @{
/// Logs at the level `LEVEL`, such as `DEBUG`, under the signature `function`: a public function's,
/// in a step that several of them share.
#define ZEB_LOG_AS(logger, LEVEL, unit, function, message)                                        \
    do {                                                                                          \
        if ((logger).getLogLevel() >= ::zeb::foundation::Logger::LEVEL##_LEVEL) {                 \
            ::zeb::foundation::ErrnoGuard const errnoGuard;                                       \
            (logger).logMessage(::zeb::foundation::Logger::STR_##LEVEL##_CATEGORY, message, unit, \
                                __LINE__, function);                                              \
        }                                                                                         \
    } while (false)
/// Logs at the level `LEVEL` under the signature of the enclosing function.
#define ZEB_LOG(logger, LEVEL, unit, message) \
    ZEB_LOG_AS(logger, LEVEL, unit, __PRETTY_FUNCTION__, message)
/// Logs at debug level.
#define ZEB_LOG_DEBUG(logger, unit, message) ZEB_LOG(logger, DEBUG, unit, message)
/// Logs at the second debug level.
#define ZEB_LOG_DEBUG2(logger, unit, message) ZEB_LOG(logger, DEBUG2, unit, message)
/// Logs at the third debug level.
#define ZEB_LOG_DEBUG3(logger, unit, message) ZEB_LOG(logger, DEBUG3, unit, message)
/// @}

}  // namespace zeb::foundation
