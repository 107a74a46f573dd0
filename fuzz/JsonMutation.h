#pragma once

#include "Platform/Framework/Types.h"

/// Targets that read JSON are linked to JsonMutation.cpp, which changes whole values. A target that
/// has use only for some inputs defines this, and gets no others but the seeds.
[[gnu::weak]] bool isOfUse(String const & input);
