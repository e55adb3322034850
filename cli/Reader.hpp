#pragma once

#include "Progress.hpp"
#include "Streams.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace zeb::cli {

/// A part of a text: whole lines with their newlines or, the last time, the rest, with or without a
/// final newline and possibly empty.
///
/// The user of a part may change its bytes; a NUL byte follows the last part.
struct Piece {
    char* data;
    std::size_t size;
    bool last;

    [[nodiscard]] std::string_view text() const { return {data, size}; }
};

/// Reads an input in pieces of up to 256 KiB, more only for a line that is longer.
///
/// What has been written to `Output` is flushed before a read that has to wait, so that each line
/// of a slow input appears at once.
class Reader {
public:
    /// Bytes of the buffer, unless a line is longer.
    static constexpr std::size_t CAPACITY = std::size_t{256} * 1024;
    /// Bytes before `data` that the caller may write.
    static constexpr std::size_t HEADROOM = 16;

    /// @param descriptor stays the caller's
    /// @param what begins the message of a read that fails, such as "Cannot read file x: "
    Reader(Output& out, int descriptor, std::string const& name, std::string what);

    /// Reads more after the unconsumed bytes: as much as fits, or as is available without waiting,
    /// but at least one byte, unless the end was reached.
    /// @return false when the end had been reached before
    /// @throws Failure when reading fails or a line does not fit into the memory
    bool more();

    /// The bytes read and not consumed.
    [[nodiscard]] char* data() { return buffer_.get() + HEADROOM + begin_; }
    [[nodiscard]] std::size_t size() const { return end_ - begin_; }
    /// The number of these that `more` has added.
    [[nodiscard]] std::size_t fresh() const { return fresh_; }
    /// Whether nothing will follow.
    [[nodiscard]] bool atEnd() const { return atEnd_; }
    /// Bytes read so far.
    [[nodiscard]] std::uint64_t total() const { return total_; }

    void consume(std::size_t bytes) { begin_ += bytes; }

    /// Passes the whole input to `work`, piece by piece.
    /// @param work returns whether it wants more
    void forEachPiece(std::function<bool(Piece const&)> const& work);

private:
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };

    void makeRoom();
    [[nodiscard]] bool wouldWait() const;

    Output& out_;
    int descriptor_;
    std::string name_;
    std::string what_;
    bool regular_;
    Progress progress_;
    std::unique_ptr<char, Free> buffer_;
    std::size_t capacity_ = CAPACITY;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::size_t fresh_ = 0;
    std::uint64_t total_ = 0;
    bool atEnd_ = false;
};

/// Calls `work` with a reader for each of `files`, as `forEachInput` does with the contents.
bool forEachStream(Output& out, Words const& files,
                   std::function<void(std::string const& name, Reader& input)> const& work);

}  // namespace zeb::cli
