#pragma once

/// The evaluation engine: functions, control flow, logical operators, calls, values and operators.
///
///     Ptr<Function> f = functionFactory(key, "accept", ..., body);
///     EvalResult r = f->eval(context);
///
/// See AetNode.h for what every node does, QcfEvalContext.h for the context that an agent derives
/// from, and ClientPlugin/QcfRoutingAttributeTypes.h for the route attributes.

#include "QcfLib/QcfEvalBasicTypes.h"
#include "QcfLib/QcfEvalCollectionsGenerated.h"
#include "QcfLib/QcfEvalCommunityTypes.h"
#include "QcfLib/QcfEvalContext.h"
#include "QcfLib/QcfEvalGenerated.h"
#include "QcfLib/QcfEvalOperatorTypes.h"

namespace Qcf::Eval {

/// Stores the value of a literal whose elements are all constants, as whoever builds a tree does
/// before the node is shared. No effect on a node that is not cachable, has its value, or has other
/// elements.
void cacheConstantValue(IntListImmediate const & node);
void cacheConstantValue(IntSetImmediate const & node);
void cacheConstantValue(CommunitySetImmediate const & node);

} // namespace Qcf::Eval
