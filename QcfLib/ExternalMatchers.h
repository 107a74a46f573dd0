#pragma once

#include "Platform/Framework/Ptr.h"
#include "QcfLib/RoutingTypes.h"

#include <vector>

namespace Qcf {

/// A table of an agent's lists of one kind, indexed by the slots of function metadata: a node that
/// names a list carries its slot, so that evaluation looks nothing up by name. Slot 0 is never
/// used. Entries may be null: there is no such list.
///
/// Read by any number of threads; filled before it is, see ExternalMatchersBase.
template <typename Status>
class MatcherTable {
public:
    /// The entry of a slot; the empty default beyond the table's end.
    PtrConst<Status> const & at(U16 slot) const {
        return slot < entries_.size() ? entries_[slot] : default_;
    }
    /// Slots, with those that were left out below the highest one.
    std::size_t size() const { return entries_.size(); }
    /// Sets an entry; grows the table as needed.
    /// A slot that is set again has the new entry. Not to be called while anybody evaluates.
    void entryIs(U16 slot, PtrConst<Status> status) {
        if (slot >= entries_.size()) {
            entries_.resize(slot + std::size_t{1});
        }
        entries_[slot] = std::move(status);
    }
    /// What slots beyond the table's end yield; null unless set.
    void defaultIs(PtrConst<Status> status) { default_ = std::move(status); }

private:
    /// By slot; the first is never used.
    std::vector<PtrConst<Status>> entries_;
    PtrConst<Status> default_;
};

/// An agent's named lists as evaluation sees them: a table a kind, indexed by slot.
///
///     auto matchers = makePtr<ExternalMatchersBase>();
///     for (auto const & [name, slot] : function->metadata().commListsUsed) {
///         matchers->commLists.entryIs(slot, listOfThatName(name));
///     }
///     auto context = makePtr<MyContext>(matchers, ...);
///
/// The agent fills one before it makes contexts and leaves it unchanged while any of them
/// evaluates: contexts of several threads share it, without a lock. New lists come in a new object.
/// What an entry is made of is the agent's business, which derives from the status classes and is
/// handed them back by the matching operations of its context (EvalContextBase). Prefix lists alone
/// are asked by the engine itself, through PrefixListMatcher.
class ExternalMatchersBase : public PtrInterface {
public:
    ExternalMatchersBase();
    ~ExternalMatchersBase() override;

    // Community lists, by kind of community.
    MatcherTable<Routing::RouteMap::StandardCommListStatus> commLists;
    MatcherTable<Routing::RouteMap::ExtCommListStatus> extCommLists;
    MatcherTable<Routing::RouteMap::LargeCommListStatus> largeCommLists;
    /// Beyond its end: an empty tag set.
    MatcherTable<Routing::RouteMap::TagSetStatus> tagSets;
    MatcherTable<Routing::RouteMap::AsPathListStatus> asPathLists;
    /// A slot of both tables may be in use: lists of the two families are numbered apart.
    MatcherTable<Routing::Policy::PrefixListMatcher> ipv4PrefixLists;
    MatcherTable<Routing::Policy::PrefixListMatcher> ipv6PrefixLists;
    /// Lists in use only for some VRFs, which their status says, and their contents by family.
    MatcherTable<Routing::RouteMap::DynamicPrefixListStatus> dynamicPrefixLists;
    MatcherTable<Routing::Policy::PrefixListMatcher> dynamicIpv4PrefixLists;
    MatcherTable<Routing::Policy::PrefixListMatcher> dynamicIpv6PrefixLists;
    /// For the agent's own matchRoaTable, which is told the slot; the engine does not look here.
    MatcherTable<Routing::RouteMap::RoaTableStatus> roaTables;

    /// The prefix list of a slot for candidates of a family; null when there is none, or when it is
    /// of the other family.
    Routing::Policy::PrefixListMatcher const * prefixList(bool isV4, U16 slot,
                                                          AddressFamily family) const {
        auto const otherFamily = isV4 ? AddressFamily::ipv6 : AddressFamily::ipv4;
        return family == otherFamily ? nullptr
                                     : (isV4 ? ipv4PrefixLists : ipv6PrefixLists).at(slot).get();
    }
};

} // namespace Qcf
