#pragma once

#include "QcfLib/Plan/PlanStep.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/Sets/SetAlgebra.h"

/// The steps that ask something of the route and change nothing.
namespace Qcf::Eval {

/// A question that is answered by yes or no.
class PlanTest : public PlanStep {
public:
    explicit PlanTest(PlanTargets const & targets)
        : onFalse_(targets.onFalse), onTrue_(targets.onTrue) {}

protected:
    PlanStep const * next(bool holds) const { return holds ? onTrue_ : onFalse_; }

private:
    PlanStep const * onFalse_;
    PlanStep const * onTrue_;
};

/// A node that no other step knows, as a condition.
class NodeTest final : public PlanStep {
public:
    NodeTest(Expression const & node, PlanTargets const & targets)
        : node_(node), targets_(targets) {}
    PlanStep const * run(PlanRun run) const override {
        EvalResult const result = node_.eval(run.contextPtr);
        if (result.terminates()) [[unlikely]] {
            assertNoReturn(result);
            return endOfRun(result);
        }
        return targets_.at(result.retVal());
    }

private:
    Expression const & node_;
    PlanTargets targets_;
};

/// An integer compared with a constant by `Compare`, a standard comparison.
template <typename Compare>
class IntTest final : public PlanTest {
public:
    IntTest(PlanInt lhs, U64 rhs, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), rhs_(rhs) {}
    PlanStep const * run(PlanRun run) const override {
        return next(Compare()(lhs_.read(run), rhs_));
    }

private:
    PlanInt lhs_;
    U64 rhs_;
};

/// An integer looked up in a constant set.
class IntInSetTest final : public PlanTest {
public:
    IntInSetTest(PlanInt lhs, U64SmallVector const & set, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), set_(set) {}
    PlanStep const * run(PlanRun run) const override {
        return next(setContains(set_, lhs_.read(run)));
    }

private:
    PlanInt lhs_;
    U64SmallVector const & set_;
};

/// A set tested against a constant set by `test(lhs, rhs)`.
template <typename Set, bool test(Set const *, Set const *)>
class SetTest final : public PlanTest {
public:
    SetTest(PlanSet<Set> lhs, Set const * rhs, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), rhs_(rhs) {}
    PlanStep const * run(PlanRun run) const override {
        PtrConst<Set> fresh;
        return next(test(lhs_.lend(run, fresh), rhs_));
    }

private:
    PlanSet<Set> lhs_;
    Set const * rhs_;
};

/// A prefix attribute as what is looked up in a prefix list.
class PlanPrefix {
public:
    explicit PlanPrefix(IpPrefix const & node) : source_(node.source()) {}
    IpGenPrefix read(PlanRun run) const { return (run.context().*source_)(); }

private:
    PrefixSource source_;
};

/// An address as what is looked up in a prefix list.
class PlanHost {
public:
    explicit PlanHost(IpAddress const & node) : node_(&node) {}
    IpGenPrefix read(PlanRun run) const { return IpGenPrefix::host(node_->getVal(run.contextPtr)); }

private:
    IpAddress const * node_;
};

/// A prefix list of the agent's.
class PlanPrefixList {
public:
    explicit PlanPrefixList(PrefixListImmediate const & node)
        : isV4_(node.isV4()), slot_(node.indexInAet()) {}
    Routing::Policy::PrefixListMatcher const * matcher(PlanRun run, AddressFamily family) const {
        return run.context().externalMatchers()->prefixList(isV4_, slot_, family);
    }

private:
    bool isV4_;
    U16 slot_;
};

/// A prefix or an address looked up in a prefix list. Without a list the answer is false.
template <typename Candidate>
class PrefixListTest final : public PlanStep {
public:
    template <typename Node>
    PrefixListTest(Node const & node, PrefixListImmediate const & list, PlanTargets const & targets)
        : candidate_(*node.lhs()), list_(list), targets_(targets) {}
    PlanStep const * run(PlanRun run) const override {
        Routing::Policy::MatchInput_ const input{candidate_.read(run)};
        auto const * const matcher = list_.matcher(run, input.prefix.af());
        if (matcher == nullptr) {
            return targets_.onFalse;
        }
        auto const answer = tristateToEvalResult(matcher->matchWithTristate(input, nullptr));
        return targets_.at(answer.retVal());
    }

private:
    Candidate candidate_;
    PlanPrefixList list_;
    PlanTargets targets_;
};

} // namespace Qcf::Eval
