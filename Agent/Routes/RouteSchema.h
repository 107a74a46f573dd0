#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Agent {

/// The JSON Schema (draft 2020-12) of a route as one line of a file of JSON lines has it, made from
/// the attributes that a route carries: a new one is in it by itself.
///
/// What the schema refuses, `readRoute` does not take, which refuses more: texts that have the form
/// of a value, but are none.
String routeSchema();

} // namespace Qcf::Agent
