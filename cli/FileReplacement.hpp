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

/// How a file gets its new contents.
struct ReplacementOptions {
    /// Write over the old contents instead of putting a new file in the old one's place.
    bool overwrite = false;
    /// Keep the old contents under the file's name with this behind it.
    std::optional<std::string> backup;
};

/// New contents of a file, which stays as it is until they are complete.
///
/// They go to a new file in the same folder, which gets the attributes of the old one, is written
/// to the disk and then renamed, so that after a crash, too, there is one or the other. What cannot
/// be done so is refused with the old file untouched: files with several links, mount points, files
/// that another program writes or has open for writing, owners that cannot be given. With
/// `overwrite` the contents are kept in memory and written over the old ones, which are put back
/// when the new ones do not fit; that a crash does not survive.
///
/// All failures are of class Failure and begin with the file's name.
class FileReplacement {
public:
    /// Opens the file; a symbolic link is followed.
    /// @throws foundation::FileSystemException when it is no regular file or not writable
    FileReplacement(std::string name, ReplacementOptions options);
    FileReplacement(FileReplacement const&) = delete;
    FileReplacement& operator=(FileReplacement const&) = delete;
    ~FileReplacement();

    /// Where the old contents are read.
    [[nodiscard]] int descriptor() const { return file_.get(); }

    /// Adds to the new contents.
    /// @param old the bytes of the old contents that have been read since the last call
    void add(std::string_view old, std::string_view text);

    /// Makes the contents those of the file, unless they are the old ones.
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
    std::uint64_t equal_ = 0;  ///< bytes at the beginning in which they do not
    std::string ahead_;        ///< of the old contents, those read and not yet met by new ones
    std::unique_ptr<TemporaryFile> fresh_;
    std::uint64_t offset_ = 0;  ///< bytes that it has
    std::string text_;  ///< the new contents from `equal_` on, to be written over the old ones
};

}  // namespace zeb::cli
