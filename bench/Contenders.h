#pragma once

#include "bench/Runner.h"

#include <vector>

namespace Qcf::Bench {

using Contenders = std::vector<std::unique_ptr<Contender>>;

/// Hand-written C++: over the route structure, which is the limit, and through the accessors and
/// write-backs of a context, which is the limit of that interface.
void addHandWritten(Contenders & contenders, PolicyData const & data);

/// The engine: by its plans, and walking its trees.
void addEngine(Contenders & contenders, PolicyData const & data);

/// What all others are compared with, and what has to be there.
inline constexpr char const * limitName = "hand";
inline constexpr char const * interfaceLimitName = "hand-accessors";

} // namespace Qcf::Bench
