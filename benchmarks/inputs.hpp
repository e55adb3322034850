#pragma once

#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/String.hpp>

#include <cstddef>
#include <string>
#include <string_view>

/// @file
/// The inputs of the benchmarks, generated in memory, the same in every run and on every machine.

namespace bench {

/// A log of `lines` lines of 73 bytes on average, the newlines included. One line out of five
/// contains "word=number", a quarter of those twice; four out of five contain "quiet"; "begin" and
/// "end" are 20 lines apart, once in 1,000 lines. No line has a "#" at its start, a "zebra", or a
/// capital next to an underscore.
[[nodiscard]] zeb::foundation::String logText(std::size_t lines);

/// The kinds of text that need 1, 1 or 2, 3 and 4 bytes a character in UTF-8.
enum class Script { ASCII, LATIN_GREEK, CJK, EMOJI };

/// `bytes` bytes of words in UTF-16, the byte order mark included.
[[nodiscard]] zeb::foundation::Array<char> utf16Text(Script script, bool bigEndian,
                                                     std::size_t bytes);

/// A word that `proseText` contains.
inline constexpr char NEEDLE[] = "needle";

/// `bytes` bytes of lower-case words with NEEDLE once in `distance` bytes; never when that is 0.
[[nodiscard]] zeb::foundation::String proseText(std::size_t bytes, std::size_t distance);

/// About `bytes` bytes of arguments, 15 bytes each, with one blank between neighbours. Every fourth
/// is in double quotes and contains blanks; every sixteenth contains quotes after backslashes.
[[nodiscard]] zeb::foundation::String argumentText(std::size_t bytes);

/// An XML document with an inventory of `disks` disks: about 420 bytes, 9 elements and 10
/// attributes each.
[[nodiscard]] zeb::foundation::String inventoryXML(std::size_t disks);

/// The disks whose inventory has about `bytes` bytes.
[[nodiscard]] std::size_t disksIn(std::size_t bytes);

/// A file of its own, which exists as long as this object.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string_view contents = {});
    ~TemporaryFile();
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    [[nodiscard]] char const* path() const noexcept { return path_; }
    [[nodiscard]] std::string contents() const;

private:
    char path_[32] = "/tmp/zeb-bench.XXXXXX";
};

}  // namespace bench
