// Hunts for patterns that the guard lets pass and libc does not survive.
//
// A child process draws random patterns, asks the guard, and compiles and matches what it lets pass
// in a thread with a small stack, under a limit of memory and of processor time. When the child
// dies, the parent reports which pattern killed it and starts the next child. Patterns drawn at
// random seldom come near a bound, so the ones that used most stack, memory or time so far are
// kept, and every fourth child, a guided one, spends most of its time on mutations of those.

#include <locale.h>
#include <malloc.h>
#include <pthread.h>
#include <regex.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "regex/LibcExpression.hpp"
#include "regex/pattern/LibcCost.hpp"

// The functions of libc below ours, which count the memory in use. A failed allocation counts as a
// kill: libc may crash on it, or call it "no match".
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): libc's names
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

constexpr std::size_t STACK_BYTES = std::size_t{256} * 1024;
constexpr rlim_t MEMORY_BYTES = rlim_t{512} * 1024 * 1024;
constexpr int SECONDS_PER_PATTERN = 2;
constexpr int PATTERNS_PER_CHILD = 5000;
constexpr int PATTERNS_PER_GUIDED_CHILD = 500;
constexpr int OUT_OF_MEMORY = 77;

std::size_t used_bytes = 0;
std::size_t peak_bytes = 0;

void* counted(void* block, std::size_t wanted) {
    if (block == nullptr && wanted != 0) ::_exit(OUT_OF_MEMORY);
    if (block != nullptr) used_bytes += ::malloc_usable_size(block);
    peak_bytes = std::max(peak_bytes, used_bytes);
    return block;
}

void uncounted(void* block) {
    if (block != nullptr) used_bytes -= ::malloc_usable_size(block);
}

}  // namespace

extern "C" {
void* malloc(std::size_t size) { return counted(__libc_malloc(size), size); }
void* calloc(std::size_t count, std::size_t size) {
    return counted(__libc_calloc(count, size), count * size);
}
void* realloc(void* block, std::size_t size) {
    uncounted(block);
    return counted(__libc_realloc(block, size), size);
}
void free(void* block) {
    uncounted(block);
    __libc_free(block);
}
}

namespace {

using ZEBNS2::patternHazard;
using ZEBNS2::PatternHazard;

using Random = std::mt19937_64;

struct Sample {
    std::array<char, 70000> pattern;
    int flags;
};

enum Metric { COMPILE_STACK, COMPILE_MEMORY, COMPILE_TIME, MATCH_STACK, MATCH_MEMORY, METRICS };
constexpr char const* METRIC_NAMES[] = {"compile stack (bytes)", "compile memory (bytes)",
                                        "compile time (us)", "match stack (bytes)",
                                        "match memory (bytes)"};

constexpr std::size_t BEST = 24;  // patterns kept per metric

struct Champion {
    std::uint64_t value;
    Sample sample;
};

// Lives in memory that parent and children share.
struct Shared {
    std::uint64_t made, refused, invalid, compiled, matches;
    std::uint64_t refusals[std::size(ZEBNS2::PATTERN_HAZARD_NAMES)];
    char const* phase;
    Sample current;
    std::array<char, 4096> subject;
    std::size_t subjectLength;
    Champion champions[METRICS][BEST];
};

Shared* shared;

// ---- random patterns

class Maker {
public:
    Maker(Random& random, bool extended) : random_(random), extended_(extended) {}

    std::string make() {
        alphabet_ = 1 + below(3);
        anchors_ = chance(50) ? below(40) : 0;
        references_ = chance(50) ? below(40) : 0;
        brackets_ = chance(40) ? below(30) : 0;
        empties_ = chance(60) ? below(40) : 3;
        budget_ = chance(90) ? 3 + below(25) : 20 + below(150);
        groups_ = 0;
        return alternatives(0);
    }

    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }
    bool chance(std::size_t percent) { return below(100) < percent; }

    std::string op(char c) const { return extended_ ? std::string(1, c) : std::string{'\\', c}; }

    std::string repeat() {
        switch (below(9)) {
            case 0:
            case 1:
                return "*";
            case 2:
                return op('+');
            case 3:
                return op('?');
            case 4:
                return op('{') + std::to_string(number()) + op('}');
            case 5:
                return op('{') + std::to_string(number()) + "," + op('}');
            case 6:
                return op('{') + "," + std::to_string(number()) + op('}');
            default: {
                std::size_t const least = number();
                return op('{') + std::to_string(least) + "," + std::to_string(least + number()) +
                       op('}');
            }
        }
    }

    std::string anchor() {
        static constexpr char const* ANCHORS[] = {"^",   "$",   "\\b", "\\B",
                                                  "\\<", "\\>", "\\`", "\\'"};
        return ANCHORS[below(std::size(ANCHORS))];
    }

    std::string reference() {
        std::size_t const most = std::max<std::size_t>(1, std::min<std::size_t>(groups_, 9));
        return "\\" + std::to_string(1 + below(chance(5) ? 9 : most));
    }

private:
    std::size_t number() {
        if (chance(85)) return below(4);
        static constexpr std::size_t NUMBERS[] = {5,   8,    16,   20,   30,   63,   100,  255,
                                                  500, 1000, 1100, 2000, 2200, 5000, 32767};
        return NUMBERS[below(std::size(NUMBERS))];
    }

    std::string character() {
        static constexpr char const* SPECIAL[] = {
            ".",     "é",    "[[:alpha:]]", "[^a]",     "\\w",      "\\W",  "\\s",  "\\S",
            "[a-c]", "[]a]", "[^]b]",       "[[=a=]b]", "[[.-.]x]", "\xc3", "\x80", "[é-ü]",
            "ſ",     "\n",   "\\.",         "]",        "[a\\]",    "K",    "İ",    "ß",
            "Ⱥ",     "-",    "_",           " ",        "}",        "\\}",  "{"};
        if (chance(brackets_)) return SPECIAL[below(std::size(SPECIAL))];
        return std::string(1, static_cast<char>('a' + below(alphabet_)));
    }

    // NOLINTBEGIN(misc-no-recursion): the budget of a pattern bounds it
    std::string atom(std::size_t depth) {
        if (chance(references_) && groups_ > 0) return reference();
        if (budget_ > 1 && depth < 60 && chance(45)) {
            ++groups_;
            return op('(') + alternatives(depth + 1) + op(')');
        }
        return character();
    }

    std::string alternatives(std::size_t depth) {
        std::string text = sequence(depth);
        while (budget_ > 0 && chance(25)) text += op('|') + sequence(depth);
        return text;
    }

    std::string sequence(std::size_t depth) {
        std::string text;
        if (chance(empties_)) return text;
        do {
            if (budget_ > 0) --budget_;
            if (chance(anchors_)) {
                text += anchor();
                continue;
            }
            text += atom(depth);
            while (chance(text.size() > 200 ? 10 : 40)) text += repeat();
        } while (budget_ > 0 && chance(60));
        return text;
    }
    // NOLINTEND(misc-no-recursion)

    Random& random_;
    bool extended_;
    std::size_t alphabet_ = 1, anchors_ = 0, references_ = 0, brackets_ = 0, empties_ = 0,
                budget_ = 0;
    std::size_t groups_ = 0;
};

std::string mutated(std::string text, Maker& make, std::vector<std::string> const& seeds) {
    std::size_t const times = 1 + make.below(3);
    for (std::size_t i = 0; i < times; ++i) {
        std::size_t const from = make.below(text.size() + 1);
        std::size_t const length = make.below(std::min<std::size_t>(text.size() - from, 40) + 1);
        std::string const part = text.substr(from, length);
        switch (make.below(12)) {
            case 0:
                text.erase(from, length);
                break;
            case 1:
                text.insert(make.below(text.size() + 1), part);
                break;
            case 2: {
                std::size_t const bytes = make.chance(4) ? 66000 : 3000;
                std::size_t copies = 1 + make.below(bytes == 66000    ? 20000
                                                    : make.chance(20) ? 200
                                                                      : 8);
                copies = std::min(copies, bytes / (part.size() + 1));
                std::string many;
                while (copies-- > 0) many += part;
                text.insert(from, many);
                break;
            }
            case 3:
                text.replace(from, length, make.op('(') + part + make.op(')') + make.repeat());
                break;
            case 4:
                text.insert(from, make.repeat());
                break;
            case 5:
                text.insert(from, make.anchor());
                break;
            case 6:
                text.insert(from, make.op('|'));
                break;
            case 7:
                text.insert(from, make.reference());
                break;
            case 8: {
                std::string const& other = seeds[make.below(seeds.size())];
                std::size_t const start = make.below(other.size() + 1);
                text.insert(from, other.substr(start, make.below(other.size() - start + 1)));
                break;
            }
            case 9:
                text.insert(from, make.make());
                break;
            case 10: {  // another number
                std::size_t const digit = text.find_first_of("0123456789", from);
                if (digit != std::string::npos) {
                    std::size_t const end =
                        std::min(text.find_first_not_of("0123456789", digit), text.size());
                    unsigned long const old = std::strtoul(text.c_str() + digit, nullptr, 10);
                    unsigned long const now = make.chance(50)   ? old + 1
                                              : make.chance(50) ? old * 2
                                                                : make.below(2200);
                    text.replace(digit, end - digit, std::to_string(now));
                }
                break;
            }
            default:
                text.insert(from, make.op('(') + make.op(')'));
                break;
        }
        if (text.size() > (make.chance(2) ? 4000 : 66000)) text.resize(4000);
    }
    return text;
}

std::size_t below(Random& random, std::size_t limit) {
    return static_cast<std::size_t>(random() % limit);
}

std::string randomSubject(Random& random) {
    static constexpr char const* PIECES[] = {"a",  "a", "a", "b", "b",    "c", " ",
                                             "\n", "é", "x", "_", "\xff", "K", "ab"};
    std::size_t length = below(random, 12);
    if (below(random, 8) == 0) length = below(random, 40);
    if (below(random, 1024) == 0) length = below(random, 1500);
    if (below(random, 4) == 0) return std::string(length, 'a');
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += PIECES[below(random, std::size(PIECES))];
    return text;
}

// ---- one child

std::uint64_t processorMicroseconds() {
    timespec now;
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000 +
           static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

// The stack of the hunting thread; what is still blank was never used.
class Stack {
public:
    Stack() {
        void* const mapped = ::mmap(nullptr, GUARD_BYTES + STACK_BYTES, PROT_NONE,
                                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) std::abort();
        bottom_ = static_cast<unsigned char*>(mapped) + GUARD_BYTES;
        ::mprotect(bottom_, STACK_BYTES, PROT_READ | PROT_WRITE);
    }
    unsigned char* bottom() const { return bottom_; }

    // Blanks what the calls before have used, down from here.
    __attribute__((noinline)) void blank() const {
        unsigned char here;
        std::size_t const end = static_cast<std::size_t>(&here - bottom_) - 512;
        unsigned char* p = bottom_ + end - std::min(end, used() + 1024);
        for (; p < bottom_ + end; ++p) *static_cast<unsigned char volatile*>(p) = 0;
    }
    std::size_t used() const {
        std::size_t blank = 0;
        std::uint64_t const* const words = reinterpret_cast<std::uint64_t const*>(bottom_);
        while (words[blank] == 0) ++blank;
        return STACK_BYTES - blank * sizeof *words;
    }

private:
    static constexpr std::size_t GUARD_BYTES = std::size_t{64} * 1024;
    unsigned char* bottom_;
};

void keepBest(Metric metric, std::uint64_t value) {
    Champion* const list = shared->champions[metric];
    Champion* const worst = std::min_element(
        list, list + BEST, [](Champion const& a, Champion const& b) { return a.value < b.value; });
    if (value <= worst->value) return;
    for (Champion* champion = list; champion != list + BEST; ++champion)
        if (std::strcmp(champion->sample.pattern.data(), shared->current.pattern.data()) == 0)
            return;
    worst->value = value;
    worst->sample = shared->current;
}

void limitTime() {
    itimerval timer{};
    timer.it_value.tv_sec = SECONDS_PER_PATTERN;
    ::setitimer(ITIMER_PROF, &timer, nullptr);
}

struct Hunt {
    Stack stack;
    std::uint64_t seed;
    bool guided;
    std::vector<std::string> const& seeds;
    ::time_t end;
};

void tryPattern(Hunt const& hunt, Random& random) {
    Sample const& sample = shared->current;
    ++shared->made;
    shared->phase = "guard";
    limitTime();
    ZEBNS2::LibcNeeds needs;
    PatternHazard const hazard =
        patternHazard(sample.pattern.data(),
                      (sample.flags & REG_EXTENDED) != 0 ? ZEBNS2::PatternSyntax::EXTENDED
                                                         : ZEBNS2::PatternSyntax::BASIC,
                      &needs);
    ++shared->refusals[static_cast<int>(hazard)];
    if (hazard != PatternHazard::NONE) {
        ++shared->refused;
        return;
    }
    shared->phase = "compile";
    regex_t compiled;
    if (hunt.guided) hunt.stack.blank();
    peak_bytes = used_bytes;
    std::size_t before = used_bytes;
    std::uint64_t const start = processorMicroseconds();
    int const error =
        ZEBNS2::compileExpression(compiled, sample.pattern.data(), sample.flags, needs);
    keepBest(COMPILE_TIME, processorMicroseconds() - start);
    keepBest(COMPILE_MEMORY, peak_bytes - before);
    if (hunt.guided) keepBest(COMPILE_STACK, hunt.stack.used());
    if (error == REG_ESPACE) ::_exit(OUT_OF_MEMORY);
    if (error != 0) {
        ++shared->invalid;
        return;
    }
    ++shared->compiled;
    limitTime();
    std::vector<regmatch_t> slots(compiled.re_nsub + 1);
    for (int i = 0; i < 6; ++i) {
        std::string subject = i == 0 ? "" : randomSubject(random);
        if (needs.recurses) {
            // Longer ones get a stack of their own from the library.
            subject.resize(std::min<std::size_t>(subject.size(), 256));
        }
        shared->subjectLength = subject.size();
        std::memcpy(shared->subject.data(), subject.c_str(),
                    std::min(subject.size() + 1, shared->subject.size()));
        for (std::size_t count : {slots.size(), std::size_t{1}}) {
            shared->phase = count == 1 ? "match" : "match with groups";
            if (hunt.guided) hunt.stack.blank();
            peak_bytes = before = used_bytes;
            static_cast<void>(::regexec(&compiled, subject.c_str(), count, slots.data(), 0));
            ++shared->matches;
            keepBest(MATCH_MEMORY, peak_bytes - before);
            if (hunt.guided) keepBest(MATCH_STACK, hunt.stack.used());
        }
    }
    ::regfree(&compiled);
}

std::string nextPattern(Hunt const& hunt, Random& random, int flags) {
    Maker make(random, (flags & REG_EXTENDED) != 0);
    std::size_t const choice = make.below(100);
    std::size_t const fresh = hunt.guided ? 40 : 97;
    if (choice < fresh * 4 / 5) return make.make();
    if (choice < fresh) return mutated(hunt.seeds[make.below(hunt.seeds.size())], make, hunt.seeds);
    Champion const& champion = shared->champions[make.below(METRICS)][make.below(BEST)];
    return mutated(champion.sample.pattern.data(), make, hunt.seeds);
}

void* runChild(void* argument) {
    Hunt const& hunt = *static_cast<Hunt const*>(argument);
    Random random(hunt.seed);
    for (int i = 0; i < (hunt.guided ? PATTERNS_PER_GUIDED_CHILD : PATTERNS_PER_CHILD) &&
                    ::time(nullptr) < hunt.end;
         ++i) {
        int flags = 0;
        for (int flag : {REG_EXTENDED, REG_ICASE, REG_NEWLINE})
            if (random() % 2 == 0) flags |= flag;
        if (random() % 4 != 0) flags |= REG_EXTENDED;
        std::string const pattern = nextPattern(hunt, random, flags);
        if (pattern.size() >= shared->current.pattern.size()) continue;
        shared->phase = "none";
        shared->current.flags = flags;
        std::memcpy(shared->current.pattern.data(), pattern.c_str(), pattern.size() + 1);
        tryPattern(hunt, random);
    }
    return nullptr;
}

// ---- the parent

void printText(char const* text) {
    std::size_t const length = std::strlen(text);
    for (char const* p = text; *p != '\0'; ++p) {
        if (p - text == 1500) {
            std::printf("... (%zu bytes)", length);
            return;
        }
        unsigned char const c = static_cast<unsigned char>(*p);
        if (c < 32 || c >= 127)
            std::printf("<%02x>", c);
        else
            std::putchar(c);
    }
}

void printSample(Sample const& sample) {
    std::printf("%s%s%s  ", sample.flags & REG_EXTENDED ? "E" : "B",
                sample.flags & REG_ICASE ? "I" : "", sample.flags & REG_NEWLINE ? "N" : "");
    printText(sample.pattern.data());
    std::putchar('\n');
}

struct Toll {
    std::uint64_t crashes = 0, memory = 0, slowCompile = 0, slowMatch = 0, guard = 0;
};

void report(int status, Toll& toll) {
    bool const slow = WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF;
    bool const memory = WIFEXITED(status) && WEXITSTATUS(status) == OUT_OF_MEMORY;
    bool const matching = std::strncmp(shared->phase, "match", 5) == 0;
    if (std::strcmp(shared->phase, "guard") == 0) ++toll.guard;
    ++(memory ? toll.memory : !slow ? toll.crashes : matching ? toll.slowMatch : toll.slowCompile);
    std::printf("%s in %s: ", memory ? "MEMORY" : slow ? "SLOW" : "CRASH", shared->phase);
    printSample(shared->current);
    if (matching) {
        std::printf("    on %zu bytes: ", shared->subjectLength);
        printText(shared->subject.data());
        std::putchar('\n');
    }
    static_cast<void>(std::fflush(stdout));
}

int runHunt(std::uint64_t seed, long seconds, char const* locale,
            std::vector<std::string> const& seeds) {
    void* const memory =
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    if (memory == MAP_FAILED || ::setlocale(LC_ALL, locale) == nullptr) {
        static_cast<void>(std::fprintf(stderr, "cannot hunt in locale %s\n", locale));
        return 2;
    }
    shared = new (memory) Shared{};
    Toll toll;
    ::time_t const end = ::time(nullptr) + seconds;
    for (; ::time(nullptr) < end; ++seed) {
        pid_t const child = ::fork();
        if (child == 0) {
            rlimit const limit{MEMORY_BYTES, MEMORY_BYTES};
            ::setrlimit(RLIMIT_AS, &limit);
            Hunt hunt{Stack(), seed, seed % 4 == 0, seeds, end};
            pthread_attr_t attributes;
            ::pthread_attr_init(&attributes);
            ::pthread_attr_setstack(&attributes, hunt.stack.bottom(), STACK_BYTES);
            pthread_t thread;
            if (::pthread_create(&thread, &attributes, runChild, &hunt) != 0) std::abort();
            ::pthread_join(thread, nullptr);
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        if (status != 0) report(status, toll);
    }
    std::printf("%zu-bit, %s: made %llu, refused %llu, invalid %llu, compiled %llu, matches %llu\n",
                sizeof(void*) * 8, locale, (unsigned long long)shared->made,
                (unsigned long long)shared->refused, (unsigned long long)shared->invalid,
                (unsigned long long)shared->compiled, (unsigned long long)shared->matches);
    std::printf("refusals by hazard:");
    for (std::size_t i = 0; i < std::size(shared->refusals); ++i) {
        std::printf(" %s=%llu", ZEBNS2::PATTERN_HAZARD_NAMES[i],
                    static_cast<unsigned long long>(shared->refusals[i]));
    }
    std::printf("\ncrashes %llu, out of memory %llu, slow compile %llu, slow match %llu\n",
                (unsigned long long)toll.crashes, (unsigned long long)toll.memory,
                (unsigned long long)toll.slowCompile, (unsigned long long)toll.slowMatch);
    for (int metric = 0; metric < METRICS; ++metric) {
        std::sort(shared->champions[metric], shared->champions[metric] + BEST,
                  [](Champion const& a, Champion const& b) { return a.value > b.value; });
        for (int i = 0; i < 2; ++i) {
            std::printf("most %s: %llu  ", METRIC_NAMES[metric],
                        (unsigned long long)shared->champions[metric][i].value);
            printSample(shared->champions[metric][i].sample);
        }
    }
    return toll.crashes + toll.memory + toll.slowCompile == 0 ? 0 : 1;
}

// Lines are a letter for the syntax, a blank and the pattern; others are comments.
std::vector<std::string> readPatterns(char const* const* files, int count) {
    std::vector<std::string> patterns;
    for (; count > 0; ++files, --count) {
        std::ifstream file(*files);
        for (std::string line; std::getline(file, line);) {
            if (line.size() > 2 && line[1] == ' ' && line[0] != '#') {
                patterns.push_back(line.substr(2));
            }
        }
    }
    return patterns;
}

}  // namespace

int main(int count, char** arguments) {
    std::vector<std::string> const seeds = readPatterns(arguments + 4, count - 4);
    if (seeds.empty()) {
        static_cast<void>(std::fprintf(
            stderr, "usage: %s <seed> <seconds> <locale> <file of patterns>...\n", arguments[0]));
        return 2;
    }
    return runHunt(std::strtoull(arguments[1], nullptr, 10), std::strtol(arguments[2], nullptr, 10),
                   arguments[3], seeds);
}
