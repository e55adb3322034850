#pragma once

#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/StringBuffer.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "SecretHash.hpp"
#include "XMLDocument.hpp"

namespace zeb::xmltoolkit {

/// `size` as a document stores it. Parsing::limitSize ensures that it fits.
inline std::uint32_t narrow(std::size_t size) noexcept { return static_cast<std::uint32_t>(size); }

/// The distinct names of a document under construction: an open hash table of their indexes.
///
/// Documents repeat themselves: a name is mostly followed by the same name as the last time. That
/// one is tried first, which saves computing the hash.
class NameTable {
public:
    /// @param text receives the bytes of new names, each followed by a NUL
    explicit NameTable(foundation::StringBuffer& text) : text_(text), slots_(64, 0) { add(""); }

    /// The index of `name`, which is not empty, in the list of names.
    std::uint32_t find(char const* name) {
        std::uint32_t const expected = followers_[last_];
        if (std::strcmp(text() + list()[expected].position, name) == 0) {
            return last_ = expected;
        }
        std::uint32_t const index = lookUp(name);
        followers_[last_] = index;
        return last_ = index;
    }

    foundation::Array<XMLDocument::Name> release() noexcept { return std::move(names_); }

private:
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

    /// The slot of `name`, or the free slot for it.
    std::size_t slotOf(std::string_view name) const noexcept {
        std::size_t const mask = slots_.size() - 1;
        std::size_t slot = hash_(name) & mask;
        while (slots_[slot] != 0 && bytesOf(slots_[slot]) != name) {
            slot = (slot + 1) & mask;
        }
        return slot;
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

    SecretHash hash_;
    foundation::StringBuffer& text_;
    foundation::Array<XMLDocument::Name> names_;
    /// For each name, the name that followed it the last time.
    std::vector<std::uint32_t> followers_;
    std::uint32_t last_ = 0;
    /// Indexes of names; 0, the index of the empty name, marks a free slot. The number of slots is
    /// a power of two.
    std::vector<std::uint32_t> slots_;
};

}  // namespace zeb::xmltoolkit
