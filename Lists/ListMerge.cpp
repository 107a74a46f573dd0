#include "Lists/ListRecord.h"
#include "Platform/Render/DocumentError.h"

/// A text brings lists of its own, and whoever runs it may bring others in their place. A place
/// that a list does not fit is told: otherwise the text's own would go on to answer in silence.
namespace Qcf::Lists {

namespace {

bool has(NamedLists const & lists, ListKind kind, std::string_view name) {
    bool found = false;
    lists.eachKind([&](ListKind each, auto const & byName) {
        found = found || (each == kind && byName.contains(name));
    });
    return found;
}

char const * familyName(AddressFamily family) {
    return family == AddressFamily::ipv4 ? "v4" : "v6";
}

[[noreturn]] void fail(NamedLists const & over, NamedLists const & base, ListKind kind,
                       String const & name, String const & whatOver, ListKind baseKind,
                       String const & whatBase) {
    throw DocumentError(over.placeOf(kind, name) + ": \"" + name + "\" is a " + whatOver +
                        " here and a " + whatBase + " where it is declared, " +
                        base.placeOf(baseKind, name));
}

void requireFit(NamedLists const & base, NamedLists const & over, ListKind kind,
                String const & name) {
    if (kind == ListKind::prefixList && base.prefixLists.contains(name)) {
        auto const theirs = over.prefixLists.at(name)->af();
        auto const ours = base.prefixLists.at(name)->af();
        if (theirs != ours) {
            fail(over, base, kind, name, String(familyName(theirs)) + " prefix list", kind,
                 String(familyName(ours)) + " one");
        }
    }
    if (has(base, kind, name)) {
        return;
    }
    base.eachKind([&](ListKind each, auto const & byName) {
        if (byName.contains(name) && !has(over, each, name)) {
            fail(over, base, kind, name, kindText(kind), each, kindText(each));
        }
    });
}

} // namespace

PtrConst<NamedLists> mergeLists(NamedLists const & base, NamedLists const & over) {
    auto merged = makePtr<NamedLists>();
    auto const take = [&](auto member) {
        (*merged).*member = over.*member;
        ((*merged).*member).insert((base.*member).begin(), (base.*member).end());
    };
    over.eachKind([&](ListKind kind, auto const & byName) {
        for (auto const & [name, list] : byName) {
            requireFit(base, over, kind, name);
            merged->places.emplace(std::pair(kind, name), over.placeOf(kind, name));
        }
    });
    take(&NamedLists::prefixLists);
    take(&NamedLists::dynamicPrefixLists);
    take(&NamedLists::communityLists);
    take(&NamedLists::extCommunityLists);
    take(&NamedLists::largeCommunityLists);
    take(&NamedLists::asPathAccessLists);
    take(&NamedLists::tagSets);
    take(&NamedLists::roaTables);
    merged->fileName = base.fileName;
    merged->places.insert(base.places.begin(), base.places.end());
    return merged;
}

} // namespace Qcf::Lists
