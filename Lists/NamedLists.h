#pragma once

#include "Lists/AsPathList.h"
#include "Lists/CommunityList.h"
#include "Lists/PrefixListTrie.h"
#include "Lists/RoaTable.h"

#include <map>

namespace Qcf::Lists {

/// A prefix list whose use depends on the VRF: functions ask it by one name, whatever the family of
/// the candidate, and an outbound one is asked only where it is active.
struct DynamicPrefixList {
    /// The entries of each family; a list without entries is there, too. None of the three is null.
    PtrConst<PrefixListTrie> v4;
    PtrConst<PrefixListTrie> v6;
    /// In which VRFs the list is active.
    PtrConst<Routing::RouteMap::DynamicPrefixListStatus> status;

    /// Whether neither family has an entry.
    bool empty() const { return v4->empty() && v6->empty(); }
};

/// Kinds of named lists, in the order of the sections of a lists document. They are those of the
/// agent: that a program tells IPv4 and IPv6 prefix lists apart is a matter of its slots
/// (SlotKind).
enum class ListKind : U8 {
    prefixList,
    dynamicPrefixList,
    communityList,
    extCommunityList,
    largeCommunityList,
    asPathAccessList,
    tagSet,
    roaTable,
};

/// What lists of the kind are called in messages: "prefix list".
char const * kindText(ListKind kind);
/// The name of their section in a document: "prefixLists".
char const * sectionName(ListKind kind);

/// Lists of one kind by name, in the order of the names. They may be looked up by any kind of text
/// without making a String.
template <typename List>
using ListsByName = std::map<String, List, std::less<>>;

/// The named lists that functions refer to: everything of one agent, by kind and name.
///
/// A program holds names and slots only. What a name means is said here, so that lists can change
/// while the functions stay: whoever has new lists binds them to the same program again.
///
///     auto lists = makePtr<NamedLists>();
///     lists->communityLists.emplace("CUSTOMERS", makePtr<StandardCommunityList>(entries));
///     auto const matchers = bindLists(program.slots, lists.get());
///     auto const context = makePtr<Agent::AgentContext>(matchers);
///
/// Filled by whoever makes it, by hand or from a document (ListsDocument.h), then shared and left
/// unchanged: new lists come in a new object, and evaluations that run go on with the old one.
/// Names are any texts; they are unique within a kind, and the kinds do not see each other's. Every
/// list that stands here is not null. A kind that a host has no use for stays empty.
class NamedLists : public PtrInterface {
public:
    /// Of either family; a list knows its own.
    ListsByName<PtrConst<PrefixListTrie>> prefixLists;
    ListsByName<DynamicPrefixList> dynamicPrefixLists;
    ListsByName<PtrConst<StandardCommunityList>> communityLists;
    ListsByName<PtrConst<ExtCommunityList>> extCommunityLists;
    ListsByName<PtrConst<LargeCommunityList>> largeCommunityLists;
    ListsByName<PtrConst<AsPathList>> asPathAccessLists;
    /// Sets of route tags, as the engine itself looks into them.
    ListsByName<PtrConst<Routing::RouteMap::TagSetStatus>> tagSets;
    ListsByName<PtrConst<RoaTable>> roaTables;

    /// The document that the lists were read from, which findings about them name as their place;
    /// empty for lists made otherwise.
    String fileName;
    /// Places of lists that come from elsewhere: a line of policy text, another document.
    std::map<std::pair<ListKind, String>, String> places;
    /// Where that list stands: its own place, else that in the document by JSON pointer.
    String placeOf(ListKind kind, String const & name) const;
    /// The JSON pointer under which a document has a list.
    static String pointerOf(ListKind kind, String const & name);

    /// Calls `visit(kind, map)` for every kind in the order of ListKind. The maps are of different
    /// types: `visit` is a template, or takes `auto const &`.
    template <typename Visitor>
    void eachKind(Visitor && visit) const {
        visit(ListKind::prefixList, prefixLists);
        visit(ListKind::dynamicPrefixList, dynamicPrefixLists);
        visit(ListKind::communityList, communityLists);
        visit(ListKind::extCommunityList, extCommunityLists);
        visit(ListKind::largeCommunityList, largeCommunityLists);
        visit(ListKind::asPathAccessList, asPathAccessLists);
        visit(ListKind::tagSet, tagSets);
        visit(ListKind::roaTable, roaTables);
    }
};

} // namespace Qcf::Lists
