#pragma once

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/VirtualSlot.h"
#include "QcfLib/QcfEvalContextGenerated.h"

/// How the attribute layer fetches cached inputs and finds out what an agent overrides. Private to
/// the layer's sources.
namespace Qcf::Eval {

template <typename Operation>
bool GeneratedEvalContext::overrides(Operation operation) const {
    return overridesSlot(*this, ownSlots_, operation);
}

template <typename Set>
Set * GeneratedEvalContext::fetchSet(Input input, Ptr<Set> & slot, ModifyFlag modifyFlag,
                                     void (GeneratedEvalContext::*populate)(Ptr<Set> const &)
                                         const) const {
    if (!slot) {
        slot = makePtr<Set>(modifyFlag);
    }
    slot->clear();
    slot->modifyFlagIs(modifyFlag);
    // An exception of the agent's leaves the flag clear: the next access fetches again.
    if (overrides(populate)) {
        (this->*populate)(slot);
    }
    cache_->populatedIs(input);
    return slot.get();
}

inline Routing::Bgp::AspathContainerFromExisting *
GeneratedEvalContext::fetchedPath(Input input,
                                  Routing::Bgp::AspathContainerFromExisting & slot) const {
    if (!cache().isPopulated(input)) {
        slot.clear();
        asPathInputPopulate(&slot);
        cache().populatedIs(input);
    }
    return &slot;
}

} // namespace Qcf::Eval
