#include "tests/support/Plans.h"

#include <algorithm>
#include <cstdlib>
#include <set>

#include <gtest/gtest.h>

using namespace Qcf;
using namespace Qcf::Eval;
using namespace Qcf::Eval::test;

// An agent lends a route's sets. Edits must have their effect, and must leave the agent's alone.

namespace {

using Values = std::vector<U64>;

/// One edit: additions are positive, removals negative.
using Edit = std::vector<int>;

Values absolute(Edit const & edit) {
    Values values;
    for (int const value : edit) {
        values.push_back(static_cast<U64>(std::abs(value)));
    }
    return values;
}

Acl::CommunityValue large(U64 n) { return {n, 1}; }

std::vector<Acl::CommunityValue> larges(Values const & values) {
    std::vector<Acl::CommunityValue> all(values.size());
    std::transform(values.begin(), values.end(), all.begin(), large);
    return all;
}

template <typename Add, typename Remove, typename Target, typename Set>
PtrConst<Expression> statement(Edit const & edit, Target const & target, Set const & constants) {
    if (edit.front() > 0) {
        return make<Add>(target, constants);
    }
    return make<Remove>(target, constants);
}

/// The edits on integers, large and extended communities at once.
Ptr<Function> editing(std::vector<Edit> const & edits) {
    auto const community = make<Attribute::Community>();
    auto const largeCommunity = make<Attribute::LargeCommunity>();
    auto const extended = make<Attribute::ExtCommunity>();
    Expressions statements;
    for (Edit const & edit : edits) {
        Values const values = absolute(edit);
        auto const constants = communitySet(larges(values));
        statements.push_back(
            statement<IntSetAddImmediate, IntSetRemoveImmediate>(edit, community, intSet(values)));
        statements.push_back(statement<CommunitySetAddImmediate, CommunitySetRemoveImmediate>(
            edit, largeCommunity, constants));
        statements.push_back(statement<ExtCommunitySetAddImmediate, CommunitySetRemoveImmediate>(
            edit, extended, constants));
    }
    statements.push_back(accepts());
    return function(statements);
}

/// What becomes of a set of `values`.
std::set<U64> edited(Values const & values, std::vector<Edit> const & edits) {
    std::set<U64> result(values.begin(), values.end());
    for (Edit const & edit : edits) {
        for (int const value : edit) {
            if (value > 0) {
                result.insert(static_cast<U64>(value));
            } else {
                result.erase(static_cast<U64>(-value));
            }
        }
    }
    return result;
}

/// What the agent is told when all three sets become `values`.
String written(std::set<U64> const & values) {
    Values const all(values.begin(), values.end());
    if (all.empty()) {
        return "true; communityIs null; extCommunityIs null; largeCommunityIs null";
    }
    String const ints = setOf<U64SmallVector>(all)->toStrep();
    String const communities = setOf<CommunitySmallVector>(larges(all))->toStrep();
    return "true; communityIs " + ints + "; extCommunityIs " + communities + "; largeCommunityIs " +
           communities;
}

} // namespace

TEST(LentSets, AreEditedAndLeftAlone) {
    std::vector<Edit> const cases[] = {
        {{5}},                           // in front, or the only one
        {{10}},                          // there already
        {{7, 41}, {15}},                 // in the middle
        {{3000}},                        // behind
        {{-10}},                         // where it is there
        {{-11}},                         // where it is not
        {{-10, -20}, {15}},              // removed and added
        {{15}, {-15}},                   // added and removed again
        {{-10}, {10}},                   // removed and added again
        {{-10, -20, -30, -40}},          // all of a small set
        {{1, 2, 3, 4, 5, 6, 7, 8}, {9}}, // as many as are few, and one more
        {{1, 2, 3, 4, 5, 6, 7, 8, 9}},   // more than few
    };
    auto const context = makePtr<RecordingContext>();
    for (std::size_t const size : {0U, 1U, 4U, 24U, 25U, 127U, 128U, 200U}) {
        Values route(size);
        std::generate(route.begin(), route.end(), [n = U64{0}]() mutable { return n += 10; });
        context->community = route;
        context->extCommunity = context->largeCommunity = larges(route);
        for (auto const & edits : cases) {
            auto const f = editing(edits);
            auto const expected = written(edited(route, edits));
            for (bool const plans : {true, false}) {
                PlansEnabled const switched(plans);
                for (bool const lends : {true, false}) {
                    context->lends = lends;
                    EXPECT_EQ(outcome(*f, context), expected)
                        << size << (plans ? " by plan" : " by tree") << (lends ? ", lent" : "");
                    EXPECT_EQ(context->community, route);
                    EXPECT_EQ(context->extCommunity, larges(route));
                    EXPECT_EQ(context->largeCommunity, larges(route));
                }
            }
            context->reset(); // lets go of the constants, which die with their nodes
        }
    }
}
