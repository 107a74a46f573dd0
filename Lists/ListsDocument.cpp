#include "Lists/ListsDocument.h"

#include "Lists/PlainText.h"
#include "Lists/RoaExport.h"
#include "Platform/Render/JsonObjectReader.h"
#include "Platform/Routing/CommunityText.h"
#include "Platform/Routing/TextPieces.h"

#include <limits>
#include <unordered_set>

/// A list that was understood only in part would permit or deny what nobody wrote. Therefore
/// nothing is passed over: each object says when it is done, and members that are left then are
/// faults.
namespace Qcf::Lists {

namespace {

constexpr U64 max32 = std::numeric_limits<U32>::max();

ListAction readAction(JsonValue const & value) {
    std::string_view const text = value.expectString("\"permit\" or \"deny\"");
    if (text != "permit" && text != "deny") {
        value.fail("\"permit\" or \"deny\"");
    }
    return text == "permit" ? ListAction::permit : ListAction::deny;
}

Pattern readPattern(JsonValue const & value, bool isAsPath) {
    std::string_view const text = value.expectString("regular expression");
    try {
        return Pattern(isAsPath ? asPathExpression(text) : String(text));
    } catch (PatternError const & error) {
        value.fail({}, "regular expression", describe(value) + " (" + error.what() + ")");
    }
}

// Prefix lists.

// A bound that is left out follows from the other: without both only the prefix itself matches,
// with a lower one alone everything longer.
PrefixListEntry readPrefixListEntry(JsonValue const & value, AddressFamily family) {
    JsonObjectReader reader(value);
    PrefixListEntry entry;
    entry.seq = static_cast<U32>(reader.require("seq").expectU64(0, max32));
    entry.action = readAction(reader.require("action"));
    entry.prefix = readPrefix(reader.require("prefix"), family);
    U8 const own = entry.prefix.len();
    U8 const width = addressWidth(family);
    auto const ge = reader.optional("ge");
    auto const le = reader.optional("le");
    reader.done();
    entry.minLength = ge ? static_cast<U8>(ge->expectU64(own, width)) : own;
    U8 const most = ge ? width : own;
    entry.maxLength = le ? static_cast<U8>(le->expectU64(entry.minLength, width)) : most;
    return entry;
}

PtrConst<PrefixListTrie> readEntries(std::optional<JsonValue> const & value, AddressFamily family,
                                     bool covered) {
    std::vector<PrefixListEntry> entries;
    std::unordered_set<U32> seqs;
    if (value) {
        for (JsonValue const element : value->expectArray()) {
            entries.push_back(readPrefixListEntry(element, family));
            // Such a list matches all that lies in its prefixes, whatever its entries say of
            // lengths.
            if (covered) {
                entries.back().minLength = entries.back().prefix.len();
                entries.back().maxLength = addressWidth(family);
            }
            // Entries are tried by their numbers: two alike would leave open which one decides.
            if (!seqs.insert(entries.back().seq).second) {
                element.find("seq")->fail("seq that no entry before it has");
            }
        }
    }
    return makePtr<PrefixListTrie>(family, std::move(entries));
}

PtrConst<PrefixListTrie> readPrefixList(JsonValue const & value) {
    JsonObjectReader reader(value);
    JsonValue const family = reader.require("family");
    std::string_view const text = family.expectString("\"v4\" or \"v6\"");
    if (text != "v4" && text != "v6") {
        family.fail("\"v4\" or \"v6\"");
    }
    auto const covered = reader.optional("covered");
    JsonValue const entries = reader.require("entries");
    reader.done();
    return readEntries(entries, text == "v4" ? AddressFamily::ipv4 : AddressFamily::ipv6,
                       covered && covered->expectBool());
}

DynamicPrefixList readDynamicPrefixList(JsonValue const & value) {
    JsonObjectReader reader(value);
    auto const v4 = reader.optional("v4");
    auto const v6 = reader.optional("v6");
    auto const vrfs = reader.optional("vrfs");
    reader.done();
    auto const status = makePtr<Routing::RouteMap::DynamicPrefixListStatus>();
    if (vrfs) {
        for (JsonValue const vrf : vrfs->expectObject()) {
            auto const id = Routing::TextPieces::parseDecimal(vrf.key(), max32);
            if (!id) {
                vrf.fail({}, "VRF id as key", '"' + String(vrf.key()) + '"');
            }
            status->vrfIs(static_cast<U32>(*id), vrf.expectBool());
        }
    }
    // A family that is left out has a list all the same, without entries.
    return {readEntries(v4, AddressFamily::ipv4, false),
            readEntries(v6, AddressFamily::ipv6, false), status};
}

// Community lists.

// A number is the community as one word of 32 bits.
U64 readStandardCommunity(JsonValue const & value) {
    constexpr std::string_view wanted = "standard community";
    if (value.isNumber()) {
        return value.expectU64(0, max32);
    }
    auto const community = parseStandardCommunity(value.expectString(wanted));
    if (!community) {
        value.fail(wanted);
    }
    return *community;
}

/// Large communities are written A:B:C, extended ones begin with a word.
Acl::CommunityValue readCommunityValue(JsonValue const & value, bool isLarge) {
    if (value.isObject()) {
        JsonObjectReader reader(value);
        U64 const word = reader.require("value").expectU64();
        // Extended communities have 64 bits in all, large ones 96.
        U64 const type = reader.require("type").expectU64(0, isLarge ? max32 : 0);
        reader.done();
        return {word, static_cast<U32>(type)};
    }
    std::string_view const wanted = isLarge ? "large community" : "extended community";
    std::string_view const text = value.expectString(wanted);
    auto const community = parseCommunityValue(text);
    // One reader of texts knows both kinds; a list is of one.
    bool const writtenAsLarge = !text.starts_with("0x") && !text.starts_with("0X") &&
                                text.find_first_not_of("0123456789:") == std::string_view::npos;
    if (!community || writtenAsLarge != isLarge) {
        value.fail(wanted);
    }
    return *community;
}

// The kind of list chooses the reader; the pointer is never followed.
U64 readCommunity(JsonValue const & value, StandardCommunityList const *) {
    return readStandardCommunity(value);
}
Acl::CommunityValue readCommunity(JsonValue const & value, ExtCommunityList const *) {
    return readCommunityValue(value, false);
}
Acl::CommunityValue readCommunity(JsonValue const & value, LargeCommunityList const *) {
    return readCommunityValue(value, true);
}

template <typename List>
PtrConst<List> readCommunityList(JsonValue const & value) {
    std::vector<typename List::Matcher::Entry> entries;
    for (JsonValue const element : value.expectArray()) {
        JsonObjectReader reader(element);
        auto & entry = entries.emplace_back();
        entry.action = readAction(reader.require("action"));
        auto const communities = reader.optional("communities");
        auto const regex = reader.optional("regex");
        reader.done();
        // An entry of both would have to say which one decides.
        if (communities.has_value() == regex.has_value()) {
            element.fail({}, "either communities or regex", regex ? "both" : "neither");
        }
        if (regex) {
            entry.pattern = readPattern(*regex, false);
            continue;
        }
        for (JsonValue const community : communities->expectArray()) {
            entry.communities.push_back(
                readCommunity(community, static_cast<List const *>(nullptr)));
        }
    }
    return makePtr<List>(std::move(entries));
}

// The rest.

// "any" is the same as nothing; it is there to be written out.
std::optional<U64> readOrigin(JsonValue const & value) {
    constexpr std::string_view wanted = R"("any", "igp", "egp" or "incomplete")";
    std::string_view const text = value.expectString(wanted);
    if (text == "any") {
        return std::nullopt;
    }
    constexpr std::string_view names[] = {"igp", "egp", "incomplete"}; // by their number
    auto const * const name = std::find(std::begin(names), std::end(names), text);
    if (name == std::end(names)) {
        value.fail(wanted);
    }
    return static_cast<U64>(name - std::begin(names));
}

PtrConst<AsPathList> readAsPathList(JsonValue const & value) {
    std::vector<AsPathList::Entry> entries;
    for (JsonValue const element : value.expectArray()) {
        JsonObjectReader reader(element);
        ListAction const action = readAction(reader.require("action"));
        JsonValue const regex = reader.require("regex");
        auto const origin = reader.optional("origin");
        reader.done();
        entries.push_back({action, readPattern(regex, true),
                           origin ? readOrigin(*origin) : std::optional<U64>()});
    }
    return makePtr<AsPathList>(std::move(entries));
}

PtrConst<Routing::RouteMap::TagSetStatus> readTagSet(JsonValue const & value) {
    auto const tags = makePtr<Routing::RouteMap::TagSetStatus>();
    for (JsonValue const tag : value.expectArray()) {
        tags->tagIs(static_cast<U32>(tag.expectU64(0, max32)));
    }
    return tags;
}

/// The path of a file that a document names, as seen from the document. So a document and its files
/// can be moved together. Nothing is read from standard input by that name: a path begins with a
/// folder.
String besideDocument(String const & fileName, std::string_view name) {
    if (name.starts_with('/')) {
        return String(name);
    }
    auto const slash = fileName.rfind('/');
    String const folder = slash == String::npos ? "./" : fileName.substr(0, slash + 1);
    return folder + String(name);
}

PtrConst<RoaTable> readRoaTable(JsonValue const & value, String const & fileName,
                                Reporter const & warn) {
    if (value.isArray()) {
        return makePtr<RoaTable>(readRoas(value));
    }
    if (!value.isObject()) {
        value.fail("array of ROAs or {\"file\": NAME}");
    }
    JsonObjectReader reader(value);
    JsonValue const file = reader.require("file");
    reader.done();
    String const path = besideDocument(fileName, file.expectString("name of a file"));
    return makePtr<RoaTable>(readRoaExport(readPlainText(path, warn), path, warn));
}

// A section may be left out; a name stands once in it, as the parser has seen to.
template <typename List, typename Read>
void readSection(JsonObjectReader & document, ListKind kind, ListsByName<List> & lists,
                 Read const & read) {
    auto const section = document.optional(sectionName(kind));
    if (!section) {
        return;
    }
    for (JsonValue const list : section->expectObject()) {
        lists.emplace(list.key(), read(list));
    }
}

} // namespace

PtrConst<NamedLists> readLists(String text, String const & fileName, Reporter const & warn) {
    auto const json = JsonDocument::parse(std::move(text), fileName);
    JsonObjectReader document(json.root());
    JsonValue const format = document.require("qcf");
    if (!format.isString() || format.asString() != "lists/1") {
        format.fail("\"lists/1\"");
    }
    // Whoever asked gets all of them or, by an exception, none.
    auto lists = makePtr<NamedLists>();
    lists->fileName = fileName;
    readSection(document, ListKind::prefixList, lists->prefixLists, readPrefixList);
    readSection(document, ListKind::dynamicPrefixList, lists->dynamicPrefixLists,
                readDynamicPrefixList);
    readSection(document, ListKind::communityList, lists->communityLists,
                readCommunityList<StandardCommunityList>);
    readSection(document, ListKind::extCommunityList, lists->extCommunityLists,
                readCommunityList<ExtCommunityList>);
    readSection(document, ListKind::largeCommunityList, lists->largeCommunityLists,
                readCommunityList<LargeCommunityList>);
    readSection(document, ListKind::asPathAccessList, lists->asPathAccessLists, readAsPathList);
    readSection(document, ListKind::tagSet, lists->tagSets, readTagSet);
    readSection(document, ListKind::roaTable, lists->roaTables,
                [&](JsonValue const & value) { return readRoaTable(value, fileName, warn); });
    document.done();
    return lists;
}

PtrConst<NamedLists> readListsFile(String const & path, Reporter const & warn) {
    return readLists(readFile(path), path, warn);
}

} // namespace Qcf::Lists
