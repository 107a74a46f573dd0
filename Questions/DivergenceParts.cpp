#include "Questions/Divergence.h"

/// The sequences of a function, as they stand there, each part with its evaluation.
namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

SequencePart TraceComparison::partOf(Expression const & node, Node const & within) {
    return {&node, &texts_.whole(node, *within.within), &texts_.head(node, *within.within)};
}

// Statements are evaluated in their order, up to one that leaves.
TraceComparison::Parts TraceComparison::statementsOf(Node const & block) {
    Parts found;
    auto const & statements = static_cast<Block const &>(*block.node).stmts();
    for (auto const * link = statements.get(); link != nullptr; link = link->next().get()) {
        std::size_t const at = found.parts.size();
        found.parts.push_back(partOf(*link->entry(), block));
        found.evaluated.push_back(at < block.children.size() ? block.children[at] : nullptr);
    }
    return found;
}

// Each `if` is an arm; what follows in its `else` are arms of their own.
TraceComparison::Parts TraceComparison::armsOf(Node const & chain) {
    Parts found;
    Expression const * at = chain.node;
    Node const * evaluated = &chain;
    while (auto const * const branch = at == nullptr ? nullptr : as<IfExpression>(*at)) {
        found.parts.push_back(partOf(*branch, chain));
        found.evaluated.push_back(evaluated);
        bool const isPassed = evaluated != nullptr && evaluated->children.size() > 1 &&
                              !evaluated->children.front()->result.isTrue();
        evaluated = isPassed ? evaluated->children[1] : nullptr;
        at = branch->elseBlock().get();
    }
    if (at != nullptr) {
        SequencePart part = partOf(*at, chain);
        part.isElse = true;
        found.parts.push_back(part);
        found.evaluated.push_back(evaluated);
    }
    return found;
}

TraceComparison::Parts TraceComparison::operandsOf(Node const & chain) {
    Parts found;
    auto const & operands =
        static_cast<LogicalOperatorExpression const &>(*chain.node).expressionList();
    for (auto const * link = operands.get(); link != nullptr; link = link->next().get()) {
        std::size_t const at = found.parts.size();
        found.parts.push_back(partOf(*link->entry(), chain));
        found.evaluated.push_back(at < chain.children.size() ? chain.children[at] : nullptr);
    }
    return found;
}

std::vector<PartPair> const & TraceComparison::pairs(NodePair const & nodes, Parts const & older,
                                                     Parts const & newer) {
    auto const [at, isNew] = pairs_.try_emplace(nodes);
    if (isNew) {
        at->second = pairsOf(older.parts, newer.parts);
    }
    return at->second;
}

} // namespace Qcf::Questions
