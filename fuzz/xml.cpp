// A document in ASCII without a document type and an XML declaration.

#include <OrventoXMLOperations.hpp>

#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <algorithm>
#include <set>
#include <vector>

#include "Property.hpp"

namespace {

/// Reads a document by the productions of XML 1.0; false from any function means that it is not
/// well-formed.
class Document {
public:
    explicit Document(std::string_view text) : text_(text) {}

    bool isWellFormed() {
        while (at_ < text_.size()) {
            bool const outside = open_.empty();
            bool const read = skip("<!--")        ? comment()
                              : skip("<![CDATA[") ? !outside && skipBehind("]]>")
                              : skip("<?")        ? instruction()
                              : skip("</")        ? endTag()
                              : skip("<")         ? startTag()
                              : skip("&")         ? !outside && reference()
                              : outside           ? skipBlanks()
                                                  : character();
            if (!read) {
                return false;
            }
        }
        return hasRoot_ && open_.empty();
    }

private:
    static bool isBlank(char byte) {
        return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
    }
    static bool isLetter(char byte) {
        return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
    }
    static bool isNameStart(char byte) { return isLetter(byte) || byte == '_' || byte == ':'; }
    static bool isNameByte(char byte) {
        return isNameStart(byte) || byte == '-' || byte == '.' || (byte >= '0' && byte <= '9');
    }

    char next() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    bool skip(std::string_view wanted) {
        bool const found = text_.substr(at_, wanted.size()) == wanted;
        at_ += found ? wanted.size() : 0;
        return found;
    }
    bool skipBehind(std::string_view wanted) {
        std::size_t const found = text_.find(wanted, at_);
        at_ = found == std::string_view::npos ? text_.size() : found + wanted.size();
        return found != std::string_view::npos;
    }
    /// At least one.
    bool skipBlanks() {
        std::size_t const start = at_;
        while (isBlank(next())) {
            ++at_;
        }
        return at_ != start;
    }
    /// Empty when there is none.
    std::string_view name() {
        std::size_t const start = at_;
        if (isNameStart(next())) {
            while (isNameByte(next())) {
                ++at_;
            }
        }
        return text_.substr(start, at_ - start);
    }

    bool comment() { return skipBehind("--") && skip(">"); }

    bool instruction() {
        std::string target(name());
        for (char& byte : target) {
            byte = static_cast<char>(byte | 0x20);
        }
        return !target.empty() && target != "xml" &&
               (skip("?>") || (skipBlanks() && skipBehind("?>")));
    }

    bool endTag() {
        std::string_view const element = name();
        skipBlanks();
        if (element.empty() || open_.empty() || open_.back() != element) {
            return false;
        }
        open_.pop_back();
        return skip(">");
    }

    bool startTag() {
        std::string_view const element = name();
        if (element.empty() || (open_.empty() && hasRoot_)) {
            return false;
        }
        hasRoot_ = true;
        std::set<std::string_view> attributes;
        for (;;) {
            bool const separated = skipBlanks();
            if (skip("/>")) {
                return true;
            }
            if (skip(">")) {
                open_.push_back(element);
                return true;
            }
            std::string_view const attribute = name();
            if (!separated || attribute.empty() || !attributes.insert(attribute).second) {
                return false;
            }
            skipBlanks();
            if (!skip("=")) {
                return false;
            }
            skipBlanks();
            if (!value()) {
                return false;
            }
        }
    }

    bool value() {
        char const quote = next();
        if (quote != '"' && quote != '\'') {
            return false;
        }
        for (++at_; at_ < text_.size() && next() != quote;) {
            if (next() == '<' || (skip("&") ? !reference() : !++at_)) {
                return false;
            }
        }
        return at_++ < text_.size();
    }

    /// After the ampersand.
    bool reference() {
        if (!skip("#")) {
            std::string_view const entity = name();
            constexpr std::string_view KNOWN[] = {"lt", "gt", "amp", "apos", "quot"};
            return skip(";") &&
                   std::find(std::begin(KNOWN), std::end(KNOWN), entity) != std::end(KNOWN);
        }
        unsigned int const base = skip("x") ? 16 : 10;
        std::size_t const start = at_;
        unsigned int number = 0;
        for (;; ++at_) {
            char const lower = static_cast<char>(next() | 0x20);
            int const digit = next() >= '0' && next() <= '9'                   ? next() - '0'
                              : base == 16 && isLetter(next()) && lower <= 'f' ? lower - 'a' + 10
                                                                               : -1;
            if (digit < 0) {
                break;
            }
            number = std::min(number * base + static_cast<unsigned int>(digit), 0x110000U);
        }
        bool const isCharacter =
            number == 9 || number == 10 || number == 13 || (number >= 0x20 && number <= 0xD7FF) ||
            (number >= 0xE000 && number <= 0xFFFD) || (number >= 0x10000 && number <= 0x10FFFF);
        return at_ != start && skip(";") && isCharacter;
    }

    bool character() {
        if (text_.substr(at_, 3) == "]]>") {
            return false;
        }
        ++at_;
        return true;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::vector<std::string_view> open_;
    bool hasRoot_ = false;
};

/// Whether the model covers everything in the text.
bool isModelled(std::string_view text) {
    return text.find("<!D") == std::string_view::npos && text.substr(0, 5) != "<?xml" &&
           std::all_of(text.begin(), text.end(), [](char byte) {
               return (byte >= ' ' && byte <= '~') || byte == '\t' || byte == '\n' || byte == '\r';
           });
}

}  // namespace

void zeb::fuzz::xml(std::string_view input) {
    ZEBNS2::String message;
    bool const valid = ZEBNS2::validateXML(input, message);
    require(valid == message.empty(), "gives a reason for a refusal, and none otherwise");
    if (isModelled(input)) {
        require(valid == Document(input).isWellFormed(), "accepts what the model accepts");
    }
    if (valid) {
        zeb::foundation::String const text = xmltoolkit::XMLParserDOM::parse(input).toString();
        require(xmltoolkit::XMLParserDOM::parse(text).toString() == text, "reads what it writes");
    }
}
