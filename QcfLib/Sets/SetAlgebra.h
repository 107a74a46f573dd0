#pragma once

#include "QcfLib/QcfEvalLazyCollection.h"

#include <algorithm>
#include <sstream>

/// The set algebra, once over both element types. Null and empty are the same throughout; the
/// predicates allocate nothing. Private to the set containers and what extends them.
namespace Qcf::Eval {

template <typename Set>
bool isEmptySet(Set const * set) {
    return set == nullptr || set->empty();
}

template <typename Set>
bool setsEqual(Set const * a, Set const * b) {
    if (isEmptySet(a) || isEmptySet(b)) {
        return isEmptySet(a) && isEmptySet(b);
    }
    auto const inA = a->view();
    auto const inB = b->view();
    return inA.size() == inB.size() && std::equal(inA.begin(), inA.end(), inB.begin());
}

/// Up to so many values are looked at one after the other without a branch between them, which
/// costs less than the mispredicted branches of a bisection.
inline constexpr std::size_t smallSet = 24;

template <typename Value>
bool scanned(std::span<Value const> values, Value const & value) {
    bool found = false;
    for (auto const & candidate : values) {
        found |= candidate == value;
    }
    return found;
}

/// How many of the ascending values are below `value`.
template <typename Value>
std::size_t countBelow(std::span<Value const> values, Value const & value) {
    if (values.size() > smallSet) {
        auto const found = std::lower_bound(values.begin(), values.end(), value);
        return static_cast<std::size_t>(found - values.begin());
    }
    std::size_t below = 0;
    for (auto const & candidate : values) {
        below += static_cast<std::size_t>(candidate < value);
    }
    return below;
}

template <typename Set>
bool setContains(Set const & set, typename Set::Value const & value) {
    auto const values = set.view();
    if (set.index() != nullptr) {
        return set.index()->contains(values, value);
    }
    if (values.size() <= smallSet) {
        return scanned(values, value);
    }
    auto const found = std::lower_bound(values.begin(), values.end(), value);
    return found != values.end() && *found == value;
}

/// A walk beats bisection until one set is about this many times the other's size.
inline constexpr std::size_t bisectionRatio = 8;

template <typename Value>
bool isSparseIn(std::span<Value const> few, std::span<Value const> many) {
    return many.size() >= bisectionRatio * few.size();
}

/// The first position at or behind `from` that is not below `value`. Steps double, so that the cost
/// follows the distance and not the size of the set.
template <typename Iterator, typename Value>
Iterator gallop(Iterator from, Iterator end, Value const & value) {
    auto step = std::ptrdiff_t{1};
    while (step < end - from && *(from + step) < value) {
        from += step;
        step *= 2;
    }
    return std::lower_bound(from, from + std::min(end - from, step + 1), value);
}

/// `a` contained in `b`.
template <typename Set>
bool setIsSubset(Set const * a, Set const * b) {
    if (isEmptySet(a)) {
        return true;
    }
    if (isEmptySet(b)) {
        return false;
    }
    auto const inA = a->view();
    auto const inB = b->view();
    if (inA.size() > inB.size() || inA.front() < inB.front() || inB.back() < inA.back()) {
        return false;
    }
    auto at = inB.begin();
    bool const sparse = isSparseIn(inA, inB);
    for (auto const & value : inA) {
        if (sparse) {
            at = gallop(at, inB.end(), value);
        } else {
            while (at != inB.end() && *at < value) {
                ++at;
            }
        }
        if (at == inB.end() || !(*at == value)) {
            return false;
        }
    }
    return true;
}

/// Whether one of the few values is among those that the index was made of.
template <typename Value>
bool anyIndexed(std::span<Value const> few, std::span<Value const> values,
                MembershipIndex const & index) {
    return std::any_of(few.begin(), few.end(),
                       [&](Value const & value) { return index.contains(values, value); });
}

/// Whether one of the few values occurs in the set, each searched for.
template <typename Set>
bool anyFound(std::span<typename Set::Value const> few, Set const & many) {
    auto const values = many.view();
    if (auto const * const index = many.index()) {
        return anyIndexed(few, values, *index);
    }
    auto at = values.begin();
    for (auto const & value : few) {
        at = gallop(at, values.end(), value);
        if (at == values.end()) {
            return false;
        }
        if (*at == value) {
            return true;
        }
    }
    return false;
}

/// `a` and `b` share a value.
template <typename Set>
bool setHasAny(Set const * a, Set const * b) {
    if (isEmptySet(a) || isEmptySet(b)) {
        return false;
    }
    auto const inA = a->view();
    auto const inB = b->view();
    if (auto const * const index = b->index(); index != nullptr && isSparseIn(inA, inB)) {
        return anyIndexed(inA, inB, *index); // does not touch the ends of a set of thousands
    }
    if (inB.back() < inA.front() || inA.back() < inB.front()) {
        return false;
    }
    if (inB.size() == 1) {
        return setContains(*a, inB.front());
    }
    if (isSparseIn(inB, inA)) {
        return anyFound(inB, *a);
    }
    if (isSparseIn(inA, inB)) {
        return anyFound(inA, *b);
    }
    auto atA = inA.begin();
    auto atB = inB.begin();
    while (atA != inA.end() && atB != inB.end()) {
        if (*atB < *atA) {
            ++atB;
        } else if (*atB == *atA) {
            return true;
        } else {
            ++atA;
        }
    }
    return false;
}

/// So few values are put into, or taken out of, a set that may be overwritten where they stand;
/// more are merged through the scratch buffer.
inline constexpr std::size_t fewValues = 8;

template <typename Value>
void insertInPlace(auto & values, std::span<Value const> few) {
    for (Value const & value : few) {
        std::size_t const at =
            countBelow(std::span<Value const>(values.data(), values.size()), value);
        if (at == values.size() || !(values[at] == value)) {
            values.insert(values.nth(at), value);
        }
    }
}

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

template <typename Value>
bool scannedAny(std::span<Value const> values, std::span<Value const> few) {
    return std::any_of(few.begin(), few.end(),
                       [&](Value const & value) { return scanned(values, value); });
}

template <typename Value>
bool scannedAll(std::span<Value const> values, std::span<Value const> few) {
    return std::all_of(values.begin(), values.end(),
                       [&](Value const & value) { return scanned(few, value); });
}

/// Takes few values out of a set and puts others in, where it stands.
template <typename Set>
void editInPlace(Set & set, std::span<typename Set::Value const> removed,
                 std::span<typename Set::Value const> added) {
    if (set.isLent() && added.empty() && !scannedAny(set.view(), removed)) {
        return; // the loan goes on
    }
    auto & values = set.values();
    std::size_t const before = values.size();
    eraseInPlace(values, removed);
    std::size_t const left = values.size();
    insertInPlace(values, added);
    if (left != before || values.size() != left) {
        set.noteOverwritten();
    }
}

/// Whether a set, which is not empty, is itself overwritten by an edit whose result has at most so
/// many values. The bound is what a scratch buffer holds in place.
template <typename Set>
bool mayEditInPlace(Set const & set, std::size_t expectedSize) {
    return set.modifyFlag() == ModifyFlag::reuseOnWrite && expectedSize <= inlineSetCapacity;
}

template <typename Set>
bool areFew(Set const & a, Set const & b) {
    return &a != &b && b.count() <= fewValues;
}

/// Adds to `a` where it stands; false when that is not how the union comes about. Neither is empty.
template <typename Set>
bool addInPlace(Set const & a, Set const & b) {
    if (!areFew(a, b) || !mayEditInPlace(a, a.count() + b.count()) ||
        (a.count() < b.count() && setIsSubset(&a, &b))) {
        return false; // a union that is `b` itself shares it
    }
    editInPlace(const_cast<Set &>(a), {}, b.view());
    return true;
}

/// Takes from `a` where it stands; neither is empty. A set of which nothing is left stays as it is.
template <typename Set>
bool removeInPlace(Set const & a, Set const & b) {
    if (!areFew(a, b) || !mayEditInPlace(a, a.count()) || setIsSubset(&a, &b)) {
        return false;
    }
    editInPlace(const_cast<Set &>(a), b.view(), {});
    return true;
}

// Union, difference and intersection. What they give is one of the operands, uncounted, or null for
// the empty set, or a set that had to be made, which is put into `fresh`.

/// The finished set of a builder whose first operand is `a`.
template <typename Set, typename Builder>
Set const * finished(Builder & builder, Set const * a, PtrConst<Set> & fresh) {
    PtrConst<Set> result = builder.get();
    if (result.get() == a) {
        return a;
    }
    fresh = std::move(result);
    return fresh.get();
}

template <typename Set>
Set const * setAdd(Set const * a, Set const * b, typename Set::Buffer & scratch,
                   PtrConst<Set> & fresh) {
    if (isEmptySet(a)) {
        return b;
    }
    if (isEmptySet(b) || addInPlace(*a, *b) || setIsSubset(b, a)) {
        return a;
    }
    if (setIsSubset(a, b)) {
        return b;
    }
    BorrowedPtr<Set const> const first(a);
    LazySmallVector<Set> result(first, scratch, a->count() + b->count());
    std::set_union(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
    return finished(result, a, fresh);
}

/// `a` without the far more values of `b`, each of which is searched for.
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

template <typename Set>
Set const * setRemove(Set const * a, Set const * b, typename Set::Buffer & scratch,
                      PtrConst<Set> & fresh) {
    if (isEmptySet(a)) {
        return nullptr;
    }
    if (isEmptySet(b) || removeInPlace(*a, *b) || !setHasAny(a, b)) {
        return a;
    }
    BorrowedPtr<Set const> const first(a);
    LazySmallVector<Set> result(first, scratch, a->count());
    if (isSparseIn(a->view(), b->view())) {
        subtractMany(*a, *b, result);
    } else {
        std::set_difference(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
    }
    return finished(result, a, fresh);
}

template <typename Set>
Set const * setRetain(Set const * a, Set const * b, typename Set::Buffer & scratch,
                      PtrConst<Set> & fresh) {
    if (!setHasAny(a, b)) {
        return nullptr;
    }
    BorrowedPtr<Set const> const first(a);
    LazySmallVector<Set> result(first, scratch, std::min(a->count(), b->count()));
    std::set_intersection(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
    return finished(result, a, fresh);
}

/// The same with counted operands and result.
template <typename Set, typename Operation>
PtrConst<Set> counted(Operation operation, PtrConst<Set> const & a, PtrConst<Set> const & b,
                      typename Set::Buffer & scratch) {
    PtrConst<Set> fresh;
    Set const * const result = operation(a.get(), b.get(), scratch, fresh);
    return fresh ? std::move(fresh) : PtrConst<Set>(result);
}

template <typename Set>
String setToStrep(Set const & set) {
    std::ostringstream out;
    char const * separator = "";
    for (auto const & value : set) {
        out << separator << value;
        separator = ",";
    }
    return out.str();
}

} // namespace Qcf::Eval
