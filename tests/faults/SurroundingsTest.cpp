// What public functions leave alone in the process that calls them. A program of its own, because
// its functions take the place of the C library's: a locale that is set and restored looks
// untouched.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>
#include <locale>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "LogCapture.hpp"
#include "PublicCalls.hpp"
#include "RunProcess.hpp"

namespace {

/// Calls of `setlocale`, which is everybody's, in all threads.
std::atomic<int> setlocaleCalls{0};
/// Locales given to `uselocale`, which is each thread's own; a call without one only asks.
thread_local int localesUsed = 0;

template <typename Function>
Function* libc(char const* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

char* setlocale(int category, char const* name) {
    ++setlocaleCalls;
    return libc<decltype(setlocale)>("setlocale")(category, name);
}

locale_t uselocale(locale_t locale) {
    if (locale != nullptr) {
        ++localesUsed;
    }
    return libc<decltype(uselocale)>("uselocale")(locale);
}

}  // extern "C"

namespace {

using zeb::test::Inputs;
using zeb::test::LogCapture;
using zeb::test::PublicCall;
using zeb::test::publicCalls;

/// Notes the errno that calls leave when they find a strange one.
class ErrnoAfter : public zeb::test::Attempt {
public:
    bool operator()(zeb::test::Action const& action) override {
        errno = ENOTNAM;
        action();
        seen.push_back(errno);
        return true;
    }
    std::vector<int> seen;
};

TEST(Surroundings, ErrnoIsNotChangedByLogging) {
    Inputs const in;
    std::size_t messages = 0;
    std::vector<std::string_view> changing;
    for (PublicCall const& call : publicCalls()) {
        SCOPED_TRACE(call.function);
        ErrnoAfter first;
        call.use(first, in);  // builds what stays
        ErrnoAfter silent;
        call.use(silent, in);
        LogCapture const capture;
        ErrnoAfter logging;
        call.use(logging, in);
        messages += capture.messages().size();
        EXPECT_EQ(logging.seen, silent.seen);
        ASSERT_EQ(silent.seen.size(), 1U);
        std::string_view const function = call.function;
        if (function.substr(0, 8) == "ZEBNS2::" && silent.seen[0] != ENOTNAM) {
            EXPECT_EQ(silent.seen[0], ENOENT);
            changing.push_back(function);
        }
    }
    // Not the edits that succeed: only the one of a missing file.
    EXPECT_THAT(changing, testing::ElementsAre("ZEBNS2::unprivilegedSed"));
    EXPECT_GT(messages, 50U);
    EXPECT_TRUE(in.isUntouched());
}

TEST(Surroundings, OnlyTheseFunctionsLogWhatTheyDo) {
    Inputs const in;
    std::set<std::string> logging;
    for (PublicCall const& call : publicCalls()) {
        LogCapture const capture;
        ErrnoAfter attempt;
        call.use(attempt, in);
        if (!capture.messages().empty()) {
            logging.insert(call.function);
        }
    }
    EXPECT_THAT(logging, testing::UnorderedElementsAre(
                             "ZEBNS2::UTF16ToUTF32", "ZEBNS2::UTF16ToUTF8", "ZEBNS2::XMLNodeSearch",
                             "ZEBNS2::autodetectByteOrder", "ZEBNS2::convertToUTF8",
                             "ZEBNS2::copy_stream", "ZEBNS2::realSed", "ZEBNS2::regroupUTF16",
                             "ZEBNS2::replaceInvalidXMLCharacters", "ZEBNS2::search_replace",
                             "ZEBNS2::unprivilegedSed", "zeb::foundation::logErroneousException"));
}

/// The dispositions of all signals.
std::vector<void (*)(int)> signalHandlers() {
    std::vector<void (*)(int)> handlers;
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action{};
        if (::sigaction(number, nullptr, &action) == 0) {
            handlers.push_back(action.sa_handler);
        }
    }
    return handlers;
}

/// Leads a descriptor into a file while it lives.
class Redirection {
public:
    explicit Redirection(int descriptor)
        : descriptor_(descriptor),
          saved_(::dup(descriptor)),
          file_(zeb::test::detail::temporaryFile()) {
        flush();
        ::dup2(fileno(file_.get()), descriptor_);
    }
    Redirection(Redirection const&) = delete;
    Redirection& operator=(Redirection const&) = delete;
    ~Redirection() {
        flush();
        ::dup2(saved_, descriptor_);
        ::close(saved_);
    }
    std::string written() const {
        flush();
        return zeb::test::detail::contentsOf(file_.get());
    }

private:
    static void flush() {
        std::cout.flush();
        std::clog.flush();
        std::fflush(nullptr);
    }

    int descriptor_;
    int saved_;
    zeb::test::detail::File file_;
};

TEST(Surroundings, SignalsLocaleAndStandardStreamsAreLeftAlone) {
    Inputs const in;
    ASSERT_STREQ(std::setlocale(LC_ALL, "C.UTF-8"), "C.UTF-8");
    auto const handlers = signalHandlers();
    ASSERT_GE(handlers.size(), 60U);
    LogCapture const capture;
    for (PublicCall const& call : publicCalls()) {
        SCOPED_TRACE(call.function);
        setlocaleCalls = 0;
        localesUsed = 0;
        std::string out;
        std::string err;
        {
            Redirection const outRedirection(STDOUT_FILENO);
            Redirection const errRedirection(STDERR_FILENO);
            ErrnoAfter attempt;
            call.use(attempt, in);
            out = outRedirection.written();
            err = errRedirection.written();
        }
        EXPECT_EQ(out, "");
        EXPECT_EQ(err, "");
        EXPECT_EQ(signalHandlers(), handlers);
        EXPECT_EQ(setlocaleCalls, 0);
        EXPECT_EQ(localesUsed, 0);
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");
    }
    std::setlocale(LC_ALL, "C");
}

TEST(Surroundings, ASearchThatNeedsMuchStackSetsNoLocale) {
    std::string const subject(1000, 'a');
    ZEBNS2::RegularExpression const expression("(.)\\1+",
                                               ZEBNS2::RegularExpression::EXTENDED_SYNTAX);
    setlocaleCalls = 0;
    localesUsed = 0;
    EXPECT_EQ(expression.first_match(subject.c_str()), std::make_pair(0, 1000));
    EXPECT_EQ(setlocaleCalls, 0);
    EXPECT_EQ(localesUsed, 0);
}

// libstdc++ sets locales here for its own purposes.
TEST(Surroundings, LocalesThatLibrariesSetAreCounted) {
    setlocaleCalls = 0;
    std::locale::global(std::locale::classic());
    EXPECT_GT(setlocaleCalls, 0);
    localesUsed = 0;
    std::string_view const text = "1.5";
    long double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    EXPECT_EQ(number, 1.5L);
    EXPECT_GT(localesUsed, 0);
}

TEST(Surroundings, ARedirectionSeesWhatIsWritten) {
    Redirection const redirection(STDOUT_FILENO);
    std::cout << "written" << std::flush;
    EXPECT_EQ(redirection.written(), "written");
}

/// The signatures of the symbols of one kind that nm sees.
/// @param kind the letter that nm prints for it
std::set<std::string> signatures(std::vector<std::string> const& command, char kind) {
    zeb::test::ProcessResult const nm = zeb::test::runProcess(command);
    EXPECT_EQ(nm.status, 0) << nm;
    std::string const mark = std::string(" ") + kind + ' ';
    std::set<std::string> found;
    std::istringstream lines(nm.out);
    for (std::string line; std::getline(lines, line);) {
        if (std::size_t const at = line.find(mark); at != std::string::npos) {
            std::string const symbol = line.substr(at + mark.size());
            found.insert(symbol.substr(0, symbol.find('@')));  // without its version
        }
    }
    return found;
}

/// The name of a function of ours, as `PublicCall` has it; empty for what is none.
std::string functionOf(std::string const& signature) {
    std::size_t const shift = signature.find("operator<<");
    std::size_t const end =
        shift == std::string::npos ? signature.find_first_of("<(") : signature.find('(');
    std::string name = signature.substr(0, end);
    name.erase(0, name.rfind(' ') + 1);
    bool const ours = name.rfind("zeb::", 0) == 0 || name.rfind("ZEBNS2::", 0) == 0;
    return ours && name.find('~') == std::string::npos ? name : "";
}

// Templates and functions that are inline in their headers are in no symbol table.
TEST(PublicCalls, UseEveryExportedFunction) {
    // Exported for templates and inline functions that call them, which are used themselves.
    std::set<std::string> const internal = {
        "zeb::foundation::Format::Format",  // for classes derived from it
        "zeb::foundation::Format::fill",
        "zeb::foundation::Format::process",
        "zeb::foundation::OStringStream::Bytes::overflow",
        "zeb::foundation::OStringStream::Bytes::xsputn",
        "zeb::foundation::String::allocate",
        "zeb::foundation::String::release",
        "zeb::foundation::String::resize",
        "zeb::foundation::StringBuffer::grow",
        "zeb::foundation::detail::allocateBlock",
        "zeb::foundation::detail::appendReplaced",  // for libzeb_text's search_replace
        "zeb::foundation::detail::freeBlock",
        "zeb::foundation::detail::prepended",
        "zeb::foundation::detail::render",
        "zeb::foundation::detail::resizeBlock",
        "zeb::foundation::detail::throwBadAlloc",
        "zeb::foundation::detail::throwOutOfBounds",
        "zeb::xmltoolkit::XMLNode::attributeRecord",
        "zeb::xmltoolkit::XMLNode::elementAt",
    };
    std::set<std::string> listed;
    for (PublicCall const& call : publicCalls()) {
        listed.insert(call.function);
    }
    std::set<std::string> const called =
        signatures({"nm", "-C", "--undefined-only", ZEB_CALLS}, 'U');
    std::set<std::string> exported;
    std::vector<std::string> notListed;
    std::vector<std::string> notCalled;  // another overload may be
    for (char const* const library : {ZEB_LIBRARIES}) {
        for (std::string const& signature :
             signatures({"nm", "-DC", "--defined-only", library}, 'T')) {
            std::string const function = functionOf(signature);
            exported.insert(function);
            if (function.empty() || internal.count(function) != 0) {
                continue;
            }
            if (listed.count(function) == 0) {
                notListed.push_back(signature);
            }
            if (called.count(signature) == 0) {
                notCalled.push_back(signature);
            }
        }
    }
    EXPECT_GT(exported.size(), 100U);
    EXPECT_THAT(notListed, testing::IsEmpty());
    EXPECT_THAT(notCalled, testing::IsEmpty());
    EXPECT_THAT(exported, testing::IsSupersetOf(internal));
}

}  // namespace
