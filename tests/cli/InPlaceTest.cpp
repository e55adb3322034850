// Edited files are never lost: after any failure, a file is the old one or the new one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <limits>
#include <random>

#include "Sanitized.hpp"
#include "SystemCalls.hpp"
#include "ZebText.hpp"

namespace zeb::test {
namespace {

constexpr std::size_t NEVER = std::numeric_limits<std::size_t>::max();

struct stat statusOf(std::string const& path) {
    struct stat status{};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

std::vector<std::string> namesIn(std::string const& folder) {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string linesWith(std::string const& word, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "line " + std::to_string(i) + " " + word + "\n";
    }
    return text;
}

TEST(InPlace, EditTakesEveryCommand) {
    TemporaryDirectory const folder;
    std::string const a = folder.file("a", "a=1\nb=2\n");
    std::string const b = folder.file("b", "x\ny");
    EXPECT_EQ(zebText({"edit", "-i", "s/(.)=(.)/\\2=\\1/", a, b}), prints(""));
    EXPECT_EQ(folder.contents("a"), "1=a\n2=b\n");
    EXPECT_EQ(folder.contents("b"), "x\ny");
    EXPECT_EQ(zebText({"edit", "--in-place", "/y/d", b}), prints(""));
    EXPECT_EQ(folder.contents("b"), "x");
    EXPECT_EQ(zebText({"edit", "/=a/,/=b/d", "--in-place", a}), prints(""));
    EXPECT_EQ(folder.contents("a"), "");
    EXPECT_EQ(zebText({"edit", "-i", "-e", "s/x/y/", "-e", "s/y/zz/", b}), prints(""));
    EXPECT_EQ(folder.contents("b"), "zz");
}

TEST(InPlace, EveryMatchOfALineIsReplacedOnDemand) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "a/b\\a 5%\n");
    EXPECT_EQ(zebText({"replace", "--all", "(a)|%", "<%1%%\\1>%x%", file}), prints(""));
    EXPECT_EQ(folder.contents("a"), "<a%\\1>%x%/b\\<a%\\1>%x% 5<%\\1>%x%\n");
}

TEST(InPlace, AFileWithoutAChangeIsNotWritten) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", linesWith("word", 50000));
    struct stat const before = statusOf(file);
    EXPECT_EQ(zebText({"replace", "--backup", "nothing", "x", file}), prints(""));
    EXPECT_EQ(zebText({"edit", "-i", "/nothing/d", file}), prints(""));
    EXPECT_EQ(zebText({"edit", "-i", "/word/,/nothing/d", file}), prints(""));
    struct stat const after = statusOf(file);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_THAT(namesIn(folder.path("")), testing::ElementsAre("a"));
}

TEST(InPlace, WhatFollowsAnUnchangedBeginningIsChanged) {
    TemporaryDirectory const folder;
    std::string const lines = linesWith("word", 50000);
    std::string const file = folder.file("a", lines + "last");
    EXPECT_EQ(zebText({"replace", "last", "end", file}), prints(""));
    EXPECT_TRUE(folder.contents("a") == lines + "end");
    EXPECT_EQ(zebText({"edit", "-i", "/end/d", file}), prints(""));
    EXPECT_TRUE(folder.contents("a") == lines.substr(0, lines.size() - 1));
    EXPECT_EQ(zebText({"replace", "--in-place-write", "line 49999 word", "short", file}),
              prints(""));
    EXPECT_TRUE(folder.contents("a") == linesWith("word", 49999) + "short");
}

TEST(InPlace, ModeOwnerAndExtendedAttributesStay) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "old\n");
    ASSERT_EQ(::chmod(file.c_str(), 04751), 0);
    bool const root = ::geteuid() == 0;
    if (root) {
        ASSERT_EQ(::chown(file.c_str(), 12345, 54321), 0);
        ASSERT_EQ(::chmod(file.c_str(), 04751), 0);
    }
    bool const attributes = ::setxattr(file.c_str(), "user.note", "kept", 4, 0) == 0;
    struct stat const before = statusOf(file);
    EXPECT_EQ(zebText({"replace", "--backup=.old", "old", "new", file}), prints(""));
    EXPECT_EQ(folder.contents("a"), "new\n");
    EXPECT_EQ(folder.contents("a.old"), "old\n");
    for (std::string const& path : {file, file + ".old"}) {
        struct stat const after = statusOf(path);
        EXPECT_EQ(after.st_mode, before.st_mode);
        EXPECT_EQ(after.st_uid, before.st_uid);
        EXPECT_EQ(after.st_gid, before.st_gid);
        char value[8] = "";
        EXPECT_EQ(::getxattr(path.c_str(), "user.note", value, sizeof value), attributes ? 4 : -1);
        EXPECT_STREQ(value, attributes ? "kept" : "");
    }
}

TEST(InPlace, ASymbolicLinkStaysAndItsTargetIsEdited) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "old\n");
    std::string const link = folder.path("link");
    std::filesystem::create_symlink("a", link);
    EXPECT_EQ(zebText({"replace", "old", "new", link}), prints(""));
    EXPECT_EQ(folder.contents("a"), "new\n");
    EXPECT_TRUE(S_ISLNK(statusOf(link).st_mode));
    EXPECT_THAT(namesIn(folder.path("")), testing::ElementsAre("a", "link"));
}

TEST(InPlace, HardLinksAreKeptTogetherOnDemand) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "old\n");
    std::filesystem::create_hard_link(file, folder.path("b"));
    EXPECT_EQ(zebText({"replace", "old", "new", file}),
              failsWith(file + ": it has 2 hard links, of which a new file would take over only "
                               "this one; --in-place-write writes over it where it is"));
    EXPECT_EQ(folder.contents("a"), "old\n");
    EXPECT_EQ(zebText({"replace", "--in-place-write", "--backup", "old", "longer", file}),
              prints(""));
    EXPECT_EQ(folder.contents("b"), "longer\n");
    EXPECT_EQ(folder.contents("a~"), "old\n");
    EXPECT_EQ(statusOf(file).st_nlink, 2U);
}

TEST(InPlace, AFileThatAnotherProgramHasOpenForWritingIsRefused) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "old\n");
    EXPECT_EQ(shell("exec 5>>\"$1\"; exec \"$0\" replace old new \"$1\"", file),
              failsWith(file + ": another program has it open for writing and would lose its "
                               "place; --in-place-write writes over it where it is"));
    EXPECT_EQ(folder.contents("a"), "old\n");
    EXPECT_EQ(shell("exec 5>>\"$1\"; \"$0\" replace --in-place-write old new "
                    "\"$1\"; echo more >&5",
                    file),
              prints(""));
    EXPECT_EQ(folder.contents("a"), "new\nmore\n");
}

TEST(InPlace, WhatTheSystemMakesUpIsNoFile) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "may not write there";
    }
    ProcessResult const result =
        zebText({"replace", "--in-place-write", ".", "x", "/proc/self/comm"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, testing::HasSubstr("the system makes its contents up"));
}

/// Runs zeb-text with these words and a file, without the capabilities of root.
ProcessResult withoutRights(std::string const& words, std::string const& file) {
    // Another user may have no right to the folder of the program.
    std::string const asPlainUser =
        ::geteuid() == 0 ? "setpriv --bounding-set=-all --inh-caps=-all " : "";
    return shell("exec " + asPlainUser + "\"$0\" " + words + " \"$1\"", file);
}

bool canDropRights() { return ::geteuid() != 0 || shell("command -v setpriv").status == 0; }

TEST(InPlace, AFolderThatMayNotBeWrittenIsRefused) {
    if (!canDropRights()) {
        GTEST_SKIP() << "setpriv is not installed";
    }
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "old\n");
    ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(folder.path("").c_str(), 0555), 0);
    ProcessResult const refused = withoutRights("replace old new", file);
    EXPECT_EQ(folder.contents("a"), "old\n");
    ProcessResult const done = withoutRights("replace --in-place-write old new", file);
    ASSERT_EQ(::chmod(folder.path("").c_str(), 0700), 0);
    EXPECT_EQ(refused, failsWith(file + ": a temporary file cannot be made beside it (Permission "
                                        "denied); --in-place-write writes over it where it is"));
    EXPECT_EQ(done, prints(""));
    EXPECT_EQ(folder.contents("a"), "new\n");
}

TEST(InPlace, AFileOfAnotherUserStaysTheirs) {
    if (::geteuid() != 0 || !canDropRights()) {
        GTEST_SKIP() << "only root can make a file of another user, and needs setpriv";
    }
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "old\n");
    constexpr uid_t OTHER = 65534;
    ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
    ASSERT_EQ(::chown(file.c_str(), OTHER, OTHER), 0);
    EXPECT_EQ(withoutRights("replace old new", file),
              failsWith(file + ": its owner and group cannot be kept (Operation not permitted); "
                               "--in-place-write writes over it where it is"));
    EXPECT_EQ(folder.contents("a"), "old\n");
    EXPECT_EQ(withoutRights("replace --in-place-write old new", file), prints(""));
    EXPECT_EQ(folder.contents("a"), "new\n");
    EXPECT_EQ(statusOf(file).st_uid, OTHER);
    EXPECT_THAT(namesIn(folder.path("")), testing::ElementsAre("a"));
}

TEST(InPlace, AccessControlListsStay) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "old\n");
    // As the kernel takes it: the version, then tag, rights and user or group of
    // each entry. The user 12345 may read.
    std::string const list(
        "\2\0\0\0"
        "\x01\0\6\0\xFF\xFF\xFF\xFF"
        "\x02\0\4\0\x39\x30\0\0"
        "\x04\0\4\0\xFF\xFF\xFF\xFF"
        "\x10\0\4\0\xFF\xFF\xFF\xFF"
        "\x20\0\0\0\xFF\xFF\xFF\xFF",
        44);
    constexpr char NAME[] = "system.posix_acl_access";
    if (::setxattr(file.c_str(), NAME, list.data(), list.size(), 0) != 0) {
        GTEST_SKIP() << "the file system has no access control lists";
    }
    EXPECT_EQ(zebText({"replace", "old", "new", file}), prints(""));
    EXPECT_EQ(folder.contents("a"), "new\n");
    std::string kept(100, '\0');
    ssize_t const size = ::getxattr(file.c_str(), NAME, kept.data(), kept.size());
    ASSERT_GE(size, 0);
    EXPECT_EQ(kept.substr(0, static_cast<std::size_t>(size)), list);
}

TEST(InPlace, AMountPointIsRefused) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "old\n");
    auto const mounted = [&](std::string const& options) {
        return shell(
            "exec unshare -m sh -c 'mount --bind \"$1\" \"$1\" && exec "
            "\"$0\" replace " +
                options + " old new \"$1\"' \"$0\" \"$1\"",
            file);
    };
    if (shell("unshare -m mount --bind \"$1\" \"$1\"", file).status != 0) {
        GTEST_SKIP() << "nothing can be mounted";
    }
    EXPECT_EQ(mounted(""), failsWith(file + ": it is a mount point, whose place no new file can "
                                            "take; --in-place-write writes over it where it is"));
    EXPECT_EQ(folder.contents("a"), "old\n");
    EXPECT_EQ(mounted("--in-place-write"), prints(""));
    EXPECT_EQ(folder.contents("a"), "new\n");
}

TEST(InPlace, OptionsThatMakeNoSenseAreRefused) {
    EXPECT_EQ(zebText({"edit", "-i", "/x/d"}),
              failsWith("edit: FILE is required for --in-place (see zeb-text edit --help)"));
    EXPECT_EQ(zebText({"edit", "--backup", "/x/d", "f"}),
              failsWith("edit: --backup and --in-place-write go with --in-place "
                        "(see zeb-text edit "
                        "--help)"));
    EXPECT_EQ(zebText({"replace", "--backup=a/b", "x", "y", "f"}),
              failsWith("replace: --backup takes a suffix that is not empty and "
                        "has no / (see "
                        "zeb-text replace --help)"));
    EXPECT_EQ(zebText({"replace", "--backup=", "x", "y", "f"}).status, 2);
}

TEST(InPlace, PreviewsWriteNothing) {
    TemporaryDirectory const folder;
    std::string const file = folder.file("a", "one\ntwo\nthree\n");
    EXPECT_EQ(shell("cd \"$1\" && exec \"$0\" replace --diff two 2 a", folder.path("")),
              prints("--- a\n+++ a\n@@ -1,3 +1,3 @@\n one\n-two\n+2\n three\n"));
    EXPECT_EQ(shell("cd \"$1\" && exec \"$0\" edit --dry-run s/e/E/ a", folder.path("")),
              prints("a: 2 lines would change\n"));
    EXPECT_EQ(shell("cd \"$1\" && exec \"$0\" edit -i --diff '/x/d' a", folder.path("")),
              prints(""));
    EXPECT_EQ(folder.contents("a"), "one\ntwo\nthree\n");
    EXPECT_EQ(zebText({"edit", "--diff", "/b/d"}, "a\nb"),
              prints("--- -\n+++ -\n@@ -1,2 +1 @@\n-a\n-b\n\\ No newline at end "
                     "of file\n+a\n\\ No "
                     "newline at end of file\n"));
}

TEST(InPlace, WhatAPreviewShowsPatchMakes) {
    if (shell("command -v patch").status != 0) {
        GTEST_SKIP() << "patch is not installed";
    }
    std::mt19937 random(16);
    auto const below = [&random](unsigned bound) {
        return static_cast<unsigned>(random() % bound);
    };
    std::vector<std::vector<std::string>> const scripts{
        {"-e", "s/1/x/"},
        {"-e", "/2/d"},
        {"-e", "/3/,/4/d"},
        {"-e", "s/5/y\nz/"},
        {"-e", "/1/d", "-e", "s/2$/&\\2/", "-e", "/3/,/5/d"},
        {"-e", "/^$/d", "-e", "s/0/1\n/g"}};
    for (int i = 0; i < 60; ++i) {
        TemporaryDirectory const folder;
        std::string text;
        for (unsigned lines = below(40); lines > 0; --lines) {
            text += below(8) == 0 ? "\n" : std::to_string(below(60)) + "\n";
        }
        text += below(2) == 0 ? "" : std::to_string(below(60));
        folder.file("a", text);
        std::vector<std::string> words{"edit", "--diff"};
        std::vector<std::string> const& script = scripts[below(6)];
        words.insert(words.end(), script.begin(), script.end());
        words.push_back(folder.path("a"));
        std::string const difference = zebText(words).out;
        words[1] = "-i";
        folder.file("diff", difference);
        ASSERT_EQ(shell("cd \"$1\" && cp a b && patch -s -p0 --posix b <diff", folder.path("")),
                  prints(""))
            << difference;
        ASSERT_EQ(zebText(words), prints(""));
        EXPECT_EQ(folder.contents("b"), folder.contents("a")) << difference;
    }
}

/// A file and its state after the program was harmed.
class Harm : public testing::Test {
protected:
    void SetUp() override {
        if (zeb::test::SANITIZED) {
            GTEST_SKIP() << "the sanitizer cannot do without its own system calls";
        }
        Fault const none{Fault::FAIL, NEVER};
        prepare();
        TracedResult const result = runWithFault(words(), none);
        if (result.calls == 0) {
            GTEST_SKIP() << "programs cannot be traced";
        }
        ASSERT_EQ(result.status, 0);
        ASSERT_TRUE(whole() && isNew());
        calls_ = result.calls;
        first_ = callsOfStart();
        ASSERT_LT(first_ + 10, calls_);
    }

    void prepare() const {
        static_cast<void>(folder_.file("a", OLD));
        ASSERT_EQ(::chmod(path().c_str(), 0640), 0);
    }

    /// System calls before the file is touched: all but the last few of a command
    /// that does nothing.
    static std::size_t callsOfStart() {
        std::size_t const calls =
            runWithFault({ZEB_TEXT_PROGRAM, "escape", "x"}, {Fault::FAIL, NEVER}).calls;
        return calls - std::min<std::size_t>(calls, 8);
    }

    std::string path() const { return folder_.path("a"); }
    std::vector<std::string> words() const {
        std::vector<std::string> list{ZEB_TEXT_PROGRAM, "replace", "old", "newer", path()};
        list.insert(list.end(), options_.begin(), options_.end());
        return list;
    }
    bool isNew() const { return folder_.contents("a") == NEW; }
    bool whole() const {
        return (isNew() || folder_.contents("a") == OLD) &&
               (statusOf(path()).st_mode & 07777U) == 0640;
    }

    std::string const OLD = linesWith("old", 3000);
    std::string const NEW = linesWith("newer", 3000);
    TemporaryDirectory folder_;
    std::vector<std::string> options_;
    std::size_t calls_ = 0;
    std::size_t first_ = 0;
};

TEST_F(Harm, AKilledProgramLeavesTheOldOrTheNewFile) {
    std::size_t ends[2] = {0, 0};
    for (std::size_t call = first_; call < calls_; ++call) {
        for (Fault::Kind const kind : {Fault::KILL_BEFORE, Fault::KILL_AFTER}) {
            prepare();
            runWithFault(words(), {kind, call});
            ASSERT_TRUE(whole()) << "killed at call " << call << " of " << calls_;
            ++ends[isNew() ? 1 : 0];
        }
    }
    EXPECT_GT(ends[0], 5U);
    EXPECT_GT(ends[1], 0U);
}

TEST_F(Harm, ACallThatFailsLeavesTheOldOrTheNewFileAndTheStatusTells) {
    constexpr int ERRORS[] = {EIO, ENOSPC, EINTR};
    for (std::size_t call = first_; call < calls_; ++call) {
        prepare();
        Fault const fault{Fault::FAIL, call, ERRORS[call % 3]};
        TracedResult const result = runWithFault(words(), fault);
        ASSERT_TRUE(whole()) << "error " << fault.error << " at call " << call << " of " << calls_;
        EXPECT_LT(result.status, 1000) << call;
        EXPECT_TRUE(result.status != 0 || isNew()) << fault.error << " at call " << call;
    }
    EXPECT_THAT(namesIn(folder_.path("")), testing::ElementsAre("a"));
}

TEST_F(Harm, ACallThatFailsWhileTheFileIsWrittenOverPutsTheOldTextBack) {
    options_ = {"--in-place-write"};
    calls_ = runWithFault(words(), {Fault::FAIL, NEVER}).calls;
    constexpr int ERRORS[] = {EIO, ENOSPC, EINTR};
    for (std::size_t call = first_; call < calls_; ++call) {
        prepare();
        Fault const fault{Fault::FAIL, call, ERRORS[call % 3]};
        TracedResult const result = runWithFault(words(), fault);
        ASSERT_TRUE(whole()) << "error " << fault.error << " at call " << call << " of " << calls_;
        EXPECT_LT(result.status, 1000) << call;
    }
}

// Another program may do so at any moment; nothing that it wrote may be lost.
TEST_F(Harm, WhatAnotherProgramAppendsIsNotLost) {
    std::size_t refused = 0;
    for (std::size_t call = first_; call < calls_; ++call) {
        prepare();
        struct stat const before = statusOf(path());
        TracedResult const result =
            runWithFault(words(), {Fault::FAIL, NEVER}, [&](std::size_t now) {
                // It would wait for this program once that has its lease.
                if (now == call && statusOf(path()).st_ino == before.st_ino) {
                    int const file =
                        ::open(path().c_str(), O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC);
                    if (file >= 0) {
                        EXPECT_EQ(::write(file, "more\n", 5), 5);
                        ::close(file);
                    }
                }
            });
        std::string const text = folder_.contents("a");
        if (result.status == 0) {
            // Appended before the file was read, or not at all.
            EXPECT_TRUE(text == NEW || text == NEW + "more\n") << call;
        } else {
            EXPECT_TRUE(text == OLD + "more\n") << call;
            ++refused;
        }
    }
    EXPECT_GT(refused, 5U);
}

TEST_F(Harm, AFileThatWasRenamedOrRemovedMeanwhileIsNotMadeAnew) {
    for (std::size_t call = first_; call < calls_; call += 3) {
        prepare();
        TracedResult const result =
            runWithFault(words(), {Fault::FAIL, NEVER}, [&](std::size_t now) {
                if (now == call) {
                    call % 2 == 0 ? ::unlink(path().c_str())
                                  : ::rename(path().c_str(), folder_.path("b").c_str());
                }
            });
        bool const there = std::filesystem::exists(path());
        if (result.status == 0 && there) {
            EXPECT_TRUE(whole()) << call;
        }
        if (result.status != 0) {
            EXPECT_FALSE(there) << call;
        }
    }
}

/// Without room for more than so many bytes in a file.
class FileLimit {
public:
    explicit FileLimit(rlim_t bytes) : before_() {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileLimit(FileLimit const&) = delete;
    FileLimit& operator=(FileLimit const&) = delete;
    ~FileLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_;
};

TEST_F(Harm, WhatDoesNotFitLeavesTheOldFile) {
    std::size_t const size = NEW.size();
    for (std::size_t limit : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, OLD.size() - 1,
                              OLD.size(), OLD.size() + 1, size - 1, size}) {
        for (bool const overwrite : {false, true}) {
            prepare();
            options_ = overwrite ? std::vector<std::string>{"--in-place-write"}
                                 : std::vector<std::string>{};
            FileLimit const limited(limit);
            TracedResult const result = runWithFault(words(), {Fault::FAIL, NEVER});
            EXPECT_TRUE(whole()) << limit;
            EXPECT_EQ(result.status, limit < size ? 2 : 0) << limit;
            EXPECT_EQ(isNew(), limit >= size) << limit;
        }
    }
}

}  // namespace
}  // namespace zeb::test
