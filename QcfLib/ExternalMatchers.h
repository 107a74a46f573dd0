#pragma once

#include "Platform/Framework/Ptr.h"
#include "QcfLib/RoutingTypes.h"

#include <vector>

namespace Qcf {

/// A table of an agent's lists of one kind, indexed by the slots of function metadata. Slot 0 is
/// never used. Entries may be null.
template <typename Status>
class MatcherTable {
public:
    /// The entry of a slot; the empty default beyond the table's end.
    PtrConst<Status> const & at(U16 slot) const {
        return slot < entries_.size() ? entries_[slot] : default_;
    }
    std::size_t size() const { return entries_.size(); }
    /// Grows the table as needed.
    void entryIs(U16 slot, PtrConst<Status> status) {
        if (slot >= entries_.size()) {
            entries_.resize(slot + std::size_t{1});
        }
        entries_[slot] = std::move(status);
    }
    /// What slots beyond the table's end yield; null unless set.
    void defaultIs(PtrConst<Status> status) { default_ = std::move(status); }

private:
    std::vector<PtrConst<Status>> entries_;
    PtrConst<Status> default_;
};

/// An agent's named lists as evaluation sees them: tables indexed by slot. The agent fills one
/// before it makes contexts and leaves it unchanged while any of them evaluates; new lists come in
/// a new object.
class ExternalMatchersBase : public PtrInterface {
public:
    ExternalMatchersBase();
    ~ExternalMatchersBase() override;

    MatcherTable<Routing::RouteMap::StandardCommListStatus> commLists;
    MatcherTable<Routing::RouteMap::ExtCommListStatus> extCommLists;
    MatcherTable<Routing::RouteMap::LargeCommListStatus> largeCommLists;
    /// Beyond its end: an empty tag set.
    MatcherTable<Routing::RouteMap::TagSetStatus> tagSets;
    MatcherTable<Routing::RouteMap::AsPathListStatus> asPathLists;
    MatcherTable<Routing::Policy::PrefixListMatcher> ipv4PrefixLists;
    MatcherTable<Routing::Policy::PrefixListMatcher> ipv6PrefixLists;
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
