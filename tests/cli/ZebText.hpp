#pragma once

#include "RunProcess.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// @file
/// How the tests of zeb-text run the built program, and the files that they give it.

namespace zeb::test {

/// The tests give their own locale where they want another one.
inline int const LOCALE = ::setenv("LC_ALL", "C", /*overwrite=*/1);

/// Runs zeb-text.
inline ProcessResult zebText(std::vector<std::string> arguments, std::string_view input = {}) {
    arguments.insert(arguments.begin(), ZEB_TEXT_PROGRAM);
    return runProcess(std::move(arguments), input);
}

/// Runs a script of the shell, in which "$0" is zeb-text and "$1" is `argument`.
inline ProcessResult shell(std::string const& script, std::string const& argument = {}) {
    return runProcess({"sh", "-c", script, ZEB_TEXT_PROGRAM, argument});
}

/// What zeb-text gives when all is well.
inline ProcessResult prints(std::string out) { return {0, std::move(out), ""}; }

/// What zeb-text gives when nothing was found.
inline ProcessResult findsNothing() { return {1, "", ""}; }

/// What zeb-text gives when it fails with that message.
/// @param place lines that show where the trouble is
inline ProcessResult failsWith(std::string const& message, std::string const& place = {}) {
    return {2, "", "zeb-text: " + message + "\n" + place};
}

/// A folder that goes away with its contents.
class TemporaryFolder {
public:
    TemporaryFolder() : path_(std::filesystem::temp_directory_path() / "zeb-text.XXXXXX") {
        if (::mkdtemp(path_.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), path_);
        }
    }
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    /// Path of the file `name` in the folder.
    [[nodiscard]] std::string path(std::string const& name) const { return path_ + "/" + name; }

    /// Makes a file and returns its path.
    std::string file(std::string const& name, std::string_view contents) const {
        std::ofstream stream(path(name), std::ios::binary);
        stream.write(contents.data(), static_cast<std::streamsize>(contents.size()));
        return path(name);
    }

    [[nodiscard]] std::string contents(std::string const& name) const {
        std::ifstream stream(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

private:
    std::string path_;
};

}  // namespace zeb::test
