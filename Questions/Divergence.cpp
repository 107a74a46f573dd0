#include "Questions/Divergence.h"

#include "Questions/TraceEffects.h"

namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

// A write of what was there already makes a difference to who applies it, but not to what follows;
// and what no node shows, some text has to.
Divergence TraceComparison::of(Node const & older, Node const & newer) {
    for (Measure const measure : {Measure::effects, Measure::writes, Measure::texts}) {
        measure_ = measure;
        if (auto const found = inside(older, newer)) {
            return found->at;
        }
    }
    return {};
}

String const & TraceComparison::head(Node const & node) {
    static String const nothing;
    return node.within == nullptr ? nothing : texts_.head(*node.node, *node.within);
}

void TraceComparison::appendTexts(String & out, Node const & node) {
    out += head(node) + '\n';
    for (Node const * const child : node.children) {
        appendTexts(out, *child);
    }
}

bool TraceComparison::isSame(Node const & older, Node const & newer, Counts counts) {
    if (measure_ == Measure::texts) {
        String first;
        String second;
        appendTexts(first, older);
        appendTexts(second, newer);
        return first == second;
    }
    EvalResult const a = older.result;
    EvalResult const b = newer.result;
    bool const isSameWay = older.thrown == newer.thrown && a.termination() == b.termination();
    bool const isValueAsked = counts == Counts::value || a.terminates();
    bool const isSameValue = isValueAsked ? a.retVal() == b.retVal()
                                          : counts == Counts::leaving || a.isTrue() == b.isTrue();
    bool const withIdle = measure_ == Measure::writes;
    return isSameWay && isSameValue && effectsOf(older, withIdle) == effectsOf(newer, withIdle);
}

bool TraceComparison::isLoneEffective(Node const & node) {
    return measure_ == Measure::texts || node.thrown || node.result.terminates() ||
           !effectsOf(node, measure_ == Measure::writes).empty();
}

// Where an edit inside explains the difference it is the closer one.
TraceComparison::Found TraceComparison::chosen(Node const & older, Node const & newer,
                                               std::optional<Found> const & inner) {
    if (inner && inner->isEdited) {
        return *inner;
    }
    bool const isEdited = head(older) != head(newer);
    return inner && !isEdited ? *inner : Found{{&older, &newer}, isEdited};
}

std::optional<TraceComparison::Found> TraceComparison::statement(Node const & older,
                                                                 Node const & newer) {
    // The body of a built-in function is no statement: the call of it is.
    bool const isBuiltIn = older.node->typeData().fields.empty();
    if (isBuiltIn || isSame(older, newer, Counts::leaving)) {
        return std::nullopt;
    }
    bool const isBranch = is<IfExpression>(*older.node) && is<IfExpression>(*newer.node);
    if (isBranch) {
        return chain(older, newer);
    }
    if (is<Block>(*older.node) && is<Block>(*newer.node)) {
        return block(older, newer);
    }
    return chosen(older, newer, inside(older, newer));
}

std::optional<TraceComparison::Found> TraceComparison::lone(Node const & node, bool isOlder) {
    if (!isLoneEffective(node)) {
        return std::nullopt;
    }
    // A block is no statement to be shown: what it does is.
    if (is<Block>(*node.node)) {
        for (Node const * const child : node.children) {
            if (auto found = lone(*child, isOlder)) {
                return found;
            }
        }
        return std::nullopt;
    }
    return Found{isOlder ? Divergence{&node, nullptr} : Divergence{nullptr, &node}, true};
}

std::optional<TraceComparison::Found> TraceComparison::block(Node const & older,
                                                             Node const & newer) {
    Parts const first = statementsOf(older);
    Parts const second = statementsOf(newer);
    for (PartPair const & pair : pairs({older.node, newer.node}, first, second)) {
        Node const * const a = first.at(pair.older);
        Node const * const b = second.at(pair.newer);
        std::optional<Found> found;
        if (a != nullptr && b != nullptr) {
            found = statement(*a, *b);
        } else if (a != nullptr || b != nullptr) {
            found = lone(a != nullptr ? *a : *b, a != nullptr);
        }
        if (found) {
            return found;
        }
    }
    return std::nullopt;
}

// An arm that both have says by its branch what followed; one that only one of them has matters
// where it was taken.
std::optional<TraceComparison::Found> TraceComparison::chain(Node const & older,
                                                             Node const & newer) {
    Parts const first = armsOf(older);
    Parts const second = armsOf(newer);
    for (PartPair const & pair : pairs({older.node, newer.node}, first, second)) {
        Node const * const a = first.at(pair.older);
        Node const * const b = second.at(pair.newer);
        std::optional<Found> found;
        if (a != nullptr && b != nullptr) {
            bool const isElse = first.parts[pair.older].isElse;
            found = isElse ? statement(*a, *b) : arm(*a, *b);
        } else if (a != nullptr || b != nullptr) {
            Node const & only = a != nullptr ? *a : *b;
            bool const isBranch = is<IfExpression>(*only.node) && !only.children.empty();
            bool const isPaired = pair.older != PartPair::none && pair.newer != PartPair::none;
            bool const isPassed = isBranch && !only.children.front()->result.isTrue();
            found = isPassed || isPaired ? std::nullopt : lone(only, a != nullptr);
        }
        if (found) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<TraceComparison::Found> TraceComparison::arm(Node const & older, Node const & newer) {
    if (older.children.empty() || newer.children.empty()) {
        return std::nullopt;
    }
    Node const & first = *older.children.front();
    Node const & second = *newer.children.front();
    if (!isSame(first, second, Counts::truth)) {
        return chosen(older, newer, inside(first, second));
    }
    bool const isTaken = first.result.isTrue() && second.result.isTrue() &&
                         older.children.size() > 1 && newer.children.size() > 1;
    return isTaken ? statement(*older.children[1], *newer.children[1]) : std::nullopt;
}

// An operand is no statement: what is told of it is a statement of a function that it calls.
std::optional<TraceComparison::Found> TraceComparison::operand(Node const & older,
                                                               Node const & newer, Counts counts) {
    return isSame(older, newer, counts) ? std::nullopt : inside(older, newer);
}

std::optional<TraceComparison::Found> TraceComparison::inside(Node const & older,
                                                              Node const & newer) {
    bool const isFunction = is<Function>(*older.node);
    if (&older.node->typeData() != &newer.node->typeData() ||
        (isFunction && older.parent != nullptr && head(older) != head(newer))) {
        return std::nullopt;
    }
    if (is<LogicalOperatorExpression>(*older.node)) {
        return operands(older, newer);
    }
    if (is<Block>(*older.node)) {
        return block(older, newer);
    }
    Counts const counts = is<NotExpression>(*older.node) ? Counts::truth : Counts::value;
    std::size_t const both = std::min(older.children.size(), newer.children.size());
    for (std::size_t i = 0; i < both; ++i) {
        if (auto found = operand(*older.children[i], *newer.children[i], counts)) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<TraceComparison::Found> TraceComparison::operands(Node const & older,
                                                                Node const & newer) {
    Parts const first = operandsOf(older);
    Parts const second = operandsOf(newer);
    for (PartPair const & pair : pairs({older.node, newer.node}, first, second)) {
        Node const * const a = first.at(pair.older);
        Node const * const b = second.at(pair.newer);
        if (a == nullptr || b == nullptr) {
            continue;
        }
        if (auto found = operand(*a, *b, Counts::value)) {
            return found;
        }
    }
    return std::nullopt;
}

} // namespace Qcf::Questions
