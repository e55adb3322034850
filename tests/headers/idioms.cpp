// What users of C++17 and later expect to write with the types of the interface. It is compiled in
// every standard, and each idiom is there by its result: a static_assert where that can be known,
// otherwise an expression of the right type.
#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>
#include <RE.hpp>
#include <zeb/foundation/FileSystem.hpp>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/Logger.hpp>
#include <zeb/xmltoolkit/CIMDateTime.hpp>
#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#if __cplusplus > 201703L
#include <compare>
#include <ranges>
#include <span>
#endif

using namespace ZEBNS2;
using zeb::foundation::Format;
using zeb::foundation::FileSystem::getFileContents;
using zeb::xmltoolkit::XMLParserDOM;
using namespace std::string_literals;
using namespace std::string_view_literals;

template <typename Expected, typename Given>
void expectType(Given&&) {
    static_assert(std::is_same_v<Expected, std::remove_cv_t<std::remove_reference_t<Given>>>);
}

void strings(String text) {
    String const ways[] = {"literal", "view"sv,     "string"s,       nullptr,
                           {},        {"bytes", 3}, Format("%1", 80)};
    expectType<String>(text + 'c' + "literal" + "view"sv + "string"s + text);
    expectType<String>('c' + ("literal" + ("view"sv + ("string"s + text))));
    text += 'c';
    ((text += "literal") += "view"sv) += "string"s;
    for (char const byte : text) {
        expectType<char>(byte);
    }
    expectType<std::ptrdiff_t>(std::count(text.begin(), text.end(), 'x'));
    expectType<std::string>(std::string(text.rbegin(), text.rend()));
    expectType<std::string>(std::string(text));
    std::string_view const view = text;
    expectType<bool>(view == text && text == view && text == "literal" && "string"s != text);
    expectType<bool>(text < view && view <= text && text > "literal" && "string"s >= text);
    expectType<std::size_t>(text.find('c') + text.rfind("text") + text.size());
    expectType<char>(std::size(ways) == std::size(text) ? text.front() : text.back());
    expectType<char const*>(std::data(text));
    expectType<String>(text.substr(1, 2));

    std::map<String, int, std::less<>> ordered;
    expectType<bool>(ordered.find("literal") == ordered.find("view"sv));
    std::unordered_map<String, int> hashed;
    expectType<int>(hashed["literal"]);
    std::set<StringArray> lists;
    expectType<std::size_t>(lists.count({text, "b"}));
    std::istringstream in;
    while (in >> text || getline(in, text) || getline(in, text, ':')) {
    }
    std::ostringstream() << text << StringArray{text}.size();
    auto const [first, second] = std::pair<String, String>("a", "b");
    expectType<bool>(first == second);
}

void arrays(Array<int> array, Array<int> const& constant) {
    expectType<int>(array.front() + constant.front() + array.back() + constant.back());
    array.emplace_back(1) = 2;
    array.push_back(3);
    array.pop_back();
    expectType<int*>(array.erase(array.begin()));
    expectType<int*>(array.erase(std::remove(array.begin(), array.end(), 7), array.end()));
    std::sort(array.begin(), array.end());
    std::copy(constant.rbegin(), constant.rend(), std::back_inserter(array));
    expectType<bool>(array == constant || array < constant || array >= constant);
    expectType<std::vector<int>>(std::vector<int>(constant));
    expectType<Array<int>>(Array<int>(std::vector<int>{1, 2}));
    StringArray const words{"one", "two"s, "three"sv};
    StringArray const five(5);
    for (auto const& word : words) {
        expectType<String>(word);
    }
}

void readersAndConverters(IFileStream& file) {
    expectType<String>(convertToUTF8(Array<char>(getFileContents("name"))));
    expectType<String>(convertToUTF8(Array<char>(read_from_stream(file, 0xFFFFFFFF))));
    expectType<String>(convertToUTF8({'a', 'b'}));
    expectType<String>(UTF16ToUTF8(Array<unsigned char>("bytes"sv)));
}

void expressions(RegularExpression const& expression, std::string const& text) {
    expectType<bool>(expression.matches("x") && expression.matches(text) &&
                     expression.matches("x"sv));
    expectType<String>(sed(text, "a", "b") + sed("x", expression, text));
    expectType<String>(realSed(text, "s/a/b/", RegularExpression::EXTENDED_SYNTAX));
    RegularExpression const a("(a)", 0), b(text, RegularExpression::CASE_INSENSITIVE),
        c("(a)"sv, 0);
    for (auto const& [start, end] : expression.all_matches(text)) {
        expectType<std::uint32_t>(end - start);
    }
}

void trees(XMLNode const& node) {
    for (XMLNode const& child : node.children()) {
        expectType<bool>(child == node || child != node.getNext());
    }
    expectType<std::optional<String>>(node.getAttr("name"));
    if (auto const id = node.getAttr("id"sv); id && *id == "7") {
        expectType<String>(id.value_or("none"));
    }
    for (auto const& [name, value] : node.getAttrs()) {
        expectType<bool>(name == value);
    }
    if (XMLNode const found = XMLNodeSearch(node, "a.b[c=d]")) {
        expectType<String>(found.getText());
    }
}

#if __cplusplus > 201703L
static_assert(std::ranges::contiguous_range<String> && std::ranges::sized_range<String const>);
static_assert(std::ranges::contiguous_range<StringArray> &&
              std::ranges::sized_range<StringArray const>);
static_assert(std::ranges::input_range<zeb::xmltoolkit::XMLChildren>);
static_assert(std::totally_ordered<String>);
static_assert(std::is_same_v<std::strong_ordering, std::compare_three_way_result_t<String>>);

void since20(String const& text, StringArray const& words) {
    expectType<bool>(text <=> "literal" < 0 || "literal"sv <=> text > 0 || text <=> text == 0);
    std::span<char const> const bytes(text);
    std::span<String const> const span(words);
    expectType<std::size_t>(bytes.size() + span.size());
    std::unordered_map<String, int, std::hash<String>, std::equal_to<>> hashed;
    expectType<bool>(hashed.find("view"sv) == hashed.end() || hashed.contains("literal"));
    expectType<bool>(std::ranges::find(text, 'x') == text.end());
    expectType<bool>(std::ranges::find(words, String("x")) == words.end());
}
#endif
