#include "FileReplacement.hpp"

#include "Streams.hpp"
#include "TemporaryFile.hpp"

#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/FileSystem.hpp>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <utility>

namespace zeb::cli {

using foundation::FileInformation;
using foundation::FileSystemException;
namespace FileSystem = foundation::FileSystem;

namespace {

constexpr char WAY_OUT[] = "; --in-place-write writes over it where it is";

/// The same checks and messages as those of the library's call for files.
void requireWritableFile(std::string const& name) {
    auto const refuse = [&name](std::string const& reason) {
        throw FileSystemException("zeb-text", /*line=*/-1, (reason + name).c_str(),
                                  /*subclassCode=*/-1, /*chained=*/nullptr, /*errorCode=*/-1);
    };
    if (FileSystem::getFileInformation(name).type != FileInformation::REGULAR_FILE) {
        refuse("File is not a regular file: ");
    }
    if (!FileSystem::canWrite(name)) {
        refuse("File cannot be written file: ");
    }
}

std::string realPath(std::string const& name) {
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };
    std::unique_ptr<char, Free> const path(::realpath(name.c_str(), nullptr));
    if (!path) {
        throw Failure(name + ": " + systemReason(errno));
    }
    return path.get();
}

bool sameTime(timespec const& a, timespec const& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool sameFile(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Whether it is that file, unchanged in contents and attributes since.
bool untouched(struct stat const& before, struct stat const& now) {
    return sameFile(before, now) && before.st_size == now.st_size &&
           sameTime(before.st_mtim, now.st_mtim) && sameTime(before.st_ctim, now.st_ctim);
}

/// Whether another program has the file open for writing. The kernel grants a read lease only if
/// none has; from then on it makes writers wait until the file is closed here. Network file systems
/// may refuse leases for other reasons.
bool isOpenForWriting(int descriptor) {
    constexpr long REMOTE[] = {NFS_SUPER_MAGIC, static_cast<long>(SMB_SUPER_MAGIC),
                               static_cast<long>(CIFS_SUPER_MAGIC),
                               static_cast<long>(SMB2_SUPER_MAGIC)};
    struct statfs system{};
    if (::fcntl(descriptor, F_SETLEASE, F_RDLCK) == 0 || errno != EAGAIN ||
        ::fstatfs(descriptor, &system) != 0) {
        return false;
    }
    return std::find(std::begin(REMOTE), std::end(REMOTE), static_cast<long>(system.f_type)) ==
           std::end(REMOTE);
}

/// Ensures that there is room for `length` bytes beyond `size`.
/// @throws SystemFailure with the size unchanged
void reserve(int descriptor, std::uint64_t size, std::uint64_t length) {
    int error = 0;
    do {
        error = ::posix_fallocate(descriptor, static_cast<off_t>(size), static_cast<off_t>(length));
    } while (error == EINTR);
    if (error != 0) {
        setLength(descriptor, size);  // part of it may have been reserved
        throw SystemFailure{error, "there is no room for its new contents"};
    }
}

}  // namespace

FileReplacement::FileReplacement(std::string name, ReplacementOptions options)
    : name_(std::move(name)), options_(std::move(options)) {
    requireWritableFile(name_);
    path_ = realPath(name_);
    folder_ = path_.substr(0, std::max<std::size_t>(path_.find_last_of('/'), 1));
    // If a pipe has replaced it, opening would wait.
    file_ = Descriptor(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file_.isOpen()) {
        throw Failure("Cannot read file " + name_ + ": " + systemReason(errno));
    }
    if (::fstat(file_.get(), &before_) != 0 || !S_ISREG(before_.st_mode)) {
        fail("another program has just replaced it");
    }
    if (!options_.overwrite) {
        requireReplaceable();
    }
}

FileReplacement::~FileReplacement() = default;

void FileReplacement::fail(std::string const& reason) const {
    throw Failure(name_ + ": " + reason);
}

void FileReplacement::refuse(std::string const& reason) const { fail(reason + WAY_OUT); }

void FileReplacement::requireReplaceable() const {
    if (before_.st_nlink > 1) {
        refuse("it has " + std::to_string(before_.st_nlink) +
               " hard links, of which a new file would take over only this one");
    }
    struct statx attributes{};
    if (::statx(AT_FDCWD, path_.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &attributes) == 0 &&
        (attributes.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) {
        refuse("it is a mount point, whose place no new file can take");
    }
}

void FileReplacement::requireUntouched(std::uint64_t bytesRead) const {
    struct stat opened{};
    struct stat named{};
    if (bytesRead > 0 && before_.st_size == 0) {
        fail("the system makes its contents up as they are read, so they cannot be replaced");
    }
    if (::fstat(file_.get(), &opened) != 0 || ::stat(path_.c_str(), &named) != 0 ||
        !untouched(before_, opened) || !sameFile(before_, named) ||
        bytesRead != static_cast<std::uint64_t>(before_.st_size)) {
        fail("another program has changed it meanwhile, so it was left alone");
    }
}

void FileReplacement::add(std::string_view old, std::string_view text) {
    if (begun_) {
        write(text);
        return;
    }
    // The editor may have output less than it has read.
    std::string joined;
    if (!ahead_.empty()) {
        joined = std::move(ahead_);
        joined += old;
        ahead_.clear();
        old = joined;
    }
    if (text.size() <= old.size() && old.compare(0, text.size(), text) == 0) {
        equal_ += text.size();
        ahead_ = old.substr(text.size());
        return;
    }
    begin();
    write(text);
}

void FileReplacement::begin() {
    begun_ = true;
    if (options_.overwrite) {
        return;
    }
    try {
        fresh_ = std::make_unique<TemporaryFile>(folder_);
        copyBytes(file_.get(), equal_, fresh_->descriptor());
    } catch (SystemFailure const& failure) {
        refuse(failure.step + " (" + systemReason(failure.error) + ")");
    }
    offset_ = equal_;
}

void FileReplacement::write(std::string_view bytes) {
    if (options_.overwrite) {
        text_ += bytes;
        return;
    }
    try {
        writeAt(fresh_->descriptor(), bytes, offset_, "a temporary file cannot be written");
    } catch (SystemFailure const& failure) {
        refuse(failure.step + " (" + systemReason(failure.error) + ")");
    }
    offset_ += bytes.size();
}

bool FileReplacement::commit(std::uint64_t bytesRead) {
    if (!begun_ && ahead_.empty()) {
        return false;
    }
    if (!begun_) {
        begin();  // the new contents are a prefix of the old ones
    }
    try {
        requireUntouched(bytesRead);
        makeBackup();
        if (options_.overwrite) {
            overwrite(bytesRead);
        } else {
            replace(bytesRead);
        }
    } catch (SystemFailure const& failure) {
        std::string const reason = failure.step + " (" + systemReason(failure.error) + ")";
        options_.overwrite ? fail(reason) : refuse(reason);
    }
    return true;
}

void FileReplacement::makeBackup() {
    if (options_.backup) {
        TemporaryFile copy(folder_);
        copyBytes(file_.get(), static_cast<std::uint64_t>(before_.st_size), copy.descriptor());
        copyAttributes(file_.get(), before_, copy.descriptor());
        copy.sync();
        copy.moveTo(path_ + *options_.backup);
    }
}

void FileReplacement::replace(std::uint64_t bytesRead) {
    copyAttributes(file_.get(), before_, fresh_->descriptor());
    fresh_->sync();
    if (isOpenForWriting(file_.get())) {
        refuse("another program has it open for writing and would lose its place");
    }
    requireUntouched(bytesRead);
    fresh_->moveTo(path_);
    Descriptor const folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder. A folder that is writable but not readable cannot be
    // opened.
    if (folder.isOpen() && ::fsync(folder.get()) != 0 && errno != EINVAL && errno != ENOTSUP) {
        fail("its new contents are there but may not survive a crash (" + systemReason(errno) +
             ")");
    }
}

void FileReplacement::overwrite(std::uint64_t bytesRead) {
    auto const size = static_cast<std::uint64_t>(before_.st_size);
    std::uint64_t const newSize = equal_ + text_.size();
    std::string old(static_cast<std::size_t>(size - equal_), '\0');
    readAt(file_.get(), old, equal_);
    Descriptor const target(::open(path_.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!target.isOpen()) {
        throw SystemFailure{errno, "it cannot be opened for writing"};
    }
    SignalsHeldOff const heldOff;
    requireUntouched(bytesRead);
    struct stat opened{};
    if (::fstat(target.get(), &opened) != 0 || !sameFile(before_, opened)) {
        fail("another program has changed it meanwhile, so it was left alone");
    }
    if (newSize > size) {
        reserve(target.get(), size, newSize - size);
    }
    try {
        writeAt(target.get(), text_, equal_, "it cannot be written");
        setLength(target.get(), newSize);
        if (::fsync(target.get()) != 0) {
            throw SystemFailure{errno, "it cannot be written to the disk"};
        }
    } catch (SystemFailure const& failure) {
        std::string const reason = failure.step + " (" + systemReason(failure.error) + ")";
        try {
            writeAt(target.get(), old, equal_, "");
            setLength(target.get(), size);
        } catch (SystemFailure const&) {
            fail(reason + " and its old contents cannot be put back: it is damaged");
        }
        fail(reason + " and has its old contents again");
    }
}

}  // namespace zeb::cli
