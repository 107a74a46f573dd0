#pragma once

#include "QcfLib/NodeFields.h"

#include <functional>

namespace Qcf::Mirror {

/// A node of the same class and scalars under another key, with `mapChild(child)` in each child's
/// place; null children stay null.
Ptr<Eval::AetNodeBase>
/// Of a literal the copy keeps its value, as evaluation expects it. The copy belongs to no store.
copyNode(Eval::AetNodeBase const & node, U64 key,
         std::function<PtrConst<Eval::AetNodeBase>(Eval::AetNodeBase const &)> const & mapChild);

/// Whether two nodes are of one class and have equal scalars, floats by their bits, and whether
/// `sameChild(a, b)` holds of each two children, neither null. Keys do not count.
bool sameFields(
    Eval::AetNodeBase const & a, Eval::AetNodeBase const & b,
    std::function<bool(Eval::AetNodeBase const &, Eval::AetNodeBase const &)> const & sameChild);

/// Keeps the value of a literal list or set whose elements are all constants, as evaluation expects
/// it. Nothing for other nodes.
void keepConstantValue(Eval::AetNodeBase const & node);

} // namespace Qcf::Mirror
