#pragma once

/// Typed values: the bases that operators read, constants, and arguments of functions.

#include "QcfLib/QcfEvalBasicTypesGenerated.h"
#include "QcfLib/QcfEvalValueBases.h"
