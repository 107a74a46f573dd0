#pragma once

#include "Lists/NamedLists.h"

#include <map>
#include <variant>

/// A named list as somebody wrote it: entries in their order, patterns with their text. What
/// readers make of documents and of policy text, what writers write, and what the lists that answer
/// questions are made of.
///
///     ListRecord record{"OURS", TagSetRecord{{7, 77}}};
///     addList(*lists, std::move(record)); // lists->tagSets.at("OURS")
namespace Qcf::Lists {

/// Which lengths an entry may name: from `least` to `most`.
struct LengthBounds {
    U8 least;
    U8 most;
    bool contain(U64 length) const { return least <= length && length <= most; }
};
/// Of `ge` of a prefix list's entry, and of the largest length of a ROA.
LengthBounds boundsOfLonger(IpGenPrefix const & prefix);
/// Of `le` of a prefix list's entry.
LengthBounds boundsOfLe(IpGenPrefix const & prefix, std::optional<U8> ge);
/// Sets the lengths of an entry with that prefix. A bound that is left out follows from the other:
/// without both only the prefix itself matches, with a lower one alone everything longer.
void lengthsAre(PrefixListEntry & entry, std::optional<U8> ge, std::optional<U8> le);
/// The bounds that `lengthsAre` takes back: as few as say the same.
struct WrittenLengths {
    std::optional<U8> ge;
    std::optional<U8> le;
};
WrittenLengths writtenLengths(PrefixListEntry const & entry);

/// Entries with the lengths that they name, also in a list that is covered.
struct PrefixListRecord {
    AddressFamily family = AddressFamily::none; ///< one of the two
    /// Everything within an entry's prefix matches, whatever its lengths.
    bool covered = false;
    std::vector<PrefixListEntry> entries;
};

/// The entries of each family, and in which VRFs the list is active.
struct DynamicPrefixListRecord {
    std::vector<PrefixListEntry> v4;
    std::vector<PrefixListEntry> v6;
    std::map<U32, bool> vrfs;
};

/// A regular expression as it was written, and what searches for it. Lists share the latter.
struct WrittenPattern {
    String text;
    Pattern pattern;
};
/// Both throw PatternError for what is no expression. That of AS paths has `_` as a wildcard.
WrittenPattern communityPattern(std::string_view text);
WrittenPattern asPathPattern(std::string_view text);

/// `List` is the list that is made of it.
template <typename List>
struct CommunityListRecord {
    using Value = typename List::Matcher::Value;
    /// Has communities or a pattern, or neither: then it matches every route.
    struct Entry {
        ListAction action = ListAction::permit;
        std::vector<Value> communities;
        std::optional<WrittenPattern> pattern;
    };
    std::vector<Entry> entries;
};

struct AsPathListRecord {
    struct Entry {
        ListAction action = ListAction::permit;
        WrittenPattern pattern;
        std::optional<U64> origin; ///< as in AsPathList
    };
    std::vector<Entry> entries;
};

struct TagSetRecord {
    std::vector<U32> tags;
};

struct RoaTableRecord {
    std::vector<Roa> roas;
};

/// What a list holds, in the order of ListKind.
using ListContent =
    std::variant<PrefixListRecord, DynamicPrefixListRecord,
                 CommunityListRecord<StandardCommunityList>, CommunityListRecord<ExtCommunityList>,
                 CommunityListRecord<LargeCommunityList>, AsPathListRecord, TagSetRecord,
                 RoaTableRecord>;

struct ListRecord {
    String name;
    ListContent content;

    ListKind kind() const { return static_cast<ListKind>(content.index()); }
    /// Of a prefix list; none of the others.
    AddressFamily family() const;
    bool empty() const;
};

/// A list of that kind without entries.
ListContent emptyContent(ListKind kind);

/// Makes the list and puts it among the others, in the place of one of that kind and name. Costs
/// what the list's own construction does; entries are moved.
void addList(NamedLists & lists, ListRecord record);

/// The lists of both; where both have one of a kind and name, that of `over`. Lists are shared, not
/// copied. Throws DocumentError where `over` has a name of `base` for another family, or for
/// another kind alone: such a list was meant to take the place of that one, and cannot.
PtrConst<NamedLists> mergeLists(NamedLists const & base, NamedLists const & over);

/// Communities as texts of lists have them: one reader knows both kinds, a list is of one. Nothing
/// for those of the other kind.
std::optional<Acl::CommunityValue> parseExtendedCommunity(std::string_view text);
std::optional<Acl::CommunityValue> parseLargeCommunity(std::string_view text);

/// "permit" or "deny".
std::optional<ListAction> actionNamed(std::string_view text);
char const * actionName(ListAction action);

/// "igp", "egp" or "incomplete", by the number of the origin; null for other numbers.
std::optional<U64> originNamed(std::string_view text);
char const * originName(U64 origin);

} // namespace Qcf::Lists
