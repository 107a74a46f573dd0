#include "Watch/Coverage.h"

#include "Watch/UnknownAnswers.h"

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// What stands as what: by number.
class Roles {
public:
    explicit Roles(NodeNumbers const & numbers)
        : numbers_(numbers), statements_(numbers.size()), conditions_(numbers.size()) {
        for (NodeNumbers::Node const & each : numbers.nodes()) {
            take(*each.node);
        }
    }
    bool isStatement(std::size_t number) const { return statements_[number]; }
    bool isCondition(std::size_t number) const { return conditions_[number]; }

private:
    void take(Expression const & node) {
        if (auto const * const block = as<Block>(node)) {
            each(block->stmts().get(), [this](auto const & entry) { mark(statements_, entry); });
        } else if (auto const * const branch = as<IfExpression>(node)) {
            markCondition(*branch->condition());
            // `else if`: a statement that has no block of its own.
            if (branch->elseBlock() && is<IfExpression>(*branch->elseBlock())) {
                mark(statements_, *branch->elseBlock());
            }
        } else if (auto const * const negation = as<NotExpression>(node)) {
            markCondition(*negation->expr());
        } else if (auto const * const chain = as<LogicalOperatorExpression>(node)) {
            each(chain->expressionList().get(),
                 [this](auto const & entry) { markCondition(entry); });
        }
    }
    template <typename Visitor>
    static void each(ExpressionList const * link, Visitor const & visit) {
        for (; link != nullptr; link = link->next().get()) {
            visit(*link->entry());
        }
    }
    void mark(std::vector<bool> & what, Expression const & node) { what[numbers_.of(node)] = true; }
    void markCondition(Expression const & node) {
        // As in `... ?? true`: a constant has one answer.
        auto const * const value = as<TriStateBoolExpression>(node);
        if (value == nullptr || !is<TriStateBoolImmediate>(*value->expr())) {
            mark(conditions_, node);
        }
    }

    NodeNumbers const & numbers_;
    std::vector<bool> statements_;
    std::vector<bool> conditions_;
};

/// A built-in that its first call declared stands at that call, and has no text of its own.
bool isWritten(Function const & function, NodePlaces const & places) {
    NodePlace const own = places.of(function, function);
    NodePlace const body = places.of(*function.body(), function);
    return own.isInText() && (own.line != body.line || own.column != body.column);
}

U32 lastLineOf(Expression const & node, Function const & within, NodePlaces const & places) {
    auto const * const branch = as<IfExpression>(node);
    return places.of(branch == nullptr ? node : *branch->condition(), within).endLine;
}

} // namespace

void Coverage::add(NodeNumbers const & numbers, std::vector<NodeCounts> const & counts,
                   NodePlaces const & places, std::set<Function const *> const & leftOut) {
    Roles const roles(numbers);
    UnknownAnswers unknown;
    std::set<Function const *> written;
    for (Function const * const function : numbers.functions()) {
        if (!leftOut.contains(function) && isWritten(*function, places)) {
            written.insert(function);
            NodePlace const place = places.of(*function, *function);
            CoveredFunction & into = files_[names_.of(place.file)].functions[function->funcName()];
            into.line = place.line;
            into.entered += counts[numbers.of(*function)].entered;
        }
    }
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        auto const & [node, within] = numbers.nodes()[i];
        if (!written.contains(within) || (!roles.isStatement(i) && !roles.isCondition(i))) {
            continue;
        }
        NodePlace at = places.of(*node, *within);
        at.file = names_.of(at.file);
        CoveredNode & into =
            files_[at.file]
                .nodes[{at.line, at.column, at.endLine, at.endColumn, node->typeData().name}];
        NodeCounts const before = into.counts;
        into = {node->aetNodeKey(),
                at,
                lastLineOf(*node, *within, places),
                places.line(*node, *within),
                roles.isStatement(i),
                roles.isCondition(i),
                roles.isCondition(i) && unknown.mayBe(*node),
                counts[i]};
        into.counts.add(before);
        // A list without entries answers what the policy alone does not say.
        into.mayBeUnknown = into.mayBeUnknown || (into.isCondition && into.counts.isUnknown > 0);
    }
}

Coverage::Totals Coverage::totals() const {
    Totals totals;
    for (auto const & [name, file] : files_) {
        for (auto const & [at, node] : file.nodes) {
            totals.statements += node.isStatement ? 1 : 0;
            totals.statementsEntered += node.isStatement && node.counts.entered > 0 ? 1 : 0;
            totals.conditions += node.isCondition ? 1 : 0;
            totals.conditionsBothWays += node.isCondition && node.sawAll() ? 1 : 0;
        }
    }
    return totals;
}

} // namespace Qcf::Watch
