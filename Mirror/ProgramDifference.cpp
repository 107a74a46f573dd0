#include "Mirror/ProgramDifference.h"

#include "Mirror/Publishable.h"
#include "Mirror/StoreUse.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfAllAetEntities.h"

/// Finds what of a program is published already, so that publishing the same again does nothing and
/// a small change stays small. Functions are compared side by side, values by hash and then by
/// content. What does not differ is looked at once, and cheaply: most of a large program does not.
namespace Qcf::Mirror {

namespace {

using Eval::AetNodeBase;
using Eval::Function;

} // namespace

ProgramDifference::ProgramDifference(Documents::Program const & program,
                                     AllFunctionStatus const & status, FunctionDigests & digests)
    : program_(program),
      status_(status),
      store_(status.nodes()),
      digests_(digests),
      comparison_(FunctionComparison::stepsFor(program.nodes.size())),
      stays_(store_.slots()) {
    for (auto const & function : program_.functions) {
        // Before walks go down the trees.
        checkPublishable(*function);
    }
    compareFunctions();
    // Where nothing differs, the walk over the store is spared.
    if (!empty()) {
        indexValues();
        collectNewNodes();
    }
}

/// What is published under the name, if it could have been published by us.
Function const * ProgramDifference::publishedFunction(String const & name) const {
    auto const function = status_.aet(std::string_view(name));
    return function && !isTooDeep(*function) ? Eval::as<Function>(*function) : nullptr;
}

void ProgramDifference::compareFunctions() {
    std::unordered_set<std::string_view> names;
    for (auto const & function : program_.functions) {
        names.insert(function->funcName());
        auto const * const before = publishedFunction(function->funcName());
        if (before != nullptr && staysAsItIs(*function, *before)) {
            // Whoever calls it and is set anew is to call the published one.
            standIns_[function.get()] = before;
        } else {
            changed_.push_back(function.get());
        }
    }
    for (auto const & [name, function] : status_.aet()) {
        if (!names.contains(name)) {
            vanished_.push_back(name);
        }
    }
}

bool ProgramDifference::staysAsItIs(Function const & function, Function const & before) {
    auto const equal = comparison_.equal(function, before);
    if (!equal) {
        bool const sameDigest = digests_.of(before) == digests_.of(function);
        if (sameDigest) {
            keep(before);
        }
        return sameDigest;
    }
    if (*equal) {
        // All that the published one holds was met just now, or stands under what was.
        for (auto const & pair : comparison_.met()) {
            keepNode(*pair.b);
        }
        for (Node const * const node : comparison_.shared()) {
            keep(*node);
        }
    }
    return *equal;
}

std::unordered_set<U32> ProgramDifference::wantedHashes() const {
    std::unordered_set<U32> hashes;
    std::unordered_set<Node const *> met;
    auto const enter = [&](Eval::WalkedNode const & at) {
        if (standIns_.contains(&at.node) || !met.insert(&at.node).second) {
            return false;
        }
        if (isSharedValue(at.node)) {
            hashes.insert(at.node.hash(0));
        }
        return true;
    };
    for (Function const * const function : changed_) {
        walkTree(*function, enter);
    }
    return hashes;
}

void ProgramDifference::indexValues() {
    if (store_.size() == 0 || changed_.empty()) {
        return;
    }
    auto const wanted = wantedHashes();
    store_.forEachNode([&](Ptr<AetNodeBase> const & node) {
        if (isSharedValue(*node) && !isTooDeep(*node)) {
            U32 const hash = node->hash(0);
            // By hash alone: equalValue looks at the content.
            if (wanted.contains(hash)) {
                values_.emplace(hash, node.get());
            }
        }
    });
}

AetNodeBase const * ProgramDifference::equalValue(Node const & node) const {
    if (!values_.empty() && isSharedValue(node)) {
        auto const [begin, end] = values_.equal_range(node.hash(0));
        for (auto at = begin; at != end; ++at) {
            if (at->second->compare(PtrConst<AetNodeBase>(&node))) {
                return at->second;
            }
        }
    }
    return nullptr;
}

// What stands for a node stands for all under it, too, which is not needed then.
void ProgramDifference::collectNewNodes() {
    if (store_.size() == 0) {
        // All of them are new.
        standIns_.reserve(program_.nodes.size());
        new_.reserve(program_.nodes.size());
    }
    for (Function const * const function : changed_) {
        walkTree(
            *function, [this](Eval::WalkedNode const & at) { return isNew(at.node); },
            [this](Node const & node) { new_.push_back(&node); });
    }
}

bool ProgramDifference::isNew(Node const & node) {
    auto const [at, isFirst] = standIns_.try_emplace(&node, nullptr);
    if (!isFirst) {
        return false;
    }
    Node const * const equal = equalValue(node);
    if (equal != nullptr) {
        at->second = equal;
        keep(*equal);
    }
    return equal == nullptr;
}

// A function that was published otherwise may hold nodes that are no members: they stay with it.
bool ProgramDifference::keepNode(Node const & node) {
    std::size_t const slot = store_.slotOf(node);
    if (slot == AetCollections::noSlot) {
        return loose_.insert(&node).second;
    }
    bool const wasKept = stays_[slot];
    stays_[slot] = true;
    return !wasKept;
}

void ProgramDifference::keep(Node const & root) {
    walkTree(root, [this](Eval::WalkedNode const & at) { return keepNode(at.node); });
}

} // namespace Qcf::Mirror
