#pragma once

#include "Questions/DifferenceReport.h"
#include "Questions/Impact.h"

namespace Qcf::Questions {

/// An impact with what is needed to show it.
struct ImpactView {
    NamedThing const & thing;
    NamedReaders const & readers;
    Impact const & impact;
    Watch::NodePlaces const & places;
};

/// For people: which functions name the thing or reach it, which statements decided through it, and
/// what would differ without it.
String impactText(ImpactView const & view);

/// The same for programs, an object a line: the functions, what was decided, what would differ, and
/// last the totals.
void renderImpact(ImpactView const & view, RendererV2 & renderer);

} // namespace Qcf::Questions
