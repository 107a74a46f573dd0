#pragma once

#include "Watch/TraceNode.h"

namespace Qcf::Watch {

/// The call inside which the node was evaluated; null in the outermost function.
TraceNode const * callAround(TraceNode const & at);

/// Calls `visit` with each argument of a call, until it answers true.
template <typename Visit>
void eachArgument(TraceNode const & call, Visit const & visit) {
    auto const & node = static_cast<Eval::FunctionCallExpression const &>(*call.node);
    for (auto const * link = node.argListHead().get(); link != nullptr; link = link->next().get()) {
        if (visit(*link->entry())) {
            return;
        }
    }
}

/// What a parameter stands for, by the calls that handed it on; any other value as it is.
Eval::AetNodeBase const & valueBehind(Eval::AetNodeBase const & value, TraceNode const & at);

} // namespace Qcf::Watch
