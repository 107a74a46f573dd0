#include "QcfLib/Plan/DecisionTable.h"

/// How tables are told; what a run does with them stands in the header, where it is inlined.
namespace Qcf::Eval {

StepText describeTable(std::span<std::unique_ptr<PlanQuestion const> const> questions,
                       std::span<PlanStep const * const> targets, PlanStep const * otherwise) {
    StepText text{"decision table of " + std::to_string(targets.size()) + " clauses"};
    char const * separator = "";
    for (auto const & question : questions) {
        text.detail += separator + question->text();
        separator = "; ";
        if (question->steps() != nullptr) {
            text.next.emplace_back("asks", question->steps());
        }
    }
    for (std::size_t i = 0; i < targets.size(); ++i) {
        // Clauses are numbered from 1, as people read them.
        text.next.emplace_back("clause " + std::to_string(i + 1), targets[i]);
    }
    text.next.emplace_back("otherwise", otherwise);
    return text;
}

StepText DecisionTableStep::describe() const {
    std::vector<PlanStep const *> targets;
    for (Clause const & clause : clauses_) {
        targets.push_back(clause.target);
    }
    return describeTable(questions_, targets, otherwise_);
}

} // namespace Qcf::Eval
