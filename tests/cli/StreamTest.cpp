// Texts that are read piece by piece give what the library makes of the whole
// text, in little memory.

#include <OrventoTextOperations.hpp>

#include <gtest/gtest.h>

#include <random>

#include "../../cli/LineEditor.hpp"
#include "Sanitized.hpp"
#include "ZebText.hpp"

namespace zeb::test {
namespace {

using cli::LineEditor;
using cli::Piece;
using ZEBNS2::String;

/// Random numbers that are the same in each run.
class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}

    unsigned below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }
    std::string oneOf(std::vector<std::string> const& choices) {
        return choices[below(static_cast<unsigned>(choices.size()))];
    }
    std::string text(std::vector<std::string> const& parts, unsigned count) {
        std::string result;
        for (; count > 0; --count) {
            result += oneOf(parts);
        }
        return result;
    }

private:
    std::mt19937 engine_;
};

/// The text as edited in pieces that end at random lines.
std::string editedInPieces(cli::Words const& commands, std::string text, Random& random) {
    std::string edited;
    auto const sink = [&edited](std::string_view part) { edited += part; };
    std::unique_ptr<LineEditor> const editor = cli::sedEditor(commands, 0, /*whole=*/false);
    char* at = text.data();
    for (;;) {
        char* const end = text.data() + text.size();
        char* stop = at;
        for (unsigned lines = random.below(4) + 1; lines > 0 && stop < end; --lines) {
            stop = std::find(stop, end, '\n');
            stop += stop < end ? 1 : 0;
        }
        bool const last = stop == end && (text.empty() || end[-1] != '\n' || random.below(2) == 0);
        editor->edit(Piece{at, static_cast<std::size_t>(stop - at), last}, sink);
        if (last) {
            return edited;
        }
        at = stop;
        if (at == end) {
            editor->edit(Piece{at, 0, true}, sink);
            return edited;
        }
    }
}

TEST(Streaming, EveryPieceworkIsTheWholeText) {
    Random random(1);
    std::vector<std::string> const commands{
        "s/a/x/",    "s/a*/<\\0>/g", "s/^/>/",   "s/$/\n/g",   "s/(b)|c/[\\1]/g", "s/a//",
        "/a/d",      "/^$/d",        "/b$/d",    "//d",        "/a/,/b/d",        "/c/,/^$/d",
        "/^$/,/a/d", "/b/,/b/d",     "/^/,/^/d", "s/a/\\\\%/", "s,a$,\n\nz,",     "/z/,/a/d"};
    std::vector<std::string> const parts{
        "a", "b", "c", "\n", "\n", "ab", "\xC3\xA9", "\xFF", std::string(1, '\0')};
    for (int i = 0; i < 8000; ++i) {
        cli::Words script;
        for (unsigned count = random.below(4) == 0 ? random.below(3) + 1 : 1; count > 0; --count) {
            script.push_back(random.oneOf(commands));
        }
        std::string const text = random.text(parts, random.below(30));
        String expected = text;
        for (std::string const& command : script) {
            expected = ZEBNS2::realSed(expected, command, 0);
        }
        ASSERT_EQ(editedInPieces(script, text, random), std::string(expected))
            << testing::PrintToString(script) << " on " << testing::PrintToString(text);
    }
}

// unprivilegedSed does the same to each line of a file.
TEST(Streaming, AReplacementIsASedCommand) {
    Random random(2);
    std::vector<std::string> const templates{"%", "0", "1", "9", "\\", "x", "/", "g", "&", "\n"};
    for (int i = 0; i < 8000; ++i) {
        std::string const pattern = random.oneOf({"a", "(a)(b)?", "b*", "^a|b$", "a\\\\?"});
        std::string const replacement = random.text(templates, random.below(6));
        std::string const line = random.text({"a", "b", "\\", "%", "/"}, random.below(8) + 1);
        ASSERT_EQ(ZEBNS2::realSed(line, cli::sedCommand(pattern, replacement, false), 0),
                  ZEBNS2::sed(line, pattern, replacement))
            << pattern << " by " << replacement << " in " << line;
    }
}

/// Text that fills several buffers.
constexpr unsigned PARTS = 400'000;

TEST(Streaming, TokensAreThoseOfTheWholeText) {
    Random random(3);
    std::vector<std::string> const parts{"a", "bc", " ", "\n", "\"", "\\\"", "\\", "\t", "x y"};
    for (int i = 0; i < 6; ++i) {
        // Few quotes leave tokens, an odd one keeps back the rest of the text.
        std::vector<std::string> some = parts;
        some.insert(some.end(), 5U << random.below(12), "t u\n");
        std::string const text = random.text(some, PARTS / 4);
        std::string const delimiters = random.oneOf({" \t\n", "\n", "c", "\"", "\" "});
        std::string expected;
        for (String const& token : ZEBNS2::quoted_string_tokenization(text, delimiters.c_str())) {
            expected += std::string(token) + "\n";
        }
        EXPECT_TRUE(zebText({"tokens", "--delimiters", delimiters}, text).out == expected)
            << i << " " << delimiters;
    }
}

TEST(Streaming, OccurrencesAreThoseOfTheWholeText) {
    Random random(4);
    for (int i = 0; i < 6; ++i) {
        std::string const text = random.text({"a", "a", "b"}, PARTS);
        std::string const search = random.oneOf({"a", "aa", "aba", "aaaaaaa", "abab", "", "c"});
        EXPECT_TRUE(zebText({"search-replace", search, "<>"}, text).out ==
                    std::string(ZEBNS2::search_replace(text, search, "<>")))
            << i << " " << search;
    }
}

TEST(Streaming, Utf16IsThatOfTheWholeText) {
    Random random(5);
    std::vector<std::string> const units{{"\x41\x00", 2}, "\x3D\xD8", {"\x00\xDE", 2},
                                         "\xFF\xFE",      "\xFE\xFF", "\xAC\x20",
                                         {"\xE9\x00", 2}, "\x3D\xD8", "\xFF\xDB\xFF\xDF"};
    for (int i = 0; i < 6; ++i) {
        // A first word of plain letters gives the order away where there is no
        // mark.
        std::string text = i % 3 == 0 ? "\xFF\xFE" : std::string("A\0B\0C\0D\0E\0F\0", 12);
        text += i % 4 == 0 ? random.text({"\x3D\xD8"}, PARTS - random.below(2))
                           : random.text(units, PARTS);
        if (i % 2 == 0) {
            for (std::size_t at = 0; at < text.size(); at += 2) {
                std::swap(text[at], text[at + 1]);
            }
        }
        ZEBNS2::Array<char> const bytes(text.data(), text.data() + text.size());
        EXPECT_TRUE(zebText({"utf8"}, text).out == std::string(ZEBNS2::convertToUTF8(bytes))) << i;
        ProcessResult const odd = zebText({"utf8"}, text + "A");
        EXPECT_EQ(odd.status, 2);
        EXPECT_NE(odd.err.find("An odd character (0x00000041) was left"), std::string::npos);
    }
}

TEST(Streaming, RepairedTextIsThatOfTheWholeText) {
    Random random(6);
    for (int i = 0; i < 6; ++i) {
        std::string const text = random.text(
            {"a", "\x01", "\xEF", "\xBF", "\xBE", "\xEF\xBF\xBE", "\xEF\xBF\xBF"}, PARTS);
        String expected = text;
        for (char const* const forbidden : {"\xEF\xBF\xBE", "\xEF\xBF\xBF", "\x01"}) {
            expected = ZEBNS2::search_replace(expected, forbidden, "\xEF\xBF\xBD");
        }
        EXPECT_TRUE(zebText({"xml-fix"}, text) == (ProcessResult{0, std::string(expected), ""}))
            << i;
    }
}

// A program that delayed its output would wait for the reader forever, and the reader for it. What
// the guide says of files that are cut at line ends, by GNU parallel or another engine.
TEST(Pieces, TogetherAreTheWhole) {
    TemporaryDirectory const folder;
    Random random(9);
    std::string log;
    for (int i = 0; i < 4000; ++i) {
        log += "line " + std::to_string(i) + random.text({" error", " ok", " a.b", "x"}, 3) + "\n";
    }
    std::string const file = folder.file("log", log);
    bool const parallel = shell("parallel --version 2>/dev/null | grep -q GNU").status == 0;
    std::vector<std::vector<std::string>> const commands{
        {"match", "error"},       {"match", "-io", "E[a-z]*"},       {"edit", "s/ (ok)/<\\1>/g"},
        {"edit", "/error.*ok/d"}, {"search-replace", "a.b", "long"},
    };
    for (std::vector<std::string> words : commands) {
        SCOPED_TRACE(testing::PrintToString(words));
        std::string together;
        for (std::size_t at = 0; at < log.size();) {
            std::size_t const end = log.find('\n', at + random.below(40000)) + 1;
            std::size_t const next = end == 0 ? log.size() : end;
            together += zebText(words, log.substr(at, next - at)).out;
            at = next;
        }
        std::string const whole = zebText(words, log).out;
        EXPECT_TRUE(together == whole);
        if (parallel) {
            words.insert(words.begin(), {"parallel", "--will-cite", "-q", "-a", file, "--pipe-part",
                                         "--block", "20k", "-k", ZEB_TEXT_PROGRAM});
            EXPECT_TRUE(runProcess(words).out == whole);
        }
    }
    if (!parallel) {
        GTEST_SKIP() << "GNU parallel is not installed; pieces were cut by the test alone";
    }
}

TEST(Streaming, WhatIsThereIsPrintedBeforeTheNextWait) {
    TemporaryDirectory const folder;
    // utf8 judges a text by its first eleven bytes.
    for (std::string const command : {"match a", "match -h -o a+", "edit s/a/a/", "tokens",
                                      "search-replace x y", "utf8 2>/dev/null", "xml-fix"}) {
        EXPECT_EQ(shell("cd \"$1\" && rm -f fifo && mkfifo fifo && "
                        "{ echo aaaaaaaaaaaa; read -r rest <fifo; } | \"$0\" " +
                            command + " | { read -r line; echo \"$line\" >&2; echo >fifo; }",
                        folder.path("")),
                  (ProcessResult{0, "", "aaaaaaaaaaaa\n"}))
            << command;
    }
}

TEST(Streaming, AnInputWithoutEndNeedsAReaderAlone) {
    EXPECT_EQ(shell("yes | \"$0\" match y | head -n 1"), prints("y\n"));
    EXPECT_EQ(shell("yes | \"$0\" match -q y"), prints(""));
    EXPECT_EQ(shell("yes | \"$0\" edit s/y/n/ | head -n 1"), prints("n\n"));
    EXPECT_EQ(shell("yes | \"$0\" xml-fix | head -n 1"), prints("y\n"));
}

TEST(Streaming, MemoryIsBoundedByTheLongestLine) {
    if (zeb::test::SANITIZED) {
        GTEST_SKIP() << "the sanitizer reserves more memory than the test allows";
    }
    for (std::string const command :
         {"match nothing", "match -c y", "edit s/y/n/g", "edit /x/d", "tokens", "utf8 2>/dev/null",
          "xml-fix", "search-replace y n"}) {
        SCOPED_TRACE(command);
        ProcessResult const result = shell(
            "yes yyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyy | "
            "head -c 24000000 | "
            "{ ulimit -v 50000; exec \"$0\" " +
            command + "; } | tail -c 1");
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out.empty(), command == "match nothing");
    }
    ProcessResult const tooLong = shell(
        "head -c 100000000 /dev/zero | { ulimit "
        "-v 60000; exec \"$0\" match x; }");
    EXPECT_EQ(tooLong.status, 2);
    EXPECT_EQ(tooLong.err.find("zeb-text: -: out of memory: more than "), 0U) << tooLong.err;
}

}  // namespace
}  // namespace zeb::test
