#include "Lists/ListsDocument.h"

#include "Lists/ListWords.h"
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
    auto const action = actionNamed(value.expectString("\"permit\" or \"deny\""));
    if (!action) {
        value.fail("\"permit\" or \"deny\"");
    }
    return *action;
}

/// `make` is communityPattern or asPathPattern.
WrittenPattern readPattern(JsonValue const & value, WrittenPattern (*make)(std::string_view)) {
    std::string_view const text = value.expectString("regular expression");
    try {
        return make(text);
    } catch (PatternError const & error) {
        value.fail({}, "regular expression", describe(value) + " (" + error.what() + ")");
    }
}

// Prefix lists.

std::optional<U8> readLength(std::optional<JsonValue> const & value, LengthBounds bounds) {
    return value ? std::optional(static_cast<U8>(value->expectU64(bounds.least, bounds.most)))
                 : std::nullopt;
}

PrefixListEntry readPrefixListEntry(JsonValue const & value, AddressFamily family) {
    JsonObjectReader reader(value);
    PrefixListEntry entry;
    entry.seq = static_cast<U32>(reader.require(word::seq).expectU64(0, max32));
    entry.action = readAction(reader.require(word::action));
    entry.prefix = readPrefix(reader.require(word::prefix), family);
    auto const lower = reader.optional(word::ge);
    auto const upper = reader.optional(word::le);
    reader.done();
    auto const ge = readLength(lower, boundsOfLonger(entry.prefix));
    lengthsAre(entry, ge, readLength(upper, boundsOfLe(entry.prefix, ge)));
    return entry;
}

std::vector<PrefixListEntry> readEntries(std::optional<JsonValue> const & value,
                                         AddressFamily family) {
    std::vector<PrefixListEntry> entries;
    std::unordered_set<U32> seqs;
    if (value) {
        entries.reserve(value->expectArray().size());
        for (JsonValue const element : *value) {
            entries.push_back(readPrefixListEntry(element, family));
            // Entries are tried by their numbers: two alike would leave open which one decides.
            if (!seqs.insert(entries.back().seq).second) {
                element.find(word::seq)->fail("seq that no entry before it has");
            }
        }
    }
    return entries;
}

PrefixListRecord readPrefixList(JsonValue const & value) {
    JsonObjectReader reader(value);
    JsonValue const family = reader.require(word::family);
    std::string_view const text = family.expectString("\"v4\" or \"v6\"");
    if (text != word::v4 && text != word::v6) {
        family.fail("\"v4\" or \"v6\"");
    }
    auto const covered = reader.optional(word::covered);
    JsonValue const entries = reader.require(word::entries);
    reader.done();
    auto const af = text == word::v4 ? AddressFamily::ipv4 : AddressFamily::ipv6;
    return {af, covered && covered->expectBool(), readEntries(entries, af)};
}

DynamicPrefixListRecord readDynamicPrefixList(JsonValue const & value) {
    JsonObjectReader reader(value);
    auto const v4 = reader.optional(word::v4);
    auto const v6 = reader.optional(word::v6);
    auto const vrfs = reader.optional(word::vrfs);
    reader.done();
    DynamicPrefixListRecord list;
    if (vrfs) {
        for (JsonValue const vrf : vrfs->expectObject()) {
            auto const id = Routing::TextPieces::parseDecimal(vrf.key(), max32);
            if (!id) {
                vrf.fail({}, "VRF id as key", '"' + String(vrf.key()) + '"');
            }
            list.vrfs.insert_or_assign(static_cast<U32>(*id), vrf.expectBool());
        }
    }
    list.v4 = readEntries(v4, AddressFamily::ipv4);
    list.v6 = readEntries(v6, AddressFamily::ipv6);
    return list;
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
    auto const community = isLarge ? parseLargeCommunity(text) : parseExtendedCommunity(text);
    if (!community) {
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
CommunityListRecord<List> readCommunityList(JsonValue const & value) {
    CommunityListRecord<List> list;
    list.entries.reserve(value.expectArray().size());
    for (JsonValue const element : value) {
        JsonObjectReader reader(element);
        auto & entry = list.entries.emplace_back();
        entry.action = readAction(reader.require(word::action));
        auto const communities = reader.optional(word::communities);
        auto const regex = reader.optional(word::regex);
        reader.done();
        // An entry of both would have to say which one decides.
        if (communities.has_value() == regex.has_value()) {
            element.fail({}, "either communities or regex", regex ? "both" : "neither");
        }
        if (regex) {
            entry.pattern = readPattern(*regex, communityPattern);
            continue;
        }
        for (JsonValue const community : communities->expectArray()) {
            entry.communities.push_back(
                readCommunity(community, static_cast<List const *>(nullptr)));
        }
    }
    return list;
}

// The rest.

// "any" is the same as nothing; it is there to be written out.
std::optional<U64> readOrigin(JsonValue const & value) {
    constexpr std::string_view wanted = R"("any", "igp", "egp" or "incomplete")";
    std::string_view const text = value.expectString(wanted);
    auto const origin = originNamed(text);
    if (!origin && text != word::anyOrigin) {
        value.fail(wanted);
    }
    return origin;
}

AsPathListRecord readAsPathList(JsonValue const & value) {
    AsPathListRecord list;
    for (JsonValue const element : value.expectArray()) {
        JsonObjectReader reader(element);
        ListAction const action = readAction(reader.require(word::action));
        JsonValue const regex = reader.require(word::regex);
        auto const origin = reader.optional(word::origin);
        reader.done();
        list.entries.push_back({action, readPattern(regex, asPathPattern),
                                origin ? readOrigin(*origin) : std::optional<U64>()});
    }
    return list;
}

TagSetRecord readTagSet(JsonValue const & value) {
    TagSetRecord list;
    list.tags.reserve(value.expectArray().size());
    for (JsonValue const tag : value) {
        list.tags.push_back(static_cast<U32>(tag.expectU64(0, max32)));
    }
    return list;
}

RoaTableRecord readRoaTable(JsonValue const & value, String const & fileName,
                            Reporter const & warn) {
    if (value.isArray()) {
        return {readRoas(value)};
    }
    if (!value.isObject()) {
        value.fail("array of ROAs or {\"file\": NAME}");
    }
    JsonObjectReader reader(value);
    JsonValue const file = reader.require(word::file);
    reader.done();
    String const path = pathBeside(fileName, file.expectString("name of a file"));
    return {readRoaExport(readPlainText(path, warn), path, warn)};
}

/// Takes the lists one by one as they are read.
template <typename Take>
class DocumentReader {
public:
    DocumentReader(JsonValue const & root, Take const & take) : document_(root), take_(take) {
        JsonValue const format = document_.require(word::format);
        if (!format.isString() || format.asString() != word::formatName) {
            format.fail("\"lists/1\"");
        }
    }

    void read(String const & fileName, Reporter const & warn) {
        section(ListKind::prefixList, readPrefixList);
        section(ListKind::dynamicPrefixList, readDynamicPrefixList);
        section(ListKind::communityList, readCommunityList<StandardCommunityList>);
        section(ListKind::extCommunityList, readCommunityList<ExtCommunityList>);
        section(ListKind::largeCommunityList, readCommunityList<LargeCommunityList>);
        section(ListKind::asPathAccessList, readAsPathList);
        section(ListKind::tagSet, readTagSet);
        section(ListKind::roaTable,
                [&](JsonValue const & value) { return readRoaTable(value, fileName, warn); });
        document_.done();
    }

private:
    // A section may be left out; a name stands once in it, as the parser has seen to.
    template <typename Read>
    void section(ListKind kind, Read const & readList) {
        auto const lists = document_.optional(sectionName(kind));
        if (!lists) {
            return;
        }
        for (JsonValue const list : lists->expectObject()) {
            take_(ListRecord{String(list.key()), readList(list)});
        }
    }

    JsonObjectReader document_;
    Take const & take_;
};

} // namespace

std::vector<ListRecord> readListRecords(JsonValue const & root, String const & fileName,
                                        Reporter const & warn) {
    std::vector<ListRecord> lists;
    auto const keep = [&](ListRecord record) { lists.push_back(std::move(record)); };
    DocumentReader(root, keep).read(fileName, warn);
    return lists;
}

PtrConst<NamedLists> readLists(String text, String const & fileName, Reporter const & warn,
                               EntryFindings * findings) {
    auto const json = JsonDocument::parse(std::move(text), fileName);
    // Whoever asked gets all of them or, by an exception, none.
    auto lists = makePtr<NamedLists>();
    lists->fileName = fileName;
    auto const make = [&](ListRecord record) {
        if (findings != nullptr) {
            noteEntries(*findings, record);
        }
        addList(*lists, std::move(record));
    };
    DocumentReader(json.root(), make).read(fileName, warn);
    return lists;
}

PtrConst<NamedLists> readListsFile(String const & path, Reporter const & warn) {
    return readLists(readFile(path), path, warn);
}

} // namespace Qcf::Lists
