#include "EntityNesting.hpp"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "SecretHash.hpp"
#include "UTF8Conversion.hpp"

namespace zeb::xmltoolkit {

namespace {

constexpr std::size_t NPOS = std::string_view::npos;

/// In content an entity may contain markup; in the value of an attribute it is text.
enum Use : unsigned char { CONTENT, ATTRIBUTE };

struct Entity {
    enum Kind : unsigned char { INTERNAL, EXTERNAL, UNPARSED };

    std::string_view name;
    std::string_view text;
    Kind kind = INTERNAL;
    bool isOpen = false;
    /// Whether a parameter entity declares it.
    bool isDeclaredInside = false;
    /// For each `Use`: the most entities that are open at a time while this one is replaced, itself
    /// included, and how many were declared when that was found. 0 means unknown.
    std::uint32_t height[2] = {0, 0};
    std::uint32_t declared[2] = {0, 0};
};

/// Entities by their names: an open hash table of indexes. References to entities stay valid.
class Entities {
public:
    Entities() : slots_(256, 0) {}

    [[nodiscard]] std::uint32_t count() const noexcept {
        return static_cast<std::uint32_t>(entities_.size());
    }

    /// Null when there is none.
    [[nodiscard]] Entity* find(std::string_view name) noexcept {
        std::uint32_t const index = slots_[slotOf(name)];
        return index == 0 ? nullptr : &entities_[index - 1];
    }

    /// Does nothing when there is one of that name: the first declaration counts.
    void declare(Entity const& entity) {
        std::uint32_t& slot = slots_[slotOf(entity.name)];
        if (slot != 0) {
            return;
        }
        entities_.push_back(entity);
        slot = count();
        if (entities_.size() > slots_.size() / 2) {
            grow();
        }
    }

private:
    [[nodiscard]] std::size_t slotOf(std::string_view name) const noexcept {
        std::size_t const mask = slots_.size() - 1;
        std::size_t slot = hash_(name) & mask;
        while (slots_[slot] != 0 && entities_[slots_[slot] - 1].name != name) {
            slot = (slot + 1) & mask;
        }
        return slot;
    }

    void grow() {
        slots_.assign(slots_.size() * 4, 0);
        for (std::uint32_t i = 0; i < count(); ++i) {
            slots_[slotOf(entities_[i].name)] = i + 1;
        }
    }

    SecretHash hash_;
    std::deque<Entity> entities_;
    /// Indexes from 1; 0 marks a free slot. The number of slots is a power of two.
    std::vector<std::uint32_t> slots_;
};

/// A text that is being read: the document, a literal in it, or the text of an entity.
struct Reading {
    std::string_view text;
    std::size_t at;
    Entity* entity;  ///< null when the text is not an entity's
    Use use;
    /// The greatest height of the entities referred to so far.
    std::uint32_t height = 0;
    /// Position in a tag: the open quote; ' ' outside a literal; NUL outside a tag.
    char tag = '\0';
    bool isEndTag = false;
    /// Number of open elements; negative in a malformed text.
    std::ptrdiff_t elements = 0;

    [[nodiscard]] bool isAtEnd() const noexcept { return at >= text.size(); }
    [[nodiscard]] char next() const noexcept { return isAtEnd() ? '\0' : text[at]; }
    [[nodiscard]] bool startsWith(std::string_view token) const noexcept {
        return text.compare(at, token.size(), token) == 0;
    }
};

bool isBlank(char byte) noexcept {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

bool isQuote(char byte) noexcept { return byte == '"' || byte == '\''; }

/// References to these give characters, even if they are declared otherwise.
bool isPredefined(std::string_view name) noexcept {
    return name == "lt" || name == "gt" || name == "amp" || name == "apos" || name == "quot";
}

class Reader {
public:
    Reader(std::string_view text, std::size_t limit, bool standalone, std::uint64_t maximumReplaced)
        : text_(text), limit_(limit), standalone_(standalone), maximumReplaced_(maximumReplaced) {}

    std::size_t findDeep() {
        Reading document{text_, 0, nullptr, CONTENT};
        if (!findSubset(document)) {
            return NPOS;
        }
        subset_.push_back(document);
        readSubset();
        if (isGoingOn_) {
            inContent_ = true;
            follow(subset_.front());
        }
        return deep_;
    }

private:
    // ---------------------------------------------------------------- Ends

    /// libexpat refuses the document here.
    void end() noexcept { isGoingOn_ = false; }

    void endTooDeep() noexcept {
        deep_ = place_;
        end();
    }

    /// Notes where in the document a reference begins.
    void notePlace(Reading const& reading) noexcept {
        if (opened_ == 0) {
            place_ = static_cast<std::size_t>(reading.text.data() + reading.at - text_.data());
        }
    }

    // ---------------------------------------------------------------- Opening and closing

    /// Makes `entity` the one that `readings` reads next, unless the limit is reached.
    void open(std::vector<Reading>& readings, Entity& entity, Use use) {
        if (entity.isOpen) {
            end();  // "recursive entity reference"
        } else if (opened_ == limit_) {
            endTooDeep();
        } else {
            ++opened_;
            entity.isOpen = true;
            readings.push_back({entity.text, 0, &entity, use});
        }
    }

    /// Closes the last of `readings`, which is at its end.
    void close(std::vector<Reading>& readings) noexcept {
        Reading const closed = readings.back();
        readings.pop_back();
        if (closed.entity == nullptr) {
            return;
        }
        --opened_;
        closed.entity->isOpen = false;
        closed.entity->height[closed.use] = closed.height + 1;
        closed.entity->declared[closed.use] = general_.count();
        readings.back().height = std::max(readings.back().height, closed.height + 1);
        replaced_ += closed.text.size();
        if (replaced_ > maximumReplaced_) {
            isCountExact_ ? end() : endTooDeep();
        }
    }

    // ---------------------------------------------------------------- Tokens

    void skipBlanks(Reading& reading) const noexcept {
        while (isBlank(reading.next())) {
            ++reading.at;
        }
    }

    /// Skips `start` bytes and everything up to and including `last`.
    void skipBehind(Reading& reading, std::size_t start, std::string_view last) noexcept {
        std::size_t const found = reading.text.find(last, reading.at + start);
        if (found == NPOS) {
            end();
            reading.at = reading.text.size();
        } else {
            reading.at = found + last.size();
        }
    }

    /// Skips a comment or processing instruction.
    bool skipUnread(Reading& reading) noexcept {
        if (reading.startsWith("<!--")) {
            skipBehind(reading, 4, "-->");
        } else if (reading.startsWith("<?")) {
            skipBehind(reading, 2, "?>");
        } else {
            return false;
        }
        return true;
    }

    /// A name, or whatever is in its place; it ends before a blank or a character of markup.
    static std::string_view readName(Reading& reading) noexcept {
        std::size_t const start = reading.at;
        while (!reading.isAtEnd() && !isBlank(reading.next()) &&
               std::string_view("<>&%;\"'[]").find(reading.next()) == NPOS) {
            ++reading.at;
        }
        return reading.text.substr(start, reading.at - start);
    }

    /// The name in a reference whose first byte is next; the reading ends when there is none.
    std::string_view readReference(Reading& reading) noexcept {
        ++reading.at;
        std::string_view const name = readName(reading);
        if (name.empty() || reading.next() != ';') {
            end();
            return {};
        }
        ++reading.at;
        return name;
    }

    /// The text between quotes, the first of which is next.
    Reading readLiteral(Reading& reading) noexcept {
        char const quote = reading.next();
        std::size_t const start = ++reading.at;
        skipBehind(reading, 0, {&quote, 1});
        std::size_t const size = reading.at - start - (isGoingOn_ ? 1 : 0);
        return {reading.text.substr(start, size), 0, nullptr, ATTRIBUTE};
    }

    // ---------------------------------------------------------------- Content and values

    /// Whether libexpat refuses a reference to an undeclared entity.
    [[nodiscard]] bool mustBeDeclared() const noexcept {
        if (inContent_) {
            return standalone_ || !hasParameterReferences_;
        }
        return standalone_ ? subset_.size() == 1 : !hasParameterReferences_;
    }

    /// Follows all references in `base`, and those they lead to.
    void follow(Reading const& base) {
        followed_.assign(1, base);
        while (!followed_.empty() && isGoingOn_) {
            Reading& reading = followed_.back();
            std::string_view const name =
                reading.use == ATTRIBUTE ? findInValue(reading, '\0') : findInContent(reading);
            if (!isGoingOn_) {
                return;
            }
            if (name.empty()) {
                close(followed_);
            } else if (!isPredefined(name)) {
                followReference(name, reading.tag == '\0' ? reading.use : ATTRIBUTE);
            }
        }
    }

    void followReference(std::string_view name, Use use) {
        Entity* const entity = general_.find(name);
        if (entity == nullptr || entity->isDeclaredInside) {
            if (mustBeDeclared()) {
                end();
                return;
            }
        }
        if (entity == nullptr) {
            return;
        }
        if (entity->kind != Entity::INTERNAL) {
            if (entity->kind == Entity::UNPARSED || use == ATTRIBUTE) {
                end();
            }
            return;
        }
        std::uint32_t const height = entity->height[use];
        if (height == 0 || entity->declared[use] != general_.count()) {
            open(followed_, *entity, use);
        } else if (opened_ + height > limit_) {
            endTooDeep();
        } else {
            Reading& reading = followed_.back();
            reading.height = std::max(reading.height, height);
        }
    }

    /// The name in the next reference of a value that ends with `quote`, or with the text when that
    /// is NUL; empty when there is none.
    std::string_view findInValue(Reading& reading, char quote) noexcept {
        for (; !reading.isAtEnd(); ++reading.at) {
            char const byte = reading.next();
            if (byte == quote) {
                return {};
            }
            if (byte == '<') {
                end();
                return {};
            }
            if (byte == '&' && !reading.startsWith("&#")) {
                notePlace(reading);
                return readReference(reading);
            }
        }
        return {};
    }

    /// The name in the next reference of content, tags included; empty when there is none.
    std::string_view findInContent(Reading& reading) noexcept {
        while (!reading.isAtEnd() && isGoingOn_) {
            if (reading.tag != '\0') {
                std::string_view const name = findInTag(reading);
                if (!name.empty()) {
                    return name;
                }
            } else if (reading.next() == '<') {
                startMarkup(reading);
            } else if (reading.next() != '&' || reading.startsWith("&#")) {
                ++reading.at;
            } else if (reading.entity == nullptr && reading.elements <= 0) {
                end();  // outside of all elements
            } else {
                notePlace(reading);
                return readReference(reading);
            }
        }
        return {};
    }

    std::string_view findInTag(Reading& reading) noexcept {
        if (reading.tag != ' ') {
            std::string_view const name = findInValue(reading, reading.tag);
            if (!name.empty() || !isGoingOn_) {
                return name;
            }
            reading.tag = ' ';
        } else if (isQuote(reading.next())) {
            reading.tag = reading.next();
        } else if (reading.next() == '>') {
            reading.tag = '\0';
            if (reading.isEndTag) {
                --reading.elements;
            } else if (reading.text[reading.at - 1] != '/') {
                ++reading.elements;
            }
        }
        ++reading.at;
        return {};
    }

    void startMarkup(Reading& reading) noexcept {
        if (skipUnread(reading)) {
            return;
        }
        if (reading.startsWith("<![CDATA[")) {
            skipBehind(reading, 9, "]]>");
        } else if (reading.startsWith("<!")) {
            end();
        } else {
            ++reading.at;
            reading.tag = ' ';
            reading.isEndTag = reading.next() == '/';
        }
    }

    // ---------------------------------------------------------------- The document type

    /// Whether the document has an internal subset, which is then next.
    bool findSubset(Reading& document) noexcept {
        document.at = document.startsWith("\xEF\xBB\xBF") ? 3 : 0;
        do {
            skipBlanks(document);
        } while (skipUnread(document) && isGoingOn_);
        if (!document.startsWith("<!DOCTYPE")) {
            return false;
        }
        while (isGoingOn_ && !document.isAtEnd() && document.next() != '>') {
            if (isQuote(document.next())) {
                hasParameterReferences_ = true;  // an external subset counts as one
                readLiteral(document);
            } else if (document.text[document.at++] == '[') {
                return true;
            }
        }
        return false;
    }

    void readSubset() {
        while (isGoingOn_) {
            Reading& reading = subset_.back();
            skipBlanks(reading);
            if (reading.isAtEnd()) {
                if (subset_.size() == 1) {
                    return end();
                }
                close(subset_);
            } else if (reading.next() == '%') {
                enterParameterEntity(reading);
            } else if (reading.next() == ']' && subset_.size() == 1) {
                ++reading.at;
                return;
            } else if (!skipUnread(reading)) {
                readDeclaration(reading);
            }
        }
    }

    void enterParameterEntity(Reading& reading) {
        notePlace(reading);
        std::string_view const name = readReference(reading);
        if (!isGoingOn_) {
            return;
        }
        hasParameterReferences_ = true;
        Entity* const entity = parameter_.find(name);
        if (entity != nullptr && entity->kind == Entity::INTERNAL) {
            open(subset_, *entity, CONTENT);
        } else if (entity == nullptr && standalone_ && subset_.size() == 1) {
            end();
        } else {
            takesEffect_ = standalone_;
        }
    }

    void readDeclaration(Reading& reading) {
        if (reading.startsWith("<!ENTITY")) {
            reading.at += 8;
            readEntity(reading);
        }
        bool const hasDefaults = reading.startsWith("<!ATTLIST");
        for (; isGoingOn_ && !reading.isAtEnd(); ++reading.at) {
            if (reading.next() == '>') {
                ++reading.at;
                return;
            }
            if (isQuote(reading.next())) {
                Reading const literal = readLiteral(reading);
                --reading.at;
                if (hasDefaults && takesEffect_ && isGoingOn_) {
                    follow(literal);
                }
            }
        }
        end();
    }

    /// Reads a declaration of an entity after its first word.
    void readEntity(Reading& reading) {
        skipBlanks(reading);
        bool const isParameter = reading.next() == '%';
        if (isParameter) {
            ++reading.at;
            skipBlanks(reading);
        }
        Entity entity;
        entity.name = readName(reading);
        entity.isDeclaredInside = subset_.size() > 1;
        skipBlanks(reading);
        bool const takesEffect = takesEffect_;
        if (isQuote(reading.next())) {
            Reading const literal = readLiteral(reading);
            if (takesEffect && isGoingOn_) {
                entity.text = replacementOf(literal, isParameter ? entity.name : "");
            }
        } else {
            entity.kind = readExternal(reading);
        }
        if (takesEffect && isGoingOn_) {
            (isParameter ? parameter_ : general_).declare(entity);
        }
    }

    /// Reads up to the end of a declaration.
    Entity::Kind readExternal(Reading& reading) noexcept {
        Entity::Kind kind = Entity::EXTERNAL;
        for (; isGoingOn_ && !reading.isAtEnd() && reading.next() != '>'; ++reading.at) {
            if (isQuote(reading.next())) {
                readLiteral(reading);
                --reading.at;
            } else if (reading.startsWith("NDATA")) {
                kind = Entity::UNPARSED;
            }
        }
        return kind;
    }

    /// The replacement text of an entity: its value with references to characters and parameter
    /// entities replaced.
    /// @param declared the name of the parameter entity that is being declared
    std::string_view replacementOf(Reading const& literal, std::string_view declared) {
        if (literal.text.find('%') == NPOS && literal.text.find("&#") == NPOS) {
            return literal.text;
        }
        std::string& replacement = replacements_.emplace_back();
        values_.assign(1, literal);
        while (!values_.empty() && isGoingOn_) {
            Reading& reading = values_.back();
            std::size_t const start = reading.at;
            reading.at = std::min(reading.text.find_first_of("&%", start), reading.text.size());
            replacement.append(reading.text, start, reading.at - start);
            if (reading.isAtEnd()) {
                close(values_);
            } else if (reading.next() == '%') {
                enterValue(reading, declared);
            } else if (reading.startsWith("&#")) {
                replaceCharacter(reading, replacement);
            } else {
                replacement += '&';
                ++reading.at;
            }
        }
        return replacement;
    }

    /// Enters a parameter entity in the value of another entity.
    void enterValue(Reading& reading, std::string_view declared) {
        std::string_view const name = readReference(reading);
        if (!isGoingOn_ || subset_.size() == 1) {
            return end();  // not allowed in the document itself
        }
        Entity* const entity = parameter_.find(name);
        if (entity != nullptr && entity->kind == Entity::INTERNAL) {
            open(values_, *entity, CONTENT);
        } else if (name != declared) {
            // The releases that recurse skip the rest of this text, the others read it: here it is
            // always read and counted.
            takesEffect_ = standalone_;
            isCountExact_ = isCountExact_ && entity != nullptr;
        }
    }

    void replaceCharacter(Reading& reading, std::string& replacement) {
        bool const isHexadecimal = reading.startsWith("&#x");
        std::uint32_t const base = isHexadecimal ? 16 : 10;
        std::uint32_t number = 0;
        for (reading.at += isHexadecimal ? 3 : 2; reading.next() != ';'; ++reading.at) {
            char const byte = reading.next();
            std::size_t const digit = std::string_view("0123456789abcdefABCDEF").find(byte);
            if (byte == '\0' || digit == NPOS || number > 0x10FFFF) {
                return end();
            }
            number = number * base + static_cast<std::uint32_t>(digit < 16 ? digit : digit - 6);
        }
        ++reading.at;
        char bytes[4];
        replacement.append(bytes, putUTF8(bytes, number));
    }

    std::string_view text_;
    std::size_t limit_;
    bool standalone_;
    std::uint64_t maximumReplaced_;

    Entities general_;
    Entities parameter_;
    /// Replacement texts that differ from the text in the declaration.
    std::deque<std::string> replacements_;

    /// Stacks of open texts: the document with its parameter entities; the values of entities;
    /// content and values of attributes. The first of each is not an entity.
    std::vector<Reading> subset_;
    std::vector<Reading> values_;
    std::vector<Reading> followed_;
    /// How many entities are open.
    std::size_t opened_ = 0;

    bool isGoingOn_ = true;
    bool inContent_ = false;
    /// Whether declarations take effect.
    bool takesEffect_ = true;
    bool hasParameterReferences_ = false;
    /// Bytes of closed entities. If this is exact, libexpat counts at least as many.
    std::uint64_t replaced_ = 0;
    bool isCountExact_ = true;
    /// Offset of the reference in the document that is being followed.
    std::size_t place_ = 0;
    std::size_t deep_ = NPOS;
};

}  // namespace

std::size_t findDeepReference(std::string_view text, std::size_t limit, bool standalone,
                              std::uint64_t maximumReplaced) {
    return Reader(text, limit, standalone, maximumReplaced).findDeep();
}

bool refersToEntities(std::string_view replacement, bool isParameter) noexcept {
    if (isParameter && replacement.find('%') != NPOS) {
        return true;
    }
    std::size_t at = replacement.find('&');
    while (at != NPOS && replacement.substr(at + 1, 1) == "#") {
        at = replacement.find('&', at + 1);
    }
    return at != NPOS;
}

}  // namespace zeb::xmltoolkit
