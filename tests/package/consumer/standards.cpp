// A caller's object file depends on the installed headers by sizes and, in its undefined names, by
// the functions it calls. Both must be the same for every language standard.
#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>
#include <RE.hpp>
#include <iostream>
#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/xmltoolkit/CIMDateTime.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

template <typename... Types>
void printLayouts() {
    ((std::cout << sizeof(Types) << '/' << alignof(Types) << ' '), ...);
    std::cout << '\n';
}

int main() {
    using namespace ZEBNS2;
    using namespace zeb::foundation;
    printLayouts<String, StringArray, Array<OffsetPair>, RegularExpression, RE,
                 RegularExpressionException, BadRegexException, zeb::common::JORLibraryException,
                 Exception, FileInformation, Logger, LogMessage, Format, zeb::xmltoolkit::XMLNode,
                 zeb::xmltoolkit::CIMDateTime, zeb::xmltoolkit::DOMException>();
    RegularExpression const expression("a", 0);
    std::cout << expression.all_matches("aa").size() << realSed("a", "s/a/b/", 0) << wild2re("*")
              << quoted_string_tokenization("a b", " ").size() << get_unit_size("KB")
              << string_to_number<int>("7", 10) << Hexify(255U, true)
              << search_replace("a", "a", "b")
              << zeb::xmltoolkit::XMLParserDOM::parse("<a/>").toString() << '\n';
}
