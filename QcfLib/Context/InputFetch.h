#pragma once

#include "Platform/Framework/VirtualSlot.h"
#include "QcfLib/AttributeLayer.h"

/// How cached inputs are fetched. Private to the attribute layer's sources.
namespace Qcf::Eval {

/// The container is kept from route to route, so that fetching allocates nothing once it has the
/// room. Operations that the agent did not override are not called: the set is empty then.
template <typename Set>
Set * AttributeLayer::fetchSet(Input input, Ptr<Set> Cache::*slot, ModifyFlag modifyFlag,
                               void (AttributeOperations::*populate)(Ptr<Set> const &)
                                   const) const {
    Ptr<Set> & set = (*cache_).*slot;
    if (!set) {
        set = makePtr<Set>(modifyFlag);
    }
    set->clear();
    set->modifyFlagIs(modifyFlag);
    // An exception of the agent's leaves the flag clear: the next access fetches again.
    if (overridesSlot(*this, defaultOperations_, populate)) {
        (this->*populate)(set);
    }
    cache_->populatedIs(input);
    return set.get();
}

/// A path has no such test: its default operation leaves it empty, and costs a call.
inline AttributeLayer::Path * AttributeLayer::fetchedPath(Input input, Path Cache::*slot) const {
    Path & path = cache().*slot;
    if (!cache().isPopulated(input)) {
        path.clear();
        asPathInputPopulate(&path);
        cache().populatedIs(input);
    }
    return &path;
}

} // namespace Qcf::Eval
