#pragma once

#include "QcfLib/EvalResult.h"
#include "QcfLib/PlanIndex.h"
#include "QcfLib/QcfLibHelpers.h"
#include "QcfLib/SetAlgebra.h"

#include <vector>

/// The steps of a plan. Each does what the nodes that it stands for do, through the same functions.
namespace Qcf::Eval {

/// What the conditions of one chain of `else if` have found out so far. Slot i counts when bit i of
/// `known` is set: an integer's value, or the tests of an index that hold.
struct ChainMemo {
    static constexpr std::size_t slots = 16;

    U32 known = 0;
    U64 values[slots];
};

/// One run of a plan.
struct PlanRun {
    Ptr<EvalContextBase> const & context;
    ChainMemo * memo; ///< of the chain whose conditions are evaluated
};

class PlanStep {
public:
    virtual ~PlanStep() = default;
    virtual EvalResult run(PlanRun & run) const = 0;
};

using StepList = std::vector<PlanStep const *>;

/// Runs statements until one terminates; unknown when none does.
inline EvalResult runStatements(StepList const & statements, PlanRun & run) {
    for (PlanStep const * const statement : statements) {
        EvalResult const result = statement->run(run);
        if (result.terminates()) {
            return result;
        }
    }
    return {};
}

/// An integer operand that is read through its node, or once a chain.
class PlanInt {
public:
    static constexpr U8 notShared = 0xff;

    explicit PlanInt(Int const & node, U8 slot = notShared) : node_(&node), slot_(slot) {}

    U64 read(PlanRun & run) const {
        return slot_ == notShared ? node_->getVal(run.context) : readOnce(run);
    }

private:
    U64 readOnce(PlanRun & run) const {
        ChainMemo & memo = *run.memo;
        if ((memo.known & (1U << slot_)) == 0) {
            memo.values[slot_] = node_->getVal(run.context);
            memo.known |= 1U << slot_;
        }
        return memo.values[slot_];
    }

    Int const * node_;
    U8 slot_;
};

/// A node that no step knows.
class NodeStep final : public PlanStep {
public:
    explicit NodeStep(Expression const & node) : node_(node) {}
    EvalResult run(PlanRun & run) const override { return node_.eval(run.context); }

private:
    Expression const & node_;
};

class ConstantStep final : public PlanStep {
public:
    explicit ConstantStep(EvalResult result) : result_(result) {}
    EvalResult run(PlanRun & /*run*/) const override { return result_; }

private:
    EvalResult result_;
};

class BlockStep final : public PlanStep {
public:
    explicit BlockStep(StepList statements) : statements_(std::move(statements)) {}
    EvalResult run(PlanRun & run) const override { return runStatements(statements_, run); }

private:
    StepList statements_;
};

/// `if`, with every `else if` that hangs on it.
class IfChainStep final : public PlanStep {
public:
    struct Clause {
        PlanStep const * condition;
        PlanStep const * thenBlock;
    };
    IfChainStep(std::vector<Clause> clauses, PlanStep const * elseBlock, bool usesMemo)
        : clauses_(std::move(clauses)), elseBlock_(elseBlock), usesMemo_(usesMemo) {}
    EvalResult run(PlanRun & run) const override;

private:
    EvalResult runClauses(PlanRun & conditions, PlanRun & blocks) const;

    std::vector<Clause> clauses_;
    PlanStep const * elseBlock_;
    bool usesMemo_;
};

class NotStep final : public PlanStep {
public:
    explicit NotStep(PlanStep const * operand) : operand_(operand) {}
    EvalResult run(PlanRun & run) const override;

private:
    PlanStep const * operand_;
};

/// `return` and `exit`.
class TerminationStep final : public PlanStep {
public:
    TerminationStep(PlanStep const * operand, TerminationFlag flag)
        : operand_(operand), flag_(flag) {}
    EvalResult run(PlanRun & run) const override;

private:
    PlanStep const * operand_;
    TerminationFlag flag_;
};

class LogicalOperator;

class LogicalStep final : public PlanStep {
public:
    enum class Kind : U8 { and_, or_, sequential };

    LogicalStep(Kind kind, StepList operands) : operands_(std::move(operands)), kind_(kind) {}
    EvalResult run(PlanRun & run) const override;

private:
    bool ends(EvalResult const & result) const;

    StepList operands_;
    Kind kind_;
};

/// An integer compared with a constant by `Compare`, a standard comparison.
template <typename Compare>
class IntCompareStep final : public PlanStep {
public:
    IntCompareStep(PlanInt lhs, U64 rhs) : lhs_(lhs), rhs_(rhs) {}
    EvalResult run(PlanRun & run) const override {
        return EvalResult::fromBool(Compare()(lhs_.read(run), rhs_));
    }

private:
    PlanInt lhs_;
    U64 rhs_;
};

/// An integer looked up in a constant set.
class IntInSetStep final : public PlanStep {
public:
    IntInSetStep(PlanInt lhs, U64SmallVector const & set) : lhs_(lhs), set_(set) {}
    EvalResult run(PlanRun & run) const override {
        return EvalResult::fromBool(set_.contains(lhs_.read(run)));
    }

private:
    PlanInt lhs_;
    U64SmallVector const & set_;
};

/// A set attribute tested against a constant set by `test(lhs, rhs)`.
template <typename Set>
class SetTestStep final : public PlanStep {
public:
    using Test = bool (*)(Set const *, Set const *);

    SetTestStep(SetStorage<Set> const & lhs, Set const * rhs, Test test)
        : lhs_(lhs), rhs_(rhs), test_(test) {}
    EvalResult run(PlanRun & run) const override {
        PtrConst<Set> fresh;
        return EvalResult::fromBool(test_(lhs_.lendVal(run.context, fresh), rhs_));
    }

private:
    SetStorage<Set> const & lhs_;
    Set const * rhs_;
    Test test_;
};

/// One of the tests of an index: all of them are answered by the first one that is asked.
class IndexedTestStep final : public PlanStep {
public:
    IndexedTestStep(PlanIndex const & index, U8 slot, U8 test)
        : index_(index), slot_(slot), test_(test) {}
    EvalResult run(PlanRun & run) const override {
        ChainMemo & memo = *run.memo;
        if ((memo.known & (1U << slot_)) == 0) {
            memo.values[slot_] = index_.testsThatHold(run.context);
            memo.known |= 1U << slot_;
        }
        return EvalResult::fromBool(((memo.values[slot_] >> test_) & 1) != 0);
    }

private:
    PlanIndex const & index_;
    U8 slot_;
    U8 test_;
};

/// An integer attribute set to a constant that is within its range already.
class IntStoreStep final : public PlanStep {
public:
    IntStoreStep(IntModifiable const & target, U64 value) : place_(target.place()), value_(value) {}
    EvalResult run(PlanRun & run) const override {
        evalContext(run.context).modify(place_.attribute).*place_.field = value_;
        return EvalResult::fromBool(true);
    }

private:
    IntPlace place_;
    U64 value_;
};

/// Arithmetic on an integer attribute with a constant.
class IntArithmeticStep final : public PlanStep {
public:
    using Arithmetic = U64 (*)(IntRange const &, U64, SignedMagnitude);

    IntArithmeticStep(IntModifiable const & target, SignedMagnitude operand, Arithmetic arithmetic)
        : target_(target),
          place_(target.place()),
          range_{target.min(), target.max()},
          operand_(operand),
          arithmetic_(arithmetic) {}
    EvalResult run(PlanRun & run) const override {
        U64 const current = target_.getVal(run.context);
        evalContext(run.context).modify(place_.attribute).*place_.field =
            arithmetic_(range_, current, operand_);
        return EvalResult::fromBool(true);
    }

private:
    IntModifiable const & target_;
    IntPlace place_;
    IntRange range_;
    SignedMagnitude operand_;
    Arithmetic arithmetic_;
};

/// A few constants put into, or taken out of, a set attribute where it stands; where that cannot be
/// the node does it. What an empty set becomes is known beforehand.
template <typename Set, typename Node>
class SetEditStep final : public PlanStep {
public:
    using Edit = bool (*)(Set const *, Set const *, typename Set::Buffer const &);

    SetEditStep(Node const & node, Set const * constants, Edit edit, Set const * whenEmpty)
        : node_(node),
          target_(*node.lhs()),
          constants_(constants),
          edit_(edit),
          whenEmpty_(whenEmpty) {}
    EvalResult run(PlanRun & run) const override {
        PtrConst<Set> fresh;
        Set const * set = target_.lendVal(run.context, fresh);
        if (isEmptySet(set)) {
            set = whenEmpty_;
        } else if (!edit_(set, constants_, setScratch(evalContext(run.context), set))) {
            return node_.eval(run.context);
        }
        target_.setVal(PtrConst<Set>(isEmptySet(set) ? nullptr : set), run.context);
        return EvalResult::fromBool(true);
    }

private:
    Node const & node_;
    std::remove_cvref_t<decltype(*std::declval<Node const &>().lhs())> const & target_;
    Set const * constants_;
    Edit edit_;
    Set const * whenEmpty_;
};

} // namespace Qcf::Eval
