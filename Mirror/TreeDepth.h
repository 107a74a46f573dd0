#pragma once

#include "Mirror/NodeWalk.h"
#include "QcfLib/AetNode.h"

#include <unordered_map>

#if __has_include("QcfLib/TreeFacts.h")
#include "QcfLib/TreeFacts.h"
#else
namespace Qcf::Eval {
inline constexpr U32 maximumTreeDepth = 2048;
}
#endif

namespace Qcf::Mirror {

template <typename Node>
U32 treeDepthOf(Node const & root) {
    if constexpr (requires { root.treeDepth(); }) {
        return root.treeDepth();
    } else {
        std::unordered_map<Eval::AetNodeBase const *, U32> depths;
        walkChildrenFirst(
            root, [&](Eval::AetNodeBase const & node) { return depths.emplace(&node, 0).second; },
            [&](Eval::AetNodeBase const & node) {
                U32 depth = 0;
                bool link = false;
                node.typeData().visitChildren(
                    node, [&](Eval::FieldInfo const & field, Eval::AetNodeBase const * child) {
                        link = link || String(field.name) == "next";
                        depth = std::max(depth, child == nullptr ? 0 : depths[child]);
                    });
                depths[&node] = depth + (link ? 0 : 1);
            });
        return depths[&root];
    }
}

/// Whether the tree under the node is deeper than any that may be evaluated: walking it would take
/// more than a thread's stack.
inline bool isTooDeep(Eval::AetNodeBase const & node) {
    return treeDepthOf(node) > Eval::maximumTreeDepth;
}

} // namespace Qcf::Mirror
