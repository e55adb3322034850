#include <zeb/xmltoolkit/XMLParserDOM.hpp>

// expat.h declares the limits on entities only when this macro is defined.
#define XML_DTD
#include <expat.h>

#include <algorithm>
#include <cstddef>
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

#include "EntityNesting.hpp"
#include "NameTable.hpp"
#include "UTF8Conversion.hpp"
#include "XMLDeclaration.hpp"
#include "XMLDocument.hpp"
#include "XMLParsing.hpp"

namespace zeb::xmltoolkit {

namespace {

using foundation::Array;
using foundation::Format;
using foundation::String;
using foundation::StringBuffer;

constexpr char UNIT[] = "XMLParserDOM";

constexpr std::size_t NPOS = std::string_view::npos;

/// Limits on what entities may add to a text, and on what default attributes may.
constexpr std::uint64_t MAXIMUM_AMPLIFICATION = 100;
constexpr std::uint64_t AMPLIFICATION_THRESHOLD = std::uint64_t{8} << 20;

[[noreturn]] void refuse(std::uint64_t line, std::uint64_t column, std::string_view reason) {
    String const message = Format("line %1, column %2: %3", line, column, reason);
    throw DOMException(UNIT, __LINE__, message.c_str(), DOMException::NO_CODE, nullptr,
                       DOMException::NO_CODE);
}

// libexpat 2.9 deprecates the functions that return a long for others that return 64 bits.
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

/// Refuses the character after `text`, which is a UTF-8 mark and ASCII.
[[noreturn]] void refuseBehind(std::string_view text, std::string_view reason) {
    std::uint64_t line = 1;
    std::uint64_t column = 0;
    for (std::size_t at = 2; at < text.size(); ++at) {
        bool const isLineEnd = text[at] == '\n' || text[at] == '\r';
        line += isLineEnd && !(text[at] == '\n' && text[at - 1] == '\r') ? 1 : 0;
        column = isLineEnd ? 0 : column + 1;
    }
    refuse(line, column + 1, reason);
}

/// The document as passed to libexpat: UTF-8, or ASCII under any name.
struct Input {
    std::string_view text;
    /// Encoding and size of the original document.
    Encoding encoding;
    std::size_t size;

    [[nodiscard]] bool isUTF16() const noexcept {
        return encoding == Encoding::UTF16_BE || encoding == Encoding::UTF16_LE;
    }
    [[nodiscard]] bool isConverted() const noexcept {
        return isUTF16() || encoding == Encoding::LATIN1;
    }
    /// Whether half a unit follows, which is not in `text`.
    [[nodiscard]] bool endsInHalfAUnit() const noexcept { return isUTF16() && size % 2 != 0; }
    /// The amplification of `text` that makes it MAXIMUM_AMPLIFICATION times as long as the
    /// original.
    [[nodiscard]] float amplification() const noexcept {
        return text.empty() ? float{MAXIMUM_AMPLIFICATION}
                            : float{MAXIMUM_AMPLIFICATION} * static_cast<float>(size) /
                                  static_cast<float>(text.size());
    }
};

/// A reference that nests entities too deep, thrown before libexpat reaches it.
struct DeepReference {
    std::size_t place;
};

/// One run of the parser over one text.
class Parsing {
public:
    /// @param deep where a reference in the text nests entities too deep; the run ends there
    Parsing(Input const& input, std::size_t pieceSize, std::size_t deep = NPOS)
        : input_(input),
          pieceSize_(pieceSize),
          deep_(deep),
          text_(input.text.size()),
          names_(text_),
          parser_(XML_ParserCreate(input.isConverted() ? "UTF-8" : nullptr)) {
        if (parser_ == nullptr) {
            throw std::bad_alloc();
        }
        // libexpat's default, hash tables salted with the system's randomness, is kept.
        XML_SetUserData(parser_.get(), this);
        XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser_.get(),
                                                                 input.amplification());
        XML_SetBillionLaughsAttackProtectionActivationThreshold(parser_.get(),
                                                                AMPLIFICATION_THRESHOLD);
        // Without a handler for external entities these are skipped, parameter entities included.
        XML_SetParamEntityParsing(parser_.get(), XML_PARAM_ENTITY_PARSING_ALWAYS);
        XML_SetXmlDeclHandler(parser_.get(), onDeclaration);
        XML_SetEntityDeclHandler(parser_.get(), onEntity);
        XML_SetElementHandler(parser_.get(), onStart, onEnd);
        XML_SetCharacterDataHandler(parser_.get(), onCharacters);
    }

    /// @throws DeepReference unless `deep` was given
    std::shared_ptr<XMLDocument const> run() {
        std::string_view const text = input_.text.substr(0, deep_);
        bool last = false;
        for (std::size_t done = 0; !last; done += pieceSize_) {
            std::string_view const piece = text.substr(done, pieceSize_);
            last = text.size() - done == piece.size();
            feed(piece, last && deep_ == NPOS && !input_.endsInHalfAUnit());
        }
        if (deep_ != NPOS) {
            // An invalid character makes libexpat stop here and report the place, unless it first
            // reports an error in what precedes.
            feed("\x01", /*last=*/true);
        } else if (input_.endsInHalfAUnit()) {
            feed({}, /*last=*/true);
            refuseHere(XML_ErrorString(XML_ERROR_UNCLOSED_TOKEN));
        }
        auto document = std::make_shared<XMLDocument>();
        document->records = std::move(records_);
        document->names = names_.release();
        document->text = text_.releaseString();
        return document;
    }

private:
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
        XML_Error error = XML_GetErrorCode(parser_.get());
        if (error == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        auto const place = static_cast<std::size_t>(currentByte(parser_.get()));
        if (error == XML_ERROR_INVALID_TOKEN && place == deep_) {
            refuseHere(String(
                Format("entities are nested deeper than %1", XMLParserDOM::MAXIMUM_ENTITY_DEPTH)));
        }
        if (error == XML_ERROR_XML_DECL && isVersionAt(input_.text, place)) {
            // The place that the handler would see, after the mark.
            refuse(1, input_.text[0] == '<' ? 1 : 2, WRONG_VERSION);
        }
        if (error == XML_ERROR_NO_ELEMENTS && input_.endsInHalfAUnit()) {
            error = XML_ERROR_UNCLOSED_TOKEN;
        }
        refuseHere(XML_ErrorString(error));
    }

    [[noreturn]] void refuseHere(std::string_view reason) const {
        refuse(currentLine(parser_.get()), currentColumn(parser_.get()) + 1, reason);
    }

    void declaration(char const* version, char const* encoding, int standalone) {
        if (!isVersion(version)) {
            refuseHere(WRONG_VERSION);
        }
        isStandalone_ = standalone == 1;
        Fit const found = encoding == nullptr ? Fit::FITS : fit(encoding, input_.encoding);
        if (found != Fit::FITS) {
            // Here libexpat would trust the declaration, or was given an encoding.
            refuseBehind(input_.text.substr(0, placeOfEncoding(input_.text)),
                         XML_ErrorString(found == Fit::DIFFERS ? XML_ERROR_INCORRECT_ENCODING
                                                               : XML_ERROR_UNKNOWN_ENCODING));
        }
    }

    void entity(bool isParameter, std::string_view replacement) {
        if (deep_ != NPOS || !refersToEntities(replacement, isParameter) ||
            ++referring_ != XMLParserDOM::MAXIMUM_ENTITY_DEPTH) {
            return;
        }
        std::uint64_t const replaced =
            std::max(AMPLIFICATION_THRESHOLD, MAXIMUM_AMPLIFICATION * input_.size);
        std::size_t const deep = findDeepReference(input_.text, XMLParserDOM::MAXIMUM_ENTITY_DEPTH,
                                                   isStandalone_, replaced);
        if (deep != NPOS) {
            throw DeepReference{deep};
        }
    }

    void start(char const* name, char const** attributes) {
        if (open_.size() == XMLParserDOM::MAXIMUM_DEPTH) {
            refuseHere(
                String(Format("elements are nested deeper than %1", XMLParserDOM::MAXIMUM_DEPTH)));
        }
        std::size_t const index = records_.size();
        open_.push_back(index);
        records_.append({names_.find(name), 0, 0});
        std::size_t count = 0;
        for (; attributes[2 * count] != nullptr; ++count) {
            std::string_view const value = attributes[2 * count + 1];
            std::uint32_t const attributeName = names_.find(attributes[2 * count]);
            records_.append({attributeName, narrow(text_.length()), narrow(value.size())});
            text_.append(value);
        }
        records_[index].size = narrow(count);
        inText_ = false;
        limitDefaults(attributes);
        limitSize();
    }

    /// Attributes that the document type adds follow those in the tag.
    void limitDefaults(char const** attributes) {
        auto i = static_cast<std::size_t>(XML_GetSpecifiedAttributeCount(parser_.get()));
        for (; attributes[i] != nullptr; ++i) {
            defaulted_ += std::string_view(attributes[i]).size() + 2;
        }
        if (defaulted_ > AMPLIFICATION_THRESHOLD &&
            defaulted_ > MAXIMUM_AMPLIFICATION * input_.size) {
            refuseHere("default attributes make the text more than 100 times as long");
        }
    }

    /// Refuses a tree that is too large for 32-bit indexes.
    void limitSize() const {
        // No test has the memory: 4 GiB, and a tree 16 times as large.
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

    static void onDeclaration(void* parsing, char const* version, char const* encoding,
                              int standalone) {
        guard(parsing, [=](Parsing& self) { self.declaration(version, encoding, standalone); });
    }
    /// @param bytes null for an external entity
    static void onEntity(void* parsing, char const*, int isParameter, char const* bytes, int count,
                         char const*, char const*, char const*, char const*) {
        if (bytes != nullptr) {
            guard(parsing, [=](Parsing& self) {
                self.entity(isParameter != 0, {bytes, static_cast<std::size_t>(count)});
            });
        }
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

    Input input_;
    std::size_t pieceSize_;
    std::size_t deep_;
    StringBuffer text_;
    NameTable names_;
    Array<XMLDocument::Record> records_;
    /// Records of the elements that are not closed yet.
    std::vector<std::size_t> open_;
    /// Whether the last record is a text that may continue.
    bool inText_ = false;
    bool isStandalone_ = false;
    /// Entities that refer to others.
    std::size_t referring_ = 0;
    /// Bytes that default attributes have added.
    std::uint64_t defaulted_ = 0;
    /// An exception from a handler.
    std::exception_ptr failure_;
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> parser_;
};

/// With a NUL in the first two bytes libexpat would assume UTF-16 without its mark.
void refuseLeadingNul(std::string_view xml) {
    std::size_t const nul = xml.substr(0, 2).find('\0');
    if (nul != NPOS) {
        refuse(1, nul + 1, "NUL character, or UTF-16 without its mark");
    }
}

/// @param converted contains the text when that is not `xml` itself
Input inputOf(std::string_view xml, StringBuffer& converted) {
    Input input{xml, encodingOf(xml), xml.size()};
    if (input.isUTF16()) {
        appendUTF16(xml, converted);
        input.text = converted;
    } else if (input.encoding == Encoding::LATIN1) {
        appendLatin1(xml, converted);
        input.text = converted;
    }
    return input;
}

}  // namespace

std::shared_ptr<XMLDocument const> documentOf(std::string_view xml, std::size_t pieceSize) {
    refuseLeadingNul(xml);
    StringBuffer converted;
    Input const input = inputOf(xml, converted);
    try {
        return Parsing(input, pieceSize).run();
    } catch (DeepReference const& deep) {
        return Parsing(input, pieceSize, deep.place).run();
    }
}

XMLNode XMLParserDOM::parse(String const& xml) {
    std::shared_ptr<XMLDocument const> document = documentOf(xml, PIECE_SIZE);
    std::uint32_t const end = narrow(document->records.size());
    return XMLNode(std::move(document), 0, end);
}

}  // namespace zeb::xmltoolkit
