#include "Documents/Actions.h"

#include "QcfLib/NodeWalk.h"

/// Each node knows whether it and all below it only read. What steers evaluation counts there as
/// doing more; here it is what is steered that matters.
namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// A new class acts until it is named here: that is the careful side.
bool onlySteers(AetNodeBase const & node) {
    return is<Function>(node) || is<Block>(node) || is<IfExpression>(node) ||
           is<ReturnExpression>(node) || is<FunctionCallExpression>(node) ||
           is<MatchOriginAsValidityImplExpr>(node);
}

} // namespace

bool ActionAnalysis::acts(Function const & function) {
    auto const known = known_.find(&function);
    if (known != known_.end()) {
        return known->second;
    }
    bool const acts = workOut(function);
    known_.emplace(&function, acts);
    return acts;
}

bool ActionAnalysis::workOut(Function const & function) {
    bool found = false;
    auto const enter = [&](WalkedNode const & at) {
        auto const * const callee = as<Function>(at.node);
        if (callee != nullptr && callee != &function) {
            found = found || acts(*callee);
            return false;
        }
        found = found || !(at.node.typeData().effects.onlyReads || onlySteers(at.node));
        return !found && !at.node.treeFacts().onlyReads;
    };
    walkNodes(function, enter, [](AetNodeBase const &) {});
    return found;
}

} // namespace Qcf::Documents
