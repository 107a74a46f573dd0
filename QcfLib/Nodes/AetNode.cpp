#include "QcfLib/AetNode.h"

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEvalBases.h"

/// What all nodes have in common at run time: how they are let go of, named and traced. What
/// differs by class stands in the generated sources and in NodeContract.h.
namespace Qcf::Eval {

TraceFacility traceQcfEval("QcfEval");

void AetNodeBase::lastUserGone() const {
    // A node that goes lets go of its children, which come here in turn: they wait until it is
    // gone. The list of those that wait needs no memory, since nobody asks a dying node for its
    // parent.
    thread_local AetNodeBase const * waiting = nullptr;
    thread_local bool freeing = false;
    parentIs(waiting);
    waiting = this;
    if (freeing) {
        return;
    }
    freeing = true;
    while (waiting != nullptr) {
        auto const * const node = waiting;
        waiting = static_cast<AetNodeBase const *>(node->parent());
        delete node;
    }
    freeing = false;
}

// Most classes name nothing outside, and are sane as they stand.
bool Expression::verifySanity(FunctionMetadata const & /*metadata*/) const { return true; }
bool StorageType::verifySanity(FunctionMetadata const & /*metadata*/) const { return true; }

String referenceText(AetNodeBase const & node) {
    return String(node.typeData().name) + "#" + std::to_string(node.aetNodeKey());
}

// Both tell of changes only, not of what is so already.
void CachedHash::cachedHashValueSetIs(bool set) const {
    if (set != cachedHashValueSet_) {
        cachedHashValueSet_ = set;
        owner_.publish({.attribute = "cachedHashValueSet", .subject = &owner_});
    }
}

void CachedHash::cachedHashValueIs(U32 value) const {
    if (value != cachedHashValue_) {
        cachedHashValue_ = value;
        owner_.publish({.attribute = "cachedHashValue", .subject = &owner_});
    }
}

} // namespace Qcf::Eval
