#include "Positions.hpp"

#include <utility>

namespace ZEBNS2 {

/// Builds the graph with epsilon steps, then follows it from each position.
class PositionsBuilder {
public:
    explicit PositionsBuilder(SyntaxTree const& tree) : tree_(tree) {}

    std::optional<Positions> build(SyntaxTree::Index root) {
        if (tree_.depth(root) > Positions::MAX_DEPTH || tree_.groups() > MAX_GROUP) {
            return std::nullopt;
        }
        Node const end = add({Kind::MATCH, 0, 0});
        Node start = end;
        emit(root, end, start);
        if (failed_) {
            return std::nullopt;
        }
        seen_.assign(graph_.size() * 2, 0);
        result_.atoms_.assign(Positions::FIRST, Atom());
        for (Node const character : characters_) {
            result_.atoms_.push_back(tree_.atoms()[graph_[character].first]);
        }
        addEdges(Positions::START_OF_LINE, start);
        addEdges(Positions::START, start);
        for (std::size_t i = 0; i < characters_.size() && !failed_; ++i) {
            addEdges(static_cast<Positions::Index>(i + Positions::FIRST),
                     graph_[characters_[i]].second);
        }
        result_.edgesBegin_.push_back(static_cast<std::uint32_t>(result_.edges_.size()));
        if (failed_) {
            return std::nullopt;
        }
        return std::move(result_);
    }

private:
    using Node = std::uint32_t;  ///< index in the graph
    static constexpr std::uint32_t MAX_GROUP = 1000;

    enum class Kind : std::uint8_t {
        MATCH,
        CHARACTER,   ///< the atom `first`, then `second`
        CHOICE,      ///< `first`, or else `second`
        LINE_START,  ///< then `second`, likewise below
        LINE_END,
        GROUP_START,  ///< of group `first`
        GROUP_END
    };

    struct Step {
        Kind kind;
        std::uint32_t first;
        Node second;
        Positions::Index position = 0;  ///< of a character
    };

    Node add(Step const& step) {
        graph_.push_back(step);
        failed_ = failed_ || graph_.size() > Positions::MAX_NODES;
        return static_cast<Node>(graph_.size() - 1);
    }

    Node addCharacter(SyntaxTree::Index atom, Node next) {
        Node const node = add({Kind::CHARACTER, atom, next});
        graph_[node].position =
            static_cast<Positions::Index>(characters_.size() + Positions::FIRST);
        characters_.push_back(node);
        failed_ = failed_ || characters_.size() + Positions::FIRST > Positions::MAX_POSITIONS;
        return node;
    }

    // NOLINTBEGIN(misc-no-recursion): MAX_DEPTH bounds it

    /// Adds the steps of the tree below `index`, which lead to `next`.
    /// @param entry set to the first of them
    void emit(SyntaxTree::Index index, Node next, Node& entry) {
        // The loop handles the nodes reached through `first`. Until then the entry is identified by
        // the choice that leads to it, since the graph may move while it grows.
        Node choice = NO_NODE;
        auto const enter = [&](Node node) {
            (choice == NO_NODE ? entry : graph_[choice].first) = node;
        };
        while (!failed_) {
            if (index == SyntaxTree::NOTHING) {
                enter(next);
                return;
            }
            SyntaxTree::Node const& node = tree_[index];
            switch (node.kind) {
                case SyntaxTree::Kind::ATOM:
                    enter(addCharacter(node.first, next));
                    return;
                case SyntaxTree::Kind::LINE_START:
                    enter(add({Kind::LINE_START, 0, next}));
                    return;
                case SyntaxTree::Kind::LINE_END:
                    enter(add({Kind::LINE_END, 0, next}));
                    return;
                case SyntaxTree::Kind::GROUP: {
                    Node const end = add({Kind::GROUP_END, node.second, next});
                    Node inner = end;
                    emit(node.first, end, inner);
                    enter(add({Kind::GROUP_START, node.second, inner}));
                    return;
                }
                case SyntaxTree::Kind::REPEAT:
                    enter(repeat(node, next));
                    return;
                case SyntaxTree::Kind::SEQUENCE: {
                    Node second = next;
                    emit(node.second, next, second);
                    next = second;
                    index = node.first;
                    break;
                }
                case SyntaxTree::Kind::CHOICE: {
                    // glibc tries an empty alternative last.
                    bool const emptyFirst = node.first == SyntaxTree::NOTHING;
                    Node second = next;
                    emit(emptyFirst ? SyntaxTree::NOTHING : node.second, next, second);
                    Node const both = add({Kind::CHOICE, next, second});
                    enter(both);
                    choice = both;
                    index = emptyFirst ? node.second : node.first;
                    break;
                }
            }
        }
    }

    static constexpr Node NO_NODE = UINT32_MAX;

    /// `x{2,4}` is `xx((x)?x)?`, `x{2,}` is `xxx*`.
    Node repeat(SyntaxTree::Node const& node, Node next) {
        failed_ = failed_ || node.hasAnchor;
        Node entry = next;
        if (node.most == SyntaxTree::UNLIMITED) {
            entry = add({Kind::CHOICE, 0, next});
            Node inner = entry;
            emit(node.first, entry, inner);
            graph_[entry].first = inner;
        } else if (node.most > node.least) {
            entry = optional(node, node.most - node.least, next);
        }
        for (int i = 0; i < node.least && !failed_; ++i) {
            Node copy = entry;
            emit(node.first, entry, copy);
            entry = copy;
        }
        return entry;
    }

    /// Up to `count` times: each choice leads into the next one, or past the part that it makes
    /// optional.
    Node optional(SyntaxTree::Node const& node, int count, Node next) {
        Node const outermost = add({Kind::CHOICE, 0, next});
        Node choice = outermost;
        Node behind = next;
        for (int i = 1; i < count && !failed_; ++i) {
            Node copy = behind;
            emit(node.first, behind, copy);
            Node const inner = add({Kind::CHOICE, 0, copy});
            graph_[choice].first = inner;
            choice = inner;
            behind = copy;
        }
        Node copy = behind;
        emit(node.first, behind, copy);
        graph_[choice].first = copy;
        return outermost;
    }

    // NOLINTEND(misc-no-recursion)

    // ------------------------------------------------------------------------------- the edges

    struct Visit {
        Node node;
        bool afterLineEnd;
        std::size_t tags;  ///< number of the path's tags up to here
    };

    /// Follows the epsilon steps from `node` in the order of preference.
    void addEdges(Positions::Index source, Node node) {
        result_.edgesBegin_.push_back(static_cast<std::uint32_t>(result_.edges_.size()));
        ++round_;
        path_.clear();
        todo_.assign(1, {node, false, 0});
        while (!todo_.empty() && !failed_) {
            Visit const visit = todo_.back();
            todo_.pop_back();
            path_.resize(visit.tags);
            if (std::exchange(seen_[visit.node * 2 + (visit.afterLineEnd ? 1 : 0)], round_) ==
                round_) {
                result_.emptyChoice_ = true;
                continue;
            }
            failed_ = ++steps_ > Positions::MAX_STEPS;
            follow(source, visit);
        }
    }

    void follow(Positions::Index source, Visit const& visit) {
        Step const& step = graph_[visit.node];
        switch (step.kind) {
            case Kind::MATCH:
                addEdge(source,
                        visit.afterLineEnd ? Positions::MATCH_AT_LINE_END : Positions::MATCH);
                return;
            case Kind::CHARACTER:
                // An atom that takes nothing leads nowhere.
                if (tree_.atoms()[step.first].bytes.any() ||
                    tree_.atoms()[step.first].beyondASCII) {
                    failed_ = failed_ || visit.afterLineEnd;
                    addEdge(source, step.position);
                }
                return;
            case Kind::CHOICE:
                todo_.push_back({step.second, visit.afterLineEnd, path_.size()});
                todo_.push_back({step.first, visit.afterLineEnd, path_.size()});
                return;
            case Kind::LINE_START:
                failed_ = failed_ || source >= Positions::FIRST || visit.afterLineEnd;
                if (source != Positions::START) {
                    todo_.push_back({step.second, visit.afterLineEnd, path_.size()});
                }
                return;
            case Kind::LINE_END:
                todo_.push_back({step.second, true, path_.size()});
                return;
            case Kind::GROUP_START:
            case Kind::GROUP_END:
                path_.push_back(
                    {static_cast<std::uint16_t>(step.first), step.kind == Kind::GROUP_END});
                todo_.push_back({step.second, visit.afterLineEnd, path_.size()});
                return;
        }
    }

    void addEdge(Positions::Index source, Positions::Index target) {
        auto const tags = static_cast<std::uint32_t>(result_.tags_.size());
        result_.edges_.push_back({source, target, tags, static_cast<std::uint32_t>(path_.size())});
        result_.tags_.insert(result_.tags_.end(), path_.begin(), path_.end());
        failed_ = failed_ || result_.edges_.size() > Positions::MAX_EDGES ||
                  result_.tags_.size() > 2 * Positions::MAX_EDGES;
    }

    SyntaxTree const& tree_;
    std::vector<Step> graph_;
    std::vector<Node> characters_;
    bool failed_ = false;

    Positions result_;
    std::vector<std::uint32_t> seen_;  ///< round of the last visit, for each node and side of `$`
    std::uint32_t round_ = 0;
    std::size_t steps_ = 0;
    std::vector<Positions::Tag> path_;
    std::vector<Visit> todo_;
};

std::optional<Positions> Positions::of(SyntaxTree const& tree, SyntaxTree::Index root) {
    return PositionsBuilder(tree).build(root);
}

}  // namespace ZEBNS2
