#include <OrventoCommonRegex.hpp>

#include <zeb/foundation/Exception.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "LogCapture.hpp"
#include "TemporaryDirectory.hpp"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace std::string_view_literals;
using testing::ElementsAre;
using zeb::foundation::FileSystemException;
using zeb::foundation::Logger;
using zeb::test::LogCapture;
using ZEBNS2::RegularExpression;
using ZEBNS2::RegularExpressionException;
using ZEBNS2::String;
using ZEBNS2::unprivilegedSed;

std::string debug(std::string const& text) { return "DEBUG zeb.common.regex: regex: " + text; }
std::string debug2(std::string const& text) { return "DEBUG2 zeb.common.regex: regex: " + text; }
std::string debug3(std::string const& text) { return "DEBUG3 zeb.common.regex: regex: " + text; }

class UnprivilegedSed : public testing::Test {
protected:
    std::string path(std::string const& name = "file") const { return directory_.path(name); }
    std::string write(std::string_view contents) const { return directory_.file("file", contents); }
    std::string read(std::string const& name = "file") const { return directory_.contents(name); }

private:
    zeb::test::TemporaryDirectory directory_;
};

/// What `edit` throws, or an empty text.
std::string failureOf(std::function<void()> const& edit) {
    try {
        edit();
    } catch (FileSystemException const& exception) {
        return exception.getMessage();
    }
    return "";
}

/// Makes the process subject to the permissions of files while it lives; a superuser is not.
class WithoutRights {
public:
    WithoutRights() : before_(::geteuid()) {
        static constexpr uid_t NOBODY = 65534;
        EXPECT_TRUE(before_ != 0 || ::seteuid(NOBODY) == 0);
    }
    WithoutRights(WithoutRights const&) = delete;
    WithoutRights& operator=(WithoutRights const&) = delete;
    ~WithoutRights() { EXPECT_EQ(::seteuid(before_), 0); }

private:
    uid_t before_;
};

/// Simulates a full disk during its lifetime: bytes beyond `room` of a file are not written.
class FullDisk {
public:
    explicit FullDisk(rlim_t room) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
        rlimit const limit{room, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    FullDisk(FullDisk const&) = delete;
    FullDisk& operator=(FullDisk const&) = delete;
    ~FullDisk() {
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &before_), 0);
        std::signal(SIGXFSZ, handler_);
    }

private:
    void (*handler_)(int);
    rlimit before_{};
};

// ---------------------------------------------------------------------------- what it writes

TEST_F(UnprivilegedSed, EditsEachLine) {
    struct Row {
        std::string_view before;
        std::string_view after;
    };
    constexpr Row ROWS[] = {
        {"a=1\nb=2\n", "a: 1\nb: 2\n"},
        {"a=1\nb=2", "a: 1\nb: 2"},            // no newline is added
        {"", ""},                              // no line
        {"\n", "\n"},                          //
        {"\n\n=\n\n", "\n\n: \n\n"},           // empty lines stay
        {"none\nat all\n", "none\nat all\n"},  //
        {"a==b", "a: =b"},                     // the first match of a line alone
        {"a=1\r\nb=2\r\n", "a: 1\r\nb: 2\r\n"},
        {"a=\0=\n\0=\n="sv, "a: \0=\n\0=\n: "sv},  // searched up to a NUL, kept whole
        {"\xff=\xfe\n"sv, "\xff: \xfe\n"sv},
    };
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.before);
        std::string const file = write(row.before);
        unprivilegedSed(file, "=", ": ");
        EXPECT_EQ(read(), row.after);
    }
}

TEST_F(UnprivilegedSed, LinesAreSubjectsOfTheirOwn) {
    std::string const file = write("ab\nab\n");
    unprivilegedSed(file, "^a(b)$", "%1%0%%");
    EXPECT_EQ(read(), "bab%\nbab%\n");
    unprivilegedSed(file, "^$", "end");
    EXPECT_EQ(read(), "bab%\nbab%\nend") << "the last line is the empty one behind the newline";
}

TEST_F(UnprivilegedSed, TakesACompiledExpression) {
    std::string const file = write("ABC\n");
    unprivilegedSed(file, RegularExpression("b", RegularExpression::CASE_INSENSITIVE), "x");
    EXPECT_EQ(read(), "AxC\n");
    unprivilegedSed(file, RegularExpression(nullptr, 0), "x");
    EXPECT_EQ(read(), "AxC\n") << "nothing compiled, nothing matched";
}

TEST_F(UnprivilegedSed, ResultMayBeLongerOrShorter) {
    std::string const file = write("aaaa\nbbbb\n");
    unprivilegedSed(file, "a+|b+", "");
    EXPECT_EQ(read(), "\n\n");
    unprivilegedSed(file, "^", "0123456789");
    EXPECT_EQ(read(), "0123456789\n0123456789\n0123456789");
}

TEST_F(UnprivilegedSed, LargeFileIsEdited) {
    std::string before;
    std::string after;
    for (int i = 0; i < 10000; ++i) {
        before += "key=" + std::to_string(i) + "\n";
        after += std::to_string(i) + "=key\n";
    }
    std::string const file = write(before);
    unprivilegedSed(file, "([a-z]+)=([0-9]+)", "%2=%1");
    EXPECT_EQ(read(), after);
}

TEST_F(UnprivilegedSed, SymbolicLinkLeadsToItsTarget) {
    write("a=1\n");
    fs::create_symlink(path(), path("link"));
    unprivilegedSed(path("link"), "=", ": ");
    EXPECT_EQ(read(), "a: 1\n");
    EXPECT_TRUE(fs::is_symlink(path("link")));
}

TEST_F(UnprivilegedSed, ModeAndHardLinksStay) {
    std::string const file = write("a=1\n");
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read);
    fs::create_hard_link(file, path("other"));
    unprivilegedSed(file, "=", ": ");
    EXPECT_EQ(read("other"), "a: 1\n");
    EXPECT_EQ(fs::status(file).permissions(),
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read);
}

// ---------------------------------------------------------------------------- messages

TEST_F(UnprivilegedSed, TracesEachStep) {
    std::string const file = write("a=1\nb\n");
    LogCapture const log;
    unprivilegedSed(file, RegularExpression("=", 0), ": ");
    EXPECT_THAT(log.lines(), ElementsAre(debug("Getting info for file \"" + file + "\""),
                                         debug2("Checking write status for \"" + file + "\""),
                                         debug2("Getting lines for \"" + file + "\""),
                                         debug3("Replacing line:\n<--a=1\n-->a: 1"),
                                         debug3("Replacing line:\n<--b\n-->b"),
                                         debug3("Replacing line:\n<--\n-->"),
                                         debug2("Writing results in \"" + file + "\"")));
}

TEST_F(UnprivilegedSed, StringsAreTracedFirst) {
    std::string const file = write("a");
    LogCapture const log(Logger::DEBUG2_LEVEL);
    unprivilegedSed(file, "a", "%0%%");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug2("Using regex \"a\" with replacement \"%0%%\" on sed of file \"" +
                                   file + "\" "),
                            debug("Getting info for file \"" + file + "\""),
                            debug2("Checking write status for \"" + file + "\""),
                            debug2("Getting lines for \"" + file + "\""),
                            debug2("Writing results in \"" + file + "\"")));
    EXPECT_EQ(read(), "a%");
}

TEST_F(UnprivilegedSed, LevelOfEachMessageIsRespected) {
    std::string const file = write("a");
    LogCapture const log(Logger::DEBUG_LEVEL);
    unprivilegedSed(file, "a", "b");
    EXPECT_THAT(log.lines(), ElementsAre(debug("Getting info for file \"" + file + "\"")));
}

// ---------------------------------------------------------------------------- refusals

TEST_F(UnprivilegedSed, FaultyExpressionThrowsBeforeTheFileIsTouched) {
    std::string const file = write("a");
    LogCapture const log;
    EXPECT_THROW(unprivilegedSed(file, "(", "x"), RegularExpressionException);
    EXPECT_THROW(unprivilegedSed(path("missing"), "(", "x"), RegularExpressionException);
    EXPECT_EQ(read(), "a");
    EXPECT_THAT(log.lines(),
                ElementsAre(debug2("Using regex \"(\" with replacement \"x\" on sed of file \"" +
                                   file + "\" "),
                            debug2("Using regex \"(\" with replacement \"x\" on sed of file \"" +
                                   path("missing") + "\" ")));
}

TEST_F(UnprivilegedSed, FolderIsNoRegularFile) {
    fs::create_directory(path("folder"));
    LogCapture const log;
    try {
        unprivilegedSed(path("folder"), RegularExpression("a", 0), "b");
        ADD_FAILURE() << "edited";
    } catch (FileSystemException const& exception) {
        EXPECT_EQ(exception.getMessage(), "File is not a regular file: " + path("folder"));
        EXPECT_EQ(exception.getSubclassCode(), -1);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getChained(), nullptr);
        EXPECT_STREQ(exception.getFile(), "OrventoCommonRegex");
    }
    EXPECT_THAT(log.lines(),
                ElementsAre(debug("Getting info for file \"" + path("folder") + "\"")));
}

TEST_F(UnprivilegedSed, DeviceAndPipeAreNoRegularFiles) {
    EXPECT_EQ(failureOf([] { unprivilegedSed("/dev/null", "a", "b"); }),
              "File is not a regular file: /dev/null");
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOf([&] { unprivilegedSed(path("pipe"), "a", "b"); }),
              "File is not a regular file: " + path("pipe"));
}

TEST_F(UnprivilegedSed, LinkToAFolderIsNoRegularFile) {
    fs::create_directory(path("folder"));
    fs::create_symlink(path("folder"), path("link"));
    EXPECT_EQ(failureOf([&] { unprivilegedSed(path("link"), "a", "b"); }),
              "File is not a regular file: " + path("link"));
}

TEST_F(UnprivilegedSed, MissingFileIsNotCreated) {
    std::string const failure = failureOf([&] { unprivilegedSed(path(), "a", "b"); });
    EXPECT_NE(failure.find(path()), std::string::npos) << failure;
    EXPECT_FALSE(fs::exists(path()));
    fs::create_symlink(path(), path("link"));
    EXPECT_NE(failureOf([&] { unprivilegedSed(path("link"), "a", "b"); }), "");
    EXPECT_FALSE(fs::exists(path()));
}

TEST_F(UnprivilegedSed, NameWithANulIsNoFile) {
    write("a");
    String const name(path() + "\0x"s);
    EXPECT_NE(failureOf([&] { unprivilegedSed(name, "a", "b"); }), "");
    EXPECT_EQ(read(), "a");
}

TEST_F(UnprivilegedSed, FileThatMayNotBeWrittenStaysAsItIs) {
    std::string const file = write("a=1\n");
    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    LogCapture const log;
    try {
        WithoutRights const withoutRights;
        unprivilegedSed(file, RegularExpression("=", 0), ": ");
        ADD_FAILURE() << "edited";
    } catch (FileSystemException const& exception) {
        EXPECT_EQ(exception.getMessage(), "File cannot be written file: " + file);
        EXPECT_EQ(exception.getSubclassCode(), -1);
        EXPECT_EQ(exception.getErrorCode(), -1);
        EXPECT_EQ(exception.getChained(), nullptr);
        EXPECT_STREQ(exception.getFile(), "OrventoCommonRegex");
    }
    EXPECT_THAT(log.lines(), ElementsAre(debug("Getting info for file \"" + file + "\""),
                                         debug2("Checking write status for \"" + file + "\"")));
    EXPECT_EQ(read(), "a=1\n");
}

TEST_F(UnprivilegedSed, FileThatMayNotBeReadStaysAsItIs) {
    std::string const file = write("a=1\n");
    ASSERT_EQ(::chmod(file.c_str(), 0222), 0);
    std::string failure;
    {
        WithoutRights const withoutRights;
        failure = failureOf([&] { unprivilegedSed(file, "=", ": "); });
    }
    EXPECT_NE(failure.find(file), std::string::npos) << failure;
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    EXPECT_EQ(read(), "a=1\n");
}

TEST_F(UnprivilegedSed, FileThatMayBeWrittenIsEditedWithoutOtherRights) {
    std::string const file = write("a=1\n");
    ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
    {
        WithoutRights const withoutRights;
        unprivilegedSed(file, "=", ": ");
    }
    EXPECT_EQ(read(), "a: 1\n");
}

// ---------------------------------------------------------------------------- while writing

TEST_F(UnprivilegedSed, FullDiskLeavesTheFileShortWithoutAWord) {
    static constexpr std::size_t ROOM = 10000;
    std::string const before(100000, 'a');
    std::string const file = write(before);
    {
        FullDisk const fullDisk(ROOM);
        EXPECT_NO_THROW(unprivilegedSed(file, "^a", "b"));
    }
    EXPECT_EQ(read(), ("b" + before.substr(1)).substr(0, ROOM));
}

TEST_F(UnprivilegedSed, FileThatCannotBeOpenedAfterTheChecksIsLeftWithoutAWord) {
    std::string const file = write("a=1\n");
    // Takes the right to write between the check and the opening.
    class TakesTheRight : public zeb::foundation::LogAppender {
    public:
        explicit TakesTheRight(std::string name) : name_(std::move(name)) {}
        void append(zeb::foundation::LogMessage const& message) override {
            if (message.text.startsWith("regex: Writing results")) {
                taken = fs::remove(name_) && fs::create_directory(name_);
            }
        }
        bool taken = false;

    private:
        std::string name_;
    };
    zeb::foundation::IntrusiveReference<TakesTheRight> const appender(new TakesTheRight(file));
    Logger::setDefault(
        Logger::DEBUG3_LEVEL,
        zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>(appender.get()));
    EXPECT_NO_THROW(unprivilegedSed(file, "=", ": "));
    Logger::setDefault(Logger::NO_LEVEL,
                       zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>());
    EXPECT_TRUE(appender->taken);
    EXPECT_TRUE(fs::is_directory(file));
}

TEST_F(UnprivilegedSed, ErrnoStaysAsItWasWithoutLogging) {
    std::string const file = write("a=1\n");
    auto const errnoAfter = [&] {
        errno = EDOM;
        unprivilegedSed(file, "=", "=");
        return errno;
    };
    int const silent = errnoAfter();
    class ChangesErrno : public zeb::foundation::LogAppender {
    public:
        void append(zeb::foundation::LogMessage const&) override { errno = ENOSPC; }
    };
    Logger::setDefault(
        Logger::DEBUG3_LEVEL,
        zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>(new ChangesErrno));
    int const logging = errnoAfter();
    Logger::setDefault(Logger::NO_LEVEL,
                       zeb::foundation::IntrusiveReference<zeb::foundation::LogAppender>());
    EXPECT_EQ(logging, silent);
}

}  // namespace
