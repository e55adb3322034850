// What the file services do when the system fails them. A program of its own, because it replaces
// the functions that read from a descriptor and write to one.

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/Logger.hpp>

#include "Sanitized.hpp"
#include "TemporaryDirectory.hpp"

namespace {

/// Called before each read; what it returns other than 0 is the error of that read.
std::function<int()> beforeRead;
/// Reads that a signal has interrupted.
int interruptedReads = 0;
/// Given the bytes to be written, returns how many are written: fewer, or minus the error.
std::function<ssize_t(ssize_t)> writable;

}  // namespace

// Its name for the linker alone is "read": with clang++ the hardened header defines that function.
extern "C" ssize_t watchedRead(int descriptor, void* bytes, std::size_t count) __asm__("read");

ssize_t watchedRead(int descriptor, void* bytes, std::size_t count) {
    if (beforeRead) {
        if (int const error = beforeRead(); error != 0) {
            errno = error;
            return -1;
        }
    }
    ssize_t const got = ::syscall(SYS_read, descriptor, bytes, count);
    if (got < 0 && errno == EINTR) {
        ++interruptedReads;
    }
    return got;
}

// libstdc++ writes by either.
extern "C" ssize_t watchedWrite(int descriptor, void const* bytes,
                                std::size_t count) __asm__("write");
extern "C" ssize_t watchedWriteOfPieces(int descriptor, iovec const* pieces,
                                        int count) __asm__("writev");

ssize_t watchedWrite(int descriptor, void const* bytes, std::size_t count) {
    if (writable) {
        ssize_t const admitted = writable(static_cast<ssize_t>(count));
        if (admitted < 0) {
            errno = static_cast<int>(-admitted);
            return -1;
        }
        count = static_cast<std::size_t>(admitted);
    }
    return ::syscall(SYS_write, descriptor, bytes, count);
}

ssize_t watchedWriteOfPieces(int descriptor, iovec const* pieces, int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i) {
        bytes.append(static_cast<char const*>(pieces[i].iov_base), pieces[i].iov_len);
    }
    return watchedWrite(descriptor, bytes.data(), bytes.size());
}

namespace {

namespace FileSystem = zeb::foundation::FileSystem;
using zeb::foundation::FileSystemException;
using zeb::foundation::IFileStream;
using zeb::foundation::IntrusiveReference;
using zeb::foundation::LogAppender;
using zeb::foundation::Logger;
using zeb::foundation::LogMessage;
using zeb::foundation::String;
using ZEBNS2::copy_stream;
using ZEBNS2::read_from_stream;
using ZEBNS2::unprivilegedSed;

class SystemFaults : public testing::Test {
protected:
    ~SystemFaults() override {
        beforeRead = nullptr;
        writable = nullptr;
    }

    zeb::test::TemporaryDirectory directory;
};

std::string text(String const& string) { return std::string(std::string_view(string)); }

std::string contentsOf(String const& path) {
    std::ifstream file(path.c_str(), std::ios_base::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The message and the error code of what `action` throws.
template <typename Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (FileSystemException const& exception) {
        return std::to_string(exception.getErrorCode()) + ' ' + exception.getMessage();
    }
    return "none";
}

std::string failure(int error, std::string const& what, String const& path,
                    std::string const& reason) {
    return std::to_string(error) + ' ' + what + text(path) + (reason.empty() ? "" : ": ") + reason;
}

/// Whether `action` fails no expectation in a process of its own, which may limit itself.
template <typename Action>
bool succeedsInChild(Action action) {
    pid_t const child = ::fork();
    if (child == 0) {
        action();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int state = 0;
    return ::waitpid(child, &state, 0) == child && WIFEXITED(state) && WEXITSTATUS(state) == 0;
}

void limit(__rlimit_resource resource, rlim_t most) {
    rlimit const limits{most, most};
    EXPECT_EQ(::setrlimit(resource, &limits), 0);
}

/// Does something to a file when a certain step of an edit is traced.
class AtStep : public LogAppender {
public:
    AtStep(std::string_view step, std::function<void()> action)
        : step_(step), action_(std::move(action)) {
        Logger::setDefault(Logger::DEBUG3_LEVEL, IntrusiveReference<LogAppender>(this));
    }
    void append(LogMessage const& message) override {
        if (message.text.startsWith(step_)) {
            action_();
            ++reached;
        }
    }
    int reached = 0;

private:
    std::string_view step_;
    std::function<void()> action_;
};

/// What an edit of `path` throws when `action` is done at `step` of it.
std::string failureOfEdit(String const& path, std::string_view step, std::function<void()> action) {
    IntrusiveReference<AtStep> const appender(new AtStep(step, std::move(action)));
    std::string const failure = failureOf([&] { unprivilegedSed(path, "a", "b"); });
    Logger::setDefault(Logger::NO_LEVEL, IntrusiveReference<LogAppender>());
    EXPECT_EQ(appender->reached, 1);
    return failure;
}

// ------------------------------------------------------------------------------------ a full disk

TEST_F(SystemFaults, AFullDeviceIsSeenInTheStateOfTheStreamThatIsCopiedTo) {
    IFileStream source(directory.file("file", std::string(100000, 'a')));
    std::ofstream full("/dev/full", std::ios_base::binary);
    ASSERT_TRUE(full.good());
    // Passed on, so counted: the first pieces stay in the stream's own buffer.
    std::size_t const copied = copy_stream(full, source);
    EXPECT_TRUE(full.bad());
    EXPECT_GT(copied, 0U);
    EXPECT_LT(copied, 100000U);
    EXPECT_EQ(copied % 2048, 0U);
}

TEST_F(SystemFaults, AFullDeviceLosesTheMessagesOfAStreamAppender) {
    std::ofstream full("/dev/full");
    zeb::foundation::StreamAppender appender(full);
    EXPECT_NO_THROW(appender.append({"component", "DEBUG", "text", "unit", 1, "function"}));
    EXPECT_TRUE(full.bad());
}

TEST_F(SystemFaults, ADiskWithoutRoomLeavesAnEditedFileShortWithoutAWord) {
    String const file = directory.file("file", "aaaa\naaaa\n");
    EXPECT_TRUE(succeedsInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        limit(RLIMIT_FSIZE, 6);
        EXPECT_NO_THROW(unprivilegedSed(file, "a", "b"));
    }));
    EXPECT_EQ(contentsOf(file), "baaa\nb");
    EXPECT_TRUE(succeedsInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        limit(RLIMIT_FSIZE, 0);
        EXPECT_NO_THROW(unprivilegedSed(file, "b", "c"));
    }));
    EXPECT_EQ(contentsOf(file), "");
}

// ------------------------------------------------------------------------------------ read errors

TEST_F(SystemFaults, AReadErrorAtTheStartIsAnExceptionWithItsReason) {
    EXPECT_EQ(failureOf([] { (void)FileSystem::getFileContents("/proc/self/mem"); }),
              failure(EIO, "Cannot read file ", "/proc/self/mem", "Input/output error"));
}

TEST_F(SystemFaults, AReadErrorMidwayIsAnExceptionAndAnEditedFileStays) {
    String const file = directory.file("file", "aaaa\n");
    int reads = 0;
    beforeRead = [&] { return ++reads % 2 == 0 ? EIO : 0; };
    std::string const expected = failure(EIO, "Cannot read file ", file, "Input/output error");
    EXPECT_EQ(failureOf([&] { (void)FileSystem::getFileContents(file); }), expected);
    EXPECT_EQ(reads, 2);
    EXPECT_EQ(failureOf([&] { unprivilegedSed(file, "a", "b"); }), expected);
    EXPECT_EQ(reads, 4);
    beforeRead = nullptr;
    EXPECT_EQ(contentsOf(file), "aaaa\n");
}

/// A stream on this process's memory, at the first of two pages, the second of which is none.
IFileStream& atTheEndOfMemory(IFileStream& memory) {
    auto const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const pages =
        ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(pages, MAP_FAILED);
    EXPECT_EQ(::munmap(static_cast<char*>(pages) + page, page), 0);
    memory.seekg(static_cast<std::streamoff>(reinterpret_cast<std::uintptr_t>(pages)));
    EXPECT_TRUE(memory.good());
    return memory;
}

TEST_F(SystemFaults, AReadErrorMidwayGivesTheBytesBefore) {
    auto const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    IFileStream first("/proc/self/mem");
    EXPECT_EQ(read_from_stream(atTheEndOfMemory(first), 0xFFFFFFFF).size(), page);
    EXPECT_TRUE(first.bad());
    IFileStream second("/proc/self/mem");
    std::ofstream copy(directory.path("copy").c_str(), std::ios_base::binary);
    EXPECT_EQ(copy_stream(copy, atTheEndOfMemory(second)), page);
    EXPECT_TRUE(second.bad());
    EXPECT_TRUE(copy.good());
}

// ------------------------------------------------------------------ files that change in between

TEST_F(SystemFaults, AFileThatShrinksWhileItIsReadGivesWhatIsLeft) {
    String const file = directory.file("file", std::string(100000, 'a'));
    beforeRead = [&] { return ::truncate(file.c_str(), 10) == 0 ? 0 : errno; };
    EXPECT_EQ(FileSystem::getFileContents(file), std::string(10, 'a'));
}

TEST_F(SystemFaults, AFileThatGrowsWhileItIsReadGivesWhatIsNew) {
    String const file = directory.file("file", "1234");
    int reads = 0;
    beforeRead = [&] {
        if (++reads == 2) {
            std::ofstream(file.c_str(), std::ios_base::app) << std::string(10000, '5');
        }
        return 0;
    };
    EXPECT_EQ(FileSystem::getFileContents(file), "1234" + std::string(10000, '5'));
}

TEST_F(SystemFaults, AFileThatShrinksWhileItIsEditedGetsTheLinesThatWereRead) {
    String const file = directory.file("file", "a1\na2\na3\n");
    beforeRead = [&] { return ::truncate(file.c_str(), 6) == 0 ? 0 : errno; };
    unprivilegedSed(file, "a", "b");
    beforeRead = nullptr;
    EXPECT_EQ(contentsOf(file), "b1\nb2\n");
}

TEST_F(SystemFaults, AFileThatBecomesADirectoryBeforeItIsReadIsAnException) {
    String const file = directory.file("file", "aaaa\n");
    EXPECT_EQ(failureOfEdit(file, "regex: Getting lines",
                            [&] {
                                std::filesystem::remove(file.c_str());
                                std::filesystem::create_directory(file.c_str());
                            }),
              failure(EISDIR, "Cannot read file ", file, "Is a directory"));
    EXPECT_TRUE(std::filesystem::is_directory(file.c_str()));
}

TEST_F(SystemFaults, AFileThatBecomesADirectoryBeforeItIsCheckedForWritingIsAnException) {
    String const file = directory.file("file", "aaaa\n");
    EXPECT_EQ(failureOfEdit(file, "regex: Checking write status",
                            [&] {
                                std::filesystem::remove(file.c_str());
                                std::filesystem::create_directory(file.c_str());
                            }),
              failure(EISDIR, "Cannot read file ", file, "Is a directory"));
}

TEST_F(SystemFaults, AFileThatVanishesBeforeACheckIsAnException) {
    String const file = directory.file("file", "aaaa\n");
    EXPECT_EQ(failureOfEdit(file, "regex: Checking write status",
                            [&] { std::filesystem::remove(file.c_str()); }),
              failure(-1, "File cannot be written file: ", file, ""));
    EXPECT_FALSE(std::filesystem::exists(file.c_str()));
}

// ------------------------------------------------------------------------------- limits of names

TEST_F(SystemFaults, AProcessWithoutFreeDescriptorsCannotRead) {
    if (zeb::test::SANITIZED) {
        GTEST_SKIP() << "the sanitizers take descriptors to look whether memory can be read";
    }
    String const file = directory.file("file", "aaaa\n");
    EXPECT_TRUE(succeedsInChild([&] {
        limit(RLIMIT_NOFILE, 3);
        std::string const expected =
            failure(EMFILE, "Cannot read file ", file, "Too many open files");
        EXPECT_EQ(failureOf([&] { (void)FileSystem::getFileContents(file); }), expected);
        EXPECT_EQ(failureOf([&] { unprivilegedSed(file, "a", "b"); }), expected);
        IFileStream stream(file);
        EXPECT_TRUE(stream.fail());
        EXPECT_EQ(read_from_stream(stream, 0xFFFFFFFF).size(), 0U);
    }));
    EXPECT_EQ(contentsOf(file), "aaaa\n");
}

TEST_F(SystemFaults, ANameThatIsTooLongOrALoopOfLinksIsAnException) {
    String const name = directory.path(std::string(300, 'x'));
    EXPECT_EQ(
        failureOf([&] { (void)FileSystem::getFileInformation(name); }),
        failure(ENAMETOOLONG, "Cannot get information for file ", name, "File name too long"));
    String const link = directory.path("link");
    std::filesystem::create_symlink("link", link.c_str());
    EXPECT_EQ(failureOf([&] { unprivilegedSed(link, "a", "b"); }),
              failure(ELOOP, "Cannot get information for file ", link,
                      "Too many levels of symbolic links"));
    EXPECT_FALSE(FileSystem::canWrite(link));
}

// ------------------------------------------------------------------------------ interrupted calls

/// How many signals have been handled; shared with the process that sends them.
int volatile* signalsTaken = nullptr;

/// Handles SIGUSR1 during its lifetime, without SA_RESTART.
class Interruptions {
public:
    Interruptions() {
        void* const shared = ::mmap(nullptr, sizeof *signalsTaken, PROT_READ | PROT_WRITE,
                                    MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(shared, MAP_FAILED);
        signalsTaken = static_cast<int volatile*>(shared);
        interruptedReads = 0;
        struct sigaction action{};
        action.sa_handler = [](int) { *signalsTaken = *signalsTaken + 1; };
        EXPECT_EQ(::sigaction(SIGUSR1, &action, &before_), 0);
    }
    Interruptions(Interruptions const&) = delete;
    Interruptions& operator=(Interruptions const&) = delete;
    ~Interruptions() { ::sigaction(SIGUSR1, &before_, nullptr); }

private:
    struct sigaction before_{};
};

/// Waits until `process` sleeps in a call of the system, interrupts it, and waits until it has
/// noticed: before, there must be nothing that the call could succeed with.
void interruptSleeper(pid_t process) {
    std::string const path = "/proc/" + std::to_string(process) + "/stat";
    std::string state;
    do {
        std::ifstream stat(path);
        std::getline(stat, state, ')');
        std::getline(stat, state);
    } while (state.compare(0, 2, " S") != 0);
    int const before = *signalsTaken;
    ::kill(process, SIGUSR1);
    while (*signalsTaken == before) {
        ::sched_yield();
    }
}

/// Starts a process that interrupts this one in opening `fifo`, if so asked, and twice in reading
/// it, and writes "first" and "second" to it in between.
pid_t startInterruptingWriter(String const& fifo, bool whileOpening) {
    pid_t const reader = ::getpid();
    pid_t const child = ::fork();
    if (child == 0) {
        ::alarm(60);  // rather than wait forever
        if (whileOpening) {
            interruptSleeper(reader);
        }
        std::ofstream pipe(fifo.c_str(), std::ios_base::binary);
        interruptSleeper(reader);
        pipe << "first" << std::flush;
        int left = 1;
        while (left != 0) {
            int const descriptor = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
            ::ioctl(descriptor, FIONREAD, &left);
            ::close(descriptor);
        }
        interruptSleeper(reader);
        pipe << "second" << std::flush;
        ::_exit(0);
    }
    return child;
}

TEST_F(SystemFaults, InterruptedOpeningAndReadingGoesOn) {
    String const fifo = directory.path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    Interruptions const interruptions;
    pid_t const writer = startInterruptingWriter(fifo, /*whileOpening=*/true);
    EXPECT_EQ(FileSystem::getFileContents(fifo), "firstsecond");
    EXPECT_EQ(::waitpid(writer, nullptr, 0), writer);
    EXPECT_EQ(*signalsTaken, 3);
    EXPECT_EQ(interruptedReads, 2);
}

TEST_F(SystemFaults, InterruptedReadingOfAStreamGoesOn) {
    String const fifo = directory.path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    Interruptions const interruptions;
    pid_t const writer = startInterruptingWriter(fifo, /*whileOpening=*/false);
    IFileStream stream(fifo);
    std::vector<char> const bytes = read_from_stream(stream, 0xFFFFFFFF);
    EXPECT_EQ(std::string_view(bytes.data(), bytes.size()), "firstsecond");
    EXPECT_EQ(::waitpid(writer, nullptr, 0), writer);
    EXPECT_EQ(*signalsTaken, 2);
    EXPECT_EQ(interruptedReads, 2);
}

/// Lines of so many bytes, with their newlines.
std::string linesOf(char first, std::size_t bytes) {
    std::string text;
    while (text.size() + 3 <= bytes) {
        text += first + std::string("x\n");
    }
    return text;
}

TEST_F(SystemFaults, InterruptedAndShortWritesOfAnEditGoOn) {
    // Less than its stream has a buffer for, and more.
    for (std::size_t const size : {300U, 1023U, 100000U}) {
        for (ssize_t const most : {1, 7, 1000}) {
            SCOPED_TRACE(std::to_string(size) + " bytes, " + std::to_string(most) + " at a time");
            String const file = directory.file("file", linesOf('a', size));
            int interrupted = 0;
            ssize_t written = 0;
            bool interrupts = false;
            writable = [&](ssize_t count) -> ssize_t {
                interrupts = !interrupts;
                if (interrupts) {
                    ++interrupted;
                    return -EINTR;
                }
                written += std::min(count, most);
                return std::min(count, most);
            };
            unprivilegedSed(file, "a", "b");
            writable = nullptr;
            EXPECT_EQ(contentsOf(file), linesOf('b', size));
            EXPECT_EQ(static_cast<std::size_t>(written), linesOf('b', size).size());
            EXPECT_GE(interrupted, written / most);
        }
    }
}

TEST_F(SystemFaults, AWriteErrorMidwayLeavesAnEditedFileShortWithoutAWord) {
    for (int const error : {ENOSPC, EIO, EDQUOT}) {
        String const file = directory.file("file", linesOf('a', 100000));
        ssize_t room = 5000;
        writable = [&](ssize_t count) -> ssize_t {
            count = std::min({count, room, ssize_t{999}});
            room -= count;
            return count == 0 ? -error : count;
        };
        EXPECT_NO_THROW(unprivilegedSed(file, "a", "b"));
        writable = nullptr;
        EXPECT_EQ(contentsOf(file), linesOf('b', 100000).substr(0, 5000));
    }
}

}  // namespace
