#pragma once

#include "Lists/CommunityMatcher.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

/// What community lists do to the communities of a route. Null stands for the empty set and for the
/// empty list.
///
/// Where nothing changes the result is the current set, where it is just the list's communities it
/// is this thread's copy of them (PermittedSets). Otherwise the current set is written where it may
/// be, and a new set is made where others see it; either is filled by `insert` in ascending order.
namespace Qcf::Lists {

/// A set of these values, which must be ascending; null when there are none. Writes into the
/// current set where that one says that it may be written, and so keeps its storage. The storage
/// grows once, to what is wanted, and is kept by a set that is written again. Elements go in by
/// `insert`, which keeps what the container knows of them besides, such as a link bandwidth.
template <typename Set>
Ptr<Set> filledSet(Ptr<Set> const & current, typename Set::Buffer const & values) {
    if (values.empty()) {
        return nullptr;
    }
    bool const reuse = current && current->modifyFlag() == Eval::ModifyFlag::reuseOnWrite;
    Ptr<Set> result = reuse ? current : makePtr<Set>(Eval::ModifyFlag::reuseOnWrite);
    result->clear();
    result->values().reserve(values.size());
    for (auto const & value : values) {
        result->insert(value);
    }
    return result;
}

/// One thread's copies of the sets that lists permit, made when they are first asked for, so that
/// handing one on counts in memory of the thread's own. A set is shared with the operations that it
/// is handed to, and says so by its flag: none of them writes to it. A list that goes is forgotten
/// when another one comes to stand at its address.
///
///     PermittedSets<Eval::U64SmallVector> sets; // a member of the thread's context
///     Ptr<Eval::U64SmallVector> const & permitted = sets.of(list->matcher());
///
/// Asking again costs a look-up. Belongs to one thread.
template <typename Set>
class PermittedSets {
public:
    /// The set of that list; null for a list that permits none. Valid until the next call. The
    /// reference is to the copy of this thread, so that taking part in it counts there and nowhere
    /// else.
    Ptr<Set> const & of(CommunityMatcher<Set> const & list) {
        Copy & copy = copies_[&list];
        if (copy.of != list.permitted()) { // new, or of a list that stood at the same address
            copy.of = list.permitted();
            copy.set = copy.of ? copyOf(*copy.of) : nullptr;
        }
        return copy.set;
    }

private:
    /// It keeps the set that it was made of, which so has its address for itself.
    struct Copy {
        /// The list's own set, by which the list is recognised.
        Ptr<Set> of;
        /// The copy, which this thread hands on.
        Ptr<Set> set;
    };

    /// A set of its own that whoever writes has to copy first.
    static Ptr<Set> copyOf(Set const & set) {
        auto copy = makePtr<Set>(Eval::ModifyFlag::copyOnWrite);
        copy->values().reserve(set.count());
        for (auto const & value : set) {
            copy->insert(value);
        }
        return copy;
    }

    /// By the list that was asked; as many as the functions of this thread have named.
    std::unordered_map<CommunityMatcher<Set> const *, Copy> copies_;
};

/// The communities of the list's permitting entries: what remains of the current ones when a
/// function assigns the list. What is answered is shared and must not be written.
template <typename Set>
Ptr<Set> assignedBy(CommunityMatcher<Set> const * list, PermittedSets<Set> & sets) {
    return list != nullptr ? sets.of(*list) : Ptr<Set>();
}

/// The current communities and those of the list's permitting entries. `scratch` is any buffer of
/// this thread; it is overwritten. Where one of both has all the communities, it is the answer, and
/// nothing is copied.
template <typename Set>
Ptr<Set> addedBy(CommunityMatcher<Set> const * list, PermittedSets<Set> & sets,
                 Ptr<Set> const & current, typename Set::Buffer & scratch) {
    Ptr<Set> added = assignedBy(list, sets);
    if (Set::isSubset(added.get(), current.get())) {
        return current;
    }
    if (Set::isSubset(current.get(), added.get())) {
        return added;
    }
    scratch.clear();
    std::set_union(current->begin(), current->end(), added->begin(), added->end(),
                   std::back_inserter(scratch));
    return filledSet(current, scratch);
}

/// Those of the current communities for which `keeps(community)` holds: what a list retains, or
/// does not remove. `scratch` is any buffer of this thread; it is overwritten. Allocates nothing
/// where all of them stay.
template <typename Set, typename Keeps>
Ptr<Set> keptBy(Ptr<Set> const & current, typename Set::Buffer & scratch, Keeps const & keeps) {
    if (current == nullptr || current->empty()) {
        return nullptr;
    }
    scratch.clear();
    for (auto const & community : *current) {
        if (keeps(community)) {
            scratch.push_back(community);
        }
    }
    return scratch.size() == current->count() ? current : filledSet(current, scratch);
}

} // namespace Qcf::Lists
