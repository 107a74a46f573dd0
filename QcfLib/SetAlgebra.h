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
    return a->count() == b->count() && std::equal(a->begin(), a->end(), b->begin());
}

/// Up to so many values are looked at one after the other without a branch between them, which
/// costs less than the mispredicted branches of a bisection.
inline constexpr std::size_t smallSet = 24;

template <typename Values, typename Value>
bool scanned(Values const & values, Value const & value) {
    bool found = false;
    for (auto const & candidate : values) {
        found |= candidate == value;
    }
    return found;
}

/// How many of the ascending values are below `value`.
template <typename Values, typename Value>
std::size_t countBelow(Values const & values, Value const & value) {
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

template <typename Set, typename Value>
bool setContains(Set const & set, Value const & value) {
    if (set.filter() != nullptr && !set.filter()->mayContain(value)) {
        return false;
    }
    if (set.count() <= smallSet) {
        return scanned(set, value);
    }
    auto const found = std::lower_bound(set.begin(), set.end(), value);
    return found != set.end() && *found == value;
}

/// A walk beats bisection until one set is about this many times the other's size.
inline constexpr std::size_t bisectionRatio = 8;

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
    if (isEmptySet(b) || a->count() > b->count()) {
        return false;
    }
    if (a->front() < b->front() || b->back() < a->back()) {
        return false;
    }
    auto at = b->begin();
    bool const sparse = b->count() / a->count() >= bisectionRatio;
    for (auto const & value : *a) {
        if (sparse) {
            at = gallop(at, b->end(), value);
        } else {
            while (at != b->end() && *at < value) {
                ++at;
            }
        }
        if (at == b->end() || !(*at == value)) {
            return false;
        }
    }
    return true;
}

/// Whether the values of the smaller set occur in the larger, each searched for.
template <typename Set>
bool anyFound(Set const & few, Set const & many) {
    if (many.filter() != nullptr) {
        return std::any_of(few.begin(), few.end(),
                           [&](auto const & value) { return setContains(many, value); });
    }
    auto at = many.begin();
    for (auto const & value : few) {
        at = gallop(at, many.end(), value);
        if (at == many.end()) {
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
    if (b->back() < a->front() || a->back() < b->front()) {
        return false;
    }
    if (b->count() == 1) {
        return setContains(*a, b->front());
    }
    if (a->count() / b->count() >= bisectionRatio) {
        return anyFound(*b, *a);
    }
    if (b->count() / a->count() >= bisectionRatio) {
        return anyFound(*a, *b);
    }
    auto inA = a->begin();
    auto inB = b->begin();
    while (inA != a->end() && inB != b->end()) {
        if (*inB < *inA) {
            ++inB;
        } else if (*inB == *inA) {
            return true;
        } else {
            ++inA;
        }
    }
    return false;
}

/// So few values are put into, or taken out of, a set that may be overwritten where they stand;
/// more are merged through the scratch buffer.
inline constexpr std::size_t fewValues = 8;

template <typename Set>
void insertInPlace(Set & set, Set const & few) {
    auto & values = set.values();
    std::size_t const before = values.size();
    for (auto const & value : few) {
        std::size_t const at = countBelow(values, value);
        if (at == values.size() || !(values[at] == value)) {
            values.insert(values.begin() + at, value);
        }
    }
    if (values.size() != before) {
        set.noteOverwritten();
    }
}

template <typename Set>
void eraseInPlace(Set & set, Set const & few) {
    auto & values = set.values();
    std::size_t const before = values.size();
    for (auto const & value : few) {
        std::size_t const at = countBelow(values, value);
        if (at != values.size() && values[at] == value) {
            values.erase(values.begin() + at);
        }
    }
    if (values.size() != before) {
        set.noteOverwritten();
    }
}

/// Whether `a` itself becomes the union with, or the difference from, the few values of `b`.
template <typename Set>
bool mayEditInPlace(Set const * a, Set const * b, std::size_t expectedSize,
                    typename Set::Buffer const & scratch) {
    return !isEmptySet(a) && !isEmptySet(b) && a != b && b->count() <= fewValues &&
           a->modifyFlag() == ModifyFlag::reuseOnWrite && expectedSize <= scratch.capacity();
}

/// Adds to `a` where it stands; false when that is not how the union comes about.
template <typename Set>
bool addInPlace(Set const * a, Set const * b, typename Set::Buffer const & scratch) {
    std::size_t const expectedSize = (isEmptySet(a) ? 0 : a->count()) + (b ? b->count() : 0);
    if (!mayEditInPlace(a, b, expectedSize, scratch) ||
        (a->count() < b->count() && setIsSubset(a, b))) {
        return false; // a union that is `b` itself shares it
    }
    insertInPlace(const_cast<Set &>(*a), *b);
    return true;
}

template <typename Set>
bool removeInPlace(Set const * a, Set const * b, typename Set::Buffer const & scratch) {
    if (!mayEditInPlace(a, b, isEmptySet(a) ? 0 : a->count(), scratch)) {
        return false;
    }
    eraseInPlace(const_cast<Set &>(*a), *b);
    return true;
}

template <typename Set>
PtrConst<Set> setAdd(PtrConst<Set> const & a, PtrConst<Set> const & b,
                     typename Set::Buffer & scratch) {
    if (isEmptySet(a.get())) {
        return b;
    }
    if (isEmptySet(b.get()) || addInPlace(a.get(), b.get(), scratch)) {
        return a;
    }
    if (setIsSubset(b.get(), a.get())) {
        return a;
    }
    if (setIsSubset(a.get(), b.get())) {
        return b;
    }
    LazySmallVector<Set> result(a, scratch, a->count() + b->count());
    std::set_union(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
    return result.get();
}

template <typename Set>
PtrConst<Set> setRemove(PtrConst<Set> const & a, PtrConst<Set> const & b,
                        typename Set::Buffer & scratch) {
    if (isEmptySet(a.get())) {
        return nullptr;
    }
    if (removeInPlace(a.get(), b.get(), scratch)) {
        return a->empty() ? PtrConst<Set>() : a;
    }
    if (!setHasAny(a.get(), b.get())) {
        return a;
    }
    LazySmallVector<Set> result(a, scratch, a->count());
    if (b->count() / a->count() >= bisectionRatio) {
        auto at = b->begin();
        for (auto const & value : *a) {
            at = gallop(at, b->end(), value);
            if (at == b->end() || !(*at == value)) {
                result.push_back(value);
            }
        }
        return result.get();
    }
    std::set_difference(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
    return result.get();
}

template <typename Set>
PtrConst<Set> setRetain(PtrConst<Set> const & a, PtrConst<Set> const & b,
                        typename Set::Buffer & scratch) {
    if (!setHasAny(a.get(), b.get())) {
        return nullptr;
    }
    LazySmallVector<Set> result(a, scratch, std::min(a->count(), b->count()));
    std::set_intersection(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(result));
    return result.get();
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
