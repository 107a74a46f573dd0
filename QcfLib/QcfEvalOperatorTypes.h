#pragma once

/// The operators: comparisons, assignments, arithmetic, set, list, prefix and AS-path operators,
/// and the bodies of built-in functions.

#include "QcfLib/QcfEvalOperatorTypesGenerated.h"
