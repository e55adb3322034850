// A plug-in that is linked to the library, for a program that is not: see UnloadTest.cpp.

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>

/// Uses every lazily built global of the library. @return whether all went well
extern "C" bool useEveryGlobal() {
    using namespace ZEBNS2;
    return realSed("a\nb\nc", "/a/,/b/d", 0) == "c" && realSed("a\nb", "/a/d", 0) == "b" &&
           TextOperations::COMPONENT_NAME.get() == "zeb.common.TextOperations" &&
           XMLNodeSearch(XMLNode(), "name").isNull();
}
