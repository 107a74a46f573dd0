#pragma once

/// Communities that are computed while a function runs: link bandwidth and masked merges.

#include "QcfLib/QcfEvalCommunityTypesGenerated.h"
