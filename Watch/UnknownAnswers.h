#pragma once

#include "Documents/Flow.h"

namespace Qcf::Watch {

/// Tells which conditions may answer unknown, as far as the policy alone says: by an attribute, by
/// a constant, by the end of a function, by a list that is not in use or of the other family. What
/// it cannot know it takes for possible. Lists are taken to have entries: without any, every test
/// of a prefix list is unknown.
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
