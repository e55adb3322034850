#pragma once

#include <zeb/foundation/String.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace zeb::test {

/// A directory that everybody may search; it goes with all that is in it.
class TemporaryDirectory {
public:
    TemporaryDirectory()
        : path_((std::filesystem::temp_directory_path() / "zeb-test-XXXXXX").string()) {
        if (::mkdtemp(path_.data()) == nullptr || ::chmod(path_.c_str(), 0755) != 0) {
            throw std::system_error(errno, std::generic_category(), path_);
        }
    }
    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }

    foundation::String path(std::string_view name) const {
        return foundation::String(path_) + "/" + name;
    }

    /// Makes a file of these bytes and returns its path.
    foundation::String file(std::string_view name, std::string_view bytes) const {
        foundation::String const where = path(name);
        std::ofstream(where.c_str(), std::ios_base::binary) << bytes;
        return where;
    }

private:
    std::string path_;
};

}  // namespace zeb::test
