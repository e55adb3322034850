// Editing a file in place, and moving bytes between streams.

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>

#include <zeb/foundation/FileSystem.hpp>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <vector>

using ZEBNS2::String;
namespace FileSystem = zeb::foundation::FileSystem;

int main() {
    char name[] = "/tmp/zeb-example.XXXXXX";
    int const descriptor = mkstemp(name);
    if (descriptor == -1) {
        std::perror(name);
        return 1;
    }
    close(descriptor);
    std::ofstream(name, std::ios::binary) << "# service\nport=80\ntimeout=10\n";

    // In each line the first match; the expression is compiled before the file is opened.
    ZEBNS2::unprivilegedSed(name, "^([a-z]+)=([0-9]+)$", "%1 = %2;");
    std::cout << FileSystem::getFileContents(name);

    // The count does not show whether the bytes were written: the stream's state does.
    std::ifstream source(name, std::ios::binary);
    std::ostringstream destination;
    std::cout << ZEBNS2::copy_stream(destination, source) << " bytes copied, "
              << (destination ? "all well" : "failed") << '\n';

    zeb::foundation::IFileStream again{String(name)};
    std::vector<char> const bytes = ZEBNS2::read_from_stream(again, /*limit=*/0xFFFFFFFF);
    std::cout << bytes.size() << " bytes read\n";
    std::remove(name);

    // A file that cannot be edited throws before anything is written.
    try {
        ZEBNS2::unprivilegedSed("/nonexistent/service.conf", "a", "b");
    } catch (zeb::foundation::Exception const& exception) {
        std::cout << exception.type() << ": " << exception.what() << '\n';
    }
}
