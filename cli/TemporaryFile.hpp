#pragma once

#include "Descriptor.hpp"

#include <signal.h>
#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace zeb::cli {

/// A failed system call.
struct SystemFailure {
    int error;         ///< errno
    std::string step;  ///< what was tried, such as "a temporary file cannot be made"
};

/// Writes all of `bytes` at `offset`. @throws SystemFailure with `step`
void writeAt(int descriptor, std::string_view bytes, std::uint64_t offset, char const* step);

/// Fills `buffer` with the bytes at `offset`. @throws SystemFailure also when the file is shorter
void readAt(int descriptor, std::string& buffer, std::uint64_t offset);

/// Sets the length of a file. @throws SystemFailure
void setLength(int descriptor, std::uint64_t length);

/// Copies the first bytes of one file to another that is empty.
/// @throws SystemFailure also when the file is shorter
void copyBytes(int from, std::uint64_t count, int to);

/// Gives a file the owner, group, extended attributes, access control list and mode of another.
/// @throws SystemFailure
void copyAttributes(int from, struct stat const& status, int to);

/// A file that will replace another in the same folder. Until then it is removed with the object
/// or, if the file system supports files without a name, with the process.
class TemporaryFile {
public:
    /// @throws SystemFailure
    explicit TemporaryFile(std::string folder);
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile();

    [[nodiscard]] int descriptor() const { return file_.get(); }

    /// Syncs its contents and attributes to the disk. @throws SystemFailure
    void sync() const;

    /// Replaces `path` by the file. @throws SystemFailure with `path` unchanged
    void moveTo(std::string const& path);

private:
    void giveName();

    std::string folder_;
    std::string path_;  ///< empty while it has no name
    Descriptor file_;
};

/// Blocks all signals that can be blocked.
class SignalsHeldOff {
public:
    SignalsHeldOff();
    SignalsHeldOff(SignalsHeldOff const&) = delete;
    SignalsHeldOff& operator=(SignalsHeldOff const&) = delete;
    ~SignalsHeldOff();

private:
    sigset_t before_;
};

}  // namespace zeb::cli
