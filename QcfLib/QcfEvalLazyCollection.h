#pragma once

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEvalCollections.h"

namespace Qcf::Eval {

/// The result of a set operation, made when its first value arrives. Where the first operand may be
/// overwritten the values gather in the scratch buffer (the operand is still being read) and move
/// into it at the end; else a new `reuseOnWrite` set takes them.
template <typename Set>
class LazySmallVector {
public:
    using Value = typename Set::Value;
    using value_type = Value; // for std::back_inserter
    using Buffer = typename Set::Buffer;

    LazySmallVector(PtrConst<Set> const & firstOperand, Buffer & scratch, std::size_t expectedSize)
        : firstOperand_(firstOperand), scratch_(scratch), expectedSize_(expectedSize) {}

    void push_back(Value const & value) {
        if (target_ == nullptr) {
            chooseTarget();
        }
        target_->push_back(value);
    }

    /// The finished set; null when nothing was pushed. To be called once.
    PtrConst<Set> get() {
        if (target_ == &scratch_) {
            copyBack();
        }
        return std::move(result_);
    }

private:
    // The bound is what the buffer holds in place, however far its users have grown it: what
    // becomes of one route must not depend on those before it.
    bool reuses() const {
        return firstOperand_ && firstOperand_->modifyFlag() == ModifyFlag::reuseOnWrite &&
               expectedSize_ <= inlineSetCapacity;
    }

    void chooseTarget() {
        if (reuses()) {
            result_ = constCast(firstOperand_);
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

    void copyBack() {
        result_->clear();
        result_->values().reserve(expectedSize_);
        for (auto const & value : scratch_) {
            result_->insert(value);
        }
    }

    PtrConst<Set> const & firstOperand_;
    Buffer & scratch_;
    std::size_t expectedSize_;
    Ptr<Set> result_;
    Buffer * target_ = nullptr;
};

/// The union of extended communities with one link-bandwidth community: every other one is dropped,
/// and the new one takes the place of the first value whose type and subtype are 0x4004 or above.
class LazyCommunitySmallVectorInsertingLBW {
public:
    using value_type = Acl::CommunityValue;

    LazyCommunitySmallVectorInsertingLBW(PtrConst<CommunitySmallVector> const & firstOperand,
                                         CommunityBuffer & scratch, std::size_t expectedSize,
                                         Acl::CommunityValue const & linkBandwidth)
        : values_(firstOperand, scratch, expectedSize), linkBandwidth_(linkBandwidth) {}

    void push_back(Acl::CommunityValue const & value) {
        U16 const type = value.extendedCommunityTypeAndSubType();
        if (type >= Acl::CommunityValue::linkBandwidthTypeAndSubType) {
            insertLinkBandwidth();
        }
        if (type != Acl::CommunityValue::linkBandwidthTypeAndSubType) {
            values_.push_back(value);
        }
    }

    PtrConst<CommunitySmallVector> get() {
        insertLinkBandwidth();
        auto newVector = constCast(values_.get());
        QCF_ASSERT(nullptr != newVector && "We must have at least inserted the LBW");
        newVector->lbwValueIs(linkBandwidth_);
        return newVector;
    }

private:
    void insertLinkBandwidth() {
        if (!inserted_) {
            values_.push_back(linkBandwidth_);
            inserted_ = true;
        }
    }

    LazySmallVector<CommunitySmallVector> values_;
    Acl::CommunityValue linkBandwidth_;
    bool inserted_ = false;
};

} // namespace Qcf::Eval
