#pragma once

#include "QcfLib/Operators/CallFrame.h"
#include "QcfLib/Plan/ChangeSteps.h"
#include "QcfLib/Plan/ConstantTables.h"
#include "QcfLib/Plan/TestSteps.h"

/// Steps that ask what is the operator's, the agent's or a callee's business, and know how it can
/// end.
namespace Qcf::Eval {

/// A test, or the answer of a built-in function, by the operator's own function.
class OperatorTest final : public PlanTest {
public:
    OperatorTest(Expression const & node, OperatorFunction function, PlanTargets const & targets)
        : PlanTest(targets), node_(node), function_(function) {}
    PlanStep const * run(PlanRun run) const override {
        return next(function_(node_, run.contextPtr));
    }
    StepText describe() const override { return text("operator as condition", ""); }

private:
    Expression const & node_;
    OperatorFunction function_;
};

/// A value of three states that is not known when the plan is made.
class ValueTest final : public PlanStep {
public:
    ValueTest(TriStateBool const & value, PlanTargets const & targets)
        : value_(value), targets_(targets) {}
    PlanStep const * run(PlanRun run) const override {
        return targets_.at(value_.getVal(run.contextPtr));
    }
    StepText describe() const override {
        return {"value as condition", value_.toStrep(), targets_.texts()};
    }

private:
    TriStateBool const & value_;
    PlanTargets targets_;
};

/// A change by the operator's own function, whose answer is that of every statement.
class OperatorChange final : public PlanStatement {
public:
    OperatorChange(Expression const & node, OperatorFunction function, PlanStep const * next)
        : PlanStatement(next), node_(node), function_(function) {}
    PlanStep const * run(PlanRun run) const override {
        function_(node_, run.contextPtr);
        return next();
    }
    StepText describe() const override { return text("operator"); }

private:
    Expression const & node_;
    OperatorFunction function_;
};

/// Origin validation with constant arguments, which need no frame.
class OriginTest final : public PlanTest {
public:
    OriginTest(U32 slot, U32 state, PlanTargets const & targets)
        : PlanTest(targets), slot_(slot), state_(state) {}
    PlanStep const * run(PlanRun run) const override {
        return next(run.contextPtr->matchRoaTable(slot_, state_));
    }
    StepText describe() const override {
        return text("origin validation",
                    "table " + std::to_string(slot_) + " gives state " + std::to_string(state_));
    }

private:
    U32 slot_;
    U32 state_;
};

/// The agent's operation as a function's body. What returns goes to where the function's call
/// stands, or ends the run; an exit ends it wherever it is.
class AgentBody final : public PlanStatement {
public:
    AgentBody(AgentOperation operation, PlanStep const * next, PlanTargets const & returns)
        : PlanStatement(next), operation_(operation), returns_(returns) {}
    PlanStep const * run(PlanRun run) const override {
        EvalResult const result = ((*run.contextPtr).*operation_)();
        if (!result.terminates()) {
            return next();
        }
        bool const returns = result.termination() == TerminationFlag::returnToCaller;
        return returns ? returns_.at(result.retVal()) : endOfRun(result);
    }
    StepText describe() const override {
        StepText described = text("operation of the agent");
        for (auto const & [outcome, step] : returns_.texts()) {
            described.next.emplace_back("returns " + outcome, step);
        }
        return described;
    }

private:
    AgentOperation operation_;
    PlanTargets returns_;
};

/// Whether an integer lies in any of some ranges.
class IntRangesTest final : public PlanTest {
public:
    IntRangesTest(PlanInt lhs, ConstantRanges const & ranges, PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), count_(ranges.size()), pieces_(piecesOf(ranges)) {}
    PlanStep const * run(PlanRun run) const override {
        return next(pieces_.clausesOf(lhs_.read(run)) != 0);
    }
    StepText describe() const override {
        return text("integer in ranges", lhs_.text() + " in " + std::to_string(count_) + " ranges");
    }

private:
    static IntPieces piecesOf(ConstantRanges const & ranges) {
        std::vector<IntPieces::Range> pieces;
        ranges.each([&](IntBounds const & range) { pieces.push_back({1, range}); });
        return IntPieces(pieces);
    }

    PlanInt lhs_;
    std::size_t count_;
    IntPieces pieces_;
};

/// Whether any of some prefixes covers one. It stands for all of them that stand together in an
/// `or`: the prefix is read once.
class PrefixCoveredTest final : public PlanTest {
public:
    PrefixCoveredTest(PlanPrefix lhs, std::vector<IpGenPrefix> const & prefixes,
                      PlanTargets const & targets)
        : PlanTest(targets), lhs_(lhs), table_(tableOf(prefixes)) {}
    PlanStep const * run(PlanRun run) const override {
        return next(table_.clausesOf(lhs_.read(run)) != 0);
    }
    StepText describe() const override {
        return text("prefix covered",
                    lhs_.text() + " by " + std::to_string(table_.count()) + " prefixes");
    }

private:
    static CoverTable tableOf(std::vector<IpGenPrefix> const & prefixes) {
        std::vector<CoverTable::Entry> entries;
        entries.reserve(prefixes.size());
        for (IpGenPrefix const & prefix : prefixes) {
            entries.push_back({prefix, 1});
        }
        return CoverTable(std::move(entries));
    }

    PlanPrefix lhs_;
    CoverTable table_;
};

/// A call on a frame of its own. What it yields never returns from the caller; an exit ends the
/// run.
class CallStep final : public PlanStep {
public:
    CallStep(FunctionCallExpression const & call, PlanTargets const & targets)
        : call_(call), targets_(targets) {}
    PlanStep const * run(PlanRun run) const override {
        StackFrameData_ frame;
        pushArguments(call_, run.contextPtr, frame);
        EvalResult result;
        {
            CallScope const scope(run.context(), frame);
            result = call_.calleePtr()->eval(run.contextPtr);
        }
        return result.terminates() ? endOfRun(result) : targets_.at(result.retVal());
    }
    StepText describe() const override { return {"call", "", targets_.texts()}; }

private:
    FunctionCallExpression const & call_;
    PlanTargets targets_;
};

} // namespace Qcf::Eval
