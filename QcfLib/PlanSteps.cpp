#include "QcfLib/PlanSteps.h"

#include "Platform/Framework/Assert.h"

namespace Qcf::Eval {

namespace {

void assertNoReturn(EvalResult const & result) {
    QCF_ASSERT_TEXT(result.termination() != TerminationFlag::returnToCaller, "false");
}

} // namespace

EvalResult IfChainStep::run(PlanRun & run) const {
    PlanRun blocks{run.context, nullptr};
    if (!usesMemo_) {
        return runClauses(blocks, blocks);
    }
    ChainMemo memo;
    PlanRun conditions{run.context, &memo};
    return runClauses(conditions, blocks);
}

EvalResult IfChainStep::runClauses(PlanRun & conditions, PlanRun & blocks) const {
    EvalResult condition;
    for (Clause const & clause : clauses_) {
        condition = clause.condition->run(conditions);
        if (condition.terminates()) [[unlikely]] {
            assertNoReturn(condition);
            return condition;
        }
        if (condition.isTrue()) {
            return clause.thenBlock->run(blocks);
        }
    }
    return elseBlock_ != nullptr ? elseBlock_->run(blocks) : condition;
}

EvalResult NotStep::run(PlanRun & run) const {
    EvalResult const result = operand_->run(run);
    assertNoReturn(result);
    return result.terminates() ? result : EvalResult::fromBool(!result.isTrue());
}

EvalResult TerminationStep::run(PlanRun & run) const {
    EvalResult const result = operand_->run(run);
    assertNoReturn(result);
    return result.terminates() ? result : result.with(flag_);
}

bool LogicalStep::ends(EvalResult const & result) const {
    switch (kind_) {
    case Kind::and_:
        return !result.isTrue();
    case Kind::or_:
        return result.isTrue();
    case Kind::sequential:
        break;
    }
    return result.retVal() != QcfUnknown();
}

EvalResult LogicalStep::run(PlanRun & run) const {
    EvalResult result;
    for (PlanStep const * const operand : operands_) {
        result = operand->run(run);
        if (result.terminates()) [[unlikely]] {
            assertNoReturn(result);
            return result;
        }
        if (ends(result)) {
            break;
        }
    }
    bool const cast = kind_ != Kind::sequential && result.retVal() == QcfUnknown();
    return cast ? EvalResult::fromBool(false) : result;
}

} // namespace Qcf::Eval
