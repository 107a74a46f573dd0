#include "QcfLib/QcfEvalLazyCollection.h"

#include "QcfLib/Sets/SetEdits.h"

/// Where the result of a set operation is gathered: the rule is that of SetEdits.h, and is applied
/// when the first value comes. An operation without a result makes no set.
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
    // A new set is this evaluation's own, so that the next operator may overwrite it.
    result_ = makePtr<Set>(ModifyFlag::reuseOnWrite);
    if (expectedSize_ > inlineSetCapacity) {
        // Room once for all, where the values inside the set do not suffice.
        result_->values().reserve(expectedSize_);
    }
    target_ = &result_->values();
}

template <typename Set>
void LazySmallVector<Set>::copyBack() {
    // By now the first operand was read to its end: it may be overwritten.
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
    // What went through a buffer did not note it.
    writable(*newVector).lbwValueIs(linkBandwidth_);
    return newVector;
}

} // namespace Qcf::Eval
