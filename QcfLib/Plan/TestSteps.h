#pragma once

#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/Plan/PlanStep.h"
#include "QcfLib/Sets/SetAlgebra.h"

/// The steps that ask something of the route and change nothing. Each reads what its node would
/// read, in the same order, and at most as often.
///
/// Each is a class of its own and not one with a switch, so that a test costs one indirect call and
/// what it compares. They allocate nothing. What `describe` tells is for dumps: of large constants
/// only the size.
namespace Qcf::Eval {

/// A question that is answered by yes or no. Where unknown goes is of no interest to it.
/// Comparisons never are unknown, hence two successors and a smaller step.
class PlanTest : public PlanStep {
public:
    explicit PlanTest(PlanTargets const & targets)
        : onFalse_(targets.onFalse), onTrue_(targets.onTrue) {}

protected:
    /// The step to go on with.
    PlanStep const * next(bool holds) const { return holds ? onTrue_ : onFalse_; }
    StepText text(String kind, String detail) const {
        return {std::move(kind), std::move(detail), {{"true", onTrue_}, {"false", onFalse_}}};
    }

private:
    /// Of the plan; never null.
    PlanStep const * onFalse_;
    PlanStep const * onTrue_;
};

/// A node that no other step knows, as a condition. It is evaluated as the tree would, and may end
/// the run: a built-in function that is asked in a condition can exit. A return out of a condition
/// is a malformed tree and asserted, as by the walk.
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
    StepText describe() const override { return {"node as condition", "", targets_.texts()}; }
    bool evaluatesNode() const override { return true; }

private:
    Expression const & node_;
    PlanTargets targets_;
};

/// An integer compared with one constant: the commonest of all tests, one comparison. The constant
/// is one that has no sign: others are left to the node.
class IntEqualTest final : public PlanTest {
public:
    IntEqualTest(PlanInt lhs, U64 rhs, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), rhs_(rhs) {}
    PlanStep const * run(PlanRun run) const override { return next(lhs_.read(run) == rhs_); }
    StepText describe() const override {
        return text("integer is", lhs_.text() + " = " + std::to_string(rhs_));
    }

private:
    PlanInt lhs_;
    U64 rhs_;
};

/// Whether an integer lies within bounds. All orders of an integer and a constant come here as
/// bounds, both inclusive; bounds that nothing satisfies are allowed, and the integer is read all
/// the same.
class IntBoundsTest final : public PlanTest {
public:
    IntBoundsTest(PlanInt lhs, IntBounds const & bounds, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), bounds_(bounds) {}
    PlanStep const * run(PlanRun run) const override {
        return next(bounds_.contain(lhs_.read(run)));
    }
    StepText describe() const override {
        String const low = std::to_string(bounds_.low);
        String const high = std::to_string(bounds_.high);
        bool const isOpen = bounds_.high == ~U64{0};
        return text("integer within",
                    lhs_.text() + (isOpen             ? " >= " + low
                                   : bounds_.low == 0 ? " <= " + high
                                                      : " in " + low + ".." + high));
    }

private:
    PlanInt lhs_;
    IntBounds bounds_;
};

/// An integer looked up in a constant set, by its index where it has one. The set is a literal's
/// kept value and lives as long as the node.
class IntInSetTest final : public PlanTest {
public:
    IntInSetTest(PlanInt lhs, U64SmallVector const & set, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), set_(set) {}
    PlanStep const * run(PlanRun run) const override {
        return next(setContains(set_, lhs_.read(run)));
    }
    StepText describe() const override {
        return text("integer in set",
                    lhs_.text() + " in " + std::to_string(set_.count()) + " values");
    }

private:
    PlanInt lhs_;
    U64SmallVector const & set_;
};

/// Whether a set shares a value with a constant set. The way of searching is chosen at each
/// question by the sizes of both (SetAlgebra.h). A null set has no values.
template <typename Set>
class SetHasAnyTest final : public PlanTest {
public:
    /// `rhs` is a literal's kept set, not null and not owned.
    SetHasAnyTest(PlanSet<Set> lhs, Set const * rhs, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), rhs_(rhs) {}
    PlanStep const * run(PlanRun run) const override {
        PtrConst<Set> fresh;
        return next(setHasAny(lhs_.lend(run, fresh), rhs_));
    }
    StepText describe() const override {
        return text("set has any",
                    lhs_.text() + " of " + std::to_string(rhs_->count()) + " values");
    }

private:
    PlanSet<Set> lhs_;
    Set const * rhs_;
};

/// An address as what is looked up in a prefix list. It asks the node, which knows whether the
/// address was written.
class PlanHost {
public:
    explicit PlanHost(IpAddress const & node) : node_(&node) {}
    IpGenPrefix read(PlanRun run) const { return IpGenPrefix::host(node_->getVal(run.contextPtr)); }
    String text() const { return node_->toStrep(); }

private:
    IpAddress const * node_;
};

/// A prefix list of the agent's, found by its slot at each question: new lists come with a new
/// object of external matchers, and the plan stays. The matcher is asked for by the candidate's
/// family, and is null where the agent has no such list.
class PlanPrefixList {
public:
    explicit PlanPrefixList(PrefixListImmediate const & node)
        : node_(&node), isV4_(node.isV4()), slot_(node.indexInAet()) {}
    /// Borrowed from the agent's matchers, which the context holds for the evaluation.
    Routing::Policy::PrefixListMatcher const * matcher(PlanRun run, AddressFamily family) const {
        return run.context().externalMatchers()->prefixList(isV4_, slot_, family);
    }
    String text() const { return node_->name(); }

private:
    PrefixListImmediate const * node_;
    bool isV4_;
    U16 slot_;
};

/// A list that depends on the session or on a call's argument: its node is asked.
class PlanListOfNode {
public:
    explicit PlanListOfNode(PrefixList const & node) : node_(&node) {}
    Routing::Policy::PrefixListMatcher const * matcher(PlanRun run, AddressFamily family) const {
        return node_->getValWithArgs(run.contextPtr, family);
    }
    String text() const { return node_->toStrep(); }

private:
    PrefixList const * node_;
};

/// A prefix or an address looked up in a prefix list. What is answered without a list is the
/// operator's. The list itself may leave it open: then the answer is unknown, and goes where
/// unknown goes.
template <typename Candidate, typename List>
class PrefixListTest final : public PlanStep {
public:
    PrefixListTest(Candidate candidate, List list, TriStateBoolValue withoutList,
                   PlanTargets const & targets)
        : candidate_(candidate),
          list_(list),
          targets_(targets),
          withoutList_(targets.at(withoutList)) {}
    PlanStep const * run(PlanRun run) const override {
        // The candidate before the list, as the node reads them.
        Routing::Policy::MatchInput_ const input{candidate_.read(run)};
        auto const * const matcher = list_.matcher(run, input.prefix.af());
        // No list of that name, or none of the candidate's family.
        if (matcher == nullptr) {
            return withoutList_;
        }
        auto const answer = tristateToEvalResult(matcher->matchWithTristate(input, nullptr));
        return targets_.at(answer.retVal());
    }
    StepText describe() const override {
        return {"prefix list", candidate_.text() + " in " + list_.text(), targets_.texts()};
    }

private:
    Candidate candidate_;
    List list_;
    PlanTargets targets_;
    PlanStep const * withoutList_;
};

} // namespace Qcf::Eval
