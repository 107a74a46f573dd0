#include "Mirror/ProgramPublication.h"
#include "tests/Mirror/ListTools.h"
#include "tests/Mirror/MirrorTools.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

using test::lists;
using test::listsText;
using test::prefixLists;
using test::staged;

constexpr char const * everyKind = R"({
    "prefixLists": {"P": {"family": "v6", "covered": true, "entries": [
        {"seq": 5, "action": "deny", "prefix": "2001:db8::/32", "ge": 40, "le": 48}]}},
    "dynamicPrefixLists": {"D": {"v4": [{"seq": 1, "action": "permit", "prefix": "10.0.0.0/8"}],
        "v6": [{"seq": 1, "action": "permit", "prefix": "::/0", "le": 48}],
        "vrfs": {"1": true, "7": false}}},
    "communityLists": {"C": [{"action": "permit", "communities": ["65000:1", "no-export"]},
        {"action": "deny", "regex": "^65000:9"}]},
    "extCommunityLists": {"C": [{"action": "permit", "communities": ["rt:65000:5"]}]},
    "largeCommunityLists": {"C": [{"action": "permit", "communities": ["65000:1:2"]}]},
    "asPathAccessLists": {"A": [{"action": "permit", "regex": "_65001_", "origin": "igp"}]},
    "tagSets": {"T": [1, 2, 3], "empty": []},
    "roaTables": {"R": [{"prefix": "10.0.0.0/8", "maxLength": 24, "asn": 65001}]}})";

/// A publisher without a server, and a reader that gets its batches.
struct Pair {
    Pair() : source(writer.status()) {}

    /// Publishes functions and lists; answers the batch that the reader was given.
    Batch publish(U64 value, PublishedLists const & next) {
        ListChange const change{writer.lists(), next};
        publishProgram(test::policy(test::alike(3, value)), *writer.status(), writer.digests(),
                       static_cast<U32>(++number));
        writer.listsIs(next);
        Batch batch =
            source.takeBatch({number, newBatchId(), writer.version().id}, writer.digest(), change);
        reader.apply(staged(batch));
        writer.versionIs(batch.version());
        return batch;
    }

    U64 number = 0;
    Replica writer{"edge"};
    Replica reader{"edge"};
    ChangeSource source;
};

TEST(ListBatch, listsOfEveryKindComeBackAsTheyWere) {
    Pair pair;
    auto const all = lists(everyKind);
    pair.publish(1, all);
    EXPECT_EQ(listsText(pair.reader.lists()), listsText(all));
    auto const version = pair.reader.policy();
    ASSERT_TRUE(version->lists());
    EXPECT_TRUE(version->lists()->prefixLists.at("P")->match(
        *IpGenPrefix::parse("2001:db8:1::/64"))) // covered
        << "the list answers";
    EXPECT_TRUE(version->lists()->tagSets.contains("empty"));

    // What says everything says the lists, too.
    Replica late("edge");
    late.apply(staged(pair.source.snapshot({1, pair.reader.version().id, ""},
                                           pair.reader.version().digest, all)));
    EXPECT_EQ(listsText(late.lists()), listsText(all));
    EXPECT_EQ(late.version(), pair.reader.version());

    // Each list goes and comes by itself; the others stay the same objects.
    auto one = all;
    one.erase({Lists::ListKind::communityList, "C"});
    pair.publish(1, one);
    EXPECT_EQ(listsText(pair.reader.lists()), listsText(one));
    auto const next = pair.reader.policy();
    EXPECT_FALSE(next->lists()->communityLists.contains("C"));
    EXPECT_EQ(next->lists()->prefixLists.at("P"), version->lists()->prefixLists.at("P"));
    pair.publish(2, {});
    EXPECT_EQ(pair.reader.policy()->lists(), nullptr);
}

struct Change {
    char const * what;
    char const * before;
    char const * after;
    U64 added;
    U64 removed;
};

TEST(ListBatch, aChangeMovesWhatDiffers) {
    Change const changes[] = {
        {"a tag", R"({"tagSets": {"T": [1, 2, 3]}})", R"({"tagSets": {"T": [1, 4, 3]}})", 1, 1},
        {"the second family", R"({"dynamicPrefixLists": {"D": {"v4": [], "v6": [], "vrfs": {}}}})",
         R"({"dynamicPrefixLists": {"D": {"v4": [], "v6":
             [{"seq": 1, "action": "permit", "prefix": "::/0"}], "vrfs": {"1": true}}}})",
         1, 0},
        {"both families", R"({"dynamicPrefixLists": {"D": {
             "v4": [{"seq": 1, "action": "permit", "prefix": "10.0.0.0/8"}],
             "v6": [{"seq": 1, "action": "permit", "prefix": "::/0"}]}}})",
         R"({"dynamicPrefixLists": {"D": {
             "v4": [{"seq": 1, "action": "deny", "prefix": "10.0.0.0/8"}],
             "v6": [{"seq": 1, "action": "permit", "prefix": "::/0"},
                    {"seq": 2, "action": "permit", "prefix": "::/0"}]}}})",
         2, 1},
        {"what stands beside the entries",
         R"({"prefixLists": {"P": {"family": "v4", "entries": []}}})",
         R"({"prefixLists": {"P": {"family": "v6", "covered": true, "entries": []}}})", 0, 0},
        {"two that change places",
         R"({"asPathAccessLists": {"A": [{"action": "permit", "regex": "1"},
             {"action": "deny", "regex": "2"}]}})",
         R"({"asPathAccessLists": {"A": [{"action": "deny", "regex": "2"},
             {"action": "permit", "regex": "1"}]}})",
         1, 1},
    };
    for (Change const & change : changes) {
        SCOPED_TRACE(change.what);
        Pair pair;
        pair.publish(1, lists(change.before));
        auto const functions = pair.reader.policy()->functions();
        auto const batch = pair.publish(1, lists(change.after));
        EXPECT_EQ(listsText(pair.reader.lists()), listsText(lists(change.after)));
        EXPECT_EQ(batch.movedNodes, 0U);
        EXPECT_EQ(batch.listCounts.entriesAdded, change.added);
        EXPECT_EQ(batch.listCounts.entriesRemoved, change.removed);
        FunctionTable::eachDifference(
            functions, pair.reader.policy()->functions(),
            [](auto const *, auto const *) { FAIL() << "not the same objects"; });
    }
}

TEST(ListBatch, ofALargeListOnlyTheChangeTravels) {
    Pair pair;
    auto const first = pair.publish(1, lists(prefixLists(20'000)));
    auto const digest = pair.reader.version().digest;
    auto const second = pair.publish(1, lists(prefixLists(20'000, 100)));
    EXPECT_EQ(second.listCounts.entriesAdded, 100U);
    EXPECT_LT(second.bytes(), first.bytes() / 50);
    EXPECT_EQ(listsText(pair.reader.lists()), listsText(lists(prefixLists(20'000, 100))));
    EXPECT_NE(pair.reader.version().digest, digest) << "another version, by its digest too";
}

/// A prefix list numbered by the places of its entries, without those of the places left out.
String countedList(U32 count, std::set<U32> const & leftOut) {
    String entries;
    U32 seq = 0;
    for (U32 i = 0; i < count; ++i) {
        if (!leftOut.contains(i)) {
            seq += 10;
            entries += (entries.empty() ? "" : ",") + String(R"({"action":"permit","seq":)") +
                       std::to_string(seq) + R"(,"prefix":"10.)" + std::to_string(i / 256) + '.' +
                       std::to_string(i % 256) + R"(.0/24"})";
        }
    }
    return R"({"prefixLists":{"P":{"family":"v4","entries":[)" + entries + "]}}}";
}

TEST(ListBatch, anEntryThatGoesMovesNoneOfThoseBehindIt) {
    Pair pair;
    std::set<U32> const leftOuts[] = {{}, {7}, {7, 4000}, {4000}, {0, 4999}, {}};
    for (auto const & leftOut : leftOuts) {
        auto const next = lists(countedList(5000, leftOut));
        auto const batch = pair.publish(1, next);
        ASSERT_EQ(listsText(pair.reader.lists()), listsText(next));
        EXPECT_TRUE(pair.number == 1 || batch.bytes() < 2000) << batch.bytes();
        EXPECT_TRUE(pair.number == 1 || batch.listCounts.entriesAdded <= 2);
    }
    // The second family has numbers of its own.
    auto const both = [](char const * v4, char const * v6) {
        return lists(String(R"({"dynamicPrefixLists":{"D":{"v4":[)") + v4 + R"(],"v6":[)" + v6 +
                     R"(],"vrfs":{}}}})");
    };
    String const a = R"({"action":"permit","prefix":"10.0.0.0/8","seq":10})";
    pair.publish(1, both(a.c_str(), R"({"action":"permit","prefix":"2::/16","seq":10},
        {"action":"permit","prefix":"3::/16","seq":20})"));
    auto const next = both(R"({"action":"permit","prefix":"10.0.0.0/8","seq":30})",
                           R"({"action":"permit","prefix":"3::/16","seq":10})");
    EXPECT_EQ(pair.publish(1, next).listCounts.entriesAdded, 0U);
    EXPECT_EQ(listsText(pair.reader.lists()), listsText(next));
}

TEST(ListBatch, aVersionWithoutListsHasTheDigestOfItsFunctions) {
    Pair pair;
    pair.publish(1, {});
    Digest const functions = test::digestOf(pair.reader.status()->aet());
    EXPECT_EQ(pair.reader.version().digest, functions);
    pair.publish(1, lists(everyKind));
    EXPECT_NE(pair.reader.version().digest, functions);
    pair.publish(1, {});
    EXPECT_EQ(pair.reader.version().digest, functions);
}

/// A batch with these lines, right by its sum.
StagedBatch handmade(VersionId const & base, String const & lines) {
    String const start =
        R"({"start":{"format":5,"version":2,"id":"x","base":")" + base.id + "\"}}\n";
    String const body =
        lines + R"({"status":{"dedupedFunctionsPresent":true,"start":2,"end":2,"store":true}})" +
        '\n';
    Digester sum;
    sum.add(start + body);
    auto const count = 1 + std::count(body.begin(), body.end(), '\n');
    StagedBatch batch("test", start);
    batch.add(body);
    batch.finish(R"({"end":{"version":2,"digest":")" + base.digest.toString() +
                 R"(","functions":3,"nodes":9,"lists":1,"lines":)" + std::to_string(count) +
                 R"(,"sum":")" + sum.finish().toString() + "\"}}\n");
    return batch;
}

// Lines that are right by their sum and wrong by what they say; {} stands for the digest of T.
TEST(ListBatch, linesThatCannotBeMeantChangeNothing) {
    struct {
        char const * why;
        std::vector<String> lines;
    } const cases[] = {
        {"kind of lists", {R"("list":"lists","name":"T","entries":0,"digest":"")"}},
        {"list that is there", {R"("list":"tagSets","name":"U","gone":true)"}},
        {"digest of the list that is there",
         {R"("list":"tagSets","name":"T","from":"77","entries":0,"digest":"")"}},
        {"digest of the list that is there",
         {R"("list":"tagSets","name":"U","from":"{}","entries":0,"digest":"")"}},
        {"list before its edits", {R"("at":0,"drop":0,"add":[])"}},
        {"has other entries than were published",
         {R"("list":"tagSets","name":"T","from":"{}","entries":9,"digest":"")"}},
        {"is not what was published",
         {R"("list":"tagSets","name":"T","from":"{}","entries":3,"digest":"")"}},
        {"integer from 0 to 3",
         {R"("list":"tagSets","name":"T","from":"{}","entries":0,"digest":"")",
          R"("at":4,"drop":0,"add":[])"}},
        {"integer from 0 to 1",
         {R"("list":"tagSets","name":"T","from":"{}","entries":0,"digest":"")",
          R"("at":2,"drop":2,"add":[])"}},
        {"integer from 2 to 3",
         {R"("list":"tagSets","name":"T","from":"{}","entries":0,"digest":"")",
          R"("at":1,"drop":1,"add":[])", R"("at":1,"drop":0,"add":[])"}},
        {"row that is still to come",
         {R"("list":"tagSets","name":"T","from":"{}","entries":0,"digest":"")",
          R"("at":0,"drop":0,"add":[],"of":"v6")"}},
        {"integer from 0 to 4294967295",
         {R"("list":"tagSets","name":"T","from":"{}","entries":4,"digest":"")",
          R"("at":0,"drop":0,"add":[-1])"}},
        {"has other entries than were published", // two of one number
         {R"("list":"prefixLists","name":"Q","family":"v4","entries":2,"digest":"")",
          R"("at":0,"drop":0,"add":[{"seq":1,"action":"permit","prefix":"10.0.0.0/8"},)"
          R"({"seq":1,"action":"deny","prefix":"10.0.0.0/8"}])"}},
        {"integer from 0 to 0", // tags have no numbers
         {R"("list":"tagSets","name":"T","from":"{}","entries":3,"digest":"")",
          R"("number":[[1,1,10,10]])"}},
        {"list before its edits", {R"("number":[])"}},
        {"place, count, first number and step",
         {R"("list":"prefixLists","name":"Q","family":"v4","entries":0,"digest":"")",
          R"("number":[[0,0,0]])"}},
        {"numbers of at most 32 bits",
         {R"("list":"prefixLists","name":"Q","family":"v4","entries":2,"digest":"")",
          R"("at":0,"drop":0,"add":[{"seq":1,"action":"permit","prefix":"10.0.0.0/8"},)"
          R"({"seq":2,"action":"deny","prefix":"10.0.0.0/8"}])",
          R"("number":[[0,2,4294967295,1]])"}},
        {"integer from 1 to 1", // places rise
         {R"("list":"prefixLists","name":"Q","family":"v4","entries":1,"digest":"")",
          R"("at":0,"drop":0,"add":[{"seq":1,"action":"permit","prefix":"10.0.0.0/8"}])",
          R"("number":[[0,1,2,1],[0,1,3,1]])"}},
        {"regular expression",
         {R"("list":"asPathAccessLists","name":"A","entries":1,"digest":"")",
          R"("at":0,"drop":0,"add":[{"action":"permit","regex":"("}])"}},
    };
    Pair pair;
    pair.publish(1, lists(R"({"tagSets": {"T": [1, 2, 3]}})"));
    auto const before = pair.reader.version();
    String const digest = pair.reader.lists().begin()->second->digest().toString();
    for (auto const & each : cases) {
        String body;
        for (String line : each.lines) {
            if (auto const at = line.find("{}"); at != String::npos) {
                line.replace(at, 2, digest);
            }
            body += '{' + line + "}\n";
        }
        auto const batch = handmade(before, body);
        try {
            pair.reader.apply(batch);
            ADD_FAILURE() << "taken: " << each.lines.back();
        } catch (MirrorError const & error) {
            EXPECT_NE(String(error.what()).find(each.why), String::npos) << error.what();
        }
        EXPECT_EQ(pair.reader.version(), before);
    }
    EXPECT_EQ(pair.publish(2, pair.reader.lists()).listCounts.set, 0U) << "and it goes on";
}

} // namespace
} // namespace Qcf::Mirror
