#pragma once

/// The route attributes as node classes, `Qcf::Eval::Attribute::Med` and its like, with the
/// factories and creators that every node class has. A node only names the attribute; its value
/// lives in the evaluation context:
///
///     auto const med = Attribute::Med::MedIs(key);
///     U64 const value = med->getVal(context); // as the function changed it
///     med->setVal(50, context);               // asserts the attribute's range
///
/// Attributes that can be modified have an Input twin, which reads them as the route came, and so
/// have the values that are derived from them (AsPathLength, NextHopIpVersion). All names, ranges
/// and defaults are also in nodeClasses().

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypesGenerated.h"
#include "QcfLib/ClientPlugin/QcfRoutingAttributeTypes.h"
