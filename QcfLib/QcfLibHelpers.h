#pragma once

#include "Platform/Framework/Assert.h"
#include "QcfLib/QcfEval.h"

#include <limits>
#include <stdexcept>

/// What operators of several families share: reading arguments and ranges, arithmetic within a
/// range, the sanity of names. Everything works on what the caller holds, keeps nothing, and can be
/// called from any thread; what asserts, ends the process.
///
///     U32 const slot = getIntFromArgVector<U32>(context, 0); // of the running function
///     addWithinRange(*lhs, *rhs, context);                   // the whole of `lhs += rhs`
namespace Qcf::Eval {

/// A tree that lets `return` stand in an operand's place is malformed.
/// An `exit` passes: it unwinds everything anyway.
inline void assertNoReturn(EvalResult const & result) {
    QCF_ASSERT_TEXT(result.termination() != TerminationFlag::returnToCaller, "false");
}

/// Whether a value is one of the singletons or lies in one of the closed ranges that the two lists
/// bound in parallel. Null means none. Asserts that the bounds are both null, or of equal length
/// and not empty.
/// Singletons are looked up first; ranges are tried one by one, in their order, ends included.
/// The lists stay where they are and nothing is allocated.
template <typename Value>
bool containedInSingletonsOrRanges(Value value, U64SmallVector const * singletons,
                                   U64UnsortedSmallVector const * lowerBoundsOfRanges,
                                   U64UnsortedSmallVector const * upperBoundsOfRanges);

// The two widths in use; the body stays in one source.
extern template bool containedInSingletonsOrRanges(U64, U64SmallVector const *,
                                                   U64UnsortedSmallVector const *,
                                                   U64UnsortedSmallVector const *);
extern template bool containedInSingletonsOrRanges(U32, U64SmallVector const *,
                                                   U64UnsortedSmallVector const *,
                                                   U64UnsortedSmallVector const *);

/// Singletons and ranges as an operator's nodes give them, read once; any node may be null. Lives
/// within one evaluation: what it holds was lent.
///
///     LentRanges const ranges(singletons, lowerBounds, upperBounds, context);
///     return EvalResult::fromBool(ranges.contain(value));
///
class LentRanges {
public:
    /// Each node is asked once, in this order.
    LentRanges(IntSetImmediate const * singletons, IntListImmediate const * lowerBounds,
               IntListImmediate const * upperBounds, Ptr<EvalContextBase const> const & context)
        : singletons_(singletons ? singletons->lendVal(context, freshSingletons_) : nullptr),
          lowerBounds_(lowerBounds ? lowerBounds->lendVal(context, freshLower_) : nullptr),
          upperBounds_(upperBounds ? upperBounds->lendVal(context, freshUpper_) : nullptr) {}

    /// May be asked for any number of values.
    template <typename Value>
    bool contain(Value value) const {
        return containedInSingletonsOrRanges(value, singletons_, lowerBounds_, upperBounds_);
    }

private:
    // Hold what had to be built for this evaluation; null where constants were lent.
    PtrConst<U64SmallVector> freshSingletons_;
    PtrConst<U64UnsortedSmallVector> freshLower_;
    PtrConst<U64UnsortedSmallVector> freshUpper_;
    // Null where the node is, which means none.
    U64SmallVector const * singletons_;
    U64UnsortedSmallVector const * lowerBounds_;
    U64UnsortedSmallVector const * upperBounds_;
};

/// Integer argument `index` of the running function as an unsigned IntType. Asserts that integer
/// arguments were passed and that the value fits; throws std::out_of_range on an index that no
/// argument has.
/// An index that is too large comes from a malformed function, and the exception passes through the
/// evaluation to the agent.
/// `index` counts integer arguments alone, from 0, in the order in which the caller pushed them.
template <typename IntType>
IntType getIntFromArgVector(Ptr<EvalContextBase const> const & context, std::size_t index) {
    auto const * const argValues = evalContext(context).intTypeArgValues();
    QCF_ASSERT(nullptr != argValues);
    if (index >= argValues->size()) {
        throw std::out_of_range("vector::at out of range");
    }
    S128 const & argVal = (*argValues)[index];
    QCF_ASSERT_TEXT(argVal >= 0, "argVal >= std::numeric_limits< IntType >::min()");
    QCF_ASSERT_TEXT(argVal <= std::numeric_limits<IntType>::max(),
                    "argVal <= std::numeric_limits< IntType >::max()");
    return static_cast<IntType>(argVal);
}

/// What an attribute may hold: the smallest value is asked for first, then the largest. Only
/// assignment asks for the default value, too.
/// Its default value is of no meaning.
inline IntRange boundsOf(IntModifiable const & target) {
    U64 const min = target.min();
    U64 const max = target.max();
    return {min, max, min};
}
/// Asks three times; for assignments alone.
inline IntRange rangeOf(IntModifiable const & target) {
    IntRange range = boundsOf(target);
    range.defaultValue = target.defaultValue();
    return range;
}

// What the arithmetic operators write for a current value and an operand. They never fail: a result
// outside the range becomes its nearer end, and one that does not fit 64 bits lies outside.
/// Adding a negative operand subtracts its magnitude, which cannot overflow on the way.
inline U64 sumWithin(IntRange const & range, U64 current, SignedMagnitude operand) {
    return operand.strictlyNegative() ? range.difference(current, operand.magnitude)
                                      : range.sum(current, operand.magnitude);
}
/// Taking away a negative operand adds its magnitude.
inline U64 differenceWithin(IntRange const & range, U64 current, SignedMagnitude operand) {
    return operand.strictlyNegative() ? range.sum(current, operand.magnitude)
                                      : range.difference(current, operand.magnitude);
}
/// A negative product is the smallest value.
/// A factor of 0 gives 0 whatever the sign, forced into the range like any other product.
U64 productWithin(IntRange const & range, U64 current, SignedMagnitude operand);
/// The default value may be assigned even where it lies outside the range.
/// A negative one is the smallest value, as for differences.
inline U64 valueWithin(IntRange const & range, SignedMagnitude operand) {
    if (operand.strictlyNegative()) {
        return range.min;
    }
    bool const isDefault = operand.magnitude == range.defaultValue;
    return isDefault ? range.defaultValue : range.clamp(operand.magnitude);
}

// The operators' whole work: read, compute, write once. An agent sees the reads in the order in
// which they stand: bounds, current value, operand, and then the write.
/// The current value is not read: assigning is no reason to ask the agent.
void assignWithinRange(IntModifiable const & target, Int const & operand,
                       Ptr<EvalContextBase> const & context);
/// Reads the current value as the function left it, not as the route came.
void addWithinRange(IntModifiable const & target, Int const & operand,
                    Ptr<EvalContextBase> const & context);
/// All four assert nothing of the result: it is forced into the range before it is written.
void subtractWithinRange(IntModifiable const & target, Int const & operand,
                         Ptr<EvalContextBase> const & context);
void multiplyWithinRange(IntModifiable const & target, Int const & operand,
                         Ptr<EvalContextBase> const & context);

// The sanity of an operator that names a list: its index must be the slot that the metadata gives
// the list's name, and not 0. `className` is what the trace calls the operator.
// False, and traced at level 2 with both numbers, where it is not; nobody is stopped by it.
bool verifyCommListSanity(String const & listName, char const * className,
                          FunctionMetadata const & metadata, U16 index);
bool verifyExtCommListSanity(String const & listName, char const * className,
                             FunctionMetadata const & metadata, U16 index);
bool verifyLargeCommListSanity(String const & listName, char const * className,
                               FunctionMetadata const & metadata, U16 index);
bool verifyTagSetSanity(String const & tagSetName, char const * className,
                        FunctionMetadata const & metadata, U16 index);
bool verifyAsPathAccessListSanity(String const & listName, char const * className,
                                  FunctionMetadata const & metadata, U16 index);

} // namespace Qcf::Eval
