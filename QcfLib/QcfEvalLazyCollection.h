#pragma once

#include "QcfLib/QcfEvalCollections.h"

/// Results of set operations that are made only when there is something in them.
///
///     LazySmallVector<U64SmallVector> result(a, scratch, a->count());
///     std::set_difference(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
///     PtrConst<U64SmallVector> difference = result.get(); // null when it is empty
///
/// Both belong to one operation on one thread.
namespace Qcf::Eval {

/// The result of a set operation, made when its first value arrives. Where the first operand is
/// `reuseOnWrite` and at most `inlineSetCapacity` values are expected, it is overwritten: the
/// values gather in the scratch buffer (the operand is still being read) and move into it at the
/// end. Else a new `reuseOnWrite` set takes them.
///
/// `firstOperand` and `scratch` must outlive the object; the former may be null.
/// Until `get` only the scratch buffer or a new set is written, never the operand.
template <typename Set>
class LazySmallVector {
public:
    using Value = typename Set::Value;
    using value_type = Value; // for std::back_inserter
    using Buffer = typename Set::Buffer;

    /// Nothing is made or written yet.
    LazySmallVector(PtrConst<Set> const & firstOperand, Buffer & scratch, std::size_t expectedSize)
        : firstOperand_(firstOperand), scratch_(scratch), expectedSize_(expectedSize) {}

    /// In the order that the set is to have: nothing is sorted afterwards.
    void push_back(Value const & value) {
        if (target_ == nullptr) {
            chooseTarget();
        }
        target_->push_back(value);
    }

    /// The finished set; null when nothing was pushed. To be called once: it hands the set over.
    PtrConst<Set> get() {
        if (target_ == &scratch_) {
            copyBack();
        }
        return std::move(result_);
    }

private:
    /// Where the values gather, decided by the first of them: an empty result costs nothing.
    void chooseTarget();
    /// Moves what gathered in the scratch buffer into the first operand.
    void copyBack();

    // Borrowed for the operation; nothing is counted until there is a result.
    PtrConst<Set> const & firstOperand_;
    Buffer & scratch_;
    /// The most values that can come; it decides whether the operand has room for them.
    std::size_t expectedSize_;
    /// Null until a value came.
    Ptr<Set> result_;
    /// The scratch buffer or the storage of the result; null until a value came.
    Buffer * target_ = nullptr;
};

// There are no other sets: the bodies stay in one source.
extern template class LazySmallVector<U64SmallVector>;
extern template class LazySmallVector<U64UnsortedSmallVector>;
extern template class LazySmallVector<CommunitySmallVector>;

/// The union of extended communities with one link-bandwidth community: every other one is dropped,
/// and the new one takes the place of the first value whose type and subtype are 0x4004 or above.
class LazyCommunitySmallVectorInsertingLBW {
public:
    using value_type = Acl::CommunityValue;

    LazyCommunitySmallVectorInsertingLBW(PtrConst<CommunitySmallVector> const & firstOperand,
                                         CommunityBuffer & scratch, std::size_t expectedSize,
                                         Acl::CommunityValue const & linkBandwidth)
        : values_(firstOperand, scratch, expectedSize), linkBandwidth_(linkBandwidth) {}

    /// Ascending, as the values of both operands come.
    void push_back(Acl::CommunityValue const & value) {
        U16 const type = value.extendedCommunityTypeAndSubType();
        if (type >= Acl::CommunityValue::linkBandwidthTypeAndSubType) {
            insertLinkBandwidth();
        }
        if (type != Acl::CommunityValue::linkBandwidthTypeAndSubType) {
            values_.push_back(value);
        }
    }

    /// The finished set, which holds the link bandwidth at least. To be called once.
    /// Its `lbwValue` is the new one.
    PtrConst<CommunitySmallVector> get();

private:
    /// Once, before the first value that does not stand below it, or at the end.
    void insertLinkBandwidth() {
        if (!inserted_) {
            values_.push_back(linkBandwidth_);
            inserted_ = true;
        }
    }

    // The union itself decides where values gather; here only what they are.
    LazySmallVector<CommunitySmallVector> values_;
    Acl::CommunityValue linkBandwidth_;
    /// Whether the new community stands among the values already.
    bool inserted_ = false;
};

} // namespace Qcf::Eval
