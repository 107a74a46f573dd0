#include "Watch/CallArguments.h"

#include "Text/FunctionContent.h"

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

bool isArgument(AetNodeBase const & node) {
    return node.typeData().fieldOf(FieldRole::argumentIndex) != nullptr;
}

/// Arguments are counted by kind.
bool isOfKind(AetNodeBase const & node, ArgumentKind kind) {
    NodeClass const & nodeClass = node.typeData();
    switch (kind) {
    case ArgumentKind::integer:
        return nodeClass.isKind(NodeKind::int_);
    case ArgumentKind::bandwidth:
        return nodeClass.isKind(NodeKind::bandwidth);
    case ArgumentKind::triStateBool:
        return nodeClass.isKind(NodeKind::triStateBool);
    case ArgumentKind::prefixList:
        return nodeClass.isKind(NodeKind::prefixList);
    case ArgumentKind::none:
    case ArgumentKind::node:
        return false;
    }
    return false;
}

} // namespace

TraceNode const * callAround(TraceNode const & at) {
    TraceNode const * around = at.parent;
    while (around != nullptr && !is<FunctionCallExpression>(*around->node)) {
        around = around->parent;
    }
    return around;
}

AetNodeBase const & valueBehind(AetNodeBase const & value, TraceNode const & at) {
    AetNodeBase const * found = &value;
    TraceNode const * call = callAround(at);
    while (call != nullptr && isArgument(*found)) {
        auto const variable = Text::variableOf(*found);
        int skipped = variable.index;
        AetNodeBase const * argument = nullptr;
        eachArgument(*call, [&](AetNodeBase const & each) {
            bool const isIt = isOfKind(each, variable.kind) && skipped-- == 0;
            argument = isIt ? &each : argument;
            return isIt;
        });
        if (argument == nullptr) {
            break;
        }
        found = argument;
        call = callAround(*call);
    }
    return *found;
}

} // namespace Qcf::Watch
