#include "Lists/ListBinding.h"

#include <limits>

/// Slots are chosen by programs, names by people: only here do both meet. It judges nothing,
/// because what an undefined name is to mean depends on who evaluates.
namespace Qcf::Lists {

namespace {

/// The list of that name; a null pointer where there is none.
template <typename List>
List findNamed(ListsByName<List> const & lists, String const & name) {
    auto const found = lists.find(name);
    return found == lists.end() ? List() : found->second;
}

// Where nothing stands for undefined names the slot stays empty, which the agent's answers take for
// an empty list.
template <typename Status, typename List>
void bind(MatcherTable<Status> & table, SlotMap const & slots, ListsByName<List> const & lists,
          PtrConst<Status> const & undefined = nullptr) {
    for (auto const & [name, slot] : slots) {
        PtrConst<Status> const list = findNamed(lists, name);
        table.entryIs(slot, list ? list : undefined);
    }
}

void bindPrefixLists(MatcherTable<Routing::Policy::PrefixListMatcher> & table,
                     SlotMap const & slots, AddressFamily family, NamedLists const & lists) {
    // One empty list stands for all names that nothing defines.
    PtrConst<PrefixListTrie> const undefined = makePtr<PrefixListTrie>(family);
    for (auto const & [name, slot] : slots) {
        auto const list = findNamed(lists.prefixLists, name);
        bool const isOfOtherFamily = list && list->af() != family;
        table.entryIs(slot, isOfOtherFamily ? nullptr : list ? list : undefined);
    }
}

void bindDynamicPrefixLists(ExternalMatchersBase & matchers, SlotMap const & slots,
                            NamedLists const & lists) {
    for (auto const & [name, slot] : slots) {
        DynamicPrefixList const list = findNamed(lists.dynamicPrefixLists, name);
        matchers.dynamicPrefixLists.entryIs(slot, list.status);
        matchers.dynamicIpv4PrefixLists.entryIs(slot, list.v4);
        matchers.dynamicIpv6PrefixLists.entryIs(slot, list.v6);
    }
}

} // namespace

PtrConst<ExternalMatchersBase> bindLists(FunctionMetadata const & metadata,
                                         NamedLists const * lists) {
    PtrConst<NamedLists> const none = makePtr<NamedLists>();
    NamedLists const & from = lists != nullptr ? *lists : *none;
    auto matchers = makePtr<ExternalMatchersBase>();
    bind(matchers->commLists, metadata.commListsUsed, from.communityLists);
    bind(matchers->extCommLists, metadata.extCommListsUsed, from.extCommunityLists);
    bind(matchers->largeCommLists, metadata.largeCommListsUsed, from.largeCommunityLists);
    bind(matchers->asPathLists, metadata.asPathAccessListsUsed, from.asPathAccessLists);
    // The engine looks into tag sets itself, and the agent into tables of ROAs: what nothing
    // defines must be there and be empty.
    PtrConst<Routing::RouteMap::TagSetStatus> const noTags =
        makePtr<Routing::RouteMap::TagSetStatus>();
    bind(matchers->tagSets, metadata.tagSetsUsed, from.tagSets, noTags);
    bindPrefixLists(matchers->ipv4PrefixLists, metadata.V4PrefixListsUsed, AddressFamily::ipv4,
                    from);
    bindPrefixLists(matchers->ipv6PrefixLists, metadata.V6PrefixListsUsed, AddressFamily::ipv6,
                    from);
    bindDynamicPrefixLists(*matchers, metadata.DynPrefixListsUsed, from);
    PtrConst<Routing::RouteMap::RoaTableStatus> const noRoas = makePtr<RoaTable>();
    bind(matchers->roaTables, metadata.roaTablesUsed, from.roaTables, noRoas);
    return matchers;
}

} // namespace Qcf::Lists
