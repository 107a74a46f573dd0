#include "QcfLib/QcfEvalLazyCollection.h"

#include "QcfLib/Sets/SetEdits.h"

namespace Qcf::Eval {

// The first operand is still being read while values come: they gather in the scratch buffer.
template <typename Set>
void LazySmallVector<Set>::chooseTarget() {
    if (firstOperand_ && mayEditInPlace(*firstOperand_, expectedSize_)) {
        result_ = Ptr<Set>(&writable(*firstOperand_));
        scratch_.clear();
        target_ = &scratch_;
        return;
    }
    result_ = makePtr<Set>(ModifyFlag::reuseOnWrite);
    if (expectedSize_ > inlineSetCapacity) {
        result_->values().reserve(expectedSize_);
    }
    target_ = &result_->values();
}

template <typename Set>
void LazySmallVector<Set>::copyBack() {
    result_->clear();
    result_->values().reserve(expectedSize_);
    for (auto const & value : scratch_) {
        result_->insert(value);
    }
}

template class LazySmallVector<U64SmallVector>;
template class LazySmallVector<U64UnsortedSmallVector>;
template class LazySmallVector<CommunitySmallVector>;

PtrConst<CommunitySmallVector> LazyCommunitySmallVectorInsertingLBW::get() {
    insertLinkBandwidth();
    PtrConst<CommunitySmallVector> newVector = values_.get();
    QCF_ASSERT(nullptr != newVector && "We must have at least inserted the LBW");
    writable(*newVector).lbwValueIs(linkBandwidth_);
    return newVector;
}

} // namespace Qcf::Eval
