#pragma once

/// Communities that are computed while a function runs: link bandwidth and masked merges.

/// Part of QcfEval.h. They read sets and arguments each time that they are asked; nothing is kept.
#include "QcfLib/QcfEvalCommunityTypesGenerated.h"
