#include "Agent/Evaluation/AgentContext.h"
#include "Lists/AsPathList.h"
#include "Lists/CommunityList.h"
#include "tests/support/Cases.h"

#include <algorithm>
#include <array>
#include <random>

#include <gtest/gtest.h>

/// One context over many routes and lists answers as the lists themselves do, whatever it
/// remembers. Routes come again; there are more of them than are remembered, and lists come and go
/// at the same places.
namespace Qcf::Lists {
namespace {

using Routing::Bgp::Asn;
using Routing::Bgp::SegmentType;

constexpr U64 questionsOfAList = 400;

class RandomQuestions {
public:
    explicit RandomQuestions(U32 seed) : random_(seed) {}

    U64 below(U64 limit) { return random_() % limit; }
    ListAction action() { return below(2) == 0 ? ListAction::permit : ListAction::deny; }

    PtrConst<AsPathList> asPathList() {
        constexpr std::array patterns{"^1_", "_2$", "_3_.*_0_", "^$", "{", "_0_0_", "4_(1|2)"};
        std::vector<AsPathList::Entry> entries;
        for (U64 i = below(4); i > 0; --i) {
            AsPathList::Entry & entry = entries.emplace_back(AsPathList::Entry{
                action(), Pattern(asPathExpression(patterns[below(patterns.size())])), {}});
            if (below(3) == 0) {
                entry.origin = below(3);
            }
        }
        return makePtr<AsPathList>(std::move(entries));
    }

    /// Mostly one sequence of few AS numbers, so that paths come again; also others, and long ones.
    Routing::Bgp::AsnVector path() {
        Routing::Bgp::AsnVector made;
        for (U64 segments = below(8) == 0 ? below(3) : 1; segments > 0; --segments) {
            std::array<Asn, 12> asns{};
            U64 const count = 1 + (below(4) == 0 ? below(asns.size()) : below(3));
            std::generate_n(asns.begin(), count, [this] { return static_cast<Asn>(below(5)); });
            made.append(static_cast<SegmentType>(below(8) == 0 ? 1 + below(4) : 2), asns.data(),
                        count);
        }
        return made;
    }

    template <typename List, typename Make>
    PtrConst<List> communityList(Make const & make) {
        constexpr std::array patterns{"^1:", "3$", "^2:1", ":1.$", "0000000[1-4]$", "^[12]:[13]:"};
        std::vector<typename List::Matcher::Entry> entries;
        for (U64 i = below(4); i > 0; --i) {
            auto & entry = entries.emplace_back();
            entry.action = action();
            if (below(3) == 0) {
                entry.communities.push_back(make());
            } else {
                entry.pattern.emplace(patterns[below(patterns.size())]);
            }
        }
        return makePtr<List>(std::move(entries));
    }
    U64 standard() { return (below(4) << 16) | below(700); }
    Acl::CommunityValue large() { return {(below(4) << 32) | below(20), 1 + U32(below(20))}; }
    Acl::CommunityValue extended() { return {(below(40) << 32) | below(40), 0}; }

private:
    std::mt19937_64 random_;
};

TEST(AnswerMemory, OfPathsAnswersAsTheLists) {
    RandomQuestions random(1);
    Agent::AgentContext context(nullptr);
    Agent::Route route;
    U64 permitted = 0;
    for (U64 list = 0; list < casesWanted(80'000) / questionsOfAList; ++list) {
        std::array const lists{random.asPathList(), random.asPathList()};
        for (U64 question = 0; question < questionsOfAList; ++question) {
            route.asPath.asnsIs(random.path());
            route.origin = random.below(3);
            context.routeIs(route);
            auto * const path = context.asPathInputModifiable();
            if (random.below(4) == 0) {
                path->expand() = random.path();
            }
            String text;
            Routing::Bgp::appendAsPathPatternText(text, path->asns());
            for (auto const & asked : lists) {
                bool const expected = asked->permits(text, route.origin);
                permitted += expected ? 1 : 0;
                ASSERT_EQ(context.matchAsPathAccessList(path, 1, asked), expected)
                    << text << ", origin " << route.origin << ", list " << list;
            }
        }
    }
    EXPECT_GT(permitted, 0U);
}

/// What `edit(set, list)` leaves of sets is what the lists say of each community alone.
template <typename List, typename Set, typename Make, typename Edit>
void comparesEdits(RandomQuestions & random, bool kept, Make const & make, Edit const & edit) {
    String text;
    U64 permitted = 0;
    for (U64 lists = 0; lists < casesWanted(20'000) / questionsOfAList; ++lists) {
        auto const list = random.communityList<List>(make);
        for (U64 question = 0; question < questionsOfAList; ++question) {
            auto const set = makePtr<Set>(Eval::ModifyFlag::copyOnWrite);
            Set expected(Eval::ModifyFlag::copyOnWrite);
            for (U64 i = random.below(6); i > 0; --i) {
                set->insert(make());
            }
            for (auto const & community : *set) {
                bool const permits = list->matcher().permits(community, text);
                permitted += permits ? 1 : 0;
                if (permits == kept) {
                    expected.insert(community);
                }
            }
            auto const left = edit(set, list);
            ASSERT_EQ(left ? left->toStrep() : Set(Eval::ModifyFlag::copyOnWrite).toStrep(),
                      expected.toStrep())
                << "of " << set->toStrep() << ", list " << lists;
        }
    }
    EXPECT_GT(permitted, 0U);
}

TEST(AnswerMemory, OfCommunitiesAnswersAsTheLists) {
    RandomQuestions random(2);
    Agent::AgentContext context(nullptr);
    Agent::Route const route;
    context.routeIs(route);
    comparesEdits<StandardCommunityList, Eval::U64SmallVector>(
        random, false, [&] { return random.standard(); },
        [&](auto const & set, auto const & list) { return context.commRemoveCommList(set, list); });
    comparesEdits<LargeCommunityList, Eval::CommunitySmallVector>(
        random, true, [&] { return random.large(); },
        [&](auto const & set, auto const & list) {
            return context.largeCommRetainLargeCommList(set, list);
        });
    // The same numbers as another kind of community, whose text is another.
    comparesEdits<ExtCommunityList, Eval::CommunitySmallVector>(
        random, false, [&] { return random.extended(); },
        [&](auto const & set, auto const & list) {
            return context.extCommRemoveExtCommList(set, list);
        });
}

} // namespace
} // namespace Qcf::Lists
