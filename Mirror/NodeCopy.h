#pragma once

#include "QcfLib/NodeFields.h"

#include <functional>

namespace Qcf::Mirror {

/// A node of the same class and scalars under another key, with `mapChild(child)` in each child's
/// place; null children stay null.
Ptr<Eval::AetNodeBase>
copyNode(Eval::AetNodeBase const & node, U64 key,
         std::function<PtrConst<Eval::AetNodeBase>(Eval::AetNodeBase const &)> const & mapChild);

} // namespace Qcf::Mirror
