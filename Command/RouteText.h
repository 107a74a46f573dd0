#pragma once

#include "Agent/Evaluation/ParallelEvaluation.h"

/// Evaluated routes as text.

class RendererV2;
namespace Qcf::Agent {
class ValueRenderer;
}

/// Writes one evaluated route as an object; with its log when `withLog`. The values of the changes
/// are what `values` writes of them.
void renderRoute(Qcf::Agent::Evaluated const & evaluated, bool withLog, RendererV2 & renderer,
                 Qcf::Agent::ValueRenderer & values);

/// Appends one evaluated route as a line for people: number, prefix, result, and what was changed
/// as name=value.
void appendRouteLine(String & out, Qcf::Agent::Evaluated const & evaluated);

/// Appends the log of an evaluated route: a line a record, those of a callee below their call.
void appendLogLines(String & out, Qcf::Agent::Evaluated const & evaluated);
