#include "Lists/ListRecord.h"

#include "Platform/Render/DocumentError.h"
#include "Platform/Routing/CommunityText.h"

#include <algorithm>

/// From records to lists, and what every reader of records asks alike.
namespace Qcf::Lists {

namespace {

PtrConst<PrefixListTrie> makeTrie(AddressFamily family, bool covered,
                                  std::vector<PrefixListEntry> entries) {
    // Such a list matches all that lies in its prefixes, whatever its entries say of lengths.
    for (PrefixListEntry & entry : entries) {
        entry.minLength = covered ? entry.prefix.len() : entry.minLength;
        entry.maxLength = covered ? addressWidth(family) : entry.maxLength;
    }
    return makePtr<PrefixListTrie>(family, std::move(entries));
}

PtrConst<PrefixListTrie> makeList(PrefixListRecord record) {
    return makeTrie(record.family, record.covered, std::move(record.entries));
}

// A family that is left out has a list all the same, without entries.
DynamicPrefixList makeList(DynamicPrefixListRecord record) {
    auto const status = makePtr<Routing::RouteMap::DynamicPrefixListStatus>();
    for (auto const & [vrf, active] : record.vrfs) {
        status->vrfIs(vrf, active);
    }
    return {makeTrie(AddressFamily::ipv4, false, std::move(record.v4)),
            makeTrie(AddressFamily::ipv6, false, std::move(record.v6)), status};
}

template <typename List>
PtrConst<List> makeList(CommunityListRecord<List> record) {
    std::vector<typename List::Matcher::Entry> entries;
    entries.reserve(record.entries.size());
    for (auto & entry : record.entries) {
        auto & made = entries.emplace_back();
        made.action = entry.action;
        made.communities = std::move(entry.communities);
        if (entry.pattern) {
            made.pattern = std::move(entry.pattern->pattern);
        }
    }
    return makePtr<List>(std::move(entries));
}

PtrConst<AsPathList> makeList(AsPathListRecord record) {
    std::vector<AsPathList::Entry> entries;
    entries.reserve(record.entries.size());
    for (auto & entry : record.entries) {
        entries.push_back({entry.action, std::move(entry.pattern.pattern), entry.origin});
    }
    return makePtr<AsPathList>(std::move(entries));
}

PtrConst<Routing::RouteMap::TagSetStatus> makeList(TagSetRecord const & record) {
    auto const tags = makePtr<Routing::RouteMap::TagSetStatus>();
    for (U32 const tag : record.tags) {
        tags->tagIs(tag);
    }
    return tags;
}

PtrConst<RoaTable> makeList(RoaTableRecord record) {
    return makePtr<RoaTable>(std::move(record.roas));
}

// Which map lists of a record stand in; the record itself is not looked at.
auto & mapOf(NamedLists & lists, PrefixListRecord const &) { return lists.prefixLists; }
auto & mapOf(NamedLists & lists, DynamicPrefixListRecord const &) {
    return lists.dynamicPrefixLists;
}
auto & mapOf(NamedLists & lists, CommunityListRecord<StandardCommunityList> const &) {
    return lists.communityLists;
}
auto & mapOf(NamedLists & lists, CommunityListRecord<ExtCommunityList> const &) {
    return lists.extCommunityLists;
}
auto & mapOf(NamedLists & lists, CommunityListRecord<LargeCommunityList> const &) {
    return lists.largeCommunityLists;
}
auto & mapOf(NamedLists & lists, AsPathListRecord const &) { return lists.asPathAccessLists; }
auto & mapOf(NamedLists & lists, TagSetRecord const &) { return lists.tagSets; }
auto & mapOf(NamedLists & lists, RoaTableRecord const &) { return lists.roaTables; }

struct IsEmpty {
    bool operator()(DynamicPrefixListRecord const & record) const {
        return record.v4.empty() && record.v6.empty();
    }
    bool operator()(TagSetRecord const & record) const { return record.tags.empty(); }
    bool operator()(RoaTableRecord const & record) const { return record.roas.empty(); }
    bool operator()(auto const & record) const { return record.entries.empty(); }
};

template <std::size_t... kinds>
ListContent contentOfKind(std::size_t kind, std::index_sequence<kinds...>) {
    ListContent content;
    ((kind == kinds ? static_cast<void>(content.emplace<kinds>()) : void()), ...);
    return content;
}

constexpr char const * originNames[] = {"igp", "egp", "incomplete"}; // by their number

} // namespace

LengthBounds boundsOfLonger(IpGenPrefix const & prefix) {
    return {prefix.len(), addressWidth(prefix.af())};
}

LengthBounds boundsOfLe(IpGenPrefix const & prefix, std::optional<U8> ge) {
    return {ge.value_or(prefix.len()), addressWidth(prefix.af())};
}

void lengthsAre(PrefixListEntry & entry, std::optional<U8> ge, std::optional<U8> le) {
    U8 const own = entry.prefix.len();
    entry.minLength = ge.value_or(own);
    entry.maxLength = le.value_or(ge ? addressWidth(entry.prefix.af()) : own);
}

WrittenLengths writtenLengths(PrefixListEntry const & entry) {
    U8 const own = entry.prefix.len();
    WrittenLengths lengths;
    if (entry.minLength != own) {
        lengths.ge = entry.minLength;
    }
    U8 const implied = lengths.ge ? addressWidth(entry.prefix.af()) : own;
    if (entry.maxLength != implied) {
        lengths.le = entry.maxLength;
    }
    return lengths;
}

WrittenPattern communityPattern(std::string_view text) { return {String(text), Pattern(text)}; }

WrittenPattern asPathPattern(std::string_view text) {
    return {String(text), Pattern(asPathExpression(text))};
}

AddressFamily ListRecord::family() const {
    auto const * const list = std::get_if<PrefixListRecord>(&content);
    return list != nullptr ? list->family : AddressFamily::none;
}

bool ListRecord::empty() const { return std::visit(IsEmpty(), content); }

ListContent emptyContent(ListKind kind) {
    constexpr std::size_t count = std::variant_size_v<ListContent>;
    return contentOfKind(static_cast<std::size_t>(kind), std::make_index_sequence<count>());
}

void addList(NamedLists & lists, ListRecord record) {
    std::visit(
        [&](auto & content) {
            mapOf(lists, content)
                .insert_or_assign(std::move(record.name), makeList(std::move(content)));
        },
        record.content);
}

std::optional<Acl::CommunityValue> parseExtendedCommunity(std::string_view text) {
    bool const isLarge = text.find_first_not_of("0123456789:") == std::string_view::npos;
    return isLarge ? std::nullopt : parseCommunityValue(text);
}

std::optional<Acl::CommunityValue> parseLargeCommunity(std::string_view text) {
    bool const isLarge = text.find_first_not_of("0123456789:") == std::string_view::npos;
    return isLarge ? parseCommunityValue(text) : std::nullopt;
}

std::optional<ListAction> actionNamed(std::string_view text) {
    if (text != "permit" && text != "deny") {
        return std::nullopt;
    }
    return text == "permit" ? ListAction::permit : ListAction::deny;
}

char const * actionName(ListAction action) {
    return action == ListAction::permit ? "permit" : "deny";
}

std::optional<U64> originNamed(std::string_view text) {
    auto const * const name = std::ranges::find(originNames, text);
    return name == std::end(originNames) ? std::nullopt
                                         : std::optional<U64>(name - std::begin(originNames));
}

char const * originName(U64 origin) {
    return origin < std::size(originNames) ? originNames[origin] : nullptr;
}

} // namespace Qcf::Lists
