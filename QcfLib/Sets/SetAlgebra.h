#pragma once

#include "QcfLib/QcfEvalCollections.h"

#include <algorithm>
#include <sstream>

/// What can be asked of sets, once over both element types. Null and empty are the same throughout,
/// nothing is changed and nothing allocated. SetEdits.h has what changes sets.
///
/// Sets of routes hold a few values, sets of policies a few or thousands. Every question chooses
/// its way by the two sizes, so that a large set costs little when it is asked about a small one.
/// Operators, plans and the containers' own members all come here. Any number of threads may ask
/// about sets that nobody changes meanwhile.
namespace Qcf::Eval {

/// Null or without values. Both occur: literals and results of edits are null when they are empty,
/// an agent's containers may be empty ones.
template <typename Set>
bool isEmptySet(Set const * set) {
    return set == nullptr || set->empty();
}

/// The same values in the same order. For lists, which come here as well, the order is part of what
/// they say; sets have only one.
template <typename Set>
bool setsEqual(Set const * a, Set const * b) {
    // Null and empty are one value, so that an agent may hand over either.
    if (isEmptySet(a) || isEmptySet(b)) {
        return isEmptySet(a) && isEmptySet(b);
    }
    auto const inA = a->view();
    auto const inB = b->view();
    return inA.size() == inB.size() && std::equal(inA.begin(), inA.end(), inB.begin());
}

/// Up to so many values are looked at one after the other without a branch between them, which
/// costs less than the mispredicted branches of a bisection. It is the bound of `scanned`, of
/// `countBelow` and of `setContains` alike.
inline constexpr std::size_t smallSet = 24;

/// Whether the value is among them, looked for without a branch. It always looks at all of them, so
/// that the compiler may compare several at once. The values need not be ascending.
template <typename Value>
bool scanned(std::span<Value const> values, Value const & value) {
    bool found = false;
    for (auto const & candidate : values) {
        found |= candidate == value;
    }
    return found;
}

/// How many of the ascending values are below `value`. That is the position of the value, if it is
/// there, and otherwise where it belongs.
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
/// by bisection otherwise. Only sets that stay as they are have an index.
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

/// A walk beats bisection until one set is about this many times the other's size. A search costs
/// several steps, a walk one for each value.
inline constexpr std::size_t bisectionRatio = 8;

/// Whether searching for each of the few beats walking both. Never for an empty `many`, unless
/// `few` is empty as well: callers have dealt with such sets before.
template <typename Value>
bool isSparseIn(std::span<Value const> few, std::span<Value const> many) {
    return many.size() >= bisectionRatio * few.size();
}

/// The first position at or behind `from` that is not below `value`. Steps double, so that the cost
/// follows the distance and not the size of the set. Whoever searches for ascending values hands in
/// the last position found, so that all searches together do not cost more than a walk would.
template <typename Iterator, typename Value>
Iterator gallop(Iterator from, Iterator end, Value const & value) {
    auto step = std::ptrdiff_t{1};
    // What is at `from` may be below the value or not: the bisection below covers it as well.
    while (step < end - from && *(from + step) < value) {
        from += step;
        step *= 2;
    }
    return std::lower_bound(from, from + std::min(end - from, step + 1), value);
}

/// The ascending values `a` contained in `b`. The ends are compared first: what reaches beyond `b`
/// needs no walk. Both must be without duplicates, since `a` is ruled out by its size.
template <typename Value>
bool areAllIn(std::span<Value const> a, std::span<Value const> b) {
    if (a.empty()) {
        return true;
    }
    // An empty `b` is ruled out by its size, before its ends are looked at.
    if (a.size() > b.size() || a.front() < b.front() || b.back() < a.back()) {
        return false;
    }
    auto at = b.begin();
    // Decided once for the whole question, so that the loop does not weigh it at each value.
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

/// The values of a set, which may be null. They are lent and good until the set changes.
template <typename Set>
std::span<typename Set::Value const> valuesOf(Set const * set) {
    return set == nullptr ? std::span<typename Set::Value const>() : set->view();
}

/// `a` contained in `b`. The empty set is contained in every set, itself included.
template <typename Set>
bool setIsSubset(Set const * a, Set const * b) {
    return areAllIn(valuesOf(a), valuesOf(b));
}

/// Whether one of the few values is among those that the index was made of. `values` must be the
/// very values that the index was made of: it keeps positions alone.
template <typename Value>
bool anyIndexed(std::span<Value const> few, std::span<Value const> values,
                MembershipIndex const & index) {
    return std::any_of(few.begin(), few.end(),
                       [&](Value const & value) { return index.contains(values, value); });
}

/// Whether one of the few values occurs in the set, each searched for. The few are ascending, so
/// that each search goes on where the one before it ended; with an index they need not.
template <typename Set>
bool anyFound(std::span<typename Set::Value const> few, Set const & many) {
    auto const values = many.view();
    if (auto const * const index = many.index()) {
        return anyIndexed(few, values, *index);
    }
    auto at = values.begin();
    for (auto const & value : few) {
        at = gallop(at, values.end(), value);
        // The rest of the few are larger still.
        if (at == values.end()) {
            return false;
        }
        if (*at == value) {
            return true;
        }
    }
    return false;
}

/// `a` and `b` share a value. False if either is empty. The sets may be given in either order; the
/// index of `b` is asked first, since a policy's constants are mostly the right operand.
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
    // One constant needs no walk: it is looked up as such.
    if (inB.size() == 1) {
        return setContains(*a, inB.front());
    }
    // The smaller one is searched for in the larger one, whichever side it is on.
    if (isSparseIn(inB, inA)) {
        return anyFound(inB, *a);
    }
    if (isSparseIn(inA, inB)) {
        return anyFound(inA, *b);
    }
    auto atA = inA.begin();
    auto atB = inB.begin();
    // Sets of similar size: one walk over both, which ends with the first set that does.
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
