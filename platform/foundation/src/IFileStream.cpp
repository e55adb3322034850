#include <zeb/foundation/IFileStream.hpp>

namespace zeb::foundation {

IFileStream::IFileStream(String const& path) {
    if (path.indexOf('\0') != String::npos) {
        setstate(std::ios_base::failbit);
        return;
    }
    open(path.c_str(), std::ios_base::in | std::ios_base::binary);
}

IFileStream::~IFileStream() = default;

}  // namespace zeb::foundation
