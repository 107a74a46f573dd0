#pragma once

#include "QcfLib/Operators/Lowering.h"
#include "QcfLib/Plan/PlanStep.h"

/// The steps that change an attribute. What they write is what the node would write: the ranges and
/// the arithmetic are the operators' own.
namespace Qcf::Eval {

/// A step with one successor.
class PlanStatement : public PlanStep {
public:
    explicit PlanStatement(PlanStep const * next) : next_(next) {}

protected:
    PlanStep const * next() const { return next_; }
    StepText text(String kind, String detail = {}) const {
        return {std::move(kind), std::move(detail), {{"then", next_}}};
    }

private:
    PlanStep const * next_;
};

/// A node that no other step knows, as a statement. One that returns or exits ends the run.
class NodeStatement final : public PlanStatement {
public:
    NodeStatement(Expression const & node, PlanStep const * next)
        : PlanStatement(next), node_(node) {}
    PlanStep const * run(PlanRun run) const override {
        EvalResult const result = node_.eval(run.contextPtr);
        return result.terminates() ? endOfRun(result) : next();
    }
    StepText describe() const override { return text("node"); }

private:
    Expression const & node_;
};

/// The same in the body of a callee that is inlined: a node that returns, does so to the call.
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

private:
    Expression const & node_;
    PlanTargets returns_;
};

/// An integer attribute set to a constant that is within its range already.
class IntStoreStep final : public PlanStatement {
public:
    IntStoreStep(IntModifiable const & target, U64 value, PlanStep const * next)
        : PlanStatement(next), node_(target), target_(target.source()), value_(value) {}
    PlanStep const * run(PlanRun run) const override {
        run.context().modify(target_.modifiedFlag).*target_.stored = value_;
        return next();
    }
    StepText describe() const override {
        return text("store integer", node_.toStrep() + " = " + std::to_string(value_));
    }

private:
    IntModifiable const & node_;
    IntSource target_;
    U64 value_;
};

/// Arithmetic on an integer attribute with a constant. The range is asked of the attribute once,
/// when the step is made; the node asks each time, which agents cannot tell.
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
    PlanInt current_;
    IntSource target_;
    IntRange range_;
    SignedMagnitude operand_;
    IntArithmetic arithmetic_;
};

} // namespace Qcf::Eval
