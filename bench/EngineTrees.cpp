#include "bench/EngineTrees.h"

#include "Platform/Framework/Assert.h"
#include "bench/ImportText.h"
#include "bench/TreeBuilder.h"

#include <map>
#include <ranges>

namespace Qcf::Bench {

namespace {

using namespace Eval;            // NOLINT(google-build-using-namespace): every name here is
using namespace Eval::Attribute; // NOLINT(google-build-using-namespace): one of their nodes

using Statements = TreeBuilder::Statements;

/// The trees that are built by hand, with the attribute nodes that they share and the lists that
/// they name.
class PolicyTrees {
public:
    explicit PolicyTrees(PolicyData const & data) : data_(data) {}

    PtrConst<Function> function(Policy policy);
    /// The lists that the function names.
    PtrConst<ExternalMatchersBase> matchers() const;

private:
    Statements p1();
    Statements p2();
    Statements p3();
    Statements p4();

    PtrConst<Expression> assign(PtrConst<IntModifiable> const & attribute, U64 value) {
        return build_.make(intAssignFactory, attribute, build_.integer(value));
    }
    PtrConst<Expression> within(PtrConst<Int> const & attribute, U64 low, U64 high) {
        return build_.allOf(range(attribute, low, high));
    }
    Statements range(PtrConst<Int> const & attribute, U64 low, U64 high) {
        return {build_.make(intGreaterThanEqFactory, attribute, build_.integer(low)),
                build_.make(intLessThanEqFactory, attribute, build_.integer(high))};
    }
    PtrConst<Expression> hasAny(std::span<U64 const> values) {
        return build_.make(intSetHasAnyImmediateFactory, community_, build_.set(values));
    }
    PtrConst<PrefixList> list(String const & name, PrefixEntries const & entries) {
        lists_.try_emplace(name, &entries);
        return build_.prefixList(name);
    }
    PtrConst<Expression> condition(Clause const & clause, std::size_t index);
    PtrConst<Function> adjustMed();

    PolicyData const & data_;
    TreeBuilder build_;
    std::map<String, PrefixEntries const *> lists_;
    PtrConst<IntSetModifiable> community_ = build_.make(communityFactory);
    PtrConst<IntModifiable> localPref_ = build_.make(localPrefFactory);
    PtrConst<IntModifiable> med_ = build_.make(medFactory);
    PtrConst<Eval::IpPrefix> prefix_ = build_.make(ipPrefixFactory);
    PtrConst<Int> pathLength_ = build_.make(asPathLengthFactory);
    PtrConst<Int> prefixLength_ = build_.make(ipPrefixLengthFactory);
    PtrConst<Int> originAs_ = build_.make(asPathOriginAsFactory);
    PtrConst<IpAddress> nextHop_ = build_.make(nextHopFactory);
};

Statements PolicyTrees::p1() {
    auto const low = build_.make(intLessThanFactory, med_, build_.integer(data_.p1.medBelow));
    return {build_.ifElse(low, {assign(localPref_, data_.p1.preference)})};
}

Statements PolicyTrees::p2() {
    auto const & p2 = data_.p2;
    auto const bogon =
        build_.make(ipPrefixMatchPrefixListFactory, prefix_, list("bogons", p2.bogons));
    auto const tooLong =
        build_.make(intGreaterThanFactory, pathLength_, build_.integer(p2.longestPath));
    PtrConst<Expression> byTag;
    for (std::size_t i = p2.tags.size(); i-- > 0;) {
        byTag =
            build_.ifElse(hasAny({&p2.tags[i], 1}), {assign(localPref_, p2.preferences[i])}, byTag);
    }
    return {
        build_.ifElse(bogon, {build_.returns(false)}),
        build_.ifElse(tooLong, {build_.returns(false)}),
        byTag,
        build_.make(intSetRemoveImmediateFactory, community_, build_.set(p2.removed)),
        build_.make(intSetAddImmediateFactory, community_,
                    build_.set(std::span<U64 const>(&p2.added, 1))),
        build_.make(intPlusEqFactory, med_, build_.integer(p2.medStep)),
    };
}

PtrConst<Expression> PolicyTrees::condition(Clause const & clause, std::size_t index) {
    switch (clause.kind) {
    case Clause::Kind::lengthAndCommunities: {
        Statements operands = range(prefixLength_, clause.low, clause.high);
        operands.push_back(hasAny(clause.values));
        return build_.allOf(operands);
    }
    case Clause::Kind::originAs:
        return build_.make(intInImmediateSetFactory, originAs_, build_.set(clause.values));
    case Clause::Kind::communities:
        return hasAny(clause.values);
    case Clause::Kind::localPreference:
        return within(localPref_, clause.low, clause.high);
    case Clause::Kind::nextHop:
        return build_.make(ipAddressMatchPrefixListFactory, nextHop_,
                           list("next-hops-" + std::to_string(index), clause.prefixes));
    }
    return nullptr;
}

/// adjust_med(step, limit): adds the step to med where is_longer(limit), subtracts it elsewhere.
PtrConst<Function> PolicyTrees::adjustMed() {
    auto const parameter = [this](char const * name, U8 index) -> PtrConst<Int> {
        return build_.make(intVariableFactory, name, index);
    };
    auto const longer = build_.make(intGreaterThanFactory, pathLength_, parameter("limit", 0));
    auto const isLonger = build_.function(
        "is_longer", true, {build_.make(returnExpressionFactory, PtrConst<Expression>(longer))});
    auto const step = parameter("step", 0);
    auto const add = build_.make(intPlusEqFactory, med_, step);
    auto const subtract = build_.make(intMinusEqFactory, med_, step);
    return build_.function("adjust_med", true,
                           {build_.ifElse(build_.call(isLonger, {parameter("limit", 1)}), {add},
                                          build_.block({subtract}))});
}

Statements PolicyTrees::p3() {
    auto const & p3 = data_.p3;
    PtrConst<Expression> clauses;
    for (std::size_t i = p3.clauses.size(); i-- > 0;) {
        Clause const & clause = p3.clauses[i];
        clauses =
            build_.ifElse(condition(clause, i), {assign(localPref_, clause.preference)}, clauses);
    }
    auto const origin = build_.make(originFactory);
    return {
        clauses,
        build_.call(adjustMed(), {build_.integer(p3.medStep), build_.integer(p3.longPath)}),
        assign(origin, 0),
        build_.make(intSetAddImmediateFactory, community_,
                    build_.set(std::span<U64 const>(&p3.added, 1))),
        build_.make(intPlusEqFactory, localPref_, build_.integer(p3.preferenceStep)),
    };
}

Statements PolicyTrees::p4() {
    auto const & p4 = data_.p4;
    auto const listed =
        build_.make(ipPrefixMatchPrefixListFactory, prefix_, list("big", p4.prefixes));
    PtrConst<CommunitySetModifiable> const large = build_.make(largeCommunityFactory);
    PtrConst<CommunitySetModifiable> const extended = build_.make(extCommunityFactory);
    std::span<Acl::CommunityValue const> const added(&p4.addedExtended, 1);
    return {
        build_.ifElse(listed, {assign(localPref_, p4.preference)}),
        build_.ifElse(hasAny(p4.communities), {assign(med_, p4.med)}),
        build_.make(communitySetRemoveImmediateFactory, large, build_.set(p4.removedLarge)),
        build_.make(extCommunitySetAddImmediateFactory, extended, build_.set(added)),
    };
}

PtrConst<Function> PolicyTrees::function(Policy policy) {
    Statements statements;
    switch (policy) {
    case Policy::p0:
        break;
    case Policy::p1:
        statements = p1();
        break;
    case Policy::p2:
        statements = p2();
        break;
    case Policy::p3:
        statements = p3();
        break;
    case Policy::p4:
        statements = p4();
        break;
    case Policy::p5: // is a text
        break;
    }
    statements.push_back(build_.returns(true));
    auto function = build_.function(policyNames[static_cast<U8>(policy)], false, statements);
    QCF_ASSERT(function->verifySanity(function->metadata()));
    return function;
}

PtrConst<ExternalMatchersBase> PolicyTrees::matchers() const {
    auto const matchers = makePtr<ExternalMatchersBase>();
    for (auto const & [name, slot] : build_.prefixLists()) {
        matchers->ipv4PrefixLists.entryIs(
            slot, makePtr<Lists::PrefixListTrie>(AddressFamily::ipv4, *lists_.at(name)));
    }
    return matchers;
}

} // namespace

EngineProgram engineProgram(Policy policy, PolicyData const & data) {
    if (policy == Policy::p5) {
        return importProgram(data);
    }
    PolicyTrees trees(data);
    auto const function = trees.function(policy);
    return {function, trees.matchers()};
}

PtrConst<Eval::Function> engineFunction(Policy policy, PolicyData const & data) {
    return policy == Policy::p5 ? importFunction(data) : PolicyTrees(data).function(policy);
}

} // namespace Qcf::Bench
