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

/// A part of a text: whole lines with their newlines or, the last time, all that is left, with or
/// without a final newline and maybe nothing.
///
/// The bytes may be changed while the part is used; there is a NUL byte behind the last part.
struct Piece {
    char* data;
    std::size_t size;
    bool last;

    [[nodiscard]] std::string_view text() const { return {data, size}; }
};

/// Reads an input in pieces of up to 256 KiB, more only for a line that is longer.
///
/// What has been written to `Output` is flushed before a read that has to wait, so that whoever
/// follows a slow input sees each line at once.
class Reader {
public:
    /// Bytes of the buffer as long as no line is longer.
    static constexpr std::size_t CAPACITY = std::size_t{256} * 1024;
    /// Bytes before `data` that the caller may write.
    static constexpr std::size_t HEADROOM = 16;

    /// @param descriptor stays the caller's
    /// @param what begins the message of a read that fails, such as "Cannot read file x: "
    Reader(Output& out, int descriptor, std::string const& name, std::string what);

    /// Reads on behind what has not been consumed: all there is room for, or all that is there
    /// without waiting. There is always at least one byte more, unless the end was reached.
    /// @return false when the end had been reached before
    /// @throws Failure when reading fails or a line does not fit into the memory
    bool more();

    /// What has been read and not consumed.
    [[nodiscard]] char* data() { return buffer_.get() + HEADROOM + begin_; }
    [[nodiscard]] std::size_t size() const { return end_ - begin_; }
    /// Bytes of it that `more` has added.
    [[nodiscard]] std::size_t fresh() const { return fresh_; }
    /// Whether nothing will follow.
    [[nodiscard]] bool atEnd() const { return atEnd_; }
    /// Bytes read so far.
    [[nodiscard]] std::uint64_t total() const { return total_; }

    void consume(std::size_t bytes) { begin_ += bytes; }

    /// Hands the whole input to `work`, piece by piece.
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
