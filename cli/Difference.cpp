#include "Difference.hpp"

#include "Streams.hpp"

#include <algorithm>
#include <vector>

namespace zeb::cli {

namespace {

constexpr char REMOVED_COLOR[] = "31";
constexpr char ADDED_COLOR[] = "32";
constexpr char PLACE_COLOR[] = "36";

constexpr std::size_t CONTEXT = 3;

/// Limit on the edits in the search for the smallest difference.
constexpr int MAX_EDITS = 1000;

using Lines = std::vector<std::string_view>;

/// Remove `first` lines, add `second` lines, keep `equal` lines.
struct Step {
    std::size_t removed;
    std::size_t added;
    std::size_t equal;
};

/// The lines of a text with their newlines.
Lines linesOf(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        std::size_t const length = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return lines;
}

/// Collects the steps one line at a time.
class Steps {
public:
    explicit Steps(std::size_t equal) : steps_{{0, 0, equal}} {}

    void remove() { edited().removed += 1; }
    void add() { edited().added += 1; }
    void keep(std::size_t count = 1) { steps_.back().equal += count; }
    std::vector<Step> take() { return std::move(steps_); }

private:
    Step& edited() {
        if (steps_.back().equal > 0) {
            steps_.push_back({0, 0, 0});
        }
        return steps_.back();
    }

    std::vector<Step> steps_;
};

/// @return false, without effect, unless `after` is `before` without some of its lines
bool isPart(Lines const& before, Lines const& after) {
    std::size_t found = 0;
    for (std::string_view const line : before) {
        found += found < after.size() && after[found] == line ? 1 : 0;
    }
    return found == after.size();
}

/// The smallest way from `before` to `after`: for each of its edits, from the last to the first,
/// whether a line is added; empty when it takes more than MAX_EDITS.
std::vector<bool> shortestEdits(Lines const& before, Lines const& after) {
    auto const n = static_cast<int>(before.size());
    auto const m = static_cast<int>(after.size());
    // rounds[d][(d + k) / 2] is the farthest x on the diagonal k = x - y after d edits.
    std::vector<std::vector<int>> rounds;
    for (int d = 0; d <= std::min(n + m, MAX_EDITS); ++d) {
        std::vector<int> farthest(static_cast<std::size_t>(d) + 1);
        for (int k = -d; k <= d; k += 2) {
            auto const reached = [&](int diagonal) {
                return rounds.back()[static_cast<std::size_t>(d - 1 + diagonal) / 2];
            };
            bool const added = k == -d || (k != d && reached(k - 1) < reached(k + 1));
            int x = d == 0 ? 0 : added ? reached(k + 1) : reached(k - 1) + 1;
            while (x < n && x - k < m &&
                   before[static_cast<std::size_t>(x)] == after[static_cast<std::size_t>(x - k)]) {
                ++x;
            }
            farthest[static_cast<std::size_t>(d + k) / 2] = x;
            if (x < n || x - k < m) {
                continue;
            }
            std::vector<bool> edits;
            for (int at = k; d > 0; --d) {
                auto const was = [&](int diagonal) {
                    return rounds[static_cast<std::size_t>(d) - 1]
                                 [static_cast<std::size_t>(d - 1 + diagonal) / 2];
                };
                edits.push_back(at == -d || (at != d && was(at - 1) < was(at + 1)));
                at += edits.back() ? 1 : -1;
            }
            return edits;
        }
        rounds.push_back(std::move(farthest));
    }
    return {};
}

std::vector<Step> stepsFor(Lines before, Lines after) {
    std::size_t const least = std::min(before.size(), after.size());
    std::size_t head = 0;
    while (head < least && before[head] == after[head]) {
        ++head;
    }
    std::size_t tail = 0;
    while (tail < least - head &&
           before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) {
        ++tail;
    }
    before = Lines(before.begin() + static_cast<std::ptrdiff_t>(head),
                   before.end() - static_cast<std::ptrdiff_t>(tail));
    after = Lines(after.begin() + static_cast<std::ptrdiff_t>(head),
                  after.end() - static_cast<std::ptrdiff_t>(tail));
    Steps steps(head);
    if (before.size() == after.size()) {
        for (std::size_t i = 0; i < before.size(); ++i) {
            if (before[i] == after[i]) {
                steps.keep();
            } else {
                steps.remove();
                steps.add();
            }
        }
    } else if (isPart(before, after)) {
        std::size_t next = 0;
        for (std::string_view const line : before) {
            if (next < after.size() && after[next] == line) {
                ++next;
                steps.keep();
            } else {
                steps.remove();
            }
        }
    } else if (std::vector<bool> const edits = shortestEdits(before, after); !edits.empty()) {
        std::size_t x = 0;
        std::size_t y = 0;
        auto const keepEqual = [&] {
            for (; x < before.size() && y < after.size() && before[x] == after[y]; ++x, ++y) {
                steps.keep();
            }
        };
        keepEqual();
        for (std::size_t i = edits.size(); i-- > 0;) {
            edits[i] ? steps.add() : steps.remove();
            ++(edits[i] ? y : x);
            keepEqual();
        }
    } else {
        std::for_each(before.begin(), before.end(), [&](std::string_view) { steps.remove(); });
        std::for_each(after.begin(), after.end(), [&](std::string_view) { steps.add(); });
    }
    steps.keep(tail);
    return steps.take();
}

/// A line of a hunk.
std::string marked(char mark, std::string_view line, char const* color) {
    bool const ended = !line.empty() && line.back() == '\n';
    std::string const text = mark + std::string(line.substr(0, line.size() - (ended ? 1 : 0)));
    return painted(color != nullptr, color, text) + "\n" +
           (ended ? "" : "\\ No newline at end of file\n");
}

std::string range(std::size_t start, std::size_t count) {
    // For an empty range the line before it is named.
    return std::to_string(count > 0 ? start + 1 : start) +
           (count == 1 ? "" : "," + std::to_string(count));
}

/// A piece of the difference with the lines around it.
struct Hunk {
    std::size_t oldStart;
    std::size_t newStart;
    std::size_t oldCount;
    std::size_t newCount;
    std::string text;

    void keep(Lines const& lines, std::size_t from, std::size_t count) {
        for (std::size_t i = from; i < from + count; ++i) {
            text += marked(' ', lines[i], nullptr);
        }
        oldCount += count;
        newCount += count;
    }

    [[nodiscard]] std::string rendered(bool colored) const {
        return painted(
                   colored, PLACE_COLOR,
                   "@@ -" + range(oldStart, oldCount) + " +" + range(newStart, newCount) + " @@") +
               "\n" + text;
    }
};

}  // namespace

Difference differenceOf(std::string_view before, std::string_view after, std::string const& name,
                        bool colored) {
    Difference result;
    if (before == after) {
        return result;
    }
    Lines const old = linesOf(before);
    Lines const edited = linesOf(after);
    std::vector<Step> const steps = stepsFor(old, edited);
    result.unified = "--- " + name + "\n+++ " + name + "\n";
    std::size_t x = 0;
    std::size_t y = 0;
    std::size_t equal = 0;  // lines before x that are equal
    for (std::size_t i = 0; i < steps.size();) {
        if (steps[i].removed + steps[i].added == 0) {
            x += steps[i].equal;
            y += steps[i].equal;
            equal = steps[i].equal;
            ++i;
            continue;
        }
        std::size_t const lead = std::min(equal, CONTEXT);
        Hunk hunk{x - lead, y - lead, 0, 0, ""};
        hunk.keep(old, x - lead, lead);
        for (bool open = true; open; ++i) {
            Step const& step = steps[i];
            for (std::size_t k = 0; k < step.removed; ++k) {
                hunk.text += marked('-', old[x++], colored ? REMOVED_COLOR : nullptr);
            }
            for (std::size_t k = 0; k < step.added; ++k) {
                hunk.text += marked('+', edited[y++], colored ? ADDED_COLOR : nullptr);
            }
            hunk.oldCount += step.removed;
            hunk.newCount += step.added;
            result.lines += std::max(step.removed, step.added);
            open = i + 1 < steps.size() && step.equal <= 2 * CONTEXT;
            hunk.keep(old, x, open ? step.equal : std::min(step.equal, CONTEXT));
            x += step.equal;
            y += step.equal;
            equal = step.equal;
        }
        result.unified += hunk.rendered(colored);
    }
    return result;
}

}  // namespace zeb::cli
