#include "Lists/ListsDocument.h"
#include "Text/ListPrinter.h"
#include "tests/Text/ListTools.h"

#include <filesystem>
#include <random>

#include <gmock/gmock.h>

using namespace Qcf::Text;  // NOLINT(google-build-using-namespace): what is under test
using namespace Qcf::Lists; // NOLINT(google-build-using-namespace): what is printed

namespace {

using testing::IsEmpty;
/// Numbers of 32 bits; the engine's own type is wider.
struct Random {
    std::mt19937 engine;
    U32 operator()() { return static_cast<U32>(engine()); }
};

/// From text to lists and to a document, and back from either.
void expectBack(std::vector<ListRecord> const & lists) {
    String const text = printLists(lists);
    String const json = jsonOf(lists);
    ReadLists const read(text);
    std::vector<String> errors = read.lines();
    std::erase_if(errors, [](String const & line) { return line.find("warning") != String::npos; });
    EXPECT_THAT(errors, IsEmpty()) << text;
    EXPECT_EQ(jsonOf(read.records()), json) << text;
    EXPECT_EQ(printLists(read.records()), text);
    auto const document = JsonDocument::parse(json, "l.json");
    EXPECT_EQ(jsonOf(readListRecords(document.root(), "l.json")), json);
}

std::vector<ListRecord> recordsOf(String text) {
    return readListRecords(JsonDocument::parse(std::move(text), "l.json").root(), "l.json");
}

ListAction anyAction(Random & random) {
    return random() % 3 == 0 ? ListAction::deny : ListAction::permit;
}

IpGenPrefix anyPrefix(Random & random, AddressFamily family) {
    if (family == AddressFamily::ipv4) {
        return {IpGenAddr::v4(static_cast<U32>(random())), static_cast<U8>(random() % 33)};
    }
    String text;
    for (U32 i = 0; i < 4; ++i) {
        text += std::to_string(random() % 10000) + ':';
    }
    return IpGenPrefix::parse(text + ":/" + std::to_string(random() % 129), HostBits::mask).value();
}

std::vector<PrefixListEntry> anyEntries(Random & random, AddressFamily family) {
    std::vector<PrefixListEntry> entries;
    U32 seq = 0;
    for (U32 count = random() % 6; count != 0; --count) {
        seq += random() % 3 == 0 ? 1 + static_cast<U32>(random() % 99) : 10;
        auto & entry = entries.emplace_back();
        entry.seq = seq;
        entry.action = anyAction(random);
        entry.prefix = anyPrefix(random, family);
        U32 const width = addressWidth(family);
        U32 const own = entry.prefix.len();
        U32 const least = random() % 2 == 0 ? own : own + random() % (width - own + 1);
        U32 const most = random() % 2 == 0 ? width : least + random() % (width - least + 1);
        entry.minLength = static_cast<U8>(least);
        entry.maxLength = static_cast<U8>(random() % 3 == 0 ? least : most);
    }
    return entries;
}

char const * const patterns[] = {
    "^65000:9", "\"\\", "(^| )1:[0-9]+( |$)",   "_(1|([5-9]))_", "a\nb",
    "\\d+\\",   "",     "(^| )1:2:([3-4])( |$)"};

template <typename List>
CommunityListRecord<List> anyCommunities(Random & random) {
    CommunityListRecord<List> list;
    for (U32 count = random() % 5; count != 0; --count) {
        auto & entry = list.entries.emplace_back();
        entry.action = anyAction(random);
        if (random() % 2 == 0) {
            try {
                entry.pattern = communityPattern(patterns[random() % std::size(patterns)]);
                continue;
            } catch (PatternError const &) {
            }
        }
        for (U32 values = random() % 4; values != 0; --values) {
            if constexpr (std::is_same_v<List, StandardCommunityList>) {
                entry.communities.push_back(random() % 4 == 0 ? 0xffffff01 : random());
            } else {
                bool const isLarge = std::is_same_v<List, LargeCommunityList>;
                entry.communities.emplace_back((U64{random()} << 32) | random(),
                                               static_cast<U32>(isLarge ? random() % 3 : 0));
            }
        }
    }
    return list;
}

} // namespace

TEST(ListPrinter, PrintsAsPeopleWrite) {
    char const * const text = R"(list prefix_list LENGTHS v4 { permit 0.0.0.0/0 ge 8 le 24 }
list prefix_list "a b" v6 covered { seq 5 deny 2001:db8::/32  permit ::/0 }
list dynamic_prefix_list MEMBERS { vrfs { 1, 2 false }  v4 { permit 192.0.2.0/24 le 26 } }
list community_list BACKUP {
  permit { 64496:50, no-export }
  permit { 65000:* }
  deny { 65000:900..999 }
  permit "^65000:9"
}
list as_path_list LEAKS {
  permit "^1299_(174|701)_" origin egp
  permit contains { 64496..131071 }
}
list tag_set LOCAL { 7, 77, 777 }
list tag_set NONE {}
list roa_table RPKI { 1.1.1.0/24 AS13335  2001:db8::/32 max 48 AS64500 }
)";
    ReadLists const read(text);
    EXPECT_THAT(read.lines(), IsEmpty());
    EXPECT_EQ(printLists(read.records()), text);
}

TEST(ListPrinter, ExamplesReadBack) {
    U32 found = 0;
    for (auto const & file :
         std::filesystem::directory_iterator(String(QCF_SOURCE_DIR) + "/examples")) {
        if (file.path().string().ends_with(".lists.json")) {
            expectBack(recordsOf(readFile(file.path().string())));
            ++found;
        }
    }
    EXPECT_GE(found, 4U);
}

TEST(ListPrinter, AnyListReadsBack) {
    Random random{std::mt19937(3)};
    for (U32 round = 0; round < 1000; ++round) {
        AsPathListRecord paths;
        for (U32 count = random() % 4; count != 0; --count) {
            char const * const pattern = round % 2 == 0 ? "_(1|([5-9]))_" : "\\bx\"";
            auto const origin = random() % 4;
            paths.entries.push_back({anyAction(random), asPathPattern(pattern),
                                     origin == 3 ? std::nullopt : std::optional<U64>(origin)});
        }
        TagSetRecord tags;
        for (U32 count = random() % 60; count != 0; --count) {
            tags.tags.push_back(static_cast<U32>(random()));
        }
        RoaTableRecord roas;
        for (U32 count = random() % 5; count != 0; --count) {
            auto const prefix = anyPrefix(random, AddressFamily::ipv6);
            U32 const room = 129U - prefix.len();
            roas.roas.push_back({prefix, static_cast<U8>(prefix.len() + random() % room),
                                 static_cast<U32>(random())});
        }
        auto const v4 = AddressFamily::ipv4;
        auto const v6 = AddressFamily::ipv6;
        expectBack({{"list", PrefixListRecord{v4, random() % 2 == 0, anyEntries(random, v4)}},
                    {"P6", PrefixListRecord{v6, false, anyEntries(random, v6)}},
                    {"1\n\"\\", DynamicPrefixListRecord{anyEntries(random, v4),
                                                        anyEntries(random, v6),
                                                        {{1, true}, {2, random() % 2 == 0}}}},
                    {"", anyCommunities<StandardCommunityList>(random)},
                    {"E", anyCommunities<ExtCommunityList>(random)},
                    {"G", anyCommunities<LargeCommunityList>(random)},
                    {"A", paths},
                    {"med", tags},
                    {"65000:1", roas}});
    }
}
