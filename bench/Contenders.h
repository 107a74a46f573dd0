#pragma once

#include "bench/Runner.h"

#include <vector>

namespace Qcf::Bench {

struct Workload;

using Contenders = std::vector<std::unique_ptr<Contender>>;

/// Hand-written C++: over the route structure, which is the limit, and through the accessors and
/// write-backs of a context, which is the limit of that interface.
void addHandWritten(Contenders & contenders, PolicyData const & data);

/// The engine: by its plans, also by those that count, and walking its trees, also when watched.
void addEngine(Contenders & contenders, PolicyData const & data);

/// LuaJIT over C structures, called once a route and with the loop inside, and LuaJIT and Lua over
/// an object with C functions; those that are installed. The workload must stay.
void addLanguages(Contenders & contenders, PolicyData const & data, Workload const & workload);

/// What all others are compared with, and what has to be there.
inline constexpr char const * limitName = "hand";
inline constexpr char const * interfaceLimitName = "hand-accessors";

} // namespace Qcf::Bench
