#pragma once

#include "QcfLib/QcfEval.h"

namespace Qcf::Bench {

/// The nodes that run as they stand when the function is evaluated by its plan, those of functions
/// that it calls included: how many of each class, the most first ("17 IpPrefixCoveredBy"). Empty
/// where every node has a step.
String nodesWithoutStep(Eval::Function const & function);

} // namespace Qcf::Bench
