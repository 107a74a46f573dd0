#pragma once

#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/Plan/PlanStep.h"

/// The steps that change an attribute. What they write is what the node would write: the ranges and
/// the arithmetic are the operators' own.
///
/// Steps stand for one node each, or for several changes of one attribute (SetChangeStep.h). A step
/// refers to nodes of its function, which keeps its plan, so that the nodes outlive it. Writing
/// marks the attribute as modified in the context; the agent hears of it when the outermost
/// function accepts.
namespace Qcf::Eval {

/// A step with one successor. The next step is there before this one, since plans are made from the
/// end: no step is ever patched.
class PlanStatement : public PlanStep {
public:
    explicit PlanStatement(PlanStep const * next) : next_(next) {}

protected:
    PlanStep const * next() const { return next_; }
    /// For dumps. The one successor is shown as "then", as opposed to the outcomes of a test.
    StepText text(String kind, String detail = {}) const {
        return {std::move(kind), std::move(detail), {{"then", next_}}};
    }

private:
    PlanStep const * next_;
};

/// A node that no other step knows, as a statement. One that returns or exits ends the run. What
/// the node yields else is dropped, as a block does with the results of its statements.
class NodeStatement final : public PlanStatement {
public:
    NodeStatement(Expression const & node, PlanStep const * next)
        : PlanStatement(next), node_(node) {}
    PlanStep const * run(PlanRun run) const override {
        EvalResult const result = node_.eval(run.contextPtr);
        return result.terminates() ? endOfRun(result) : next();
    }
    StepText describe() const override { return text("node"); }
    bool evaluatesNode() const override { return true; }

private:
    Expression const & node_;
};

/// The same in the body of a callee that is inlined: a node that returns, does so to the call. An
/// exit passes the call by and ends the run, as it would unwind all frames. The node does not look
/// into the frame: one that does undoes the inlining.
class CalleeStatement final : public PlanStatement {
public:
    CalleeStatement(Expression const & node, PlanStep const * next, PlanTargets const & returns)
        : PlanStatement(next), node_(node), returns_(returns) {}
    PlanStep const * run(PlanRun run) const override {
        EvalResult const result = node_.eval(run.contextPtr);
        if (!result.terminates()) {
            return next();
        }
        bool const returns = result.termination() == TerminationFlag::returnToCaller;
        return returns ? returns_.at(result.retVal()) : endOfRun(result);
    }
    StepText describe() const override {
        StepText described = text("node of a callee");
        for (auto const & [outcome, step] : returns_.texts()) {
            described.next.emplace_back("returns " + outcome, step);
        }
        return described;
    }
    bool evaluatesNode() const override { return true; }

private:
    Expression const & node_;
    PlanTargets returns_;
};

/// An integer attribute set to a constant that is within its range already. Clamping was done when
/// the step was made, and the present value is not read: what is left of the statement is one store
/// and one bit.
class IntStoreStep final : public PlanStatement {
public:
    IntStoreStep(IntModifiable const & target, U64 value, PlanStep const * next)
        : PlanStatement(next), node_(target), target_(target.source()), value_(value) {}
    PlanStep const * run(PlanRun run) const override {
        // Even an equal value marks the attribute as modified, as assigning it by the node does.
        run.context().modify(target_.modifiedFlag).*target_.stored = value_;
        return next();
    }
    StepText describe() const override {
        return text("store integer", node_.toStrep() + " = " + std::to_string(value_));
    }

private:
    /// For dumps.
    IntModifiable const & node_;
    IntSource target_;
    U64 value_;
};

/// Arithmetic on an integer attribute with a constant. The range is asked of the attribute once,
/// when the step is made; the node asks each time, which agents cannot tell. The current value is
/// read as tests read it, so that a value out of its range is caught here as well.
class IntArithmeticStep final : public PlanStatement {
public:
    IntArithmeticStep(IntModifiable const & target, SignedMagnitude operand,
                      IntArithmetic arithmetic, PlanStep const * next)
        : PlanStatement(next),
          current_(target),
          target_(target.source()),
          range_(boundsOf(target)),
          operand_(operand),
          arithmetic_(arithmetic) {}
    PlanStep const * run(PlanRun run) const override {
        U64 const current = current_.read(run);
        run.context().modify(target_.modifiedFlag).*target_.stored =
            arithmetic_(range_, current, operand_);
        return next();
    }
    StepText describe() const override {
        return text("compute integer", current_.text() + ", by " +
                                           (operand_.strictlyNegative() ? "-" : "") +
                                           std::to_string(operand_.magnitude));
    }

private:
    /// How the value is read, and where it is written: one attribute, twice.
    PlanInt current_;
    IntSource target_;
    IntRange range_;
    SignedMagnitude operand_;
    /// The operator's own function, so that walk and plan cannot differ.
    IntArithmetic arithmetic_;
};

} // namespace Qcf::Eval
