#include "Documents/Program.h"
#include "Questions/Flip.h"
#include "tests/Questions/QuestionTools.h"
#include "tests/Questions/RandomAgentRoute.h"
#include "tests/support/Cases.h"
#include "tests/support/RandomDocument.h"

#include <gtest/gtest.h>

/// What flips claim must hold, whatever functions and routes are.
namespace Qcf::Questions::test {
namespace {

using Agent::Route;
using Qcf::test::RandomDocument;

/// Policies to go through; QCF_FLIP_POLICIES asks for another number.
U32 policies(U32 usual) { return static_cast<U32>(casesWanted(usual, "QCF_FLIP_POLICIES")); }

/// Lists of the names that random documents know; one name has none.
constexpr char const * listsText = R"(list prefix_list A v4 { permit 10.0.0.0/8 ge 9 le 24 }
list prefix_list B v6 { permit 2001:db8::/32 le 48 }
list dynamic_prefix_list A { vrfs { 1 } v4 { permit 10.0.0.0/8 } v6 { permit ::/0 } }
list community_list A { permit { 65000:1 } deny { 0:2 } }
list community_list B { permit { 65000:* } }
list ext_community_list A { permit { 0x4004fde8447a0000 } }
list large_community_list A { permit { 65000:1:2 } }
list as_path_list A { permit "_65002_" origin egp permit "^$" }
list tag_set A { 1, 5, 100 }
list roa_table A { 10.0.0.0/8 max 16 AS65001 }
)";

/// What is not among the parts read cannot matter; some of them are given other values.
void expectUnreadIdle(Eval::Function const & main, Route const & route,
                      PtrConst<ExternalMatchersBase> const & matchers, RandomAgentRoute & random) {
    PartsRead reads;
    auto const context = makePtr<Agent::AgentContext>(matchers);
    context->evaluationObserverIs(&reads);
    context->routeIs(route);
    auto const result = main.eval(Ptr<Eval::EvalContextBase>(context.get()));
    context->evaluationObserverIs(nullptr);
    Route other = route;
    for (RoutePart part = 0; part < outboundPart; ++part) {
        if (!reads.read().test(part)) {
            random.change(other, part);
        }
    }
    other.session.outbound ^= !reads.read().test(outboundPart);
    other.session.localAs += reads.read().test(localAsPart) ? 0 : 1;
    other.session.vrfId = reads.read().test(vrfPart) ? route.session.vrfId : 1;
    ASSERT_EQ(evaluated(main, other, matchers), result);
}

bool isTurned(FlipTo to, Eval::EvalResult before, Eval::EvalResult after) {
    return to == FlipTo::any ? after.retVal() != before.retVal()
                             : after.isTrue() == (to == FlipTo::accept);
}

struct Counts {
    U64 flips = 0;
    U64 pairs = 0;
};

void expectFlipsHold(PtrConst<Eval::Function> const & function, TextPolicy const & lists,
                     PtrConst<ExternalMatchersBase> const & matchers, U32 seed, Counts & counts) {
    NoPlaces const places;
    FlipGround const ground(*function, lists.policy.listRecords());
    FlipOptions const options{.to = static_cast<FlipTo>(seed % 3),
                              .most = 20,
                              .pairs = seed % 8 == 0,
                              .budget = seed % 8 == 0 ? 2'000U : 10'000U};
    FlipFinder finder(function, ground, matchers, places, options);
    RandomAgentRoute random(seed);
    Route const route = random.next();
    ASSERT_NO_FATAL_FAILURE(expectUnreadIdle(*function, route, matchers, random));
    auto const before = evaluated(*function, route, matchers);
    for (Flip const & flip : finder.find(route).flips) {
        auto const after = evaluated(*function, fedBack(flip.route), matchers);
        ASSERT_TRUE(isTurned(options.to, before, after));
        ASSERT_EQ(after, flip.result);
        ++counts.flips;
        counts.pairs += flip.changes.size() == 2 ? 1 : 0;
    }
}

TEST(FlipRandom, FlipsOfDocumentsFedBackFlip) {
    TextPolicy const lists(listsText);
    Counts counts;
    for (U32 seed = 0; seed < policies(400); ++seed) {
        RandomDocument document(seed, {.references = seed % 2 == 1});
        auto const program = Documents::readProgram(document.functions(3), "random.json");
        auto const & main = program.functions.back();
        if (program.faultOf(*main).eval.empty()) {
            auto const matchers = Lists::bindLists(program.slots, lists.lists.get());
            ASSERT_NO_FATAL_FAILURE(expectFlipsHold(main, lists, matchers, seed, counts)) << seed;
        }
    }
    // Otherwise the documents would show nothing.
    EXPECT_GT(counts.flips, policies(400) / 20);
    RecordProperty("flips", std::to_string(counts.flips));
    RecordProperty("pairs", std::to_string(counts.pairs));
}

/// One condition of a text, of any kind of attribute.
char const * mixedCondition(RandomAgentRoute & random) {
    static constexpr char const * all[] = {"med > 100",
                                           "local_preference in { 1, 5..9 }",
                                           "origin is egp",
                                           "med is weight",
                                           "bgp.best_path",
                                           "not bgp.aggregate",
                                           "prefix.length <= 12",
                                           "prefix covered by 10.0.0.0/8",
                                           "prefix matches v4 A",
                                           "prefix matches v6 B",
                                           "prefix matches dynamic_prefix_list A",
                                           "next_hop is 192.0.2.1",
                                           "next_hop.ip_version is 6",
                                           "65000:1 in community",
                                           "community matches A",
                                           "community matches B",
                                           "community.count >= 2",
                                           "community has all { 65000:1, 65000:9 }",
                                           "large_community has any { 65000:1:2 }",
                                           "ext_community matches A",
                                           "large_community matches A",
                                           "as_path.length > 3",
                                           "as_path.origin_as is 65001",
                                           "as_path matches A",
                                           "igp.tag matches A",
                                           "match_origin_as_validity(roa_table A, invalid)",
                                           "over(med)",
                                           "connected.interface is \"eth0\"",
                                           "( med += 5 )",
                                           "( community remove { 65000:1 } )"};
    return all[random.below(static_cast<U32>(std::size(all)))];
}

String mixedPolicy(RandomAgentRoute & random) {
    String text = String(listsText) + "function over(int x) { return x > 7 }\nfunction f() {\n";
    for (U32 i = 0; i < 5; ++i) {
        char const * const joint = random.below(2) == 0 ? " and " : " or ";
        text += "  if " + String(random.below(2) == 0 ? "not " : "") + mixedCondition(random) +
                joint + mixedCondition(random) + " { return " +
                (random.below(2) == 0 ? "true" : "false") + " }\n";
    }
    return text + "  return " + (random.below(2) == 0 ? "true" : "unknown") + "\n}\n";
}

TEST(FlipRandom, FlipsOfTextsFedBackFlip) {
    RandomAgentRoute random(2);
    Counts counts;
    for (U32 seed = 0; seed < policies(200); ++seed) {
        String const text = mixedPolicy(random);
        TextPolicy const policy(text);
        ASSERT_NO_FATAL_FAILURE(
            expectFlipsHold(policy.function("f"), policy, policy.matchers, seed, counts))
            << text;
    }
    EXPECT_GT(counts.flips, policies(200) / 2);
    EXPECT_GT(counts.pairs, 0);
    RecordProperty("flips", std::to_string(counts.flips));
    RecordProperty("pairs", std::to_string(counts.pairs));
}

constexpr U64 largest = 24;
constexpr char const * numbers[] = {"med", "weight", "igp.tag", "rib.preference"};

/// Conditions over numbers and constants below 20, nested at random.
String condition(RandomAgentRoute & random, U32 depth) {
    if (depth > 0 && random.below(3) != 0) {
        char const * const operators[] = {" and ", " or ", " ?? "};
        return '(' + condition(random, depth - 1) + operators[random.below(3)] +
               condition(random, depth - 1) + ')';
    }
    String const number = numbers[random.below(4)];
    U32 const constant = random.below(20);
    String const value = std::to_string(constant);
    switch (random.below(8)) {
    case 0:
        return number + " in { " + value + ".." + std::to_string(constant + random.below(4)) +
               ", 3 }";
    case 1:
        return "not " + number + " in { " + value + " }";
    case 2:
        return number + " > -5";
    default:
        char const * const comparisons[] = {" < ", " <= ", " > ", " >= ", " is "};
        return number + comparisons[random.below(5)] + value;
    }
}

String integerPolicy(RandomAgentRoute & random) {
    String text = "function f() {\n";
    for (U32 i = 0; i < 4; ++i) {
        text += "  if " + condition(random, 2) + " { return " +
                (random.below(2) == 0 ? "true" : "false") + " }\n";
    }
    return text + "  return " + (random.below(2) == 0 ? "true" : "unknown") + "\n}\n";
}

/// The smallest change of one number that turns the verdict, by trying all; 0 for none.
U64 smallestByForce(Eval::Function const & function, Route const & route,
                    PtrConst<ExternalMatchersBase> const & matchers) {
    auto const before = evaluated(function, route, matchers);
    U64 smallest = 0;
    for (char const * const name : numbers) {
        auto const index = *Agent::findRouteAttribute(name);
        for (U64 value = 0; value <= largest; ++value) {
            Route changed = route;
            U64 distance = 0;
            changed.visitAttribute(index, [&]<typename Member>(Member & member) {
                if constexpr (std::is_same_v<Member, U64>) {
                    distance = std::max(member, value) - std::min(member, value);
                    member = value;
                }
            });
            auto const after = evaluated(function, changed, matchers);
            bool const isNearer = smallest == 0 || distance < smallest;
            if (after.retVal() != before.retVal() && isNearer) {
                smallest = distance;
            }
        }
    }
    return smallest;
}

TEST(FlipRandom, OfIntegersIsTheSmallestThereIs) {
    RandomAgentRoute random(1);
    U64 found = 0;
    for (U32 i = 0; i < policies(400); ++i) {
        String const text = integerPolicy(random);
        TextPolicy const policy(text);
        auto const function = policy.function("f");
        Route route;
        route.med = random.below(largest);
        route.rareIs().weight = random.below(largest);
        route.rareIs().tag = random.below(largest);
        route.rareIs().ribPreference = random.below(largest);
        FlipGround const ground(*function, {});
        FlipFinder finder(function, ground, policy.matchers, policy.places, {});
        FlipReport const report = finder.find(route);
        U64 const smallest = smallestByForce(*function, route, policy.matchers);
        ASSERT_EQ(report.flips.empty() ? 0 : report.flips.front().distance, smallest)
            << text << partText(route, *Agent::findRouteAttribute("med"));
        ASSERT_FALSE(report.isCut);
        // All that was read is compared with constants alone, and that is what is claimed.
        ASSERT_FALSE(report.complete.empty());
        found += smallest == 0 ? 0 : 1;
    }
    EXPECT_GT(found, policies(400) / 4);
    EXPECT_LT(found, policies(400));
}

} // namespace
} // namespace Qcf::Questions::test
