#pragma once

#include <cstdint>
#include <string>

namespace zeb::cli {

/// A line on standard error that shows how much of a large input has been read. It overwrites
/// itself and is erased by the destructor. Without a terminal, and for small inputs, there is none.
class Progress {
public:
    /// Inputs from this many bytes on get a line.
    static constexpr std::uint64_t LEAST_SIZE = 100'000'000;
    /// Bytes between two states of the line.
    static constexpr std::uint64_t STEP = 10'000'000;

    /// @param size bytes that will be read; 0 when unknown
    Progress(std::string const& name, std::uint64_t size);
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;
    ~Progress();

    /// Reports that so many bytes have been read by now.
    void show(std::uint64_t bytes);

private:
    std::string name_;
    std::uint64_t size_;
    std::uint64_t next_;     ///< bytes at which the line is written next; the maximum means never
    std::size_t width_ = 0;  ///< columns of the line on the terminal
};

}  // namespace zeb::cli
