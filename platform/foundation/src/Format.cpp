#include <zeb/foundation/Format.hpp>

#include <charconv>

namespace zeb::foundation {

namespace {

template <typename T>
void renderInteger(StringBuffer& out, T value) {
    static constexpr std::size_t MOST_DIGITS = 20;  // of 64 bits, the sign included
    char* const start = out.prepare(MOST_DIGITS);
    char const* const end = std::to_chars(start, start + MOST_DIGITS, value).ptr;
    out.commit(static_cast<std::size_t>(end - start));
}

bool isDigit(char byte) noexcept { return byte >= '0' && byte <= '9'; }

}  // namespace

void detail::render(StringBuffer& out, long long value) { renderInteger(out, value); }

void detail::render(StringBuffer& out, unsigned long long value) { renderInteger(out, value); }

Format::Format() = default;
Format::~Format() = default;

std::size_t Format::process(std::string_view& text, std::size_t lowest, std::size_t highest,
                            ErrorMode mode) {
    std::size_t searchFrom = 0;
    for (;;) {
        std::size_t const percent = text.find('%', searchFrom);
        if (percent == std::string_view::npos || percent + 1 == text.size()) {
            result_.append(text);
            text = {};
            return NO_PLACEHOLDER;
        }
        char const next = text[percent + 1];
        if (next == '%') {
            result_.append(text.substr(0, percent + 1));
            text.remove_prefix(percent + 2);
            searchFrom = 0;
            continue;
        }
        if (isDigit(next)) {
            auto const index = static_cast<std::size_t>(next - '0');
            if ((index >= lowest && index <= highest) || mode == CONSUME_PLACEHOLDER) {
                result_.append(text.substr(0, percent));
                text.remove_prefix(percent + 2);
                return index;
            }
        }
        searchFrom = percent + 1;
    }
}

void Format::fill(std::string_view text, Argument const* arguments, std::size_t count) {
    while (!text.empty()) {
        std::size_t const index = process(text, 1, count, KEEP_PLACEHOLDER);
        if (index != NO_PLACEHOLDER) {
            arguments[index - 1].render(result_, arguments[index - 1].value);
        }
    }
}

}  // namespace zeb::foundation
