#include "QcfLib/QcfLibHelpers.h"

#include "Platform/Framework/Assert.h"

/// Membership in values and ranges, for agents' built-in functions as for the engine's own. Bounds
/// come as two lists of equal length, the first with the first.
namespace Qcf::Eval {

template <typename Value>
bool containedInSingletonsOrRanges(Value value, U64SmallVector const * singletons,
                                   U64UnsortedSmallVector const * lowerBoundsOfRanges,
                                   U64UnsortedSmallVector const * upperBoundsOfRanges) {
    // The set before the ranges: it is searched, they are walked.
    if (singletons != nullptr && singletons->contains(value)) {
        return true;
    }
    if (lowerBoundsOfRanges == nullptr || upperBoundsOfRanges == nullptr) {
        QCF_ASSERT(nullptr == lowerBoundsOfRanges && nullptr == upperBoundsOfRanges &&
                   "If one range bound is null then both must be null");
        return false;
    }
    QCF_ASSERT(lowerBoundsOfRanges->count() > 0 &&
               lowerBoundsOfRanges->count() == upperBoundsOfRanges->count() &&
               "Both lists MUST be of an equal non-zero length");
    auto lowerBoundIter = lowerBoundsOfRanges->begin();
    auto upperBoundIter = upperBoundsOfRanges->begin();
    auto const lowerBoundEnd = lowerBoundsOfRanges->end();
    auto const upperBoundEnd = upperBoundsOfRanges->end();
    for (; lowerBoundIter != lowerBoundEnd; ++lowerBoundIter, ++upperBoundIter) {
        if (*lowerBoundIter <= value && value <= *upperBoundIter) {
            return true;
        }
    }
    QCF_ASSERT(lowerBoundIter == lowerBoundEnd && upperBoundIter == upperBoundEnd);
    return false;
}

// For attributes, which are 64 bits wide, and for AS numbers.
template bool containedInSingletonsOrRanges(U64, U64SmallVector const *,
                                            U64UnsortedSmallVector const *,
                                            U64UnsortedSmallVector const *);
template bool containedInSingletonsOrRanges(U32, U64SmallVector const *,
                                            U64UnsortedSmallVector const *,
                                            U64UnsortedSmallVector const *);

} // namespace Qcf::Eval
