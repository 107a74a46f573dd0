#include "QcfLib/EvalContextFetch.h"

#include <bit>

namespace Qcf::Eval {

GeneratedEvalContext::GeneratedEvalContext(PtrConst<ExternalMatchersBase> externalMatchers,
                                           Routing::Policy::Result_ * result)
    : EvalContextBase(std::move(externalMatchers), result), ownSlots_(virtualSlotsOf(*this)) {
    attributeContentIs();
    cacheIs();
}

GeneratedEvalContext::~GeneratedEvalContext() = default;

Ptr<AttributeContent> const & GeneratedEvalContext::attributeContentIs() {
    if (!attributeContent_) {
        attributeContent_ = makePtr<AttributeContent>();
    }
    return attributeContent_;
}

Ptr<AttributeContent> GeneratedEvalContext::attributeContentDel() {
    return std::move(attributeContent_);
}

Ptr<QcfEvalContextCacheGenerated> const & GeneratedEvalContext::cacheIs() {
    if (!cache_) {
        cache_ = makePtr<QcfEvalContextCacheGenerated>();
    }
    return cache_;
}

Ptr<QcfEvalContextCacheGenerated> GeneratedEvalContext::cacheDel() { return std::move(cache_); }

void GeneratedEvalContext::reset() {
    QCF_ASSERT(functionCallDepth_ == 0);
    if (modifiedFlags_ != 0) {
        releaseModifiedSets();
        modifiedFlags_ = 0;
    }
    cache_->populatedClear();
}

void GeneratedEvalContext::flushModifiedAttributes() {
    QCF_ASSERT(functionCallDepth_ == 0);
    if (overriddenWriteBacks_ == ~0U) [[unlikely]] {
        overriddenWriteBacks_ = findOverriddenWriteBacks();
    }
    for (U32 pending = modifiedFlags_ & overriddenWriteBacks_; pending != 0;
         pending &= pending - 1) {
        writeBack(static_cast<ModifiableAttribute>(std::countr_zero(pending)));
    }
}

} // namespace Qcf::Eval
