#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace zeb::test {

/// A directory that all users may search; it is removed with its contents.
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
    ~TemporaryDirectory() {
        std::error_code ignored;  // a test may leave a directory that its user cannot empty
        std::filesystem::remove_all(path_, ignored);
    }

    /// Path of the entry `name` in the directory.
    [[nodiscard]] std::string path(std::string_view name) const {
        return path_ + "/" + std::string(name);
    }

    /// Writes these bytes to a file and returns its path.
    std::string file(std::string_view name, std::string_view bytes) const {
        std::string where = path(name);
        std::ofstream stream(where, std::ios_base::binary);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return where;
    }

    /// The bytes of a file; none when there is no such file.
    [[nodiscard]] std::string contents(std::string_view name) const {
        std::ifstream stream(path(name), std::ios_base::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

private:
    std::string path_;
};

}  // namespace zeb::test
