#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zeb::fuzz {

/// Where the quoted stretch ends that begins at `open`, or npos.
inline std::size_t closingQuote(std::string_view text, std::size_t open, std::size_t& lastEscaped) {
    lastEscaped = open;
    for (std::size_t i = open + 1; i < text.size(); ++i) {
        if (text[i] == '"' && text[i - 1] != '\\') {
            return i;
        }
        if (text[i] == '"') {
            lastEscaped = i;
        }
    }
    return std::string_view::npos;
}

/// The tokens of `text`, by the plainest loop.
inline std::vector<std::string> expectedTokens(std::string_view text, std::string_view delimiters) {
    std::vector<std::string> tokens(1);
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            std::size_t lastEscaped = 0;
            std::size_t const close = closingQuote(text, i, lastEscaped);
            i = close == std::string_view::npos ? lastEscaped : close;
            if (close != std::string_view::npos) {
                continue;
            }
        }
        if (delimiters.find(text[i]) != std::string_view::npos) {
            tokens.back() = text.substr(start, i - start);
            tokens.emplace_back();
            start = i + 1;
        }
    }
    tokens.back() = text.substr(start);
    std::vector<std::string> filled;
    for (std::string const& token : tokens) {
        if (!token.empty()) {
            filled.push_back(token);
        }
    }
    return filled;
}

}  // namespace zeb::fuzz
