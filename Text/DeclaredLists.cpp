#include "Text/DeclaredLists.h"

namespace Qcf::Text {

using Lists::ListKind;

DeclaredLists::DeclaredLists(std::vector<ListDeclaration> const & lists, Sources const & sources,
                             Messages & messages) {
    for (ListDeclaration const & list : lists) {
        auto const [at, isNew] =
            lists_[static_cast<std::size_t>(list.kind())].emplace(list.name(), &list);
        if (!isNew) {
            messages.add({list.nameSpan, Severity::error, "duplicate",
                          "the " + String(kindWord(list.kind())) + " '" + list.name() +
                              "' is declared twice, first at " +
                              sources.placeText(at->second->nameSpan)});
        }
    }
}

ListDeclaration const * DeclaredLists::find(ListKind kind, std::string_view name) const {
    auto const & lists = lists_[static_cast<std::size_t>(kind)];
    auto const found = lists.find(name);
    return found == lists.end() ? nullptr : found->second;
}

ListDeclaration const * DeclaredLists::findAny(std::string_view name) const {
    for (auto const & lists : lists_) {
        auto const found = lists.find(name);
        if (found != lists.end()) {
            return found->second;
        }
    }
    return nullptr;
}

String DeclaredLists::nearestName(ListKind kind, std::string_view name) const {
    std::vector<std::string_view> names;
    for (auto const & [each, list] : lists_[static_cast<std::size_t>(kind)]) {
        names.push_back(each);
    }
    return nearest(name, names);
}

ListKind declaredKind(SlotKind kind) {
    switch (kind) {
    case SlotKind::commList:
        return ListKind::communityList;
    case SlotKind::extCommList:
        return ListKind::extCommunityList;
    case SlotKind::largeCommList:
        return ListKind::largeCommunityList;
    case SlotKind::tagSet:
        return ListKind::tagSet;
    case SlotKind::asPathAccessList:
        return ListKind::asPathAccessList;
    case SlotKind::dynamicPrefixList:
        return ListKind::dynamicPrefixList;
    case SlotKind::roaTable:
        return ListKind::roaTable;
    default:
        return ListKind::prefixList;
    }
}

} // namespace Qcf::Text
