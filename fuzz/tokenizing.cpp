// The delimiters up to the newline, then the text.

#include <OrventoTextOperations.hpp>

#include "Property.hpp"
#include "Tokens.hpp"

void zeb::fuzz::tokenizing(std::string_view input) {
    auto const [head, text] = cutLine(input);
    std::string const delimiters(upToNul(head));
    std::vector<std::string> const expected = expectedTokens(text, delimiters);
    ZEBNS2::StringArray const tokens = ZEBNS2::quoted_string_tokenization(text, delimiters.c_str());
    require(tokens.size() == expected.size(), "finds as many tokens");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        require(tokens[i] == expected[i], "finds the same tokens");
    }
}
