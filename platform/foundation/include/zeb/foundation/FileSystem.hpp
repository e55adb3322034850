#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

#include <cstdint>

/// @file
/// What the library needs to know of files. Paths are bytes as the system takes them; one that
/// holds a NUL byte names no file. Symbolic links are followed. Every failure throws
/// FileSystemException naming the path and the system's reason, its `errno` as the error code; and
/// each function may throw std::bad_alloc. The locale decides on the language of the reason alone.
/// @par Complexity a few system calls; `getFileContents` is linear in the file.
/// @par Thread safety reentrant; what other processes and threads do to a file in between shows.

namespace zeb::foundation {

/// What `FileSystem::getFileInformation` tells.
struct FileInformation {
    /// Kinds of files.
    enum Type { REGULAR_FILE, DIRECTORY, CHARACTER_DEVICE, BLOCK_DEVICE, FIFO, SOCKET, OTHER };

    /// Kind of the file that the path leads to.
    Type type;
    std::uint64_t size;  ///< bytes; of a regular file alone
};

namespace FileSystem {

/// Kind and size of the file.
/// @throws FileSystemException when it does not exist or cannot be examined
[[nodiscard]] ZEB_EXPORT FileInformation getFileInformation(String const& path);

/// Whether the effective user may write the file; false too when it does not exist.
/// @throws FileSystemException when `path` holds a NUL byte
[[nodiscard]] ZEB_EXPORT bool canWrite(String const& path);

/// All bytes of the file, read up to its end as it is found then, whatever size it had before. A
/// FIFO is waited for until its writers have closed it.
/// @throws FileSystemException when it cannot be opened or read
[[nodiscard]] ZEB_EXPORT String getFileContents(String const& path);

}  // namespace FileSystem

}  // namespace zeb::foundation
