#pragma once

#include "QcfLib/QcfEvalCollections.h"

#include <algorithm>
#include <sstream>

/// What can be asked of sets, once over both element types. Null and empty are the same throughout,
/// nothing is changed and nothing allocated. SetEdits.h has what changes sets.
namespace Qcf::Eval {

/// Null or without values.
template <typename Set>
bool isEmptySet(Set const * set) {
    return set == nullptr || set->empty();
}

/// The same values in the same order.
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

/// Whether the value is among them, looked for without a branch.
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

/// Whether the set holds the value: by the index of a large constant set, by a scan of a small set,
/// by bisection otherwise.
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

/// Whether searching for each of the few beats walking both.
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

/// The ascending values `a` contained in `b`.
template <typename Value>
bool areAllIn(std::span<Value const> a, std::span<Value const> b) {
    if (a.empty()) {
        return true;
    }
    if (a.size() > b.size() || a.front() < b.front() || b.back() < a.back()) {
        return false;
    }
    auto at = b.begin();
    bool const sparse = isSparseIn(a, b);
    for (auto const & value : a) {
        if (sparse) {
            at = gallop(at, b.end(), value);
        } else {
            while (at != b.end() && *at < value) {
                ++at;
            }
        }
        if (at == b.end() || !(*at == value)) {
            return false;
        }
    }
    return true;
}

/// The values of a set, which may be null.
template <typename Set>
std::span<typename Set::Value const> valuesOf(Set const * set) {
    return set == nullptr ? std::span<typename Set::Value const>() : set->view();
}

/// `a` contained in `b`.
template <typename Set>
bool setIsSubset(Set const * a, Set const * b) {
    return areAllIn(valuesOf(a), valuesOf(b));
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
