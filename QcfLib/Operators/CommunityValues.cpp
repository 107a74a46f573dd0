#include "QcfLib/Nodes/NodeTexts.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/QcfEvalLazyCollection.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <sstream>

/// Communities computed while a function runs: link bandwidth and masked merges.
namespace Qcf::Eval {

U32 BandwidthToCommunityValue::floatToBin(F32 value) { return std::bit_cast<U32>(value); }

Acl::CommunityValue
BandwidthToCommunityValue::getVal(Ptr<EvalContextBase const> const & context) const {
    // Policies tell bits a second, the community bytes a second.
    constexpr F32 bytesPerBit = 0.125F;
    U32 const bits = floatToBin(bandwidthVal_->getVal(context) * bytesPerBit);
    // A shift by the whole width leaves nothing.
    if (offset_ >= 128) {
        return {};
    }
    U128 const shifted = U128(bits) << offset_;
    auto const wordAt = [&](unsigned shift) {
        return static_cast<U32>((shifted >> shift) & 0xFFFFFFFFU);
    };
    return Acl::CommunityValue::fromWords(wordAt(64), wordAt(32), wordAt(0));
}

// The doubled offset and its raw character are the form that readers of these texts expect.
String BandwidthToCommunityValue::toStrep() const {
    auto const offset = static_cast<char>(offset_);
    return referenceText(*bandwidthVal_) + " with  bandwidth val " + bandwidthVal_->toStrep() +
           offset + " with offset " + offset;
}

// Where the mask has a bit the dynamic value's counts, elsewhere the other's.
Acl::CommunityValue
CommunityValueDynamic::getVal(Ptr<EvalContextBase const> const & context) const {
    assertWalkable(*this);
    auto const base = val_->getVal(context);
    auto const dynamic = dynamicVal_->getVal(context);
    // By words, since the three have no common integer type.
    auto const merged = [&](U32 i) {
        return ((dynamic.word(i) ^ base.word(i)) & dynamicValMask_.word(i)) ^ base.word(i);
    };
    return Acl::CommunityValue::fromWords(merged(0), merged(1), merged(2));
}

String CommunityValueDynamic::toStrep() const {
    assertWalkable(*this);
    std::ostringstream out;
    out << referenceText(*val_) << " with dynamic val " << dynamicVal_->toStrep() << dynamicValMask_
        << " with dynamic mask " << dynamicValMask_;
    return out.str();
}

Acl::CommunityValue
ExtCommSetToLinkBandwidthExtCommValue::getVal(Ptr<EvalContextBase const> const & context) const {
    PtrConst<CommunitySmallVector> fresh;
    auto const * const set = extCommSet_->lendVal(context, fresh);
    return set == nullptr ? Acl::CommunityValue() : set->lbwValue();
}

} // namespace Qcf::Eval
