#pragma once

#include "Platform/Render/RendererV2.h"
#include "Questions/DifferenceGroups.h"
#include "Watch/NodePlaces.h"

namespace Qcf::Questions {

/// Where the statements of both policies stand.
struct ComparedPlaces {
    Watch::NodePlaces const & older;
    Watch::NodePlaces const & newer;
};

/// For people, a line a group: how many routes, what changed, the statements by which the
/// evaluations part with their lines and answers, and an example.
String differencesText(std::vector<DifferenceGroup> const & groups, ComparedPlaces const & places);

/// For programs: a line a group, in the same order.
void renderDifferences(std::vector<DifferenceGroup> const & groups, ComparedPlaces const & places,
                       RendererV2 & renderer);

/// The route as an example: "1.0.0.0/24 via 192.0.2.1".
String exampleText(RouteDifference const & route);

/// The members `route`, `prefix` and, where it is known, `peer` of an example.
void renderExample(RouteDifference const & route, RendererV2 & renderer);

/// Texts in columns: each but the last is as wide as the widest, up to a bound. The first stands at
/// the right of its column.
String inColumns(std::vector<std::vector<String>> const & rows);

} // namespace Qcf::Questions
