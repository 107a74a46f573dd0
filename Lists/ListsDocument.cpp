#include "Lists/ListsDocument.h"

#include "Lists/EntryReader.h"
#include "Lists/ListWords.h"
#include "Lists/PlainText.h"
#include "Lists/RoaExport.h"
#include "Platform/Render/JsonObjectReader.h"

#include <unordered_set>

/// A list that was understood only in part would permit or deny what nobody wrote. Therefore
/// nothing is passed over: each object says when it is done, and members that are left then are
/// faults.
namespace Qcf::Lists {

namespace {

// Prefix lists.

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
    AddressFamily const family = readListFamily(reader.require(word::family));
    auto const covered = reader.optional(word::covered);
    JsonValue const entries = reader.require(word::entries);
    reader.done();
    return {family, covered && covered->expectBool(), readEntries(entries, family)};
}

DynamicPrefixListRecord readDynamicPrefixList(JsonValue const & value) {
    JsonObjectReader reader(value);
    auto const v4 = reader.optional(word::v4);
    auto const v6 = reader.optional(word::v6);
    auto const vrfs = reader.optional(word::vrfs);
    reader.done();
    DynamicPrefixListRecord list;
    if (vrfs) {
        list.vrfs = readVrfs(*vrfs);
    }
    list.v4 = readEntries(v4, AddressFamily::ipv4);
    list.v6 = readEntries(v6, AddressFamily::ipv6);
    return list;
}

// The rest.

template <typename List>
CommunityListRecord<List> readCommunityList(JsonValue const & value) {
    CommunityListRecord<List> list;
    list.entries.reserve(value.expectArray().size());
    for (JsonValue const element : value) {
        list.entries.push_back(readCommunityEntry<List>(element));
    }
    return list;
}

AsPathListRecord readAsPathList(JsonValue const & value) {
    AsPathListRecord list;
    for (JsonValue const element : value.expectArray()) {
        list.entries.push_back(readAsPathEntry(element));
    }
    return list;
}

TagSetRecord readTagSet(JsonValue const & value) {
    TagSetRecord list;
    list.tags.reserve(value.expectArray().size());
    for (JsonValue const tag : value) {
        list.tags.push_back(readTag(tag));
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
    return {readRoaExportFile(path, warn)};
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
