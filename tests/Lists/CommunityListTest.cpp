#include "Agent/Evaluation/AgentContext.h"
#include "Lists/ListsDocument.h"
#include "Platform/Routing/CommunityText.h"

#include <algorithm>
#include <random>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

using Eval::CommunitySmallVector;
using Eval::ModifyFlag;
using Eval::U64SmallVector;

Ptr<U64SmallVector> standardSet(String const & text, ModifyFlag flag = ModifyFlag::copyOnWrite) {
    auto set = makePtr<U64SmallVector>(flag);
    std::istringstream words(text);
    for (String word; words >> word;) {
        set->insert(parseStandardCommunity(word).value());
    }
    set->normalize();
    return set;
}

String text(U64SmallVector const * set) {
    String out;
    for (std::size_t i = 0; set != nullptr && i < set->count(); ++i) {
        out += (i == 0 ? "" : " ") + standardCommunityText(set->at(i));
    }
    return out;
}

PtrConst<NamedLists> listsOf(String const & sections) {
    return readLists(R"({"qcf": "lists/1", )" + sections + "}", "lists.json");
}

PtrConst<StandardCommunityList> standardList(String const & entries) {
    return listsOf(R"("communityLists": {"L": )" + entries + "}")->communityLists.at("L");
}

/// What the six operations make of a route's communities.
String outcome(Agent::AgentContext & context, String const & route,
               PtrConst<StandardCommunityList> const & list, char const * operation) {
    auto const set = standardSet(route);
    PtrConst<Routing::RouteMap::StandardCommListStatus> const status = list;
    auto const yesOrNo = [](bool answer) -> String { return answer ? "true" : "false"; };
    switch (operation[0]) {
    case 'm':
        return yesOrNo(context.matchCommList(set, status));
    case 'e':
        return yesOrNo(context.matchExactCommList(set, status));
    case 's':
        return text(context.commAssignCommList(status).get());
    case 'a':
        return text(context.commAddCommList(set, status).get());
    case 'd':
        return text(context.commRemoveCommList(set, status).get());
    default:
        return text(context.commRetainCommList(set, status).get());
    }
}

TEST(CommunityList, Operations) {
    struct Case {
        char const * list;
        char const * route;
        char const * operation; ///< match exact set add delete keep
        char const * result;
    };
    constexpr char const * single = R"([{"action": "permit", "communities": ["1:1"]}])";
    constexpr char const * both = R"([{"action": "permit", "communities": ["1:2", "1:1"]}])";
    constexpr char const * denyFirst = R"([{"action": "deny", "communities": ["1:9"]},
        {"action": "permit", "communities": ["1:1", "no-export"]},
        {"action": "permit", "regex": "^1:"}])";
    constexpr char const * everything = R"([{"action": "deny", "communities": ["1:1"]},
        {"action": "permit", "communities": []}])";
    constexpr char const * words = R"([{"action": "permit", "regex": "^1:1 1:2$"}])";
    constexpr Case cases[] = {
        {"[]", "1:1", "match", "false"},
        {"[]", "1:1 1:2", "delete", "1:1 1:2"},
        {"[]", "1:1", "keep", ""},
        {"[]", "1:1", "add", "1:1"},
        {"[]", "1:1", "set", ""},
        {single, "1:1 1:2", "match", "true"},
        {single, "", "match", "false"},
        {single, "1:1 1:2", "exact", "false"},
        {single, "1:1", "exact", "true"},
        {single, "1:2", "add", "1:1 1:2"},
        {single, "", "add", "1:1"},
        {single, "1:2", "set", "1:1"},
        {single, "1:1 1:2", "delete", "1:2"},
        {single, "1:1", "delete", ""},
        {single, "1:1 1:2", "keep", "1:1"},
        // All of an entry's communities: one alone is not enough.
        {both, "1:1", "match", "false"},
        {both, "1:1 1:2 1:3", "match", "true"},
        {both, "1:1 1:2", "exact", "true"},
        {both, "1:1 1:2 1:3", "exact", "false"},
        {both, "1:1 1:2", "delete", "1:1 1:2"},
        {both, "1:1 1:2", "keep", ""},
        {both, "1:3", "add", "1:1 1:2 1:3"},
        {denyFirst, "1:1", "match", "true"},
        {denyFirst, "1:9 1:1", "match", "false"},
        {denyFirst, "2:1", "match", "false"},
        {denyFirst, "1:9", "exact", "false"},
        {denyFirst, "65535:65281 1:1", "exact", "true"},
        {denyFirst, "2:1", "set", "1:1 65535:65281"},
        {denyFirst, "1:9 1:1 2:1", "delete", "1:9 2:1"},
        {denyFirst, "1:9 1:1 2:1", "keep", "1:1"},
        {everything, "", "match", "true"},
        {everything, "", "exact", "true"},
        {everything, "2:2", "exact", "false"},
        {everything, "1:1 2:2", "match", "false"},
        {everything, "1:1 2:2", "keep", "2:2"},
        {words, "1:2 1:1", "match", "true"},
        {words, "1:2 1:1", "exact", "false"},
        {words, "1:2 1:1", "keep", ""},
    };
    Agent::AgentContext context(nullptr);
    Agent::Route const route;
    context.routeIs(route);
    for (Case const & c : cases) {
        EXPECT_EQ(outcome(context, c.route, standardList(c.list), c.operation), c.result)
            << c.operation << ' ' << c.route << " with " << c.list;
    }
}

/// The rule as it is told, one entry after the other, over texts.
struct PlainEntry {
    bool permit = false;
    std::set<U64> communities;
    char const * regex = nullptr;
};

bool plainMatches(std::vector<PlainEntry> const & entries, std::set<U64> const & route,
                  bool exactly) {
    String routeText;
    for (U64 const community : route) {
        routeText += (routeText.empty() ? "" : " ") + standardCommunityText(community);
    }
    for (PlainEntry const & entry : entries) {
        bool matches = false;
        if (entry.regex != nullptr) {
            matches = !exactly && Pattern(entry.regex).foundIn(routeText);
        } else if (exactly) {
            matches = entry.communities == route;
        } else {
            matches = std::ranges::includes(route, entry.communities);
        }
        if (matches) {
            return entry.permit;
        }
    }
    return false;
}

std::set<U64> pick(std::mt19937 & random, U32 most) {
    std::set<U64> picked;
    for (auto left = random() % (most + 1); left > 0; --left) {
        picked.insert((U64{1} << 16) + random() % 12);
    }
    return picked;
}

std::vector<PlainEntry> randomEntries(std::mt19937 & random) {
    constexpr char const * expressions[] = {"1:7", ":3$", "^1:2 ", "1:[45] 1:6", "^$", "1:1[01]"};
    std::vector<PlainEntry> entries(random() % 12);
    for (PlainEntry & entry : entries) {
        entry.permit = random() % 3 != 0;
        if (random() % 5 == 0) {
            entry.regex = expressions[random() % std::size(expressions)];
        } else if (random() % 40 != 0) {
            entry.communities = pick(random, 3);
        }
    }
    return entries;
}

std::vector<StandardCommunityList::Matcher::Entry> ready(std::vector<PlainEntry> const & entries) {
    std::vector<StandardCommunityList::Matcher::Entry> made;
    for (PlainEntry const & entry : entries) {
        auto & to = made.emplace_back();
        to.action = entry.permit ? ListAction::permit : ListAction::deny;
        to.communities.assign(entry.communities.rbegin(), entry.communities.rend());
        if (entry.regex != nullptr) {
            to.pattern.emplace(entry.regex);
        }
    }
    return made;
}

TEST(CommunityList, AgreesWithTryingOneEntryAfterTheOther) {
    std::mt19937 random(1);
    String buffer;
    U32 matched = 0;
    for (U32 round = 0; round < 1500; ++round) {
        auto const entries = randomEntries(random);
        StandardCommunityList const list(ready(entries));
        for (U32 i = 0; i < 20; ++i) {
            auto const route = pick(random, i);
            U64SmallVector set(ModifyFlag::copyOnWrite);
            for (U64 const community : route) {
                set.insert(community);
            }
            bool const expected = plainMatches(entries, route, false);
            ASSERT_EQ(list.matcher().matches(&set, buffer), expected) << "round " << round;
            ASSERT_EQ(list.matcher().matchesExactly(&set), plainMatches(entries, route, true))
                << "round " << round;
            for (U64 const community : route) {
                ASSERT_EQ(list.matcher().permits(community, buffer),
                          plainMatches(entries, {community}, false))
                    << "round " << round;
            }
            matched += expected ? 1 : 0;
        }
    }
    EXPECT_GT(matched, 3000U);
    EXPECT_LT(matched, 27000U);
}

TEST(CommunityList, TextsThatPatternsSee) {
    auto const lists = listsOf(R"(
        "extCommunityLists": {"L": [{"action": "permit",
            "regex": "^0x0002fde800000005 0x4004fde8447a0000$"}]},
        "largeCommunityLists": {"L": [{"action": "permit", "regex": "^1:2:3 4294967295:0:1$"}]})");
    auto const ext = makePtr<CommunitySmallVector>(ModifyFlag::copyOnWrite);
    ext->insert(parseCommunityValue("rt:65000:5").value());
    ext->insert(parseCommunityValue("lbw:65000:1000").value());
    auto const large = makePtr<CommunitySmallVector>(ModifyFlag::copyOnWrite);
    large->insert(parseCommunityValue("1:2:3").value());
    large->insert(parseCommunityValue("4294967295:0:1").value());
    Agent::AgentContext context(nullptr);
    EXPECT_TRUE(context.matchExtCommList(ext, lists->extCommunityLists.at("L")));
    EXPECT_TRUE(context.matchLargeCommList(large, lists->largeCommunityLists.at("L")));
    EXPECT_FALSE(context.matchLargeCommList(ext, lists->largeCommunityLists.at("L")));
    EXPECT_FALSE(context.matchExtCommList(nullptr, lists->extCommunityLists.at("L")));
}

TEST(CommunityList, WritesInPlaceOnlyWhereNobodyElseLooks) {
    Agent::AgentContext context(nullptr);
    Agent::Route const route;
    context.routeIs(route);
    auto const list = standardList(R"([{"action": "permit", "communities": ["1:1"]}])");
    PtrConst<Routing::RouteMap::StandardCommListStatus> const status = list;

    auto const own = standardSet("1:2 1:3", ModifyFlag::reuseOnWrite);
    EXPECT_EQ(context.commAddCommList(own, status), own);
    EXPECT_EQ(text(own.get()), "1:1 1:2 1:3");
    EXPECT_EQ(context.commRemoveCommList(own, status), own);
    EXPECT_EQ(text(own.get()), "1:2 1:3");

    auto const shared = standardSet("1:1 1:2");
    auto const removed = context.commRemoveCommList(shared, status);
    EXPECT_EQ(text(removed.get()), "1:2");
    EXPECT_EQ(removed->modifyFlag(), ModifyFlag::reuseOnWrite);
    EXPECT_EQ(text(shared.get()), "1:1 1:2");

    // What is unchanged is handed back, and an assigned set is the list's own.
    EXPECT_EQ(context.commAddCommList(shared, status), shared);
    auto const assigned = context.commAssignCommList(status);
    EXPECT_EQ(assigned->modifyFlag(), ModifyFlag::copyOnWrite);
    EXPECT_EQ(context.commAssignCommList(status), assigned);
    EXPECT_EQ(text(context.commAddCommList(assigned, status).get()), "1:1");
    // No status at all is an empty list.
    EXPECT_EQ(context.commRemoveCommList(shared, nullptr), shared);
    EXPECT_EQ(context.commRetainCommList(shared, nullptr), nullptr);
    EXPECT_EQ(context.commAssignCommList(nullptr), nullptr);
    EXPECT_FALSE(context.matchCommList(shared, nullptr));
}

TEST(CommunityList, BuiltSetsKnowTheirLinkBandwidth) {
    auto const lists = listsOf(R"("extCommunityLists": {
        "LBW": [{"action": "permit", "communities": ["lbw:65000:1000", "rt:1:1"]}],
        "RT": [{"action": "permit", "communities": ["rt:1:1"]}]})");
    auto const bandwidth = parseCommunityValue("lbw:65000:1000").value();
    Agent::AgentContext context(nullptr);
    Agent::Route const route;
    context.routeIs(route);
    auto set = makePtr<CommunitySmallVector>(ModifyFlag::copyOnWrite);
    set->insert(parseCommunityValue("rt:1:2").value());

    auto const & list = lists->extCommunityLists.at("LBW");
    EXPECT_EQ(context.extCommAssignExtCommList(list)->lbwValue(), bandwidth);
    auto const added = context.extCommAddExtCommList(set, list);
    EXPECT_EQ(added->count(), 3U);
    EXPECT_EQ(added->lbwValue(), bandwidth);
    auto const kept = context.extCommRemoveExtCommList(added, lists->extCommunityLists.at("RT"));
    EXPECT_EQ(kept->count(), 2U);
    EXPECT_EQ(kept->lbwValue(), bandwidth);
    auto const retained =
        context.extCommRetainExtCommList(added, lists->extCommunityLists.at("RT"));
    EXPECT_EQ(retained, nullptr) << "the same set was edited before";
}

} // namespace
} // namespace Qcf::Lists
