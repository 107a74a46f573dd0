#pragma once

#include "QcfLib/QcfEvalContext.h"
#include "QcfLib/QcfEvalLazyCollection.h"
#include "QcfLib/Sets/SetAlgebra.h"

#include <iterator>

/// The owner of the engine's edits: what of a set may be overwritten, what two attributes share,
/// what stays lent and what becomes empty is decided here and nowhere else. The walk and the plans
/// both come here, so that they cannot disagree. Edits by an agent's lists honour the same flag,
/// see EvalContextBase.h.
///
/// A set that others may see is `copyOnWrite`: inputs as they came, and constants. Overwritten are
/// `reuseOnWrite` sets alone, which are results of this evaluation and the copies of inputs that
/// operators change; and of these only small ones, whatever the storage has grown to: what becomes
/// of one route must not depend on those before it.
///
/// What an edit gives is borrowed or new. Borrowed are operands and what stands in the context:
/// they live until the context is reset. New sets are counted and stand in `fresh` of the caller,
/// which decides where they go. The work space is the context's scratch buffer of the set's kind,
/// so that nothing is allocated once it has grown.
namespace Qcf::Eval {

/// The set for writing. Whoever writes has made sure that it may be; an agent's list operations are
/// handed it with its flag. Nobody else casts a set's constness away. Sets are made mutable and
/// handed around as constants, so that the cast is sound.
template <typename Set>
Set & writable(Set const & set) {
    return const_cast<Set &>(set);
}

/// Whether a set, which is not empty, is itself overwritten by an edit whose result has at most so
/// many values. The bound is the room that every set has in itself: what is edited in place
/// allocates nothing.
template <typename Set>
bool mayEditInPlace(Set const & set, std::size_t expectedSize) {
    return set.modifyFlag() == ModifyFlag::reuseOnWrite && expectedSize <= inlineSetCapacity;
}

/// So few values are put into, or taken out of, a set where they stand; more are merged through the
/// scratch buffer. Each costs a search and moving what stands behind it.
inline constexpr std::size_t fewValues = 8;

/// Values that are taken out of a set, and others that are put in after that; both ascending. A
/// value in both is in the result. They are views and must not be of the set that is edited.
template <typename Value>
struct SetEdit {
    std::span<Value const> removed;
    std::span<Value const> added;
    /// The values to add are a set of their own, which is shared where it is the result.
    bool addsWholeSet = false;
};

/// Puts in those that are not there. The storage has room for what `mayEditInPlace` lets through.
/// The values stay ascending and without duplicates.
template <typename Value>
void insertInPlace(auto & values, std::span<Value const> few) {
    for (Value const & value : few) {
        // As values move with each edit the place is looked for anew.
        std::size_t const at =
            countBelow(std::span<Value const>(values.data(), values.size()), value);
        if (at == values.size() || !(values[at] == value)) {
            values.insert(values.nth(at), value);
        }
    }
}

/// Takes out those that are there. The storage stays as large as it is.
template <typename Value>
void eraseInPlace(auto & values, std::span<Value const> few) {
    for (Value const & value : few) {
        std::size_t const at =
            countBelow(std::span<Value const>(values.data(), values.size()), value);
        if (at != values.size() && values[at] == value) {
            values.erase(values.nth(at));
        }
    }
}

/// Edits the set where it stands. A loan that nothing is taken from goes on. A set that only lends
/// an agent's values takes a copy of them before it changes (`values()`), so that what is no change
/// must be seen before. After a change the link bandwidth follows the new values.
template <typename Set>
void editInPlace(Set & set, SetEdit<typename Set::Value> const & edit) {
    // Scanned and not searched: what is edited in place is small.
    auto const isHeld = [&](auto const & value) { return scanned(set.view(), value); };
    if (set.isLent() && edit.added.empty() &&
        std::none_of(edit.removed.begin(), edit.removed.end(), isHeld)) {
        return;
    }
    auto & values = set.values();
    std::size_t const before = values.size();
    eraseInPlace(values, edit.removed);
    // Out before in: a value that is in both lists stays.
    std::size_t const left = values.size();
    insertInPlace(values, edit.added);
    if (left != before || values.size() != left) {
        set.noteOverwritten();
    }
}

/// Edits the set, if that is how its result comes about; else says no and leaves it alone. A result
/// that is empty is null, and one that is the added set itself is that set.
///
/// That is what the walk would leave, operator by operator: an attribute that shares a literal's
/// set, or that is null, must come out the same by whichever way it was reached.
template <typename Set>
bool tryEditInPlace(Set const * set, SetEdit<typename Set::Value> const & edit) {
    // The size is what it would be if none of the values were there: a bound that needs no search.
    if (isEmptySet(set) || !mayEditInPlace(*set, set->count() + edit.added.size())) {
        return false;
    }
    // Both results are no edit of this set, so that it must not be touched.
    bool const vanishes = edit.added.empty() && areAllIn(set->view(), edit.removed);
    bool const isShared =
        edit.addsWholeSet && set->count() < edit.added.size() && areAllIn(set->view(), edit.added);
    if (vanishes || isShared) {
        return false;
    }
    editInPlace(writable(*set), edit);
    return true;
}

// Union, difference and intersection. What they give is one of the operands, uncounted, or null for
// the empty set, or a set that had to be made, which is put into `fresh`.

/// The finished set of a builder whose first operand is `a`. A builder that overwrote its first
/// operand gives that one back, which is no new set.
template <typename Set, typename Builder>
Set const * resultOf(Builder & builder, Set const * a, PtrConst<Set> & fresh) {
    PtrConst<Set> result = builder.get();
    if (result.get() == a) {
        return a;
    }
    fresh = std::move(result);
    return fresh.get();
}

/// The union of two sets, neither null, by a builder that is ready for it. The builder is told
/// beforehand how many values to expect, so that it grows once.
template <typename Set, typename Builder>
Set const * unionBy(Builder builder, Set const * a, Set const * b, PtrConst<Set> & fresh) {
    std::set_union(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(builder));
    return resultOf(builder, a, fresh);
}

/// Whether `b` is small enough to edit `a` by. A set cannot be edited by itself. Its own values
/// would move while they are read.
template <typename Set>
bool areFew(Set const & a, Set const & b) {
    return &a != &b && b.count() <= fewValues;
}

/// The union. An operand that holds all of the other is the answer itself. So adding what is there
/// already makes no set and writes none. Where both hold all of the other, `a` is the answer.
template <typename Set>
Set const * setAdd(Set const * a, Set const * b, typename Set::Buffer & scratch,
                   PtrConst<Set> & fresh) {
    // The empty set has no set to edit: the answer is the other operand, shared.
    if (isEmptySet(a)) {
        return b;
    }
    if (isEmptySet(b) ||
        (areFew(*a, *b) &&
         tryEditInPlace(a, {.removed = {}, .added = b->view(), .addsWholeSet = true})) ||
        setIsSubset(b, a)) {
        return a;
    }
    // The answer is then the right operand's own set, which the caller must not overwrite.
    if (setIsSubset(a, b)) {
        return b;
    }
    BorrowedPtr<Set const> const first(a);
    return unionBy(LazySmallVector<Set>(first, scratch, a->count() + b->count()), a, b, fresh);
}

/// The union of extended communities in which the link bandwidth of `b` takes the place of every
/// other one.
///
/// So a set never tells two bandwidths. To be called when `b` has one; for others it is a plain
/// union.
inline CommunitySmallVector const * setAddLinkBandwidth(CommunitySmallVector const * a,
                                                        CommunitySmallVector const * b,
                                                        CommunityBuffer & scratch,
                                                        PtrConst<CommunitySmallVector> & fresh) {
    if (isEmptySet(a) || isEmptySet(b)) {
        return isEmptySet(a) ? b : a;
    }
    BorrowedPtr<CommunitySmallVector const> const first(a);
    return unionBy(LazyCommunitySmallVectorInsertingLBW(first, scratch, a->count() + b->count(),
                                                        b->lbwValue()),
                   a, b, fresh);
}

/// `a` without the far more values of `b`, each of which is searched for. The result comes out
/// ascending, as `a` is walked in its order.
template <typename Set, typename Output>
void subtractMany(Set const & a, Set const & b, Output & result) {
    auto const removed = b.view();
    auto at = removed.begin();
    for (auto const & value : a.view()) {
        at = gallop(at, removed.end(), value);
        if (at == removed.end() || !(*at == value)) {
            result.push_back(value);
        }
    }
}

/// `a` without the values of `b`. It is null when nothing is left, and `a` itself, untouched, when
/// nothing is taken out.
template <typename Set>
Set const * setRemove(Set const * a, Set const * b, typename Set::Buffer & scratch,
                      PtrConst<Set> & fresh) {
    if (isEmptySet(a)) {
        return nullptr;
    }
    if (isEmptySet(b) ||
        (areFew(*a, *b) && tryEditInPlace(a, {.removed = b->view(), .added = {}})) ||
        !setHasAny(a, b)) {
        return a;
    }
    BorrowedPtr<Set const> const first(a);
    LazySmallVector<Set> result(first, scratch, a->count());
    // A walk would read all of a large constant set for a route's few values.
    if (isSparseIn(a->view(), b->view())) {
        subtractMany(*a, *b, result);
    } else {
        std::set_difference(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
    }
    return resultOf(result, a, fresh);
}

/// The values of `a` that are in `b`. At most as many as the smaller set has; null when there are
/// none.
template <typename Set>
Set const * setRetain(Set const * a, Set const * b, typename Set::Buffer & scratch,
                      PtrConst<Set> & fresh) {
    // Asked first, so that a result without values makes no set.
    if (!setHasAny(a, b)) {
        return nullptr;
    }
    BorrowedPtr<Set const> const first(a);
    LazySmallVector<Set> result(first, scratch, std::min(a->count(), b->count()));
    std::set_intersection(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
    return resultOf(result, a, fresh);
}

// How a set becomes an attribute's value.

/// Stores a set that an operand lent. It is not counted, since it lives until the context's next
/// reset; but one that another attribute's value alone keeps alive may be replaced before that. So
/// such a set is counted.
template <typename Target, typename Set>
void storeLent(Target const & target, Set const * set, Ptr<EvalContextBase> const & context) {
    // Asked of all set attributes of the kind, the target included.
    if (evalContext(context).attributeContentConst().owns(set)) {
        target.setVal(PtrConst<Set>(set), context);
    } else {
        target.lentValIs(set, context);
    }
}

/// Stores the right operand's own set: a lent one, or one that was built for this call and stands
/// in `fresh`. Whoever lent it still has it, so that it must not be written in place any more: a
/// later change of one attribute would show in the other. From then on both attributes share it,
/// and the first edit of either makes a set of its own.
template <typename Target, typename Set>
void storeRightOperand(Target const & target, Set const * set, PtrConst<Set> & fresh,
                       Ptr<EvalContextBase> const & context) {
    if (fresh) {
        target.setVal(std::move(fresh), context);
        return;
    }
    // Constants and inputs have the flag already, and may be shared by threads: they are not
    // written.
    if (set != nullptr && set->modifyFlag() == ModifyFlag::reuseOnWrite) {
        writable(*set).modifyFlagIs(ModifyFlag::copyOnWrite);
    }
    storeLent(target, set, context);
}

} // namespace Qcf::Eval
