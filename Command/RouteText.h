#pragma once

#include "Agent/Evaluation/ParallelEvaluation.h"

/// Evaluated routes as text.

class RendererV2;
namespace Qcf::Agent {
class ValueRenderer;
}
namespace Qcf::Text {
class PlaceMap;
}

/// Writes one evaluated route as an object, with the address of its peer where it has one; with its
/// log when `withLog`. The values of the changes
/// are what `values` writes of them. With `places` each record of the log tells where its node
/// stands in the text; null for logs without.
void renderRoute(Qcf::Agent::Evaluated const & evaluated, bool withLog,
                 Qcf::Text::PlaceMap const * places, RendererV2 & renderer,
                 Qcf::Agent::ValueRenderer & values);

/// The line above the routes: what the columns are, with the line's end.
String routeHeading();

/// Appends one evaluated route as a line for people: number, prefix, peer, result, and what was
/// changed as name=value.
void appendRouteLine(String & out, Qcf::Agent::Evaluated const & evaluated);

/// Appends the log of an evaluated route: a line a record, those of a callee below their call. With
/// the place of its node where `places` are given.
void appendLogLines(String & out, Qcf::Agent::Evaluated const & evaluated,
                    Qcf::Text::PlaceMap const * places);
