#include "QcfLib/QcfEvalCollections.h"

#include "QcfLib/Sets/SetEdits.h"

/// The containers' own members, which agents call: the algebra of SetAlgebra.h and SetEdits.h with
/// counted operands, since an agent cannot promise that its operands outlive the result. The engine
/// itself calls the algebra with borrowed ones.
namespace Qcf::Eval {

namespace {

/// A set operation with counted operands and result. A result that is an operand was not counted by
/// the operation, and is counted here.
template <typename Set, typename Operation>
PtrConst<Set> counted(Operation operation, PtrConst<Set> const & a, PtrConst<Set> const & b,
                      typename Set::Buffer & scratch) {
    PtrConst<Set> fresh;
    Set const * const result = operation(a.get(), b.get(), scratch, fresh);
    return fresh ? std::move(fresh) : PtrConst<Set>(result);
}

template <typename Set>
void sortWithoutDuplicates(Set & set) {
    auto & values = set.values();
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
}

} // namespace

// Two names for each way to make an empty container: creators are members, factories are functions.
Ptr<U64SmallVector> U64SmallVector::U64SmallVectorIs(ModifyFlag modifyFlag) {
    return makePtr<U64SmallVector>(modifyFlag);
}
Ptr<U64UnsortedSmallVector>
U64UnsortedSmallVector::U64UnsortedSmallVectorIs(ModifyFlag modifyFlag) {
    return makePtr<U64UnsortedSmallVector>(modifyFlag);
}
Ptr<CommunitySmallVector> CommunitySmallVector::CommunitySmallVectorIs(ModifyFlag modifyFlag) {
    return makePtr<CommunitySmallVector>(modifyFlag);
}
Ptr<U64SmallVector> u64SmallVectorFactory(ModifyFlag modifyFlag) {
    return makePtr<U64SmallVector>(modifyFlag);
}
Ptr<U64UnsortedSmallVector> u64UnsortedSmallVectorFactory(ModifyFlag modifyFlag) {
    return makePtr<U64UnsortedSmallVector>(modifyFlag);
}
Ptr<CommunitySmallVector> communitySmallVectorFactory(ModifyFlag modifyFlag) {
    return makePtr<CommunitySmallVector>(modifyFlag);
}

// From here on one line an operation: the members exist so that agents need not include templates.
void U64SmallVector::normalize() { sortWithoutDuplicates(*this); }
bool U64SmallVector::contains(U64 value) const { return setContains(*this, value); }
bool U64SmallVector::isEqual(U64SmallVector const * a, U64SmallVector const * b) {
    return setsEqual(a, b);
}
bool U64SmallVector::isSubset(U64SmallVector const * a, U64SmallVector const * b) {
    return setIsSubset(a, b);
}
bool U64SmallVector::hasAny(U64SmallVector const * a, U64SmallVector const * b) {
    return setHasAny(a, b);
}
PtrConst<U64SmallVector> U64SmallVector::add(PtrConst<U64SmallVector> const & a,
                                             PtrConst<U64SmallVector> const & b,
                                             U64Buffer & scratch) {
    // The first operand may be overwritten and be the result: the caller's pointer then shows it
    // changed.
    return counted<U64SmallVector>(setAdd<U64SmallVector>, a, b, scratch);
}
PtrConst<U64SmallVector> U64SmallVector::remove(PtrConst<U64SmallVector> const & a,
                                                PtrConst<U64SmallVector> const & b,
                                                U64Buffer & scratch) {
    return counted<U64SmallVector>(setRemove<U64SmallVector>, a, b, scratch);
}
PtrConst<U64SmallVector> U64SmallVector::retain(PtrConst<U64SmallVector> const & a,
                                                PtrConst<U64SmallVector> const & b,
                                                U64Buffer & scratch) {
    return counted<U64SmallVector>(setRetain<U64SmallVector>, a, b, scratch);
}
String U64SmallVector::toStrep() const { return setToStrep(*this); }

// A list is compared in its order, which is the same walk.
bool U64UnsortedSmallVector::isEqual(U64UnsortedSmallVector const * a,
                                     U64UnsortedSmallVector const * b) {
    return setsEqual(a, b);
}
String U64UnsortedSmallVector::toStrep() const { return setToStrep(*this); }

void CommunitySmallVector::normalize() { sortWithoutDuplicates(*this); }
Acl::CommunityValue CommunitySmallVector::lastLinkBandwidth() const {
    // Link-bandwidth communities stand together: the last one is before the first value above them.
    // Type and subtype are the upper 16 bits of a value word, by which values are ordered first.
    constexpr U64 aboveAll = (U64{Acl::CommunityValue::linkBandwidthTypeAndSubType} + 1) << 48;
    auto const values = view();
    auto const above =
        std::lower_bound(values.begin(), values.end(), Acl::CommunityValue(aboveAll, 0));
    bool const any = above != values.begin() && (above - 1)->isLinkBandwidth();
    return any ? *(above - 1) : Acl::CommunityValue();
}
bool CommunitySmallVector::contains(Acl::CommunityValue const & value) const {
    return setContains(*this, value);
}
bool CommunitySmallVector::isEqual(CommunitySmallVector const * a, CommunitySmallVector const * b) {
    return setsEqual(a, b);
}
bool CommunitySmallVector::isSubset(CommunitySmallVector const * a,
                                    CommunitySmallVector const * b) {
    return setIsSubset(a, b);
}
bool CommunitySmallVector::hasAny(CommunitySmallVector const * a, CommunitySmallVector const * b) {
    return setHasAny(a, b);
}
PtrConst<CommunitySmallVector> CommunitySmallVector::add(PtrConst<CommunitySmallVector> const & a,
                                                         PtrConst<CommunitySmallVector> const & b,
                                                         CommunityBuffer & scratch) {
    return counted<CommunitySmallVector>(setAdd<CommunitySmallVector>, a, b, scratch);
}
PtrConst<CommunitySmallVector>
CommunitySmallVector::remove(PtrConst<CommunitySmallVector> const & a,
                             PtrConst<CommunitySmallVector> const & b, CommunityBuffer & scratch) {
    return counted<CommunitySmallVector>(setRemove<CommunitySmallVector>, a, b, scratch);
}
PtrConst<CommunitySmallVector>
CommunitySmallVector::retain(PtrConst<CommunitySmallVector> const & a,
                             PtrConst<CommunitySmallVector> const & b, CommunityBuffer & scratch) {
    return counted<CommunitySmallVector>(setRetain<CommunitySmallVector>, a, b, scratch);
}
String CommunitySmallVector::toStrep() const { return setToStrep(*this); }

} // namespace Qcf::Eval
