#pragma once

#include "bench/HandImport.h"
#include "bench/IntervalList.h"
#include "bench/Policies.h"

#include <algorithm>
#include <span>

/// The policies as one would write them by hand. `View` is how the route is seen: in place, or
/// through the accessors of a context; everything is resolved by the compiler.
///
/// A view has the readings `med() localPref() prefix() nextHop() pathLength() originAs()`, the sets
/// `community() largeCommunity() extCommunity()` as spans, the writes `medIs() localPrefIs()
/// originIs()`, and for each set `xIs(upTo, fill)`: `fill` gets room for that many values and
/// answers where it stopped.
namespace Qcf::Bench {

/// What hand-written policies look things up in.
struct HandData {
    explicit HandData(PolicyData const & policies);

    PolicyData const & data;
    IntervalList bogons;
    std::vector<IntervalList> nextHops; ///< by clause of P3
    IntervalList prefixes;
    HandImport imports;
};

template <typename Value>
bool contains(std::span<Value const> set, Value const & value) {
    return std::binary_search(set.begin(), set.end(), value);
}

/// Whether two ascending sets share a value: each of the few is searched for among the many.
template <typename Value>
bool sharesValue(std::span<Value const> few, std::span<Value const> many) {
    if (few.empty() || many.empty() || few.back() < many.front() || many.back() < few.front()) {
        return false;
    }
    if (many.size() > 8 * few.size()) {
        auto from = many.begin();
        for (Value const & value : few) {
            from = std::lower_bound(from, many.end(), value);
            if (from != many.end() && *from == value) {
                return true;
            }
        }
        return false;
    }
    auto a = few.begin();
    auto b = many.begin();
    while (a != few.end() && b != many.end()) {
        if (*a == *b) {
            return true;
        }
        bool const behind = *a < *b;
        a += behind ? 1 : 0;
        b += behind ? 0 : 1;
    }
    return false;
}

/// Copies a set without the values of `removed` and with `added`, in order; answers the end.
template <typename Value>
Value * copyChanged(std::span<Value const> from, std::span<Value const> removed,
                    Value const * added, Value * to) {
    for (Value const & value : from) {
        if (added != nullptr && !(value < *added)) {
            *to++ = *added;
            bool const same = value == *added;
            added = nullptr;
            if (same) {
                continue;
            }
        }
        if (std::find(removed.begin(), removed.end(), value) == removed.end()) {
            *to++ = value;
        }
    }
    if (added != nullptr) {
        *to++ = *added;
    }
    return to;
}

template <typename View>
bool p0(View & /*view*/, HandData const & /*hand*/) {
    return true;
}

template <typename View>
bool p1(View & view, HandData const & hand) {
    auto const & p1 = hand.data.p1;
    if (view.med() < p1.medBelow) {
        view.localPrefIs(p1.preference);
    }
    return true;
}

template <typename View>
bool p2(View & view, HandData const & hand) {
    auto const & p2 = hand.data.p2;
    if (hand.bogons.permits(view.prefix()) || view.pathLength() > p2.longestPath) {
        return false;
    }
    std::span<U64 const> const community = view.community();
    for (std::size_t i = 0; i < p2.tags.size(); ++i) {
        if (contains(community, p2.tags[i])) {
            view.localPrefIs(p2.preferences[i]);
            break;
        }
    }
    view.communityIs(community.size() + 1, [&](U64 * to) {
        return copyChanged(community, std::span<U64 const>(p2.removed), &p2.added, to);
    });
    view.medIs(std::min(view.med() + p2.medStep, PolicyData::largestMed));
    return true;
}

/// What the clauses of P3 look at, fetched once.
struct ClauseFacts {
    U64 prefixLength;
    U64 originAs;
    U64 localPref;
    IpGenAddr nextHop;
    std::span<U64 const> community;
};

inline bool matches(ClauseFacts const & route, Clause const & clause, IntervalList const & list) {
    std::span<U64 const> const values(clause.values);
    switch (clause.kind) {
    case Clause::Kind::lengthAndCommunities:
        return route.prefixLength >= clause.low && route.prefixLength <= clause.high &&
               sharesValue(values, route.community);
    case Clause::Kind::originAs:
        return contains(values, route.originAs);
    case Clause::Kind::communities:
        return sharesValue(route.community, values);
    case Clause::Kind::localPreference:
        return route.localPref >= clause.low && route.localPref <= clause.high;
    case Clause::Kind::nextHop:
        return list.permits(route.nextHop);
    }
    return false;
}

template <typename View>
bool p3(View & view, HandData const & hand) {
    auto const & p3 = hand.data.p3;
    std::span<U64 const> const community = view.community();
    ClauseFacts const facts{view.prefix().len(), view.originAs(), view.localPref(), view.nextHop(),
                            community};
    U64 preference = facts.localPref;
    for (std::size_t i = 0; i < p3.clauses.size(); ++i) {
        if (matches(facts, p3.clauses[i], hand.nextHops[i])) {
            preference = p3.clauses[i].preference;
            break;
        }
    }
    U64 const med = view.med();
    view.medIs(view.pathLength() > p3.longPath ? std::min(med + p3.medStep, PolicyData::largestMed)
                                               : med - std::min(med, p3.medStep));
    view.originIs(0);
    view.communityIs(community.size() + 1, [&](U64 * to) {
        return copyChanged(community, std::span<U64 const>(), &p3.added, to);
    });
    view.localPrefIs(std::min(preference + p3.preferenceStep, PolicyData::largestPreference));
    return true;
}

template <typename View>
bool p4(View & view, HandData const & hand) {
    using Communities = std::span<Acl::CommunityValue const>;
    auto const & p4 = hand.data.p4;
    if (hand.prefixes.permits(view.prefix())) {
        view.localPrefIs(p4.preference);
    }
    if (sharesValue(view.community(), std::span<U64 const>(p4.communities))) {
        view.medIs(p4.med);
    }
    Communities const large = view.largeCommunity();
    view.largeCommunityIs(large.size(), [&](Acl::CommunityValue * to) {
        return copyChanged(large, Communities(p4.removedLarge),
                           static_cast<Acl::CommunityValue const *>(nullptr), to);
    });
    Communities const extended = view.extCommunity();
    view.extCommunityIs(extended.size() + 1, [&](Acl::CommunityValue * to) {
        return copyChanged(extended, Communities(), &p4.addedExtended, to);
    });
    return true;
}

} // namespace Qcf::Bench
