#include "Watch/TraceNode.h"

namespace Qcf::Watch {

TraceNode const * TraceNode::decidingChild() const {
    bool const isAtEnd = Eval::is<Eval::Block>(*node) && !result.terminates();
    return thrown || isAtEnd || children.empty() ? nullptr : children.back();
}

std::vector<TraceNode const *> decidingPath(TraceNode const & from) {
    std::vector<TraceNode const *> path;
    for (TraceNode const * at = &from; at != nullptr; at = at->decidingChild()) {
        path.push_back(at);
    }
    return path;
}

} // namespace Qcf::Watch
