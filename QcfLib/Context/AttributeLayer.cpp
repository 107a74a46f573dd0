#include "QcfLib/Context/EvalContextFetch.h"

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
    if (attributeContent_) {
        attributeContent_->settleSets(); // it may outlive what it borrowed from
    }
    return std::move(attributeContent_);
}

Ptr<QcfEvalContextCacheGenerated> const & GeneratedEvalContext::cacheIs() {
    if (!cache_) {
        cache_ = makePtr<QcfEvalContextCacheGenerated>();
    }
    return cache_;
}

Ptr<QcfEvalContextCacheGenerated> GeneratedEvalContext::cacheDel() {
    if (attributeContent_) {
        attributeContent_->settleSets();
    }
    return std::move(cache_);
}

} // namespace Qcf::Eval
