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
namespace Qcf::Watch {
struct NodePlace;
}

/// What decided about a route, as it is shown.
struct ShownDecision {
    Qcf::Watch::NodePlace const * place; ///< null where no statement decided
    String reason;
};

/// What is shown of a route beside its result and its changes.
struct RouteDetails {
    bool log = false;
    /// For the log: where its nodes stand in the text; null for logs without.
    Qcf::Text::PlaceMap const * places = nullptr;
    /// Null where it is not asked for.
    ShownDecision const * decision = nullptr;
    /// The file that it is from; null where the table has one file. Objects tell it, lines do not.
    String const * file = nullptr;
};

/// Writes one evaluated route as an object, with the address of its peer where it has one. The
/// values of the changes are what `values` writes of them.
void renderRoute(Qcf::Agent::Evaluated const & evaluated, RouteDetails const & details,
                 RendererV2 & renderer, Qcf::Agent::ValueRenderer & values);

/// The line above the routes: what the columns are, with the line's end.
String routeHeading(bool withDecision);

/// Appends one evaluated route as a line for people: number, prefix, peer, result, where it was
/// decided if that is asked for, and what was changed as name=value.
void appendRouteLine(String & out, Qcf::Agent::Evaluated const & evaluated,
                     RouteDetails const & details);

/// Appends the log of an evaluated route: a line a record, those of a callee below their call. With
/// the place of its node where `places` are given.
void appendLogLines(String & out, Qcf::Agent::Evaluated const & evaluated,
                    Qcf::Text::PlaceMap const * places);
