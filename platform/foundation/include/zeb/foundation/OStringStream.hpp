#pragma once

#include <zeb/foundation/StringBuffer.hpp>

#include <ostream>
#include <streambuf>

namespace zeb::foundation {

/// An output stream into a `StringBuffer`. It always formats as the classic locale does, so its
/// texts are the same on every machine. NUL is a byte like any other.
/// @par Exceptions as the standard streams: exhausted memory sets `badbit`. The text is incomplete
///   then, and asking for it throws `std::bad_alloc`.
/// @par Complexity writing is amortised linear in what is written, `toString` is linear in all of
///   it, all else constant.
/// @par Thread safety one thread at a time.
class ZEB_EXPORT OStringStream : public std::ostream {
public:
    OStringStream();
    ~OStringStream() override;

    /// Number of bytes written so far.
    [[nodiscard]] std::size_t length() const noexcept { return bytes_.buffer.length(); }
    /// The bytes written so far; valid until the next write.
    // NOLINTNEXTLINE(google-explicit-constructor): every text is read as a view
    operator std::string_view() const {
        if (bytes_.incomplete) {
            detail::throwBadAlloc();
        }
        return bytes_.buffer;
    }
    /// A copy of the bytes written so far.
    [[nodiscard]] String toString() const { return String(static_cast<std::string_view>(*this)); }

    // ---------------------------------------------------------------- not API

private:
    class ZEB_EXPORT Bytes : public std::streambuf {
    public:
        ~Bytes() override;
        StringBuffer buffer;
        bool incomplete = false;  ///< memory was exhausted at a write

    protected:
        int_type overflow(int_type byte) override;
        std::streamsize xsputn(char const* bytes, std::streamsize count) override;
    };

    Bytes bytes_;
};

}  // namespace zeb::foundation
