#pragma once

#include "QcfLib/AetNode.h"

namespace Qcf::Mirror {

/// A copy under another key, with `mapChild(child)` in each child's place. Of a literal the copy
/// keeps its value, as evaluation expects it. The copy belongs to no store.
Ptr<Eval::AetNodeBase> copyNode(Eval::AetNodeBase const & node, U64 key,
                                Eval::NodeClass::ChildMapper const & mapChild);

/// Whether two nodes are of one class and have the same fields, see NodeClass::sameFields.
bool sameFields(Eval::AetNodeBase const & a, Eval::AetNodeBase const & b,
                Eval::NodeClass::ChildComparison const & sameChild);

/// Keeps the value of a literal list or set whose elements are all constants, as evaluation expects
/// it. Nothing for other nodes.
void keepConstantValue(Eval::AetNodeBase const & node);

} // namespace Qcf::Mirror
