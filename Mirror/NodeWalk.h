#pragma once

#include "QcfLib/AetNode.h"

#include <algorithm>
#include <vector>

namespace Qcf::Mirror {

/// Calls `visit(node)` for the nodes under `root`, children before parents, without recursion.
/// `enter(node)` says whether to go into a node: it must answer yes at most once for each.
template <typename Enter, typename Visit>
void walkChildrenFirst(Eval::AetNodeBase const & root, Enter && enter, Visit && visit) {
    struct Step {
        Eval::AetNodeBase const * node;
        bool childrenDone;
    };
    std::vector<Step> steps{{&root, false}};
    while (!steps.empty()) {
        Step & step = steps.back();
        Eval::AetNodeBase const & node = *step.node;
        if (step.childrenDone) {
            steps.pop_back();
            visit(node);
        } else if (!enter(node)) {
            steps.pop_back();
        } else {
            step.childrenDone = true;
            auto const count = static_cast<std::ptrdiff_t>(steps.size());
            node.typeData().visitChildren(
                node, [&](Eval::FieldInfo const &, Eval::AetNodeBase const * child) {
                    if (child != nullptr) {
                        steps.push_back({child, false});
                    }
                });
            std::reverse(steps.begin() + count, steps.end());
        }
    }
}

} // namespace Qcf::Mirror
