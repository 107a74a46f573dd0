#pragma once

#include "Documents/Flow.h"

namespace Qcf::Watch {

/// Tells which conditions may answer unknown. What it cannot know it takes for possible: that a
/// condition never is, is certain. What is missing in the lists that happen to be bound is not
/// looked at.
///
/// Keeps what it worked out; the nodes must outlive it.
class UnknownAnswers {
public:
    bool mayBe(Eval::Expression const & node);

private:
    bool workOut(Eval::Expression const & node);
    bool ofChain(Eval::LogicalOperatorExpression const & chain);
    bool ofFunction(Eval::Function const & function);

    Documents::FlowAnalysis flow_;
    std::unordered_map<Eval::AetNodeBase const *, bool> known_;
};

} // namespace Qcf::Watch
