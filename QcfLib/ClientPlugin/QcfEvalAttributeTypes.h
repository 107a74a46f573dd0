#pragma once

/// The route attributes as node classes, `Qcf::Eval::Attribute::Med` and its like, with the
/// factories and creators that every node class has.

#include "QcfLib/ClientPlugin/QcfEvalAttributeTypesGenerated.h"
#include "QcfLib/ClientPlugin/QcfRoutingAttributeTypes.h"
