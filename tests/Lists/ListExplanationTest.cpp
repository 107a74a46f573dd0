#include "Lists/CommunityList.h"
#include "Lists/ListRecord.h"
#include "Platform/Routing/CommunityText.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

/// Choices of one test, the same in every run.
class Dice {
public:
    explicit Dice(U32 seed) : random_(seed) {}
    U32 below(U32 bound) { return static_cast<U32>(random_() % bound); }
    bool oneIn(U32 chances) { return below(chances) == 0; }

private:
    std::mt19937 random_;
};

constexpr int questions = 10'000;
constexpr int perList = 20;

/// A prefix among few, so that entries nest and candidates meet them.
IpGenPrefix somePrefix(Dice & dice, AddressFamily family, U32 longest) {
    auto const length = static_cast<U8>(dice.below(longest + 1));
    if (family == AddressFamily::ipv4) {
        return {IpGenAddr::v4(0x0a000000 + (dice.below(4) << 22) + dice.below(8)), length};
    }
    static IpGenAddr const bases[] = {*IpGenAddr::parse("2001:db8::"),
                                      *IpGenAddr::parse("2001:db8:8000::1")};
    return {bases[dice.below(2)], length};
}

std::vector<PrefixListEntry> someEntries(Dice & dice, AddressFamily family, U8 width) {
    std::vector<PrefixListEntry> entries(dice.below(9));
    for (U32 i = 0; i < entries.size(); ++i) {
        PrefixListEntry & entry = entries[i];
        entry.seq = 10 * (i + 1);
        entry.action = dice.oneIn(3) ? ListAction::deny : ListAction::permit;
        entry.prefix = somePrefix(dice, family, width);
        entry.minLength =
            static_cast<U8>(entry.prefix.len() + dice.below(width + 1U - entry.prefix.len()));
        entry.maxLength =
            static_cast<U8>(entry.minLength + dice.below(width + 1U - entry.minLength));
    }
    std::shuffle(entries.begin(), entries.end(), std::minstd_rand(dice.below(99)));
    return entries;
}

/// The entry that decides, looked for one by one.
std::optional<U32> firstMatching(std::vector<PrefixListEntry> const & entries,
                                 IpGenPrefix const & candidate) {
    std::optional<U32> first;
    for (PrefixListEntry const & entry : entries) {
        bool const matches = entry.prefix.contains(candidate) &&
                             entry.minLength <= candidate.len() &&
                             candidate.len() <= entry.maxLength;
        if (matches && (!first || entry.seq < *first)) {
            first = entry.seq;
        }
    }
    return first;
}

TEST(ListExplanation, PrefixListsAgree) {
    Dice dice(1);
    for (auto const family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
        for (int round = 0; round < questions / perList; ++round) {
            U8 const width = addressWidth(family);
            auto const entries = someEntries(dice, family, width);
            PrefixListTrie const list(family, entries);
            for (int i = 0; i < perList; ++i) {
                auto const other = dice.oneIn(10) ? AddressFamily::ipv6 : family;
                auto const candidate = somePrefix(dice, other, addressWidth(other));
                auto const why = list.explain(candidate);
                ASSERT_EQ(why.answer, list.match(candidate)) << candidate.toString();
                ASSERT_EQ(why.entry, firstMatching(entries, candidate)) << candidate.toString();
                ASSERT_FALSE(why.text.empty());
            }
        }
    }
}

template <typename List, typename MakeValue>
void expectCommunityListsAgree(Dice & dice, std::vector<char const *> const & patterns,
                               MakeValue const & make) {
    using Matcher = typename List::Matcher;
    for (int round = 0; round < questions / perList; ++round) {
        std::vector<typename Matcher::Entry> entries(dice.below(8));
        for (auto & entry : entries) {
            entry.action = dice.oneIn(3) ? ListAction::deny : ListAction::permit;
            if (dice.oneIn(5)) {
                entry.pattern = Pattern(patterns[dice.below(static_cast<U32>(patterns.size()))]);
            }
            for (U32 n = entry.pattern || dice.oneIn(20) ? 0 : 1 + dice.below(3); n > 0; --n) {
                entry.communities.push_back(make(dice.below(8)));
            }
        }
        List const list(std::move(entries));
        String text;
        for (int i = 0; i < perList; ++i) {
            auto const set = makePtr<typename Matcher::Set>(Eval::ModifyFlag::copyOnWrite);
            for (U32 n = dice.below(5); n > 0; --n) {
                set->insert(make(dice.below(8)));
            }
            set->normalize();
            auto const * const asked = set->empty() && dice.oneIn(2) ? nullptr : set.get();
            auto const why = list.matcher().explain(asked);
            ASSERT_EQ(why.answer, list.matcher().matches(asked, text)) << why.text;
            auto const exactly = list.matcher().explainExactly(asked);
            ASSERT_EQ(exactly.answer, list.matcher().matchesExactly(asked)) << exactly.text;
            // Only an entry can permit.
            ASSERT_TRUE(why.entry || !*why.answer);
        }
    }
}

TEST(ListExplanation, CommunityListsAgree) {
    Dice dice(2);
    expectCommunityListsAgree<StandardCommunityList>(dice, {"^1:", ":3$", "1:2 1:4", "^$"},
                                                     [](U32 i) { return (U64{1} << 16) + i; });
    expectCommunityListsAgree<LargeCommunityList>(
        dice, {"^1:", ":3$", "^$"}, [](U32 i) { return Acl::CommunityValue(U64{1} << 32, i); });
    expectCommunityListsAgree<ExtCommunityList>(dice, {"^0x0002", "3$", "^$"}, [](U32 i) {
        return Acl::CommunityValue(0x0002fde800000000 + i, 0);
    });
}

TEST(ListExplanation, AsPathListsAgree) {
    Dice dice(3);
    constexpr char const * patterns[] = {"^1_", "_2$", "_3_", "^$", "1 2", "[{]"};
    constexpr char const * paths[] = {"", "1", "1 2", "2 3 2", "3 1 2", "1 {2,3}", "3"};
    for (int round = 0; round < questions / perList; ++round) {
        std::vector<AsPathList::Entry> entries;
        for (U32 n = dice.below(6); n > 0; --n) {
            entries.push_back({dice.oneIn(3) ? ListAction::deny : ListAction::permit,
                               Pattern(asPathExpression(patterns[dice.below(std::size(patterns))])),
                               dice.oneIn(3) ? std::optional<U64>(dice.below(3)) : std::nullopt});
        }
        AsPathList const list(std::move(entries));
        for (int i = 0; i < perList; ++i) {
            char const * const path = paths[dice.below(std::size(paths))];
            U64 const origin = dice.below(3);
            auto const why = list.explain(path, origin);
            ASSERT_EQ(why.answer, list.permits(path, origin)) << path << ' ' << why.text;
            ASSERT_TRUE(why.entry || !*why.answer);
        }
    }
}

TEST(ListExplanation, TagSetsAndRoaTablesAgree) {
    Dice dice(4);
    for (int round = 0; round < questions / perList; ++round) {
        Routing::RouteMap::TagSetStatus tags;
        std::vector<Roa> roas;
        for (U32 n = dice.below(8); n > 0; --n) {
            tags.tagIs(dice.below(12));
            auto const family = dice.oneIn(2) ? AddressFamily::ipv4 : AddressFamily::ipv6;
            auto const prefix = somePrefix(dice, family, 32);
            roas.push_back({prefix, static_cast<U8>(prefix.len() + dice.below(33U - prefix.len())),
                            dice.below(3)});
        }
        RoaTable const table(roas);
        for (int i = 0; i < perList; ++i) {
            U32 const tag = dice.below(12);
            ASSERT_EQ(explainTag(tags, tag).answer, tags.contains(tag));
            auto const family = dice.oneIn(2) ? AddressFamily::ipv4 : AddressFamily::ipv6;
            auto const prefix = somePrefix(dice, family, 32);
            U32 const origin = dice.below(3);
            auto const why = table.explain(prefix, origin);
            ASSERT_EQ(why.validity, table.validate(prefix, origin))
                << prefix.toString() << " AS" << origin << ' ' << why.text;
        }
    }
}

TEST(ListExplanation, TellsWhatTheNearestEntryWants) {
    auto const at = [](char const * text) { return *IpGenPrefix::parse(text); };
    PrefixListTrie const lengths(AddressFamily::ipv4,
                                 {{10, ListAction::permit, at("0.0.0.0/0"), 8, 24},
                                  {20, ListAction::deny, at("10.0.0.0/8"), 30, 30}});
    struct Case {
        char const * candidate;
        char const * text;
    };
    constexpr Case cases[] = {{"9.9.9.128/25", "entry 10 wants length 8..24"},
                              {"10.9.9.128/29", "entry 10 wants length 8..24"},
                              {"10.9.9.128/30", "denied by entry 20"},
                              {"10.9.0.0/16", "permitted by entry 10"},
                              {"2001:db8::/32", "of the other family"}};
    for (Case const & each : cases) {
        EXPECT_EQ(lengths.explain(at(each.candidate)).text, each.text) << each.candidate;
    }
    EXPECT_EQ(PrefixListTrie(AddressFamily::ipv4, {{5, ListAction::permit, at("11.0.0.0/8"), 8, 8}})
                  .explain(at("10.0.0.0/8"))
                  .text,
              "none of its entries is around it");
    EXPECT_EQ(PrefixListTrie(AddressFamily::ipv4).explain(at("10.0.0.0/8")).text,
              "it has no entries");

    StandardCommunityList const marks(
        {{ListAction::permit, {1, 2, 3}, {}}, {ListAction::permit, {2, 0xffffff01}, {}}});
    auto const set = makePtr<Eval::U64SmallVector>(Eval::ModifyFlag::copyOnWrite);
    EXPECT_EQ(marks.matcher().explain(set.get()).text, "none of its 2 entries matches");
    set->insert(2);
    EXPECT_EQ(marks.matcher().explain(set.get()).text, "entry 2 also wants 65535:65281");

    RoaTable const table({{at("10.0.0.0/8"), 16, 65001}, {at("10.1.0.0/16"), 16, 0}});
    EXPECT_EQ(table.explain(at("10.2.0.0/16"), 65001).text, "valid by 10.0.0.0/8 AS65001");
    EXPECT_EQ(table.explain(at("10.1.2.0/24"), 65001).text,
              "invalid: 10.0.0.0/8 AS65001 wants length at most 16");
    EXPECT_EQ(table.explain(at("10.2.0.0/16"), 7).text,
              "invalid: 10.0.0.0/8 AS65001 is another origin");
    EXPECT_EQ(table.explain(at("11.0.0.0/8"), 7).text, "not found");
}

} // namespace
} // namespace Qcf::Lists
