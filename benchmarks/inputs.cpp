#include "inputs.hpp"

#include <zeb/foundation/StringBuffer.hpp>

#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>

namespace bench {

using zeb::foundation::Array;
using zeb::foundation::String;
using zeb::foundation::StringBuffer;

namespace {

/// The generator splitmix64 (Steele, Lea, Flood: Fast splittable pseudorandom number generators).
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    /// A number below `limit`; the slight preference for small ones does not matter here.
    std::uint32_t below(std::size_t limit) {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return static_cast<std::uint32_t>((z ^ (z >> 31)) % limit);
    }

private:
    std::uint64_t state_;
};

constexpr std::array<char const*, 16> NOUNS = {
    "adapter", "battery", "cable",  "disk",  "fan",   "firmware", "gateway", "heartbeat",
    "job",     "link",    "module", "power", "probe", "queue",    "sensor",  "volume"};
constexpr std::array<char const*, 8> KEYS = {"id",    "port", "slot",  "unit",
                                             "speed", "temp", "retry", "usage"};

/// A letter of a word in `script`; when `greek` is set, of a Greek word, for scripts with both
/// alphabets.
std::uint32_t letter(Script script, bool greek, Random& random) {
    switch (script) {
        case Script::ASCII:
            break;
        case Script::LATIN_GREEK:
            if (greek) {
                return 0x3B1 + random.below(25);
            }
            if (random.below(8) == 0) {
                return 0xE0 + random.below(0x20);  // a letter with an accent
            }
            break;
        case Script::CJK:
            return 0x4E00 + random.below(0x5000);
        case Script::EMOJI:
            return 0x1F600 + random.below(0x40);
    }
    return 'a' + random.below(26);
}

}  // namespace

String logText(std::size_t lines) {
    Random random(1);
    StringBuffer text(lines * 74);
    auto const word = [&random](auto const& words) { return words[random.below(words.size())]; };
    for (std::size_t line = 0; line < lines; ++line) {
        auto const second = static_cast<unsigned int>(line % 86400);
        char head[64];
        int const length = std::snprintf(
            head, sizeof head, "Mar %02u %02u:%02u:%02u node%02u agent[%u]: ",
            static_cast<unsigned int>(10 + line / 86400), second / 3600, second / 60 % 60,
            second % 60, random.below(64), 1000 + random.below(9000));
        text.append(std::string_view(head, static_cast<std::size_t>(length)));
        text.append(random.below(5) == 0 ? "noisy " : "quiet ");
        text.append(word(NOUNS)).append(' ');
        if (line % 1000 == 500 || line % 1000 == 520) {
            text.append(line % 1000 == 500 ? "begin " : "end ");
        }
        for (std::size_t const period : {std::size_t{5}, std::size_t{20}}) {
            if (line % period == 0) {
                text.append(word(KEYS)).append('=').append(std::to_string(random.below(100000)));
                text.append(' ');
            }
        }
        text.append("after ").append(std::to_string(random.below(10000))).append(" ms, ");
        text.append(word(NOUNS)).append('\n');
    }
    return text.releaseString();
}

Array<char> utf16Text(Script script, bool bigEndian, std::size_t bytes) {
    Random random(2);
    Array<char> text(bytes);
    char* out = text.begin();
    char* const end = out + bytes;
    auto const put = [&out, bigEndian](std::uint32_t unit) {
        auto const high = static_cast<char>(unit >> 8);
        auto const low = static_cast<char>(unit & 0xFF);
        *out++ = bigEndian ? high : low;
        *out++ = bigEndian ? low : high;
    };
    put(0xFEFF);
    while (end - out >= 4) {
        bool const greek = random.below(2) == 0;
        // Blanks between Chinese characters are rare.
        std::uint32_t const length =
            script == Script::CJK ? 20 + random.below(40) : 3 + random.below(8);
        for (std::uint32_t i = 0; i < length && end - out >= 4; ++i) {
            std::uint32_t const point = letter(script, greek, random);
            if (point < 0x10000) {
                put(point);
            } else {
                put(0xD800 + ((point - 0x10000) >> 10));
                put(0xDC00 + ((point - 0x10000) & 0x3FF));
            }
        }
        if (out < end) {
            put(' ');
        }
    }
    while (out < end) {
        put(' ');
    }
    return text;
}

String proseText(std::size_t bytes, std::size_t distance) {
    Random random(3);
    StringBuffer text(bytes);
    std::string_view const needle = NEEDLE;
    std::size_t next = distance == 0 ? bytes : distance / 2;
    while (text.length() < bytes) {
        if (text.length() >= next && text.length() + needle.size() <= bytes) {
            text.append(needle);
            next += distance;
            continue;
        }
        // Without the letter l no needle occurs by chance.
        constexpr std::string_view LETTERS = "abcdefghijkmnopqrstuvwxyz  eeenn";
        text.append(LETTERS[random.below(LETTERS.size())]);
    }
    return text.releaseString();
}

String argumentText(std::size_t bytes) {
    Random random(4);
    StringBuffer text(bytes + 64);
    for (std::size_t argument = 0; text.length() < bytes; ++argument) {
        if (argument != 0) {
            text.append(' ');
        }
        bool const quoted = argument % 4 == 3;
        bool const escaped = argument % 16 == 15;
        if (quoted) {
            text.append('"');
        }
        std::uint32_t const length = 9 + random.below(10);
        for (std::uint32_t i = 0; i < length; ++i) {
            if (escaped && i % 8 == 3) {
                text.append("\\\"");
            } else if (quoted && i % 5 == 4) {
                text.append(' ');
            } else {
                text.append(static_cast<char>('a' + random.below(26)));
            }
        }
        if (quoted) {
            text.append('"');
        }
    }
    return text.releaseString();
}

String inventoryXML(std::size_t disks) {
    StringBuffer xml(disks * 448);
    xml.append("<?xml version=\"1.0\"?>\n<config>\n");
    for (std::size_t disk = 0; disk < disks; ++disk) {
        std::string const number = std::to_string(disk);
        xml.append("  <disk id=\"").append(number);
        xml.append("\" type=\"raw\" vendor=\"acme &amp; sons\">\n    <size unit=\"GB\">");
        xml.append(std::to_string(disk % 977)).append("</size>\n    <label>volume number ");
        xml.append(number).append(" of the array</label>\n");
        for (std::size_t partition = 0; partition < 3; ++partition) {
            xml.append("    <partition n=\"p").append(std::to_string(partition));
            xml.append("\" fs=\"ext4\"><mount>/srv/data/");
            xml.append(std::to_string(disk * 3 + partition)).append("</mount></partition>\n");
        }
        xml.append("  </disk>\n");
    }
    return xml.append("</config>\n").releaseString();
}

std::size_t disksIn(std::size_t bytes) { return bytes / (inventoryXML(1000).length() / 1000); }

TemporaryFile::TemporaryFile(std::string_view contents) {
    int const file = ::mkstemp(path_);
    if (file == -1 || ::close(file) != 0 ||
        !(std::ofstream(path_, std::ios::binary) << contents << std::flush)) {
        std::cerr << "benchmarks: cannot write " << path_ << '\n';
        std::exit(EXIT_FAILURE);
    }
}

TemporaryFile::~TemporaryFile() { ::unlink(path_); }

std::string TemporaryFile::contents() const {
    std::ifstream in(path_, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace bench
