#include <zeb/xmltoolkit/XMLParserDOM.hpp>

#include <expat.h>
#include <sys/random.h>

#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>
#include <zeb/foundation/Format.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include "XMLDocument.hpp"

namespace zeb::xmltoolkit {

namespace {

using foundation::Array;
using foundation::Format;
using foundation::String;
using foundation::StringBuffer;

constexpr char UNIT[] = "XMLParserDOM";

/// How much of a text libexpat gets at once. It copies what it gets into a buffer whose size it
/// doubles and must keep below INT_MAX, so a piece should be small. But behind each piece but the
/// last it counts the lines, which costs a sixth of the time, so most texts should be one piece.
constexpr std::size_t PIECE_SIZE = std::size_t{32} << 20;

/// How much default attributes may add to a text, as libexpat limits it for entities.
constexpr std::uint64_t MAXIMUM_AMPLIFICATION = 100;
constexpr std::uint64_t AMPLIFICATION_THRESHOLD = std::uint64_t{8} << 20;

[[noreturn]] void refuse(std::uint64_t line, std::uint64_t column, std::string_view reason) {
    String const message = Format("line %1, column %2: %3", line, column, reason);
    throw DOMException(UNIT, __LINE__, message.c_str(), DOMException::NO_CODE, nullptr,
                       DOMException::NO_CODE);
}

// libexpat 2.9 deprecates the functions that count in a long and has others that count in 64 bits.
#if XML_MAJOR_VERSION == 2 && XML_MINOR_VERSION < 9
std::uint64_t currentLine(XML_Parser parser) { return XML_GetCurrentLineNumber(parser); }
std::uint64_t currentColumn(XML_Parser parser) { return XML_GetCurrentColumnNumber(parser); }
std::int64_t currentByte(XML_Parser parser) { return XML_GetCurrentByteIndex(parser); }
#else
std::uint64_t currentLine(XML_Parser parser) { return XML_GetCurrentLineNumber64(parser); }
std::uint64_t currentColumn(XML_Parser parser) { return XML_GetCurrentColumnNumber64(parser); }
std::int64_t currentByte(XML_Parser parser) { return XML_GetCurrentByteIndex64(parser); }
#endif

constexpr char WRONG_VERSION[] = "XML version is not 1.x";

/// XML 1.0 has no version but "1." and digits; libexpat 2.5 does not look.
bool isVersion(std::string_view version) noexcept {
    return version.size() > 2 && version.substr(0, 2) == "1." &&
           version.find_first_not_of("0123456789", 2) == std::string_view::npos;
}

/// Whether a byte order mark is the first character of `xml`.
bool startsWithMark(std::string_view xml) noexcept {
    return xml.substr(0, 2) == "\xFF\xFE" || xml.substr(0, 2) == "\xFE\xFF" ||
           xml.substr(0, 3) == "\xEF\xBB\xBF";
}

/// Whether the first quoted value of `xml` begins at the byte `at` and has only characters that a
/// version may have. When libexpat stops there, in the XML declaration, it has refused a version
/// that libexpat 2.5 accepts and hands to the handler.
bool isVersionAt(std::string_view xml, std::size_t at) noexcept {
    constexpr std::string_view ALLOWED =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    bool const little = xml.substr(0, 2) == "\xFF\xFE";
    bool const wide = little || xml.substr(0, 2) == "\xFE\xFF";
    std::size_t const quote = xml.find_first_of("'\"");
    if (quote == std::string_view::npos || at != quote + (little ? 2 : 1)) {
        return false;
    }
    std::size_t const width = wide ? 2 : 1;
    auto const character = [=](std::size_t place) {  // NUL for those outside ASCII
        std::string_view const unit = xml.substr(place, width);
        if (unit.size() < width || (wide && unit[little ? 1 : 0] != '\0')) {
            return '\0';
        }
        return unit[wide && !little ? 1 : 0];
    };
    while (ALLOWED.find(character(at)) != std::string_view::npos) {
        at += width;
    }
    return character(at) == xml[quote];
}

/// Whether `name`, in UTF-8, holds U+00AA, U+00B5 or U+00BA. They are letters that XML 1.0 allows
/// in no name; libexpat 2.5 refuses them in UTF-8 but not in UTF-16 and ISO-8859-1. Among the
/// characters below U+10000 there is no other difference. Names that leave no trace in the tree,
/// such as those of processing instructions, are as libexpat has them.
bool hasLetterBannedFromNames(std::string_view name) noexcept {
    for (std::size_t at = name.find('\xC2'); at != std::string_view::npos;
         at = name.find('\xC2', at + 1)) {
        char const next = name[at + 1];
        if (next == '\xAA' || next == '\xB5' || next == '\xBA') {
            return true;
        }
    }
    return false;
}

/// `size` as a document stores it. Parsing::limitSize sees to it that nothing is lost.
std::uint32_t narrow(std::size_t size) noexcept { return static_cast<std::uint32_t>(size); }

/// A number that who wrote the text cannot know. std::random_device would ask the processor for its
/// abilities each time, which costs more than parsing a short text on a virtual machine.
std::uint32_t secretNumber() {
    std::uint32_t number = 0;
    if (::getentropy(&number, sizeof number) != 0) {  // COVERAGE: only old kernels fail
        // The place of the stack is random, too.
        auto const place = reinterpret_cast<std::uintptr_t>(&number);  // COVERAGE: old kernels only
        number = static_cast<std::uint32_t>(place >> 4);               // COVERAGE: old kernels only
    }
    return number;
}

/// The distinct names of a document under construction: an open hash table of their indexes.
///
/// The hash of a name is its value as a polynomial at a secret point, modulo the prime 2^31 - 1.
/// Two names of up to n bytes fall into the same one of m places for at most 2n of m points, so
/// nobody can write a text whose names all fall into one place.
///
/// A document repeats itself, though: mostly a name is followed by the one that followed it the
/// last time. That one is tried first, which spares the hash.
class NameTable {
public:
    /// @param text where the bytes of new names go, each with a NUL behind it
    NameTable(std::uint32_t secret, StringBuffer& text)
        : point_(secret % (PRIME - 1) + 1), text_(text), slots_(64, 0) {
        add("");
    }

    /// The index of `name`, which is not empty, in the list of names. If the name is new, that is
    /// their count before the call.
    std::uint32_t find(char const* name) {
        std::uint32_t const expected = followers_[last_];
        if (std::strcmp(text() + list()[expected].position, name) == 0) {
            return last_ = expected;
        }
        std::uint32_t const index = lookUp(name);
        followers_[last_] = index;
        return last_ = index;
    }

    std::size_t count() const noexcept { return names_.size(); }

    Array<XMLDocument::Name> release() noexcept { return std::move(names_); }

private:
    static constexpr std::uint64_t PRIME = (std::uint64_t{1} << 31) - 1;

    char const* text() const noexcept { return std::string_view(text_).data(); }
    XMLDocument::Name const* list() const noexcept { return names_.data(); }

    std::uint32_t lookUp(std::string_view name) {
        std::uint32_t& slot = slots_[slotOf(name)];
        if (slot != 0) {
            return slot;
        }
        std::uint32_t const index = add(name);
        slot = index;
        if (names_.size() > slots_.size() / 2) {
            grow();
        }
        return index;
    }

    std::uint32_t add(std::string_view name) {
        auto const index = narrow(names_.size());
        names_.append({narrow(text_.length()), narrow(name.size())});
        followers_.push_back(0);
        text_.append(name).append('\0');
        return index;
    }

    /// Where `name` is, or else the free place for it.
    std::size_t slotOf(std::string_view name) const noexcept {
        std::size_t const mask = slots_.size() - 1;
        std::size_t slot = hash(name) & mask;
        while (slots_[slot] != 0 && bytesOf(slots_[slot]) != name) {
            slot = (slot + 1) & mask;
        }
        return slot;
    }

    std::size_t hash(std::string_view name) const noexcept {
        std::uint64_t value = 0;
        for (char const byte : name) {
            value = value * point_ + static_cast<unsigned char>(byte);
            // The product is below 2^62, and the sum below twice the prime.
            value = (value & PRIME) + (value >> 31);
            value -= value >= PRIME ? PRIME : 0;
        }
        return static_cast<std::size_t>(value);
    }

    std::string_view bytesOf(std::uint32_t index) const noexcept {
        return {text() + list()[index].position, list()[index].size};
    }

    void grow() {
        slots_.assign(slots_.size() * 2, 0);
        for (std::uint32_t i = 1; i < names_.size(); ++i) {
            slots_[slotOf(bytesOf(i))] = i;
        }
    }

    std::uint64_t point_;
    StringBuffer& text_;
    Array<XMLDocument::Name> names_;
    /// For each name the one that followed it the last time.
    std::vector<std::uint32_t> followers_;
    std::uint32_t last_ = 0;
    /// Indexes of names; 0, that of the empty name, is a free place. Their number is a power of
    /// two.
    std::vector<std::uint32_t> slots_;
};

/// One run of the parser over one text.
class Parsing {
public:
    Parsing(std::string_view xml, std::size_t pieceSize)
        : xml_(xml),
          pieceSize_(pieceSize),
          text_(xml.size()),
          names_(secretNumber(), text_),
          parser_(XML_ParserCreate(nullptr)) {
        if (parser_ == nullptr) {
            throw std::bad_alloc();
        }
        // libexpat's own defaults stay: hash tables salted with the system's randomness, and the
        // limit on what entities add.
        XML_SetUserData(parser_.get(), this);
        // Without a handler for external entities these are skipped, parameter entities included.
        XML_SetParamEntityParsing(parser_.get(), XML_PARAM_ENTITY_PARSING_ALWAYS);
        XML_SetXmlDeclHandler(parser_.get(), onDeclaration);
        XML_SetElementHandler(parser_.get(), onStart, onEnd);
        XML_SetCharacterDataHandler(parser_.get(), onCharacters);
    }

    std::shared_ptr<XMLDocument const> run() {
        refuseLeadingNul();
        bool last = false;
        for (std::size_t done = 0; !last; done += pieceSize_) {
            std::string_view const piece = xml_.substr(done, pieceSize_);
            last = xml_.size() - done == piece.size();
            feed(piece, last);
        }
        auto document = std::make_shared<XMLDocument>();
        document->records = std::move(records_);
        document->names = names_.release();
        document->text = text_.releaseString();
        return document;
    }

private:
    /// A NUL in the first two bytes would make libexpat take the text for UTF-16 without its mark.
    void refuseLeadingNul() const {
        std::size_t const nul = xml_.substr(0, 2).find('\0');
        if (nul != std::string_view::npos) {
            refuse(1, nul + 1, "NUL character, or UTF-16 without its mark");
        }
    }

    void feed(std::string_view piece, bool last) {
        XML_Status const status =
            XML_Parse(parser_.get(), piece.data(), static_cast<int>(piece.size()),
                      last ? XML_TRUE : XML_FALSE);
        if (failure_ != nullptr) {
            std::rethrow_exception(failure_);
        }
        if (status == XML_STATUS_OK) {
            return;
        }
        XML_Error const error = XML_GetErrorCode(parser_.get());
        if (error == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        auto const place = static_cast<std::size_t>(currentByte(parser_.get()));
        if (error == XML_ERROR_XML_DECL && isVersionAt(xml_, place)) {
            refuse(1, startsWithMark(xml_) ? 2 : 1,
                   WRONG_VERSION);  // the place seen by the handler
        }
        refuseHere(XML_ErrorString(error));
    }

    [[noreturn]] void refuseHere(std::string_view reason) const {
        refuse(currentLine(parser_.get()), currentColumn(parser_.get()) + 1, reason);
    }

    void declaration(char const* version) const {
        if (!isVersion(version)) {
            refuseHere(WRONG_VERSION);
        }
    }

    std::uint32_t indexOf(char const* name) {
        std::size_t const known = names_.count();
        std::uint32_t const index = names_.find(name);
        if (index == known && hasLetterBannedFromNames(name)) {
            refuseHere(XML_ErrorString(XML_ERROR_INVALID_TOKEN));
        }
        return index;
    }

    void start(char const* name, char const** attributes) {
        if (open_.size() == XMLParserDOM::MAXIMUM_DEPTH) {
            refuseHere(
                String(Format("elements are nested deeper than %1", XMLParserDOM::MAXIMUM_DEPTH)));
        }
        std::size_t const index = records_.size();
        open_.push_back(index);
        records_.append({indexOf(name), 0, 0});
        std::size_t count = 0;
        for (; attributes[2 * count] != nullptr; ++count) {
            std::string_view const value = attributes[2 * count + 1];
            std::uint32_t const attributeName = indexOf(attributes[2 * count]);
            records_.append({attributeName, narrow(text_.length()), narrow(value.size())});
            text_.append(value);
        }
        records_[index].size = narrow(count);
        inText_ = false;
        limitDefaults(attributes);
        limitSize();
    }

    /// Attributes that the document type adds stand behind those written.
    void limitDefaults(char const** attributes) {
        auto i = static_cast<std::size_t>(XML_GetSpecifiedAttributeCount(parser_.get()));
        for (; attributes[i] != nullptr; ++i) {
            defaulted_ += std::string_view(attributes[i]).size() + 2;
        }
        if (defaulted_ > AMPLIFICATION_THRESHOLD &&
            defaulted_ > MAXIMUM_AMPLIFICATION * xml_.size()) {
            refuseHere("default attributes make the text more than 100 times as long");
        }
    }

    /// Refuses a tree whose parts 32 bits cannot number.
    void limitSize() const {
        // No test has the memory: 4 GiB and a tree of 16 times as much.
        if (text_.length() > UINT32_MAX || records_.size() > UINT32_MAX) {  // COVERAGE: takes 4 GiB
            refuseHere("the tree is larger than 4 GiB");                    // COVERAGE: takes 4 GiB
        }
    }

    void end() {
        records_[open_.back()].position = narrow(records_.size());
        open_.pop_back();
        inText_ = false;
    }

    void characters(std::string_view bytes) {
        if (!inText_) {
            records_.append({XMLDocument::TEXT, narrow(text_.length()), 0});
            inText_ = true;
        }
        records_[records_.size() - 1].size += narrow(bytes.size());
        text_.append(bytes);
        limitSize();
    }

    /// libexpat is C: no exception may cross it. After a failure it can still call handlers.
    template <typename Action>
    static void guard(void* parsing, Action action) noexcept {
        Parsing& self = *static_cast<Parsing*>(parsing);
        if (self.failure_ != nullptr) {
            return;
        }
        try {
            action(self);
        } catch (...) {
            self.failure_ = std::current_exception();
            XML_StopParser(self.parser_.get(), XML_FALSE);
        }
    }

    static void onDeclaration(void* parsing, char const* version, char const*, int) {
        guard(parsing, [=](Parsing& self) { self.declaration(version); });
    }
    static void onStart(void* parsing, char const* name, char const** attributes) {
        guard(parsing, [=](Parsing& self) { self.start(name, attributes); });
    }
    static void onEnd(void* parsing, char const*) {
        guard(parsing, [](Parsing& self) { self.end(); });
    }
    static void onCharacters(void* parsing, char const* bytes, int count) {
        guard(parsing,
              [=](Parsing& self) { self.characters({bytes, static_cast<std::size_t>(count)}); });
    }

    struct Free {
        void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
    };

    std::string_view xml_;
    std::size_t pieceSize_;
    StringBuffer text_;
    NameTable names_;
    Array<XMLDocument::Record> records_;
    /// Records of the elements that are not closed yet.
    std::vector<std::size_t> open_;
    /// Whether the last record is a text that goes on.
    bool inText_ = false;
    /// Bytes that default attributes have added.
    std::uint64_t defaulted_ = 0;
    /// What a handler has thrown.
    std::exception_ptr failure_;
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> parser_;
};

}  // namespace

XMLNode XMLParserDOM::parse(String const& xml) {
    std::shared_ptr<XMLDocument const> document = Parsing(xml, PIECE_SIZE).run();
    std::uint32_t const end = narrow(document->records.size());
    return XMLNode(std::move(document), 0, end);
}

}  // namespace zeb::xmltoolkit
