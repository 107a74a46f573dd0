#pragma once

#include "Lists/AsPathList.h"
#include "Lists/CommunityList.h"
#include "Lists/PrefixListTrie.h"
#include "Lists/RoaTable.h"

#include <map>

namespace Qcf::Lists {

/// A prefix list whose use depends on the VRF, one trie a family.
struct DynamicPrefixList {
    PtrConst<PrefixListTrie> v4;
    PtrConst<PrefixListTrie> v6;
    PtrConst<Routing::RouteMap::DynamicPrefixListStatus> status;

    bool empty() const { return v4->empty() && v6->empty(); }
};

/// Kinds of named lists, in the order of the sections of a lists document.
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

/// What lists of the kind are called in messages ("prefix list") and the name of their section
/// ("prefixLists").
char const * kindText(ListKind kind);
char const * sectionName(ListKind kind);

/// Lists of one kind by name.
template <typename List>
using ListsByName = std::map<String, List, std::less<>>;

/// All named lists that functions may refer to. Filled by whoever reads them, then shared and left
/// unchanged: new lists come in a new object.
class NamedLists : public PtrInterface {
public:
    ListsByName<PtrConst<PrefixListTrie>> prefixLists;
    ListsByName<DynamicPrefixList> dynamicPrefixLists;
    ListsByName<PtrConst<StandardCommunityList>> communityLists;
    ListsByName<PtrConst<ExtCommunityList>> extCommunityLists;
    ListsByName<PtrConst<LargeCommunityList>> largeCommunityLists;
    ListsByName<PtrConst<AsPathList>> asPathAccessLists;
    ListsByName<PtrConst<Routing::RouteMap::TagSetStatus>> tagSets;
    ListsByName<PtrConst<RoaTable>> roaTables;

    /// The document that the lists were read from; empty for lists made otherwise.
    String fileName;

    /// Calls `visit(kind, map)` for every kind in order.
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
