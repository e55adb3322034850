#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

#include <cstdint>

/// @file
/// File services that the library needs. Paths are bytes as the system takes them; one that
/// contains a NUL byte names no file. Symbolic links are followed. Every failure throws
/// FileSystemException naming the path and the system's reason, with `errno` as the error code;
/// each function may also throw std::bad_alloc. The locale influences only the language of the
/// reason.
/// @par Complexity a few system calls; `getFileContents` is linear in the file.
/// @par Thread safety reentrant; changes that other processes and threads make to a file meanwhile
///   are visible.

namespace zeb::foundation {

/// The result of `FileSystem::getFileInformation`.
struct FileInformation {
    /// Kinds of files.
    enum Type { REGULAR_FILE, DIRECTORY, CHARACTER_DEVICE, BLOCK_DEVICE, FIFO, SOCKET, OTHER };

    /// Kind of the file that the path leads to.
    Type type;
    std::uint64_t size;  ///< bytes; meaningful for a regular file only
};

namespace FileSystem {

/// Kind and size of the file.
/// @throws FileSystemException when it does not exist or cannot be examined
[[nodiscard]] ZEB_EXPORT FileInformation getFileInformation(String const& path);

/// Whether the effective user may write the file; false when it does not exist.
/// @throws FileSystemException when `path` contains a NUL byte
[[nodiscard]] ZEB_EXPORT bool canWrite(String const& path);

/// All bytes of the file, read until its end, even when its size changes meanwhile. A FIFO is read
/// until its writers have closed it.
/// @throws FileSystemException when it cannot be opened or read
[[nodiscard]] ZEB_EXPORT String getFileContents(String const& path);

}  // namespace FileSystem

}  // namespace zeb::foundation
