#pragma once

#include "QcfLib/QcfEval.h"

#include <unordered_map>

namespace Qcf::Documents {

/// How evaluating a node may end, apart from `exit`, which ends everything.
struct Flow {
    /// What stands behind it may be evaluated.
    bool completes = true;
    /// It may end its function.
    bool returns = false;
};

/// Works out how evaluation may leave nodes. What it cannot know it takes for possible: an answer
/// that something does not happen is certain.
///
/// Keeps what it worked out, so that trees whose nodes are shared many times cost no more than
/// their nodes; these must outlive it. Recurses as evaluation does, so that the tree must be
/// walkable.
class FlowAnalysis {
public:
    /// Of a statement or predicate as if it stood alone; of a function's body what becomes of the
    /// function.
    Flow of(Eval::Expression const & node);

private:
    /// The same without looking at what is known already.
    Flow workOut(Eval::Expression const & node);
    Flow ofBlock(Eval::Block const & block);
    Flow ofIf(Eval::IfExpression const & node);

    std::unordered_map<Eval::AetNodeBase const *, Flow> known_;
};

} // namespace Qcf::Documents
