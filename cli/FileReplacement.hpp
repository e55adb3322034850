#pragma once

#include "Descriptor.hpp"

#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zeb::cli {

class TemporaryFile;

/// How to replace a file's contents.
struct ReplacementOptions {
    /// Overwrite the old contents instead of replacing the file by a new one.
    bool overwrite = false;
    /// Keep the old contents under the file's name plus this suffix.
    std::optional<std::string> backup;
};

/// New contents of a file, which is unchanged until they are complete.
///
/// They are written to a new file in the same folder, which gets the attributes of the old one, is
/// synced to the disk and then renamed, so that even after a crash one or the other exists. Files
/// for which that is impossible are refused and unchanged: files with several links, mount points,
/// files that another program writes or has open for writing, owners that cannot be set. With
/// `overwrite` the contents are kept in memory and overwrite the old ones, which are restored when
/// the new ones do not fit; a crash meanwhile leaves the file half written.
///
/// All failures are of class Failure and begin with the file's name.
class FileReplacement {
public:
    /// Opens the file; a symbolic link is followed.
    /// @throws foundation::FileSystemException when it is not a regular file or not writable
    FileReplacement(std::string name, ReplacementOptions options);
    FileReplacement(FileReplacement const&) = delete;
    FileReplacement& operator=(FileReplacement const&) = delete;
    ~FileReplacement();

    /// The descriptor from which the old contents are read.
    [[nodiscard]] int descriptor() const { return file_.get(); }

    /// Adds to the new contents.
    /// @param old the bytes of the old contents that have been read since the last call
    void add(std::string_view old, std::string_view text);

    /// Gives the file the new contents, unless they equal the old ones.
    /// @param bytesRead length of the old contents
    /// @return whether the file was written
    bool commit(std::uint64_t bytesRead);

private:
    [[noreturn]] void fail(std::string const& reason) const;
    [[noreturn]] void refuse(std::string const& reason) const;
    void requireReplaceable() const;
    void requireUntouched(std::uint64_t bytesRead) const;
    void begin();
    void write(std::string_view bytes);
    void makeBackup();
    void replace(std::uint64_t bytesRead);
    void overwrite(std::uint64_t bytesRead);

    std::string name_;
    ReplacementOptions options_;
    std::string path_;    ///< without symbolic links
    std::string folder_;  ///< of the path
    Descriptor file_;
    struct stat before_{};
    bool begun_ = false;       ///< whether the new contents differ from the old
    std::uint64_t equal_ = 0;  ///< bytes at the beginning in which they are equal
    std::string ahead_;        ///< old contents that are read but not yet compared with new ones
    std::unique_ptr<TemporaryFile> fresh_;
    std::uint64_t offset_ = 0;  ///< bytes that it has
    std::string text_;  ///< the new contents from `equal_` on, to be written over the old ones
};

}  // namespace zeb::cli
