#include "Documents/NodeOrder.h"

#include <algorithm>
#include <queue>
#include <unordered_map>
#include <unordered_set>

/// A document must have children before parents to be read back; among all orders that do, one must
/// be chosen, or equal programs would be written differently from run to run.
namespace Qcf::Documents {

using Eval::AetNodeBase;
using Eval::FieldInfo;

namespace {

using Nodes = std::vector<AetNodeBase const *>;

bool byKey(AetNodeBase const * a, AetNodeBase const * b) {
    return a->aetNodeKey() < b->aetNodeKey();
}

/// The general case: of the nodes whose children are all out, the one with the smallest key next.
class ChildrenFirst {
public:
    explicit ChildrenFirst(Nodes const & nodes) {
        for (AetNodeBase const * const node : nodes) {
            places_[node];
        }
        for (AetNodeBase const * const node : nodes) {
            U32 waitsFor = 0;
            node->typeData().visitChildren(
                *node, [&](FieldInfo const &, AetNodeBase const * child) {
                    auto const place = places_.find(child);
                    // A child that stands twice is counted twice, and let go twice.
                    if (place != places_.end()) { // neither null nor a function
                        place->second.parents.push_back(node);
                        ++waitsFor;
                    }
                });
            places_[node].waitsFor = waitsFor;
            if (waitsFor == 0) {
                ready_.push(node);
            }
        }
    }

    Nodes take() {
        Nodes ordered;
        while (!ready_.empty()) {
            ordered.push_back(ready_.top());
            ready_.pop();
            for (AetNodeBase const * const parent : places_[ordered.back()].parents) {
                if (--places_[parent].waitsFor == 0) {
                    ready_.push(parent);
                }
            }
        }
        return ordered;
    }

private:
    struct Place {
        Nodes parents;
        U32 waitsFor = 0; ///< children that are not out yet
    };
    struct Later {
        // What is largest by the queue's order comes out first.
        bool operator()(AetNodeBase const * a, AetNodeBase const * b) const { return byKey(b, a); }
    };

    std::unordered_map<AetNodeBase const *, Place> places_;
    std::priority_queue<AetNodeBase const *, Nodes, Later> ready_;
};

bool childrenHaveSmallerKeys(AetNodeBase const & node) {
    bool smaller = true;
    node.typeData().visitChildren(node, [&](FieldInfo const &, AetNodeBase const * child) {
        smaller = smaller && (child == nullptr || child->aetNodeKey() < node.aetNodeKey());
    });
    return smaller;
}

} // namespace

// Functions are left out because they stand in a list of their own, behind all nodes.
Nodes nodesInOrder(Program const & program) {
    std::unordered_set<AetNodeBase const *> functions;
    for (auto const & function : program.functions) {
        functions.insert(function.get());
    }
    Nodes nodes;
    bool rising = true;
    for (auto const & node : program.nodes) {
        if (!functions.contains(node.get())) {
            nodes.push_back(node.get());
            rising = rising && childrenHaveSmallerKeys(*node);
        }
    }
    if (!rising) {
        return ChildrenFirst(nodes).take();
    }
    std::sort(nodes.begin(), nodes.end(), byKey);
    return nodes;
}

} // namespace Qcf::Documents
