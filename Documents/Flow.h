#pragma once

#include "QcfLib/QcfEval.h"

#include <unordered_map>

namespace Qcf::Documents {

/// How evaluating a node may end, apart from `exit`, which ends everything.
struct Flow {
    bool completes = true; ///< what stands behind it may be evaluated
    bool returns = false;  ///< it may end its function
};

/// Works out how evaluation may leave nodes. What it cannot know it takes for possible. Keeps what
/// it found, for trees whose nodes are shared many times; recurses as evaluation does.
class FlowAnalysis {
public:
    Flow of(Eval::Expression const & node);

private:
    Flow workOut(Eval::Expression const & node);
    Flow ofBlock(Eval::Block const & block);
    Flow ofIf(Eval::IfExpression const & node);

    std::unordered_map<Eval::AetNodeBase const *, Flow> known_;
};

} // namespace Qcf::Documents
