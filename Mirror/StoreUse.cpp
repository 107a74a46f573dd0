#include "Mirror/StoreUse.h"

#include "Mirror/Publishable.h"
#include "QcfLib/NodeWalk.h"

#include <algorithm>

/// A walk enters a node with the first place that holds it and leaves with the last one, so that
/// what stays in use on both sides of a change is not walked.
namespace Qcf::Mirror {

namespace {

using Eval::AetNodeBase;

} // namespace

bool isSharedValue(AetNodeBase const & node) {
    Eval::ClassFacts const & facts = node.typeData().facts;
    return facts.isShared && !facts.isLink;
}

void StoreUse::add(Node const & root) {
    ++names_[&root];
    walkTree(root, [this](Eval::WalkedNode const & at) {
        bool const isFirst = ++places_[&at.node] == 1;
        // Hashing goes down the tree.
        if (isFirst && isSharedValue(at.node) && !isTooDeep(at.node)) {
            values_.emplace(at.node.hash(0), &at.node);
        }
        return isFirst;
    });
}

bool StoreUse::isHeld(Node const & node) const {
    auto const all = places_.find(&node);
    auto const byName = names_.find(&node);
    return all != places_.end() && (byName == names_.end() || byName->second != all->second);
}

void StoreUse::drop(Node const & root, std::vector<Node const *> & unused) {
    if (auto const named = names_.find(&root); --named->second == 0) {
        names_.erase(named);
    }
    walkTree(root, [&](Eval::WalkedNode const & at) {
        auto const found = places_.find(&at.node);
        if (--found->second != 0) {
            return false;
        }
        places_.erase(found);
        valueDel(at.node);
        unused.push_back(&at.node);
        return true;
    });
}

void StoreUse::valueDel(Node const & node) {
    if (!isSharedValue(node) || isTooDeep(node)) {
        return;
    }
    auto const [begin, end] = values_.equal_range(node.hash(0));
    auto const found =
        std::find_if(begin, end, [&](auto const & value) { return value.second == &node; });
    values_.erase(found);
}

AetNodeBase const * StoreUse::equalValue(Node const & node) const {
    if (!isSharedValue(node)) {
        return nullptr;
    }
    auto const [begin, end] = values_.equal_range(node.hash(0));
    auto const found = std::find_if(begin, end, [&](auto const & value) {
        return value.second->compare(PtrConst<AetNodeBase>(&node));
    });
    return found == end ? nullptr : found->second;
}

void StoreUse::clear() {
    places_.clear();
    names_.clear();
    values_.clear();
}

} // namespace Qcf::Mirror
