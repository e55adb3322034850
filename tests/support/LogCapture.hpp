#pragma once

#include <zeb/foundation/IntrusiveReference.hpp>
#include <zeb/foundation/Logger.hpp>

#include <cerrno>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/// @file
/// Captures the messages of the code under test.

namespace zeb::test {

/// A message with copies of its texts, so that it outlives the library that logged it.
struct CapturedMessage {
    std::string component;
    std::string category;
    std::string text;
    std::string file;
    int line;
    std::string function;
};

/// Records all messages; thread-safe. Like a real log it changes `errno`.
class RecordingAppender : public foundation::LogAppender {
public:
    void append(foundation::LogMessage const& message) override {
        std::lock_guard const lock(mutex_);
        messages_.push_back({std::string(std::string_view(message.component)),
                             std::string(std::string_view(message.category)),
                             std::string(std::string_view(message.text)), message.file,
                             message.line, message.function});
        errno = EXDEV;
    }

    std::vector<CapturedMessage> messages() const {
        std::lock_guard const lock(mutex_);
        return messages_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<CapturedMessage> messages_;
};

/// Switches logging on for the whole process during its lifetime.
class LogCapture {
public:
    explicit LogCapture(foundation::Logger::Level level = foundation::Logger::DEBUG3_LEVEL)
        : appender_(new RecordingAppender) {
        foundation::Logger::setDefault(
            level, foundation::IntrusiveReference<foundation::LogAppender>(appender_.get()));
    }
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;
    ~LogCapture() {
        foundation::Logger::setDefault(foundation::Logger::NO_LEVEL,
                                       foundation::IntrusiveReference<foundation::LogAppender>());
    }

    std::vector<CapturedMessage> messages() const { return appender_->messages(); }

    /// The messages so far, each as "CATEGORY component: text".
    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        for (CapturedMessage const& message : messages()) {
            lines.push_back(message.category + ' ' + message.component + ": " + message.text);
        }
        return lines;
    }

private:
    foundation::IntrusiveReference<RecordingAppender> appender_;
};

}  // namespace zeb::test
