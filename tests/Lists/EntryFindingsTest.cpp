#include "Lists/EntryFindings.h"

#include "Lists/ListUses.h"
#include "Lists/ListsDocument.h"
#include "tests/Documents/DocumentTools.h"

#include <chrono>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

/// What is found in a document's one list, as "POINTER: TEXT" for a list that is asked so.
std::vector<String> foundIn(String const & section, String const & list,
                            ListQuestions const & asked = {}) {
    EntryFindings findings;
    readLists(R"({"qcf": "lists/1", ")" + section + R"(": {"L": )" + list + "}}", "l.json", {},
              &findings);
    std::vector<String> lines;
    for (auto const & [key, found] : findings) {
        for (EntryFinding const & finding : found) {
            if (finding.holdsFor(asked)) {
                lines.push_back(finding.pointer + ": " + finding.text);
            }
        }
    }
    return lines;
}

String covered(char const * place, char const * what, char const * own, char const * earlier) {
    return String(place) + ": the entry with " + what + ' ' + own +
           " never decides, the one with " + what + ' ' + earlier + " covers it";
}

struct ListCase {
    char const * entries;
    std::vector<String> found;
};

TEST(EntryFindings, EntriesOfPrefixListsThatAnEarlierOneCovers) {
    auto const second = [](char const * own, char const * earlier) {
        return std::vector<String>{covered("/entries/1", "seq", own, earlier)};
    };
    String const first = R"({"seq": 10, "action": "permit", "prefix": "10.0.0.0/8")";
    ListCase const cases[] = {
        {R"(}, {"seq": 20, "action": "permit", "prefix": "10.0.0.0/8"})", second("20", "10")},
        {R"(}, {"seq": 20, "action": "deny", "prefix": "10.0.0.0/8"})", second("20", "10")},
        {R"(}, {"seq": 20, "action": "deny", "prefix": "10.0.0.0/8", "le": 9})", {}},
        {R"(}, {"seq": 20, "action": "deny", "prefix": "10.1.0.0/16"})", {}},
        {R"(, "le": 24}, {"seq": 20, "action": "deny", "prefix": "10.1.0.0/16"})",
         second("20", "10")},
        {R"(, "le": 24}, {"seq": 20, "action": "deny", "prefix": "10.1.0.0/16", "ge": 24})", {}},
        {R"(, "ge": 17}, {"seq": 20, "action": "deny", "prefix": "10.1.0.0/16"})", {}},
        {R"(, "ge": 17}, {"seq": 20, "action": "deny", "prefix": "10.1.0.0/16", "ge": 17})",
         second("20", "10")},
        {R"(, "le": 24}, {"seq": 20, "action": "deny", "prefix": "11.0.0.0/16"})", {}},
        // What is tried first is told by seq, not by the place.
        {R"(}, {"seq": 5, "action": "permit", "prefix": "10.0.0.0/8", "le": 9})",
         {covered("/entries/0", "seq", "10", "5")}},
        // The first of three covers both others.
        {R"(, "le": 32}, {"seq": 20, "action": "deny", "prefix": "10.0.0.0/9"},
            {"seq": 30, "action": "deny", "prefix": "10.0.0.0/9"})",
         {covered("/entries/1", "seq", "20", "10"), covered("/entries/2", "seq", "30", "10")}},
    };
    for (ListCase const & c : cases) {
        EXPECT_EQ(
            foundIn("prefixLists", R"({"family": "v4", "entries": [)" + first + c.entries + "]}"),
            c.found)
            << c.entries;
    }
    // Lengths of a covered list are of no account.
    EXPECT_EQ(foundIn("prefixLists", R"({"family": "v4", "covered": true, "entries": [)" + first +
                                         R"(}, {"seq": 20, "action": "deny",
                                             "prefix": "10.1.0.0/16", "ge": 20}]})"),
              second("20", "10"));
    EXPECT_EQ(foundIn("dynamicPrefixLists",
                      R"({"v6": [{"seq": 1, "action": "permit", "prefix": "::/0", "le": 128},
                          {"seq": 2, "action": "permit", "prefix": "2001:db8::/32"}]})"),
              std::vector<String>{covered("/v6/1", "seq", "2", "1")});
}

TEST(EntryFindings, OfPrefixListsAreThoseOfComparingEachPair) {
    std::mt19937 random(5);
    auto const below = [&](U32 bound) { return static_cast<U32>(random() % bound); };
    for (int round = 0; round < 300; ++round) {
        PrefixListRecord list{AddressFamily::ipv4, false, {}};
        for (U32 seq = 1; seq <= 25; ++seq) {
            auto const length = static_cast<U8>(below(5));
            IpGenPrefix const prefix(IpGenAddr::v4((below(32) << 27) & ~(0xffffffffU >> length)),
                                     length);
            auto const least = static_cast<U8>(length + below(4));
            list.entries.push_back(
                {seq, ListAction::permit, prefix, least, static_cast<U8>(least + below(4))});
        }
        std::vector<String> expected;
        for (std::size_t i = 0; i < list.entries.size(); ++i) {
            auto const & own = list.entries[i];
            bool const isCovered =
                std::any_of(list.entries.begin(), list.entries.begin() + static_cast<long>(i),
                            [&](PrefixListEntry const & earlier) {
                                return earlier.prefix.contains(own.prefix) &&
                                       earlier.minLength <= own.minLength &&
                                       earlier.maxLength >= own.maxLength;
                            });
            if (isCovered) {
                expected.push_back("/entries/" + std::to_string(i));
            }
        }
        std::vector<String> found;
        for (EntryFinding const & finding : findingsIn({"L", list})) {
            found.push_back(finding.pointer);
        }
        ASSERT_EQ(found, expected) << "round " << round;
    }
}

TEST(EntryFindings, WhatACommunityListIsAskedDecidesWhichEntriesAreIdle) {
    ListQuestions const matches{.matches = true};
    ListQuestions const single{.single = true};
    ListQuestions const exact{.exact = true};
    ListQuestions const unites{.unites = true};
    struct Case {
        char const * entries;
        bool inMatches;
        bool inExact;
        bool inUnion;
    };
    Case const cases[] = {
        {R"({"action": "permit", "communities": ["1:1"]},
            {"action": "permit", "communities": ["1:2", "1:1"]})",
         true, false, false},
        {R"({"action": "permit", "communities": ["1:1"]},
            {"action": "deny", "communities": ["1:1", "1:2"]})",
         true, false, true},
        {R"({"action": "permit", "communities": ["1:1", "1:2"]},
            {"action": "permit", "communities": ["1:2", "1:1"]})",
         true, true, true},
        {R"({"action": "deny", "communities": ["1:1"]},
            {"action": "permit", "communities": ["1:1"]})",
         true, true, false},
        {R"({"action": "permit", "communities": ["1:1", "1:2"]},
            {"action": "permit", "communities": ["1:1"]})",
         false, false, false},
        {R"({"action": "permit", "communities": []},
            {"action": "deny", "communities": ["1:1"]})",
         true, false, true},
        {R"({"action": "permit", "communities": []}, {"action": "deny", "regex": "1:1"})", true,
         true, true},
        {R"({"action": "permit", "regex": "1:1"}, {"action": "deny", "regex": "1:1"})", true, true,
         true},
        {R"({"action": "permit", "regex": "1:1"},
            {"action": "deny", "communities": ["1:1"]})",
         false, false, false},
    };
    for (Case const & c : cases) {
        auto const isTold = [&](ListQuestions const & asked) {
            auto const found = foundIn("communityLists", '[' + String(c.entries) + ']', asked);
            EXPECT_TRUE(found.empty() || found.front() == covered("/1", "number", "2", "1"));
            return !found.empty();
        };
        SCOPED_TRACE(c.entries);
        EXPECT_EQ(isTold(matches), c.inMatches);
        EXPECT_EQ(isTold(single), c.inMatches);
        EXPECT_EQ(isTold(exact), c.inExact);
        EXPECT_EQ(isTold(unites), c.inUnion);
        EXPECT_EQ(isTold({}), c.inMatches && c.inExact && c.inUnion) << "nobody asks";
        EXPECT_EQ(isTold({.matches = true, .exact = true}), c.inMatches && c.inExact);
    }
}

TEST(EntryFindings, OfCommunityListsAreThoseOfComparingEachPair) {
    std::mt19937 random(6);
    for (int round = 0; round < 300; ++round) {
        CommunityListRecord<StandardCommunityList> list;
        std::vector<std::vector<U64>> sets;
        for (int i = 0; i < 20; ++i) {
            std::vector<U64> & set = sets.emplace_back();
            for (U64 community = 0; community < 6; ++community) {
                if (random() % 2 == 0) {
                    set.push_back(community);
                }
            }
            list.entries.push_back({ListAction::permit, set, std::nullopt});
        }
        std::vector<String> expected;
        for (std::size_t i = 0; i < sets.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                if (std::includes(sets[i].begin(), sets[i].end(), sets[j].begin(), sets[j].end())) {
                    expected.push_back('/' + std::to_string(i));
                    break;
                }
            }
        }
        std::vector<String> found;
        for (EntryFinding const & finding : findingsIn({"L", list})) {
            found.push_back(finding.pointer);
        }
        ASSERT_EQ(found, expected) << "round " << round;
    }
}

TEST(EntryFindings, EntriesOfAsPathListsWithTheSamePatternAndOrigin) {
    ListCase const cases[] = {
        {R"({"action": "permit", "regex": "_1_"}, {"action": "deny", "regex": "_1_"})",
         {covered("/1", "number", "2", "1")}},
        {R"({"action": "permit", "regex": "_1_"}, {"action": "deny", "regex": "_2_"})", {}},
        {R"({"action": "permit", "regex": "_1_", "origin": "igp"},
            {"action": "deny", "regex": "_1_", "origin": "egp"})",
         {}},
        {R"({"action": "permit", "regex": "_1_", "origin": "igp"},
            {"action": "deny", "regex": "_1_"})",
         {}},
        {R"({"action": "permit", "regex": "_1_"},
            {"action": "deny", "regex": "_1_", "origin": "igp"})",
         {covered("/1", "number", "2", "1")}},
    };
    for (ListCase const & c : cases) {
        EXPECT_EQ(foundIn("asPathAccessLists", '[' + String(c.entries) + ']'), c.found)
            << c.entries;
    }
}

TEST(EntryFindings, AnchorsThatOnlyTheFirstOrTheLastCommunityMeets) {
    for (char const * const lone :
         {"^1:1", "1:1$", "(^1:1)", "^1:1|^2:2", "(a|^b)", "x(^| y)|^z", "[^1]$", "^[]^]"}) {
        EXPECT_TRUE(hasLoneAnchor(lone)) << lone;
    }
    for (char const * const fine :
         {"1:1", "^$", "(^| )1:1( |$)", "(?:^| )1:1", "(a|^|b)", "[^1]", "[$^]1", "[]^]", "[^]$]",
          "\\^1", "1\\$", "\\Q^1$\\E", "^.*1:1( |$)", "1:1.*$", ""}) {
        EXPECT_FALSE(hasLoneAnchor(fine)) << fine;
    }
    for (char const * foreign : {"rt:65000:", "no-export", "65000:(1)x", "[0-9]:as", "6k+"}) {
        EXPECT_TRUE(wantsForeignLetter(foreign, "")) << foreign;
    }
    for (char const * fine :
         {"65000:1", "\\d+:1", "[a-z]:1", "65000:k?", "r*1", "a|1", "(?i)1", "()"}) {
        EXPECT_FALSE(wantsForeignLetter(fine, "")) << fine;
    }
    EXPECT_FALSE(wantsForeignLetter("^0x0002fde8", "abcdefx"));
    String const list = R"([{"action": "permit", "regex": "^1:1"}])";
    EXPECT_EQ(foundIn("communityLists", list, {.matches = true}).size(), 1U);
    EXPECT_EQ(foundIn("communityLists", list, {.single = true, .exact = true}).size(), 0U);
    EXPECT_EQ(foundIn("communityLists", list).size(), 0U) << "nobody asks";
}

TEST(EntryFindings, QuestionsAreThoseOfAllFunctionsAndTheirCallees) {
    auto const use = [](char const * node, char const * name) {
        return R"({"class": ")" + String(node) + R"(", "lhs": "community", "listName": ")" + name +
               "\"}";
    };
    auto const program = Documents::test::read(Documents::test::documentOf(
        use("IntSetMatchCommList", "A") + "," + use("IntSetRetainCommList", "A") + "," +
        use("IntSetMatchExactCommList", "B") + "," + use("IntSetAddCommList", "C")));
    auto const questions = questionsOf(program.functions);
    auto const of = [&](char const * name) {
        auto const & asked = questions.at({SlotKind::commList, name});
        return std::array{asked.matches, asked.single, asked.exact, asked.unites};
    };
    EXPECT_EQ(of("A"), (std::array{true, true, false, false}));
    EXPECT_EQ(of("B"), (std::array{false, false, true, false}));
    EXPECT_EQ(of("C"), (std::array{false, false, false, true}));
}

// Pairs of few communities and one prefix with all its ranges are what a search could drown in.
TEST(EntryFindings, HostileListsTakeNoQuadraticTime) {
    constexpr U32 count = 200'000;
    CommunityListRecord<StandardCommunityList> pairs;
    PrefixListRecord ranges{AddressFamily::ipv6, false, {}};
    IpGenPrefix const all = IpGenPrefix::parse("::/0").value();
    for (U32 i = 0; i < count; ++i) {
        pairs.entries.push_back({ListAction::permit, {i % 450, 1000 + i / 450}, std::nullopt});
        auto const least = static_cast<U8>(i % 129);
        ranges.entries.push_back(
            {i, ListAction::permit, all, least, static_cast<U8>(least + i / 129 % (129 - least))});
    }
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(findingsIn({"L", pairs}).size(), 0U);
    EXPECT_GT(findingsIn({"L", ranges}).size(), count / 2);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

} // namespace
} // namespace Qcf::Lists
