#pragma once

/// Typed values: the bases that operators read, constants, and arguments of functions.

/// Part of QcfEval.h; by itself for who builds values alone.
#include "QcfLib/QcfEvalBasicTypesGenerated.h"
#include "QcfLib/QcfEvalValueBases.h"
