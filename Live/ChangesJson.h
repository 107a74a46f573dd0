#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Routes/ValueRenderer.h"

namespace Qcf::Live {

/// Writes what a function changed of a route as members of an object that was begun.
void renderChanges(Agent::AgentContext const & context, RendererV2 & renderer,
                   Agent::ValueRenderer & values);

} // namespace Qcf::Live
