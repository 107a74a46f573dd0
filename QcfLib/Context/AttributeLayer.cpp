#include "QcfLib/AttributeLayer.h"

#include "QcfLib/Context/WriteBacks.h"

#include <bit>

/// What the attribute layer does seldom: making and detaching its parts, and calling write-backs.
/// What every route goes through is in the header.
namespace Qcf::Eval {

AttributeLayer::AttributeLayer(PtrConst<ExternalMatchersBase> externalMatchers,
                               Routing::Policy::Result_ * result)
    : EvalContextBase(std::move(externalMatchers), result) {
    // Here, so that a context that was not taken apart always has both.
    attributeContentIs();
    cacheIs();
}

AttributeLayer::~AttributeLayer() = default;

Ptr<AttributeContent> const & AttributeLayer::attributeContentIs() {
    if (!attributeContent_) {
        attributeContent_ = makePtr<AttributeContent>();
    }
    return attributeContent_;
}

Ptr<AttributeContent> AttributeLayer::attributeContentDel() {
    if (attributeContent_) {
        attributeContent_->settleSets(); // it may outlive what it borrowed from
    }
    return std::move(attributeContent_);
}

Ptr<QcfEvalContextCacheGenerated> const & AttributeLayer::cacheIs() {
    if (!cache_) {
        cache_ = makePtr<QcfEvalContextCacheGenerated>();
    }
    return cache_;
}

Ptr<QcfEvalContextCacheGenerated> AttributeLayer::cacheDel() {
    if (attributeContent_) {
        // Stored sets may be cached inputs, which leave with the cache.
        attributeContent_->settleSets();
    }
    return std::move(cache_);
}

// Apart from forgetRoute, which every route goes through: few routes get here.
void AttributeLayer::releaseModifiedSets() { attributeContent_->releaseSets(modifiedFlags_); }

void AttributeLayer::writeBack() {
    // Not in the constructor: there the object is not yet of the agent's class.
    if (overriddenWriteBacks_ == ~U32{0}) [[unlikely]] {
        overriddenWriteBacks_ = findOverriddenWriteBacks();
    }
    // From the lowest bit: the order of the flags is the order in which agents are told.
    for (U32 pending = modifiedFlags_ & overriddenWriteBacks_; pending != 0;
         pending &= pending - 1) {
        writeBacks[std::countr_zero(pending)](*this, *attributeContent_);
    }
}

// Not inlined: a flush would save the registers of this loop each time.
[[gnu::noinline]] U32 AttributeLayer::findOverriddenWriteBacks() const {
    U32 overridden = 0;
    for (U32 i = 0; i < modifiableAttributeCount; ++i) {
        overridden |= writeBackTests[i](*this, defaultOperations_) ? U32{1} << i : 0;
    }
    return overridden;
}

} // namespace Qcf::Eval
