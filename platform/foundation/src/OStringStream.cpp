#include <zeb/foundation/OStringStream.hpp>

#include <locale>

namespace zeb::foundation {

OStringStream::Bytes::~Bytes() = default;

OStringStream::Bytes::int_type OStringStream::Bytes::overflow(int_type byte) {
    if (!traits_type::eq_int_type(byte, traits_type::eof())) {
        char const single = traits_type::to_char_type(byte);
        xsputn(&single, 1);
    }
    return traits_type::not_eof(byte);
}

std::streamsize OStringStream::Bytes::xsputn(char const* bytes, std::streamsize count) {
    try {
        buffer.append(std::string_view(bytes, static_cast<std::size_t>(count)));
    } catch (...) {
        incomplete = true;  // the stream sets badbit and throws nothing
        throw;
    }
    return count;
}

OStringStream::OStringStream() : std::ostream(nullptr) {
    imbue(std::locale::classic());
    rdbuf(&bytes_);
}

OStringStream::~OStringStream() = default;

}  // namespace zeb::foundation
