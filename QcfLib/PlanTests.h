#pragma once

#include "QcfLib/PlanIndex.h"
#include "QcfLib/PlanStep.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/SetAlgebra.h"

#include <bit>
#include <vector>

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
    PlanStep const * run(PlanRun & run) const override {
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
template <typename Compare, typename Operand>
class IntTest final : public PlanTest {
public:
    IntTest(Operand lhs, U64 rhs, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), rhs_(rhs) {}
    PlanStep const * run(PlanRun & run) const override {
        return next(Compare()(lhs_.read(run), rhs_));
    }

private:
    Operand lhs_;
    U64 rhs_;
};

/// An integer looked up in a constant set.
template <typename Operand>
class IntInSetTest final : public PlanTest {
public:
    IntInSetTest(Operand lhs, U64SmallVector const & set, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), set_(set) {}
    PlanStep const * run(PlanRun & run) const override {
        return next(setContains(set_, lhs_.read(run)));
    }

private:
    Operand lhs_;
    U64SmallVector const & set_;
};

/// A set tested against a constant set by `test(lhs, rhs)`.
template <typename Set, bool test(Set const *, Set const *)>
class SetTest final : public PlanTest {
public:
    SetTest(PlanSet<Set> lhs, Set const * rhs, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), rhs_(rhs) {}
    PlanStep const * run(PlanRun & run) const override {
        PtrConst<Set> fresh;
        return next(test(lhs_.lend(run, fresh), rhs_));
    }

private:
    PlanSet<Set> lhs_;
    Set const * rhs_;
};

/// A prefix looked up in a prefix list.
class PrefixListTest final : public PlanStep {
public:
    PrefixListTest(IpPrefixMatchPrefixList const & node, PlanTargets const & targets)
        : prefix_(node.lhs()->source()), list_(*node.rhs()), targets_(targets) {}
    PlanStep const * run(PlanRun & run) const override {
        Routing::Policy::MatchInput_ const input{(run.context.*prefix_)()};
        auto const * const matcher = list_.getValWithArgs(run.contextPtr, input.prefix.af());
        if (matcher == nullptr) {
            return targets_.onFalse;
        }
        auto const answer = tristateToEvalResult(matcher->matchWithTristate(input, nullptr));
        return targets_.at(answer.retVal());
    }

private:
    PrefixSource prefix_;
    PrefixList const & list_;
    PlanTargets targets_;
};

/// One of the tests of an index: all of them are answered by the first one that is asked.
class IndexedTest final : public PlanTest {
public:
    IndexedTest(PlanIndex const & index, U8 slot, U8 test, PlanTargets const & targets)
        : PlanTest(targets), index_(index), slot_(slot), test_(test) {}
    PlanStep const * run(PlanRun & run) const override {
        U64 const tests = run.remembered(slot_, [&] { return index_.testsThatHold(run); });
        return next(((tests >> test_) & 1) != 0);
    }

private:
    PlanIndex const & index_;
    U8 slot_;
    U8 test_;
};

/// Clauses that stand together in a chain and whose conditions are tests of one index: the first
/// one that holds, by one look.
class IndexedCase final : public PlanStep {
public:
    /// `targets` belong to consecutive tests from `firstTest` on.
    IndexedCase(PlanIndex const & index, U8 slot, U8 firstTest,
                std::vector<PlanStep const *> targets, PlanStep const * otherwise)
        : index_(index),
          slot_(slot),
          firstTest_(firstTest),
          mask_(targets.size() == 64 ? ~U64{0} : (U64{1} << targets.size()) - 1),
          targets_(std::move(targets)),
          otherwise_(otherwise) {}
    PlanStep const * run(PlanRun & run) const override {
        U64 const tests = run.remembered(slot_, [&] { return index_.testsThatHold(run); });
        U64 const holding = (tests >> firstTest_) & mask_;
        return holding == 0 ? otherwise_ : targets_[std::countr_zero(holding)];
    }

private:
    PlanIndex const & index_;
    U8 slot_;
    U8 firstTest_;
    U64 mask_;
    std::vector<PlanStep const *> targets_;
    PlanStep const * otherwise_;
};

} // namespace Qcf::Eval
