#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/String.hpp>

#include <fstream>

namespace zeb::foundation {

/// A binary input stream on a file. When the file cannot be opened the stream's `failbit` is set,
/// as with every standard stream. Bytes are read unchanged, NUL included, in every locale.
/// @par Complexity that of `std::ifstream`.
/// @par Thread safety one thread at a time.
class ZEB_EXPORT IFileStream : public std::ifstream {
public:
    /// @param path as `FileSystem` takes it; one that contains a NUL byte cannot be opened
    explicit IFileStream(String const& path);
    ~IFileStream() override;
};

}  // namespace zeb::foundation
