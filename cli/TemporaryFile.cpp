#include "TemporaryFile.hpp"

#include "Reader.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

namespace zeb::cli {

namespace {

void check(int result, char const* step) {
    if (result != 0) {
        throw SystemFailure{errno, step};
    }
}

/// Names of the extended attributes; empty if the file system has none.
std::vector<std::string> attributeNames(int descriptor) {
    std::string names;
    ssize_t length = 0;
    do {
        length = ::flistxattr(descriptor, nullptr, 0);
        if (length > 0) {
            names.resize(static_cast<std::size_t>(length));
            length = ::flistxattr(descriptor, names.data(), names.size());
        }
    } while (length < 0 && errno == ERANGE);  // another one was added meanwhile
    if (length < 0 && errno != ENOTSUP) {
        throw SystemFailure{errno, "its extended attributes cannot be read"};
    }
    names.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    std::vector<std::string> list;
    for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
        list.emplace_back(names.c_str() + at);
    }
    return list;
}

/// @return false when there is no such attribute
bool readAttribute(int descriptor, std::string const& name, std::string& value) {
    ssize_t length = 0;
    do {
        length = ::fgetxattr(descriptor, name.c_str(), nullptr, 0);
        if (length >= 0) {
            value.resize(static_cast<std::size_t>(length));
            length = ::fgetxattr(descriptor, name.c_str(), value.data(), value.size());
        }
    } while (length < 0 && errno == ERANGE);
    if (length >= 0) {
        value.resize(static_cast<std::size_t>(length));
        return true;
    }
    if (errno != ENODATA && errno != ENOTSUP) {
        throw SystemFailure{errno, "its extended attribute " + name + " cannot be read"};
    }
    return false;
}

void copyExtendedAttributes(int from, int to) {
    std::vector<std::string> const names = attributeNames(from);
    for (std::string const& name : names) {
        std::string value;
        std::string present;
        if (!readAttribute(from, name, value) ||
            (readAttribute(to, name, present) && present == value)) {
            continue;
        }
        if (::fsetxattr(to, name.c_str(), value.data(), value.size(), 0) != 0) {
            throw SystemFailure{errno, "its extended attribute " + name + " cannot be kept"};
        }
    }
    // The folder may have given the new file a default access control list.
    constexpr char LIST[] = "system.posix_acl_access";
    std::string inherited;
    if (std::find(names.begin(), names.end(), LIST) == names.end() &&
        readAttribute(to, LIST, inherited) && ::fremovexattr(to, LIST) != 0) {
        throw SystemFailure{errno, "an access control list that it has not cannot be left out"};
    }
}

std::string pathOf(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

}  // namespace

void writeAt(int descriptor, std::string_view bytes, std::uint64_t offset, char const* step) {
    while (!bytes.empty()) {
        ssize_t const put =
            ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (put > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(put));
            offset += static_cast<std::uint64_t>(put);
        } else if (put == 0 || errno != EINTR) {
            throw SystemFailure{put == 0 ? ENOSPC : errno, step};
        }
    }
}

void readAt(int descriptor, std::string& buffer, std::uint64_t offset) {
    for (std::size_t done = 0; done < buffer.size();) {
        ssize_t const got = ::pread(descriptor, buffer.data() + done, buffer.size() - done,
                                    static_cast<off_t>(offset + done));
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            throw SystemFailure{got == 0 ? EIO : errno, "it cannot be read again"};
        }
    }
}

void setLength(int descriptor, std::uint64_t length) {
    int result = 0;
    do {
        result = ::ftruncate(descriptor, static_cast<off_t>(length));
    } while (result != 0 && errno == EINTR);
    check(result, "its length cannot be set");
}

void copyBytes(int from, std::uint64_t count, int to) {
    std::string buffer;
    for (std::uint64_t done = 0; done < count; done += buffer.size()) {
        buffer.resize(
            static_cast<std::size_t>(std::min<std::uint64_t>(Reader::CAPACITY, count - done)));
        readAt(from, buffer, done);
        writeAt(to, buffer, done, "a temporary file cannot be written");
    }
}

void copyAttributes(int from, struct stat const& status, int to) {
    struct stat made{};
    check(::fstat(to, &made), "a temporary file cannot be examined");
    if (made.st_uid != status.st_uid || made.st_gid != status.st_gid) {
        check(::fchown(to, status.st_uid, status.st_gid), "its owner and group cannot be kept");
    }
    copyExtendedAttributes(from, to);
    check(::fchmod(to, status.st_mode & 07777U), "its mode cannot be kept");
}

TemporaryFile::TemporaryFile(std::string folder) : folder_(std::move(folder)) {
    // A file without a name disappears when the process is killed.
    file_ = Descriptor(::open(folder_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (file_.isOpen() && ::access(pathOf(file_.get()).c_str(), F_OK) == 0) {
        return;
    }
    std::string path = folder_ + "/.zeb-text.XXXXXX";
    file_ = Descriptor(::mkostemp(path.data(), O_CLOEXEC));
    if (!file_.isOpen()) {
        throw SystemFailure{errno, "a temporary file cannot be made beside it"};
    }
    path_ = path;
}

TemporaryFile::~TemporaryFile() {
    if (!path_.empty()) {
        ::unlink(path_.c_str());
    }
}

void TemporaryFile::sync() const {
    check(::fsync(file_.get()), "a temporary file cannot be written to the disk");
}

void TemporaryFile::giveName() {
    std::string const stem = folder_ + "/.zeb-text." + std::to_string(::getpid()) + ".";
    for (unsigned attempt = 0; path_.empty(); ++attempt) {
        std::string const path = stem + std::to_string(attempt);
        if (::linkat(AT_FDCWD, pathOf(file_.get()).c_str(), AT_FDCWD, path.c_str(),
                     AT_SYMLINK_FOLLOW) == 0) {
            path_ = path;
        } else if (errno != EEXIST) {
            throw SystemFailure{errno, "a temporary file cannot be made beside it"};
        }
    }
}

void TemporaryFile::moveTo(std::string const& path) {
    SignalsHeldOff const heldOff;
    if (path_.empty()) {
        giveName();
    }
    check(std::rename(path_.c_str(), path.c_str()), "a new file cannot be put in its place");
    path_.clear();
}

SignalsHeldOff::SignalsHeldOff() : before_() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
}

SignalsHeldOff::~SignalsHeldOff() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

}  // namespace zeb::cli
