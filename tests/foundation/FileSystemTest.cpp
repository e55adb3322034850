#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/FileSystem.hpp>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <type_traits>

#include "TemporaryDirectory.hpp"

namespace {

using zeb::foundation::Exception;
using zeb::foundation::FileInformation;
using zeb::foundation::FileSystemException;
using zeb::foundation::String;
using zeb::test::TemporaryDirectory;
namespace FileSystem = zeb::foundation::FileSystem;
using namespace std::string_view_literals;

static_assert(std::is_same_v<decltype(FileInformation::size), std::uint64_t>);

/// Expects that `call` throws with exactly `message` and the system's `error`.
template <typename Call>
void expectFailure(Call call, std::string const& message, int error) {
    try {
        call();
        ADD_FAILURE() << "no exception; expected " << message;
    } catch (FileSystemException const& exception) {
        EXPECT_EQ(exception.getMessage(), message);
        EXPECT_EQ(exception.getErrorCode(), error);
        EXPECT_EQ(exception.getSubclassCode(), Exception::NO_CODE);
        EXPECT_STREQ(exception.getFile(), "FileSystem");
        EXPECT_EQ(exception.getChained(), nullptr);
    }
}

std::string text(String const& path) { return std::string(std::string_view(path)); }

FileInformation::Type typeOf(String const& path) {
    return FileSystem::getFileInformation(path).type;
}

// ---------------------------------------------------------------- getFileInformation

class FileInformationOf : public testing::Test {
protected:
    TemporaryDirectory directory;
};

TEST_F(FileInformationOf, ARegularFileHasItsSize) {
    for (std::size_t const size : {std::size_t{0}, std::size_t{1}, std::size_t{100000}}) {
        FileInformation const information =
            FileSystem::getFileInformation(directory.file("file", std::string(size, 'x')));
        EXPECT_EQ(information.type, FileInformation::REGULAR_FILE);
        EXPECT_EQ(information.size, size);
    }
}

TEST_F(FileInformationOf, ALargeFileHasItsSizeOnEveryMachine) {
    String const path = directory.file("large", "");
    constexpr std::uint64_t SIZE = (std::uint64_t{5} << 30) + 1;  // 5 GiB of nothing
    std::filesystem::resize_file(path.c_str(), SIZE);
    EXPECT_EQ(FileSystem::getFileInformation(path).size, SIZE);
}

TEST_F(FileInformationOf, DirectoriesAndDevices) {
    EXPECT_EQ(typeOf(directory.path("")), FileInformation::DIRECTORY);
    EXPECT_EQ(typeOf("/dev/null"), FileInformation::CHARACTER_DEVICE);
    String const fifo = directory.path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(typeOf(fifo), FileInformation::FIFO);
}

TEST_F(FileInformationOf, ASocket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    String const path = directory.path("socket");
    ASSERT_LT(path.length(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.length());
    int const descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(descriptor, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    EXPECT_EQ(typeOf(path), FileInformation::SOCKET);
    ::close(descriptor);
}

TEST_F(FileInformationOf, ABlockDevice) {
    for (auto const& entry : std::filesystem::directory_iterator("/dev")) {
        std::error_code ignored;
        if (entry.is_block_file(ignored)) {
            EXPECT_EQ(typeOf(entry.path().string()), FileInformation::BLOCK_DEVICE);
            return;
        }
    }
    GTEST_SKIP() << "no block device in /dev";
}

TEST_F(FileInformationOf, AFileOfNoCommonKind) {
    // The kernel's file of an event counter has no kind.
    int const descriptor = ::eventfd(0, EFD_CLOEXEC);
    ASSERT_GE(descriptor, 0);
    String const path = "/proc/self/fd/" + String(std::to_string(descriptor));
    struct stat status{};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    if ((status.st_mode & S_IFMT) == 0) {
        EXPECT_EQ(typeOf(path), FileInformation::OTHER);
    }
    ::close(descriptor);
    if ((status.st_mode & S_IFMT) != 0) {
        GTEST_SKIP() << "this kernel knows no such file";
    }
}

TEST_F(FileInformationOf, ASymbolicLinkIsThatOfItsTarget) {
    directory.file("target", "12345");
    String const link = directory.path("link");
    std::filesystem::create_symlink("target", link.c_str());
    EXPECT_EQ(typeOf(link), FileInformation::REGULAR_FILE);
    EXPECT_EQ(FileSystem::getFileInformation(link).size, 5u);
    String const dangling = directory.path("dangling");
    std::filesystem::create_symlink("nowhere", dangling.c_str());
    expectFailure(
        [&] { (void)typeOf(dangling); },
        "Cannot get information for file " + text(dangling) + ": No such file or directory",
        ENOENT);
    String const loop = directory.path("loop");
    std::filesystem::create_symlink("loop", loop.c_str());
    expectFailure(
        [&] { (void)typeOf(loop); },
        "Cannot get information for file " + text(loop) + ": Too many levels of symbolic links",
        ELOOP);
}

TEST_F(FileInformationOf, AMissingFileIsAnException) {
    String const missing = directory.path("missing");
    expectFailure(
        [&] { (void)typeOf(missing); },
        "Cannot get information for file " + text(missing) + ": No such file or directory", ENOENT);
    expectFailure([] { (void)typeOf(""); },
                  "Cannot get information for file : No such file or directory", ENOENT);
    String const below = directory.file("file", "") + "/below";
    expectFailure([&] { (void)typeOf(below); },
                  "Cannot get information for file " + text(below) + ": Not a directory", ENOTDIR);
}

TEST_F(FileInformationOf, APathWithANulNamesNoFile) {
    String const path = String(directory.file("file", "")) + "\0tail"sv;
    expectFailure(
        [&] { (void)typeOf(path); },
        "Cannot get information for file " + directory.path("file") + "\\0tail: Invalid argument",
        EINVAL);
}

// ---------------------------------------------------------------- canWrite

/// Runs `call` in a child as a user without privileges (the present one when that has none) and
/// returns the text that `call` does.
template <typename Call>
std::string asUnprivilegedUser(Call call) {
    constexpr uid_t NOBODY = 65534;
    int ends[2];
    if (::pipe(ends) != 0) {
        return "no pipe";
    }
    pid_t const child = ::fork();
    if (child == 0) {
        std::string result;
        if (::geteuid() == 0 && (::setgid(NOBODY) != 0 || ::setuid(NOBODY) != 0)) {
            result = "cannot become another user";
        } else {
            result = call();
        }
        ssize_t const written = ::write(ends[1], result.data(), result.size());
        ::_exit(written == static_cast<ssize_t>(result.size()) ? 0 : 1);
    }
    ::close(ends[1]);
    std::string result;
    char buffer[512];
    for (ssize_t got = 0; (got = ::read(ends[0], buffer, sizeof buffer)) > 0;) {
        result.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(ends[0]);
    int state = 0;
    ::waitpid(child, &state, 0);
    return WIFEXITED(state) && WEXITSTATUS(state) == 0 ? result : "the child has failed";
}

class FileSystemAccess : public testing::Test {
protected:
    TemporaryDirectory directory;
};

TEST_F(FileSystemAccess, CanWriteJudgesTheUserInEffect) {
    String const file = directory.file("file", "");
    EXPECT_TRUE(FileSystem::canWrite(file));
    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    EXPECT_EQ(asUnprivilegedUser([&] { return FileSystem::canWrite(file) ? "yes" : "no"; }), "no");
    ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
    EXPECT_EQ(asUnprivilegedUser([&] { return FileSystem::canWrite(file) ? "yes" : "no"; }), "yes");
    // For the privileged user the mode is no obstacle.
    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    EXPECT_EQ(FileSystem::canWrite(file), ::geteuid() == 0);
}

TEST_F(FileSystemAccess, CanWriteJudgesTheEffectiveNotTheRealUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the privileged user has another effective user";
    }
    String const file = directory.file("file", "");
    EXPECT_EQ(asUnprivilegedUser([&] { return FileSystem::canWrite(file) ? "yes" : "no"; }), "no");
    ASSERT_EQ(::seteuid(65534), 0);
    bool const canWrite = FileSystem::canWrite(file);
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_FALSE(canWrite);
}

TEST_F(FileSystemAccess, CanWriteFollowsLinksAndKnowsDirectories) {
    String const link = directory.path("link");
    std::filesystem::create_symlink(directory.file("file", "").c_str(), link.c_str());
    EXPECT_TRUE(FileSystem::canWrite(link));
    EXPECT_TRUE(FileSystem::canWrite(directory.path("")));
    EXPECT_TRUE(FileSystem::canWrite("/dev/null"));
}

TEST_F(FileSystemAccess, CannotWriteWhatDoesNotExist) {
    EXPECT_FALSE(FileSystem::canWrite(directory.path("missing")));
    EXPECT_FALSE(FileSystem::canWrite(""));
    EXPECT_FALSE(FileSystem::canWrite(directory.file("file", "") + "/below"));
}

TEST_F(FileSystemAccess, CanWriteRefusesANul) {
    expectFailure([] { (void)FileSystem::canWrite("/dev/null\0"sv); },
                  "Cannot check file /dev/null\\0: Invalid argument", EINVAL);
}

// ---------------------------------------------------------------- getFileContents

TEST_F(FileSystemAccess, ContentsAreAllBytes) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all.push_back(static_cast<char>(byte));
    }
    EXPECT_EQ(FileSystem::getFileContents(directory.file("all", all)), all);
    EXPECT_EQ(FileSystem::getFileContents(directory.file("text", "a\r\nb\n")), "a\r\nb\n");
    EXPECT_EQ(FileSystem::getFileContents(directory.file("empty", "")), "");
}

TEST_F(FileSystemAccess, ContentsOfAnySizeAreWhole) {
    for (std::size_t const size : {1u, 2u, 4095u, 4096u, 4097u, 8191u, 8192u, 65536u, 3000001u}) {
        std::string bytes(size, 'x');
        for (std::size_t i = 0; i < size; i += 97) {
            bytes[i] = static_cast<char>('a' + i % 26);
        }
        String const contents = FileSystem::getFileContents(directory.file("file", bytes));
        ASSERT_TRUE(contents == bytes) << size;
        ASSERT_EQ(contents.c_str()[size], '\0');
    }
}

TEST_F(FileSystemAccess, ContentsOfAFileThatTellsNoSizeAreWhole) {
    struct stat status{};
    ASSERT_EQ(::stat("/proc/sys/kernel/pid_max", &status), 0);
    ASSERT_EQ(status.st_size, 0);
    // The kernel gives this one in a single piece: to a second read it says that it is at its end.
    std::string number;
    std::ifstream("/proc/sys/kernel/pid_max") >> number;
    ASSERT_GT(number.size(), 1u);
    EXPECT_EQ(FileSystem::getFileContents("/proc/sys/kernel/pid_max"), number + "\n");
    EXPECT_EQ(FileSystem::getFileContents("/proc/sys/kernel/ostype"), "Linux\n");
    // One of many pages: as many lines as a process has mappings.
    String const maps = FileSystem::getFileContents("/proc/self/maps");
    EXPECT_GT(maps.length(), 4096u);
    EXPECT_TRUE(maps.endsWith("\n"));
    EXPECT_EQ(FileSystem::getFileContents("/dev/null"), "");
}

TEST_F(FileSystemAccess, ContentsOfAPipeAreReadToItsEnd) {
    String const fifo = directory.path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string const bytes(200000, 'p');
    pid_t const child = ::fork();
    if (child == 0) {
        int const descriptor = ::open(fifo.c_str(), O_WRONLY);
        std::size_t done = 0;
        while (done < bytes.size()) {
            ssize_t const written = ::write(descriptor, bytes.data() + done, bytes.size() - done);
            if (written <= 0) {
                ::_exit(1);
            }
            done += static_cast<std::size_t>(written);
        }
        ::_exit(0);
    }
    EXPECT_TRUE(FileSystem::getFileContents(fifo) == bytes);
    ::waitpid(child, nullptr, 0);
}

TEST_F(FileSystemAccess, ContentsOfALinkAreItsTargets) {
    directory.file("target", "bytes");
    String const link = directory.path("link");
    std::filesystem::create_symlink("target", link.c_str());
    EXPECT_EQ(FileSystem::getFileContents(link), "bytes");
}

TEST_F(FileSystemAccess, ContentsOfAMissingFileAreAnException) {
    String const missing = directory.path("missing");
    expectFailure([&] { (void)FileSystem::getFileContents(missing); },
                  "Cannot read file " + text(missing) + ": No such file or directory", ENOENT);
    expectFailure([&] { (void)FileSystem::getFileContents(missing + "\0x"sv); },
                  "Cannot read file " + text(missing) + "\\0x: Invalid argument", EINVAL);
}

TEST_F(FileSystemAccess, ContentsOfADirectoryAreAnException) {
    String const path = directory.path("");
    expectFailure([&] { (void)FileSystem::getFileContents(path); },
                  "Cannot read file " + text(path) + ": Is a directory", EISDIR);
}

TEST_F(FileSystemAccess, ContentsOfAFileWithoutPermissionAreAnException) {
    String const file = directory.file("secret", "bytes");
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    EXPECT_EQ(asUnprivilegedUser([&] {
                  try {
                      return text(FileSystem::getFileContents(file));
                  } catch (FileSystemException const& exception) {
                      return std::to_string(exception.getErrorCode()) + ' ' +
                             exception.getMessage();
                  }
              }),
              std::to_string(EACCES) + " Cannot read file " + text(file) + ": Permission denied");
}

TEST_F(FileSystemAccess, NoDescriptorIsLeftOpen) {
    auto const open = [] {
        int count = 0;
        for ([[maybe_unused]] auto const& entry :
             std::filesystem::directory_iterator("/proc/self/fd")) {
            ++count;
        }
        return count;
    };
    int const before = open();
    (void)FileSystem::getFileContents(directory.file("file", "x"));
    EXPECT_THROW((void)FileSystem::getFileContents(directory.path("")), FileSystemException);
    EXPECT_THROW((void)FileSystem::getFileContents(directory.path("no")), FileSystemException);
    EXPECT_EQ(open(), before);
}

}  // namespace
