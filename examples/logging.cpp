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

/// Takes the messages over. It may be called by several threads at once, as the log has to be.
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

    // Switched off again, as it is at start: no message is formatted any more.
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    static_cast<void>(ZEBNS2::search_replace("c.d", ".", "-"));
}
