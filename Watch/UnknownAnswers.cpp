#include "Watch/UnknownAnswers.h"

#include "QcfLib/NodeWalk.h"

#include <unordered_set>

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

bool UnknownAnswers::mayBe(Expression const & node) {
    auto const known = known_.find(&node);
    if (known != known_.end()) {
        return known->second;
    }
    bool const answer = workOut(node);
    known_.emplace(&node, answer);
    return answer;
}

bool UnknownAnswers::workOut(Expression const & node) {
    if (auto const * const value = as<TriStateBoolExpression>(node)) {
        auto const * const constant = as<TriStateBoolImmediate>(*value->expr());
        return constant == nullptr || constant->value() == QcfUnknown();
    }
    if (auto const * const chain = as<LogicalOperatorExpression>(node)) {
        return ofChain(*chain);
    }
    if (auto const * const call = as<FunctionCallExpression>(node)) {
        return ofFunction(*call->calleePtr());
    }
    if (auto const * const leave = as<ReturnExpression>(node)) {
        return mayBe(*leave->expr());
    }
    if (auto const * const leave = as<ExitExpression>(node)) {
        return mayBe(*leave->expr());
    }
    if (is<Block>(node) || is<IfExpression>(node)) {
        return true;
    }
    // Other tests know no answer only where a list is bound that has no entries.
    return is<IpPrefixMatchCoveredPrefixList>(node);
}

// `and` and `or` make false of unknown. Only when all operands are unknown `??` is.
bool UnknownAnswers::ofChain(LogicalOperatorExpression const & chain) {
    if (!is<SequentialOperator>(*chain.operatorList()->entry())) {
        return false;
    }
    for (auto const * link = chain.expressionList().get(); link != nullptr;
         link = link->next().get()) {
        if (!mayBe(*link->entry())) {
            return false;
        }
    }
    return true;
}

// By its end, or by any of its own returns.
bool UnknownAnswers::ofFunction(Function const & function) {
    if (flow_.of(*function.body()).completes) {
        return true;
    }
    bool found = false;
    std::unordered_set<AetNodeBase const *> met;
    walkTree(*function.body(), [&](WalkedNode const & at) {
        if (found || is<Function>(at.node) || !met.insert(&at.node).second) {
            return false;
        }
        auto const * const leave = as<ReturnExpression>(at.node);
        found = leave != nullptr && mayBe(*leave->expr());
        return true;
    });
    return found;
}

} // namespace Qcf::Watch
