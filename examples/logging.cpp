// The library's messages in the log of the program that uses it.

#include <OrventoTextOperations.hpp>

#include <zeb/foundation/Logger.hpp>

#include <iostream>

using zeb::foundation::IntrusiveReference;
using zeb::foundation::LogAppender;
using zeb::foundation::Logger;
using zeb::foundation::LogMessage;

namespace {

/// In place of the program's own log, whose lines have their own form.
void writeToProgramLog(std::string_view source, std::string_view text) {
    std::cout << "myprogram [" << source << "] " << text << '\n';
}

/// Passes the messages on. Like the log, it must allow calls from several threads at once.
class Bridge : public LogAppender {
public:
    void append(LogMessage const& message) override {
        writeToProgramLog(message.component, message.text);
    }
};

}  // namespace

int main() {
    // From now on, debug messages of the whole library go to the bridge.
    Logger::setDefault(Logger::DEBUG_LEVEL, IntrusiveReference<LogAppender>(new Bridge));
    static_cast<void>(ZEBNS2::search_replace("a.b", ".", "-"));

    // Switched off again, the initial state: no message is formatted.
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    static_cast<void>(ZEBNS2::search_replace("c.d", ".", "-"));
}
